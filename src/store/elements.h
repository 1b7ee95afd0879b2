// What a storage holds.
#pragma once

#include <brevant/platform_types.h>

#include <memory>
#include <string>
#include <vector>

namespace brevant {

struct InterfaceReleaser {
  template <typename Interface>
  void operator()(Interface* object) const {
    object->Release();
  }
};
// A platform interface with the one reference that this object owns.
template <typename Interface>
using OwnedInterface = std::unique_ptr<Interface, InterfaceReleaser>;

// The bytes in all streams of a storage; what is open elsewhere and cannot be looked into counts 0.
std::uint64_t BytesIn(IStorage* storage);

// The names of the sub-storages, in the storage's order. Names that no narrow name widens to are
// left out: nothing could open them.
std::vector<std::string> SubStorageNames(IStorage* storage);

// True when the stream, or the sub-storage, is there, as far as can be told.
bool HasStream(IStorage* storage, const char* name);
bool HasStorage(IStorage* storage, const char* name);

// True when the sub-storage is there and open in another object.
bool IsOpenElsewhere(IStorage* storage, const char* name);

}  // namespace brevant
