// The plain-text view of messages through the flat functions.
#include "board_fixture.h"

using api_test::Board;

namespace {

class PlainText : public Board {};

TEST_F(PlainText, OfAMessageInAForum) {
  TForum* forum = CreateForum("One", Data().c_str());
  ASSERT_NE(forum, nullptr);
  TMail* message = OpenMessage(0, nullptr);
  const std::string html = "<p>Hello<br>&lt;world&gt; <img src=x>";
  message->Content().Write(html.data(), static_cast<int>(html.size()));
  const DWORD index = InsertMessage(message, forum);
  CloseMessage(message);
  message = OpenMessage(index, forum);
  ASSERT_NE(message, nullptr);
  char* text = GetPlainTextContent(message);
  EXPECT_STREQ(text, "\r\n\r\nHello\r\n<world> [IMAGE]");
  FreePlainTextContent(text);
  CloseMessage(message);
  CloseForum(forum);
}

TEST_F(PlainText, OfNothing) {
  EXPECT_EQ(GetPlainTextContent(nullptr), nullptr);
  FreePlainTextContent(nullptr);
}

}  // namespace
