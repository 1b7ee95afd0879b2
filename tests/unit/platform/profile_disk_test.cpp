// How profile files are kept on disk here: what only the system's own calls can see.
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

class ProfileDisk : public testing::Test {
 protected:
  BOOL Set(const std::string& key, const std::string& value) const {
    return WritePrivateProfileStringA("s", key.c_str(), value.c_str(), file_.c_str());
  }
  std::string Get(const std::string& key) const {
    char buffer[256];
    GetPrivateProfileStringA("s", key.c_str(), "(none)", buffer, sizeof buffer, file_.c_str());
    return buffer;
  }
  struct stat Facts() const {
    struct stat facts {};
    EXPECT_EQ(::stat(file_.c_str(), &facts), 0);
    return facts;
  }
  test::TemporaryDirectory directory_;
  std::string file_ = directory_ / "p.ini";
};

TEST_F(ProfileDisk, NewFileIsItsOwnersAlone) {
  Set("k", "1");
  EXPECT_EQ(Facts().st_mode & 0777U, 0600U);
}

TEST_F(ProfileDisk, PermissionsSurviveANewFile) {
  Set("k", "1");
  ::chmod(file_.c_str(), 0640);
  Set("k", "longer");
  EXPECT_EQ(Facts().st_mode & 0777U, 0640U);
}

TEST_F(ProfileDisk, EqualLengthIsWrittenInPlaceAnythingElseAsANewFile) {
  Set("k", "1");
  const ino_t before = Facts().st_ino;
  Set("k", "2");
  EXPECT_EQ(Facts().st_ino, before);
  Set("k", "33");
  EXPECT_NE(Facts().st_ino, before);
  EXPECT_EQ(test::ReadFileBytes(file_), "[s]\r\nk=33\r\n");
}

// A kill or a lost machine may end a write at a sector.
TEST_F(ProfileDisk, EqualLengthAcrossASectorIsWrittenAsANewFile) {
  const std::string start = "[s]\r\na=" + std::string(480, 'a') + "\r\nk=";
  test::WriteFileBytes(file_, start + std::string(40, '1') + "\r\n");
  const ino_t before = Facts().st_ino;
  Set("k", std::string(40, '2'));
  EXPECT_NE(Facts().st_ino, before);
  EXPECT_EQ(test::ReadFileBytes(file_), start + std::string(40, '2') + "\r\n");
  const ino_t between = Facts().st_ino;
  Set("a", std::string(480, 'b'));
  EXPECT_EQ(Facts().st_ino, between);
}

TEST_F(ProfileDisk, SameValueWritesNothing) {
  Set("k", "1");
  const struct stat before = Facts();
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_TRUE(Set("k", "1"));
  EXPECT_EQ(Facts().st_ino, before.st_ino);
  EXPECT_EQ(Facts().st_mtim.tv_nsec, before.st_mtim.tv_nsec);
}

TEST_F(ProfileDisk, NothingIsLeftBeside) {
  for (int i = 0; i < 5; ++i) Set("k", std::string(static_cast<std::size_t>(i), 'x'));
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_.Path()), {}), 1);
}

TEST_F(ProfileDisk, LeftoverOfAKilledProcessIsReplaced) {
  Set("k", "1");
  test::WriteFileBytes(file_ + ".new~", "half");
  EXPECT_TRUE(Set("k", "22"));
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_.Path()), {}), 1);
}

TEST_F(ProfileDisk, LinkStaysALink) {
  test::WriteFileBytes(directory_ / "real.ini", "[s]\r\nk=1\r\n");
  fs::create_symlink(directory_ / "real.ini", file_);
  EXPECT_TRUE(Set("k", "longer"));
  EXPECT_TRUE(fs::is_symlink(file_));
  EXPECT_EQ(test::ReadFileBytes(directory_ / "real.ini"), "[s]\r\nk=longer\r\n");
}

TEST_F(ProfileDisk, LinkThatLeadsElsewhereIsFollowedAnew) {
  test::WriteFileBytes(directory_ / "one.ini", "[s]\r\nk=1\r\n");
  test::WriteFileBytes(directory_ / "two.ini", "[s]\r\nk=2\r\n");
  fs::create_symlink("one.ini", file_);
  EXPECT_EQ(Get("k"), "1");
  fs::create_symlink("two.ini", directory_ / "new");
  fs::rename(directory_ / "new", file_);
  EXPECT_EQ(Get("k"), "2");
  EXPECT_TRUE(Set("k", "3"));
  EXPECT_EQ(test::ReadFileBytes(directory_ / "one.ini"), "[s]\r\nk=1\r\n");
  EXPECT_EQ(test::ReadFileBytes(directory_ / "two.ini"), "[s]\r\nk=3\r\n");
}

