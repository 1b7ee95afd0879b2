// Every operation of the frame when memory runs out at any of its allocations: a failure result or
// a default, never an exception, and nothing is broken afterwards.
#include "board_fixture.h"
#include "frame/library.h"
#include "platform/win32.h"
#include "support/failing_memory.h"

#include <string>

namespace {

// Longer than what a string holds without an allocation.
constexpr char kKey[] = "A key of more than a few characters";
constexpr char kValue[] = "a value of more than a few characters";

class NoMemory : public test::ProgramDirectoryTest {
 protected:
  NoMemory() { Open(); }
  ~NoMemory() override { CloseSetup(setup_); }
  TSetup& Open() {
    CloseSetup(setup_);
    setup_ = OpenSetup("settings.ini");
    return *setup_;
  }
  TSetup* setup_ = nullptr;
};

TEST_F(NoMemory, OpeningGivesNull) {
  TSetup* setup = nullptr;
  test::ForEveryShortage([&] { setup = OpenSetup("a name of more than a few characters.ini"); },
                         [&] { EXPECT_EQ(setup, nullptr); });
  EXPECT_NE(setup, nullptr);
  CloseSetup(setup);
}

TEST_F(NoMemory, OpeningTheStateGivesNullOrAUsableOne) {
  TPersistentState* state = nullptr;
  test::ForEveryShortage([&] { state = OpenPersistentState("a state with a long name.ini"); },
                         [&] {
                           EXPECT_TRUE(state == nullptr || state->Result("%s", "x") != 0);
                           ClosePersistentState(state);
                         });
  EXPECT_NE(state, nullptr);
  ClosePersistentState(state);
}

TEST_F(NoMemory, CacheRefusesATextAndStaysWhole) {
  int index = 0;
  test::ForEveryShortage([&] { index = setup_->SetString(kKey, kValue); },
                         [&] {
                           EXPECT_EQ(index, -1);
                           EXPECT_STREQ(setup_->String(kKey), "");
                         });
  EXPECT_EQ(index, 0);
  EXPECT_STREQ(setup_->String(kKey), kValue);
  EXPECT_EQ(setup_->SetString("the next one", kValue), 1);
}

TEST_F(NoMemory, CacheRefusesANumberAndStaysWhole) {
  int index = 0;
  test::ForEveryShortage([&] { index = setup_->SetNumber(kKey, 7); },
                         [&] {
                           EXPECT_EQ(index, -1);
                           EXPECT_EQ(setup_->Number(kKey), 0U);
                         });
  EXPECT_EQ(index, 0);
  EXPECT_EQ(setup_->Number(kKey), 7U);
  EXPECT_EQ(setup_->SetNumber("the next one", 8), 1);
}

TEST_F(NoMemory, WritingATextGives0) {
  int result = 0;
  test::ForEveryShortage([&] { result = setup_->String(kKey, kValue); },
                         [&] { EXPECT_EQ(result, 0); });
  EXPECT_NE(result, 0);
  EXPECT_STREQ(Open().String(kKey), kValue);
}

TEST_F(NoMemory, WritingANumberGives0OrMinus1) {
  int result = 0;
  test::ForEveryShortage([&] { result = setup_->Number(kKey, DWORD{4'000'000'000}); },
                         [&] { EXPECT_TRUE(result == 0 || result == -1) << result; });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(Open().Number(kKey), 4'000'000'000U);
}

TEST_F(NoMemory, ReadingGivesTheDefault) {
  WriteSettings("BBS Name=a board with a name of some length\r\n");
  std::string read(100, '\0');
  test::ForEveryShortage(
      [&] {
        const char* text = setup_->String("BBS Name");
        read.assign(text);  // fits
      },
      [&] { EXPECT_EQ(read, "Tavernix"); });
  EXPECT_EQ(read, "a board with a name of some length");
}

TEST_F(NoMemory, DefaultsAreEmpty) {
  setup_->SetString("POP3 Account", "an account with a long name");
  setup_->SetString("POP3 Server", "a server with a long name");
  std::string read(200, '\0');
  test::ForEveryShortage([&] { read.assign(setup_->DefaultString("E-Mail Address")); },
                         [&] { EXPECT_EQ(read, ""); });
  EXPECT_EQ(read, "an account with a long name@a server with a long name");
}

TEST_F(NoMemory, ErrorAndResultGive0) {
  TPersistentState* state = OpenPersistentState("state.ini");
  int result = 0;
  test::ForEveryShortage([&] { result = state->Error("%s", kValue); },
                         [&] { EXPECT_EQ(result, 0); });
  test::ForEveryShortage([&] { result = state->Result("%s", kValue); },
                         [&] { EXPECT_EQ(result, 0); });
  EXPECT_NE(result, 0);
  ClosePersistentState(state);
}

TEST_F(NoMemory, ErrorLogLosesALineAtMost) {
  int result = 0;
  test::ForEveryShortage([&] { result = LogError(kValue); }, [&] { EXPECT_EQ(result, 1); });
  const std::string line = std::string("] ") + kValue + "\r\n";
  EXPECT_EQ(Bytes("error.log").find(line), 18U);
  EXPECT_EQ(Bytes("error.log").size(), 18 + line.size());
}

TEST_F(NoMemory, ProgramDirectoryStaysWhatItWas) {
  const std::string before = brevant::ProgramDirectory();
  int result = 0;
  test::ForEveryShortage([&] { result = SetProgramDirectory("a directory with a long name"); },
                         [&] {
                           EXPECT_EQ(result, 0);
                           EXPECT_EQ(brevant::ProgramDirectory(), before);
                         });
  EXPECT_EQ(result, 1);
}

TEST_F(NoMemory, ModifyTimeIsZero) {
  WriteSettings("A=1\r\n");
  TTime time;
  test::ForEveryShortage([&] { time = setup_->LastModifyTime(); },
                         [&] { EXPECT_TRUE(time.IsZero()); });
  EXPECT_FALSE(time.IsZero());
}

}  // namespace
