// What the exported functions of every container class share.
#pragma once

#include "board/access.h"
#include "store/guard.h"

#include <brevant/board.h>

#include <memory>

namespace brevant {

// A container file opened with create 0, or made anew with kCreate; null on failure.
template <typename Container>
Container* OpenContainer(const char* name, const char* directory, int create) {
  return Guarded<Container*>(nullptr, [&]() -> Container* {
    auto container = std::make_unique<Container>();
    if (!container->Open(name, directory, kReadWrite, create, kExclusive)) return nullptr;
    return container.release();
  });
}

// Takes back what was handed out; null is ignored.
template <typename Object>
void Destroy(Object* object) {
  const std::unique_ptr<Object> owned(object);
}

// Move or delete directory + name + extension; non-zero on success.
int RenameBoardFile(const char* oldName, const char* newName, const char* directory,
                    const char* extension);
int DeleteBoardFile(const char* name, const char* directory, const char* extension);

// Item index of container, or with a null container a new temporary item stamped with the current
// local time; null on failure.
TMail* OpenItem(DWORD index, TForum* container);

// The number that an item's "Name" is; 0 when it has none.
DWORD ItemIndex(const TMail& item);

}  // namespace brevant
