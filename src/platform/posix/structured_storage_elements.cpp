// What a storage does with its elements.
#include "platform/posix/structured_storage_objects.h"
#include "platform/posix/times.h"

#include <cstring>

namespace brevant::posix {
namespace {

constexpr DWORD kAccessBits = 3;
constexpr DWORD kShareBits = 0x70;

// Elements are open for one object alone, whatever for.
bool IsElementMode(DWORD mode) {
  return (mode & ~(kAccessBits | kShareBits | STGM_CREATE)) == 0 &&
         (mode & kAccessBits) <= STGM_READWRITE && (mode & kShareBits) == STGM_SHARE_EXCLUSIVE;
}

bool IsElementName(LPCOLESTR name) { return name != nullptr && compound::IsValidName(name); }

}  // namespace

HRESULT StorageObject::CheckOpen(LPCOLESTR name, DWORD mode, bool reserved, const void* out) const {
  if (out == nullptr) return STG_E_INVALIDPOINTER;
  if (!IsElementName(name)) return STG_E_INVALIDNAME;
  if (reserved) return STG_E_INVALIDPARAMETER;
  if (!IsElementMode(mode)) return STG_E_INVALIDFLAG;
  if (IsReverted()) return STG_E_REVERTED;
  // No more may be done with an element than with what it is in.
  return (mode & kAccessBits) > (Mode() & kAccessBits) ? STG_E_ACCESSDENIED : S_OK;
}

HRESULT StorageObject::CheckChange() const {
  if (IsReverted()) return STG_E_REVERTED;
  return CanWrite() ? S_OK : STG_E_ACCESSDENIED;
}

HRESULT StorageObject::CheckNew(LPCOLESTR name, DWORD mode, bool reserved, const void* out) const {
  const HRESULT result = CheckOpen(name, mode, reserved, out);
  return FAILED(result) ? result : CheckChange();
}

// Makes room for a new element of that name.
HRESULT StorageObject::PrepareNew(LPCOLESTR name, DWORD mode) {
  const compound::EntryId existing = Document().Find(Id(), name);
  if (existing == compound::kNoEntry) return S_OK;
  if ((mode & STGM_CREATE) == 0) return STG_E_FILEALREADYEXISTS;
  Destroy(existing);
  return S_OK;
}

HRESULT StorageObject::FindToOpen(LPCOLESTR name, bool storage, compound::EntryId* id) {
  *id = Document().Find(Id(), name);
  if (*id == compound::kNoEntry) return STG_E_FILENOTFOUND;
  const bool fits =
      storage ? *id != compound::kRootEntry && Document().IsStorage(*id) : Document().IsStream(*id);
  if (!fits) return STG_E_FILENOTFOUND;
  return Owner().FindOpen(*id) != nullptr ? STG_E_ACCESSDENIED : S_OK;
}

// An element that is about to be renamed, moved or touched: there, and not open.
HRESULT StorageObject::FindToChange(LPCOLESTR name, compound::EntryId* id) {
  const HRESULT result = CheckChange();
  if (FAILED(result)) return result;
  *id = Document().Find(Id(), name);
  if (*id == compound::kNoEntry || !Document().IsElement(*id)) return STG_E_FILENOTFOUND;
  return Owner().FindOpen(*id) != nullptr ? STG_E_ACCESSDENIED : S_OK;
}

HRESULT StorageObject::CreateStream(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2,
                                    IStream** stream) {
  if (stream != nullptr) *stream = nullptr;
  return Guarded([&] {
    HRESULT result = CheckNew(name, mode, reserved1 != 0 || reserved2 != 0, stream);
    if (SUCCEEDED(result)) result = PrepareNew(name, mode);
    if (FAILED(result)) return result;
    const compound::EntryId id = Document().CreateStream(Id(), name);
    MarkChanged();
    *stream = new StreamObject(
        std::make_shared<StreamElement>(&Owner(), id, this, mode & ~STGM_CREATE), 0);
    return S_OK;
  });
}

HRESULT StorageObject::OpenStream(LPCOLESTR name, void* reserved1, DWORD mode, DWORD reserved2,
                                  IStream** stream) {
  if (stream != nullptr) *stream = nullptr;
  return Guarded([&] {
    compound::EntryId id = compound::kNoEntry;
    HRESULT result = CheckOpen(name, mode, reserved1 != nullptr || reserved2 != 0, stream);
    if (SUCCEEDED(result)) result = FindToOpen(name, false, &id);
    if (FAILED(result)) return result;
    *stream = new StreamObject(
        std::make_shared<StreamElement>(&Owner(), id, this, mode & ~STGM_CREATE), 0);
    return S_OK;
  });
}

HRESULT StorageObject::CreateStorage(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2,
                                     IStorage** storage) {
  if (storage != nullptr) *storage = nullptr;
  return Guarded([&] {
    HRESULT result = CheckNew(name, mode, reserved1 != 0 || reserved2 != 0, storage);
    if (SUCCEEDED(result)) result = PrepareNew(name, mode);
    if (FAILED(result)) return result;
    const compound::EntryId id = Document().CreateStorage(Id(), name, TimeNow());
    MarkChanged();
    *storage = new StorageObject(&Owner(), id, this, mode & ~STGM_CREATE);
    return S_OK;
  });
}

HRESULT StorageObject::OpenStorage(LPCOLESTR name, IStorage* priority, DWORD mode, SNB exclude,
                                   DWORD reserved, IStorage** storage) {
  if (storage != nullptr) *storage = nullptr;
  return Guarded([&] {
    compound::EntryId id = compound::kNoEntry;
    const bool extra = priority != nullptr || exclude != nullptr || reserved != 0;
    HRESULT result = CheckOpen(name, mode, extra, storage);
    if (SUCCEEDED(result)) result = FindToOpen(name, true, &id);
    if (FAILED(result)) return result;
    *storage = new StorageObject(&Owner(), id, this, mode & ~STGM_CREATE);
    return S_OK;
  });
}

HRESULT StorageObject::DestroyElement(LPCOLESTR name) {
  if (!IsElementName(name)) return STG_E_INVALIDNAME;
  return Guarded([&] {
    const HRESULT result = CheckChange();
    if (FAILED(result)) return result;
    const compound::EntryId id = Document().Find(Id(), name);
    if (id == compound::kNoEntry) return STG_E_FILENOTFOUND;
    Destroy(id);
    return S_OK;
  });
}

HRESULT StorageObject::RenameElement(LPCOLESTR oldName, LPCOLESTR newName) {
  if (!IsElementName(oldName) || !IsElementName(newName)) return STG_E_INVALIDNAME;
  return Guarded([&] {
    compound::EntryId id = compound::kNoEntry;
    const HRESULT result = FindToChange(oldName, &id);
    if (FAILED(result)) return result;
    Document().Rename(Id(), id, newName);
    MarkChanged();
    return S_OK;
  });
}

HRESULT StorageObject::MoveElementTo(LPCOLESTR name, IStorage* target, LPCOLESTR newName,
                                     DWORD flags) {
  if (target == nullptr) return STG_E_INVALIDPOINTER;
  if (!IsElementName(name) || !IsElementName(newName)) return STG_E_INVALIDNAME;
  if (flags != STGMOVE_MOVE && flags != STGMOVE_COPY) return STG_E_INVALIDFLAG;
  auto* to = dynamic_cast<StorageObject*>(target);
  if (to == nullptr) return STG_E_INVALIDPARAMETER;
  return Guarded([&] {
    compound::EntryId id = compound::kNoEntry;
    if (IsReverted() || to->IsReverted()) return STG_E_REVERTED;
    HRESULT result = to->CheckChange();
    if (SUCCEEDED(result) && flags == STGMOVE_MOVE) result = CheckChange();
    if (FAILED(result)) return result;
    id = Document().Find(Id(), name);
    if (id == compound::kNoEntry) return STG_E_FILENOTFOUND;
    // The target cannot be inside the element then: it would be open too.
    if (Owner().FindOpen(id) != nullptr) return STG_E_ACCESSDENIED;
    if (to->Document().Find(to->Id(), newName) != compound::kNoEntry) {
      return STG_E_FILEALREADYEXISTS;
    }
    if (flags == STGMOVE_MOVE && &Document() == &to->Document()) {
      Document().Move(Id(), id, to->Id(), newName);
      MarkChanged();
      to->MarkChanged();
      return S_OK;
    }
    result = CopyElement(Document(), id, *to, newName);
    if (SUCCEEDED(result) && flags == STGMOVE_MOVE) Destroy(id);
    return result;
  });
}

HRESULT StorageObject::CopyTo(DWORD excludedIdCount, const IID* excludedIds, SNB exclude,
                              IStorage* target) {
  if (target == nullptr) return STG_E_INVALIDPOINTER;
  if (excludedIdCount != 0 || excludedIds != nullptr || exclude != nullptr) {
    return STG_E_INVALIDPARAMETER;
  }
  auto* to = dynamic_cast<StorageObject*>(target);
  if (to == nullptr) return STG_E_INVALIDPARAMETER;
  return Guarded([&] {
    if (IsReverted() || to->IsReverted()) return STG_E_REVERTED;
    for (StorageObject* at = to; at != nullptr; at = at->Parent()) {
      if (at == this) return STG_E_ACCESSDENIED;
    }
    const HRESULT result = to->CheckChange();
    return FAILED(result) ? result : CopyContent(*this, *to);
  });
}

HRESULT StorageObject::EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                                    IEnumSTATSTG** elements) {
  if (elements == nullptr) return STG_E_INVALIDPOINTER;
  *elements = nullptr;
  if (reserved1 != 0 || reserved2 != nullptr || reserved3 != 0) return STG_E_INVALIDPARAMETER;
  if (IsReverted()) return STG_E_REVERTED;
  return Guarded([&] {
    if (!self_) self_ = std::make_shared<StorageObject*>(this);
    *elements = new EnumObject(self_);
    return S_OK;
  });
}

