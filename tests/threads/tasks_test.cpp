// Aborts and interrupts of the five tasks from other threads at any moment. The sanitizer is the
// judge of the threads; what is asserted is that nothing is lost: a run without disturbance
// afterwards ends as if there had been none.
#include "delivery_fixture.h"
#include "dispatch_fixture.h"
#include "disturbance.h"
#include "html_board.h"
#include "retrieval_fixture.h"
#include "shared/htmltask.h"
#include "shared/linktask.h"

#include <set>

namespace test {
namespace {

constexpr int kRounds = 25;
constexpr int kWithin = 40'000;  // microseconds

class RetrievalThreads : public RetrievalFixture {};

TEST_F(RetrievalThreads, AbortsAndInterruptsLoseNoMail) {
  constexpr int kMails = 12;
  setup_->Number("Standard POP3 Mode", DWORD{1});
  TForum* forum = CreateForum("General", data_.c_str());
  ASSERT_NE(forum, nullptr);
  forum->Number("Max Message Count", DWORD{100'000});
  CloseForum(forum);
  std::minstd_rand random(3);
  std::set<std::string> wanted;
  for (int round = 0; round < kRounds; ++round) {
    std::vector<std::string> mails;
    for (int i = 0; i < kMails; ++i) {
      const std::string subject = std::to_string(round) + "-" + std::to_string(i);
      wanted.insert(subject);
      mails.push_back(Post("General", subject));
    }
    Serve(mails, {ParseDeviation("RETR * delay 1"), ParseDeviation("DELE * delay 1")});
    {
      TMailRetrievalTask task(setup_, state_);
      task.Client().SetTimeout(3000);
      Disturbance others(random, kWithin,
                         {[&] { task.Abort(); }, [&] { task.Client().Interrupt(); }});
      Run(task);
    }
    brevant::ResetDeadline();
    EXPECT_EQ(Run(), 1);
    server_.reset();
  }
  TForum board;
  ASSERT_EQ(board.Open("General", data_.c_str(), 2, 0, 16), 1);
  std::set<std::string> filed;
  for (const Item& item : ItemsOf(board)) filed.insert(item.subject);
  EXPECT_EQ(filed, wanted);
}

class DispatchThreads : public DispatchFixture {};

TEST_F(DispatchThreads, AbortsAndInterruptsLeaveNothingUnsent) {
  UseStandardMode();
  AddForum("General", {"list@example.org"});
  std::minstd_rand random(4);
  for (int round = 0; round < kRounds; ++round) {
    Serve({ParseDeviation("END * delay 2"), ParseDeviation("RCPT * delay 1")});
    for (int i = 0; i < 5; ++i) Post("General", std::to_string(round) + "-" + std::to_string(i));
    MakeDue();
    {
      TMailDispatchTask task(setup_, state_);
      task.Client().SetTimeout(3000);
      Disturbance others(random, kWithin,
                         {[&] { task.Abort(); }, [&] { task.Client().Interrupt(); }});
      Run(task);
    }
    brevant::ResetDeadline();
    MakeDue();
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Marks("General").find('0'), std::string::npos);
  }
}

class DeliveryThreads : public Delivery {};

TEST_F(DeliveryThreads, AbortsAndInterruptsAreMadeGoodByTheNextRun) {
  Switch("Standard FTP Mode");
  std::minstd_rand random(5);
  for (int round = 0; round < kRounds; ++round) {
    FtpOptions options;
    options.deviations = {ParseDeviation("STOR-END * delay 1")};
    Serve(options);
    for (int i = 0; i < 6; ++i) {
      Local((i % 2 == 0 ? "a" : "sub/a") + std::to_string(i) + ".htm",
            std::string(static_cast<std::size_t>(20'000 + round), 'x'));
    }
    RemoveLocal("old" + std::to_string(round - 1) + ".htm");
    Local("old" + std::to_string(round) + ".htm", "x");
    {
      TFileDeliveryTask task(setup_, state_);
      task.Client().SetTimeout(3000);
      Disturbance others(random, kWithin,
                         {[&] { task.Abort(); }, [&] { task.Client().Interrupt(); }});
      Run(task);
    }
    brevant::ResetDeadline();
    EXPECT_EQ(Run(), 1) << round;
    ExpectSameTrees();
    server_.reset();
  }
}

class PageThreads : public HtmlBoard {};

TEST_F(PageThreads, AbortedRunsOfPagesAndOfFileManagementAreMadeGood) {
  MakeForum("General");
  for (int i = 0; i < 30; ++i) Add("General");
  Template("index.htm", "<ul><li><a href=\"$FORUM_FILENAME(list)$\">$FORUM_NAME$</a></li></ul>");
  Template("list.htm", "<ul><li><a href=\"$MESSAGE_FILENAME(message)$\">x</a></li></ul>");
  Template("message.htm", "<p>$MESSAGE_SUBJECT$</p>");
  Set("HTML File - Forum list", "index");
  std::minstd_rand random(6);
  std::vector<std::string> whole;
  for (int round = 0; round < kRounds; ++round) {
    state_->Number("Last Site Update Time", DWORD{0});
    {
      THtmlTask pages(setup_, state_);
      Disturbance others(random, kWithin, {[&] { pages.Abort(); }});
      pages.Execute();
    }
    state_->Number("Last Local Directory Scan Time", DWORD{0});
    {
      TFileManagementTask files(setup_, state_);
      Disturbance others(random, kWithin / 10, {[&] { files.Abort(); }});
      files.Execute();
    }
    state_->Number("Last Site Update Time", DWORD{0});
    EXPECT_EQ(THtmlTask(setup_, state_).Execute(), 1);
    if (whole.empty()) whole = SiteFiles();
    EXPECT_EQ(SiteFiles(), whole);
  }
  EXPECT_EQ(whole.size(), 18U);  // a forum keeps sixteen messages
}

}  // namespace
}  // namespace test
