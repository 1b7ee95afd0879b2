#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

TEST(Module, FileNameIsTheRunningProgram) {
  char path[4096];
  const DWORD length = GetModuleFileNameA(nullptr, path, sizeof path);
  EXPECT_EQ(length, std::strlen(path));
  EXPECT_TRUE(test::FileExists(path));
  EXPECT_NE(std::string(path).find("unit_platform"), std::string::npos);
}

TEST(Module, FileNameIsCutAtTheBuffer) {
  char path[4096];
  GetModuleFileNameA(nullptr, path, sizeof path);
  char shorter[6] = "?????";
  EXPECT_EQ(GetModuleFileNameA(nullptr, shorter, sizeof shorter), sizeof shorter);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(std::string(shorter, 5), std::string(path, 5));
}

TEST(Module, TemporaryPathEndsInASeparatorAndExists) {
  char path[4096];
  const DWORD length = GetTempPathA(sizeof path, path);
  ASSERT_EQ(length, std::strlen(path));
  EXPECT_TRUE(path[length - 1] == '/' || path[length - 1] == '\\');
  EXPECT_TRUE(std::filesystem::is_directory(path));
}

TEST(Module, TemporaryPathTellsTheRoomItNeeds) {
  char path[4096];
  const DWORD length = GetTempPathA(sizeof path, path);
  EXPECT_EQ(GetTempPathA(1, path), length + 1);
}

TEST(Module, LastErrorBelongsToTheThread) {
  SetLastError(ERROR_SHARING_VIOLATION);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
  SetLastError(ERROR_SUCCESS);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_SUCCESS));
}

}  // namespace
