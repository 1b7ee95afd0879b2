// The system's time stamps and the platform's: seconds and nanoseconds since 1970 against
// 100-nanosecond units since 1601. Below the seam only.
#pragma once

#include <brevant/platform_types.h>

#include <cstdint>
#include <ctime>

namespace brevant::posix {

inline constexpr std::int64_t kTicksPerSecond = 10'000'000;
inline constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

inline std::uint64_t Ticks(const FILETIME& time) {
  return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

inline FILETIME FromTicks(std::uint64_t ticks) {
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Finer than 100 nanoseconds is cut off; before 1601 there is nothing.
inline FILETIME ToFileTime(const timespec& time) {
  const std::int64_t seconds = static_cast<std::int64_t>(time.tv_sec) + kSecondsFrom1601To1970;
  if (seconds < 0) return {};
  return FromTicks(static_cast<std::uint64_t>(seconds) * kTicksPerSecond +
                   static_cast<std::uint64_t>(time.tv_nsec) / 100);
}

inline timespec ToTimespec(const FILETIME& time) {
  const std::uint64_t ticks = Ticks(time);
  timespec result{};
  result.tv_sec = static_cast<time_t>(static_cast<std::int64_t>(ticks / kTicksPerSecond) -
                                      kSecondsFrom1601To1970);
  result.tv_nsec = static_cast<long>(ticks % kTicksPerSecond * 100);
  return result;
}

}  // namespace brevant::posix
