// The enumerator of a storage's elements.
#include "platform/posix/structured_storage_objects.h"

#include <cstring>

namespace brevant::posix {

using compound::EntryId;
using compound::kNoEntry;

EnumObject::EnumObject(const EnumObject& other)
    : storage_(other.storage_),
      last_(other.last_),
      listed_(other.listed_),
      at_(other.at_),
      listedAt_(other.listedAt_),
      seenAt_(other.seenAt_) {}

ULONG EnumObject::AddRef() { return ++references_; }

ULONG EnumObject::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT EnumObject::QueryInterface(const IID& id, void** object) {
  if (object == nullptr) return STG_E_INVALIDPOINTER;
  *object = nullptr;
  if (std::memcmp(&id, &IID_IUnknown, sizeof id) != 0 &&
      std::memcmp(&id, &IID_IEnumSTATSTG, sizeof id) != 0) {
    return E_NOINTERFACE;
  }
  *object = static_cast<IEnumSTATSTG*>(this);
  AddRef();
  return S_OK;
}

// A list is made once and good until a directory changes. While every step is followed by a change
// (as when elements are removed one by one) each next element is looked up by the last one's name.
EntryId EnumObject::NextId(compound::Document& document, EntryId storage) {
  const std::uint64_t now = document.Generation();
  if (listedAt_ != now) {
    const bool settled = !seenAt_ || *seenAt_ == now;
    seenAt_ = now;
    if (!settled) return document.FindAfter(storage, last_);
    listed_ = document.ListAfter(storage, last_);
    listedAt_ = now;
    at_ = 0;
  }
  return at_ < listed_.size() ? listed_[at_++] : kNoEntry;
}

bool EnumObject::Step(compound::EntryInfo* info) {
  StorageObject& storage = *Storage();
  compound::Document& document = storage.Document();
  while (true) {
    const EntryId id = NextId(document, storage.Id());
    if (id == kNoEntry) return false;
    *info = document.Info(id);
    // Going on by name never ends where a damaged order leads back.
    if (seenAt_ && listedAt_ != seenAt_ && info->name == last_) return false;
    last_ = info->name;
    if (document.IsElement(id)) return true;
  }
}

HRESULT EnumObject::Next(ULONG count, STATSTG* elements, ULONG* fetched) {
  if (fetched != nullptr) *fetched = 0;
  if (elements == nullptr || (count != 1 && fetched == nullptr)) return STG_E_INVALIDPOINTER;
  if (Storage() == nullptr) return STG_E_REVERTED;
  ULONG done = 0;
  const HRESULT result = Guarded([&] {
    compound::EntryInfo info;
    while (done < count && Step(&info)) {
      FillStat(info, true, &elements[done]);
      ++done;
    }
    return done == count ? S_OK : S_FALSE;
  });
  if (fetched != nullptr) *fetched = done;
  // What was found before a damaged place is given; the next call meets the damage.
  return FAILED(result) && done > 0 ? S_FALSE : result;
}

HRESULT EnumObject::Skip(ULONG count) {
  if (Storage() == nullptr) return STG_E_REVERTED;
  return Guarded([&] {
    compound::EntryInfo info;
    for (; count > 0; --count) {
      if (!Step(&info)) return S_FALSE;
    }
    return S_OK;
  });
}

HRESULT EnumObject::Reset() {
  if (Storage() == nullptr) return STG_E_REVERTED;
  last_.clear();
  listed_.clear();
  at_ = 0;
  listedAt_.reset();
  seenAt_.reset();
  return S_OK;
}

HRESULT EnumObject::Clone(IEnumSTATSTG** copy) {
  if (copy == nullptr) return STG_E_INVALIDPOINTER;
  *copy = nullptr;
  if (Storage() == nullptr) return STG_E_REVERTED;
  return Guarded([&] {
    *copy = new EnumObject(*this);
    return S_OK;
  });
}

}  // namespace brevant::posix
