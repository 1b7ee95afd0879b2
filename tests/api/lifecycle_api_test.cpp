// Start, stop, tasks by name, the host's callbacks and the error log, as a host meets them.
#include "board_fixture.h"

#include <cstring>

using api_test::Board;

namespace {

class Lifecycle : public Board {};

TEST_F(Lifecycle, CreatesTheRetrievalTaskWhateverTheLetterCase) {
  TTask* task = CreateTask("mail retrieval");
  ASSERT_NE(task, nullptr);
  DestroyTask(task);
}

TEST_F(Lifecycle, CreatesTheHtmlTask) {
  TTask* task = CreateTask("HTML");
  ASSERT_NE(task, nullptr);
  DestroyTask(task);
}

TEST_F(Lifecycle, AnUnknownTaskIsNullAndItsNameIsRecorded) {
  EXPECT_EQ(CreateTask("NEWS"), nullptr);
  EXPECT_STREQ(state_->String("Last task created"), "NEWS");
  EXPECT_NE(test::ReadFileBytes(directory_ / "state.ini").find("Last task created=NEWS"),
            std::string::npos);
}

TEST_F(Lifecycle, DestroyingNullIsIgnored) { DestroyTask(nullptr); }

TEST_F(Lifecycle, LogErrorAppendsStampedLines) {
  LogError("first");
  LogError("100%s %n");
  std::string log = test::ReadFileBytes(directory_ / "error.log");
  ASSERT_GE(log.size(), 2u);
  EXPECT_EQ(log[0], '[');
  // The stamp is padded to 17 characters at least.
  std::size_t end = log.find(']');
  ASSERT_NE(end, std::string::npos);
  EXPECT_GE(end, 18u);
  EXPECT_EQ(log.substr(end, 9), "] first\r\n");
  EXPECT_NE(log.find("] 100%s %n\r\n"), std::string::npos);
}

TEST_F(Lifecycle, AFailedLogOnIsShownLoggedAndLeftInTheState) {
  setup_->String("POP3 Server", "127.0.0.1");
  // The discard port: nobody listens there on a machine that runs tests.
  setup_->Number("POP3 Port", 9);
  TTask* task = CreateTask("MAIL RETRIEVAL");
  ASSERT_NE(task, nullptr);
  EXPECT_EQ(task->Execute(), 0);
  DestroyTask(task);
  ASSERT_FALSE(History().empty());
  EXPECT_EQ(History().front(), "Cannot log onto 127.0.0.1");
  EXPECT_STREQ(state_->String("Error"), "Cannot log onto 127.0.0.1");
  EXPECT_NE(test::ReadFileBytes(directory_ / "error.log").find("] Cannot log onto 127.0.0.1\r\n"),
            std::string::npos);
}

TEST_F(Lifecycle, ATaskThatWasAbortedBeforehandReturnsZero) {
  TTask* task = CreateTask("HTML");
  ASSERT_NE(task, nullptr);
  task->Abort();
  EXPECT_EQ(task->Execute(), 0);
  DestroyTask(task);
}

#pragma GCC diagnostic push
// The table of virtual operations of a store has no destructor in it.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
// A host may hand over a store of its own: the library reads through the virtual operations.
class OwnSetup final : public TSetup {
 public:
  explicit OwnSetup(const std::string& templates) : TSetup("own.ini"), templates_(templates) {}
  using TSetup::String;
  const char* String(const char* key) const override {
    if (std::strcmp(key, "HTML Template Directory") == 0) return templates_.c_str();
    return TSetup::String(key);
  }

 private:
  std::string templates_;
};
#pragma GCC diagnostic pop

TEST_F(Lifecycle, ReadsThroughAStoreThatTheHostDerived) {
  test::WriteFileBytes(directory_ / "Site/keep.txt", "x");
  std::filesystem::create_directory(directory_ / "Elsewhere");
  test::WriteFileBytes(directory_ / "Elsewhere/index.htm", "<p>from elsewhere</p>");
  OwnSetup own(directory_ / "Elsewhere/");
  own.String("HTML File - Forum list", "index");
  own.String("Local Directory", (directory_ / "Site/").c_str());
  own.String("Data Directory", Data().c_str());
  UninitializeBrevant();
  ASSERT_EQ(InitializeBrevant(&own, state_), 1);
  TTask* task = CreateTask("HTML");
  ASSERT_NE(task, nullptr);
  EXPECT_EQ(task->Execute(), 1);
  DestroyTask(task);
  EXPECT_NE(test::ReadFileBytes(directory_ / "Site/index.htm").find("elsewhere"),
            std::string::npos);
}

TEST_F(Lifecycle, AnUnknownCallbackNameChangesNothing) {
  SetVisualFunctions("NOISE", nullptr);
  setup_->String("HTML File - Forum list", "missing");
  TTask* task = CreateTask("html");
  ASSERT_NE(task, nullptr);
  task->Execute();
  DestroyTask(task);
  EXPECT_FALSE(History().empty());
}

TEST_F(Lifecycle, ACallbackIsSwitchedOffByNullWhateverTheLetterCase) {
  SetVisualFunctions("history", nullptr);
  setup_->String("HTML File - Forum list", "missing");
  TTask* task = CreateTask("HTML");
  ASSERT_NE(task, nullptr);
  task->Execute();
  DestroyTask(task);
  EXPECT_TRUE(History().empty());
  // Logging does not depend on the display.
  EXPECT_NE(test::ReadFileBytes(directory_ / "error.log").find("Cannot open"), std::string::npos);
}

}  // namespace
