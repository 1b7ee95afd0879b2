// Delivery of directories below the top one: the plain rule, and "Deliver Every Folder".
#include "delivery_fixture.h"

namespace {

using test::Delivery;
using test::FtpOptions;
using test::Shown;

TEST_F(Delivery, SubdirectoriesAreDeliveredInStep) {
  Serve();
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  Local("sub/deep/c.htm", "third");
  Local("zoo/d.htm", "fourth");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(),
            (Names{"TYPE I",     "CWD www",    "STOR a.htm", "TYPE I",   "CWD sub",  "MKD sub",
                   "CWD sub",    "STOR b.htm", "TYPE I",     "CWD deep", "MKD deep", "CWD deep",
                   "STOR c.htm", "CWD ..",     "CWD ..",     "TYPE I",   "CWD zoo",  "MKD zoo",
                   "CWD zoo",    "STOR d.htm", "CWD ..",     "CWD .."}));
  EXPECT_EQ(Recorded("c.htm", "~me/www/sub/deep/"), "5");
  EXPECT_TRUE(StatusHas("Scanning deep (Local)"));
  EXPECT_TRUE(StatusHas("Scanning deep, 1 files"));
  EXPECT_TRUE(StatusHas("Changing to deep (Remote)"));
}

TEST_F(Delivery, KeysGoOnWithTheSeparatorTheyBeganWith) {
  Set("Remote Directory", "");
  Serve();
  Local("a.htm", "first");
  Local("sub/deep/b.htm", "second");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Recorded("b.htm", "~me\\sub\\deep\\"), "6");
}

TEST_F(Delivery, AnUnchangedDirectoryHidesWhatChangedBelowIt) {
  Serve();
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  EXPECT_EQ(Run(), 1);
  Local("sub/b.htm", "changed");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 1);
  EXPECT_FALSE(StatusHas("Scanning sub (Local)"));
  Local("a.htm", "changed");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Stored(), (Names{"a.htm", "b.htm"}));
  ExpectSameTrees();
}

TEST_F(Delivery, ADirectoryThatVanishedStaysOnTheServer) {
  Serve();
  Local("a.htm", "first");
  Local("sub/b.htm", "second");
  EXPECT_EQ(Run(), 1);
  RemoveLocal("sub");
  Local("a.htm", "changed");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Remote("sub/b.htm"), "second");
}

class EveryFolder : public Delivery {
 protected:
  void SetUp() override {
    Delivery::SetUp();
    Switch("Deliver Every Folder");
    Serve();
    Local("a.htm", "first");
    Local("sub/b.htm", "second");
    Local("sub/deep/c.htm", "third");
  }
};

TEST_F(EveryFolder, FindsWhatChangedBelowAnUnchangedDirectory) {
  EXPECT_EQ(Run(), 1);
  Local("sub/deep/c.htm", "changed");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(), (Names{"CWD www", "CWD sub", "TYPE I", "CWD deep", "STOR c.htm", "CWD ..",
                               "CWD ..", "CWD .."}));
}

TEST_F(EveryFolder, DoesNotConnectWhenNothingChanged) {
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 1);
  EXPECT_TRUE(StatusHas("Scanning deep (Local)"));
}

TEST_F(EveryFolder, EmptiesAndRemovesWhatVanished) {
  EXPECT_EQ(Run(), 1);
  RemoveLocal("sub");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Commands(), (Names{"TYPE I", "CWD www", "CWD sub", "CWD deep", "DELE c.htm", "CWD ..",
                               "RMD deep", "DELE b.htm", "CWD ..", "RMD sub", "CWD .."}));
  EXPECT_TRUE(HistoryHas("Removed sub successfully"));
  EXPECT_EQ(Table().find("sub"), std::string::npos);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 2);
}

