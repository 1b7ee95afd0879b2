#include "frame/task_factory.h"

#include "board_fixture.h"
#include "frame/library.h"
#include "platform/win32.h"

#include <new>
#include <string>

namespace {

int alive = 0;

// What the floor above supplies, in small.
class Job : public TTask {
 public:
  Job(TSetup* setup, TPersistentState* state) : TTask(setup, state) { ++alive; }
  ~Job() override { --alive; }
  int Execute() override { return continue_; }
  TSetup* Setup() const { return setup_; }
  TPersistentState* State() const { return state_; }
};

TTask* MakeJob(TSetup* setup, TPersistentState* state) { return new Job(setup, state); }
TTask* MakeNothing(TSetup*, TPersistentState*) { throw std::bad_alloc(); }

constexpr brevant::TTaskEntry kTable[] = {{"MAIL RETRIEVAL", &MakeJob}, {"HTML", &MakeNothing}};

}  // namespace

std::span<const brevant::TTaskEntry> brevant::TaskTable() { return kTable; }

namespace {

class TaskFactory : public test::ProgramDirectoryTest {
 protected:
  TaskFactory() : setup_(OpenSetup("settings.ini")), state_(OpenPersistentState("state.ini")) {}
  ~TaskFactory() override {
    UninitializeBrevant();
    ClosePersistentState(state_);
    CloseSetup(setup_);
  }
  std::string LastTask() const { return Bytes("state.ini"); }

  TSetup* setup_;
  TPersistentState* state_;
};

TEST_F(TaskFactory, MakesATaskByName) {
  ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
  TTask* task = CreateTask("MAIL RETRIEVAL");
  ASSERT_NE(task, nullptr);
  EXPECT_EQ(static_cast<Job*>(task)->Setup(), setup_);
  EXPECT_EQ(static_cast<Job*>(task)->State(), state_);
  EXPECT_EQ(task->Execute(), 1);
  task->Abort();
  EXPECT_EQ(task->Execute(), 0);
  EXPECT_EQ(alive, 1);
  DestroyTask(task);
  EXPECT_EQ(alive, 0);
  EXPECT_EQ(LastTask(), "[Tavernix]\r\nLast task created=MAIL RETRIEVAL\r\n");
}

TEST_F(TaskFactory, NamesIgnoreLetterCase) {
  ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
  TTask* task = CreateTask("mail retrieval");
  EXPECT_NE(task, nullptr);
  DestroyTask(task);
  EXPECT_EQ(LastTask(), "[Tavernix]\r\nLast task created=mail retrieval\r\n");
}

TEST_F(TaskFactory, UnknownNameGivesNullAndIsRecorded) {
  ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
  EXPECT_EQ(CreateTask("NEWS"), nullptr);
  EXPECT_EQ(LastTask(), "[Tavernix]\r\nLast task created=NEWS\r\n");
}

TEST_F(TaskFactory, NoMemoryGivesNullAndIsRecorded) {
  ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
  EXPECT_EQ(CreateTask("HTML"), nullptr);
  EXPECT_EQ(LastTask(), "[Tavernix]\r\nLast task created=HTML\r\n");
}

TEST_F(TaskFactory, NullStateRecordsNothing) {
  ASSERT_EQ(InitializeBrevant(setup_, nullptr), 1);
  TTask* task = CreateTask("MAIL RETRIEVAL");
  EXPECT_NE(task, nullptr);
  DestroyTask(task);
  EXPECT_FALSE(test::FileExists(File("state.ini")));
}

TEST_F(TaskFactory, NullNameGivesNull) {
  ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
  EXPECT_EQ(CreateTask(nullptr), nullptr);
  EXPECT_FALSE(test::FileExists(File("state.ini")));
}

TEST_F(TaskFactory, DestroyingNothingIsHarmless) { DestroyTask(nullptr); }

}  // namespace
