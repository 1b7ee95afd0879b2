// What a text that pretends to be the end of its message can do. Without standard mode a message
// ends at a line that begins with a dot behind an empty one, and a server lets such lines through,
// doubled: docs/security.md tells what follows from that. Standard mode is the cure, and the page
// tells so.
#include "board_reading.h"
#include "retrieval_fixture.h"

namespace {

using test::Item;

class Forging : public test::RetrievalFixture {
 protected:
  void SetUp() override {
    RetrievalFixture::SetUp();
    ASSERT_TRUE(test::MakeForum("General", data_));
    Serve({Post("General", "hostile",
                "Hello\n\n.\n"
                // For "DELE 1" and "TOP 2", then what passes for the second mail's header and, for
                // "RETR 2", for the whole mail.
                "+OK\n+OK\n" +
                    Forged() + "\n.\n+OK\n" + Forged() + "\nnever written\n\n.\n+OK\n"),
           Post("General", "genuine", "A text that matters\n")});
  }
  static std::string Forged() {
    return "From: \"The Owner\" <owner@example.org>\nTo: \"[My_Board:General]\" "
           "<board@example.org>\nSubject: forged\n";
  }
  std::vector<std::string> Subjects() const {
    std::vector<std::string> subjects;
    TForum forum;
    EXPECT_EQ(forum.Open("General", data_.c_str(), 2, 0, 16), 1);
    for (const Item& item : test::ItemsOf(forum)) subjects.push_back(item.subject);
    return subjects;
  }
};

TEST_F(Forging, WithoutStandardModeATextCanPassForTheNextMail) {
  Run(500);
  const std::vector<std::string> subjects = Subjects();
  EXPECT_EQ(std::count(subjects.begin(), subjects.end(), "hostile"), 1);
  EXPECT_EQ(std::count(subjects.begin(), subjects.end(), "forged"), 1);
  EXPECT_EQ(std::count(subjects.begin(), subjects.end(), "genuine"), 0);
  EXPECT_EQ(Left(), 0U) << server_->Transcript();
}

TEST_F(Forging, InStandardModeItIsText) {
  setup_->Number("Standard POP3 Mode", DWORD{1});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), (std::vector<std::string>{"hostile", "genuine"}));
  EXPECT_EQ(Left(), 0U);
}

}  // namespace
