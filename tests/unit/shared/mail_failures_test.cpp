// Retrieval when something goes wrong: no mail is lost, every run ends.
#include "board_reading.h"
#include "retrieval_fixture.h"
#include "shared/mailtask.h"

#include <chrono>
#include <new>
#include <thread>

namespace {

using test::ParseDeviation;

// Milliseconds; a wait that only this ended would fail the whole program.
constexpr unsigned kLongerThanAnyTest = 1'200'000;

class MailFailures : public test::RetrievalFixture {
 protected:
  void SetUp() override {
    RetrievalFixture::SetUp();
    ASSERT_TRUE(test::MakeForum("General", data_));
    ASSERT_TRUE(test::MakeForum("Other", data_));
  }

  // A post with an attachment.
  static std::string WithFile(const std::string& forum, const std::string& subject) {
    return "From: a@b\nTo: \"[My_Board:" + forum + "]\" <x@y>\nSubject: " + subject +
           "\nContent-Type: multipart/mixed; boundary=\"b\"\n\n--b\nContent-Type: "
           "application/octet-stream\nContent-Disposition: attachment; filename=\"a.txt\"\n\nfile\n"
           "--b--\n";
  }

  // Commits of the file fail from the n-th one on, counted over all files.
  static brevant::TBoardCache::TCommit FailFrom(int n) {
    return
        [n, count = 0](TStorage& storage) mutable { return ++count >= n ? 0 : storage.Commit(); };
  }

  // The last lines of what was sent, with blanks between.
  std::string LastCommands(std::size_t count) const {
    std::string text = server_->Transcript();
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text.find("\r\n", at);
      lines.push_back(text.substr(at, end - at));
      at = end + 2;
    }
    std::string last;
    for (std::size_t i = lines.size() - std::min(count, lines.size()); i < lines.size(); ++i) {
      last += lines[i] + "|";
    }
    return last;
  }
};

