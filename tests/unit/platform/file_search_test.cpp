#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class FileSearch : public testing::Test {
 protected:
  void Make(const Names& names) const {
    for (const std::string& name : names) test::WriteFileBytes(directory_ / name, "x");
  }
  Names List(const std::string& pattern) const {
    Names names;
    WIN32_FIND_DATAA data;
    const HANDLE search = FindFirstFileA((directory_ / pattern).c_str(), &data);
    error_ = GetLastError();
    if (search == INVALID_HANDLE_VALUE) return names;
    do {
      names.emplace_back(data.cFileName);
    } while (FindNextFileA(search, &data));
    error_ = GetLastError();
    EXPECT_TRUE(FindClose(search));
    return names;
  }
  test::TemporaryDirectory directory_;
  mutable DWORD error_ = 0;
};

TEST_F(FileSearch, EverythingSortedWithTheDotsFirst) {
  Make({"b.txt", "C.txt", "a.txt"});
  EXPECT_EQ(List("*"), (Names{".", "..", "a.txt", "b.txt", "C.txt"}));
  EXPECT_EQ(error_, static_cast<DWORD>(ERROR_NO_MORE_FILES));
}

TEST_F(FileSearch, StarDotStarMatchesNamesWithoutADot) {
  Make({"README", "a.txt"});
  EXPECT_EQ(List("*.*"), (Names{".", "..", "a.txt", "README"}));
}

TEST_F(FileSearch, LetterCaseDoesNotMatter) {
  Make({"a.MWD", "b.mwd", "c.txt"});
  EXPECT_EQ(List("*.mwd"), (Names{"a.MWD", "b.mwd"}));
  EXPECT_EQ(List("*.MWD"), (Names{"a.MWD", "b.mwd"}));
}

TEST_F(FileSearch, ExtensionMayBeMissing) {
  Make({"README", "README.txt"});
  EXPECT_EQ(List("README.*"), (Names{"README", "README.txt"}));
  EXPECT_EQ(List("README."), (Names{"README"}));
}

TEST_F(FileSearch, QuestionMarkIsOneCharacter) {
  Make({"a.txt", "ab.txt", "abc.txt"});
  EXPECT_EQ(List("?.txt"), (Names{"a.txt"}));
}

TEST_F(FileSearch, NameWithoutWildcardsIsFoundIgnoringCase) {
  Make({"Index.htm"});
  EXPECT_EQ(List("iNDEX.HTM"), (Names{"Index.htm"}));
}

TEST_F(FileSearch, Errors) {
  List("no-match.*");
  EXPECT_EQ(error_, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  List("missing");
  EXPECT_EQ(error_, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  List("missing/*");
  EXPECT_EQ(error_, static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  List("");
  EXPECT_EQ(error_, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
}

TEST_F(FileSearch, BackslashesSeparateToo) {
  fs::create_directory(directory_ / "d");
  Make({"d/a.txt"});
  EXPECT_EQ(List("d\\*.txt"), (Names{"a.txt"}));
  EXPECT_EQ(List("D/A*"), (Names{"a.txt"}));
}

TEST_F(FileSearch, DirectoriesAreFoundLikeFiles) {
  fs::create_directory(directory_ / "d.mwd");
  Make({"e.mwd"});
  EXPECT_EQ(List("*.mwd"), (Names{"d.mwd", "e.mwd"}));
  WIN32_FIND_DATAA data;
  std::string path = directory_ / "d.mwd";
  HANDLE search = FindFirstFileA(path.c_str(), &data);
  ASSERT_NE(search, INVALID_HANDLE_VALUE);
  EXPECT_EQ(data.dwFileAttributes, static_cast<DWORD>(FILE_ATTRIBUTE_DIRECTORY));
  FindClose(search);
}

TEST_F(FileSearch, EmptyDirectoryHasTheDots) {
  EXPECT_EQ(List("*"), (Names{".", ".."}));
  EXPECT_EQ(List("*.mwd"), Names{});
}

TEST_F(FileSearch, SizeTimeAndAttributes) {
  test::WriteFileBytes(directory_ / "a.txt", std::string(1234, 'x'));
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA((directory_ / "*.txt").c_str(), &data);
  ASSERT_NE(search, INVALID_HANDLE_VALUE);
  FindClose(search);
  EXPECT_EQ(data.nFileSizeLow, 1234U);
  EXPECT_EQ(data.nFileSizeHigh, 0U);
  EXPECT_EQ(data.dwFileAttributes, static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_STREQ(data.cAlternateFileName, "");
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const auto ticks = [](const FILETIME& time) {
    return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
  };
  for (const FILETIME& time : {data.ftLastWriteTime, data.ftCreationTime, data.ftLastAccessTime}) {
    EXPECT_LT(ticks(now) + 10'000'000 - ticks(time), 600'000'000U);
  }
}

TEST_F(FileSearch, ShortNameExtensionOfALongerOneMatches) {
  // Where the volume has short names.
  Make({"index.html", "x.txt"});
  const Names found = List("*.htm");
  if (found.empty()) GTEST_SKIP() << "left out: no short names on this volume";
  EXPECT_EQ(found, (Names{"index.html"}));
}

TEST_F(FileSearch, JournalsOfDocumentsAreNotFoundAsDocuments) {
  Make({"x.mwd", "x.mwd.jnl", "long name.mwd.jnl", "mwd.jnl"});
  EXPECT_EQ(List("*.mwd"), (Names{"x.mwd"}));
}

TEST_F(FileSearch, Utf8NamesPassThrough) {
  const std::string name = "\x67r\xC3\xBC\xC3\x9F.htm";
  const HANDLE file = CreateFileA((directory_ / name).c_str(), GENERIC_WRITE, 0, nullptr,
                                  CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  CloseHandle(file);
  EXPECT_EQ(List("*.htm"), (Names{name}));
}

TEST_F(FileSearch, ClosedSearchIsInvalid) {
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA((directory_ / "*").c_str(), &data);
  EXPECT_TRUE(FindClose(search));
  EXPECT_FALSE(FindClose(INVALID_HANDLE_VALUE));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

}  // namespace
