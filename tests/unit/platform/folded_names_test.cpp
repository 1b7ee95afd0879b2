// Look-ups that ignore letter case, and the memory of directories behind them.
#include "platform/posix/folded_names.h"

#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

namespace fs = std::filesystem;
using brevant::posix::FindIgnoringCase;
using brevant::posix::NameChange;

TEST(FoldedNamesTest, FindsTheSpellingOfTheDirectory) {
  const test::TemporaryDirectory directory;
  test::WriteFileBytes(directory / "Index.HTM", "x");
  EXPECT_EQ("Index.HTM", FindIgnoringCase(directory.Path(), "iNDEX.htm"));
  EXPECT_EQ("", FindIgnoringCase(directory.Path(), "index.html"));
}

TEST(FoldedNamesTest, OfSeveralCandidatesTheFirstInByteOrder) {
  const test::TemporaryDirectory directory;
  test::WriteFileBytes(directory / "b.mwd", "x");
  test::WriteFileBytes(directory / "B.MWD", "x");
  test::WriteFileBytes(directory / "B.mwd", "x");
  EXPECT_EQ("B.MWD", FindIgnoringCase(directory.Path(), "b.Mwd"));
}

TEST(FoldedNamesTest, MissingDirectoryFindsNothing) {
  const test::TemporaryDirectory directory;
  EXPECT_EQ("", FindIgnoringCase(directory / "none/", "x"));
}

TEST(FoldedNamesTest, FileOfAnotherProgramIsFoundAtOnceWhenTheDirectoryTimeMoved) {
  const test::TemporaryDirectory directory;
  fs::last_write_time(directory.Path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
  EXPECT_EQ("", FindIgnoringCase(directory.Path(), "new.htm"));
  test::WriteFileBytes(directory / "New.htm", "x");
  EXPECT_EQ("New.htm", FindIgnoringCase(directory.Path(), "new.htm"));
  fs::remove(directory / "New.htm");
  fs::last_write_time(directory.Path(), fs::file_time_type::clock::now() - std::chrono::hours(2));
  EXPECT_EQ("", FindIgnoringCase(directory.Path(), "new.htm"));
}

TEST(FoldedNamesTest, OwnChangesAreKeptUpWithoutReadingAgain) {
  const test::TemporaryDirectory directory;
  EXPECT_EQ("", FindIgnoringCase(directory.Path(), "mine.htm"));
  NameChange made(directory / "Mine.htm");
  test::WriteFileBytes(directory / "Mine.htm", "x");
  made.Added();
  EXPECT_EQ("Mine.htm", FindIgnoringCase(directory.Path(), "mine.htm"));
  NameChange gone(directory / "Mine.htm");
  fs::remove(directory / "Mine.htm");
  gone.Removed();
  EXPECT_EQ("", FindIgnoringCase(directory.Path(), "mine.htm"));
}

TEST(FoldedNamesTest, ForeignChangeAmongOwnOnesIsSeen) {
  const test::TemporaryDirectory directory;
  fs::last_write_time(directory.Path(), fs::file_time_type::clock::now() - std::chrono::hours(1));
  EXPECT_EQ("", FindIgnoringCase(directory.Path(), "x"));
  test::WriteFileBytes(directory / "Foreign.htm", "x");
  NameChange made(directory / "Mine.htm");
  test::WriteFileBytes(directory / "Mine.htm", "x");
  made.Added();
  EXPECT_EQ("Foreign.htm", FindIgnoringCase(directory.Path(), "foreign.htm"));
  EXPECT_EQ("Mine.htm", FindIgnoringCase(directory.Path(), "mine.htm"));
}

TEST(FoldedNamesTest, RemovingOneOfTwoSpellingsLeavesTheOther) {
  const test::TemporaryDirectory directory;
  test::WriteFileBytes(directory / "A.htm", "x");
  test::WriteFileBytes(directory / "a.htm", "x");
  EXPECT_EQ("A.htm", FindIgnoringCase(directory.Path(), "a.HTM"));
  NameChange gone(directory / "A.htm");
  fs::remove(directory / "A.htm");
  gone.Removed();
  EXPECT_EQ("a.htm", FindIgnoringCase(directory.Path(), "A.HTM"));
}

TEST(FoldedNamesTest, PlatformFunctionsSeeEachOthersFiles) {
  const test::TemporaryDirectory directory;
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((directory / "one.htm").c_str()));
  const HANDLE file = CreateFileA((directory / "One.htm").c_str(), GENERIC_WRITE, 0, nullptr,
                                  CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, file);
  CloseHandle(file);
  EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((directory / "one.htm").c_str()));
  EXPECT_TRUE(MoveFileA((directory / "ONE.htm").c_str(), (directory / "Two.htm").c_str()));
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((directory / "one.htm").c_str()));
  EXPECT_NE(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((directory / "two.htm").c_str()));
  EXPECT_TRUE(DeleteFileA((directory / "TWO.HTM").c_str()));
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((directory / "two.htm").c_str()));
}

TEST(FoldedNamesTest, NameThatMovedAwayCanBeMadeAgain) {
  const test::TemporaryDirectory directory;
  const std::string one = directory / "one.htm";
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA((directory / "ONE.htm").c_str()));
    const HANDLE file = CreateFileA(one.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file);
    CloseHandle(file);
    EXPECT_TRUE(
        MoveFileExA(one.c_str(), (directory / "two.htm").c_str(), MOVEFILE_REPLACE_EXISTING));
  }
}

TEST(FoldedNamesTest, NameThatGoesWithoutAWordIsGone) {
  const test::TemporaryDirectory directory;
  test::WriteFileBytes(directory / "Index.htm", "x");
  const auto time = fs::last_write_time(directory.Path());
  EXPECT_EQ("Index.htm", FindIgnoringCase(directory.Path(), "index.htm"));
  fs::remove(directory / "Index.htm");
  fs::last_write_time(directory.Path(), time);
  EXPECT_EQ("", FindIgnoringCase(directory.Path(), "index.htm"));
}

TEST(FoldedNamesTest, MoreDirectoriesThanAreRemembered) {
  const test::TemporaryDirectory directory;
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 20; ++i) {
      const std::string below = directory / (std::to_string(i) + "/");
      if (round == 0) {
        fs::create_directory(below);
        test::WriteFileBytes(below + "File.htm", "x");
      }
      EXPECT_EQ("File.htm", FindIgnoringCase(below, "FILE.HTM"));
    }
  }
}

}  // namespace
