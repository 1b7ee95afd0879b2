// What becomes of the text parts of one mail.
#include "shared/message_text.h"

#include <gtest/gtest.h>

namespace {

TEST(MessageText, EscapesWhatMeansSomethingInHtml) {
  EXPECT_EQ(brevant::EscapeHtml("a<b>&\"'"), "a&lt;b&gt;&amp;&quot;'");
}

// The html with the references to the identifiers replaced by #0, #1 ..., then which were seen.
std::string Replaced(const std::string& html, const std::vector<std::string>& identifiers) {
  std::vector<brevant::TInlineImage> images;
  for (const std::string& identifier : identifiers) {
    images.push_back({"#" + std::to_string(images.size()), "", identifier});
  }
  std::vector<bool> seen;
  std::string text = brevant::ReplaceContentIds(html, images, seen) + "|";
  for (const bool was : seen) text += was ? '1' : '0';
  return text;
}

TEST(MessageText, ReplacesOnlyWholeIdentifiers) {
  EXPECT_EQ(Replaced("cid:a cid:ab Cid:a\" xcid:a", {"cid:a"}), "#0 cid:ab #0\" x#0|1");
  EXPECT_EQ(Replaced("", {"cid:a"}), "|0");
  EXPECT_EQ(Replaced(":::cid:", {"cid:a"}), ":::cid:|0");
  EXPECT_EQ(Replaced("cid:cid:a", {"cid:a"}), "cid:#0|1");
}

TEST(MessageText, ReplacesTheReferencesOfAllImagesInOnePass) {
  EXPECT_EQ(Replaced("<img src=cid:b><img src='cid:a'>(cid:B)", {"cid:a", "cid:b", "cid:c", ""}),
            "<img src=#1><img src='#0'>(cid:B)|1100");
}

TEST(MessageText, AnIdentifierMayHoldAnApostrophe) {
  EXPECT_EQ(Replaced("<img src=\"cid:o'neil@x\">", {"cid:o'neil@x"}), "<img src=\"#0\">|1");
}

TEST(MessageText, OfTwoImagesWithOneIdentifierTheFirstIsMeant) {
  EXPECT_EQ(Replaced("cid:a", {"cid:a", "cid:a"}), "#0|10");
}

// A pass over the text for each image would take minutes.
TEST(MessageText, ManyImagesInALargeTextTakeOnePass) {
  std::vector<std::string> identifiers;
  std::string html;
  for (int i = 0; i < 20000; ++i) {
    identifiers.push_back("cid:image" + std::to_string(i) + "@example.org");
    html += "<img src=\"" + identifiers.back() + "\">" + std::string(200, ':');
  }
  const std::string replaced = Replaced(html, identifiers);
  EXPECT_EQ(replaced.find("cid:"), std::string::npos);
}

}  // namespace
