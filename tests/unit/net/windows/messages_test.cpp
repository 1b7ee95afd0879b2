// The host's windows stay alive while the library waits.
#include "net_fixture.h"

#include <array>

namespace {

int received = 0;

LRESULT CALLBACK Count(HWND window, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_APP) ++received;
  return DefWindowProcA(window, message, first, second);
}

class MessagesTest : public test::NetTest {
 protected:
  MessagesTest() {
    received = 0;
    WNDCLASSA kind{};
    kind.lpfnWndProc = &Count;
    kind.hInstance = GetModuleHandleA(nullptr);
    kind.lpszClassName = "BrevantWaitTest";
    RegisterClassA(&kind);
    window_ = CreateWindowExA(0, kind.lpszClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                              kind.hInstance, nullptr);
  }
  ~MessagesTest() override { DestroyWindow(window_); }
  HWND window_;
};

TEST_F(MessagesTest, APostedMessageIsDispatchedDuringAReceive) {
  ASSERT_NE(window_, nullptr);
  test::TalkingServer server("");
  const auto connection = test::ConnectToPort(server.Port(), test::kShortTimeout);
  PostMessageA(window_, WM_APP, 0, 0);
  std::array<char, 8> buffer;
  EXPECT_LT(connection->Receive(buffer.data(), 8), 0);
  EXPECT_EQ(received, 1);
}

TEST_F(MessagesTest, APostedMessageIsDispatchedDuringAConnect) {
  const test::BlackHole hole;
  brevant::ResetDeadline();
  TConnection connection(test::kShortTimeout);
  PostMessageA(window_, WM_APP, 0, 0);
  EXPECT_EQ(connection.Connect(test::kLoopback, hole.Port()), 0);
  EXPECT_EQ(received, 1);
}

TEST_F(MessagesTest, TheRequestToQuitReachesTheHost) {
  test::TalkingServer server("");
  const auto connection = test::ConnectToPort(server.Port(), test::kShortTimeout);
  PostQuitMessage(7);
  std::array<char, 8> buffer;
  EXPECT_LT(connection->Receive(buffer.data(), 8), 0);
  MSG message{};
  EXPECT_TRUE(PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, 7U);
}

}  // namespace
