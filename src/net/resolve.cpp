// Name look-ups of a connection, beside the waiting loop.
#include "net/address.h"
#include "net/connection.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>
#include <string_view>

namespace brevant {
namespace {

using platform::HostEntry;

// What the look-up's thread and the waiting one share. The thread may outlive the wait, so it owns
// its part of it.
struct LookUp {
  std::string host;
  bool dotted = false;
  DWORD address = 0;
  std::mutex mutex;
  std::condition_variable done;
  bool finished = false;
  bool found = false;
  HostEntry entry;
};

void RunLookUp(LookUp& job) noexcept {
  HostEntry entry;
  bool found = false;
  try {
    found = job.dotted ? platform::LookUpHostAddress(job.address, &entry)
                       : platform::LookUpHostName(job.host.c_str(), &entry);
  } catch (const std::bad_alloc&) {
    found = false;
  }
  const std::lock_guard lock(job.mutex);
  job.entry = std::move(entry);
  job.found = found;
  job.finished = true;
  job.done.notify_all();
}

// Lays the parts of a host entry out in a fixed area, as far as they fit.
class FlatWriter {
 public:
  FlatWriter(char* area, std::size_t size) : next_(area), end_(area + size) {}

  std::size_t Room() const { return static_cast<std::size_t>(end_ - next_); }

  template <class T>
  T* Array(std::size_t count) {
    const auto at = reinterpret_cast<std::uintptr_t>(next_);
    next_ += (alignof(T) - at % alignof(T)) % alignof(T);
    T* result = reinterpret_cast<T*>(next_);
    next_ += count * sizeof(T);
    return result;
  }

  char* Text(std::string_view text) {
    char* result = next_;
    std::copy(text.begin(), text.end(), result);
    result[text.size()] = '\0';
    next_ += text.size() + 1;
    return result;
  }

 private:
  char* next_;
  char* end_;
};

}  // namespace
}  // namespace brevant

using brevant::FlatWriter;
using brevant::platform::HostEntry;

void TConnection::StoreHost(const HostEntry& entry) {
  constexpr std::size_t kLongestName = 255;
  constexpr std::size_t kMostAddresses = 32;
  const std::size_t addresses = std::min(entry.addresses.size(), kMostAddresses);
  // Pointers, addresses and what alignment may cost; the rest is for the texts.
  const std::size_t forAddresses =
      (addresses + 1) * sizeof(char*) + addresses * sizeof(DWORD) + 2 * sizeof(char*);
  FlatWriter writer(hostArea_.data(), hostArea_.size());
  hostent* host = writer.Array<hostent>(1);
  host->h_name = writer.Text(std::string_view(entry.name).substr(0, kLongestName));

  std::size_t room = writer.Room() - forAddresses - 3 * sizeof(char*);
  std::size_t aliases = 0;
  while (aliases < entry.aliases.size()) {
    const std::size_t cost = entry.aliases[aliases].size() + 1 + sizeof(char*);
    if (cost > room) break;
    room -= cost;
    ++aliases;
  }
  host->h_aliases = writer.Array<char*>(aliases + 1);
  for (std::size_t i = 0; i < aliases; ++i) host->h_aliases[i] = writer.Text(entry.aliases[i]);
  host->h_aliases[aliases] = nullptr;

  host->h_addrtype = AF_INET;
  host->h_length = sizeof(DWORD);
  host->h_addr_list = writer.Array<char*>(addresses + 1);
  for (std::size_t i = 0; i < addresses; ++i) {
    host->h_addr_list[i] = reinterpret_cast<char*>(writer.Array<DWORD>(1));
    std::memcpy(host->h_addr_list[i], &entry.addresses[i], sizeof(DWORD));
  }
  host->h_addr_list[addresses] = nullptr;
  hasHost_ = true;
}

int TConnection::Resolve(const char* host) {
  if (host == nullptr) return 0;
  hasHost_ = false;
  auto job = std::make_shared<brevant::LookUp>();
  job->host = host;
  job->dotted = brevant::IsDottedAddress(host);
  if (job->dotted) job->address = brevant::ParseDottedAddress(host);
  const DWORD armed = Arm();
  lastWait_ = brevant::WaitEnd::kReady;
  if (brevant::platform::RunDetached([job] { brevant::RunLookUp(*job); })) {
    lastWait_ = brevant::WaitUntil(
        [&job](DWORD slice) {
          std::unique_lock lock(job->mutex);
          return job->done.wait_for(lock, std::chrono::milliseconds(slice),
                                    [&job] { return job->finished; });
        },
        armed, continueFlag_);
  }
  const std::lock_guard lock(job->mutex);
  if (job->finished && job->found) {
    StoreHost(job->entry);
    return 1;
  }
  // An address says where to connect whether or not it has a name; but whoever interrupts the
  // look-up does not want the connection.
  const bool givenUp =
      lastWait_ == brevant::WaitEnd::kInterrupted || lastWait_ == brevant::WaitEnd::kStopped;
  if (!job->dotted || givenUp) return 0;
  StoreHost({host, {}, {job->address}});
  return 1;
}

const hostent* TConnection::Host() const {
  return hasHost_ ? reinterpret_cast<const hostent*>(hostArea_.data()) : nullptr;
}

DWORD TConnection::HostAddress() const {
  DWORD address = 0;
  if (hasHost_ && Host()->h_addr_list[0] != nullptr)
    std::memcpy(&address, Host()->h_addr_list[0], sizeof address);
  return address;
}
