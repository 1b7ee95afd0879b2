#include "platform/posix/folded_names.h"

#include "platform/posix/paths.h"

#include <algorithm>
#include <dirent.h>
#include <list>
#include <memory>
#include <mutex>
#include <new>
#include <unordered_map>

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
  std::unordered_map<std::string, std::string> spelled;  // by the upper-cased name
  bool ambiguous = false;  // two names of it differ in letter case only

  void Add(std::string_view name) {
    auto [entry, isNew] = spelled.try_emplace(UpperCased(name), name);
    if (isNew || entry->second == name) return;
    ambiguous = true;
    if (name < entry->second) entry->second = name;
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

// Never destroyed: look-ups may come from objects that live until the very end.
Memory& Remembered() {
  static Memory* const memory = std::make_unique<Memory>().release();
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
  const std::string key = UpperCased(name);
  auto entry = listing->spelled.find(key);
  if (entry == listing->spelled.end()) return {};
  if (::lstat((directory + entry->second).c_str(), &facts) == 0) return entry->second;
  // It went without a word, within one tick of the directory's time.
  listing = memory.Read(Openable(directory));
  if (listing == nullptr) return {};
  entry = listing->spelled.find(key);
  return entry == listing->spelled.end() ? std::string() : entry->second;
}

NameChange::NameChange(const std::string& path)
    : directory_(path, 0, path.find_last_of('/') + 1), name_(path, directory_.size()) {
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
      listing->spelled.erase(UpperCased(name_));
    }
    listing->modified = facts.st_mtim;
  } catch (const std::bad_alloc&) {
    // The change is made and cannot be refused any more.
    memory.Forget(facts);
  }
}

}  // namespace brevant::posix
