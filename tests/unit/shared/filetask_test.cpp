// Delivery: when, what, in which order and in which words.
#include "delivery_fixture.h"

#include <brevant/brevant.h>

namespace {

using test::Delivery;
using test::FtpOptions;
using test::Shown;

TEST_F(Delivery, WithoutAServerThereIsNothingToDo) {
  Set("FTP Server", "");
  Local("index.htm", "x");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(History().empty());
  EXPECT_EQ(TransferTime(), 0U);
}

TEST_F(Delivery, IsNotDueBeforeTheSiteOrTheSettingsChanged) {
  Serve();
  Local("index.htm", "x");
  TFileDeliveryTask task(setup_, state_);
  state_->Time("Last Site Transfer Time", TTime::Now());
  state_->Number("Last Site Update Time", DWORD{0});
  std::filesystem::last_write_time(
      directory_ / "settings.ini",
      std::filesystem::file_time_type::clock::now() - std::chrono::hours(100));
  EXPECT_EQ(RunAsIs(task), 1);
  EXPECT_EQ(Connections(), 0);
  EXPECT_FALSE(test::FileExists(TablePath()));
}

TEST_F(Delivery, IsDueWhenTheSiteWasUpdatedLater) {
  Serve();
  Local("index.htm", "x");
  TFileDeliveryTask task(setup_, state_);
  std::filesystem::last_write_time(
      directory_ / "settings.ini",
      std::filesystem::file_time_type::clock::now() - std::chrono::hours(100));
  state_->Number("Last Site Transfer Time", DWORD{4000000000U});
  state_->Number("Last Site Update Time", DWORD{4000000001U});
  EXPECT_EQ(RunAsIs(task), 1);
  EXPECT_EQ(Connections(), 1);
}

TEST_F(Delivery, IsDueWhenTheSettingsWereChangedLater) {
  Serve();
  Local("index.htm", "x");
  TFileDeliveryTask task(setup_, state_);
  state_->Number("Last Site Update Time", DWORD{0});
  state_->Number("Last Site Transfer Time", DWORD{1000});
  EXPECT_EQ(RunAsIs(task), 1);
  EXPECT_EQ(Connections(), 1);
}

TEST_F(Delivery, SendsWhatIsNewInTheStatedOrder) {
  Serve();
  Local("a.htm", "first");
  Local("b.htm", "second");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(), (Names{"TYPE I", "CWD www", "STOR a.htm", "STOR b.htm", "CWD .."}));
  EXPECT_EQ(server_->Verbs().back(), "QUIT");
  EXPECT_EQ(Shown::Status(),
            (Names{"Scanning " + site_ + " (Local)", "Scanning " + site_ + ", 1 files",
                   "Scanning " + site_ + ", 2 files", "Connecting to 127.0.0.1",
                   "Setting transfer mode to binary", "Changing to www/ (Remote)", "Opening a.htm",
                   "Transfering a.htm", "Opening b.htm", "Transfering b.htm"}));
  EXPECT_EQ(History(), (Names{"Logged onto 127.0.0.1 successfully",
                              "Transferred a.htm successfully", "Transferred b.htm successfully"}));
  EXPECT_EQ(Shown::Progress(),
            (std::vector<std::pair<int, int>>{{0, 100}, {1, 2}, {2, 2}, {0, 0}}));
  EXPECT_NE(TransferTime(), 0U);
  EXPECT_EQ(ErrorLog(), "");
}

TEST_F(Delivery, RecordsTheFilesInTheTable) {
  Serve();
  Local("a.htm", "123456789");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Table(), "[~me/www/]\r\na.htm=9,2309065087\r\n");
  EXPECT_FALSE(HasJournal());
}

TEST_F(Delivery, SendsNothingAndDoesNotConnectTheSecondTime) {
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 1);
  EXPECT_TRUE(History().empty());
}

TEST_F(Delivery, AnUnchangedFileOfANewTimeIsNotSent) {
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  std::filesystem::last_write_time(
      site_ + "a.htm", std::filesystem::file_time_type::clock::now() + std::chrono::hours(5));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 1);
}

TEST_F(Delivery, AFileChangedBackToWhatWasSentIsNotSent) {
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  Local("a.htm", "other");
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 1);
}

