// OLE refuses to start on a thread that somebody set up for another model.
#include "board_fixture.h"
#include "frame/library.h"
#include "platform/win32.h"

#include <thread>

namespace {

class OleFailure : public test::ProgramDirectoryTest {};

TEST_F(OleFailure, InitializeGives0AndKeepsTheObjects) {
  TSetup* setup = OpenSetup("settings.ini");
  TPersistentState* state = OpenPersistentState("state.ini");
  // On a thread of its own: the model belongs to the thread.
  std::thread([&] {
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    EXPECT_EQ(InitializeBrevant(setup, state), 0);
    EXPECT_EQ(brevant::ProcessSetup(), setup);
    EXPECT_EQ(brevant::ProcessState(), state);
    EXPECT_EQ(UninitializeBrevant(), 1);
    EXPECT_EQ(brevant::ProcessSetup(), nullptr);
    // What was not started was not stopped either: the thread still has its model.
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    CoUninitialize();
    CoUninitialize();
  }).join();
  EXPECT_EQ(InitializeBrevant(setup, state), 1);
  EXPECT_EQ(UninitializeBrevant(), 1);
  ClosePersistentState(state);
  CloseSetup(setup);
}

}  // namespace
