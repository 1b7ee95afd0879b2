// Delivery that is refused or interrupted, and goes on.
#include "delivery_fixture.h"
#include "shared/fat_journal.h"
#include "text/unique_file.h"

namespace {

using test::Delivery;
using test::FtpOptions;
using test::Shown;

TEST_F(Delivery, RefusesALocalDirectoryThatCannotBeEntered) {
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  for (const std::string& directory :
       {std::string(), directory_ / "missing/", directory_ / "settings.ini"}) {
    Set("Local Directory", directory);
    EXPECT_EQ(Run(), 0);
    const std::string shown = setup_->String("Local Directory");
    EXPECT_EQ(History(), (Names{"Cannot change directory to " + shown + " (Local)"}));
    EXPECT_EQ(TransferTime(), 0U);
  }
  EXPECT_EQ(Connections(), 1);
  EXPECT_EQ(Remote("a.htm"), "first");
}

TEST_F(Delivery, AFolderThatCannotBeEnteredIsReportedAndNotScanned) {
  FtpOptions options;
  options.onCommand = [&](const std::string& line) {
    if (line == "STOR a.htm") RemoveLocal("gone");
  };
  Serve(options);
  Local("a.htm", "first");
  Local("gone/b.htm", "second");
  Local("there/c.htm", "third");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot change directory to gone (Local)"));
  EXPECT_FALSE(StatusHas("Scanning gone (Local)"));
  EXPECT_TRUE(StatusHas("Scanning there (Local)"));
  ExpectSameTrees();
}

TEST_F(Delivery, NobodyThereIsReportedAndTriedAgain) {
  setup_->Number("FTP Port", DWORD{test::UnusedPort()});
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(History(), (Names{"Cannot log onto 127.0.0.1"}));
  EXPECT_STREQ(state_->String("Error"), "Cannot log onto 127.0.0.1");
  EXPECT_NE(ErrorLog().find("Cannot log onto 127.0.0.1"), std::string::npos);
  EXPECT_EQ(TransferTime(), 0U);
  EXPECT_FALSE(HasJournal());
  Serve();
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, AWrongPasswordIsReported) {
  Serve();
  Set("FTP Password", "wrong");
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HistoryHas("Cannot log onto 127.0.0.1"));
}

TEST_F(Delivery, AFileThatCannotBeOpenedRemotelyIsReportedAndTriedAgain) {
  FtpOptions options;
  options.deviations = {test::ParseDeviation("STOR 1 reply \"553 no\\r\\n\"")};
  Serve(options);
  Local("a.htm", "first");
  Local("b.htm", "second");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HistoryHas("Cannot open a.htm (Remote)"));
  EXPECT_EQ(Recorded("a.htm"), "none");
  EXPECT_EQ(Recorded("b.htm"), "6");
  EXPECT_EQ(TransferTime(), 0U);
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Stored(), (Names{"a.htm"}));
}

TEST_F(Delivery, AnIndirectOpeningThatFailsNamesTheTemporaryFile) {
  Switch("Indirect FTP transfer");
  Serve("STOR * reply \"553 no\\r\\n\"");
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HistoryHas("Cannot open TEMP.FTP (Remote)"));
}

TEST_F(Delivery, ARenameThatFailsIsReportedAndTheOldFileIsGone) {
  Switch("Indirect FTP transfer");
  Serve("RNFR 2 reply \"550 no\\r\\n\"");
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  Local("a.htm", "second");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot rename temp.ftp to a.htm (Remote)"));
  EXPECT_FALSE(test::FileExists(remote_ + "a.htm"));
  EXPECT_EQ(Recorded("a.htm"), "5");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Remote("a.htm"), "second");
}

TEST_F(Delivery, ADeletionThatFailsBeforeARenameIsReportedAndTheRenameTried) {
  Switch("Indirect FTP transfer");
  Serve("DELE * reply \"450 busy\\r\\n\"");
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  Local("a.htm", "second");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot erase a.htm (Remote)"));
  EXPECT_TRUE(HistoryHas("Updated a.htm successfully"));
  EXPECT_EQ(Remote("a.htm"), "second");
}

TEST_F(Delivery, AFileThatCannotBeDeletedKeepsItsEntry) {
  Serve("DELE 1 reply \"450 busy\\r\\n\"");
  Local("a.htm", "first");
  Local("b.htm", "second");
  EXPECT_EQ(Run(), 1);
  RemoveLocal("a.htm");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot erase a.htm (Remote)"));
  EXPECT_EQ(Recorded("a.htm"), "5");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Recorded("a.htm"), "none");
  ExpectSameTrees();
}

TEST_F(Delivery, AFileThatTheServerLostCountsAsDeleted) {
  Serve();
  Local("a.htm", "first");
  Local("b.htm", "second");
  EXPECT_EQ(Run(), 1);
  RemoveLocal("a.htm");
  std::filesystem::remove(remote_ + "a.htm");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Removed a.htm successfully"));
}