TEST_F(Delivery, SendsChangedFilesAndRemovesWhatIsGone) {
  Serve();
  Local("changed.htm", "old");
  Local("gone.htm", "x");
  Local("same.htm", "y");
  EXPECT_EQ(Run(), 1);
  Local("changed.htm", "new");
  Local("fresh.htm", "z");
  RemoveLocal("gone.htm");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(), (Names{"TYPE I", "CWD www", "STOR fresh.htm", "STOR changed.htm",
                               "DELE gone.htm", "CWD .."}));
  EXPECT_TRUE(HistoryHas("Transferred changed.htm successfully"));
  EXPECT_TRUE(HistoryHas("Removed gone.htm successfully"));
  EXPECT_TRUE(StatusHas("Deleting gone.htm"));
  EXPECT_EQ(Recorded("gone.htm"), "none");
  EXPECT_EQ(Shown::Progress(),
            (std::vector<std::pair<int, int>>{{0, 100}, {1, 2}, {2, 2}, {0, 0}}));
}

TEST_F(Delivery, AFileThatCannotBeReadFromTheTableIsSentAgain) {
  Serve();
  Local("a.htm", "first");
  test::WriteFileBytes(TablePath(), "[~me/www/]\r\na.htm=abc\r\n");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Stored(), (Names{"a.htm"}));
}

TEST_F(Delivery, AnEmptyFileArrives) {
  Serve();
  Local("empty.htm", "");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Recorded("empty.htm"), "0");
}

TEST_F(Delivery, FilesOfManyBlocksArrive) {
  Serve();
  std::string bytes(300000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  Local("large.bin", bytes);
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, ActiveTransfersWork) {
  Switch("Passive FTP Data Mode", false);
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  const Names verbs = server_->Verbs();
  EXPECT_EQ(std::count(verbs.begin(), verbs.end(), "PORT"), 1);
  EXPECT_EQ(std::count(verbs.begin(), verbs.end(), "PASV"), 0);
}

TEST_F(Delivery, IndirectTransfersOfNewFiles) {
  Switch("Indirect FTP transfer");
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(),
            (Names{"TYPE I", "CWD www", "STOR TEMP.FTP", "RNFR TEMP.FTP", "RNTO a.htm", "CWD .."}));
  EXPECT_TRUE(HistoryHas("Transferred a.htm successfully"));
}

TEST_F(Delivery, IndirectTransfersOfChangedFilesDeleteTheOldOneFirst) {
  Switch("Indirect FTP transfer");
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  Local("a.htm", "second");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(), (Names{"TYPE I", "CWD www", "STOR TEMP.FTP", "DELE a.htm", "RNFR TEMP.FTP",
                               "RNTO a.htm", "CWD .."}));
  EXPECT_TRUE(HistoryHas("Updated a.htm successfully"));
}

TEST_F(Delivery, AFileOfTheTemporaryNameIsSentDirectly) {
  Switch("Indirect FTP transfer");
  Switch("Keep File Name Case");
  Serve();
  Local("Temp.Ftp", "first");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Stored(), (Names{"Temp.Ftp"}));
}

TEST_F(Delivery, AnEmptyRemoteDirectoryIsTheOneOfTheLogOn) {
  Set("Remote Directory", "");
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Commands(), (Names{"TYPE I", "STOR a.htm"}));
  EXPECT_TRUE(StatusHas("Changing to  (Remote)"));
  EXPECT_EQ(test::ReadFileBytes(directory_ / "remote/a.htm"), "first");
  EXPECT_EQ(Recorded("a.htm", "~me\\"), "5");
}

TEST_F(Delivery, AnAbsoluteRemoteDirectoryIsItsOwnKey) {
  Set("Remote Directory", "/www");
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Recorded("a.htm", "/www/"), "5");
}

TEST_F(Delivery, AMissingRemoteDirectoryIsMade) {
  std::filesystem::remove(directory_ / "remote/www");
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(), (Names{"TYPE I", "CWD www", "MKD www", "CWD www", "STOR a.htm", "CWD .."}));
}