HRESULT StorageObject::SetElementTimes(LPCOLESTR name, const FILETIME* created,
                                       const FILETIME* accessed, const FILETIME* modified) {
  if (name != nullptr && !IsElementName(name)) return STG_E_INVALIDNAME;
  return Guarded([&] {
    HRESULT result = CheckChange();
    if (FAILED(result)) return result;
    compound::EntryId id = Id();
    if (name == nullptr && Parent() == nullptr) {
      return Owner().SetRootTimes(created, accessed, modified);
    }
    if (name != nullptr) result = FindToChange(name, &id);
    if (FAILED(result) || !Document().IsStorage(id)) return result;
    std::optional<std::uint64_t> createdTicks;
    std::optional<std::uint64_t> modifiedTicks;
    if (created != nullptr) createdTicks = Ticks(*created);
    if (modified != nullptr) modifiedTicks = Ticks(*modified);
    Document().SetTimes(id, createdTicks, modifiedTicks);
    if (name != nullptr) MarkChanged();
    return S_OK;
  });
}

HRESULT StorageObject::SetClass(const CLSID& id) {
  return Guarded([&] {
    const HRESULT result = CheckChange();
    if (FAILED(result)) return result;
    compound::ClassId bytes;
    compound::Store32(bytes.data(), id.Data1);
    compound::Store16(bytes.data() + 4, id.Data2);
    compound::Store16(bytes.data() + 6, id.Data3);
    std::memcpy(bytes.data() + 8, id.Data4, 8);
    Document().SetClass(Id(), bytes);
    MarkChanged();
    return S_OK;
  });
}

HRESULT StorageObject::SetStateBits(DWORD bits, DWORD mask) {
  return Guarded([&] {
    const HRESULT result = CheckChange();
    if (FAILED(result)) return result;
    Document().SetStateBits(Id(), bits, mask);
    MarkChanged();
    return S_OK;
  });
}

HRESULT StorageObject::Stat(STATSTG* stat, DWORD flag) {
  if (stat == nullptr) return STG_E_INVALIDPOINTER;
  if (flag != STATFLAG_DEFAULT && flag != STATFLAG_NONAME) return STG_E_INVALIDFLAG;
  if (IsReverted()) return STG_E_REVERTED;
  return Guarded([&] {
    compound::EntryInfo info = Document().Info(Id());
    const bool root = Parent() == nullptr;
    if (root) info.name = WideName(Owner().File().Path());
    FillStat(info, flag == STATFLAG_DEFAULT, stat);
    if (root) Owner().File().ReadTimes(&stat->ctime, &stat->atime, &stat->mtime);
    stat->grfMode = Mode();
    return S_OK;
  });
}

}  // namespace brevant::posix