TEST_F(Delivery, ADirectoryThatCannotBeEnteredRemotelyIsSkipped) {
  FtpOptions options;
  options.deviations = {test::ParseDeviation("MKD 1 reply \"550 no\\r\\n\"")};
  Serve(options);
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  Local("sub/deep/c.htm", "third");
  Local("zoo/d.htm", "fourth");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot change directory to sub (Remote)"));
  EXPECT_EQ(Stored(), (Names{"a.htm", "d.htm"}));
  EXPECT_FALSE(StatusHas("Scanning deep (Local)"));
}

TEST_F(Delivery, ATransferThatBreaksOffKeepsTheOldEntry) {
  FtpOptions options;
  options.dataFaults = {test::ParseDataFault("2 cut 100000 reset")};
  Serve(options);
  Local("b.htm", "second");
  EXPECT_EQ(Run(), 1);
  Local("b.htm", std::string(20000000, 'b'));
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot transfer b.htm (Remote) completely"));
  EXPECT_EQ(Recorded("b.htm"), "6");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, NamesWithLineEndsAreReportedAndSkipped) {
  std::error_code error;
  std::filesystem::create_directories(site_ + "line\nend", error);
  if (error) GTEST_SKIP() << "no such names here: " << error.message();
  for (const bool indirect : {false, true}) {
    Switch("Indirect FTP transfer", indirect);
    Serve();
    Local("a.htm", indirect ? "second" : "first");
    Local("b\r.htm", "x");
    Local("c\nDELE a.htm", "y");
    Local("line\nend/d.htm", "z");
    EXPECT_EQ(Run(), 0);
    EXPECT_TRUE(StatusHas("Opening b\r.htm"));
    EXPECT_TRUE(HistoryHas("Cannot open b\r.htm (Remote)"));
    EXPECT_TRUE(HistoryHas("Cannot open c\nDELE a.htm (Remote)"));
    EXPECT_TRUE(HistoryHas("Cannot change directory to line\nend (Remote)"));
    EXPECT_EQ(Remote("a.htm"), indirect ? "second" : "first");
    EXPECT_EQ(Tree(remote_).size(), 1U);
  }
}

TEST_F(Delivery, ALostConnectionEndsTheFilesOfADirectoryAndTheNextOneLogsOnAgain) {
  FtpOptions options;
  options.deviations = {test::ParseDeviation("STOR 2 drop 0")};
  Serve(options);
  for (const char* name : {"a.htm", "b.htm", "c.htm", "sub/d.htm", "sub/deep/e.htm"}) {
    Local(name, name);
  }
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Stored(), (Names{"a.htm", "b.htm", "d.htm", "e.htm"}));
  EXPECT_EQ(Connections(), 2);
  EXPECT_EQ(Remote("sub/deep/e.htm"), "sub/deep/e.htm");
  EXPECT_EQ(Recorded("b.htm"), "none");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Stored(), (Names{"b.htm", "c.htm"}));
  ExpectSameTrees();
}

TEST_F(Delivery, AServerThatDoesNotGoUpEndsTheRun) {
  FtpOptions options;
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  Local("zoo/c.htm", "third");
  // The third after "www", "sub" and, made meanwhile, "sub" again.
  options.deviations = {test::ParseDeviation("CWD 4 reply \"550 no\\r\\n\"")};
  Serve(options);
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HistoryHas("Cannot change directory to .. (Remote)"));
  EXPECT_EQ(Stored(), (Names{"a.htm", "b.htm"}));
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, AKilledDeliveryGoesOnEverywhere) {
  Serve();
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  EXPECT_EQ(Run(), 1);
  Local("sub/c.htm", "third");
  // A process that was killed while "sub" was at work left this.
  ASSERT_TRUE(brevant::TFatJournal(TablePath()).InFlight("~me/www/sub/", "b.htm"));
  test::WriteFileBytes(remote_ + "sub/b.htm", "sec");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Stored(), (Names{"c.htm", "b.htm"}));
  EXPECT_FALSE(HasJournal());
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 2);
}

TEST_F(Delivery, AKilledDeliveryIsNotForgottenWhenTheNextOneCannotLogOn) {
  Serve();
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  EXPECT_EQ(Run(), 1);
  Local("sub/b.htm", "changed");
  brevant::TFatJournal(TablePath()).Clear();
  const WORD port = server_->Port();
  setup_->Number("FTP Port", DWORD{test::UnusedPort()});
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HasJournal());
  setup_->Number("FTP Port", DWORD{port});
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, AFileThatArrivedUnrecordedIsReplacedWhereTheServerDoesNotRenameOntoIt) {
  Switch("Indirect FTP transfer");
  Serve("RNFR 1 reply \"553 there\\r\\n\"");
  Local("a.htm", "first");
  test::WriteFileBytes(remote_ + "a.htm", "first");
  ASSERT_TRUE(brevant::TFatJournal(TablePath()).InFlight("~me/www/", "a.htm"));
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_FALSE(HistoryHas("Cannot rename temp.ftp to a.htm (Remote)"));
}

