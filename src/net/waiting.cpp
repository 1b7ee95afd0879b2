#include "net/waiting.h"

#include "platform/network.h"

#include <algorithm>
#include <chrono>

namespace brevant {
namespace {

constexpr DWORD kCancelPause = 1000;
// A deadline further ahead than any time-out can reach belongs to an earlier turn of the tick
// count, which wraps after 49 days; so does one that was armed longer ago than this.
constexpr LONG kLongestTimeout = 0x40000000;

std::atomic<DWORD> deadline{0};
// When the deadline was last armed, in milliseconds of a clock that does not wrap; 0 for never.
std::atomic<std::int64_t> armedAt{0};

LONG Difference(DWORD later, DWORD earlier) { return static_cast<LONG>(later - earlier); }

std::int64_t SteadyMilliseconds() {
  using std::chrono::duration_cast;
  using std::chrono::milliseconds;
  return duration_cast<milliseconds>(std::chrono::steady_clock::now().time_since_epoch()).count() +
         1;
}

}  // namespace

DWORD ArmDeadline(DWORD timeout) {
  const DWORD now = GetTickCount();
  const DWORD wanted = now + std::min(timeout, static_cast<DWORD>(kLongestTimeout));
  const std::int64_t steady = SteadyMilliseconds();
  const std::int64_t before = armedAt.exchange(steady);
  const bool stale = before == 0 || steady - before > kLongestTimeout;
  DWORD current = deadline.load();
  for (;;) {
    if (!stale && Difference(current, wanted) >= 0 && Difference(current, now) <= kLongestTimeout)
      return current;
    if (deadline.compare_exchange_weak(current, wanted)) return wanted;
  }
}

void InterruptWaits() { deadline.store(GetTickCount()); }

bool BlockingHook() {
  const DWORD now = GetTickCount();
  if (Difference(now, deadline.load()) < 0) return false;
  deadline.store(now + kCancelPause);
  return true;
}

void ResetDeadline() { armedAt.store(0); }

DWORD CurrentDeadline() { return deadline.load(); }

namespace waiting {

WaitEnd BetweenSlices(DWORD armed, const std::atomic<int>* flag) {
  platform::DispatchThreadMessages();
  if (flag != nullptr && flag->load() == 0) return WaitEnd::kStopped;
  if (!BlockingHook()) return WaitEnd::kReady;
  return Difference(GetTickCount(), armed) >= 0 ? WaitEnd::kTimedOut : WaitEnd::kInterrupted;
}

DWORD NextSlice(const std::atomic<int>* flag) {
  if (flag != nullptr && flag->load() == 0) return 0;
  const LONG remaining = Difference(deadline.load(), GetTickCount());
  return static_cast<DWORD>(std::clamp<LONG>(remaining, 0, static_cast<LONG>(kWaitSlice)));
}

}  // namespace waiting
}  // namespace brevant
