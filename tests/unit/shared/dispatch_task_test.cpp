// Mail dispatch as its rules have it, without standard mode.
#include "dispatch_fixture.h"

namespace {

namespace fs = std::filesystem;
using test::Shown;
using test::SmtpMail;

class MailDispatch : public test::DispatchFixture {
 protected:
  // As if everything had been changed long ago.
  void AgeFiles() const {
    const auto longAgo = fs::file_time_type::clock::now() - std::chrono::hours(48);
    fs::last_write_time(directory_ / "settings.ini", longAgo);
    for (const auto& entry : fs::directory_iterator(data_)) {
      fs::last_write_time(entry.path(), longAgo);
    }
  }
};

TEST_F(MailDispatch, IsCreatedByName) {
  for (const char* name : {"MAIL DISPATCH", "mail dispatch"}) {
    TTask* task = CreateTask(name);
    EXPECT_NE(dynamic_cast<TMailDispatchTask*>(task), nullptr) << name;
    DestroyTask(task);
  }
}

TEST_F(MailDispatch, WithoutSettingsItEndsWithoutSuccess) {
  TMailDispatchTask task(nullptr, state_);
  EXPECT_EQ(task.Execute(), 0);
}

TEST_F(MailDispatch, WorksWithoutAPersistentState) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Serve();
  TMailDispatchTask task(setup_, nullptr);
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(Subjects(), "First;");
}

TEST_F(MailDispatch, SendsExactlyTheseBytes) {
  AddForum("General", {"one@lists.org", "two@lists.org"});
  Post("General", "First one", "Hello\r\n.hidden\r\nlast");
  Post("General", "Second one", "Again\n", {{"FROM", "bob@example.org"}});
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(server_->Transcript(),
            "Helo 127.0.0.1\r\n"
            "Mail From: \"Ann Smith\"<ann@example.org>\r\n"
            "Rcpt To: one@lists.org\r\nRcpt To: two@lists.org\r\nData\r\n"
            "Subject: First one\r\nBBS: My Board\r\n\r\nHello\r\n.hidden\r\nlast\r\n.\r\n"
            "Mail From: bob@example.org\r\n"
            "Rcpt To: one@lists.org\r\nRcpt To: two@lists.org\r\nData\r\n"
            "Subject: Second one\r\nBBS: My Board\r\n\r\nAgain\n\r\n.\r\n"
            "QUIT\r\n");
  EXPECT_EQ(Marks("General"), "11");
}

TEST_F(MailDispatch, TheSendersFormDependsOnItsNameAndAddress) {
  const std::pair<const char*, const char*> rows[] = {
      {"\"Ann Smith\" <ann@example.org>", "Mail From: \"Ann Smith\"<ann@example.org>"},
      {"Ann <ann@example.org>", "Mail From: \"Ann \"<ann@example.org>"},
      {"ann@example.org", "Mail From: ann@example.org"},
      {"\"ANN@example.org\" <ann@EXAMPLE.org>", "Mail From: ann@EXAMPLE.org"},
      {"Ann without an address", "Mail From: anonymous"},
      {"", "Mail From: anonymous"}};
  AddForum("General", {"one@lists.org"});
  std::string expected;
  for (const auto& [from, command] : rows) {
    Post("General", "x", "x", {{"FROM", from}});
    expected += std::string(command) + "|Rcpt To: one@lists.org|Data|";
  }
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Commands(), expected);
}

TEST_F(MailDispatch, WithNothingChangedNoConnectionIsMade) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Serve();
  ASSERT_EQ(Run(), 1);
  AgeFiles();
  // Something to send that no file's time tells of.
  ASSERT_EQ(server_->Server().Accepted(), 1);
  Post("General", "Second");
  AgeFiles();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(server_->Server().Accepted(), 1);
  EXPECT_EQ(Marks("General"), "10");
}