TEST_F(Delivery, ATableThatCannotBeWrittenIsReportedAndTheJournalKept) {
  Serve();
  Local("a.htm", "first");
  std::filesystem::create_directory(TablePath() + ".new~");
  EXPECT_EQ(Run(), 0);
  EXPECT_NE(ErrorLog().find("Cannot save"), std::string::npos);
  EXPECT_TRUE(HasJournal());
  EXPECT_EQ(TransferTime(), 0U);
  std::filesystem::remove(TablePath() + ".new~");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(Stored().empty());
  EXPECT_EQ(Recorded("a.htm"), "5");
}

TEST_F(Delivery, AJournalThatCannotBeWrittenEndsTheRun) {
  Serve();
  Local("a.htm", "first");
  std::filesystem::create_directory(TablePath() + ".jnl");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Connections(), 0);
  EXPECT_NE(ErrorLog().find("Cannot open"), std::string::npos);
}

TEST_F(Delivery, AFileThatVanishesBeforeItIsSentIsReportedAndNotRecorded) {
  for (const bool standard : {false, true}) {
    Switch("Standard FTP Mode", standard);
    bool vanishes = true;
    FtpOptions options;
    options.onCommand = [&](const std::string& line) {
      if (vanishes && line == "STOR a.htm") RemoveLocal("b.htm");
    };
    Serve(options);
    for (const char* name : {"a.htm", "b.htm", "c.htm"}) Local(name, standard ? name : "first");
    EXPECT_EQ(Run(), standard ? 0 : 1);
    EXPECT_TRUE(HistoryHas("Cannot open b.htm (Local)"));
    EXPECT_TRUE(StatusHas("Opening b.htm"));
    EXPECT_FALSE(StatusHas("Transfering b.htm"));
    EXPECT_EQ(Stored(), (Names{"a.htm", "b.htm", "c.htm"}));
    EXPECT_EQ(Recorded("b.htm"), standard ? "5" : "none");
    EXPECT_EQ(Recorded("c.htm"), "5");
    vanishes = false;
    Local("b.htm", "here again");
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Stored(), Names{"b.htm"});
    ExpectSameTrees();
    Local("b.htm", "first");
    EXPECT_EQ(Run(), 1);
    server_.reset();
  }
}

TEST_F(Delivery, AFileThatCannotBeReadIsReportedAndItsCopyLeftAlone) {
  Serve();
  Local("a.htm", "first");
  Local("b.htm", "second");
  EXPECT_EQ(Run(), 1);
  Local("a.htm", "changed");
  {
    // Nobody else may read it meanwhile.
    const brevant::UniqueFile locked(CreateFileA((site_ + "a.htm").c_str(), GENERIC_READ, 0,
                                                 nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(locked);
    Local("b.htm", "changed");
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(HistoryHas("Cannot open a.htm (Local)"));
    EXPECT_EQ(Stored(), (Names{"b.htm"}));
    EXPECT_EQ(Remote("a.htm"), "first");
  }
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

class StandardDelivery : public Delivery {
 protected:
  void SetUp() override {
    Delivery::SetUp();
    Switch("Standard FTP Mode");
    Local("a.htm", "first");
  }
};

TEST_F(StandardDelivery, ATransferThatTheServerDidNotConfirmHasFailed) {
  Serve("STOR-END 1 reply \"426 broken\\r\\n\"");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HistoryHas("Cannot transfer a.htm (Remote) completely"));
  EXPECT_EQ(Recorded("a.htm"), "none");
  EXPECT_EQ(TransferTime(), 0U);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Recorded("a.htm"), "5");
}

TEST_F(Delivery, WithoutStandardModeTheFinalReplyIsOfNoInterest) {
  Serve("STOR-END 1 reply \"426 broken\\r\\n\"");
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Transferred a.htm successfully"));
  EXPECT_EQ(Recorded("a.htm"), "5");
}

TEST_F(StandardDelivery, ARenameThatFailsIsTriedAgain) {
  Switch("Indirect FTP transfer");
  Serve("RNFR 1 reply \"553 no\\r\\n\"");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(StandardDelivery, ADeletionThatFailsIsTriedAgain) {
  Serve("DELE 1 reply \"450 no\\r\\n\"");
  Local("b.htm", "second");
  EXPECT_EQ(Run(), 1);
  RemoveLocal("b.htm");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(StandardDelivery, ARefusedTransferModeIsTriedAgain) {
  Serve("TYPE 1 reply \"500 no\\r\\n\"");
  EXPECT_EQ(Run(), 0);
}

TEST_F(StandardDelivery, ARefusedShellCommandIsTriedAgain) {
  Set("FTP Shell Command", "what");
  Serve("SITE 1 reply \"500 no\\r\\n\"");
  EXPECT_EQ(Run(), 0);
}

TEST_F(StandardDelivery, ADirectoryThatCannotBeEnteredIsTriedAgain) {
  Local("sub/b.htm", "second");
  Serve("MKD 1 reply \"553 no\\r\\n\"");
  EXPECT_EQ(Run(), 0);
  Local("a.htm", "changed");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(StandardDelivery, RepliesOfSeveralLinesAreRead) {
  Serve("CWD 1 reply \"250-Welcome\\r\\n 250 odd\\r\\n250 now\\r\\n\"");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Recorded("a.htm"), "5");
}

}  // namespace
