// Mail dispatch when something goes wrong: what was sent is marked, what was not is tried again.
#include "dispatch_fixture.h"

namespace {

using test::ParseDeviation;
using test::Shown;

constexpr const char* kStart = "Mail From: \"Ann Smith\"<ann@example.org>|Rcpt To: one@lists.org|";

class DispatchFailures : public test::DispatchFixture {
 protected:
  void SetUp() override {
    DispatchFixture::SetUp();
    AddForum("General", {"one@lists.org"});
  }

  void PostTwo() {
    Post("General", "First", "QUIT\r\nfirst text\r\n");
    Post("General", "Second", "second text\r\n");
  }

  // Both messages arrive in the end, the first one with the second scan.
  void ExpectSecondScanSends(const std::string& subjects) {
    MakeDue();
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Subjects(), subjects);
    EXPECT_EQ(Marks("General"), "11");
  }
};

TEST_F(DispatchFailures, ARefusedDataSendsNoLineOfTheBody) {
  PostTwo();
  Serve({ParseDeviation("DATA 1 reply \"554 no\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Commands(), kStart + std::string("Data|RSET|") + kStart + "Data|");
  EXPECT_EQ(server_->Transcript().find("first text"), std::string::npos);
  EXPECT_EQ(Subjects(), "Second;");
  EXPECT_EQ(Marks("General"), "01");
  EXPECT_TRUE(HistoryHas("Cannot send First to mailing list(s)"));
  EXPECT_EQ(Shown::Progress().back(), std::pair(0, 0));
  ExpectSecondScanSends("Second;First;");
}

TEST_F(DispatchFailures, ADataThatIsAcceptedWithAnotherCodeIsRefused) {
  for (const char* reply : {"250 ok\\r\\n", "354\\r\\n", "nonsense\\r\\n"}) {
    PostTwo();
    Serve({ParseDeviation(std::string("DATA * reply \"") + reply + "\"")});
    MakeDue();
    EXPECT_EQ(Run(300), 1);
    EXPECT_EQ(server_->Transcript().find("text"), std::string::npos) << reply;
    EXPECT_TRUE(Mails().empty());
  }
  EXPECT_EQ(Marks("General"), "000000");
}

TEST_F(DispatchFailures, ARefusedResetClosesTheConnection) {
  PostTwo();
  Serve({ParseDeviation("DATA 1 reply \"554 no\\r\\n\""),
         ParseDeviation("RSET * reply \"500 what?\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(server_->Server().Accepted(), 2);
  EXPECT_EQ(Subjects(), "Second;");
}

TEST_F(DispatchFailures, AnUnansweredResetClosesTheConnection) {
  PostTwo();
  Serve({ParseDeviation("DATA 1 reply \"554 no\\r\\n\""), ParseDeviation("RSET 1 silent")});
  EXPECT_EQ(Run(300), 1);
  EXPECT_EQ(server_->Server().Accepted(), 2);
  EXPECT_EQ(Subjects(), "Second;");
}

TEST_F(DispatchFailures, AServerThatIsSilentAfterDataGetsNothingMoreOnThatConnection) {
  PostTwo();
  Serve({ParseDeviation("DATA 1 silent")});
  EXPECT_EQ(Run(300), 1);
  EXPECT_EQ(Commands(), kStart + std::string("Data|") + kStart + "Data|");
  EXPECT_EQ(Subjects(), "Second;");
  EXPECT_EQ(Marks("General"), "01");
}

TEST_F(DispatchFailures, AConnectionThatBreaksIsMadeAgainForTheNextMessage) {
  for (const char* where : {"MAIL 1 drop 0", "RCPT 1 drop 0", "DATA 1 drop 0", "DATA 1 reset 0"}) {
    SCOPED_TRACE(where);
    AddForum("General", {"one@lists.org"});
    PostTwo();
    Serve({ParseDeviation(where)});
    MakeDue();
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Subjects(), "Second;");
    EXPECT_EQ(Marks("General"), "01");
    ExpectSecondScanSends("Second;First;");
  }
}

TEST_F(DispatchFailures, AConnectionThatBreaksAtARecipientDropsNobody) {
  AddForum("Other", {"x@lists.org", "y@lists.org"});
  Post("Other", "First");
  Post("Other", "Second");
  Serve({ParseDeviation("RCPT 2 drop 0")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Times("Cannot send mail to y@lists.org"), 1);
  ASSERT_EQ(Mails().size(), 1u);
  EXPECT_EQ(Joined(Mails()[0].recipients), "x@lists.org;y@lists.org;");
  EXPECT_EQ(Marks("Other"), "01");
}

TEST_F(DispatchFailures, AServerThatClosesInMidSessionDropsNobody) {
  AddForum("Other", {"x@lists.org", "y@lists.org"});
  Post("Other", "First");
  Post("Other", "Second");
  test::Deviation closing = ParseDeviation("RCPT 1 reply \"421 closing\\r\\n\" drop 13");
  Serve({closing});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "Second;");
  EXPECT_EQ(Joined(Mails()[0].recipients), "x@lists.org;y@lists.org;");
}

TEST_F(DispatchFailures, WithoutStandardModeTheAnswerAtTheEndDoesNotCount) {
  PostTwo();
  Serve({ParseDeviation("END 1 reply \"554 no\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "Second;");
  EXPECT_EQ(Marks("General"), "11");
}

TEST_F(DispatchFailures, AConnectionThatBreaksAtTheEndLeavesTheMessageUnmarked) {
  for (const char* where : {"END 1 drop 0", "END 1 reply \"421 closing\\r\\n\""}) {
    AddForum("General", {"one@lists.org"});
    PostTwo();
    Serve({ParseDeviation(where)});
    MakeDue();
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Subjects(), "Second;");
    EXPECT_EQ(Marks("General"), "01");
    EXPECT_TRUE(HistoryHas("Cannot send First to mailing list(s)"));
  }
}

TEST_F(DispatchFailures, AServerThatDoesNotReadTheBodyFailsTheMessage) {
  Post("General", "First", std::string(20'000'000, 'x'));
  test::SmtpOptions options;
  options.pauseInData = 2000;
  Serve(options);
  EXPECT_EQ(Run(200), 1);
  EXPECT_TRUE(Mails().empty());
  EXPECT_EQ(Marks("General"), "0");
}

TEST_F(DispatchFailures, MoreThanOneLineInAReplyIsNotReadWithoutStandardMode) {
  PostTwo();
  Serve({ParseDeviation("GREETING * reply \"220-hello\\r\\n220 ready\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Times("Cannot log onto 127.0.0.1"), 2);
  EXPECT_TRUE(Mails().empty());
}

// --- Aborts --------------------------------------------------------------------------------------

class DispatchAborts : public DispatchFailures {
 protected:
  void ExpectNothingSent() {
    EXPECT_TRUE(Mails().empty());
    EXPECT_EQ(Marks("General"), "00");
    EXPECT_TRUE(ScanTimeStored());
    for (const std::string& line : Shown::History()) {
      EXPECT_EQ(line.find("Cannot"), std::string::npos) << line;
    }
  }
};

TEST_F(DispatchAborts, WhileTheGreetingIsWaitedFor) {
  PostTwo();
  Serve({ParseDeviation("GREETING 1 silent")});
  TMailDispatchTask task(setup_, state_);
  task.Client().SetTimeout(kLongerThanAnyTest);
  std::thread aborter([&] {
    while (server_->Server().Accepted() == 0) std::this_thread::yield();
    task.Abort();
  });
  EXPECT_EQ(Run(task), 0);
  aborter.join();
  ExpectNothingSent();
}

TEST_F(DispatchAborts, AtEveryWaitBeforeTheData) {
  const std::pair<const char*, const char*> rows[] = {
      {"HELO 1 silent", "Helo"}, {"MAIL 1 silent", "Mail"}, {"RCPT 1 silent", "Rcpt"}};
  PostTwo();
  for (const auto& [deviation, command] : rows) {
    SCOPED_TRACE(deviation);
    Serve({ParseDeviation(deviation)});
    MakeDue();
    EXPECT_EQ(RunAbortedAt(command), 0);
    EXPECT_EQ(Commands().find("Data"), std::string::npos);
    EXPECT_EQ(Commands().find("Rcpt To: one@lists.org|") != std::string::npos,
              Commands().find("RSET") != std::string::npos && *command == 'R')
        << Commands();
    ExpectNothingSent();
  }
}

TEST_F(DispatchAborts, ATransactionUnderWayIsReset) {
  PostTwo();
  Serve({ParseDeviation("RCPT 1 silent")});
  EXPECT_EQ(RunAbortedAt("Rcpt"), 0);
  EXPECT_TRUE(server_->Transcript().ends_with("Rcpt To: one@lists.org\r\nRSET\r\nQUIT\r\n"))
      << server_->Transcript();
  ExpectNothingSent();
}

// The recipients come first, then the text, then the continue flag.
TEST_F(DispatchAborts, BehindAnAcceptedRecipientAnEmptyTextIsStillDoneWith) {
  const std::pair<const char*, const char*> rows[] = {{"<p> <br>", "1"}, {"<p>text", "0"}};
  AddForum("Pages", {"one@lists.org", "two@lists.org"});
  std::string marks;
  for (const auto& [content, mark] : rows) {
    SCOPED_TRACE(content);
    Post("Pages", "Page", content, {{"Document type", "text/html"}});
    Serve({ParseDeviation("RCPT 2 silent")});
    MakeDue();
    Shown::Clear();
    EXPECT_EQ(RunAbortedAt("Rcpt", 2), 0);
    EXPECT_EQ(Marks("Pages"), marks += mark);
    EXPECT_TRUE(server_->Transcript().ends_with("Rcpt To: two@lists.org\r\nRSET\r\nQUIT\r\n"))
        << server_->Transcript();
    EXPECT_EQ(Shown::Progress(), (std::vector<std::pair<int, int>>{{0, 100}, {0, 0}}));
    EXPECT_EQ(Joined(Shown::History()), "Logged onto 127.0.0.1 successfully;");
  }
}

TEST_F(DispatchAborts, WhileAnEmptyTextIsTakenBack) {
  Post("General", "Empty", "<p>", {{"Document type", "text/html"}});
  Post("General", "Next");
  Serve({ParseDeviation("RSET 1 silent")});
  EXPECT_EQ(RunAbortedAt("RSET"), 0);
  EXPECT_EQ(Marks("General"), "10");
  EXPECT_TRUE(server_->Transcript().ends_with("RSET\r\nQUIT\r\n")) << server_->Transcript();
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(DispatchAborts, WhileTheDataIsToBegin) {
  PostTwo();
  Serve({ParseDeviation("DATA 1 silent")});
  EXPECT_EQ(RunAbortedAt("Data"), 0);
  // Whatever came now could be taken for text.
  EXPECT_TRUE(server_->Transcript().ends_with("Data\r\n")) << server_->Transcript();
  ExpectNothingSent();
}

TEST_F(DispatchAborts, BetweenTwoPiecesNoEndOfTheMessageIsSent) {
  PostTwo();
  Post("General", "Third", std::string(10'000, 'x'));
  Serve();
  static TMailDispatchTask* running;
  const auto abortInThird = +[](int done, int total) {
    if (total == 10'000 && done >= 1024) running->Abort();
  };
  SetVisualFunctions("PROGRESS", reinterpret_cast<void*>(abortInThird));
  TMailDispatchTask task(setup_, state_);
  running = &task;
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(Subjects(), "First;Second;");
  EXPECT_EQ(Marks("General"), "110");
  EXPECT_TRUE(server_->Transcript().ends_with(std::string(1024, 'x'))) << server_->Transcript();
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(DispatchAborts, WhileTheServerReadsNothing) {
  Post("General", "First", std::string(50'000'000, 'x'));
  Post("General", "Second");
  test::SmtpOptions options;
  options.pauseInData = 60'000;
  Serve(options);
  EXPECT_EQ(RunAbortedAt("Data"), 0);
  server_.reset();
  EXPECT_EQ(Marks("General"), "00");
}

TEST_F(DispatchAborts, AMessageThatIsOutCountsAsSent) {
  PostTwo();
  Serve({ParseDeviation("END 1 delay 3000")});
  TMailDispatchTask task(setup_, state_);
  task.Client().SetTimeout(kLongerThanAnyTest);
  std::thread aborter([&] {
    while (!server_->Transcript().ends_with("\r\n.\r\n")) std::this_thread::yield();
    task.Abort();
  });
  EXPECT_EQ(Run(task), 0);
  aborter.join();
  EXPECT_EQ(Marks("General"), "10");
}

TEST_F(DispatchAborts, BeforeTheRunNothingIsSent) {
  PostTwo();
  Serve();
  TMailDispatchTask task(setup_, state_);
  task.Abort();
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(server_->Server().Accepted(), 0);
  ExpectNothingSent();
}

TEST_F(DispatchAborts, WhenAStatusIsShownTheTransactionIsNotBegun) {
  PostTwo();
  Serve();
  static TMailDispatchTask* running;
  SetVisualFunctions("STATUS", reinterpret_cast<void*>(+[](const char*) { running->Abort(); }));
  TMailDispatchTask task(setup_, state_);
  running = &task;
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(Commands(), "");
  EXPECT_TRUE(server_->Transcript().ends_with("QUIT\r\n"));
  ExpectNothingSent();
}

// --- Marks ---------------------------------------------------------------------------------------

class DispatchMarks : public DispatchFailures {
 protected:
  // Commits fail from the n-th one on, counted over all files.
  static brevant::TBoardCache::TCommit FailFrom(int n) {
    return
        [n, count = 0](TStorage& storage) mutable { return ++count >= n ? 0 : storage.Commit(); };
  }
};

TEST_F(DispatchMarks, EveryMarkIsSafeBeforeTheNextMessageGoesOut) {
  for (int i = 0; i < 5; ++i) Post("General", "Mail " + std::to_string(i));
  Serve();
  std::vector<std::size_t> sentAtCommit;
  TMailDispatchTask task(setup_, state_);
  task.SetCommit([&](TStorage& storage) {
    // The server may be at noting the mail whose end it has just answered.
    while (Mails().size() == sentAtCommit.size()) std::this_thread::yield();
    sentAtCommit.push_back(Mails().size());
    return storage.Commit();
  });
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(sentAtCommit, (std::vector<std::size_t>{1, 2, 3, 4, 5}));
}

TEST_F(DispatchMarks, WhenOneCannotBeSavedNothingMoreOfThatForumIsSent) {
  AddForum("Other", {"one@lists.org"});
  for (const char* subject : {"g1", "g2", "g3"}) Post("General", subject);
  Post("Other", "o1");
  Serve();
  TMailDispatchTask task(setup_, state_);
  task.SetCommit(
      [count = 0](TStorage& storage) mutable { return ++count == 2 ? 0 : storage.Commit(); });
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(Subjects(), "g1;g2;o1;");
  EXPECT_EQ(Joined(Shown::History()), "Logged onto 127.0.0.1 successfully;Cannot save General;");
  EXPECT_NE(ErrorLog().find("Cannot save General"), std::string::npos);
  EXPECT_EQ(Marks("Other"), "1");
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(DispatchMarks, MessagesThatAreNotSentAreMarkedTogether) {
  AddForum("Listed", {"list@lists.org"});
  for (int i = 0; i < 5; ++i) Post("Listed", "m", "x", {{"TO", "list@lists.org"}});
  Serve();
  int commits = 0;
  TMailDispatchTask task(setup_, state_);
  task.SetCommit([&commits](TStorage& storage) {
    ++commits;
    return storage.Commit();
  });
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(commits, 1);
  EXPECT_EQ(Marks("Listed"), "11111");
}

TEST_F(DispatchMarks, WhenThoseCannotBeSavedItIsReported) {
  AddForum("Listed", {"list@lists.org"});
  Post("Listed", "m", "x", {{"TO", "list@lists.org"}});
  Serve();
  TMailDispatchTask task(setup_, state_);
  task.SetCommit(FailFrom(1));
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(Joined(Shown::History()), "Cannot save Listed;");
}

TEST_F(DispatchMarks, AScanThatFindsNothingToSendCommitsNothing) {
  Post("General", "First");
  Serve();
  EXPECT_EQ(Run(), 1);
  const std::string before = test::ReadFileBytes(data_ + "General.mwd");
  MakeDue();
  TMailDispatchTask task(setup_, state_);
  int commits = 0;
  task.SetCommit([&commits](TStorage& storage) {
    ++commits;
    return storage.Commit();
  });
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(commits, 0);
  EXPECT_EQ(test::ReadFileBytes(data_ + "General.mwd"), before);
}

TEST_F(DispatchMarks, AnEndByAnExceptionStoresNoTimeAndEndsNoMessage) {
  Post("General", "First");
  Serve();
  TMailDispatchTask task(setup_, state_);
  task.SetCommit([](TStorage&) -> int { throw std::bad_alloc(); });
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(Subjects(), "First;");
  EXPECT_FALSE(ScanTimeStored());
}

}  // namespace
