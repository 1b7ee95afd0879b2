// The retrieval's walk: log-on, what a mail is, filing, deleting, log-off.
#include "shared/mailtask.h"

#include "board_reading.h"
#include "retrieval_fixture.h"
#include "shared/task_makers.h"
#include "support/element_times.h"

#include <frame/task_factory.h>

namespace {

class MailTask : public test::RetrievalFixture {};

TEST_F(MailTask, IsCreatedByName) {
  bool found = false;
  for (const brevant::TTaskEntry& entry : brevant::TaskTable()) {
    found = found || std::string(entry.name) == "MAIL RETRIEVAL";
  }
  EXPECT_TRUE(found);
  TTask* task = CreateTask("mail retrieval");
  ASSERT_NE(task, nullptr);
  EXPECT_NE(dynamic_cast<TMailRetrievalTask*>(task), nullptr);
  DestroyTask(task);
}

TEST_F(MailTask, WithoutSettingsItEndsWithoutSuccess) {
  TTask* task = brevant::MakeMailRetrievalTask(nullptr, nullptr);
  ASSERT_NE(task, nullptr);
  EXPECT_EQ(task->Execute(), 0);
  delete task;
}

TEST_F(MailTask, ReportsLogOnAndStatus) {
  Serve({});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(History(), "Logged onto 127.0.0.1 successfully|Found no new message|");
  ASSERT_FALSE(test::Shown::Status().empty());
  EXPECT_EQ(test::Shown::Status().front(), "Connecting to 127.0.0.1");
  EXPECT_EQ(StateText("Result"), "Found no new message");
}

TEST_F(MailTask, AnEmptyMailboxIsNotWalked) {
  Serve({});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(server_->Transcript(), "USER board\r\nPASS secret\r\nSTAT\r\nLAST\r\nQUIT\r\n");
}

TEST_F(MailTask, LogOnFailureIsReportedAndLogged) {
  setup_->Number("POP3 Port", test::UnusedPort());
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(History(), "Cannot log onto 127.0.0.1|Found no new message|");
  EXPECT_EQ(StateText("Error"), "Cannot log onto 127.0.0.1");
  EXPECT_NE(ErrorLog().find("] Cannot log onto 127.0.0.1\r\n"), std::string::npos);
}

TEST_F(MailTask, ARefusedPasswordIsALogOnFailure) {
  Serve({Post("General", "one")});
  Set("POP3 Password", "wrong");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HistoryHas("Cannot log onto 127.0.0.1"));
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailTask, AnAbortedLogOnReportsNothing) {
  Serve({Post("General", "one")});
  TMailRetrievalTask task(setup_, state_);
  task.Abort();
  EXPECT_EQ(Run(task), 0);
  EXPECT_EQ(History(), "");
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailTask, WorksWithoutAPersistentState) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "one"), Post("Nowhere", "two")});
  TMailRetrievalTask task(setup_, nullptr);
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
}

TEST_F(MailTask, StandardModeIsHandedToTheClient) {
  Serve({});
  TMailRetrievalTask task(setup_, state_);
  setup_->Number("Standard POP3 Mode", 1);
  Run(task);
  EXPECT_NE(task.Client().Status() & 256, 0u);
  setup_->Number("Standard POP3 Mode", 0);
  Run(task);
  EXPECT_EQ(task.Client().Status() & 256, 0u);
}

TEST_F(MailTask, TracesItsSteps) {
  Serve({});
  Run();
  EXPECT_EQ(StateText("Last module executed"), "..\\shared\\mailtask.cpp");
  TPersistentState* state = OpenPersistentState("state.ini");
  EXPECT_GT(state->Number("Last line executed"), 0u);
  ClosePersistentState(state);
}

