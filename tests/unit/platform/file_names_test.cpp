#include "file_handle.h"
#include "platform/win32.h"
#include "support/file_attributes.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

namespace fs = std::filesystem;
using test::FileHandle;
using test::kShareAll;

class FileNames : public testing::Test {
 protected:
  std::string File(const std::string& name) const { return directory_ / name; }
  void Make(const std::string& name, const std::string& bytes = "x") const {
    test::WriteFileBytes(File(name), bytes);
  }
  std::string Bytes(const std::string& name) const { return test::ReadFileBytes(File(name)); }
  DWORD Attributes(const std::string& name) const { return GetFileAttributesA(File(name).c_str()); }
  BOOL SetAttributes(const std::string& name, DWORD bits) const {
    return SetFileAttributesA(File(name).c_str(), bits);
  }
  BOOL Move(const std::string& from, const std::string& to) const {
    return MoveFileA(File(from).c_str(), File(to).c_str());
  }
  BOOL Replace(const std::string& from, const std::string& to) const {
    return MoveFileExA(File(from).c_str(), File(to).c_str(), MOVEFILE_REPLACE_EXISTING);
  }
  BOOL Delete(const std::string& name) const { return DeleteFileA(File(name).c_str()); }
  // Where neither the archive nor the temporary attribute is kept, the tests of them are left out.
  bool KeepsAttributes() const { return test::KeepsFileAttributes(directory_.Path()); }
  void FailsWith(BOOL result, DWORD error) const {
    const DWORD actual = GetLastError();
    EXPECT_FALSE(result);
    EXPECT_EQ(actual, error);
  }
  test::TemporaryDirectory directory_;
};

#define NEEDS_ATTRIBUTES() \
  if (!KeepsAttributes())  \
  GTEST_SKIP() << "left out: the archive and temporary attributes are not kept here"

TEST_F(FileNames, NewFileIsArchive) {
  Make("a");
  EXPECT_EQ(Attributes("a"), static_cast<DWORD>(FILE_ATTRIBUTE_ARCHIVE));
}

TEST_F(FileNames, DirectoryIsDirectory) {
  fs::create_directory(File("d"));
  EXPECT_EQ(Attributes("d"), static_cast<DWORD>(FILE_ATTRIBUTE_DIRECTORY));
  EXPECT_EQ(Attributes("d/"), static_cast<DWORD>(FILE_ATTRIBUTE_DIRECTORY));
}

TEST_F(FileNames, AttributesOfNothing) {
  EXPECT_EQ(Attributes("no"), static_cast<DWORD>(INVALID_FILE_ATTRIBUTES));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(Attributes("no/a"), static_cast<DWORD>(INVALID_FILE_ATTRIBUTES));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST_F(FileNames, AttributesAreExactlyWhatWasSet) {
  NEEDS_ATTRIBUTES();
  Make("a");
  EXPECT_TRUE(SetAttributes("a", FILE_ATTRIBUTE_TEMPORARY));
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_TEMPORARY});
  EXPECT_TRUE(SetAttributes("a", FILE_ATTRIBUTE_NORMAL));
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_NORMAL});
  EXPECT_TRUE(SetAttributes("a", FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE});
  EXPECT_TRUE(SetAttributes("a", 0));
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_NORMAL});
  EXPECT_TRUE(SetAttributes("a", FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_ARCHIVE});
}

TEST_F(FileNames, WriteSetsArchiveAgain) {
  NEEDS_ATTRIBUTES();
  Make("a");
  SetAttributes("a", FILE_ATTRIBUTE_TEMPORARY);
  FileHandle(File("a"), GENERIC_WRITE, 0, OPEN_EXISTING).Write("longer");
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_ARCHIVE});
}

TEST_F(FileNames, CreateAlwaysGivesTheAttributesAsked) {
  NEEDS_ATTRIBUTES();
  FileHandle(File("a"), GENERIC_WRITE, 0, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY).Write("x");
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_ARCHIVE});
  FileHandle(File("a"), GENERIC_WRITE, 0, CREATE_ALWAYS).Write("x");
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_ARCHIVE});
}

TEST_F(FileNames, AttributesGoAlongWithAMove) {
  NEEDS_ATTRIBUTES();
  Make("a");
  SetAttributes("a", FILE_ATTRIBUTE_TEMPORARY);
  EXPECT_TRUE(Move("a", "b"));
  EXPECT_EQ(Attributes("b"), DWORD{FILE_ATTRIBUTE_TEMPORARY});
}

