// The modes in which the board opens what it owns.
#pragma once

#include "platform/win32.h"

namespace brevant {

inline constexpr int kReadWrite = static_cast<int>(STGM_READWRITE);
inline constexpr int kOpenExisting = 0;
inline constexpr int kCreate = static_cast<int>(STGM_CREATE);
inline constexpr int kExclusive = static_cast<int>(STGM_SHARE_EXCLUSIVE);
inline constexpr int kDeleteOnRelease = static_cast<int>(STGM_DELETEONRELEASE);

}  // namespace brevant