TEST_F(Delivery, AShellCommandIsSentForEveryDirectory) {
  Set("FTP Shell Command", "CHMOD 644 *");
  Serve("SITE * reply \"200 done\\r\\n\"");
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Commands(),
            (Names{"TYPE I", "CWD www", "STOR a.htm", "TYPE I", "CWD sub", "MKD sub", "CWD sub",
                   "STOR b.htm", "SITE CHMOD 644 *", "CWD ..", "SITE CHMOD 644 *", "CWD .."}));
}

TEST_F(Delivery, ARefusedShellCommandIsReported) {
  Set("FTP Shell Command", "NONE");
  Serve("SITE * reply \"500 what?\\r\\n\"");
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot FTP shell command \"NONE\" (Remote)"));
}

TEST_F(Delivery, NamesThatFitArriveInLowerCaseAndOthersAsTheyAre) {
  Serve();
  Local("INDEX.HTM", "a");
  Local("Mixed Case.html", "b");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Stored(), (Names{"index.htm", "Mixed Case.html"}));
}

TEST_F(Delivery, NamesKeepTheirCaseWhereThatIsWanted) {
  Switch("Keep File Name Case");
  Serve();
  Local("INDEX.HTM", "a");
  Local("Logo.Gif", "b");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, ANameOfAnotherSpellingIsDeletedBeforeTheNewOneComes) {
  FtpOptions options;
  options.foldsCase = true;
  Serve(options);
  Local("INDEX.HTM", "a");
  EXPECT_EQ(Run(), 1);
  Switch("Keep File Name Case");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(), (Names{"TYPE I", "CWD www", "DELE index.htm", "STOR INDEX.HTM", "CWD .."}));
}

TEST_F(Delivery, NamesOfEveryKindArrive) {
  Serve();
  for (const char* name :
       {"with blank.html", "-leading", "#hash.htm", "100%.htm", "a=b.htm", ";c.htm", "[d].htm",
        "%%e.htm", "'quotes'.htm", "sub [x]/a=b.htm", "sub=/ x"}) {
    Local(name, name);
  }
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 1);
}

TEST_F(Delivery, NamesInUtf8Arrive) {
  Serve();
  const std::string name = "gr\xC3\xBC\xC3\x9F.html";
  Local(name, "x");
  if (Tree(site_).count(name) == 0) GTEST_SKIP() << "narrow names are not UTF-8 here";
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, HundredsOfFilesInADirectory) {
  Serve();
  constexpr int kMany = 300;
  for (int i = 0; i < kMany; ++i) {
    Local("message--f--general_talk--" + std::to_string(i) + ".htm", std::to_string(i));
  }
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  RemoveLocal("message--f--general_talk--7.htm");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, TemporariesAndJournalsAreNotDelivered) {
  Serve();
  Local("a.htm", "first");
  Local("~brevant.tmp/file", "half a page");
  Local("Talk.mwd.jnl", "journal");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Stored(), (Names{"a.htm"}));
  EXPECT_FALSE(std::filesystem::exists(remote_ + "~brevant.tmp"));
}

TEST_F(Delivery, TheProcesssCurrentDirectoryIsLeftAlone) {
  Serve();
  Local("sub/b.htm", "second");
  const auto before = std::filesystem::current_path();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(std::filesystem::current_path(), before);
}

TEST_F(Delivery, LeavesItsTrace) {
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  EXPECT_STREQ(state_->String("Last module executed"), "..\\shared\\filetask.cpp");
  EXPECT_GT(state_->Number("Last line executed"), 0U);
}

TEST_F(Delivery, WorksWithoutAPersistentState) {
  Serve();
  Local("a.htm", "first");
  TFileDeliveryTask task(setup_, nullptr);
  EXPECT_EQ(RunAsIs(task), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, IsMadeByItsName) {
  TTask* task = CreateTask("file delivery");
  ASSERT_NE(task, nullptr);
  Set("FTP Server", "");
  EXPECT_EQ(task->Execute(), 1);
  DestroyTask(task);
}

TEST_F(Delivery, TheTableLiesInTheProgramDirectoryOfTheSettings) {
  std::filesystem::create_directory(directory_ / "elsewhere");
  Set("Program Directory", directory_ / "elsewhere");
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(test::FileExists(directory_ / "elsewhere/127.0.0.1.fat"));
}

}  // namespace