TEST_F(MailDispatch, ANewerDataFileOrSettingsFileMakesItDue) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Serve();
  for (const std::string& changed : {data_ + "General.mwd", directory_ / "settings.ini"}) {
    AgeFiles();
    state_->Time(kScanTime, TTime::Now() - TTime::FromTicks(36'000'000'000));
    const int before = server_->Server().Accepted();
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(server_->Server().Accepted(), before);
    fs::last_write_time(changed, fs::file_time_type::clock::now());
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(server_->Server().Accepted(), before + 1) << changed;
    Post("General", "Next");
  }
}

TEST_F(MailDispatch, ADirectoryMakesNothingDue) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Serve();
  AgeFiles();
  state_->Time(kScanTime, TTime::Now() - TTime::FromTicks(36'000'000'000));
  fs::create_directory(data_ + "made.now");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(server_->Server().Accepted(), 0);
}

TEST_F(MailDispatch, TheScanTimeIsLocalAndInThePersistentState) {
  Serve();
  AddForum("General", {});
  const std::int64_t before = TTime::Now().UnixSeconds();
  EXPECT_EQ(Run(), 1);
  const auto stored = static_cast<std::int64_t>(state_->Number(kScanTime));
  EXPECT_GE(stored, before);
  EXPECT_LE(stored, TTime::Now().UnixSeconds());
  const std::string settings = test::ReadFileBytes(directory_ / "settings.ini");
  EXPECT_EQ(settings.find(kScanTime), std::string::npos);
}

TEST_F(MailDispatch, WhatIsSentIsNotSentAgain) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Serve();
  EXPECT_EQ(Run(), 1);
  Post("General", "Second");
  MakeDue();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "First;Second;");
  MakeDue();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(server_->Server().Accepted(), 2);
}

TEST_F(MailDispatch, AForumWithAnEmptyListSendsAndMarksNothing) {
  AddForum("General", {});
  AddForum("Left", {"one@lists.org"});
  TForum* forum = OpenForum("Left", data_.c_str());
  RemoveMailingList("one@lists.org", forum);
  CloseForum(forum);
  Post("General", "First");
  Post("Left", "Second");
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(server_->Server().Accepted(), 0);
  EXPECT_EQ(Marks("General") + Marks("Left"), "00");
  EXPECT_TRUE(Shown::History().empty());
}

TEST_F(MailDispatch, AMessageFromTheOnlyListIsMarkedWithoutBeingSent) {
  AddForum("General", {"list@lists.org"});
  Post("General", "From the list", "x", {{"TO", "The list <LIST@lists.org>"}});
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(server_->Server().Accepted(), 0);
  EXPECT_EQ(Marks("General"), "1");
}

TEST_F(MailDispatch, WithTwoListsAMessageFromOneGoesToTheOtherOnly) {
  AddForum("General", {"one@lists.org", "two@lists.org"});
  Post("General", "From one", "x", {{"TO", "one@lists.org"}});
  Serve();
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Mails().size(), 1u);
  EXPECT_EQ(Joined(Mails()[0].recipients), "two@lists.org;");
  EXPECT_EQ(Marks("General"), "1");
}

TEST_F(MailDispatch, AMessageThatCameToEveryListStaysUnmarked) {
  AddForum("General", {"one@lists.org", "two@lists.org"});
  Post("General", "From both", "x", {{"TO", "one@lists.org, <two@lists.org>"}});
  Post("General", "Next");
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "Next;");
  EXPECT_EQ(Marks("General"), "01");
  EXPECT_EQ(Commands().find("RSET"), std::string::npos);
}

TEST_F(MailDispatch, AnAddressInsideALongerOneIsNotTheList) {
  AddForum("General", {"list@lists.org"});
  Post("General", "Longer", "x", {{"TO", "my-list@lists.org, list@lists.organic"}});
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "Longer;");
}

