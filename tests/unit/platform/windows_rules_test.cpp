// Rules of Windows that other implementations of its names do not keep, so that only this side can
// prove them.
#include "file_handle.h"
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using test::FileHandle;
using test::kShareAll;

class WindowsRules : public testing::Test {
 protected:
  std::string File(const std::string& name) const { return directory_ / name; }
  void Make(const std::string& name, const std::string& bytes = "x") const {
    test::WriteFileBytes(File(name), bytes);
  }
  BOOL SetAttributes(const std::string& name, DWORD bits) const {
    return SetFileAttributesA(File(name).c_str(), bits);
  }
  BOOL Delete(const std::string& name) const { return DeleteFileA(File(name).c_str()); }
  test::TemporaryDirectory directory_;
};

TEST_F(WindowsRules, ReadOnlyFileIsNeitherWrittenNorDeleted) {
  Make("a");
  EXPECT_TRUE(SetAttributes("a", FILE_ATTRIBUTE_READONLY));
  EXPECT_EQ(FileHandle(File("a"), GENERIC_WRITE, 0, OPEN_EXISTING).Error(), ERROR_ACCESS_DENIED);
  EXPECT_EQ(FileHandle(File("a"), GENERIC_WRITE, 0, CREATE_ALWAYS).Error(), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(FileHandle(File("a"), GENERIC_READ, 0, OPEN_EXISTING).IsOpen());
  EXPECT_FALSE(Delete("a"));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_EQ(test::ReadFileBytes(File("a")), "x");
  EXPECT_TRUE(SetAttributes("a", FILE_ATTRIBUTE_NORMAL));
  EXPECT_TRUE(Delete("a"));
}

TEST_F(WindowsRules, ReadOnlyFileIsNotReplaced) {
  Make("a");
  Make("r", "kept");
  SetAttributes("r", FILE_ATTRIBUTE_READONLY);
  EXPECT_FALSE(MoveFileExA(File("a").c_str(), File("r").c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_EQ(test::ReadFileBytes(File("r")), "kept");
}

TEST_F(WindowsRules, MoveCanChangeTheLetterCase) {
  Make("a.txt", "one");
  EXPECT_TRUE(MoveFileA(File("a.txt").c_str(), File("A.TXT").c_str()));
  EXPECT_EQ(fs::directory_iterator(directory_.Path())->path().filename(), "A.TXT");
  EXPECT_EQ(test::ReadFileBytes(File("A.TXT")), "one");
}

TEST_F(WindowsRules, MoveOntoItselfByAnotherPathKeepsTheFile) {
  fs::create_directory(File("d"));
  Make("d/a", "kept");
  EXPECT_TRUE(MoveFileExA(File("d/a").c_str(), File("d/./a").c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_EQ(test::ReadFileBytes(File("d/a")), "kept");
  EXPECT_TRUE(MoveFileA(File("d/a").c_str(), File("d/../d/A").c_str()));
  EXPECT_EQ(test::ReadFileBytes(File("d/A")), "kept");
  EXPECT_FALSE(fs::exists(File("d/a")));
}

TEST_F(WindowsRules, MoveOntoAnotherNameOfTheFileLeavesOne) {
  Make("a", "one");
  fs::create_hard_link(File("a"), File("b"));
  EXPECT_TRUE(MoveFileExA(File("a").c_str(), File("b").c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_FALSE(fs::exists(File("a")));
  EXPECT_EQ(test::ReadFileBytes(File("b")), "one");
}

TEST_F(WindowsRules, NameThatIsTooLongIsNoName) {
  EXPECT_EQ(GetFileAttributesA(File(std::string(300, 'x')).c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
}

TEST_F(WindowsRules, TimesNeedARightToWrite) {
  Make("a");
  const FILETIME time{0, 0x01C00000};
  const FileHandle reader(File("a"), GENERIC_READ, kShareAll, OPEN_EXISTING);
  EXPECT_FALSE(SetFileTime(reader.Get(), nullptr, nullptr, &time));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

TEST_F(WindowsRules, CreationTimeIsKept) {
  Make("a");
  const FILETIME created{12'345'670, 0x01B00000};
  {
    const FileHandle file(File("a"), GENERIC_WRITE, kShareAll, OPEN_EXISTING);
    EXPECT_TRUE(SetFileTime(file.Get(), &created, nullptr, nullptr));
  }
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA(File("a").c_str(), &data);
  ASSERT_NE(search, INVALID_HANDLE_VALUE);
  FindClose(search);
  EXPECT_EQ(CompareFileTime(&data.ftCreationTime, &created), 0);
}

TEST_F(WindowsRules, TwentyNinthOfFebruaryNeedsALeapYear) {
  FILETIME time{};
  for (const auto& [year, exists] : std::vector<std::pair<int, bool>>{
           {1900, false}, {1999, false}, {2000, true}, {2001, false}, {2004, true}}) {
    SYSTEMTIME parts{};
    parts.wYear = static_cast<WORD>(year);
    parts.wMonth = 2;
    parts.wDay = 29;
    EXPECT_EQ(SystemTimeToFileTime(&parts, &time) != FALSE, exists) << year;
  }
}

TEST_F(WindowsRules, TimesBeyondTheCalendarAreNotShifted) {
  const FILETIME time{0, 0x80000000};
  FILETIME local{};
  EXPECT_FALSE(FileTimeToLocalFileTime(&time, &local));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(WindowsRules, QuestionMarkIsNothingBeforeADotAndAtTheEnd) {
  for (const char* name : {"a.txt", "ab.txt", "abc.txt", "a", "ab"}) Make(name);
  const auto list = [&](const char* pattern) {
    std::vector<std::string> names;
    WIN32_FIND_DATAA data;
    const HANDLE search = FindFirstFileA(File(pattern).c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) return names;
    do {
      names.emplace_back(data.cFileName);
    } while (FindNextFileA(search, &data));
    FindClose(search);
    return names;
  };
  using Names = std::vector<std::string>;
  EXPECT_EQ(list("a?.txt"), (Names{"a.txt", "ab.txt"}));
  EXPECT_EQ(list("a???"), (Names{"a", "ab"}));
  EXPECT_EQ(list("*c.*"), (Names{"abc.txt"}));
  EXPECT_EQ(list("*b*.*t"), (Names{"ab.txt", "abc.txt"}));
}

TEST_F(WindowsRules, HostilePatternTakesNoTime) {
  Make(std::string(200, 'a'));
  std::string pattern;
  for (int i = 0; i < 100; ++i) pattern += "*a";
  WIN32_FIND_DATAA data;
  EXPECT_EQ(FindFirstFileA(File(pattern + "b").c_str(), &data), INVALID_HANDLE_VALUE);
}

TEST_F(WindowsRules, MoveToAnotherFileSystemKeepsTimeAndAttributes) {
  const std::string other =
      "/dev/shm/brevant-test-" + fs::path(directory_.Path()).parent_path().filename().string();
  Make("a", std::string(200'000, 'y'));
  SetAttributes("a", FILE_ATTRIBUTE_HIDDEN);
  const auto time = fs::last_write_time(File("a"));
  if (!MoveFileA(File("a").c_str(), other.c_str())) {
    EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED);
    GTEST_SKIP() << "left out: no second file system that keeps attributes";
  }
  EXPECT_FALSE(test::FileExists(File("a")));
  EXPECT_EQ(GetFileAttributesA(other.c_str()), FILE_ATTRIBUTE_HIDDEN);
  EXPECT_EQ(fs::last_write_time(other), time);
  EXPECT_EQ(test::ReadFileBytes(other), std::string(200'000, 'y'));
  fs::remove(other);
}

}  // namespace
