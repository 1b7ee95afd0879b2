#include "platform/win32.h"
#include "store/elements.h"
#include "store/guard.h"
#include "store/wide_name.h"
#include "store/write_counter.h"

#include <brevant/store.h>

#include <memory>

namespace {

constexpr DWORD kOpen = 0x00000001;
constexpr DWORD kVanishes = 0x40000000;
constexpr DWORD kTimesPending = 0x80000000;
// What a change of an element's name, times or existence counts: its directory entry.
constexpr std::uint64_t kEntryBytes = 128;

DWORD Mode(int access, int create, int share) {
  return static_cast<DWORD>(access) | static_cast<DWORD>(create) | static_cast<DWORD>(share);
}

bool Creates(int create) { return (static_cast<DWORD>(create) & STGM_CREATE) != 0; }

const FILETIME* FileTimeOf(const TTime* time) {
  return time == nullptr ? nullptr : &time->FileTime();
}

}  // namespace

TStorage::TStorage() = default;

TStorage::TStorage(const char* name, int access, int create, int share) {
  Open(name, access, create, share);
}

TStorage::TStorage(IStorage* parent, const char* name, int access, int create, int share) {
  Open(parent, name, access, create, share);
}

TStorage::~TStorage() {
  if (IsOpen()) Close();
}

// Takes storage over; a parent is kept with a reference of its own.
int TStorage::Adopt(IStorage* storage, IStorage* parent) {
  const int adopted = brevant::Guarded(0, [&] {
    std::shared_ptr<brevant::WriteCounter> counter;
    if (parent != nullptr) counter = brevant::FindWriteCounter(parent);
    if (counter == nullptr) counter = std::make_shared<brevant::WriteCounter>();
    brevant::RegisterWriteCounter(storage, counter);
    counter_ = std::move(counter);
    return 1;
  });
  if (adopted == 0) {
    storage->Release();
    return 0;
  }
  storage_ = storage;
  parent_ = parent;
  if (parent_ != nullptr) parent_->AddRef();
  flags_ = kOpen;
  return 1;
}

int TStorage::Open(const char* name, int access, int create, int share) {
  if (IsOpen()) Close();
  if (name == nullptr) return 0;
  const int opened = brevant::Guarded(0, [&] {
    const auto wide = brevant::WideName(name);
    const DWORD mode = Mode(access, create, share);
    IStorage* storage = nullptr;
    const HRESULT result = Creates(create)
                               ? StgCreateDocfile(wide.c_str(), mode, 0, &storage)
                               : StgOpenStorage(wide.c_str(), nullptr, mode, nullptr, 0, &storage);
    return FAILED(result) ? 0 : Adopt(storage, nullptr);
  });
  if (opened != 0) GetInfo();
  return opened;
}

int TStorage::Open(IStorage* parent, const char* name, int access, int create, int share) {
  if (IsOpen()) Close();
  if (parent == nullptr || name == nullptr) return 0;
  const int opened = brevant::Guarded(0, [&] {
    const auto wide = brevant::WideName(name);
    const DWORD mode = Mode(access, create, share);
    IStorage* storage = nullptr;
    const HRESULT result =
        Creates(create) ? parent->CreateStorage(wide.c_str(), mode, 0, 0, &storage)
                        : parent->OpenStorage(wide.c_str(), nullptr, mode, nullptr, 0, &storage);
    return FAILED(result) ? 0 : Adopt(storage, parent);
  });
  if (opened != 0) GetInfo();
  return opened;
}

int TStorage::OpenTemporary(int extra) {
  if (IsOpen()) Close();
  IStorage* storage = nullptr;
  const DWORD mode =
      static_cast<DWORD>(extra) | STGM_CREATE | STGM_SHARE_EXCLUSIVE | STGM_READWRITE;
  if (FAILED(StgCreateDocfile(nullptr, mode, 0, &storage))) return 0;
  created_ = accessed_ = modified_ = TTime();
  if (Adopt(storage, nullptr) == 0) return 0;
  if ((mode & STGM_DELETEONRELEASE) != 0) flags_ |= kVanishes;
  return 1;
}