TEST_F(MailDispatch, AnEntryMeansTheAddressInItsKeyOrElseInItsName) {
  AddForum("General", {});
  TForum* forum = OpenForum("General", data_.c_str());
  AddMailingList("one@lists.org", "key@no.address", forum);
  AddMailingList("Second list", "two@lists.org", forum);
  AddMailingList("localname", "Third list", forum);
  AddMailingList("Twice", "ONE@lists.org", forum);
  CloseForum(forum);
  Post("General", "First");
  Serve();
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Mails().size(), 1u);
  EXPECT_EQ(Joined(Mails()[0].recipients), "one@lists.org;two@lists.org;localname;");
}

TEST_F(MailDispatch, ARefusedAddressIsNotTriedAgainInTheScan) {
  AddForum("A", {"bad@lists.org", "good@lists.org"});
  AddForum("B", {"good@lists.org", "BAD@lists.org"});
  Post("A", "First");
  Post("A", "Second");
  Post("B", "Third");
  test::SmtpOptions options;
  options.recipientReplies["bad@lists.org"] = "550 nobody";
  Serve(options);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "First;Second;Third;");
  EXPECT_EQ(Times("Cannot send mail to bad@lists.org"), 1);
  EXPECT_NE(ErrorLog().find("Cannot send mail to bad@lists.org"), std::string::npos);
  EXPECT_EQ(server_->Transcript().find("BAD"), std::string::npos);
  EXPECT_EQ(Marks("A") + Marks("B"), "111");
  // The next scan asks again.
  Post("A", "Fourth");
  MakeDue();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Times("Cannot send mail to bad@lists.org"), 2);
}

TEST_F(MailDispatch, ARecipientWhomTheServerForwardsIsAccepted) {
  AddForum("General", {"moved@lists.org"});
  Post("General", "First");
  test::SmtpOptions options;
  options.recipientReplies["moved@lists.org"] = "251 will forward";
  Serve(options);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "First;");
}

TEST_F(MailDispatch, TheWalkEndsWhenTheLastAddressIsRefused) {
  AddForum("General", {"bad@lists.org"});
  AddForum("Other", {"good@lists.org"});
  Post("General", "First");
  Post("General", "Second");
  Post("Other", "Third");
  test::SmtpOptions options;
  options.recipientReplies["bad@lists.org"] = "550 nobody";
  Serve(options);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "Third;");
  EXPECT_EQ(Times("Cannot send mail to bad@lists.org"), 1);
  EXPECT_EQ(Marks("General") + Marks("Other"), "001");
  // Nothing of the refused message goes out under the next one's name.
  EXPECT_EQ(Commands(),
            "Mail From: \"Ann Smith\"<ann@example.org>|Rcpt To: bad@lists.org|RSET|"
            "Mail From: \"Ann Smith\"<ann@example.org>|Rcpt To: good@lists.org|Data|");
}

TEST_F(MailDispatch, NoResetWithoutANextMessage) {
  AddForum("General", {"bad@lists.org"});
  Post("General", "First");
  test::SmtpOptions options;
  options.recipientReplies["bad@lists.org"] = "550 nobody";
  Serve(options);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Commands(), "Mail From: \"Ann Smith\"<ann@example.org>|Rcpt To: bad@lists.org|");
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(MailDispatch, ARefusedSenderDropsNobody) {
  AddForum("General", {"one@lists.org", "two@lists.org"});
  Post("General", "First");
  Post("General", "Second", "x", {{"FROM", "bob@example.org"}});
  test::SmtpOptions options;
  options.senderReplies["\"Ann Smith\"<ann@example.org>"] = "550 not you";
  Serve(options);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Times("Cannot send mail to one@lists.org"), 1);
  EXPECT_EQ(Times("Cannot send mail to two@lists.org"), 1);
  ASSERT_EQ(Mails().size(), 1u);
  EXPECT_EQ(Joined(Mails()[0].recipients), "one@lists.org;two@lists.org;");
  EXPECT_EQ(Marks("General"), "01");
}

