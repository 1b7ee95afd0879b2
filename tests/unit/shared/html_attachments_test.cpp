// What pages show of the files that came with a message.
#include "html_board.h"

namespace test {
namespace {

class HtmlAttachments : public HtmlBoard {
 protected:
  void SetUp() override { MakeForum("General Talk"); }
  std::string InItem(const std::string& text) { return Unwrapped(Expand(text, "General Talk", 1)); }
};

TEST_F(HtmlAttachments, TheFirstOfTwoThatMatchIsMeant) {
  Add("General Talk", {.attachments = {{"ab12a", "same one"}, {"ab13b", "same two"}}});
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_FILENAME(same)$"), "ab12a");
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_FILENAME(same two)$"), "ab13b");
}

TEST_F(HtmlAttachments, TheOtherNameIsComparedByLetterCaseTheStoredOneAsAWhole) {
  Add("General Talk", {.attachments = {{"ab12a.txt", "notes"}}});
  EXPECT_EQ(InItem("[$MESSAGE_ATTACHMENT_FILENAME(NOTES)$]"), "[]");
  EXPECT_EQ(InItem("[$MESSAGE_ATTACHMENT_FILENAME(ab12)$]"), "[]");
  EXPECT_EQ(InItem("[$MESSAGE_ATTACHMENT_FILENAME(AB12A.TXT)$]"), "[ab12a.txt]");
}

TEST_F(HtmlAttachments, AnEmptyArgumentMeansTheFirst) {
  Add("General Talk", {.attachments = {{"ab12a", "one"}, {"ab13b", "two"}}});
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_FILENAME( )$"), "ab12a");
}

TEST_F(HtmlAttachments, AListShowsNamesWithoutFolderExtensionAndUnderlines) {
  Add("General Talk",
      {.content = "x",
       .attachments = {{"ab15c:\\d\\e_f", "1"}, {"ab16my_x.tar.gz", "2"}, {"ab17a.b", "3"}}});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT(Attachment,Files)$"),
            "x<p><hr>Files<p><blockquote><a href=\"ab15c:\\d\\e_f\">e f</a>, "
            "<a href=\"ab16my_x.tar.gz\">my x.tar</a>, <a href=\"ab17a.b\">a.b</a>"
            "</blockquote></p>");
}

TEST_F(HtmlAttachments, AnEmptyCaptionIsOne) {
  Add("General Talk", {.content = "x", .attachments = {{"ab12a", "1"}}});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT(Attachment,)$"),
            "x<p><hr><p><blockquote><a href=\"ab12a\">a</a></blockquote></p>");
}

TEST_F(HtmlAttachments, AnAttachmentsNameOpensNoDevice) {
  const char* const kDevices[] = {"NUL",      "con",  "Aux.txt",   "prn .a.b", "COM1",
                                  "LPT9.htm", "com0", "COM\xB2.x", "CONIN$",   "conout$"};
  const char* const kFiles[] = {"NULL", "COM12", "COMA", "xNUL"};
  Post post;
  for (const char* name : kDevices) {
    post.attachments.emplace_back(name, std::to_string(post.attachments.size()) + " device");
  }
  for (const char* name : kFiles) {
    post.attachments.emplace_back(name, name);
    WriteFileBytes(SitePath(name), "file");
  }
  Add("General Talk", post);
  for (std::size_t i = 0; i < std::size(kDevices); ++i) {
    EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_CONTENT(" + std::to_string(i) + " device)$"),
              "***ERROR: Cannot open resource***")
        << kDevices[i];
  }
  for (const std::string name : kFiles) {
    EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_CONTENT(" + name + ")$"), "file") << name;
  }
}

TEST_F(HtmlAttachments, AnAttachmentsContentOfAnyLengthAndWithZeroBytesIsWhole) {
  std::string bytes(1, '\0');
  while (bytes.size() < 10'000) bytes += "word ";
  bytes += std::string(1, '\0') + "end";
  Add("General Talk", {.content = "x", .attachments = {{"ab12", "a"}}});
  WriteFileBytes(SitePath("ab12"), bytes);
  std::string page = Expand("$MESSAGE_ATTACHMENT_CONTENT(a)$", "General Talk", 1);
  for (std::size_t at; (at = page.find("\r\n")) != std::string::npos;) page.replace(at, 2, " ");
  EXPECT_EQ(page, bytes);
}

}  // namespace
}  // namespace test
