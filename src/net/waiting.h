// The one loop in which every network operation waits.
#pragma once

#include "platform/win32.h"

#include <atomic>

namespace brevant {

// How long a wait goes without looking at the deadline, the continue flag and the host's messages;
// what arrives meanwhile ends the wait at once.
inline constexpr DWORD kWaitSlice = 20;

enum class WaitEnd {
  kReady,
  kTimedOut,     // the time that the operation had asked for is over
  kInterrupted,  // somebody set the deadline to now
  kStopped,      // the task's continue flag is clear
};

// Raises the process-wide deadline to now plus timeout (milliseconds) unless it is later already,
// and gives the deadline in force. The deadline is never lowered here: a long time-out of one
// connection covers a shorter one armed after it.
DWORD ArmDeadline(DWORD timeout);

// Sets the deadline to now, so that the wait in progress ends; for any thread.
void InterruptWaits();

// The step between two slices of a wait: whether the deadline has passed. It is then moved one
// second ahead, so that an operation that winds down is not cancelled again at once.
bool BlockingHook();

// Forgets the deadline. Tests use it, since a deadline of one test would cover the shorter
// time-outs of the next.
void ResetDeadline();
// The deadline as it is, in ticks.
DWORD CurrentDeadline();

// Calls ready(milliseconds), which itself waits that long at most, until it gives true or the wait
// has to end. armed is what ArmDeadline gave for this operation; flag may be null.
template <class Ready>
WaitEnd WaitUntil(Ready ready, DWORD armed, const std::atomic<int>* flag);

namespace waiting {
// The part between two slices: kReady means that the wait goes on.
WaitEnd BetweenSlices(DWORD armed, const std::atomic<int>* flag);
// The length of the next slice: never past the deadline, and none at all while the flag is clear.
DWORD NextSlice(const std::atomic<int>* flag);
}  // namespace waiting

template <class Ready>
WaitEnd WaitUntil(Ready ready, DWORD armed, const std::atomic<int>* flag) {
  for (;;) {
    if (ready(waiting::NextSlice(flag))) return WaitEnd::kReady;
    const WaitEnd end = waiting::BetweenSlices(armed, flag);
    if (end != WaitEnd::kReady) return end;
  }
}

}  // namespace brevant
