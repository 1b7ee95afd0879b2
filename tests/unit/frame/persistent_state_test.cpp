#include "board_fixture.h"
#include "frame/reporting.h"
#include "platform/win32.h"

#include <string>

namespace {

class PersistentState : public test::ProgramDirectoryTest {
 protected:
  PersistentState() : state_(OpenPersistentState("state.ini")) {}
  ~PersistentState() override { ClosePersistentState(state_); }
  TPersistentState* state_;
};

TEST_F(PersistentState, ErrorIsFormattedStraightIntoTheFile) {
  EXPECT_NE(state_->Error("Cannot open %s (%d)", "x", 5), 0);
  EXPECT_EQ(Bytes("state.ini"), "[Tavernix]\r\nError=Cannot open x (5)\r\n");
}

TEST_F(PersistentState, ResultLikewise) {
  EXPECT_NE(state_->Result("%s", "done"), 0);
  EXPECT_EQ(Bytes("state.ini"), "[Tavernix]\r\nResult=done\r\n");
}

TEST_F(PersistentState, ErrorAndResultLeaveTheCacheAlone) {
  EXPECT_NE(state_->String("Error", "cached"), 0);
  EXPECT_NE(state_->Error("%s", "written"), 0);
  EXPECT_STREQ(state_->String("Error"), "cached");
  EXPECT_EQ(Bytes("state.ini"), "[Tavernix]\r\nError=written\r\n");
}

TEST_F(PersistentState, LongTextIsCutAt511Bytes) {
  const std::string text(600, 'x');
  EXPECT_NE(state_->Error("%s", text.c_str()), 0);
  EXPECT_EQ(Bytes("state.ini"), "[Tavernix]\r\nError=" + text.substr(0, 511) + "\r\n");
}

TEST_F(PersistentState, LineEndsBecomeBlanks) {
  EXPECT_NE(state_->Result("%s", "a\r\nb"), 0);
  EXPECT_EQ(Bytes("state.ini"), "[Tavernix]\r\nResult=a  b\r\n");
}

TEST_F(PersistentState, FailureOfTheWriteIsReported) {
  TPersistentState* state = OpenPersistentState("no directory/state.ini");
  EXPECT_EQ(state->Error("x"), 0);
  EXPECT_EQ(state->Result("x"), 0);
  ClosePersistentState(state);
}

TEST_F(PersistentState, IsASetup) {
  EXPECT_NE(state_->Number("Last line executed", DWORD{7}), 0);
  EXPECT_EQ(static_cast<TSetup*>(state_)->Number("Last line executed"), 7U);
  EXPECT_STREQ(state_->String("POP3 Last Message ID"), "");
}

TEST_F(PersistentState, TraceNamesTheLastStep) {
  brevant::Trace(state_, "..\\shared\\mailtask.cpp", 123);
  EXPECT_EQ(Bytes("state.ini"),
            "[Tavernix]\r\nLast module executed=..\\shared\\mailtask.cpp\r\n"
            "Last line executed=123\r\n");
  brevant::Trace(state_, "..\\shared\\htmltask.cpp", 99);
  EXPECT_EQ(Bytes("state.ini"),
            "[Tavernix]\r\nLast module executed=..\\shared\\htmltask.cpp\r\n"
            "Last line executed=99\r\n");
}

TEST_F(PersistentState, TraceWithoutAStateIsNothing) {
  brevant::Trace(nullptr, "..\\shared\\mailtask.cpp", 123);
  EXPECT_FALSE(test::FileExists(File("state.ini")));
}

TEST_F(PersistentState, ClosingNothingIsHarmless) { ClosePersistentState(nullptr); }

}  // namespace