TEST_F(MailTask, FilesAPostByItsTag) {
  ASSERT_TRUE(test::MakeForum("General Talk", data_));
  Serve({Post("General_Talk", "Hello world", "First line\nSecond line\n")});
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General Talk", data_);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].index, 1u);
  EXPECT_EQ(items[0].linkId, 0u);
  EXPECT_EQ(items[0].listedSubject, "Hello world");
  EXPECT_EQ(items[0].subject, "Hello world");
  EXPECT_EQ(items[0].from, "\"Ann Smith\" <ann@example.org>");
  EXPECT_EQ(items[0].to, "\"[My_Board:General_Talk]\" <board@example.org>");
  EXPECT_EQ(items[0].address, "ann@example.org");
  EXPECT_EQ(items[0].type, "text/plain");
  EXPECT_EQ(items[0].charset, "iso-8859-1");
  EXPECT_EQ(items[0].content, "First line\r\nSecond line\r\n");
  EXPECT_EQ(History(),
            "Logged onto 127.0.0.1 successfully|Retrieved \"Hello world\" successfully|");
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailTask, APostCarriesTheDateOfItsMail) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "dated")});
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].created, TTime(1998, 6, 2, 10, 20, 30));
  EXPECT_EQ(items[0].modified, TTime(1998, 6, 2, 10, 20, 30));
}

TEST_F(MailTask, ShowsStatusAndProgressOfEachMessage) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "one"), Post("General", "two")});
  Run();
  const auto& status = test::Shown::Status();
  EXPECT_EQ(status,
            (std::vector<std::string>{"Connecting to 127.0.0.1",
                                      "Scanning mailbox for new messages", "Retrieving \"one\"",
                                      "Scanning mailbox for new messages", "Retrieving \"two\""}));
  EXPECT_EQ(test::Shown::Progress(),
            (std::vector<std::pair<int, int>>{{0, 100}, {1, 2}, {2, 2}, {0, 0}}));
}

TEST_F(MailTask, DeletesBehindTheReadingAndQuitsLast) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "one")});
  Run();
  EXPECT_EQ(
      server_->Transcript(),
      "USER board\r\nPASS secret\r\nSTAT\r\nLAST\r\nTOP 1 0\r\nRETR 1\r\nDELE 1\r\nTOP 2 0\r\n"
      "QUIT\r\n");
}

TEST_F(MailTask, StartsAtTheFirstMessageWhateverWasReadLast) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  test::Pop3Options options;
  options.lastRead = 1;
  options.emptyLineBeforeDot = true;
  server_ = std::make_unique<test::Pop3Server>(
      std::vector<std::string>{Post("General", "one"), Post("General", "two")}, options);
  setup_->Number("POP3 Port", server_->Port());
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;two;");
}

