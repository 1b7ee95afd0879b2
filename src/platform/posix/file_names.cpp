// The file functions that work on names: attributes, deleting, moving, directories, full paths.
#include "platform/posix/attributes.h"
#include "platform/posix/errors.h"
#include "platform/posix/file_io.h"
#include "platform/posix/file_search.h"
#include "platform/posix/folded_names.h"
#include "platform/posix/links.h"
#include "platform/posix/paths.h"
#include "platform/posix/sharing.h"
#include "platform/posix/structured_storage.h"
#include "platform/posix/structured_storage_file.h"
#include "platform/unpredictable_name.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using brevant::posix::Fail;
using brevant::posix::FailForMemory;
using brevant::posix::FailFromErrno;
using brevant::posix::FileFacts;
using brevant::posix::FileReference;
using brevant::posix::NameChange;
using brevant::posix::Resolve;
using brevant::posix::Resolved;

constexpr DWORD kSettableBits = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                                FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_TEMPORARY;

class Descriptor {
 public:
  Descriptor(const std::string& path, int mode, unsigned permissions = 0)
      : value_(::open(path.c_str(), mode | O_CLOEXEC, permissions)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  int Value() const { return value_; }
  explicit operator bool() const { return value_ >= 0; }

 private:
  int value_;
};

bool IsReadOnly(const std::string& path, const FileFacts& facts) {
  return !facts.isDirectory && !facts.isLink &&
         (FileReference(path).Attributes(facts) & FILE_ATTRIBUTE_READONLY) != 0;
}

// The resolved directory with the last component as the caller spelled it.
std::string AsSpelled(const Resolved& resolved, const char* name) {
  std::string spelled = brevant::posix::NativePath(name);
  while (spelled.size() > 1 && spelled.back() == '/') spelled.pop_back();
  const std::string last = spelled.substr(spelled.find_last_of('/') + 1);
  return resolved.path.substr(0, resolved.path.find_last_of('/') + 1) + last;
}

bool CopyBytes(int from, int to) {
  std::vector<char> buffer(std::size_t{64} * 1024);
  for (;;) {
    const ssize_t got = ::read(from, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    for (ssize_t done = 0; done < got;) {
      const ssize_t put = ::write(to, buffer.data() + done, static_cast<std::size_t>(got - done));
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) return false;
      done += put;
    }
  }
}

// Moves a file to another file system: a copy with its times and attributes takes the name when it
// is complete, then the source goes.
BOOL MoveByCopy(const std::string& from, const std::string& to, const FileFacts& facts) {
  if (!facts.isRegular || facts.isLink) return Fail(ERROR_NOT_SAME_DEVICE);
  const std::string copy = to.substr(0, to.find_last_of('/') + 1) + "moving-" +
                           brevant::platform::UnpredictableName() + "~";
  const Descriptor source(from, O_RDONLY | O_NOFOLLOW);
  const Descriptor target(copy, O_WRONLY | O_CREAT | O_EXCL, facts.mode & 0777U);
  if (!source || !target) return FailFromErrno();
  const timespec times[2] = {facts.accessed, facts.modified};
  const FileReference reference(target.Value());
  FileFacts now;
  const bool done = CopyBytes(source.Value(), target.Value()) &&
                    ::futimens(target.Value(), times) == 0 && reference.ReadFacts(&now) &&
                    reference.SetAttributes(now, FileReference(from).Attributes(facts)) &&
                    ::fsync(target.Value()) == 0 && ::rename(copy.c_str(), to.c_str()) == 0;
  if (!done) {
    FailFromErrno();
    ::unlink(copy.c_str());
    return FALSE;
  }
  return ::unlink(from.c_str()) == 0 ? TRUE : FailFromErrno();
}

// Whether both lead to one object; links are told from what they lead to.
bool AreOneObject(const std::string& a, const std::string& b) {
  FileFacts factsOfA;
  FileFacts factsOfB;
  return FileReference(a).ReadFacts(&factsOfA) && FileReference(b).ReadFacts(&factsOfB) &&
         !factsOfA.isLink && !factsOfB.isLink && factsOfA.device == factsOfB.device &&
         factsOfA.inode == factsOfB.inode;
}

// Whether two paths, such as "d/a" and "d/./a", name one entry of one directory.
bool AreOneEntry(const std::string& a, const std::string& b) {
  if (a == b) return true;
  const std::size_t endOfA = a.find_last_of('/') + 1;
  const std::size_t endOfB = b.find_last_of('/') + 1;
  return a.substr(endOfA) == b.substr(endOfB) &&
         AreOneObject(a.substr(0, endOfA) + ".", b.substr(0, endOfB) + ".");
}

BOOL RenameOver(const Resolved& from, const Resolved& to, const std::string& spelled) {
  // A rename leaves two names of one file as they are.
  const bool sameEntry = AreOneEntry(from.path, to.path);
  const bool moved = !sameEntry && AreOneObject(from.path, to.path)
                         ? ::unlink(from.path.c_str()) == 0
                         : ::rename(from.path.c_str(), to.path.c_str()) == 0;
  if (!moved) return FALSE;
  // The old spelling first, so that a kill leaves one file and not two that differ in case only.
  if (to.path == spelled) return TRUE;
  return ::rename(to.path.c_str(), spelled.c_str()) == 0;
}

BOOL RenameToNew(const std::string& from, const std::string& to) {
  NameChange change(to);
  bool moved = ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
  // Not every file system can refuse to replace; the name was free a moment ago.
  if (!moved && (errno == EINVAL || errno == ENOSYS)) {
    moved = ::rename(from.c_str(), to.c_str()) == 0;
  }
  if (moved) change.Added();
  return moved;
}

bool Unlink(const std::string& path) {
  NameChange change(path);
  if (::unlink(path.c_str()) != 0) return false;
  change.Removed();
  return true;
}

// A document's journal knows it by its name: the job is finished before that changes.
DWORD SettleJournal(const std::string& path) {
  const HRESULT result = brevant::posix::SettleJournalOf(path);
  // The codes of structured storage hold those of files.
  return FAILED(result) ? static_cast<DWORD>(result) & 0xFFFFU : ERROR_SUCCESS;
}

// Whether the existing target may be replaced; 0 or an error.
DWORD CheckTarget(const Resolved& to, DWORD flags) {
  if ((flags & MOVEFILE_REPLACE_EXISTING) == 0) return ERROR_ALREADY_EXISTS;
  FileFacts facts;
  if (!FileReference(to.path).ReadFacts(&facts)) return ERROR_SUCCESS;
  const bool refused =
      facts.isDirectory || IsReadOnly(to.path, facts) || brevant::posix::IsInUse(to.path, facts);
  return refused ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

DWORD CopyPath(const std::string& path, DWORD size, char* buffer) {
  if (path.size() >= size || buffer == nullptr) return static_cast<DWORD>(path.size() + 1);
  std::memcpy(buffer, path.c_str(), path.size() + 1);
  return static_cast<DWORD>(path.size());
}

// The absolute path without ".", ".." and doubled separators.
std::string Absolute(std::string path) {
  if (path.front() != '/') {
    const std::unique_ptr<char, decltype(&std::free)> current(::getcwd(nullptr, 0), &std::free);
    path = std::string(current == nullptr ? "" : current.get()) + "/" + path;
  }
  std::string result;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t start = path.find_first_not_of('/', at);
    if (start == std::string::npos) break;
    at = std::min(path.find('/', start), path.size());
    const std::string part = path.substr(start, at - start);
    if (part == "..") {
      result.resize(result.find_last_of('/') == std::string::npos ? 0 : result.find_last_of('/'));
    } else if (part != ".") {
      result += "/" + part;
    }
  }
  if (result.empty() || path.back() == '/') result += "/";
  return result;
}

}  // namespace

