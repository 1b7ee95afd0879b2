// The modes in which the board opens what it owns.
#pragma once

#include "platform/win32.h"
#include "store/elements.h"

namespace brevant {

inline constexpr int kReadWrite = static_cast<int>(STGM_READWRITE);
inline constexpr int kOpenExisting = 0;
inline constexpr int kCreate = static_cast<int>(STGM_CREATE);
inline constexpr int kExclusive = static_cast<int>(STGM_SHARE_EXCLUSIVE);
inline constexpr int kDeleteOnRelease = static_cast<int>(STGM_DELETEONRELEASE);

// Opens the one list of an item or a container, or makes it when there is none. A list that is
// there and cannot be opened now is not made anew, which would empty it.
template <class Container>
bool OpenOrCreateList(Container& container, const char* name, int recordSize) {
  if (container.OpenList(name, recordSize) != 0) return true;
  return !HasStream(container.Storage().Interface(), name) &&
         container.CreateList(name, recordSize) != 0;
}

}  // namespace brevant
