// Sharing between processes, and files of more than 4 GB: what only this side promises.
#include "file_handle.h"
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using test::FileHandle;
using test::kShareAll;

// Another process that has a file open until it is killed.
class Holder {
 public:
  Holder(const std::string& path, DWORD access, DWORD share) {
    int ready[2];
    if (::pipe(ready) != 0) return;
    child_ = ::fork();
    if (child_ == 0) {
      const FileHandle file(path, access, share, OPEN_EXISTING);
      const char mark = file.IsOpen() ? '+' : '-';
      if (::write(ready[1], &mark, 1) == 1) ::pause();
      ::_exit(0);
    }
    char mark = '-';
    holds_ = ::read(ready[0], &mark, 1) == 1 && mark == '+';
    ::close(ready[0]);
    ::close(ready[1]);
  }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;
  ~Holder() { Kill(); }

  bool Holds() const { return holds_; }
  void Kill() {
    if (child_ <= 0) return;
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
    child_ = -1;
  }

 private:
  pid_t child_ = -1;
  bool holds_ = false;
};

class SharingDisk : public testing::Test {
 protected:
  SharingDisk() { test::WriteFileBytes(file_, "x"); }
  test::TemporaryDirectory directory_;
  std::string file_ = directory_ / "a";
};

TEST_F(SharingDisk, ExclusiveFileOfAnotherProcessIsKeptFromEverybody) {
  Holder other(file_, GENERIC_WRITE, 0);
  ASSERT_TRUE(other.Holds());
  EXPECT_EQ(FileHandle(file_, GENERIC_READ, kShareAll, OPEN_EXISTING).Error(),
            ERROR_SHARING_VIOLATION);
  EXPECT_FALSE(DeleteFileA(file_.c_str()));
  EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
  EXPECT_FALSE(MoveFileA(file_.c_str(), (directory_ / "b").c_str()));
  EXPECT_EQ(GetLastError(), ERROR_SHARING_VIOLATION);
  test::WriteFileBytes(directory_ / "c", "new");
  EXPECT_FALSE(MoveFileExA((directory_ / "c").c_str(), file_.c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
}

TEST_F(SharingDisk, FileOfAKilledProcessIsFree) {
  Holder other(file_, GENERIC_WRITE, 0);
  ASSERT_TRUE(other.Holds());
  other.Kill();
  EXPECT_TRUE(FileHandle(file_, GENERIC_WRITE, 0, OPEN_EXISTING).IsOpen());
  EXPECT_TRUE(DeleteFileA(file_.c_str()));
}

TEST_F(SharingDisk, SharedFileOfAnotherProcessIsOpenToSharers) {
  Holder other(file_, GENERIC_READ, kShareAll);
  ASSERT_TRUE(other.Holds());
  EXPECT_TRUE(FileHandle(file_, GENERIC_READ, kShareAll, OPEN_EXISTING).IsOpen());
  EXPECT_EQ(FileHandle(file_, GENERIC_WRITE, 0, OPEN_EXISTING).Error(), ERROR_SHARING_VIOLATION);
}

TEST_F(SharingDisk, PointerBeyond32BitsNeedsTheHighHalf) {
  const FileHandle file(file_, GENERIC_WRITE, 0, OPEN_EXISTING);
  LONG high = 1;
  EXPECT_EQ(SetFilePointer(file.Get(), 5, &high, FILE_BEGIN), 5U);
  EXPECT_EQ(SetFilePointer(file.Get(), 1, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  high = 0;
  EXPECT_EQ(SetFilePointer(file.Get(), 0, &high, FILE_CURRENT), 5U);
  EXPECT_EQ(high, 1);
}

}  // namespace
