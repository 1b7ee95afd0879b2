#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

class Profile : public testing::Test {
 protected:
  std::string Get(const std::string& key, const std::string& section = "s") const {
    char buffer[256];
    GetPrivateProfileStringA(section.c_str(), key.c_str(), "(none)", buffer, sizeof buffer,
                             file_.c_str());
    return buffer;
  }
  BOOL Set(const std::string& key, const std::string& value) const {
    return WritePrivateProfileStringA("s", key.c_str(), value.c_str(), file_.c_str());
  }
  std::string Bytes() const { return test::ReadFileBytes(file_); }
  void Write(const std::string& bytes) const { test::WriteFileBytes(file_, bytes); }

  test::TemporaryDirectory directory_;
  std::string file_ = directory_ / "p.ini";
};

TEST_F(Profile, ValueIsInTheFileWhenTheCallReturns) {
  EXPECT_TRUE(Set("k", "1"));
  EXPECT_EQ(Bytes(), "[s]\r\nk=1\r\n");
  EXPECT_TRUE(Set("k", "2"));
  EXPECT_EQ(Bytes(), "[s]\r\nk=2\r\n");
  EXPECT_TRUE(Set("k", "longer"));
  EXPECT_EQ(Bytes(), "[s]\r\nk=longer\r\n");
  EXPECT_EQ(Get("k"), "longer");
}

TEST_F(Profile, ChangesOfOthersAreSeen) {
  Set("k", "1");
  EXPECT_EQ(Get("k"), "1");
  // Of equal size and within one tick of the clock.
  for (int i = 0; i < 50; ++i) {
    const std::string value(1, static_cast<char>('a' + i % 26));
    Write("[s]\r\nk=" + value + "\r\n");
    ASSERT_EQ(Get("k"), value);
  }
}

TEST_F(Profile, FileThatGoesIsEmpty) {
  Set("k", "1");
  EXPECT_EQ(Get("k"), "1");
  std::filesystem::remove(file_);
  EXPECT_EQ(Get("k"), "(none)");
  EXPECT_FALSE(test::FileExists(file_));
  EXPECT_TRUE(Set("l", "2"));
  EXPECT_EQ(Bytes(), "[s]\r\nl=2\r\n");
}

TEST_F(Profile, ValuesOfEqualLengthInTheMiddle) {
  Write("[s]\r\na=1\r\nbb=22\r\nc=3\r\n");
  EXPECT_TRUE(Set("bb", "xy"));
  EXPECT_TRUE(Set("c", "z"));
  EXPECT_EQ(Bytes(), "[s]\r\na=1\r\nbb=xy\r\nc=z\r\n");
  EXPECT_EQ(Get("a") + Get("bb") + Get("c"), "1xyz");
}

TEST_F(Profile, QuotedAndBlankValuesOfEqualLength) {
  Write("[s]\r\na=12345\r\nb=1\r\n");
  Set("a", " 123 ");
  EXPECT_EQ(Get("a"), "123");
  Set("a", "\"x y\"");
  EXPECT_EQ(Get("a"), "x y");
  Set("a", "98765");
  EXPECT_EQ(Get("a"), "98765");
  EXPECT_EQ(Get("b"), "1");
}

TEST_F(Profile, LineEndInAValueOfEqualLength) {
  Write("[s]\r\na=1234567\r\nz=1\r\n");
  Set("a", "1\r\nb=23");
  EXPECT_EQ(Get("a"), "1");
  EXPECT_EQ(Get("b"), "23");
  EXPECT_EQ(Get("z"), "1");
}

TEST_F(Profile, AValueOfEqualLengthThatMakesItsLineASection) {
  Write("[s]\r\n[a=12\r\nb=1\r\n");
  EXPECT_EQ(Get("[a"), "12");
  Set("[a", "x]");
  EXPECT_EQ(Get("[a"), "(none)");
  EXPECT_EQ(Get("b"), "(none)") << "it is in that section now";
}

TEST_F(Profile, ManyFilesAtOnce) {
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 20; ++i) {
      const std::string file = directory_ / ("f" + std::to_string(i) + ".ini");
      const std::string value = std::to_string(i * 100 + round);
      ASSERT_TRUE(WritePrivateProfileStringA("s", "k", value.c_str(), file.c_str()));
      ASSERT_EQ(test::ReadFileBytes(file), "[s]\r\nk=" + value + "\r\n");
    }
  }
}

TEST_F(Profile, FileInAMissingDirectoryCannotBeWritten) {
  EXPECT_FALSE(WritePrivateProfileStringA("s", "k", "1", (directory_ / "no/p.ini").c_str()));
  char buffer[16];
  EXPECT_EQ(GetPrivateProfileStringA("s", "k", "d", buffer, sizeof buffer,
                                     (directory_ / "no/p.ini").c_str()),
            1U);
}

TEST_F(Profile, DirectoryIsNoProfile) {
  EXPECT_FALSE(WritePrivateProfileStringA("s", "k", "1", directory_.Path().c_str()));
}

TEST_F(Profile, NullBufferAndZeroSizeAreHarmless) {
  Set("k", "1");
  EXPECT_EQ(GetPrivateProfileStringA("s", "k", "d", nullptr, 0, file_.c_str()), 0U);
}

TEST_F(Profile, LongLinesAndBinaryBytes) {
  std::string bytes = "[s]\r\n" + std::string(300'000, 'x') + "\r\nk=1\r\n";
  for (int i = 1; i < 256; ++i) bytes += static_cast<char>(i);
  bytes += "\r\nlast=2\r\n";
  Write(bytes);
  EXPECT_EQ(Get("k"), "1");
  EXPECT_EQ(Get("last"), "2");
}

TEST_F(Profile, ManyKeys) {
  std::string bytes = "[s]\r\n";
  for (int i = 0; i < 20'000; ++i)
    bytes += "key" + std::to_string(i) + "=" + std::to_string(i) + "\r\n";
  Write(bytes);
  for (int i = 0; i < 20'000; i += 997)
    EXPECT_EQ(Get("key" + std::to_string(i)), std::to_string(i));
}

TEST_F(Profile, ThreadsLoseNoWrite) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, t] {
      for (int i = 0; i < 25; ++i) Set("k" + std::to_string(t * 100 + i), std::to_string(i));
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < 4; ++t) {
    for (int i = 0; i < 25; ++i) {
      EXPECT_EQ(Get("k" + std::to_string(t * 100 + i)), std::to_string(i));
    }
  }
}

}  // namespace