TEST_F(MailTask, ATagInTheCopyRecipientsCountsWhenToDoesNotMatch) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({"From: a@b\nTo: someone@example.org\nCc: \"[My_Board:General]\" <x@y>\nSubject: s\n\nx\n",
         "From: a@b\nTo: \"[My_Board:None]\" <x@y>\nCc: \"[My_Board:General]\" <x@y>\nSubject: "
         "t\n\nx\n",
         "From: a@b\nCc: \"[My_Board:General]\" <x@y>\nSubject: u\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "s;t;u;");
}

TEST_F(MailTask, TheShortNameAndAnyLetterCaseMeanTheBoard) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({"From: a@b\nTo: \"[My:General]\" <x@y>\nSubject: short\n\nx\n",
         "From: a@b\nTo: \"[MY_BOARD:GENERAL]\" <x@y>\nSubject: upper\n\nx\n",
         "From: a@b\nTo: \"[My_Board_Is_Longer:General]\" <x@y>\nSubject: longer\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "short;upper;longer;");
}

TEST_F(MailTask, AnotherBoardsMailStays) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({"From: a@b\nTo: \"[Your_Board:General]\" <x@y>\nSubject: s\nMessage-Id: <1@b>\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 1u);
  EXPECT_TRUE(HistoryHas("Found no new message"));
}

TEST_F(MailTask, ATagInTheSubjectMeansNothing) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({"From: a@b\nTo: board@example.org\nSubject: [My_Board:General] hello\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 1u);
}

TEST_F(MailTask, StrayMailStaysUntouched) {
  Serve({Post("Nowhere", "one"), "From: a@b\nTo: x@y\nSubject: plain\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 2u);
  EXPECT_EQ(server_->Transcript().find("RETR"), std::string::npos);
  EXPECT_EQ(server_->Transcript().find("DELE"), std::string::npos);
  EXPECT_TRUE(HistoryHas("Found no new message"));
}

TEST_F(MailTask, MailForPartsOfTheBoardThatAreNotThereStays) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("Links", "a at http://b is 12K"), Post("Surveys", "vote"), Post("Message_forum", "m"),
         "From: a@b\nTo: \"[My_Board]\" <x@y>\nSubject: s\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 4u);
  EXPECT_EQ(test::SubjectsOf("General", data_), "");
}

TEST_F(MailTask, OwnMailIsDeletedUnread) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({"BBS: my BOARD\n" + Post("General", "one")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
  EXPECT_EQ(test::SubjectsOf("General", data_), "");
  EXPECT_FALSE(Sent("RETR 1"));
  EXPECT_TRUE(HistoryHas("Found no new message")) << "own mail is not handled mail";
}

TEST_F(MailTask, OwnMailIsKnownInItsEncodedFormToo) {
  Serve({"BBS: =?utf-8?Q?My_Board?=\n" + Post("General", "one"),
         "BBS: =?utf-8?B?TXkgQm9hcmQ=?=\n" + Post("General", "two")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailTask, AnotherBoardsMarkIsNoOwnMail) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({"BBS: My Board 2\n" + Post("General", "one")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;");
}

// A header that is missing counts as empty.
TEST_F(MailTask, OfABoardWithAnEmptyNameMailWithoutAMarkIsOwnMail) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Set("BBS Name", "");
  Serve({Post("General", "one"), "BBS: My Board\n" + Post("General", "two")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
  EXPECT_FALSE(Sent("RETR 1"));
  EXPECT_EQ(test::SubjectsOf("General", data_), "two;") << "any tag names such a board";
}

TEST_F(MailTask, FilesByMailingList) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  TForum* forum = OpenForum("General", data_.c_str());
  ASSERT_EQ(AddMailingList("list@example.org", "A list", forum), 1);
  ASSERT_EQ(AddMailingList("Second list", "second@example.org", forum), 1);
  CloseForum(forum);
  Serve({"From: a@b\nTo: LIST@example.org\nSubject: to\n\nx\n",
         "From: a@b\nTo: c@d\nReply-to: list@example.org\nSubject: reply\n\nx\n",
         "From: a@b\nTo: second@example.org\nSubject: by name\n\nx\n",
         "From: a@b\nTo: A list <list@example.org>\nSubject: not whole\n\nx\n",
         "From: a@b\nTo: c@d\nCc: list@example.org\nSubject: copy\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "to;reply;by name;");
  EXPECT_EQ(Left(), 2u);
}

TEST_F(MailTask, MailingListsAreReadOnceAndLaterSubscriptionsDoNotCount) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({"From: a@b\nTo: ann@example.org\nSubject: before\n\nx\n", Post("General", "Subscribe"),
         "From: a@b\nTo: ann@example.org\nSubject: after\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "");
  EXPECT_EQ(Left(), 2u);
}

TEST_F(MailTask, ThirdTagPartIsTheAnsweredMessage) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General:000123", "Re: one"), Post("General:" + std::string(33, '1'), "Re: two"),
         Post("General:x", "Re: three")});
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[0].linkId, 123u);
  EXPECT_EQ(items[1].linkId, 0u);
  EXPECT_EQ(items[2].linkId, 0u);
}

TEST_F(MailTask, MailWithoutADateGetsTheCurrentTime) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "dated"),
         "From: a@b\nTo: \"[My_Board:General]\" <x@y>\nSubject: undated\n\nx\n"});
  const TTime before = TTime::Now();
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].created, TTime(1998, 6, 2, 10, 20, 30));
  // Whole seconds: what stores it may round down.
  EXPECT_GE(items[1].created.UnixSeconds(), before.UnixSeconds());
  EXPECT_LE(items[1].created.UnixSeconds(), TTime::Now().UnixSeconds());
}

TEST_F(MailTask, TheSeventeenthPostPushesTheFirstOut) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  std::vector<std::string> mails;
  for (int i = 1; i <= 17; ++i) mails.push_back(Post("General", std::to_string(i)));
  Serve(mails);
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 16u);
  EXPECT_EQ(items.front().subject, "2");
  EXPECT_EQ(items.back().subject, "17");
}