DWORD GetFileAttributesA(const char* name) try {
  const Resolved file = Resolve(name);
  FileFacts facts;
  if (!file.found) return Fail(file.Error()), INVALID_FILE_ATTRIBUTES;
  const FileReference reference(file.path);
  if (!reference.ReadFacts(&facts)) return FailFromErrno(), INVALID_FILE_ATTRIBUTES;
  return reference.Attributes(facts);
} catch (const std::bad_alloc&) {
  return FailForMemory(), INVALID_FILE_ATTRIBUTES;
}

BOOL SetFileAttributesA(const char* name, DWORD attributes) try {
  const Resolved file = Resolve(name);
  FileFacts facts;
  if (!file.found) return Fail(file.Error());
  const FileReference reference(file.path);
  if (!reference.ReadFacts(&facts)) return FailFromErrno();
  // What GetFileAttributesA gives for a directory may come back.
  if (facts.isDirectory) attributes &= ~FILE_ATTRIBUTE_DIRECTORY;
  if (facts.isLink) {
    if (brevant::posix::TargetWithoutLeaving(file.path).empty()) return Fail(ERROR_ACCESS_DENIED);
    attributes &= ~FILE_ATTRIBUTE_REPARSE_POINT;
  }
  if ((attributes & ~kSettableBits) != 0 ||
      (facts.isDirectory && (attributes & FILE_ATTRIBUTE_TEMPORARY) != 0)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  return reference.SetAttributes(facts, attributes) ? TRUE : FailFromErrno();
} catch (const std::bad_alloc&) {
  return FailForMemory();
}

BOOL DeleteFileA(const char* name) try {
  const Resolved file = Resolve(name);
  FileFacts facts;
  if (!file.found) return Fail(file.Error());
  if (!FileReference(file.path).ReadFacts(&facts)) return FailFromErrno();
  if ((facts.isDirectory && !facts.isLink) || IsReadOnly(file.path, facts)) {
    return Fail(ERROR_ACCESS_DENIED);
  }
  if (brevant::posix::IsInUse(file.path, facts)) return Fail(ERROR_SHARING_VIOLATION);
  const DWORD error = SettleJournal(file.path);
  if (error == ERROR_SHARING_VIOLATION) return Fail(error);
  if (!Unlink(file.path)) return FailFromErrno();
  // What cannot be brought into the file goes with it.
  if (error != ERROR_SUCCESS) Unlink(brevant::posix::JournalName(file.path));
  return TRUE;
} catch (const std::bad_alloc&) {
  return FailForMemory();
}

BOOL MoveFileA(const char* from, const char* to) {
  return MoveFileExA(from, to, MOVEFILE_COPY_ALLOWED);
}

BOOL MoveFileExA(const char* from, const char* to, DWORD flags) try {
  if ((flags & ~(MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED)) != 0) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const Resolved source = Resolve(from);
  if (!source.found) return Fail(source.Error());
  const Resolved target = Resolve(to);
  if (!target.found && !target.directoryFound) return Fail(ERROR_PATH_NOT_FOUND);
  FileFacts facts;
  if (!FileReference(source.path).ReadFacts(&facts)) return FailFromErrno();
  if (brevant::posix::IsInUse(source.path, facts)) return Fail(ERROR_SHARING_VIOLATION);
  const std::string spelled = AsSpelled(target, to);
  const bool itself = target.found && AreOneEntry(source.path, target.path);
  DWORD error = SettleJournal(source.path);
  if (target.found && !itself) {
    if (error == ERROR_SUCCESS) error = CheckTarget(target, flags);
    if (error == ERROR_SUCCESS) error = SettleJournal(target.path);
  }
  if (error != ERROR_SUCCESS) return Fail(error);
  const BOOL moved =
      target.found ? RenameOver(source, target, spelled) : RenameToNew(source.path, spelled);
  if (moved) return TRUE;
  if (errno == EXDEV && (flags & MOVEFILE_COPY_ALLOWED) != 0) {
    return MoveByCopy(source.path, target.found ? target.path : spelled, facts);
  }
  return FailFromErrno();
} catch (const std::bad_alloc&) {
  return FailForMemory();
}

BOOL CreateDirectoryA(const char* name, void* security) try {
  if (security != nullptr && security != brevant::OwnerOnly()) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const Resolved directory = Resolve(name);
  if (directory.found) return Fail(ERROR_ALREADY_EXISTS);
  std::string path = directory.path;
  if (!directory.directoryFound) {
    // A final separator asks for a directory, which this is going to be.
    path = brevant::posix::NativePath(name);
    if (path.empty() || path.back() != '/') return Fail(ERROR_PATH_NOT_FOUND);
    while (!path.empty() && path.back() == '/') path.pop_back();
    return path.empty() ? Fail(ERROR_PATH_NOT_FOUND) : CreateDirectoryA(path.c_str(), security);
  }
  NameChange change(path);
  if (::mkdir(path.c_str(), security == nullptr ? 0777 : 0700) != 0) return FailFromErrno();
  change.Added();
  return TRUE;
} catch (const std::bad_alloc&) {
  return FailForMemory();
}

void* brevant::OwnerOnly() {
  static char mark = 0;  // known by its address
  return &mark;
}

BOOL RemoveDirectoryA(const char* name) try {
  const Resolved directory = Resolve(name);
  if (!directory.found) return Fail(directory.Error());
  if (::rmdir(directory.path.c_str()) == 0) return TRUE;
  return errno == ENOTDIR ? Fail(ERROR_DIRECTORY) : FailFromErrno();
} catch (const std::bad_alloc&) {
  return FailForMemory();
}

DWORD GetTempPathA(DWORD size, char* path) try {
  const char* directory = std::getenv("TMPDIR");
  std::string result = directory != nullptr && directory[0] == '/' ? directory : "/tmp";
  if (result.back() != '/') result += '/';
  return CopyPath(result, size, path);
} catch (const std::bad_alloc&) {
  return FailForMemory(), 0;
}

DWORD GetFullPathNameA(const char* name, DWORD size, char* path, char** filePart) try {
  if (name == nullptr || name[0] == '\0') return Fail(ERROR_INVALID_NAME), 0;
  const DWORD length = CopyPath(Absolute(brevant::posix::NativePath(name)), size, path);
  if (filePart != nullptr && length < size && path != nullptr) {
    char* last = std::strrchr(path, '/') + 1;
    *filePart = *last == '\0' ? nullptr : last;
  }
  return length;
} catch (const std::bad_alloc&) {
  return FailForMemory(), 0;
}