TEST_F(EveryFolder, ADirectoryThatVanishedDeepBelowGoes) {
  EXPECT_EQ(Run(), 1);
  RemoveLocal("sub/deep");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(EveryFolder, DirectoriesComeAndGoEmptyOnesToo) {
  EXPECT_EQ(Run(), 1);
  std::filesystem::create_directories(site_ + "empty/er");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Connections(), 2);
  RemoveLocal("empty");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(EveryFolder, ADirectoryBecomesAFileAndAFileADirectory) {
  Local("turn", "a file");
  EXPECT_EQ(Run(), 1);
  RemoveLocal("turn");
  RemoveLocal("sub");
  Local("turn/x.htm", "in it");
  Local("sub", "a file");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(EveryFolder, WhatElseStandsInAVanishedDirectoryKeepsItThere) {
  EXPECT_EQ(Run(), 1);
  test::WriteFileBytes(remote_ + "sub/deep/owner.txt", "mine");
  RemoveLocal("sub");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(HistoryHas("Cannot erase deep (Remote)"));
  EXPECT_EQ(Remote("sub/deep/owner.txt"), "mine");
  EXPECT_FALSE(test::FileExists(remote_ + "sub/b.htm"));
  std::filesystem::remove(remote_ + "sub/deep/owner.txt");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(EveryFolder, AVanishedDirectoryThatTheServerLostTooIsForgotten) {
  EXPECT_EQ(Run(), 1);
  RemoveLocal("sub");
  std::filesystem::remove_all(remote_ + "sub");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
  EXPECT_EQ(Table().find("sub"), std::string::npos);
}

TEST_F(EveryFolder, LinkedDirectoriesAreNeitherEnteredNorMissed) {
  EXPECT_EQ(Run(), 1);
  std::error_code error;
  std::filesystem::rename(site_ + "sub", directory_ / "outside");
  std::filesystem::create_directory_symlink(directory_ / "outside", site_ + "sub", error);
  if (error) GTEST_SKIP() << "no symbolic links here: " << error.message();
  Local("a.htm", "changed");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Stored(), (Names{"a.htm"}));
  EXPECT_FALSE(StatusHas("Scanning sub (Local)"));
  EXPECT_EQ(Remote("sub/b.htm"), "second");
}

TEST_F(EveryFolder, ALogOnBelowTheTopThatCannotGoDownStopsTheRun) {
  EXPECT_EQ(Run(), 1);
  std::filesystem::remove_all(remote_ + "sub");
  Local("sub/deep/c.htm", "changed");
  Local("zoo/d.htm", "x");
  RemoveLocal("zoo");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(HistoryHas("Cannot change directory to sub (Remote)"));
  EXPECT_TRUE(Stored().empty());
  EXPECT_EQ(TransferTime(), 0U);
}

TEST_F(EveryFolder, AFailedLogOnIsNotTriedForEveryDirectory) {
  setup_->Number("FTP Port", DWORD{test::UnusedPort()});
  Local("zoo/d.htm", "x");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(History(), (Names{"Cannot log onto 127.0.0.1"}));
}

TEST_F(EveryFolder, ShellCommandsAndDirectoriesStayInStepAfterALogOnBelow) {
  Set("FTP Shell Command", "OK");
  EXPECT_EQ(Run(), 1);
  Local("sub/deep/c.htm", "changed");
  Local("zoo/d.htm", "new");
  EXPECT_EQ(Run(), 1);
  ExpectSameTrees();
}

TEST_F(Delivery, ATableOfAnotherSiteIsNotTouched) {
  Switch("Deliver Every Folder");
  test::WriteFileBytes(TablePath(), "[~me/other/]\r\nx=1,2\r\n[~you/www/sub/]\r\ny=1,2\r\n");
  Serve();
  Local("a.htm", "first");
  EXPECT_EQ(Run(), 1);
  EXPECT_NE(Table().find("[~me/other/]\r\nx=1,2\r\n[~you/www/sub/]\r\ny=1,2\r\n"),
            std::string::npos);
}

}  // namespace