TEST_F(MailTask, RemembersTheLastMessageNotTaken) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("Nowhere", "stray"), Post("General", "post")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(StateText("POP3 Last Message ID"), "<stray@example.org>");
}

TEST_F(MailTask, RemembersAnEmptyTextForAMessageWithoutIdentifier) {
  state_->String("POP3 Last Message ID", "old");
  Serve({"From: a@b\nTo: x@y\nSubject: plain\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(StateText("POP3 Last Message ID"), "");
}

TEST_F(MailTask, SubscribeAddsTheSenderAndFilesNothing) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "sUBSCRIBE")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
  EXPECT_EQ(test::SubjectsOf("General", data_), "");
  TForum* forum = OpenForum("General", data_.c_str());
  EXPECT_STREQ(GetMailingListName("ann@example.org", forum), "Ann Smith");
  CloseForum(forum);
  EXPECT_EQ(History(), "Logged onto 127.0.0.1 successfully|");
}

TEST_F(MailTask, UnsubscribeRemovesTheSender) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  TForum* forum = OpenForum("General", data_.c_str());
  AddMailingList("ANN@example.org", "Ann", forum);
  AddMailingList("Ann by name", "ann@example.org", forum);
  AddMailingList("bob@example.org", "Bob", forum);
  CloseForum(forum);
  Serve({Post("General", "Unsubscribe")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
  forum = OpenForum("General", data_.c_str());
  EXPECT_EQ(FindMailingList("ann@example.org", forum), 0);
  EXPECT_EQ(FindMailingList("Ann by name", forum), 0);
  EXPECT_EQ(FindMailingList("bob@example.org", forum), 1);
  CloseForum(forum);
}

TEST_F(MailTask, UnsubscribingFromAForumWithoutAListIsDone) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "unsubscribe")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
}

TEST_F(MailTask, TheSubjectMustBeExactlyTheWord) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "Subscribe me")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "Subscribe me;");
}

TEST_F(MailTask, AddressesThatNoListMayHoldAreRefused) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  const auto from = [](const std::string& sender, const std::string& subject) {
    return "From: " + sender + "\nTo: \"[My_Board:General]\" <x@y>\nSubject: " + subject +
           "\n\nx\n";
  };
  Serve({from("<a@*>", "Subscribe"), from("nobody", "Subscribe"), from("<no at>", "Subscribe"),
         from("<a@b\x01>", "Subscribe"), from("<*>", "Unsubscribe"),
         from("<" + std::string(260, 'a') + "@b>", "Subscribe")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
  TForum* forum = OpenForum("General", data_.c_str());
  TListItemSearcher* search = StartMailingListSearch(forum);
  EXPECT_EQ(FindFirstMailingList(search).key, nullptr);
  EndMailingListSearch(search);
  CloseForum(forum);
  EXPECT_TRUE(HistoryHas("Cannot subscribe \"a@*\" to [General]"));
  EXPECT_TRUE(HistoryHas("Cannot subscribe \"\" to [General]"));
  EXPECT_TRUE(HistoryHas("Cannot unsubscribe \"*\" from [General]"));
}

TEST_F(MailTask, AFormSubscribesTheSenderOnly) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve(
      {"From: \"Ann\" <ann@example.org>\nTo: \"[My_Board:General]\" <x@y>\nSubject: "
       "s\nContent-Type: "
       "application/x-www-form-urlencoded\n\nSubject=Subscribe&From+Email+Address=bob%40b&From+"
       "Name=Bob&E-Mail+Address=bob%40b\n"});
  EXPECT_EQ(Run(), 1);
  TForum* forum = OpenForum("General", data_.c_str());
  EXPECT_STREQ(GetMailingListName("ann@example.org", forum), "Ann");
  EXPECT_EQ(FindMailingList("bob@b", forum), 0);
  CloseForum(forum);
}

