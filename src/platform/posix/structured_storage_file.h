// The file of a compound document: how it is found, locked, written and timed. Below the seam only.
#pragma once

#include "compound/journal.h"
#include "platform/posix/structured_storage_bytes.h"

#include <brevant/platform_types.h>

#include <memory>
#include <string>
#include <string_view>

namespace brevant::posix {

// Names were made 16 bits wide by sign extension of each byte; this is the way back and forth.
std::string NarrowName(LPCOLESTR name);
std::u16string WideName(std::string_view name);

// What the engine's status means to a caller of the storage functions.
HRESULT ResultFromStatus(compound::Status status);

// The current time for storages; a test may replace the clock. Null restores the system's.
using StorageClock = FILETIME (*)();
void SetStorageClock(StorageClock clock);
FILETIME StorageNow();

// An open and locked file. The locks end with it.
class StorageFile {
 public:
  StorageFile(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}
  StorageFile(const StorageFile&) = delete;
  StorageFile& operator=(const StorageFile&) = delete;
  // Removes a draft that was never published.
  ~StorageFile();

  // Makes the file a draft: it stands under another name until it is published, then it takes the
  // place of the file given here, if one is, whose locks are held until then.
  void SetDraft(const std::string& draft, std::unique_ptr<StorageFile> replaced);
  // Gives a draft its own name, all at once: the old file stays whole up to that moment.
  HRESULT Publish();

  int Descriptor() const { return descriptor_; }
  // The file that a draft is going to replace; null when there is none.
  const StorageFile* Replaced() const { return replaced_.get(); }
  bool IsDraft() const { return !draft_.empty(); }
  // Absolute.
  const std::string& Path() const { return path_; }
  // The file's times, for the root storage.
  void ReadTimes(FILETIME* created, FILETIME* accessed, FILETIME* modified) const;
  HRESULT SetTimes(const FILETIME* created, const FILETIME* accessed,
                   const FILETIME* modified) const;

 private:
  int descriptor_;
  std::string path_;
  std::string draft_;  // empty once published
  std::unique_ptr<StorageFile> replaced_;
};

// Where the journal of a file stands. Must not outlive the file.
std::unique_ptr<compound::JournalPlace> MakeJournalPlace(const StorageFile& file);
// Before a file is made anew: whatever journal stands beside its name is finished, if it belongs to
// the file that is replaced, and out of the way. Throws compound::Error.
void SettleJournalBeforeCreation(const StorageFile& made);
// Before a file is moved, deleted or replaced by its name: finishes the job of its journal, so that
// none is left behind. Files that are no compound documents have none. S_OK, or why it cannot be.
HRESULT SettleJournalOf(const std::string& path);
// The name of a file's journal.
std::string JournalName(const std::string& path);

// Opens an existing file, shared among readers or not at all. S_OK, or a storage error code.
HRESULT OpenStorageFile(const std::string& name, bool writable, bool shared,
                        std::unique_ptr<StorageFile>* file);
// Opens a file to be made anew: one that is not there, or with `replace` one that is. What is
// written shows under the name only when the file is published.
HRESULT CreateStorageFile(const std::string& name, bool replace,
                          std::unique_ptr<StorageFile>* file);
// A new file with an unpredictable name in the system's directory for temporary files; removed
// unless it is published.
HRESULT CreateTemporaryFile(std::unique_ptr<StorageFile>* file);
// Sets those of a file's times that are given and not zero.
HRESULT SetFileTimes(const std::string& name, const FILETIME* created, const FILETIME* accessed,
                     const FILETIME* modified);
// Makes what was created, renamed and removed beside the path durable; false with errno set when
// that fails.
bool SyncDirectoryOf(const std::string& path);

}  // namespace brevant::posix
