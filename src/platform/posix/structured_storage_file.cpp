#include "platform/posix/structured_storage_file.h"

#include "platform/posix/attributes.h"
#include "platform/posix/clock.h"
#include "platform/posix/file_search.h"
#include "platform/posix/folded_names.h"
#include "platform/posix/links.h"
#include "platform/posix/paths.h"
#include "platform/posix/structured_storage.h"
#include "platform/posix/times.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brevant::posix {
namespace {

StorageClock replacedClock = nullptr;

HRESULT ResultFromErrno(int error) {
  switch (error) {
    case ENOENT:
      return STG_E_FILENOTFOUND;
    case ENOTDIR:
    case ELOOP:
      return STG_E_PATHNOTFOUND;
    case EMFILE:
    case ENFILE:
      return STG_E_TOOMANYOPENFILES;
    case ENOMEM:
      return STG_E_INSUFFICIENTMEMORY;
    case ENOSPC:
    case EDQUOT:
      return STG_E_MEDIUMFULL;
    case ENAMETOOLONG:
      return STG_E_INVALIDNAME;
    case EEXIST:
      return STG_E_FILEALREADYEXISTS;
    default:
      return STG_E_ACCESSDENIED;
  }
}

bool HoldLock(int descriptor, short type, off_t start, off_t length) {
  struct flock range {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = start;
  range.l_len = length;
  if (::fcntl(descriptor, F_OFD_SETLK, &range) == 0) return true;
  // A file system that knows no locks keeps nobody out.
  return errno != EAGAIN && errno != EACCES;
}

bool IsLockedByOthers(int descriptor, off_t start, off_t length) {
  struct flock range {};
  range.l_type = F_WRLCK;
  range.l_whence = SEEK_SET;
  range.l_start = start;
  range.l_len = length;
  return ::fcntl(descriptor, F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

// Files opened in other ways hold flock, other documents a lock on a range of bytes. Both belong to
// this opening, so they work inside the process as between processes. A writer locks everything.
// Byte 0 is locked by every reader, byte 1 by a reader that wants to be alone: it cannot have a
// lock for writing, which needs a writable descriptor.
bool Lock(int descriptor, bool writable, bool shared) {
  if (::flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) return false;
  if (writable) return HoldLock(descriptor, F_WRLCK, 0, 0);
  if (shared) {
    return HoldLock(descriptor, F_RDLCK, 0, 1) && !IsLockedByOthers(descriptor, 1, 1);
  }
  return HoldLock(descriptor, F_RDLCK, 0, 2) && !IsLockedByOthers(descriptor, 0, 0);
}

// Whether the path still leads to the file that was locked.
bool IsStillThere(int descriptor, const std::string& path) {
  struct stat locked {};
  struct stat named {};
  return ::fstat(descriptor, &locked) == 0 && ::stat(path.c_str(), &named) == 0 &&
         locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
}

std::string Absolute(const std::string& path) {
  if (!path.empty() && path.front() == '/') return path;
  char* current = ::getcwd(nullptr, 0);
  if (current == nullptr) return path;
  std::string absolute = current;
  std::free(current);
  if (absolute.back() != '/') absolute += '/';
  return absolute + path;
}

// Checks and locks a descriptor and makes it a file.
HRESULT Finish(int descriptor, const std::string& path, bool writable, bool shared,
               std::unique_ptr<StorageFile>* file) {
  std::unique_ptr<StorageFile> made;
  try {
    made = std::make_unique<StorageFile>(descriptor, Absolute(path));
  } catch (const std::bad_alloc&) {
    ::close(descriptor);
    return E_OUTOFMEMORY;
  }
  const FileReference reference(descriptor);
  FileFacts facts;
  if (!reference.ReadFacts(&facts)) return STG_E_READFAULT;
  if (!facts.isRegular) return STG_E_ACCESSDENIED;
  if (writable && (reference.Attributes(facts) & FILE_ATTRIBUTE_READONLY) != 0) {
    return STG_E_ACCESSDENIED;
  }
  if (!Lock(descriptor, writable, shared)) return STG_E_SHAREVIOLATION;
  *file = std::move(made);
  return S_OK;
}

constexpr int kOpenFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
// Boards hold addresses. A file that is there keeps the mode that its owner gave it.
constexpr unsigned kNewMode = 0600;
constexpr int kAttempts = 8;  // when others remove or replace the file meanwhile

// Whether another file may take this one's place: not where other names lead to it as well.
bool MayBeReplaced(const std::string& path, struct stat* facts) {
  return ::lstat(path.c_str(), facts) == 0 && S_ISREG(facts->st_mode) && facts->st_nlink == 1;
}

// Hands on what stays the same when a file is made anew in its place.
void TakeOver(int old, const struct stat& facts, int made) {
  // The owner can be kept by the superuser only.
  const bool owned = ::fchown(made, facts.st_uid, facts.st_gid) == 0;
  const bool moded = ::fchmod(made, facts.st_mode & 07777U) == 0;
  const FileReference reference(old);
  FileFacts times;
  const bool dated = reference.ReadFacts(&times) &&
                     FileReference(made).SetCreationTime(reference.CreationTime(times));
  static_cast<void>(owned && moded && dated);
}

// Removes what a kill left of a draft; not one that somebody is at, nor a directory.
HRESULT RemoveLeftDraft(const std::string& draft) {
  std::unique_ptr<StorageFile> left;
  const int descriptor = ::open(draft.c_str(), O_RDWR | O_NOFOLLOW | kOpenFlags);
  if (descriptor >= 0) {
    const HRESULT result = Finish(descriptor, draft, true, false, &left);
    const bool gone = SUCCEEDED(result) && !IsStillThere(descriptor, draft);
    if (result == STG_E_SHAREVIOLATION || gone) return STG_E_SHAREVIOLATION;
  }
  NameChange change(draft);
  if (::unlink(draft.c_str()) != 0 && errno != ENOENT) return STG_E_ACCESSDENIED;
  change.Removed();
  return S_OK;
}

// Opens the draft for a path. A fixed name, so that nothing is left when a process was killed, and
// so that two that make the same file meet at it; but always a new file, which nobody else can have
// put there. S_FALSE when the directory takes no new files.
HRESULT OpenDraft(const std::string& path, std::unique_ptr<StorageFile>* file) {
  const std::string draft = path + ".new~";
  NameChange change(draft);
  constexpr int kMode = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | kOpenFlags;
  int descriptor = ::open(draft.c_str(), kMode, kNewMode);
  if (descriptor < 0 && errno == EEXIST) {
    const HRESULT removed = RemoveLeftDraft(draft);
    if (FAILED(removed)) return removed;
    descriptor = ::open(draft.c_str(), kMode, kNewMode);
  }
  if (descriptor < 0) {
    const bool closed = errno == EACCES || errno == EPERM || errno == ENAMETOOLONG;
    return closed ? S_FALSE : ResultFromErrno(errno);
  }
  change.Added();
  HRESULT result = Finish(descriptor, path, true, false, file);
  if (SUCCEEDED(result) && !IsStillThere(descriptor, draft)) result = STG_E_SHAREVIOLATION;
  if (FAILED(result) && result != STG_E_SHAREVIOLATION) ::unlink(draft.c_str());
  return result;
}

// Opens the file itself, to be written where it stands: an old one, or a new one in its directory.
HRESULT OpenInPlace(const Resolved& resolved, std::unique_ptr<StorageFile>* file) {
  const int creation = resolved.found ? 0 : O_CREAT | O_EXCL;
  const int descriptor =
      OpenWithoutLeaving(resolved.path, O_RDWR | creation | kOpenFlags, kNewMode);
  if (descriptor < 0 && errno == (resolved.found ? ENOENT : EEXIST)) return S_FALSE;
  if (descriptor < 0) return ResultFromErrno(errno);
  const HRESULT result = Finish(descriptor, resolved.path, true, false, file);
  if (FAILED(result) || IsStillThere(descriptor, resolved.path)) return result;
  file->reset();
  return S_FALSE;
}

// S_FALSE when the name changed its file meanwhile.
HRESULT OpenAnew(const Resolved& resolved, std::unique_ptr<StorageFile>* file) {
  std::unique_ptr<StorageFile> old;
  HRESULT result = S_OK;
  if (resolved.found) result = OpenInPlace(resolved, &old);
  if (result != S_OK) return result;
  struct stat facts {};
  if (old != nullptr && !MayBeReplaced(resolved.path, &facts)) {
    *file = std::move(old);
    return S_OK;
  }
  const std::string draft = resolved.path + ".new~";
  std::unique_ptr<StorageFile> made;
  result = OpenDraft(resolved.path, &made);
  if (FAILED(result)) return result;
  if (result == S_FALSE) {
    if (old == nullptr) return OpenInPlace(resolved, file);
    *file = std::move(old);
    return S_OK;
  }
  try {
    if (old != nullptr) TakeOver(old->Descriptor(), facts, made->Descriptor());
    made->SetDraft(draft, std::move(old));
  } catch (const std::bad_alloc&) {
    ::unlink(draft.c_str());
    throw;
  }
  *file = std::move(made);
  return S_OK;
}

}  // namespace

std::string NarrowName(LPCOLESTR name) {
  std::string narrow;
  for (; name != nullptr && *name != 0; ++name) {
    narrow.push_back(static_cast<char>(*name == u'\\' ? u'/' : *name));
  }
  return narrow;
}

std::u16string WideName(std::string_view name) {
  std::u16string wide(name.size(), u'\0');
  std::transform(name.begin(), name.end(), wide.begin(), [](char c) {
    return static_cast<char16_t>(static_cast<std::int16_t>(static_cast<signed char>(c)));
  });
  return wide;
}

HRESULT ResultFromStatus(compound::Status status) {
  switch (status) {
    case compound::Status::kOk:
      return S_OK;
    case compound::Status::kNotFound:
      return STG_E_FILENOTFOUND;
    case compound::Status::kExists:
    case compound::Status::kNotCompound:
      return STG_E_FILEALREADYEXISTS;
    case compound::Status::kInvalidName:
      return STG_E_INVALIDNAME;
    case compound::Status::kCorrupt:
      return STG_E_DOCFILECORRUPT;
    case compound::Status::kReadOnly:
    case compound::Status::kInvalidChange:
      return STG_E_ACCESSDENIED;
    case compound::Status::kReadFault:
      return STG_E_READFAULT;
    case compound::Status::kMediumFull:
      return STG_E_MEDIUMFULL;
    case compound::Status::kTooLarge:
      return STG_E_DOCFILETOOLARGE;
    case compound::Status::kWriteFault:
    case compound::Status::kGivenUp:
      return STG_E_WRITEFAULT;
  }
  return E_FAIL;
}

void SetStorageClock(StorageClock clock) { replacedClock = clock; }

FILETIME StorageNow() {
  if (replacedClock != nullptr) return replacedClock();
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return now;
}

StorageFile::~StorageFile() {
  if (!draft_.empty()) ::unlink(draft_.c_str());
  ::close(descriptor_);
}

void StorageFile::SetDraft(const std::string& draft, std::unique_ptr<StorageFile> replaced) {
  draft_ = Absolute(draft);
  replaced_ = std::move(replaced);
}

HRESULT StorageFile::Publish() {
  if (!draft_.empty() && draft_ != path_) {
    NameChange change(path_);
    const unsigned flags = replaced_ != nullptr ? 0 : RENAME_NOREPLACE;
    bool moved = ::renameat2(AT_FDCWD, draft_.c_str(), AT_FDCWD, path_.c_str(), flags) == 0;
    // Not every file system can refuse to replace; the name was free a moment ago.
    if (!moved && (errno == EINVAL || errno == ENOSYS)) {
      moved = ::rename(draft_.c_str(), path_.c_str()) == 0;
    }
    if (!moved) return ResultFromErrno(errno);
    change.Added();
  }
  draft_.clear();
  replaced_.reset();
  return S_OK;
}

void StorageFile::ReadTimes(FILETIME* created, FILETIME* accessed, FILETIME* modified) const {
  const FileReference reference(descriptor_);
  FileFacts facts;
  if (!reference.ReadFacts(&facts)) return;
  *created = ToFileTime(reference.CreationTime(facts));
  *accessed = ToFileTime(facts.accessed);
  *modified = ToFileTime(facts.modified);
}

HRESULT StorageFile::SetTimes(const FILETIME* created, const FILETIME* accessed,
                              const FILETIME* modified) const {
  const auto given = [](const FILETIME* time) { return time != nullptr && Ticks(*time) != 0; };
  timespec times[2] = {{0, UTIME_OMIT}, {0, UTIME_OMIT}};
  if (given(accessed)) times[0] = ToTimespec(*accessed);
  if (given(modified)) times[1] = ToTimespec(*modified);
  if (::futimens(descriptor_, times) != 0) return ResultFromErrno(errno);
  const FileReference reference(descriptor_);
  if (given(created) && !reference.SetCreationTime(ToTimespec(*created))) {
    return ResultFromErrno(errno);
  }
  return S_OK;
}

HRESULT OpenStorageFile(const std::string& name, bool writable, bool shared,
                        std::unique_ptr<StorageFile>* file) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const Resolved resolved = Resolve(name.c_str());
    if (!resolved.found) return resolved.directoryFound ? STG_E_FILENOTFOUND : STG_E_PATHNOTFOUND;
    const int descriptor =
        OpenWithoutLeaving(resolved.path, (writable ? O_RDWR : O_RDONLY) | kOpenFlags);
    if (descriptor < 0 && errno == ENOENT) continue;
    if (descriptor < 0) return ResultFromErrno(errno);
    const HRESULT result = Finish(descriptor, resolved.path, writable, shared, file);
    if (FAILED(result)) return result;
    if (IsStillThere(descriptor, resolved.path)) return S_OK;
    file->reset();
  }
  return STG_E_SHAREVIOLATION;
}

HRESULT CreateStorageFile(const std::string& name, bool replace,
                          std::unique_ptr<StorageFile>* file) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const Resolved resolved = Resolve(name.c_str());
    if (!resolved.found && !resolved.directoryFound) return STG_E_PATHNOTFOUND;
    if (resolved.found && !replace) return STG_E_FILEALREADYEXISTS;
    const HRESULT result = OpenAnew(resolved, file);
    if (result != S_FALSE) return result;
  }
  return STG_E_SHAREVIOLATION;
}