TEST_F(MailDispatch, HtmlGoesOutAsPlainText) {
  AddForum("General", {"one@lists.org"});
  Post("General", "Page",
       "<html><title>T</title><p>Gr\xFC\xDF"
       "e &amp; mehr</html>",
       {{"Document type", "Text/HTML"}});
  Serve();
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Mails().size(), 1u);
  EXPECT_EQ(Body(Mails()[0]),
            "\r\n\r\nGr\xFC\xDF"
            "e & mehr\r\n");
}

TEST_F(MailDispatch, DecodedTextChangesNothingWithoutStandardMode) {
  AddForum("General", {"one@lists.org"});
  Set("Decode Mail Text", "1");
  Post("General", "Page",
       "<p>Gr\xC3\xBC\xC3\x9F"
       "e &uuml;",
       {{"Document type", "text/html"}, {"Charset", "utf-8"}});
  Serve();
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Mails().size(), 1u);
  EXPECT_EQ(Body(Mails()[0]),
            "\r\n\r\nGr\xC3\xBC\xC3\x9F"
            "e \xFC\r\n");
}

TEST_F(MailDispatch, ScriptsGoOutUnlessHtmlIsToBeSafe) {
  AddForum("General", {"one@lists.org"});
  const TValues html = {{"Document type", "text/html"}};
  Post("General", "First", "a<script>b()</script>", html);
  Serve();
  EXPECT_EQ(Run(), 1);
  Post("General", "Second", "a<script>b()</script>", html);
  Set("Safe HTML", "1");
  MakeDue();
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Mails().size(), 2u);
  EXPECT_NE(Body(Mails()[0]).find("b()"), std::string::npos);
  EXPECT_EQ(Body(Mails()[1]).find("b()"), std::string::npos);
}

TEST_F(MailDispatch, HtmlWithoutTextIsMarkedAndNeverSent) {
  AddForum("General", {"one@lists.org"});
  Post("General", "Empty", "<html><p> <br>\t</html>", {{"Document type", "text/html"}});
  Post("General", "Next");
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "Next;");
  EXPECT_EQ(Marks("General"), "11");
  EXPECT_EQ(Commands(),
            "Mail From: \"Ann Smith\"<ann@example.org>|Rcpt To: one@lists.org|RSET|"
            "Mail From: \"Ann Smith\"<ann@example.org>|Rcpt To: one@lists.org|Data|");
}

TEST_F(MailDispatch, AnythingElseGoesOutAsItIsStored) {
  AddForum("General", {"one@lists.org"});
  std::string bytes = "<p>not HTML</p>\r\n";
  for (int c = 1; c < 256; ++c) bytes += static_cast<char>(c);
  Post("General", "Bytes", bytes, {{"Document type", "text/x-anything"}});
  Post("General", "No text at all", "");
  Serve();
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(Mails().size(), 2u);
  EXPECT_EQ(Body(Mails()[0]), bytes + "\r\n");
  EXPECT_EQ(Body(Mails()[1]), "\r\n");
}

TEST_F(MailDispatch, ProgressIsToldAfterEvery256Characters) {
  AddForum("General", {"one@lists.org"});
  Post("General", "Long", std::string(600, 'x'));
  Serve();
  EXPECT_EQ(Run(), 1);
  const std::vector<std::pair<int, int>> expected = {
      {0, 100}, {256, 600}, {512, 600}, {600, 600}, {0, 0}};
  EXPECT_EQ(Shown::Progress(), expected);
}

TEST_F(MailDispatch, ProgressOfHtmlCountsItsPlainText) {
  AddForum("General", {"one@lists.org"});
  Post("General", "Page", "<b>Hello</b>", {{"Document type", "text/html"}});
  Serve();
  EXPECT_EQ(Run(), 1);
  const std::vector<std::pair<int, int>> expected = {{0, 100}, {5, 5}, {0, 0}};
  EXPECT_EQ(Shown::Progress(), expected);
}

