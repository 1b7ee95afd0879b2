#include "platform/posix/folded_names.h"

#include "platform/name_table.h"
#include "platform/posix/paths.h"

#include <algorithm>
#include <atomic>
#include <dirent.h>
#include <exception>
#include <list>
#include <memory>
#include <mutex>

namespace brevant::posix {
namespace {

constexpr std::size_t kRememberedDirectories = 8;

struct DirectoryCloser {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

bool Equal(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

struct Listing {
  dev_t device = 0;
  ino_t inode = 0;
  timespec modified{};
  TNameTable<UpperAscii> names;
  bool ambiguous = false;  // two names of it differ in letter case only

  // The name as the directory spells it; empty when there is none.
  std::string Spelled(std::string_view name) const {
    const std::uint32_t number = names.Find(name);
    return number == names.kNone ? std::string() : std::string(names.Name(number));
  }
  void Add(std::string_view name) {
    const auto [number, isNew] = names.Insert(name);
    if (isNew || names.Name(number) == name) return;
    ambiguous = true;
    if (name < names.Name(number)) names.Respell(number, name);
  }
  void Remove(std::string_view name) {
    const std::uint32_t number = names.Find(name);
    if (number != names.kNone) names.Remove(number);
  }
};

struct Memory {
  std::mutex mutex;
  std::list<Listing> listings;  // the one used last first

  Listing* Find(const struct stat& facts) {
    const auto found = std::find_if(listings.begin(), listings.end(), [&](const Listing& listing) {
      return listing.device == facts.st_dev && listing.inode == facts.st_ino;
    });
    if (found == listings.end()) return nullptr;
    listings.splice(listings.begin(), listings, found);
    return &listings.front();
  }

  void Forget(const struct stat& facts) {
    if (Find(facts) != nullptr) listings.pop_front();
  }

  void ForgetAll() noexcept {
    const std::lock_guard lock(mutex);
    listings.clear();
  }

  // Reads a directory; null when it cannot be read.
  Listing* Read(const char* directory) {
    const std::unique_ptr<DIR, DirectoryCloser> entries(::opendir(directory));
    struct stat facts {};
    if (entries == nullptr || ::fstat(::dirfd(entries.get()), &facts) != 0) return nullptr;
    Forget(facts);
    Listing listing;
    listing.device = facts.st_dev;
    listing.inode = facts.st_ino;
    // Taken before the names: what comes while they are read makes the time differ.
    listing.modified = facts.st_mtim;
    while (const dirent* entry = ::readdir(entries.get())) listing.Add(entry->d_name);
    listings.push_front(std::move(listing));
    if (listings.size() > kRememberedDirectories) listings.pop_back();
    return &listings.front();
  }
};

std::atomic<Memory*> remembered{nullptr};

// Never destroyed: look-ups may come from objects that live until the very end.
Memory& Remembered() {
  static Memory* const memory = std::make_unique<Memory>().release();
  remembered = memory;
  return *memory;
}

const char* Openable(const std::string& directory) {
  return directory.empty() ? "." : directory.c_str();
}

}  // namespace

std::string FindIgnoringCase(const std::string& directory, std::string_view name) {
  struct stat facts {};
  if (::stat(Openable(directory), &facts) != 0) return {};
  Memory& memory = Remembered();
  const std::lock_guard lock(memory.mutex);
  Listing* listing = memory.Find(facts);
  if (listing == nullptr || !Equal(listing->modified, facts.st_mtim)) {
    listing = memory.Read(Openable(directory));
  }
  if (listing == nullptr) return {};
  std::string spelled = listing->Spelled(name);
  if (spelled.empty() || ::lstat((directory + spelled).c_str(), &facts) == 0) return spelled;
  // It went without a word, within one tick of the directory's time.
  listing = memory.Read(Openable(directory));
  return listing == nullptr ? std::string() : listing->Spelled(name);
}

NameChange::NameChange(const std::string& path) noexcept {
  try {
    Note(path);
  } catch (const std::exception&) {
    // Without memory to keep what is remembered up, it is read again.
    if (Memory* memory = remembered.load()) memory->ForgetAll();
  }
}

void NameChange::Note(const std::string& path) {
  directory_.assign(path, 0, path.find_last_of('/') + 1);
  name_.assign(path, directory_.size());
  struct stat facts {};
  if (::stat(Openable(directory_), &facts) != 0) return;
  Memory& memory = Remembered();
  const std::lock_guard lock(memory.mutex);
  const Listing* listing = memory.Find(facts);
  known_ = listing != nullptr && Equal(listing->modified, facts.st_mtim);
  before_ = facts.st_mtim;
}

void NameChange::Tell(bool added) noexcept {
  struct stat facts {};
  if (!known_ || ::stat(Openable(directory_), &facts) != 0) return;
  Memory& memory = Remembered();
  const std::lock_guard lock(memory.mutex);
  Listing* listing = memory.Find(facts);
  if (listing == nullptr || !Equal(listing->modified, before_)) return;
  if (!added && listing->ambiguous) {
    memory.Forget(facts);
    return;
  }
  try {
    if (added) {
      listing->Add(name_);
    } else {
      listing->Remove(name_);
    }
    listing->modified = facts.st_mtim;
  } catch (const std::exception&) {
    // The change is made and cannot be refused any more.
    memory.Forget(facts);
  }
}

}  // namespace brevant::posix