HRESULT CreateTemporaryFile(std::unique_ptr<StorageFile>* file) {
  const char* directory = std::getenv("TMPDIR");
  std::string path = directory != nullptr && *directory != '\0' ? directory : "/tmp";
  if (path.back() != '/') path += '/';
  path += "~DFXXXXXX";
  const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor < 0) return errno == ENOENT ? STG_E_PATHNOTFOUND : ResultFromErrno(errno);
  const HRESULT result = Finish(descriptor, path, true, false, file);
  if (FAILED(result)) return result;
  (*file)->SetDraft(path, nullptr);
  return S_OK;
}

HRESULT SetFileTimes(const std::string& name, const FILETIME* created, const FILETIME* accessed,
                     const FILETIME* modified) {
  const Resolved resolved = Resolve(name.c_str());
  if (!resolved.found) return resolved.directoryFound ? STG_E_FILENOTFOUND : STG_E_PATHNOTFOUND;
  const int descriptor = OpenWithoutLeaving(resolved.path, O_RDONLY | kOpenFlags);
  if (descriptor < 0) return ResultFromErrno(errno);
  return StorageFile(descriptor, resolved.path).SetTimes(created, accessed, modified);
}

bool SyncDirectoryOf(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  // Not every file system can sync a directory; where it cannot there is nothing to be had.
  const bool synced = ::fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP;
  const int error = errno;
  ::close(descriptor);
  errno = error;
  return synced;
}

}  // namespace brevant::posix
