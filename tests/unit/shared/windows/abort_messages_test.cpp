// The host's messages flow while a task waits for a server, and a handler may abort the task.
#include "../delivery_fixture.h"
#include "../dispatch_fixture.h"
#include "../retrieval_fixture.h"

#include <chrono>
#include <iostream>

namespace {

using test::Deviation;
using Clock = std::chrono::steady_clock;

constexpr UINT kTick = 20;       // milliseconds between the timer's messages
constexpr int kTicksBefore = 5;  // that a wait lets through before the handler aborts
constexpr double kLimit = 2000;  // milliseconds; 100 is what is aimed at

struct TAborter {
  TTask* task = nullptr;
  int ticks = 0;
  Clock::time_point aborted;
};
TAborter aborter;

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM first, LPARAM second) {
  if (message != WM_TIMER) return DefWindowProcA(window, message, first, second);
  if (++aborter.ticks == kTicksBefore) {
    aborter.aborted = Clock::now();
    aborter.task->Abort();
  }
  return 0;
}

// A window whose timer lets some messages through and then aborts the task.
class TAbortingWindow {
 public:
  explicit TAbortingWindow(TTask& task) {
    aborter = TAborter{};
    aborter.task = &task;
    WNDCLASSA kind{};
    kind.lpfnWndProc = &OnMessage;
    kind.hInstance = GetModuleHandleA(nullptr);
    kind.lpszClassName = "BrevantAbortTest";
    RegisterClassA(&kind);
    window_ = CreateWindowExA(0, kind.lpszClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                              kind.hInstance, nullptr);
    EXPECT_NE(window_, nullptr);
    SetTimer(window_, 1, kTick, nullptr);
  }
  ~TAbortingWindow() { DestroyWindow(window_); }
  TAbortingWindow(const TAbortingWindow&) = delete;
  TAbortingWindow& operator=(const TAbortingWindow&) = delete;

 private:
  HWND window_;
};

// Executes the task under such a window.
void ExpectAborted(TTask& task, const std::string& wait) {
  const TAbortingWindow window(task);
  EXPECT_EQ(task.Execute(), 0);
  const std::chrono::duration<double, std::milli> took = Clock::now() - aborter.aborted;
  EXPECT_EQ(aborter.ticks >= kTicksBefore, true) << "the messages did not flow: " << wait;
  EXPECT_LT(took.count(), kLimit) << wait;
  std::cout << "[          ] " << wait << ": over " << took.count() << " ms after Abort\n";
}

std::vector<Deviation> Silent(const char* command) {
  return {test::ParseDeviation(std::string(command) + " 1 silent")};
}

class AbortedRetrieval : public test::RetrievalFixture,
                         public ::testing::WithParamInterface<const char*> {};

TEST_P(AbortedRetrieval, FromAHandlerOfTheHost) {
  CloseForum(CreateForum("General", data_.c_str()));
  Serve({Post("General", "one"), Post("General", "two")}, Silent(GetParam()));
  TMailRetrievalTask task(setup_, state_);
  ExpectAborted(task, std::string("POP3, no answer to ") + GetParam());
}

INSTANTIATE_TEST_SUITE_P(Waits, AbortedRetrieval,
                         ::testing::Values("GREETING", "USER", "STAT", "TOP", "RETR"),
                         [](const auto& wait) { return std::string(wait.param); });

class AbortedDispatch : public test::DispatchFixture,
                        public ::testing::WithParamInterface<const char*> {};

TEST_P(AbortedDispatch, FromAHandlerOfTheHost) {
  AddForum("General", {"list@example.org"});
  test::DispatchFixture::Post("General", "one");
  Serve(Silent(GetParam()));
  TMailDispatchTask task(setup_, state_);
  ExpectAborted(task, std::string("SMTP, no answer to ") + GetParam());
}

INSTANTIATE_TEST_SUITE_P(Waits, AbortedDispatch,
                         ::testing::Values("GREETING", "HELO", "MAIL", "RCPT", "DATA"),
                         [](const auto& wait) { return std::string(wait.param); });

class AbortedDelivery : public test::Delivery, public ::testing::WithParamInterface<const char*> {};

TEST_P(AbortedDelivery, FromAHandlerOfTheHost) {
  Local("index.htm", "<p>hello");
  Serve((std::string(GetParam()) + " 1 silent").c_str());
  MakeDue();
  TFileDeliveryTask task(setup_, state_);
  ExpectAborted(task, std::string("FTP, no answer to ") + GetParam());
}

INSTANTIATE_TEST_SUITE_P(Waits, AbortedDelivery,
                         ::testing::Values("GREETING", "USER", "PASS", "CWD", "PASV", "STOR"),
                         [](const auto& wait) { return std::string(wait.param); });

// A large file whose server stops reading in the middle of it.
TEST_F(AbortedDelivery, DuringAStalledTransfer) {
  Local("large.bin", std::string(8 << 20, 'x'));
  test::FtpOptions options;
  test::DataFault stall;
  stall.stallAfter = 1000;
  options.dataFaults.push_back(stall);
  Serve(std::move(options));
  MakeDue();
  TFileDeliveryTask task(setup_, state_);
  ExpectAborted(task, "FTP, a transfer that stalls");
}

// No server answers at all: the wait is that of the connection.
TEST_F(AbortedRetrieval, DuringAConnect) {
  const test::BlackHole hole;
  setup_->Number("POP3 Port", hole.Port());
  TMailRetrievalTask task(setup_, state_);
  ExpectAborted(task, "POP3, connecting");
}

}  // namespace
