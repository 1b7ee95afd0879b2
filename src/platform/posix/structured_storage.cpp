#include "platform/posix/structured_storage.h"

#include "platform/posix/structured_storage_objects.h"

#include <cstdlib>

namespace {

using namespace brevant::posix;

constexpr DWORD kAccessBits = 3;
constexpr DWORD kShareBits = 0x70;

bool IsKnownMode(DWORD mode, DWORD extra) {
  return (mode & ~(kAccessBits | kShareBits | extra)) == 0 &&
         (mode & kAccessBits) <= STGM_READWRITE;
}

// A root is open for itself alone, or for reading among readers.
bool IsRootMode(DWORD mode) {
  const DWORD share = mode & kShareBits;
  return share == STGM_SHARE_EXCLUSIVE ||
         (share == STGM_SHARE_DENY_WRITE && (mode & kAccessBits) == STGM_READ);
}

HRESULT MakeRoot(std::unique_ptr<StorageFile> file, std::unique_ptr<compound::Document> document,
                 DWORD mode, IStorage** storage) {
  auto open = std::make_unique<OpenDocument>(std::move(file), std::move(document),
                                             (mode & kAccessBits) == STGM_READ,
                                             (mode & STGM_DELETEONRELEASE) != 0);
  *storage = StorageObject::NewRoot(std::move(open), mode & (kAccessBits | kShareBits));
  return S_OK;
}

}  // namespace

HRESULT OleInitialize(void* reserved) { return reserved == nullptr ? S_OK : E_INVALIDARG; }

void OleUninitialize() {}

void CoTaskMemFree(void* memory) { std::free(memory); }

HRESULT StgCreateDocfile(LPCOLESTR name, DWORD mode, DWORD reserved, IStorage** storage) {
  if (storage == nullptr) return STG_E_INVALIDPOINTER;
  *storage = nullptr;
  if (reserved != 0) return STG_E_INVALIDPARAMETER;
  if (!IsKnownMode(mode, STGM_CREATE | STGM_DELETEONRELEASE) ||
      (mode & kShareBits) != STGM_SHARE_EXCLUSIVE || (mode & kAccessBits) == STGM_READ) {
    return STG_E_INVALIDFLAG;
  }
  return Guarded([&] {
    std::unique_ptr<StorageFile> file;
    const HRESULT result =
        name == nullptr ? CreateTemporaryFile(&file)
                        : CreateStorageFile(NarrowName(name), (mode & STGM_CREATE) != 0, &file);
    if (FAILED(result)) return result;
    // What vanishes at the release anyway need not survive a power cut.
    const bool synced = name != nullptr && (mode & STGM_DELETEONRELEASE) == 0;
    if (name != nullptr) SettleJournalBeforeCreation(*file);
    auto document = compound::Document::Create(MakeByteFile(file->Descriptor(), synced, false), {},
                                               synced ? MakeJournalPlace(*file) : nullptr);
    const HRESULT published = file->Publish();
    if (FAILED(published)) return published;
    if (synced && !SyncDirectoryOf(file->Path())) return STG_E_WRITEFAULT;
    return MakeRoot(std::move(file), std::move(document), mode, storage);
  });
}

HRESULT StgOpenStorage(LPCOLESTR name, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved,
                       IStorage** storage) {
  if (storage == nullptr) return STG_E_INVALIDPOINTER;
  *storage = nullptr;
  if (name == nullptr) return STG_E_INVALIDNAME;
  if (priority != nullptr || exclude != nullptr || reserved != 0) return STG_E_INVALIDPARAMETER;
  if (!IsKnownMode(mode, 0) || !IsRootMode(mode)) return STG_E_INVALIDFLAG;
  return Guarded([&] {
    const bool writable = (mode & kAccessBits) != STGM_READ;
    std::unique_ptr<StorageFile> file;
    const HRESULT result = OpenStorageFile(NarrowName(name), writable,
                                           (mode & kShareBits) == STGM_SHARE_DENY_WRITE, &file);
    if (FAILED(result)) return result;
    compound::DocumentOptions options;
    options.readOnly = !writable;
    auto document = compound::Document::Open(MakeByteFile(file->Descriptor(), true, false), options,
                                             MakeJournalPlace(*file));
    return MakeRoot(std::move(file), std::move(document), mode, storage);
  });
}

HRESULT StgIsStorageFile(LPCOLESTR name) {
  if (name == nullptr) return STG_E_INVALIDNAME;
  return Guarded([&] {
    std::unique_ptr<StorageFile> file;
    const HRESULT result = OpenStorageFile(NarrowName(name), false, true, &file);
    if (FAILED(result)) return result;
    compound::DocumentOptions options;
    options.readOnly = true;
    try {
      compound::Document::Open(MakeByteFile(file->Descriptor(), false, false), options);
    } catch (const compound::Error& error) {
      if (error.GetStatus() == compound::Status::kNotCompound) return S_FALSE;
    }
    return S_OK;
  });
}

HRESULT StgSetTimes(LPCOLESTR name, const FILETIME* created, const FILETIME* accessed,
                    const FILETIME* modified) {
  if (name == nullptr) return STG_E_INVALIDNAME;
  return Guarded([&] { return SetFileTimes(NarrowName(name), created, accessed, modified); });
}
