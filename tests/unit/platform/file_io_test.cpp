#include "file_handle.h"
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using test::FileHandle;
using test::kReadWrite;
using test::kShareAll;

class FileIo : public testing::Test {
 protected:
  std::string File(const std::string& name = "a.txt") const { return directory_ / name; }
  void Make(const std::string& name, const std::string& bytes = "x") const {
    test::WriteFileBytes(File(name), bytes);
  }
  std::string Bytes(const std::string& name = "a.txt") const {
    return test::ReadFileBytes(File(name));
  }
  test::TemporaryDirectory directory_;
};

TEST_F(FileIo, WritesAndReadsBack) {
  FileHandle file(File(), kReadWrite, 0, CREATE_NEW);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Write("hello world"), 11U);
  EXPECT_EQ(SetFilePointer(file.Get(), 6, nullptr, FILE_BEGIN), 6U);
  EXPECT_EQ(file.Read(100), "world");
  EXPECT_EQ(file.Read(100), "");
}

TEST_F(FileIo, CreateNewRefusesAnExistingFile) {
  Make("a.txt");
  const FileHandle file(File(), GENERIC_WRITE, 0, CREATE_NEW);
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.Error(), static_cast<DWORD>(ERROR_FILE_EXISTS));
}

TEST_F(FileIo, CreateAlwaysEmptiesAndTells) {
  Make("a.txt", "old");
  FileHandle file(File(), GENERIC_WRITE, 0, CREATE_ALWAYS);
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Error(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  file.Close();
  EXPECT_EQ(Bytes(), "");
}

TEST_F(FileIo, CreateAlwaysOfANewFileTellsNothing) {
  const FileHandle file(File(), GENERIC_WRITE, 0, CREATE_ALWAYS);
  EXPECT_TRUE(file.IsOpen());
  EXPECT_EQ(file.Error(), static_cast<DWORD>(ERROR_SUCCESS));
}

TEST_F(FileIo, OpenExistingNeedsTheFile) {
  const FileHandle file(File(), GENERIC_READ, 0, OPEN_EXISTING);
  EXPECT_EQ(file.Error(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  const FileHandle deeper(File("no/a.txt"), GENERIC_READ, 0, OPEN_EXISTING);
  EXPECT_EQ(deeper.Error(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST_F(FileIo, OpenAlwaysMakesOrOpens) {
  FileHandle made(File(), GENERIC_WRITE, 0, OPEN_ALWAYS);
  EXPECT_TRUE(made.IsOpen());
  EXPECT_EQ(made.Error(), static_cast<DWORD>(ERROR_SUCCESS));
  made.Write("kept");
  made.Close();
  const FileHandle opened(File(), GENERIC_READ, 0, OPEN_ALWAYS);
  EXPECT_EQ(opened.Error(), static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  EXPECT_EQ(opened.Read(9), "kept");
}

TEST_F(FileIo, OpenAlwaysInAMissingDirectoryFails) {
  const FileHandle file(File("no/a.txt"), GENERIC_WRITE, 0, OPEN_ALWAYS);
  EXPECT_EQ(file.Error(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST_F(FileIo, TruncateExisting) {
  Make("a.txt", "old");
  FileHandle file(File(), GENERIC_WRITE, 0, TRUNCATE_EXISTING);
  EXPECT_TRUE(file.IsOpen());
  file.Close();
  EXPECT_EQ(Bytes(), "");
  EXPECT_FALSE(FileHandle(File("b"), GENERIC_WRITE, 0, TRUNCATE_EXISTING).IsOpen());
}

TEST_F(FileIo, DirectoryIsNoFile) {
  std::filesystem::create_directory(File("d"));
  const FileHandle file(File("d"), GENERIC_READ, kShareAll, OPEN_EXISTING);
  EXPECT_EQ(file.Error(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(FileIo, NameIsFoundIgnoringLetterCase) {
  Make("MixedCase.Txt", "found");
  EXPECT_EQ(FileHandle(File("mixedCASE.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING).Read(9),
            "found");
  std::filesystem::create_directory(File("SubDir"));
  Make("SubDir/B.txt", "deeper");
  EXPECT_EQ(FileHandle(File("subdir/b.TXT"), GENERIC_READ, kShareAll, OPEN_EXISTING).Read(9),
            "deeper");
}

TEST_F(FileIo, CreatingAnotherSpellingOpensTheOneThere) {
  Make("a.mwd", "old");
  FileHandle file(File("A.MWD"), GENERIC_WRITE, 0, CREATE_ALWAYS);
  ASSERT_TRUE(file.IsOpen());
  file.Write("new");
  file.Close();
  EXPECT_EQ(Bytes("a.mwd"), "new");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.Path()), {}), 1);
}

TEST_F(FileIo, BackslashesSeparateToo) {
  std::filesystem::create_directory(File("d"));
  Make("d/a.txt", "there");
  EXPECT_EQ(FileHandle(File("d\\a.txt"), GENERIC_READ, kShareAll, OPEN_EXISTING).Read(9), "there");
}

TEST_F(FileIo, SharingNothingKeepsOthersOut) {
  const FileHandle first(File(), GENERIC_WRITE, 0, OPEN_ALWAYS);
  for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}}) {
    const FileHandle second(File(), access, kShareAll, OPEN_EXISTING);
    EXPECT_EQ(second.Error(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  }
}

TEST_F(FileIo, LateComerMustShareWhatTheFirstDoes) {
  Make("a.txt");
  const FileHandle reader(File(), GENERIC_READ, kShareAll, OPEN_EXISTING);
  EXPECT_FALSE(FileHandle(File(), GENERIC_WRITE, 0, OPEN_EXISTING).IsOpen());
  EXPECT_FALSE(FileHandle(File(), GENERIC_WRITE, FILE_SHARE_WRITE, OPEN_EXISTING).IsOpen());
  EXPECT_TRUE(FileHandle(File(), GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING).IsOpen());
}

TEST_F(FileIo, SharingReadsLetsReadersIn) {
  Make("a.txt");
  const FileHandle first(File(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
  EXPECT_TRUE(FileHandle(File(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING).IsOpen());
  EXPECT_FALSE(FileHandle(File(), GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING).IsOpen());
}

TEST_F(FileIo, ClosedFileIsFree) {
  FileHandle first(File(), GENERIC_WRITE, 0, OPEN_ALWAYS);
  first.Close();
  EXPECT_TRUE(FileHandle(File(), GENERIC_WRITE, 0, OPEN_EXISTING).IsOpen());
}

TEST_F(FileIo, RefusedCreateAlwaysLeavesTheFile) {
  Make("a.txt", "kept");
  const FileHandle reader(File(), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
  EXPECT_FALSE(FileHandle(File(), GENERIC_WRITE, kShareAll, CREATE_ALWAYS).IsOpen());
  EXPECT_EQ(Bytes(), "kept");
}

TEST_F(FileIo, AccessIsChecked) {
  Make("a.txt", "abc");
  const FileHandle reader(File(), GENERIC_READ, kShareAll, OPEN_EXISTING);
  EXPECT_EQ(reader.Write("x"), 0U);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  const FileHandle writer(File(), GENERIC_WRITE, kShareAll, OPEN_EXISTING);
  EXPECT_EQ(writer.Read(3), "");
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST_F(FileIo, PointerMovesFromAllThreeOrigins) {
  Make("a.txt", "0123456789");
  const FileHandle file(File(), GENERIC_READ, kShareAll, OPEN_EXISTING);
  EXPECT_EQ(SetFilePointer(file.Get(), -3, nullptr, FILE_END), 7U);
  EXPECT_EQ(SetFilePointer(file.Get(), 1, nullptr, FILE_CURRENT), 8U);
  EXPECT_EQ(file.Read(9), "89");
  EXPECT_EQ(SetFilePointer(file.Get(), -11, nullptr, FILE_END),
            static_cast<DWORD>(INVALID_SET_FILE_POINTER));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NEGATIVE_SEEK));
}

TEST_F(FileIo, PointerBeyond32Bits) {
  const FileHandle file(File(), GENERIC_WRITE, 0, CREATE_NEW);
  LONG high = 3;
  EXPECT_EQ(SetFilePointer(file.Get(), 5, &high, FILE_BEGIN), 5U);
  EXPECT_EQ(high, 3);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
  high = 0;
  EXPECT_EQ(SetFilePointer(file.Get(), 0, &high, FILE_CURRENT), 5U);
  EXPECT_EQ(high, 3);
}

TEST_F(FileIo, EndOfFileCutsAndExtends) {
  Make("a.txt", "0123456789");
  FileHandle file(File(), GENERIC_WRITE, 0, OPEN_EXISTING);
  SetFilePointer(file.Get(), 4, nullptr, FILE_BEGIN);
  EXPECT_TRUE(SetEndOfFile(file.Get()));
  EXPECT_EQ(GetFileSize(file.Get(), nullptr), 4U);
  SetFilePointer(file.Get(), 6, nullptr, FILE_BEGIN);
  EXPECT_TRUE(SetEndOfFile(file.Get()));
  file.Close();
  EXPECT_EQ(Bytes(), std::string("0123\0\0", 6));
}

TEST_F(FileIo, SizeInTwoHalves) {
  Make("a.txt", std::string(1000, 'x'));
  const FileHandle file(File(), GENERIC_READ, kShareAll, OPEN_EXISTING);
  DWORD high = 7;
  EXPECT_EQ(GetFileSize(file.Get(), &high), 1000U);
  EXPECT_EQ(high, 0U);
}

TEST_F(FileIo, FlushSucceedsForWriters) {
  const FileHandle file(File(), GENERIC_WRITE, 0, CREATE_NEW);
  file.Write("x");
  EXPECT_TRUE(FlushFileBuffers(file.Get()));
}

TEST_F(FileIo, TimesAreSetAndKept) {
  Make("a.txt");
  const FILETIME modified{12'345'670, 0x01C00000};
  {
    const FileHandle file(File(), GENERIC_WRITE, kShareAll, OPEN_EXISTING);
    EXPECT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &modified));
  }
  const FileHandle file(File(), GENERIC_READ, kShareAll, OPEN_EXISTING);
  FILETIME read{};
  EXPECT_TRUE(GetFileTime(file.Get(), nullptr, nullptr, &read));
  EXPECT_EQ(CompareFileTime(&read, &modified), 0);
}

TEST_F(FileIo, AttributeRightIsEnoughForTimes) {
  Make("a.txt");
  const FILETIME time{0, 0x01C00000};
  const FileHandle file(File(), FILE_WRITE_ATTRIBUTES, kShareAll, OPEN_EXISTING);
  EXPECT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &time));
}

TEST_F(FileIo, AttributeHandlesConflictWithNothing) {
  const FileHandle first(File(), GENERIC_WRITE, 0, CREATE_NEW);
  EXPECT_TRUE(FileHandle(File(), FILE_WRITE_ATTRIBUTES, 0, OPEN_EXISTING).IsOpen());
}

TEST_F(FileIo, StaleHandleIsInvalid) {
  const HANDLE file = CreateFileA(File().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_TRUE(CloseHandle(file));
  DWORD written = 0;
  EXPECT_FALSE(WriteFile(file, "x", 1, &written, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST_F(FileIo, ThreadsOpenTheirOwnFiles) {
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, t, &good] {
      for (int i = 0; i < 50; ++i) {
        FileHandle file(File("t" + std::to_string(t)), GENERIC_WRITE, 0, OPEN_ALWAYS);
        if (file.IsOpen() && file.Write("abc") == 3) ++good;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, 200);
}

}  // namespace
