// The platform's functions when memory runs out at any of their allocations: a failure with its
// code, as the platform's own give it, never an exception, and no descriptor is left open.
#include "file_handle.h"
#include "platform/win32.h"
#include "support/failing_memory.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>

namespace {

namespace fs = std::filesystem;

class NoMemory : public testing::Test {
 protected:
  // A name long enough to need an allocation for every copy.
  std::string File(const std::string& name) const {
    return directory_ / (name + " with a name of some length.txt");
  }
  static long OpenDescriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
  }
  // Runs the call, which tells whether it succeeded, with ever more memory until it does.
  static void NeedsMemory(const std::function<bool()>& call) {
    const long before = OpenDescriptors();
    bool done = false;
    for (long allowed = 0; !done && allowed < 1000; ++allowed) {
      DWORD error = 0;
      {
        const test::FailingMemory memory(allowed);
        done = call();
        error = GetLastError();
      }
      if (done) break;
      EXPECT_EQ(error, ERROR_NOT_ENOUGH_MEMORY);
      EXPECT_LE(OpenDescriptors(), before);  // files kept open may give way
    }
    EXPECT_TRUE(done);
  }
  test::TemporaryDirectory directory_;
};

TEST_F(NoMemory, OpeningAFile) {
  const std::string name = File("a");
  HANDLE file = INVALID_HANDLE_VALUE;
  NeedsMemory([&] {
    file = CreateFileA(name.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
    return file != INVALID_HANDLE_VALUE;
  });
  EXPECT_TRUE(CloseHandle(file));
}

TEST_F(NoMemory, TimesOfAFile) {
  const test::FileHandle file(File("a"), GENERIC_WRITE, 0, OPEN_ALWAYS);
  const FILETIME time{0, 0x01C00000};
  FILETIME created{};
  FILETIME modified{};
  NeedsMemory([&] { return SetFileTime(file.Get(), &time, nullptr, &time) != FALSE; });
  NeedsMemory([&] { return GetFileTime(file.Get(), &created, nullptr, &modified) != FALSE; });
  EXPECT_EQ(CompareFileTime(&created, &time), 0);
  EXPECT_EQ(CompareFileTime(&modified, &time), 0);
}

TEST_F(NoMemory, Attributes) {
  const std::string name = File("a");
  test::WriteFileBytes(name, "x");
  NeedsMemory([&] { return SetFileAttributesA(name.c_str(), FILE_ATTRIBUTE_TEMPORARY) != FALSE; });
  NeedsMemory([&] { return GetFileAttributesA(name.c_str()) == FILE_ATTRIBUTE_TEMPORARY; });
}

TEST_F(NoMemory, MovingAndDeleting) {
  const std::string from = File("a");
  const std::string to = File("b");
  test::WriteFileBytes(from, "x");
  test::WriteFileBytes(to, "y");
  NeedsMemory(
      [&] { return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE; });
  EXPECT_EQ(test::ReadFileBytes(to), "x");
  NeedsMemory([&] { return DeleteFileA(to.c_str()) != FALSE; });
}

TEST_F(NoMemory, Directories) {
  const std::string name = File("d");
  NeedsMemory([&] { return CreateDirectoryA(name.c_str(), nullptr) != FALSE; });
  NeedsMemory([&] { return RemoveDirectoryA(name.c_str()) != FALSE; });
}

TEST_F(NoMemory, Paths) {
  char path[4096];
  NeedsMemory([&] { return GetModuleFileNameA(nullptr, path, sizeof path) != 0; });
  NeedsMemory([&] {
    return GetFullPathNameA("a relative name of some length", sizeof path, path, nullptr) != 0;
  });
}

TEST_F(NoMemory, Searching) {
  test::WriteFileBytes(File("a"), "x");
  test::WriteFileBytes(File("b"), "x");
  const std::string pattern = directory_ / "*some length*";
  WIN32_FIND_DATAA data;
  HANDLE search = INVALID_HANDLE_VALUE;
  NeedsMemory([&] {
    search = FindFirstFileA(pattern.c_str(), &data);
    return search != INVALID_HANDLE_VALUE;
  });
  NeedsMemory([&] { return FindNextFileA(search, &data) != FALSE; });
  EXPECT_TRUE(FindClose(search));
}

TEST_F(NoMemory, ProfilesStayWhole) {
  const std::string name = File("p");
  test::WriteFileBytes(name, "[s]\r\nfirst key of some length=1\r\n");
  NeedsMemory([&] {
    return WritePrivateProfileStringA("s", "second key of some length", "a value of some length",
                                      name.c_str()) != FALSE;
  });
  char value[100] = "";
  GetPrivateProfileStringA("s", "first key of some length", "", value, sizeof value, name.c_str());
  EXPECT_STREQ(value, "1");
  EXPECT_EQ(test::ReadFileBytes(name),
            "[s]\r\nfirst key of some length=1\r\n"
            "second key of some length=a value of some length\r\n");
}

}  // namespace
