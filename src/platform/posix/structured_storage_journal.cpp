// Where a document's journal stands: x.mwd.jnl beside x.mwd. No search for documents finds it, for
// its extension differs, that of its short name too.
#include "platform/posix/folded_names.h"
#include "platform/posix/links.h"
#include "platform/posix/structured_storage.h"
#include "platform/posix/structured_storage_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace brevant::posix {
namespace {

using compound::Status;

constexpr char kEnding[] = ".jnl";
constexpr int kMostSetAside = 10000;
constexpr int kOpenFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;

// The journal lies beside the file itself, whichever link leads there.
std::string RealPath(const std::string& path) {
  if (!IsLink(path)) return path;
  char* real = ::realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string result = real;
  std::free(real);
  return result;
}

class PlaceBesideFile final : public compound::JournalPlace {
 public:
  PlaceBesideFile(std::string path, int document)
      : path_(std::move(path)), journal_(JournalName(path_)), document_(document) {}

  Status Open(std::unique_ptr<compound::ByteFile>* journal) override {
    const int descriptor = ::open(journal_.c_str(), O_RDONLY | kOpenFlags);
    if (descriptor < 0) return OpenStatus();
    *journal = MakeByteFile(descriptor, false, true);
    struct stat facts {};
    if (::fstat(descriptor, &facts) != 0) return Status::kReadFault;
    return S_ISREG(facts.st_mode) ? Status::kOk : Status::kNotCompound;
  }

  Status Create(std::unique_ptr<compound::ByteFile>* journal) override {
    NameChange change(journal_);
    const int descriptor =
        ::open(journal_.c_str(), O_RDWR | O_CREAT | O_EXCL | kOpenFlags, S_IRUSR | S_IWUSR);
    if (descriptor < 0) return CreateStatus();
    try {
      *journal = MakeByteFile(descriptor, true, true);
    } catch (const std::bad_alloc&) {
      ::unlink(journal_.c_str());
      throw;
    }
    change.Added();
    LetInTheSame(descriptor);
    return Status::kOk;
  }

  Status Remove() override {
    NameChange change(journal_);
    if (::unlink(journal_.c_str()) != 0) return errno == ENOENT ? Status::kOk : WriteStatus();
    change.Removed();
    return Status::kOk;
  }

  Status SetAside() override {
    struct stat facts {};
    if (::lstat(journal_.c_str(), &facts) != 0) {
      return errno == ENOENT ? Status::kOk : Status::kWriteFault;
    }
    for (int number = 1; number <= kMostSetAside; ++number) {
      const std::string name = path_ + ".aside-" + std::to_string(number) + kEnding;
      if (Reserve(name, S_ISDIR(facts.st_mode))) return Rename(name);
      if (errno != EEXIST) return WriteStatus();
    }
    return Status::kWriteFault;
  }

  Status SyncNames() override { return SyncDirectoryOf(journal_) ? Status::kOk : WriteStatus(); }

 private:
  static Status OpenStatus() {
    switch (errno) {
      case ENOENT:
      case ENAMETOOLONG:
        return Status::kNotFound;
      case ELOOP:  // a symbolic link
      case ENXIO:  // a socket
        return Status::kNotCompound;
      case EACCES:
        return Status::kReadOnly;
      default:
        return Status::kReadFault;
    }
  }

  static Status CreateStatus() {
    switch (errno) {
      case EEXIST:
        return Status::kExists;
      case EACCES:  // the directory takes no new files
      case EPERM:
      case EROFS:
        return Status::kReadOnly;
      default:
        return WriteStatus();
    }
  }

  // Whoever may use the document must be able to finish its job.
  void LetInTheSame(int descriptor) const {
    struct stat facts {};
    if (::fstat(document_, &facts) != 0) return;
    // The owner can be kept by the superuser only.
    const bool owned = ::fchown(descriptor, facts.st_uid, facts.st_gid) == 0;
    const bool moded = ::fchmod(descriptor, facts.st_mode & 0777U) == 0;
    static_cast<void>(owned && moded);
  }

  // Makes a place of that name, which only an empty one can be: nothing there is overwritten.
  static bool Reserve(const std::string& name, bool directory) {
    if (directory) return ::mkdir(name.c_str(), S_IRWXU) == 0;
    const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | kOpenFlags, S_IRUSR);
    if (descriptor < 0) return false;
    ::close(descriptor);
    return true;
  }

  Status Rename(const std::string& name) const {
    if (::rename(journal_.c_str(), name.c_str()) != 0) return WriteStatus();
    return Status::kOk;
  }

  std::string path_;
  std::string journal_;
  int document_;
};

// Whether the file begins like a compound document. Others may have journals of their own kind.
bool IsDocument(const std::string& path) {
  static constexpr unsigned char kSignature[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
  const int descriptor = ::open(path.c_str(), O_RDONLY | kOpenFlags);
  if (descriptor < 0) return errno == EACCES;
  unsigned char begin[sizeof kSignature] = {};
  const ssize_t got = ::pread(descriptor, begin, sizeof begin, 0);
  ::close(descriptor);
  return got == static_cast<ssize_t>(sizeof begin) &&
         std::memcmp(begin, kSignature, sizeof begin) == 0;
}

}  // namespace

std::string JournalName(const std::string& path) { return path + kEnding; }

std::unique_ptr<compound::JournalPlace> MakeJournalPlace(const StorageFile& file) {
  return std::make_unique<PlaceBesideFile>(RealPath(file.Path()), file.Descriptor());
}

void SettleJournalBeforeCreation(const StorageFile& made) {
  const StorageFile* old = made.IsDraft() ? made.Replaced() : &made;
  const auto place = MakeJournalPlace(made);
  if (old == nullptr) {
    compound::SettleJournal(*place, nullptr);
  } else {
    compound::SettleJournal(*place, MakeByteFile(old->Descriptor(), true, false).get());
    // The removal of the old file's journal must not be lost when the new file takes the name.
    compound::Check(place->SyncNames());
  }
}

HRESULT SettleJournalOf(const std::string& path) {
  struct stat facts {};
  if (::lstat(JournalName(path).c_str(), &facts) != 0 || IsLink(path) || !IsDocument(path)) {
    return S_OK;
  }
  std::unique_ptr<StorageFile> file;
  const HRESULT result = OpenStorageFile(path, true, false, &file);
  if (FAILED(result)) return result;
  try {
    const auto bytes = MakeByteFile(file->Descriptor(), true, false);
    compound::SettleJournal(*MakeJournalPlace(*file), bytes.get());
    return S_OK;
  } catch (const compound::Error& error) {
    return ResultFromStatus(error.GetStatus());
  }
}

}  // namespace brevant::posix
