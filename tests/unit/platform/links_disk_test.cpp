// Symbolic links in the places of files: what opens them, and how far they are followed.
#include "file_handle.h"
#include "platform/posix/structured_storage_file.h"
#include "platform/unpredictable_name.h"
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class Links : public testing::Test {
 protected:
  Links() {
    fs::create_directories(directory_ / "in/below");
    fs::create_directory(directory_ / "out");
    test::WriteFileBytes(directory_ / "out/file", "outside");
    test::WriteFileBytes(directory_ / "in/file", "beside");
    test::WriteFileBytes(directory_ / "in/below/file", "below");
  }
  std::string In(const std::string& name) const { return directory_ / ("in/" + name); }
  std::string Out(const std::string& name) const { return directory_ / ("out/" + name); }
  std::string Link(const std::string& target) const {
    fs::remove(In("link"));
    fs::create_symlink(target, In("link"));
    return In("link");
  }
  static HANDLE Open(const std::string& path, DWORD access, DWORD creation) {
    return CreateFileA(path.c_str(), access, 0, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
  }
  static bool Opens(const std::string& path, DWORD access, DWORD creation) {
    const HANDLE handle = Open(path, access, creation);
    if (handle == INVALID_HANDLE_VALUE) return false;
    CloseHandle(handle);
    return true;
  }

  test::TemporaryDirectory directory_;
};

TEST_F(Links, AreFollowedForWritingOnlyInsideTheirDirectory) {
  for (const DWORD access : {GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE, FILE_WRITE_ATTRIBUTES}) {
    for (const DWORD creation : {OPEN_EXISTING, OPEN_ALWAYS}) {
      EXPECT_TRUE(Opens(Link("file"), access, creation));
      EXPECT_TRUE(Opens(Link("below/file"), access, creation));
      EXPECT_TRUE(Opens(Link(In("below/../file")), access, creation));
      for (const std::string& target :
           {Out("file"), std::string("../out/file"), Out("new"), std::string("../out/new"),
            std::string("new"), std::string("link")}) {
        EXPECT_FALSE(Opens(Link(target), access, creation)) << target;
      }
    }
  }
  EXPECT_EQ(test::ReadFileBytes(Out("file")), "outside");
  EXPECT_FALSE(test::FileExists(Out("new")));
  EXPECT_FALSE(test::FileExists(In("new")));
}

TEST_F(Links, TellThatTheyAreRefused) {
  EXPECT_FALSE(Opens(Link(Out("file")), GENERIC_WRITE, OPEN_EXISTING));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(Links, OutOfTheirDirectoryNeverLoseContent) {
  for (const DWORD creation : {CREATE_ALWAYS, TRUNCATE_EXISTING}) {
    EXPECT_FALSE(Opens(Link(Out("file")), GENERIC_WRITE, creation));
  }
  EXPECT_EQ(test::ReadFileBytes(Out("file")), "outside");
  EXPECT_TRUE(Opens(Link("file"), GENERIC_WRITE, CREATE_ALWAYS));
  EXPECT_EQ(test::ReadFileBytes(In("file")), "");
}

TEST_F(Links, AreNoPlaceForANewFile) {
  for (const std::string& target : {std::string("file"), Out("new"), std::string("new")}) {
    EXPECT_FALSE(Opens(Link(target), GENERIC_WRITE, CREATE_NEW)) << target;
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_EXISTS});
  }
  EXPECT_FALSE(test::FileExists(Out("new")));
}

TEST_F(Links, AreFollowedForReading) {
  EXPECT_TRUE(Opens(Link(Out("file")), GENERIC_READ, OPEN_EXISTING));
}

// A link that leads to another is judged by where the last one ends.
TEST_F(Links, InARowAreJudgedByTheirEnd) {
  fs::create_symlink(Out("file"), In("second"));
  EXPECT_FALSE(Opens(Link("second"), GENERIC_WRITE, OPEN_EXISTING));
  fs::remove(In("second"));
  fs::create_symlink(In("file"), Out("back"));
  EXPECT_TRUE(Opens(Link(Out("back")), GENERIC_WRITE, OPEN_EXISTING));
}

TEST_F(Links, OfADirectoryAreFollowed) {
  fs::create_directory_symlink(directory_ / "out", In("directory"));
  EXPECT_TRUE(Opens(In("directory/file"), GENERIC_WRITE, OPEN_EXISTING));
  EXPECT_TRUE(Opens(In("directory/new"), GENERIC_WRITE, CREATE_NEW));
}

TEST_F(Links, DoNotHandAttributesOrTimesOn) {
  struct stat before {};
  struct stat after {};
  ASSERT_EQ(::stat(Out("file").c_str(), &before), 0);
  const std::string link = Link(Out("file"));
  EXPECT_FALSE(SetFileAttributesA(link.c_str(), FILE_ATTRIBUTE_TEMPORARY));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  const FILETIME time{1, 30'000'000};
  EXPECT_NE(brevant::posix::SetFileTimes(link, nullptr, nullptr, &time), S_OK);
  ASSERT_EQ(::stat(Out("file").c_str(), &after), 0);
  EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
  EXPECT_EQ(before.st_mtim.tv_sec, after.st_mtim.tv_sec);
  EXPECT_TRUE(SetFileAttributesA(Link("file").c_str(), FILE_ATTRIBUTE_TEMPORARY));
}