TEST_F(MailFailures, AForumThatCannotBeOpenedIsReportedAndItsMailDeleted) {
  test::WriteFileBytes(data_ + "Broken.mwd", "no document");
  Serve({Post("Broken", "one"), Post("General", "two")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot save message to [Broken]"));
  EXPECT_EQ(Left(), 0u);
  EXPECT_EQ(test::SubjectsOf("General", data_), "two;");
  EXPECT_EQ(test::ReadFileBytes(data_ + "Broken.mwd"), "no document");
}

TEST_F(MailFailures, KeepUnsavedMailLeavesItInTheMailbox) {
  test::WriteFileBytes(data_ + "Broken.mwd", "no document");
  setup_->Number("Keep Unsaved Mail", 1);
  Serve({Post("Broken", "one"), Post("General", "two")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot save message to [Broken]"));
  ASSERT_EQ(Left(), 1u);
  EXPECT_NE(server_->Messages()[0].find("Subject: one"), std::string::npos);
  EXPECT_EQ(StateText("POP3 Last Message ID"), "<one@example.org>");
}

TEST_F(MailFailures, AttachmentsOfAMessageThatCannotBeSavedAreRemoved) {
  test::WriteFileBytes(data_ + "Broken.mwd", "no document");
  setup_->Number("Allow attachment - forum", 1);
  Serve({WithFile("Broken", "one")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SiteFiles().empty());
}

TEST_F(MailFailures, AttachmentsOfAListRequestAreRemoved) {
  setup_->Number("Allow attachment - forum", 1);
  Serve({WithFile("General", "Subscribe")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SiteFiles().empty());
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailFailures, AFileThatCannotBeWrittenKeepsItsMailInTheMailboxAndTheWalkGoesOn) {
  setup_->Number("Allow attachment - forum", 1);
  std::filesystem::remove(site_);
  test::WriteFileBytes(directory_ / "site", "a file where the directory should be");
  Serve({WithFile("General", "one"), Post("General", "two")});
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HistoryHas("Cannot save message to [General]"));
  EXPECT_EQ(Left(), 1u);
  EXPECT_EQ(test::SubjectsOf("General", data_), "two;");
}

TEST_F(MailFailures, WhatCannotBeCommittedStaysAndTheRestIsDeletedAgain) {
  Serve({"BBS: My Board\n" + Post("General", "own"), Post("General", "kept"), Post("Other", "lost"),
         Post("Nowhere", "stray")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(FailFrom(2));
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(LastCommands(4), "RSET|DELE 1|DELE 2|QUIT|");
  EXPECT_TRUE(HistoryHas("Cannot save message to [Other]"));
  ASSERT_EQ(Left(), 2u);
  EXPECT_NE(server_->Messages()[0].find("Subject: lost"), std::string::npos);
  EXPECT_NE(server_->Messages()[1].find("Subject: stray"), std::string::npos);
  EXPECT_EQ(test::SubjectsOf("General", data_), "kept;");
}

TEST_F(MailFailures, TheCommitComesBeforeTheQuit) {
  Serve({Post("General", "one")});
  TMailRetrievalTask task(setup_, state_);
  bool quitBefore = false;
  task.SetCommit([&](TStorage& storage) {
    quitBefore = Sent("QUIT");
    return storage.Commit();
  });
  EXPECT_EQ(Run(task), 1);
  EXPECT_FALSE(quitBefore);
  EXPECT_TRUE(Sent("QUIT"));
  EXPECT_FALSE(Sent("RSET"));
}

TEST_F(MailFailures, ARefusedResetEndsTheConnectionWithoutQuit) {
  Serve({Post("General", "one"), Post("Other", "two")},
        {ParseDeviation("RSET 1 reply \"-ERR no\\r\\n\"")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(FailFrom(2));
  EXPECT_EQ(Run(task), 0);
  EXPECT_TRUE(Sent("RSET"));
  EXPECT_FALSE(Sent("QUIT"));
  EXPECT_EQ(Left(), 2u) << "rather twice than never";
}

TEST_F(MailFailures, AnUnansweredResetEndsTheConnectionWithoutQuit) {
  Serve({Post("General", "one"), Post("Other", "two")}, {ParseDeviation("RSET 1 silent")});
  TMailRetrievalTask task(setup_, state_);
  task.Client().SetTimeout(500);
  task.SetCommit(FailFrom(2));
  EXPECT_EQ(Run(task), 0);
  EXPECT_FALSE(Sent("QUIT"));
  EXPECT_EQ(Left(), 2u);
}

TEST_F(MailFailures, ACommitLostOnABrokenConnectionEndsItWithoutQuit) {
  Serve({Post("General", "one"), Post("Other", "two"), Post("General", "three")},
        {ParseDeviation("RETR 3 silent")});
  TMailRetrievalTask task(setup_, state_);
  task.Client().SetTimeout(500);
  task.SetCommit(FailFrom(2));
  EXPECT_EQ(Run(task), 0);
  EXPECT_FALSE(Sent("RSET")) << "its reply could not be told from a late one";
  EXPECT_FALSE(Sent("QUIT"));
  EXPECT_EQ(Left(), 3u);
}

TEST_F(MailFailures, AnExceptionOutOfTheCommitEndsTheRunWithoutQuit) {
  Serve({Post("General", "one")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit([](TStorage&) -> int { throw std::bad_alloc(); });
  EXPECT_EQ(Run(task), 0);
  EXPECT_FALSE(Sent("QUIT"));
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailFailures, AnExceptionOutOfACommitDuringTheRunEndsItWithoutQuit) {
  std::string body;
  for (int i = 0; i < 90000; ++i) body += std::string(60, 'y') + "\n";
  Serve({Post("General", "large", body), Post("Other", "fine")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit([count = 0](TStorage& storage) mutable -> int {
    if (++count == 1) throw std::bad_alloc();
    return storage.Commit();
  });
  EXPECT_EQ(Run(task), 0);
  EXPECT_FALSE(Sent("QUIT"));
  EXPECT_EQ(Left(), 2u) << "rather twice than never";
  EXPECT_EQ(test::SubjectsOf("Other", data_), "fine;");
}

// Taking the last entry off a list writes no byte, it only cuts the list.
TEST_F(MailFailures, ACancellationThatCannotBeCommittedStaysInTheMailbox) {
  TForum* forum = OpenForum("General", data_.c_str());
  ASSERT_EQ(AddMailingList("ann@example.org", "Ann", forum), 1);
  CloseForum(forum);
  Serve({Post("General", "Unsubscribe")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(FailFrom(1));
  EXPECT_EQ(Run(task), 0);
  EXPECT_TRUE(HistoryHas("Cannot save message to [General]"));
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailFailures, AnAbortAfterALostCommitEndsTheConnectionWithoutQuit) {
  Serve({Post("General", "one"), Post("Other", "two")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit([&task](TStorage&) {
    task.Abort();
    return 0;
  });
  EXPECT_EQ(Run(task), 0);
  EXPECT_FALSE(Sent("QUIT"));
  EXPECT_EQ(Left(), 2u);
}

TEST_F(MailFailures, ACommitInTheMiddleOfTheRunThatFailsGivesTheFileUpForTheRest) {
  const std::string large(5 * 1024 * 1024 / 64 * 65, 'x');
  std::string body;
  body.reserve(large.size());
  for (std::size_t at = 0; at < large.size(); at += 64) body += std::string(63, 'x') + "\n";
  Serve({Post("Other", "small"), Post("Other", "large", body), Post("Other", "later"),
         Post("General", "fine")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(
      [count = 0](TStorage& storage) mutable { return ++count == 1 ? 0 : storage.Commit(); });
  EXPECT_EQ(Run(task), 0);
  EXPECT_FALSE(Sent("RETR 3")) << "what comes later for the file is not even read";
  EXPECT_EQ(LastCommands(3), "RSET|DELE 4|QUIT|");
  EXPECT_EQ(Left(), 3u);
  EXPECT_EQ(std::count(test::Shown::History().begin(), test::Shown::History().end(),
                       "Cannot save message to [Other]"),
            2);
  EXPECT_EQ(test::SubjectsOf("General", data_), "fine;");
}

TEST_F(MailFailures, AttachmentsOfLostMessagesAreRemoved) {
  setup_->Number("Allow attachment - forum", 1);
  Serve({WithFile("General", "one"), WithFile("Other", "two")});
  TMailRetrievalTask task(setup_, state_);
  task.SetCommit(FailFrom(2));
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(SiteFiles().size(), 1u);
}

TEST_F(MailFailures, ALargeMailIsCommittedDuringTheRun) {
  std::string body;
  for (int i = 0; i < 90000; ++i) body += std::string(60, 'y') + "\n";
  Serve({Post("General", "large", body), Post("General", "small")});
  TMailRetrievalTask task(setup_, state_);
  int commits = 0;
  task.SetCommit([&commits](TStorage& storage) {
    ++commits;
    return storage.Commit();
  });
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(commits, 2);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].content.size(), 90000u * 62);
}

TEST_F(MailFailures, ASilentServerEndsTheWalkAndWhatWasFiledIsKept) {
  Serve({Post("General", "one"), Post("General", "two%s%n"), Post("General", "three")},
        {ParseDeviation("RETR 2 silent")});
  EXPECT_EQ(Run(700), 1);
  EXPECT_TRUE(HistoryHas("Cannot retrieve \"two%s%n\""));
  EXPECT_NE(ErrorLog().find("] Cannot retrieve \"two%s%n\"\r\n"), std::string::npos);
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
  EXPECT_EQ(StateText("POP3 Last Message ID"), "<two%s%n@example.org>");
}

TEST_F(MailFailures, AServerThatClosesHalfWayLosesNothing) {
  Serve({Post("General", "one"), Post("General", "two", std::string(9000, 'x') + "\n")},
        {ParseDeviation("RETR 2 drop 3000")});
  EXPECT_EQ(Run(2000), 1);
  EXPECT_TRUE(HistoryHas("Cannot retrieve \"two\""));
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
  EXPECT_EQ(Left(), 2u) << "the server never saw QUIT";
}

TEST_F(MailFailures, AServerThatResetsTheConnectionLosesNothing) {
  Serve({Post("General", "one"), Post("General", "two", std::string(9000, 'x') + "\n")},
        {ParseDeviation("RETR 2 reset 3000")});
  EXPECT_EQ(Run(2000), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
  EXPECT_EQ(Left(), 2u);
}

TEST_F(MailFailures, AServerThatNeverEndsALineEndsWithTheTimeOut) {
  Serve({Post("General", "one"), Post("General", "two")}, {ParseDeviation("RETR 2 endless")});
  Run(700);
  EXPECT_EQ(test::SubjectsOf("General", data_).substr(0, 4), "one;");
}

TEST_F(MailFailures, AServerThatDribblesIsCutOffByTheTimeOutOfTheLine) {
  Serve({Post("General", "one"), Post("General", "two")}, {ParseDeviation("RETR 2 dribble 2500")});
  Run(700);
  EXPECT_TRUE(HistoryHas("Cannot retrieve \"two\""));
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
}

TEST_F(MailFailures, ARefusedMessageStaysAndTheWalkGoesOn) {
  Serve({Post("General", "one"), Post("General", "two")},
        {ParseDeviation("RETR 1 reply \"-ERR locked %s%n\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("locked %s%n (POP3)"));
  EXPECT_TRUE(HistoryHas("Cannot retrieve \"one\""));
  EXPECT_EQ(test::SubjectsOf("General", data_), "two;");
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailFailures, ARefusedDeletionLeavesTheMessage) {
  Serve({Post("General", "one"), Post("General", "two")},
        {ParseDeviation("DELE 1 reply \"-ERR no\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("no (POP3)"));
  EXPECT_EQ(StateText("POP3 Last Message ID"), "<one@example.org>");
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;two;");
}

TEST_F(MailFailures, AHostileMessageCountDoesNoHarm) {
  Serve({Post("General", "one")}, {ParseDeviation("STAT 1 reply \"+OK 99999999999 1\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
  Serve({Post("General", "two")}, {ParseDeviation("STAT 1 reply \"+OK -5 1\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 1u);
}

// Aborts from another thread once the server has fallen silent; what was filed before is kept, its
// deletion is sent, and the run ends at the waiting loop's next slice.
TEST_F(MailFailures, AbortFromAnotherThreadEndsTheWaitAndKeepsWhatWasFiled) {
  Serve({Post("General", "one"), Post("General", "two")}, {ParseDeviation("RETR 2 silent")});
  TMailRetrievalTask task(setup_, state_);
  task.Client().SetTimeout(kLongerThanAnyTest);
  std::thread host([&] {
    for (int i = 0; i < 1000 && !Sent("RETR 2"); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    task.Abort();
  });
  const int result = task.Execute();
  host.join();
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(HistoryHas("Cannot retrieve \"two\""));
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
  server_->Server().WaitUntilFinished(1, 2000);
}

TEST_F(MailFailures, AbortDuringTheLogOnEndsTheWait) {
  Serve({Post("General", "one")}, {ParseDeviation("GREETING 1 silent")});
  TMailRetrievalTask task(setup_, state_);
  task.Client().SetTimeout(kLongerThanAnyTest);
  std::thread host([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    task.Abort();
  });
  EXPECT_EQ(task.Execute(), 0);
  host.join();
  EXPECT_EQ(History(), "");
}

// An abort between two messages: the deletion that was sent counts, since "QUIT" still goes out.
TEST_F(MailFailures, AbortBetweenTwoMessagesStillQuits) {
  Serve({Post("General", "one"), Post("General", "two")}, {ParseDeviation("TOP 2 silent")});
  TMailRetrievalTask task(setup_, state_);
  task.Client().SetTimeout(kLongerThanAnyTest);
  std::thread host([&] {
    for (int i = 0; i < 1000 && !Sent("TOP 2 0"); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    task.Abort();
  });
  EXPECT_EQ(task.Execute(), 0);
  host.join();
  server_->Server().WaitUntilFinished(1, 3000);
  EXPECT_TRUE(Sent("QUIT"));
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
  ASSERT_EQ(Left(), 1u);
  EXPECT_NE(server_->Messages()[0].find("Subject: two"), std::string::npos);
}

}  // namespace