TEST_F(FileNames, AttributesGoAlongWithANewTime) {
  NEEDS_ATTRIBUTES();
  Make("a");
  SetAttributes("a", FILE_ATTRIBUTE_TEMPORARY);
  const FILETIME time{0, 0x01C00000};
  {
    const FileHandle file(File("a"), FILE_WRITE_ATTRIBUTES, kShareAll, OPEN_EXISTING);
    EXPECT_TRUE(SetFileTime(file.Get(), nullptr, nullptr, &time));
  }
  EXPECT_EQ(Attributes("a"), DWORD{FILE_ATTRIBUTE_TEMPORARY});
}

TEST_F(FileNames, DirectoryKeepsItsAttributes) {
  fs::create_directory(File("d"));
  EXPECT_TRUE(SetAttributes("d", FILE_ATTRIBUTE_HIDDEN));
  EXPECT_EQ(Attributes("d"), DWORD{FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_DIRECTORY});
  Make("d/a");
  EXPECT_EQ(Attributes("d"), DWORD{FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_DIRECTORY});
  EXPECT_TRUE(SetAttributes("d", FILE_ATTRIBUTE_NORMAL));
  EXPECT_EQ(Attributes("d"), static_cast<DWORD>(FILE_ATTRIBUTE_DIRECTORY));
}

TEST_F(FileNames, Delete) {
  Make("a");
  EXPECT_TRUE(Delete("a"));
  EXPECT_FALSE(test::FileExists(File("a")));
  FailsWith(Delete("a"), ERROR_FILE_NOT_FOUND);
  FailsWith(Delete("no/a"), ERROR_PATH_NOT_FOUND);
}

TEST_F(FileNames, DeleteIgnoresLetterCase) {
  Make("Mixed.Txt");
  EXPECT_TRUE(Delete("mIXED.tXT"));
  EXPECT_FALSE(test::FileExists(File("Mixed.Txt")));
}

TEST_F(FileNames, DeleteOfADirectoryIsRefused) {
  fs::create_directory(File("d"));
  FailsWith(Delete("d"), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(test::FileExists(File("d")));
}

TEST_F(FileNames, OpenFileIsNeitherDeletedNorMoved) {
  Make("a");
  const FileHandle open(File("a"), GENERIC_READ, kShareAll, OPEN_EXISTING);
  FailsWith(Delete("a"), ERROR_SHARING_VIOLATION);
  FailsWith(Move("a", "b"), ERROR_SHARING_VIOLATION);
  EXPECT_TRUE(test::FileExists(File("a")));
}

TEST_F(FileNames, FileOpenForDeletionIsMoved) {
  Make("a");
  const FileHandle open(File("a"), GENERIC_READ, kShareAll | FILE_SHARE_DELETE, OPEN_EXISTING);
  EXPECT_TRUE(Move("a", "b"));
}

TEST_F(FileNames, OpenDocumentIsNeitherDeletedNorMoved) {
  std::basic_string<OLECHAR> wide;
  for (const char c : File("a.mwd")) wide += static_cast<OLECHAR>(c);
  IStorage* storage = nullptr;
  ASSERT_EQ(StgCreateDocfile(wide.c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0,
                             &storage),
            S_OK);
  FailsWith(Delete("a.mwd"), ERROR_SHARING_VIOLATION);
  FailsWith(Move("a.mwd", "b.mwd"), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(FileHandle(File("a.mwd"), GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING).Error(),
            static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  Make("c.mwd");
  FailsWith(Replace("c.mwd", "a.mwd"), ERROR_ACCESS_DENIED);
  storage->Release();
  EXPECT_TRUE(Move("a.mwd", "b.mwd"));
  EXPECT_TRUE(Delete("b.mwd"));
}

TEST_F(FileNames, MoveKeepsBytesAndRefusesToReplace) {
  Make("a", "one");
  Make("b", "two");
  FailsWith(Move("a", "b"), ERROR_ALREADY_EXISTS);
  FailsWith(Move("a", "B"), ERROR_ALREADY_EXISTS);
  EXPECT_TRUE(Move("a", "c"));
  EXPECT_EQ(Bytes("c"), "one");
  EXPECT_FALSE(test::FileExists(File("a")));
}

TEST_F(FileNames, MoveOfNothingAndToNowhere) {
  Make("a");
  FailsWith(Move("no", "b"), ERROR_FILE_NOT_FOUND);
  FailsWith(Move("a", "no/b"), ERROR_PATH_NOT_FOUND);
}

TEST_F(FileNames, MoveOfADirectory) {
  fs::create_directory(File("d"));
  Make("d/a", "in it");
  EXPECT_TRUE(Move("d", "e"));
  EXPECT_EQ(Bytes("e/a"), "in it");
}

TEST_F(FileNames, ReplaceTakesTheOldFilesPlace) {
  Make("a", "new");
  Make("b", "old");
  EXPECT_TRUE(Replace("a", "b"));
  EXPECT_EQ(Bytes("b"), "new");
  EXPECT_FALSE(test::FileExists(File("a")));
}

TEST_F(FileNames, ReplaceOfAnotherSpellingLeavesOneFile) {
  Make("a", "new");
  Make("Page.htm", "old");
  EXPECT_TRUE(Replace("a", "page.HTM"));
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_.Path()), {}), 1);
  EXPECT_EQ(FileHandle(File("page.htm"), GENERIC_READ, kShareAll, OPEN_EXISTING).Read(9), "new");
}

