#include "platform/posix/file_io.h"

#include "platform/posix/attributes.h"
#include "platform/posix/errors.h"
#include "platform/posix/file_search.h"
#include "platform/posix/folded_names.h"
#include "platform/posix/links.h"
#include "platform/posix/paths.h"
#include "platform/posix/sharing.h"
#include "platform/posix/structured_storage_file.h"
#include "platform/posix/times.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace {

using brevant::posix::Fail;
using brevant::posix::FailForMemory;
using brevant::posix::FailFromErrno;
using brevant::posix::FileFacts;
using brevant::posix::FileReference;

constexpr DWORD kKnownAccess = GENERIC_READ | GENERIC_WRITE | FILE_WRITE_ATTRIBUTES;
constexpr DWORD kKnownShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kAttributeFlags = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                  FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                                  FILE_ATTRIBUTE_TEMPORARY;
constexpr DWORD kKnownFlags = kAttributeFlags | FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN;

class OpenFile {
 public:
  explicit OpenFile(DWORD access) : access_(access) {}
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (entered_) brevant::posix::LeaveShare(descriptor_, facts_);
    if (descriptor_ >= 0) ::close(descriptor_);
  }

  // Takes the descriptor over, and the file's place in the table of open files; 0 or an error.
  DWORD Enter(int descriptor, DWORD share) {
    descriptor_ = descriptor;
    if (!FileReference(descriptor_).ReadFacts(&facts_)) {
      return brevant::posix::ErrorFromErrno(errno);
    }
    if (!facts_.isRegular) return ERROR_ACCESS_DENIED;
    const DWORD error = brevant::posix::EnterShare(descriptor_, facts_, access_, share);
    entered_ = error == ERROR_SUCCESS;
    return error;
  }

  int Descriptor() const { return descriptor_; }
  bool Allows(DWORD access) const { return (access_ & access) != 0; }
  FileReference Reference() const { return FileReference(descriptor_); }
  // As at the opening.
  const FileFacts& Facts() const { return facts_; }
  // The opening made the file, at this path.
  void SetNewPath(std::string path) { newPath_ = std::move(path); }

  // Makes the content durable and, for a file that the opening made, that it is there.
  bool Sync() const {
    return ::fsync(descriptor_) == 0 &&
           (newPath_.empty() || brevant::posix::SyncDirectoryOf(newPath_));
  }

 private:
  int descriptor_ = -1;
  DWORD access_;
  FileFacts facts_;
  bool entered_ = false;
  std::string newPath_;
};

// The files that handles stand for. A handle is the address of its object, so a stale one is found
// out instead of used.
class HandleTable {
 public:
  static HandleTable& Instance() {
    static auto* table = new HandleTable;  // never destroyed, see the table of sharing
    return *table;
  }

  HANDLE Add(std::shared_ptr<OpenFile> file) {
    const std::lock_guard<std::mutex> guard(mutex_);
    HANDLE handle = file.get();
    files_.emplace(handle, std::move(file));
    return handle;
  }

  std::shared_ptr<OpenFile> Find(HANDLE handle) {
    const std::lock_guard<std::mutex> guard(mutex_);
    const auto found = files_.find(handle);
    return found == files_.end() ? nullptr : found->second;
  }

  bool Remove(HANDLE handle) {
    std::shared_ptr<OpenFile> closed;  // closes outside the lock
    const std::lock_guard<std::mutex> guard(mutex_);
    const auto found = files_.find(handle);
    if (found == files_.end()) return false;
    closed = std::move(found->second);
    files_.erase(found);
    return true;
  }

 private:
  std::mutex mutex_;
  std::unordered_map<HANDLE, std::shared_ptr<OpenFile>> files_;
};

// The file of a handle that has at least one of the access rights; null with the error set.
std::shared_ptr<OpenFile> FindFile(HANDLE handle, DWORD access) {
  std::shared_ptr<OpenFile> file = HandleTable::Instance().Find(handle);
  if (file == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
  } else if (access != 0 && !file->Allows(access)) {
    SetLastError(ERROR_ACCESS_DENIED);
    file = nullptr;
  }
  return file;
}