int TStorage::Close() {
  if (storage_ == nullptr) return 0;
  STATSTG stat{};
  // The times of what is gone after the release are nobody's.
  const bool named = (flags_ & (kTimesPending | kVanishes)) == kTimesPending &&
                     SUCCEEDED(storage_->Stat(&stat, STATFLAG_DEFAULT)) && stat.pwcsName != nullptr;
  brevant::ForgetWriteCounter(storage_);
  storage_->Release();
  storage_ = nullptr;
  // Element times can only be set on an element that is no longer open.
  if (named) {
    const FILETIME* created = &created_.FileTime();
    const FILETIME* accessed = &accessed_.FileTime();
    const FILETIME* modified = &modified_.FileTime();
    if (parent_ == nullptr) {
      StgSetTimes(stat.pwcsName, created, accessed, modified);
    } else {
      parent_->SetElementTimes(stat.pwcsName, created, accessed, modified);
      counter_->Add(kEntryBytes);
    }
    CoTaskMemFree(stat.pwcsName);
  }
  counter_.reset();
  if (parent_ != nullptr) parent_->Release();
  parent_ = nullptr;
  flags_ = 0;
  return 1;
}

int TStorage::Commit() {
  if (storage_ == nullptr || FAILED(storage_->Commit(STGC_DEFAULT))) return 0;
  // Only the root's commit reaches the file.
  if (parent_ == nullptr) counter_->Reset();
  return 1;
}

DWORD TStorage::BytesSinceCommit() const { return counter_ == nullptr ? 0 : counter_->Bytes(); }

int TStorage::Copy(IStorage* source) {
  if (source == nullptr || storage_ == nullptr) return 0;
  if (FAILED(source->CopyTo(0, nullptr, nullptr, storage_))) return 0;
  counter_->Add(brevant::BytesIn(source));
  return 1;
}

int TStorage::DeleteElement(const char* name) {
  if (storage_ == nullptr || name == nullptr) return 0;
  return brevant::Guarded(0, [&] {
    if (storage_->DestroyElement(brevant::WideName(name).c_str()) != S_OK) return 0;
    counter_->Add(kEntryBytes);
    return 1;
  });
}

int TStorage::RenameElement(const char* oldName, const char* newName) {
  if (storage_ == nullptr || oldName == nullptr || newName == nullptr) return 0;
  return brevant::Guarded(0, [&] {
    const auto from = brevant::WideName(oldName);
    const auto to = brevant::WideName(newName);
    if (storage_->RenameElement(from.c_str(), to.c_str()) != S_OK) return 0;
    counter_->Add(kEntryBytes);
    return 1;
  });
}

int TStorage::GetElementTimes(const char* name, TTime* created, TTime* accessed, TTime* modified) {
  if (storage_ == nullptr || name == nullptr) return 0;
  return brevant::Guarded(0, [&] {
    IStorage* opened = nullptr;
    if (FAILED(storage_->OpenStorage(brevant::WideName(name).c_str(), nullptr, STGM_SHARE_EXCLUSIVE,
                                     nullptr, 0, &opened))) {
      return 0;
    }
    const brevant::OwnedInterface<IStorage> element(opened);
    STATSTG stat{};
    if (FAILED(element->Stat(&stat, STATFLAG_NONAME))) return 0;
    if (created != nullptr) *created = TTime(stat.ctime);
    if (accessed != nullptr) *accessed = TTime(stat.atime);
    if (modified != nullptr) *modified = TTime(stat.mtime);
    return 1;
  });
}

int TStorage::SetElementTimes(const char* name, const TTime* created, const TTime* accessed,
                              const TTime* modified) {
  if (storage_ == nullptr || name == nullptr) return 0;
  return brevant::Guarded(0, [&] {
    const HRESULT result =
        storage_->SetElementTimes(brevant::WideName(name).c_str(), FileTimeOf(created),
                                  FileTimeOf(accessed), FileTimeOf(modified));
    if (FAILED(result)) return 0;
    counter_->Add(kEntryBytes);
    return 1;
  });
}

int TStorage::SetTimes(const TTime* created, const TTime* accessed, const TTime* modified) {
  if (created != nullptr) created_ = *created;
  if (accessed != nullptr) accessed_ = *accessed;
  if (modified != nullptr) modified_ = *modified;
  flags_ |= kTimesPending;
  return 1;
}

void TStorage::GetInfo() {
  STATSTG stat{};
  if (storage_ == nullptr || FAILED(storage_->Stat(&stat, STATFLAG_NONAME))) return;
  created_ = TTime(stat.ctime);
  accessed_ = TTime(stat.atime);
  modified_ = TTime(stat.mtime);
}