TEST_F(MailDispatch, ReportsLogOnAndStatus) {
  AddForum("General", {"one@lists.org"});
  Post("General", "100%s sure");
  Post("General", "Second");
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Joined(Shown::History()), "Logged onto 127.0.0.1 successfully;");
  EXPECT_EQ(Joined(Shown::Status()),
            "Sending 100%s sure to mailing list(s);Sending Second to mailing list(s);");
}

TEST_F(MailDispatch, EveryMessageTriesToLogOnAgain) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Post("General", "Second");
  setup_->Number("SMTP Port", test::UnusedPort());
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Times("Cannot log onto 127.0.0.1"), 2);
  EXPECT_NE(ErrorLog().find("Cannot log onto 127.0.0.1"), std::string::npos);
  EXPECT_EQ(Marks("General"), "00");
  EXPECT_TRUE(ScanTimeStored());
  EXPECT_TRUE(Shown::Status().empty());
}

TEST_F(MailDispatch, AfterAFailedLogOnTheNextMessageCanGoOut) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Post("General", "Second");
  Post("General", "Third");
  Serve({test::ParseDeviation("GREETING 1 reply \"554 no\\r\\n\"")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Times("Cannot log onto 127.0.0.1"), 1);
  EXPECT_EQ(Subjects(), "Second;Third;");
  EXPECT_EQ(Marks("General"), "011");
  EXPECT_EQ(server_->Server().Accepted(), 2);
}

TEST_F(MailDispatch, OneConnectionServesAllForums) {
  AddForum("Beta", {"one@lists.org"});
  AddForum("Alpha", {"two@lists.org"});
  Post("Beta", "b");
  Post("Alpha", "a");
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "a;b;");
  EXPECT_EQ(server_->Server().Accepted(), 1);
  EXPECT_TRUE(server_->Transcript().ends_with("\r\n.\r\nQUIT\r\n"));
}

TEST_F(MailDispatch, WithoutAServerOfItsOwnThePop3ServerIsMeant) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Serve();
  TSetup setup("other.ini");
  setup.String("Data Directory", data_.c_str());
  setup.String("POP3 Server", "127.0.0.1");
  setup.Number("SMTP Port", server_->Port());
  TMailDispatchTask task(&setup, state_);
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(Subjects(), "First;");
}

TEST_F(MailDispatch, AForumThatCannotBeOpenedIsPassedOver) {
  test::WriteFileBytes(data_ + "Broken.mwd", "no document");
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "First;");
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(MailDispatch, AMessageThatIsListedButGoneIsPassedOver) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First");
  TForum* forum = OpenForum("General", data_.c_str());
  EXPECT_EQ(forum->WriteMessageInfo(7, 0, "A ghost"), 1);
  CloseForum(forum);
  Serve();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "First;");
}

TEST_F(MailDispatch, TracesItsSteps) {
  AddForum("General", {"one@lists.org"});
  Serve();
  EXPECT_EQ(Run(), 1);
  TPersistentState state("state.ini");
  EXPECT_STREQ(state.String("Last module executed"), "..\\shared\\dispatchtask.cpp");
  EXPECT_GT(state.Integer("Last line executed"), 0);
}

TEST_F(MailDispatch, AMarkedMessageKeepsWhatItWas) {
  AddForum("General", {"one@lists.org"});
  Post("General", "First", "text", {{"Mood", "good"}});
  const auto before = test::ItemsOf("General", data_);
  Serve();
  EXPECT_EQ(Run(), 1);
  const auto after = test::ItemsOf("General", data_);
  ASSERT_EQ(after.size(), 1u);
  EXPECT_EQ(after[0].content, "text");
  EXPECT_EQ(after[0].from, before[0].from);
  EXPECT_EQ(after[0].created, before[0].created);
}

}  // namespace