TEST_F(FileNames, ReplaceOfADirectoryIsRefused) {
  Make("a");
  fs::create_directory(File("d"));
  FailsWith(Replace("a", "d"), ERROR_ACCESS_DENIED);
}

TEST_F(FileNames, CreateDirectory) {
  EXPECT_TRUE(CreateDirectoryA(File("d").c_str(), nullptr));
  EXPECT_TRUE(fs::is_directory(File("d")));
  FailsWith(CreateDirectoryA(File("d").c_str(), nullptr), ERROR_ALREADY_EXISTS);
  FailsWith(CreateDirectoryA(File("D").c_str(), nullptr), ERROR_ALREADY_EXISTS);
  FailsWith(CreateDirectoryA(File("no/d").c_str(), nullptr), ERROR_PATH_NOT_FOUND);
  EXPECT_TRUE(CreateDirectoryA(File("e/").c_str(), nullptr));
}

TEST_F(FileNames, RemoveDirectory) {
  fs::create_directory(File("d"));
  Make("d/a");
  FailsWith(RemoveDirectoryA(File("d").c_str()), ERROR_DIR_NOT_EMPTY);
  fs::remove(File("d/a"));
  EXPECT_TRUE(RemoveDirectoryA(File("D").c_str()));
  FailsWith(RemoveDirectoryA(File("d").c_str()), ERROR_FILE_NOT_FOUND);
  Make("f");
  FailsWith(RemoveDirectoryA(File("f").c_str()), ERROR_DIRECTORY);
}

std::string FullPath(const std::string& path) {
  char buffer[4096];
  GetFullPathNameA(path.c_str(), sizeof buffer, buffer, nullptr);
  return buffer;
}

TEST_F(FileNames, FullPathDropsDots) {
  const std::string plain = FullPath(File("a/b"));
  EXPECT_EQ(FullPath(File("a/./b")), plain);
  EXPECT_EQ(FullPath(File("a/x/../b")), plain);
  EXPECT_EQ(FullPath(File("a\\b")), plain);
}

TEST_F(FileNames, FullPathOfARelativeName) {
  const fs::path before = fs::current_path();
  fs::current_path(directory_.Path());
  const std::string full = FullPath("x.txt");
  fs::current_path(before);
  Make("x.txt", "here");
  EXPECT_EQ(test::ReadFileBytes(full), "here");
}

TEST_F(FileNames, FullPathTellsNameAndRoom) {
  char buffer[4096];
  char* name = nullptr;
  const DWORD length = GetFullPathNameA(File("a.txt").c_str(), sizeof buffer, buffer, &name);
  EXPECT_EQ(length, std::string(buffer).size());
  EXPECT_STREQ(name, "a.txt");
  EXPECT_EQ(GetFullPathNameA(File("a.txt").c_str(), 3, buffer, &name), length + 1);
  EXPECT_EQ(GetFullPathNameA("", sizeof buffer, buffer, &name), 0U);
}

}  // namespace
