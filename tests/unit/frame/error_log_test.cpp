#include "board_fixture.h"
#include "platform/win32.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace {

class ErrorLog : public test::ProgramDirectoryTest {
 protected:
  std::string Log() const { return Bytes("error.log"); }
};

std::string Stamp() {
  char stamp[256];
  FormatTime(TTime::Now(), stamp, sizeof stamp, 0x13);
  std::string text = stamp;
  text.resize(std::max<std::size_t>(text.size(), 17), ' ');
  return "[" + text + "] ";
}

TEST_F(ErrorLog, LineIsStampTextAndLineEnd) {
  // Once more should the minute end between the two looks at the clock.
  std::string expected;
  do {
    std::filesystem::remove(File("error.log"));
    expected = Stamp() + "Cannot open x\r\n";
    EXPECT_EQ(LogError("Cannot open x"), 1);
  } while (expected != Stamp() + "Cannot open x\r\n");
  EXPECT_EQ(Log(), expected);
}

TEST_F(ErrorLog, StampIsDateYearAndTwelveHourClock) {
  SYSTEMTIME before{};
  SYSTEMTIME after{};
  do {
    std::filesystem::remove(File("error.log"));
    GetLocalTime(&before);
    LogError("x");
    GetLocalTime(&after);
  } while (before.wMinute != after.wMinute);
  // Noon is 0 o'clock with PM; neither the month, the day, the year nor the hour has a leading
  // zero.
  std::string stamp = std::to_string(before.wMonth) + "/" + std::to_string(before.wDay) + "/" +
                      std::to_string(before.wYear % 100) + " " + std::to_string(before.wHour % 12) +
                      ":" + (before.wMinute < 10 ? "0" : "") + std::to_string(before.wMinute) +
                      (before.wHour < 12 ? " AM" : " PM");
  stamp.resize(std::max<std::size_t>(stamp.size(), 17), ' ');
  EXPECT_EQ(Log(), "[" + stamp + "] x\r\n");
}

TEST_F(ErrorLog, StampIsPaddedTo17Characters) {
  LogError("x");
  const std::string log = Log();
  ASSERT_GE(log.size(), 20U);
  EXPECT_EQ(log[0], '[');
  EXPECT_EQ(log.substr(18), "] x\r\n");
}

TEST_F(ErrorLog, LinesAreAppended) {
  test::WriteFileBytes(File("error.log"), "old\r\n");
  LogError("one");
  LogError("two");
  const std::string log = Log();
  EXPECT_EQ(log.substr(0, 5), "old\r\n");
  EXPECT_NE(log.find("] one\r\n["), std::string::npos);
  EXPECT_EQ(log.substr(log.size() - 7), "] two\r\n");
}

TEST_F(ErrorLog, LineThatWasCutOffGetsItsEndBeforeTheNext) {
  for (const std::string cut : {"[", "[5/1/98 0:07 PM   ] Cannot o", "x\r"}) {
    test::WriteFileBytes(File("error.log"), "old\r\n" + cut);
    LogError("next");
    const std::string log = Log();
    EXPECT_EQ(log.substr(0, 5 + cut.size() + 3), "old\r\n" + cut + "\r\n[");
    EXPECT_EQ(log.substr(5 + cut.size() + 2 + 18), "] next\r\n");
  }
}

TEST_F(ErrorLog, LogThatCannotBeOpenedGetsNothing) {
  // A directory of that name can be written to by nobody, the superuser included.
  std::filesystem::create_directory(File("error.log"));
  EXPECT_EQ(LogError("x"), 1);
  EXPECT_TRUE(std::filesystem::is_empty(File("error.log")));
}

TEST_F(ErrorLog, DirectoryThatTakesNoFileGetsNothing) {
  // Nobody can make a file in the one, the superuser included; the other is not there.
  for (const std::string& directory : {std::string("/proc"), File("missing")}) {
    ASSERT_EQ(SetProgramDirectory(directory.c_str()), 1);
    EXPECT_EQ(LogError("x"), 1);
    EXPECT_FALSE(test::FileExists(directory + "/error.log"));
  }
  EXPECT_FALSE(test::FileExists(File("missing")));
}

TEST_F(ErrorLog, LogOfMoreThan4GigabytesIsAppendedTo) {
  constexpr std::uintmax_t kSize = 0x100000003;
  test::WriteFileBytes(File("error.log"), "first");
  std::error_code error;
  std::filesystem::resize_file(File("error.log"), kSize, error);
  if (error) GTEST_SKIP() << "left out: no file of that size can be made here";
  LogError("last");
  std::ifstream log(File("error.log"), std::ios::binary);
  std::string start(5, '\0');
  log.read(start.data(), 5);
  EXPECT_EQ(start, "first");
  std::string end(100, '\0');
  log.seekg(static_cast<std::streamoff>(kSize));
  log.read(end.data(), static_cast<std::streamsize>(end.size()));
  end.resize(static_cast<std::size_t>(log.gcount()));
  EXPECT_EQ(end.substr(0, 3), "\r\n[");
  EXPECT_EQ(end.substr(std::min<std::size_t>(end.size(), 20)), "] last\r\n");
}

TEST_F(ErrorLog, LogOpenElsewhereGetsNothing) {
  const HANDLE other = CreateFileA(File("error.log").c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                   nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(other, INVALID_HANDLE_VALUE);
  EXPECT_EQ(LogError("lost"), 1);
  CloseHandle(other);
  EXPECT_EQ(Log(), "");
  LogError("kept");
  EXPECT_NE(Log().find("kept"), std::string::npos);
}

TEST_F(ErrorLog, ControlCharactersForgeNoLines) {
  LogError("a\r\n[1/1/98 0:00 AM   ] b\tc\x1B");
  const std::string log = Log();
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1);
  EXPECT_NE(log.find("] a  [1/1/98 0:00 AM   ] b c \r\n"), std::string::npos);
}

TEST_F(ErrorLog, TextIsNoFormat) {
  LogError("100%s %n");
  EXPECT_NE(Log().find("] 100%s %n\r\n"), std::string::npos);
}

TEST_F(ErrorLog, NullIsAnEmptyText) {
  EXPECT_EQ(LogError(nullptr), 1);
  EXPECT_EQ(Log().substr(18), "] \r\n");
}

TEST_F(ErrorLog, LongTextIsKept) {
  const std::string text(5000, 'x');
  LogError(text.c_str());
  EXPECT_NE(Log().find(text + "\r\n"), std::string::npos);
}

}  // namespace