TEST_F(MailTask, FormatCharactersInMailReachHistoryAndLogUnharmed) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  test::WriteFileBytes(data_ + "%s%n.mwd", "no document");
  Serve({Post("General", "%s%n%s%n%x"), Post("%s%n", "%n%n")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Retrieved \"%s%n%s%n%x\" successfully"));
  EXPECT_TRUE(HistoryHas("Cannot save message to [%s%n]"));
  EXPECT_NE(ErrorLog().find("] Cannot save message to [%s%n]\r\n"), std::string::npos);
  EXPECT_EQ(test::SubjectsOf("General", data_), "%s%n%s%n%x;");
}

TEST_F(MailTask, AVeryLongSubjectIsCutInTheHistoryAndInTheRecord) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  const std::string subject(900, 's');
  Serve({Post("General", subject)});
  EXPECT_EQ(Run(), 1);
  ASSERT_EQ(test::Shown::History().size(), 2u);
  EXPECT_EQ(test::Shown::History()[1].size(), 511u);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].subject, std::string(119, 's'));
}

TEST_F(MailTask, AttachmentsNeedTheSetting) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  const std::string mail =
      "From: a@b\nTo: \"[My_Board:General]\" <x@y>\nSubject: s\n"
      "Content-Type: multipart/mixed; boundary=\"b\"\n\n--b\nContent-Type: text/plain\n\nx\n--b\n"
      "Content-Type: application/octet-stream\nContent-Disposition: attachment; "
      "filename=\"a.txt\"\n\nfile\n--b--\n";
  Serve({mail});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SiteFiles().empty());
  setup_->Number("Allow attachment - forum", 1);
  Serve({mail});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(SiteFiles().size(), 1u);
}

TEST_F(MailTask, AProgramIsNeverSavedAlthoughAttachmentsAreAllowed) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  setup_->Number("Allow attachment - forum", 1);
  Serve(
      {"From: a@b\nTo: \"[My_Board:General]\" <x@y>\nSubject: s\n"
       "Content-Type: multipart/mixed; boundary=\"b\"\n\n--b\nContent-Type: text/plain\n\nx\n--b\n"
       "Content-Type: application/octet-stream\nContent-Disposition: attachment; "
       "filename=\"SETUP.EXE\"\n\nMZ\n--b--\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SiteFiles().empty());
  const std::vector<test::Item> items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  EXPECT_TRUE(items[0].attachments.empty());
}

TEST_F(MailTask, SeveralForumsGetTheirOwnMail) {
  std::vector<std::string> mails;
  for (int i = 0; i < 30; ++i) {
    const std::string name = "Forum " + std::to_string(i % 5);
    if (i < 5) {
      ASSERT_TRUE(test::MakeForum(name, data_));
    }
    mails.push_back(Post("Forum_" + std::to_string(i % 5), std::to_string(i)));
  }
  Serve(mails);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(test::SubjectsOf("Forum 3", data_), "3;8;13;18;23;28;");
}

TEST_F(MailTask, ASecondRunOfTheSameTaskFilesWhatCameSince) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  Serve({Post("General", "one")});
  TMailRetrievalTask task(setup_, state_);
  EXPECT_EQ(Run(task), 1);
  server_->Add(Post("General", "two"));
  EXPECT_EQ(Run(task), 1);
  EXPECT_EQ(test::SubjectsOf("General", data_), "one;two;");
}

TEST_F(MailTask, NothingButBoardAttachmentsLogAndStateIsWritten) {
  ASSERT_TRUE(test::MakeForum("General", data_));
  setup_->Number("Allow attachment - forum", 1);
  const std::string settings = test::ReadFileBytes(directory_ / "settings.ini");
  Serve({Post("General", "../../x"), Post("..:1", "y"), Post("/etc/passwd", "z")});
  Run();
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory_.Path())) {
    if (entry.is_regular_file()) names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"General.mwd", "settings.ini", "state.ini"}));
  EXPECT_NE(test::ReadFileBytes(directory_ / "settings.ini"), "");
  EXPECT_EQ(test::SubjectsOf("General", data_), "../../x;");
}

}  // namespace