int OpenMode(DWORD access) {
  if ((access & GENERIC_WRITE) == 0) return O_RDONLY;
  return (access & GENERIC_READ) == 0 ? O_WRONLY : O_RDWR;
}

bool ValidCall(DWORD access, DWORD share, const void* security, DWORD creation, DWORD flags,
               HANDLE templateFile) {
  return (access & ~kKnownAccess) == 0 && (share & ~kKnownShare) == 0 &&
         (security == nullptr || security == brevant::OwnerOnly()) && creation >= CREATE_NEW &&
         creation <= TRUNCATE_EXISTING && (flags & ~kKnownFlags) == 0 && templateFile == nullptr &&
         (creation != TRUNCATE_EXISTING || (access & GENERIC_WRITE) != 0);
}

// What is to be done with the name, and what was found out on the way.
struct OpenRequest {
  DWORD access;
  DWORD share;
  DWORD creation;
  DWORD flags;
  unsigned permissions;  // of a new file
  bool existed = false;
  std::string newPath;
};

// A descriptor, or -1 with the last error set.
int OpenDescriptor(const char* name, OpenRequest* request) {
  constexpr int kAlways = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  // Again when somebody makes or removes the file between look-up and opening.
  for (int attempt = 0; attempt < 8; ++attempt) {
    const brevant::posix::Resolved resolved = brevant::posix::Resolve(name);
    request->existed = resolved.found;
    int mode = OpenMode(request->access) | kAlways;
    if (resolved.found) {
      if (request->creation == CREATE_NEW) return Fail(ERROR_FILE_EXISTS), -1;
    } else {
      const bool mayCreate = request->creation == CREATE_NEW ||
                             request->creation == CREATE_ALWAYS || request->creation == OPEN_ALWAYS;
      if (!mayCreate || !resolved.directoryFound) return Fail(resolved.Error()), -1;
      mode |= O_CREAT | O_EXCL;
    }
    if (resolved.found) {
      request->newPath.clear();
      // Whoever only reads goes where a link leads, as every program does.
      const int descriptor = request->access == GENERIC_READ
                                 ? ::open(resolved.path.c_str(), mode)
                                 : brevant::posix::OpenWithoutLeaving(resolved.path, mode);
      if (descriptor >= 0) return descriptor;
    } else {
      brevant::posix::NameChange change(resolved.path);
      request->newPath = resolved.path;  // before there is a descriptor that could be lost
      const int descriptor = ::open(resolved.path.c_str(), mode, request->permissions);
      if (descriptor >= 0) {
        change.Added();
        return descriptor;
      }
    }
    const bool raced = resolved.found ? errno == ENOENT : errno == EEXIST;
    if (!raced) return FailFromErrno(), -1;
  }
  return FailFromErrno(), -1;
}

// Applies what the creation asks for to a file that is open and shared as wanted; 0 or an error.
DWORD Prepare(const OpenFile& file, const OpenRequest& request) {
  const bool writes = (request.access & GENERIC_WRITE) != 0;
  const bool truncates = request.creation == TRUNCATE_EXISTING || request.creation == CREATE_ALWAYS;
  if (request.existed && (writes || truncates) &&
      (file.Reference().Attributes(file.Facts()) & FILE_ATTRIBUTE_READONLY) != 0) {
    return ERROR_ACCESS_DENIED;
  }
  if (request.existed && truncates && file.Facts().size != 0) {
    // CREATE_ALWAYS may come without the right to write.
    const bool cut = writes ? ::ftruncate(file.Descriptor(), 0) == 0 : false;
    if (!cut) return writes ? brevant::posix::ErrorFromErrno(errno) : ERROR_ACCESS_DENIED;
  }
  const DWORD bits = request.flags & kAttributeFlags;
  if (!request.existed || request.creation == CREATE_ALWAYS) {
    FileFacts now;
    if (file.Reference().ReadFacts(&now)) {
      // Bits that the file system cannot keep are no reason to refuse the file.
      file.Reference().SetAttributes(now, bits | FILE_ATTRIBUTE_ARCHIVE);
    }
  }
  return ERROR_SUCCESS;
}

