#include "board_fixture.h"
#include "frame/library.h"
#include "platform/win32.h"

#include <brevant/net.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace {

class Lifecycle : public test::ProgramDirectoryTest {
 protected:
  Lifecycle() : setup_(OpenSetup("settings.ini")), state_(OpenPersistentState("state.ini")) {}
  ~Lifecycle() override {
    ClosePersistentState(state_);
    CloseSetup(setup_);
  }
  TSetup* setup_;
  TPersistentState* state_;
};

TEST_F(Lifecycle, InitializeKeepsTheObjectsUninitializeClearsThem) {
  EXPECT_EQ(InitializeBrevant(setup_, state_), 1);
  EXPECT_EQ(brevant::ProcessSetup(), setup_);
  EXPECT_EQ(brevant::ProcessState(), state_);
  EXPECT_EQ(UninitializeBrevant(), 1);
  EXPECT_EQ(brevant::ProcessSetup(), nullptr);
  EXPECT_EQ(brevant::ProcessState(), nullptr);
}

TEST_F(Lifecycle, CanBeStartedAgain) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(InitializeBrevant(setup_, state_), 1);
    EXPECT_EQ(UninitializeBrevant(), 1);
  }
}

TEST_F(Lifecycle, StateMayBeNull) {
  EXPECT_EQ(InitializeBrevant(setup_, nullptr), 1);
  EXPECT_EQ(brevant::ProcessState(), nullptr);
  EXPECT_EQ(UninitializeBrevant(), 1);
}

TEST_F(Lifecycle, UninitializeAloneIsHarmless) { EXPECT_EQ(UninitializeBrevant(), 1); }

class Client : public TProtocol {
 public:
  const char* ProtocolName() override { return "TEST"; }
  WORD DefaultPort() override { return 1; }
};

std::string shown;
void OnHistory(const char* text) { shown = text; }

TEST_F(Lifecycle, ProtocolsReportAsErrorsWhileInitialised) {
  SetVisualFunctions("HISTORY", reinterpret_cast<void*>(&OnHistory));
  Client client;
  client.DisplayHistory("before %d", 1);
  EXPECT_EQ(shown, "");
  InitializeBrevant(setup_, state_);
  client.DisplayHistory("reply %d", 220);
  EXPECT_EQ(shown, "reply 220");
  EXPECT_NE(Bytes("error.log").find("] reply 220\r\n"), std::string::npos);
  UninitializeBrevant();
  client.DisplayHistory("after");
  EXPECT_EQ(shown, "reply 220");
  // The display callbacks survive.
  LogError("x");
  InitializeBrevant(setup_, state_);
  client.DisplayHistory("again");
  EXPECT_EQ(shown, "again");
  UninitializeBrevant();
  SetVisualFunctions("HISTORY", nullptr);
}

TEST(ProgramDirectory, IsTheExecutablesByDefault) {
  SetProgramDirectory(nullptr);
  char path[4096];
  ASSERT_GT(GetModuleFileNameA(nullptr, path, sizeof path), 0U);
  const std::string executable = path;
  EXPECT_EQ(brevant::ProgramDirectory(), executable.substr(0, executable.find_last_of("/\\") + 1));
}

TEST(ProgramDirectory, CanBeSetAndReset) {
  const test::TemporaryDirectory directory;
  SetProgramDirectory(nullptr);
  const std::string original = brevant::ProgramDirectory();
  std::string path = directory.Path();
  path.pop_back();
  EXPECT_EQ(SetProgramDirectory(path.c_str()), 1);
  const std::string set = brevant::ProgramDirectory();
  EXPECT_TRUE(set.back() == '/' || set.back() == '\\');
  test::WriteFileBytes(set + "probe", "here");
  EXPECT_EQ(test::ReadFileBytes(directory / "probe"), "here");
  EXPECT_EQ(SetProgramDirectory(nullptr), 1);
  EXPECT_EQ(brevant::ProgramDirectory(), original);
}

TEST(ProgramDirectory, RelativePathIsTakenFromTheCurrentDirectory) {
  const test::TemporaryDirectory directory;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::create_directory(directory / "board");
  std::filesystem::current_path(directory.Path());
  EXPECT_EQ(SetProgramDirectory("board"), 1);
  std::filesystem::current_path(before);
  test::WriteFileBytes(std::string(brevant::ProgramDirectory()) + "probe", "here");
  EXPECT_EQ(test::ReadFileBytes(directory / "board/probe"), "here");
  SetProgramDirectory(nullptr);
}

TEST(ProgramDirectory, TextHandedOutOutlivesAChange) {
  const test::TemporaryDirectory directory;
  SetProgramDirectory(nullptr);
  const char* text = brevant::ProgramDirectory();
  const std::string copy = text;
  for (int i = 0; i < 100; ++i) {
    SetProgramDirectory((directory / ("a directory with a long name" + std::to_string(i))).c_str());
  }
  EXPECT_EQ(text, copy);
  SetProgramDirectory(nullptr);
  EXPECT_EQ(brevant::ProgramDirectory(), text);
}

TEST(ProgramDirectory, FinalSeparatorFollowsTheOthers) {
  EXPECT_EQ(brevant::WithFinalSeparator("C:\\board"), "C:\\board\\");
  EXPECT_EQ(brevant::WithFinalSeparator("/srv/board"), "/srv/board/");
  EXPECT_EQ(brevant::WithFinalSeparator("C:\\a/b\\"), "C:\\a/b\\");
  EXPECT_EQ(brevant::WithFinalSeparator(""), "");
}

TEST(ProgramDirectory, EmptyPathChangesNothing) {
  SetProgramDirectory(nullptr);
  const std::string original = brevant::ProgramDirectory();
  EXPECT_EQ(SetProgramDirectory(""), 0);
  EXPECT_EQ(brevant::ProgramDirectory(), original);
}

}  // namespace