TEST_F(ProfileDisk, RelativeNameFollowsTheCurrentDirectory) {
  const fs::path before = fs::current_path();
  char value[16];
  for (const char* name : {"one", "two"}) {
    fs::create_directory(directory_ / name);
    fs::current_path(directory_ / name);
    test::WriteFileBytes("relative.ini", std::string("[s]\r\nk=") + name + "\r\n");
    GetPrivateProfileStringA("s", "k", "", value, sizeof value, "relative.ini");
    EXPECT_STREQ(value, name);
  }
  fs::current_path(before);
}

TEST_F(ProfileDisk, ChangeOfAnotherProgramIsKeptByTheNextWrite) {
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(Set("k", std::to_string(10 + i)));
    // Within one tick of the clock, and of equal size from the second round on.
    std::string bytes = test::ReadFileBytes(file_);
    if (i == 0) bytes += "other=00\r\n";
    const std::size_t at = bytes.find("other=") + 6;
    bytes.replace(at, 2, std::to_string(50 + i));
    test::WriteFileBytes(file_, bytes);
    EXPECT_TRUE(Set("l", std::to_string(10 + i)));
    ASSERT_EQ(Get("other"), std::to_string(50 + i));
    ASSERT_EQ(Get("k"), std::to_string(10 + i));
  }
}

TEST_F(ProfileDisk, FileThatGrewOrShrankIsReadWhole) {
  Set("k", "1");
  for (const std::size_t size : {std::size_t{100'000}, std::size_t{10}, std::size_t{40'000}}) {
    test::WriteFileBytes(
        file_, "[s]\r\n" + std::string(size, ';') + "\r\nk=" + std::to_string(size) + "\r\n");
    ASSERT_EQ(Get("k"), std::to_string(size));
  }
}

TEST_F(ProfileDisk, ReadOnlyDirectoryIsWrittenInPlace) {
  if (::geteuid() == 0) GTEST_SKIP() << "left out: the superuser may write everywhere";
  Set("k", "1");
  fs::permissions(directory_.Path(), fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_TRUE(Set("k", "longer"));
  fs::permissions(directory_.Path(), fs::perms::owner_all);
  EXPECT_EQ(Get("k"), "longer");
}

TEST_F(ProfileDisk, FileIsFoundIgnoringLetterCase) {
  test::WriteFileBytes(directory_ / "P.INI", "[s]\r\nk=1\r\n");
  EXPECT_EQ(Get("k"), "1");
  EXPECT_TRUE(Set("k", "longer"));
  EXPECT_EQ(std::distance(fs::directory_iterator(directory_.Path()), {}), 1);
  EXPECT_EQ(Get("k"), "longer");
}

TEST_F(ProfileDisk, FileReplacedByRenameIsSeen) {
  Set("k", "1");
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(Get("k"), "1");
  test::WriteFileBytes(directory_ / "other", "[s]\r\nk=2\r\n");
  fs::rename(directory_ / "other", file_);
  EXPECT_EQ(Get("k"), "2");
}

TEST_F(ProfileDisk, ChangeWithTheOldTimePutBackIsSeen) {
  Set("k", "1");
  const auto time = fs::last_write_time(file_);
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  EXPECT_EQ(Get("k"), "1");
  test::WriteFileBytes(file_, "[s]\r\nk=2\r\n");
  fs::last_write_time(file_, time);
  EXPECT_EQ(Get("k"), "2");
}

TEST_F(ProfileDisk, ProcessesLoseNoWrite) {
  std::vector<pid_t> children;
  for (int p = 0; p < 3; ++p) {
    const pid_t child = ::fork();
    if (child == 0) {
      for (int i = 0; i < 30; ++i) {
        Set("k" + std::to_string(p * 100 + i), std::string(static_cast<std::size_t>(i), 'x'));
      }
      ::_exit(0);
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  for (int p = 0; p < 3; ++p) {
    for (int i = 1; i < 30; ++i) {
      EXPECT_EQ(Get("k" + std::to_string(p * 100 + i)).size(), static_cast<std::size_t>(i));
    }
  }
}

TEST_F(ProfileDisk, UnsyncedFilesAreWrittenAllTheSame) {
  brevant::SetProfileSync(file_.c_str(), false);
  EXPECT_TRUE(Set("k", "1"));
  EXPECT_TRUE(Set("k", "22"));
  EXPECT_EQ(test::ReadFileBytes(file_), "[s]\r\nk=22\r\n");
  brevant::SetProfileSync(file_.c_str(), true);
  EXPECT_TRUE(Set("k", "1"));
}

TEST_F(ProfileDisk, NoNulByteLeadsOutOfAValue) {
  test::WriteFileBytes(file_, std::string("[s]\r\nk=a\0b\r\nl=2\r\n", 17));
  EXPECT_EQ(Get("k"), "a");
  EXPECT_EQ(Get("l"), "2");
}

TEST_F(ProfileDisk, FileOfLineEndsIsSurvived) {
  test::WriteFileBytes(file_, std::string(4'000'000, '\n') + "[s]\nk=1\n");
  EXPECT_EQ(Get("k"), "1");
  EXPECT_TRUE(Set("l", "2"));
  EXPECT_EQ(Get("l"), "2");
}

}  // namespace
