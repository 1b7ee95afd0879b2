#include "platform/posix/sharing.h"

#include "platform/posix/errors.h"
#include "platform/posix/file_io.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace brevant::posix {
namespace {

struct ShareEntry {
  int descriptor;
  DWORD access;
  DWORD share;
};

using FileIdentity = std::pair<std::uint64_t, std::uint64_t>;  // device and inode

std::mutex tableMutex;
std::map<FileIdentity, std::vector<ShareEntry>>& Table() {
  // Never destroyed: files may be closed by other static objects at exit.
  static auto* table = new std::map<FileIdentity, std::vector<ShareEntry>>;
  return *table;
}

FileIdentity IdentityOf(const FileFacts& facts) { return {facts.device, facts.inode}; }

// Whether somebody who shares as told lets somebody else in with this access.
bool Permits(DWORD share, DWORD access) {
  return ((access & GENERIC_READ) == 0 || (share & FILE_SHARE_READ) != 0) &&
         ((access & GENERIC_WRITE) == 0 || (share & FILE_SHARE_WRITE) != 0);
}

// A range lock of another opening: compound documents lock that way.
bool IsRangeLocked(int descriptor) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return ::fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace

DWORD EnterShare(int descriptor, const FileFacts& facts, DWORD access, DWORD share) {
  if ((access & (GENERIC_READ | GENERIC_WRITE)) == 0) return ERROR_SUCCESS;
  const std::lock_guard<std::mutex> guard(tableMutex);
  std::vector<ShareEntry>& entries = Table()[IdentityOf(facts)];
  const bool refused = std::any_of(entries.begin(), entries.end(), [&](const ShareEntry& entry) {
    return !Permits(entry.share, access) || !Permits(share, entry.access);
  });
  if (refused) return ERROR_SHARING_VIOLATION;
  const bool exclusive = (share & (FILE_SHARE_READ | FILE_SHARE_WRITE)) == 0;
  const bool locked = ::flock(descriptor, (exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB) == 0;
  // A file system without locks keeps the rules inside the process only.
  const bool lockedOut = !locked && errno == EWOULDBLOCK;
  // A document is open to readers that do not mind its being written.
  const bool mindsDocuments = (access & GENERIC_WRITE) != 0 || (share & FILE_SHARE_WRITE) == 0;
  if (lockedOut || (mindsDocuments && IsRangeLocked(descriptor))) {
    if (entries.empty()) Table().erase(IdentityOf(facts));
    return ERROR_SHARING_VIOLATION;
  }
  entries.push_back({descriptor, access, share});
  return ERROR_SUCCESS;
}

void LeaveShare(int descriptor, const FileFacts& facts) {
  const std::lock_guard<std::mutex> guard(tableMutex);
  const auto found = Table().find(IdentityOf(facts));
  if (found == Table().end()) return;
  std::erase_if(found->second,
                [&](const ShareEntry& entry) { return entry.descriptor == descriptor; });
  if (found->second.empty()) Table().erase(found);
}

bool IsInUse(const std::string& path, const FileFacts& facts) {
  {
    const std::lock_guard<std::mutex> guard(tableMutex);
    const auto found = Table().find(IdentityOf(facts));
    if (found != Table().end() &&
        std::any_of(found->second.begin(), found->second.end(), [](const ShareEntry& entry) {
          return (entry.share & FILE_SHARE_DELETE) == 0;
        })) {
      return true;
    }
  }
  // A link is deleted and moved as itself, whoever uses its target.
  if (!facts.isRegular || facts.isLink) return false;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool inUse = (::flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) ||
                     IsRangeLocked(descriptor);
  ::close(descriptor);
  return inUse;
}

}  // namespace brevant::posix
