// The whole round of a board. After every round the site and what is on the server are whole.
#include "full_circle.h"

namespace test {
namespace {

namespace fs = std::filesystem;

TEST_F(FullCircle, AnEmptyBoardGoesRound) {
  RunTasks();
  ExpectWhole();
  EXPECT_TRUE(smtp_->Mails().empty());
  EXPECT_EQ(smtp_->Server().Accepted(), 0);
  ExpectNothingToDo();
}

// --- Random rounds -------------------------------------------------------------------------------

class FullCircleRounds : public FullCircle, public ::testing::WithParamInterface<unsigned> {
 protected:
  void Rounds(int count) {
    random_.seed(GetParam());
    Subscribe();
    for (int round = 0; round < count; ++round) {
      SCOPED_TRACE("round " + std::to_string(round));
      NewMail();
      Moderate(round);
      RunTasks();
      ExpectWhole();
      ExpectEachPostSentOnce();
      if (HasFailure()) return;
      LetTimePass();
    }
    ExpectNothingToDo();
  }
  // What owners and mailing lists do between two runs.
  void Moderate(int round) {
    if (round == 0) return;
    if (Below(2) == 0) {
      const auto forum = OpenContainer(brevant::TBoardKind::kForum, kForums[Below(3)]);
      const auto last = static_cast<DWORD>(forum->Number("Last Message Index"));
      if (last > 0 && forum->Number("Message Count") > 0) RemoveMessage(last, forum.get());
    }
    if (Below(3) == 0) Template("style.css", "body{margin:" + std::to_string(round) + "px}");
    if (Below(3) == 0) OwnersFile("photos/2026/new" + std::to_string(round) + ".jpg", "jpeg");
    if (Below(4) == 0) fs::remove(SitePath("photos/2026/b.jpg"));
    if (Below(2) == 0 && !smtp_->Mails().empty()) mailbox_->Add(smtp_->Mails().back().content);
  }
};

TEST_P(FullCircleRounds, LeaveTheSiteAndTheServerWhole) { Rounds(6); }

// Without the extras. What changes only in a folder below an unchanged one would wait, so the owner
// has none; and pages name files by characters of ISO 8859-1, so names are in ASCII.
TEST_P(FullCircleRounds, LeaveTheSiteAndTheServerWholeInPlainModesToo) {
  fs::remove_all(SitePath("photos"));
  std::string index = ReadFileBytes(root_ / "Templates/index.htm");
  const std::size_t link = index.find("<a href='photos/");
  index.erase(link, index.find("</a>", link) + 4 - link);
  Template("index.htm", index);
  for (const char* forum : kForums) {
    const auto opened = OpenContainer(brevant::TBoardKind::kForum, forum);
    opened->String("HTML Filename Prefix", "books ");
  }
  StopServers();
  Start(false);
  random_.seed(GetParam());
  Subscribe();
  for (int round = 0; round < 3; ++round) {
    NewMail();
    RunTasks();
    ExpectWhole();
    ExpectEachPostSentOnce();
    if (HasFailure()) return;
    LetTimePass();
  }
  ExpectNothingToDo();
}

INSTANTIATE_TEST_SUITE_P(Seeds, FullCircleRounds, ::testing::Range(1U, 9U));

}  // namespace
}  // namespace test
