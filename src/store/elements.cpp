#include "store/elements.h"

#include "platform/win32.h"
#include "store/guard.h"
#include "store/wide_name.h"

#include <optional>

namespace brevant {

namespace {

// Storages nested deeper than any board's are no longer measured.
constexpr int kDeepestMeasured = 8;

struct NameReleaser {
  void operator()(OLECHAR* name) const { CoTaskMemFree(name); }
};

// Calls visit(name, type, size) for every element.
template <typename Visit>
void VisitElements(IStorage* storage, Visit&& visit) {
  IEnumSTATSTG* found = nullptr;
  if (FAILED(storage->EnumElements(0, nullptr, 0, &found))) return;
  const OwnedInterface<IEnumSTATSTG> elements(found);
  STATSTG element{};
  ULONG fetched = 0;
  while (elements->Next(1, &element, &fetched) == S_OK && fetched == 1) {
    const std::unique_ptr<OLECHAR, NameReleaser> name(element.pwcsName);
    if (name != nullptr) visit(name.get(), element.type, element.cbSize.QuadPart);
    element = STATSTG{};
  }
}

std::uint64_t BytesIn(IStorage* storage, int depth) {
  std::uint64_t bytes = 0;
  VisitElements(storage, [&](const OLECHAR* name, DWORD type, std::uint64_t size) {
    if (type == STGTY_STREAM) {
      bytes += size;
    } else if (type == STGTY_STORAGE && depth < kDeepestMeasured) {
      IStorage* child = nullptr;
      if (SUCCEEDED(
              storage->OpenStorage(name, nullptr, STGM_SHARE_EXCLUSIVE, nullptr, 0, &child))) {
        bytes += BytesIn(OwnedInterface<IStorage>(child).get(), depth + 1);
      }
    }
  });
  return bytes;
}

// The inverse of widening by sign extension.
std::optional<std::string> NarrowName(const OLECHAR* wide) {
  std::string name;
  for (; *wide != 0; ++wide) {
    const auto unit = static_cast<std::uint16_t>(*wide);
    if (unit >= 0x80 && unit < 0xFF80) return std::nullopt;
    name.push_back(static_cast<char>(unit & 0xFF));
  }
  return name;
}

}  // namespace

std::uint64_t BytesIn(IStorage* storage) { return BytesIn(storage, 0); }

std::vector<std::string> SubStorageNames(IStorage* storage) {
  std::vector<std::string> names;
  VisitElements(storage, [&](const OLECHAR* name, DWORD type, std::uint64_t) {
    if (type != STGTY_STORAGE) return;
    if (auto narrow = NarrowName(name)) names.push_back(std::move(*narrow));
  });
  return names;
}

namespace {

// How opening the sub-storage ends; it is closed again.
HRESULT TryStorage(IStorage* storage, const char* name) {
  IStorage* element = nullptr;
  const HRESULT result = storage->OpenStorage(
      WideName(name).c_str(), nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr, 0, &element);
  if (SUCCEEDED(result)) element->Release();
  return result;
}

}  // namespace

bool HasStream(IStorage* storage, const char* name) {
  return Guarded(true, [&] {
    IStream* stream = nullptr;
    const HRESULT result = storage->OpenStream(WideName(name).c_str(), nullptr,
                                               STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &stream);
    if (SUCCEEDED(result)) stream->Release();
    return result != STG_E_FILENOTFOUND;
  });
}

bool HasStorage(IStorage* storage, const char* name) {
  return Guarded(true, [&] { return TryStorage(storage, name) != STG_E_FILENOTFOUND; });
}

bool IsOpenElsewhere(IStorage* storage, const char* name) {
  // Without memory to find out it counts as open.
  return Guarded(true, [&] { return TryStorage(storage, name) == STG_E_ACCESSDENIED; });
}

}  // namespace brevant