TEST_F(Links, AreMovedDeletedAndReplacedAsThemselves) {
  ASSERT_TRUE(MoveFileA(Link(Out("file")).c_str(), In("moved").c_str()));
  EXPECT_TRUE(fs::is_symlink(In("moved")));
  ASSERT_TRUE(MoveFileExA(In("file").c_str(), In("moved").c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_FALSE(fs::is_symlink(In("moved")));
  ASSERT_TRUE(DeleteFileA(Link(Out("file")).c_str()));
  EXPECT_EQ(test::ReadFileBytes(Out("file")), "outside");
}

TEST_F(Links, LeadOutOfADirectoryOrNot) {
  const auto leadsOut = [&](const std::string& target, const char* directory) {
    return brevant::LeadsOut(Link(target).c_str(), directory);
  };
  const std::string in = directory_ / "in";
  const std::string below = directory_ / "in/below/";
  const std::string all = directory_.Path();
  EXPECT_FALSE(leadsOut("file", nullptr));
  EXPECT_FALSE(leadsOut("below/file", nullptr));
  EXPECT_TRUE(leadsOut("../out/file", nullptr));
  EXPECT_TRUE(leadsOut("nowhere", nullptr));
  EXPECT_FALSE(leadsOut("../out/file", all.c_str()));
  EXPECT_TRUE(leadsOut("file", below.c_str()));
  EXPECT_FALSE(leadsOut("below/file", in.c_str()));
  // A neighbour whose name begins alike is another directory.
  fs::create_directory(directory_ / "inside");
  test::WriteFileBytes(directory_ / "inside/file", "x");
  EXPECT_TRUE(leadsOut("../inside/file", in.c_str()));
  // What is no link leads nowhere.
  EXPECT_FALSE(brevant::LeadsOut(In("file").c_str(), below.c_str()));
  EXPECT_FALSE(brevant::LeadsOut(In("gone").c_str(), nullptr));
  // However it is spelled.
  Link("../out/file");
  EXPECT_TRUE(brevant::LeadsOut(In("LINK").c_str(), nullptr));
}

TEST_F(Links, AreNotDocumentsOfAnotherDirectory) {
  const std::string path = Out("x.mwd");
  std::unique_ptr<brevant::posix::StorageFile> file;
  for (const bool writable : {true, false}) {
    const std::string link = Link(Out("file"));
    EXPECT_EQ(brevant::posix::OpenStorageFile(link, writable, false, &file), STG_E_ACCESSDENIED);
    EXPECT_EQ(brevant::posix::OpenStorageFile(Link("file"), writable, false, &file), S_OK);
    file.reset();
  }
  EXPECT_EQ(brevant::posix::CreateStorageFile(Link(Out("file")), true, &file), STG_E_ACCESSDENIED);
}

TEST(NewFiles, OfTheOwnerAloneHaveNoOtherMode) {
  const test::TemporaryDirectory directory;
  const mode_t before = ::umask(0);
  const auto mode = [&](const std::string& name) {
    struct stat facts {};
    return ::stat((directory / name).c_str(), &facts) == 0 ? facts.st_mode & 07777U : 0U;
  };
  for (void* const security : {static_cast<void*>(nullptr), brevant::OwnerOnly()}) {
    const HANDLE file = CreateFileA((directory / "f").c_str(), GENERIC_WRITE, 0, security,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    CloseHandle(file);
    ASSERT_TRUE(CreateDirectoryA((directory / "d/").c_str(), security));
    EXPECT_EQ(mode("f"), security == nullptr ? 0666U : 0600U);
    EXPECT_EQ(mode("d"), security == nullptr ? 0777U : 0700U);
    ASSERT_TRUE(DeleteFileA((directory / "f").c_str()));
    ASSERT_TRUE(RemoveDirectoryA((directory / "d").c_str()));
  }
  ::umask(before);
  int other = 0;
  EXPECT_EQ(
      CreateFileA((directory / "f").c_str(), GENERIC_WRITE, 0, &other, CREATE_NEW, 0, nullptr),
      INVALID_HANDLE_VALUE);
  EXPECT_FALSE(CreateDirectoryA((directory / "d").c_str(), &other));
}

TEST(UnpredictableNames, AreLongAndNeverTheSame) {
  std::set<std::string> names;
  for (int i = 0; i < 2000; ++i) names.insert(brevant::platform::UnpredictableName());
  EXPECT_EQ(names.size(), 2000U);
  for (const std::string& name : names) {
    EXPECT_EQ(name.size(), 24U);
    EXPECT_EQ(name.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz"), std::string::npos);
  }
}

}  // namespace