bool IsTimeToKeep(const FILETIME* time) {
  return time == nullptr || brevant::posix::Ticks(*time) == 0 ||
         brevant::posix::Ticks(*time) == 0xFFFFFFFFFFFFFFFF;
}

}  // namespace

HANDLE CreateFileA(const char* name, DWORD access, DWORD share, void* security, DWORD creation,
                   DWORD flags, HANDLE templateFile) try {
  if (!ValidCall(access, share, security, creation, flags, templateFile)) {
    return Fail(ERROR_INVALID_PARAMETER), INVALID_HANDLE_VALUE;
  }
  OpenRequest request{access, share, creation, flags, security == nullptr ? 0666U : 0600U,
                      false,  {}};
  // Made first, so that whatever fails from here on closes the file.
  auto file = std::make_shared<OpenFile>(access);
  const int descriptor = OpenDescriptor(name, &request);
  if (descriptor < 0) return INVALID_HANDLE_VALUE;
  DWORD error = file->Enter(descriptor, share);
  if (error == ERROR_SUCCESS) error = Prepare(*file, request);
  if (error != ERROR_SUCCESS) return Fail(error), INVALID_HANDLE_VALUE;
  file->SetNewPath(std::move(request.newPath));
  const bool tells = creation == CREATE_ALWAYS || creation == OPEN_ALWAYS;
  SetLastError(tells && request.existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return HandleTable::Instance().Add(std::move(file));
} catch (const std::bad_alloc&) {
  return FailForMemory(), INVALID_HANDLE_VALUE;
}

BOOL CloseHandle(HANDLE handle) {
  return HandleTable::Instance().Remove(handle) ? TRUE : Fail(ERROR_INVALID_HANDLE);
}

BOOL ReadFile(HANDLE handle, void* buffer, DWORD count, DWORD* read, void* overlapped) {
  if (read != nullptr) *read = 0;
  if (read == nullptr || overlapped != nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const std::shared_ptr<OpenFile> file = FindFile(handle, GENERIC_READ);
  if (file == nullptr) return FALSE;
  DWORD done = 0;
  while (done < count) {
    const ssize_t got = ::read(file->Descriptor(), static_cast<char*>(buffer) + done, count - done);
    if (got == 0) break;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return errno == EIO ? Fail(ERROR_READ_FAULT) : FailFromErrno();
    done += static_cast<DWORD>(got);
  }
  *read = done;
  return TRUE;
}

BOOL WriteFile(HANDLE handle, const void* buffer, DWORD count, DWORD* written, void* overlapped) {
  if (written != nullptr) *written = 0;
  if (written == nullptr || overlapped != nullptr) return Fail(ERROR_INVALID_PARAMETER);
  const std::shared_ptr<OpenFile> file = FindFile(handle, GENERIC_WRITE);
  if (file == nullptr) return FALSE;
  while (*written < count) {
    const ssize_t put =
        ::write(file->Descriptor(), static_cast<const char*>(buffer) + *written, count - *written);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return errno == EIO ? Fail(ERROR_WRITE_FAULT) : FailFromErrno();
    *written += static_cast<DWORD>(put);
  }
  return TRUE;
}

DWORD SetFilePointer(HANDLE handle, LONG low, LONG* high, DWORD origin) {
  const std::shared_ptr<OpenFile> file = FindFile(handle, 0);
  if (file == nullptr) return INVALID_SET_FILE_POINTER;
  if (origin > FILE_END) return Fail(ERROR_INVALID_PARAMETER), INVALID_SET_FILE_POINTER;
  std::int64_t distance = low;
  if (high != nullptr) {
    distance = static_cast<std::int64_t>((static_cast<std::uint64_t>(*high) << 32) |
                                         static_cast<DWORD>(low));
  }
  const int whence =
      origin == FILE_BEGIN ? SEEK_SET : (origin == FILE_CURRENT ? SEEK_CUR : SEEK_END);
  const off_t before = ::lseek(file->Descriptor(), 0, SEEK_CUR);
  const off_t position = ::lseek(file->Descriptor(), distance, whence);
  if (position < 0) return Fail(ERROR_NEGATIVE_SEEK), INVALID_SET_FILE_POINTER;
  if (high == nullptr && position > 0xFFFFFFFF) {
    ::lseek(file->Descriptor(), before, SEEK_SET);
    return Fail(ERROR_INVALID_PARAMETER), INVALID_SET_FILE_POINTER;
  }
  if (high != nullptr) *high = static_cast<LONG>(position >> 32);
  SetLastError(ERROR_SUCCESS);  // the low half alone cannot tell a failure
  return static_cast<DWORD>(position);
}

BOOL SetEndOfFile(HANDLE handle) {
  const std::shared_ptr<OpenFile> file = FindFile(handle, GENERIC_WRITE);
  if (file == nullptr) return FALSE;
  const off_t position = ::lseek(file->Descriptor(), 0, SEEK_CUR);
  return ::ftruncate(file->Descriptor(), position) == 0 ? TRUE : FailFromErrno();
}

BOOL FlushFileBuffers(HANDLE handle) {
  const std::shared_ptr<OpenFile> file = FindFile(handle, GENERIC_WRITE);
  if (file == nullptr) return FALSE;
  return file->Sync() ? TRUE : FailFromErrno();
}

DWORD GetFileSize(HANDLE handle, DWORD* high) {
  const std::shared_ptr<OpenFile> file = FindFile(handle, 0);
  if (file == nullptr) return INVALID_FILE_SIZE;
  FileFacts facts;
  if (!file->Reference().ReadFacts(&facts)) return FailFromErrno(), INVALID_FILE_SIZE;
  if (high != nullptr) *high = static_cast<DWORD>(facts.size >> 32);
  SetLastError(ERROR_SUCCESS);  // the low half alone cannot tell a failure
  return static_cast<DWORD>(facts.size);
}

BOOL GetFileTime(HANDLE handle, FILETIME* created, FILETIME* accessed, FILETIME* modified) try {
  const std::shared_ptr<OpenFile> file = FindFile(handle, 0);
  if (file == nullptr) return FALSE;
  FileFacts facts;
  if (!file->Reference().ReadFacts(&facts)) return FailFromErrno();
  if (created != nullptr) {
    *created = brevant::posix::ToFileTime(file->Reference().CreationTime(facts));
  }
  if (accessed != nullptr) *accessed = brevant::posix::ToFileTime(facts.accessed);
  if (modified != nullptr) *modified = brevant::posix::ToFileTime(facts.modified);
  return TRUE;
} catch (const std::bad_alloc&) {
  return FailForMemory();
}

BOOL SetFileTime(HANDLE handle, const FILETIME* created, const FILETIME* accessed,
                 const FILETIME* modified) try {
  const std::shared_ptr<OpenFile> file = FindFile(handle, GENERIC_WRITE | FILE_WRITE_ATTRIBUTES);
  if (file == nullptr) return FALSE;
  const FileReference reference = file->Reference();
  FileFacts facts;
  if (!reference.ReadFacts(&facts)) return FailFromErrno();
  const DWORD bits = reference.Attributes(facts);
  timespec times[2] = {{0, UTIME_OMIT}, {0, UTIME_OMIT}};
  if (!IsTimeToKeep(accessed)) times[0] = brevant::posix::ToTimespec(*accessed);
  if (!IsTimeToKeep(modified)) times[1] = brevant::posix::ToTimespec(*modified);
  if (::futimens(file->Descriptor(), times) != 0) return FailFromErrno();
  if (!IsTimeToKeep(created) && !reference.SetCreationTime(brevant::posix::ToTimespec(*created))) {
    return FailFromErrno();
  }
  if (IsTimeToKeep(modified)) return TRUE;
  // The attributes were kept for the old time; they go along with the new one.
  if (!reference.ReadFacts(&facts) || !reference.SetAttributes(facts, bits)) {
    return FailFromErrno();
  }
  return TRUE;
} catch (const std::bad_alloc&) {
  return FailForMemory();
}
