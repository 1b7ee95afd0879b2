// The test double of RASAPI32.DLL, see service.h. The build makes several of it; those named by the
// WITHOUT_ definitions lack functions.
#include "dial_up/service.h"

#include "platform/win32.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>

namespace {

using ras_double::Desk;
using ras_double::Dialled;
using ras_double::Step;
using Word = std::uint32_t;
// 32 bits, but a pointer where the platform's own service has one.
using Handle = brevant::platform::RasHandle;
using Notifier = void(WINAPI*)(unsigned int, Word, Word);

constexpr unsigned int kDialEvent = 0xCCCD;
constexpr std::size_t kHandleSize = sizeof(Handle);

// Offsets and sizes of Windows 95, with four bytes of alignment throughout.
constexpr Word kParametersSize = 1052;
constexpr Word kConnectionSize = 408 + kHandleSize;
constexpr Word kStatusSize = 160;
constexpr Word kEntrySize = 264;
constexpr Word kProjectionSize = 40;
constexpr std::size_t kNameOffset = 4;

Word WordAt(const void* record, std::size_t offset = 0) {
  Word value;
  std::memcpy(&value, static_cast<const char*>(record) + offset, sizeof value);
  return value;
}

void PutWord(void* record, std::size_t offset, Word value) {
  std::memcpy(static_cast<char*>(record) + offset, &value, sizeof value);
}

void PutText(void* record, std::size_t offset, const std::string& text) {
  std::memcpy(static_cast<char*>(record) + offset, text.c_str(), text.size() + 1);
}

Handle HandleOf(std::uintptr_t number) {
  Handle handle{};
  std::memcpy(&handle, &number, sizeof handle);
  return handle;
}

std::uintptr_t NumberOf(Handle handle) {
  std::uintptr_t number = 0;
  std::memcpy(&number, &handle, sizeof handle);
  return number;
}

struct Connection {
  Step step;
  int queries = 0;       // since the step came
  int queriesLeft = -1;  // until it is gone, when it was hung up
  std::string entryName;
  bool hasIpProjection = true;
};

class Service final : public Desk {
 public:
  ~Service() { WaitForThreads(); }

  void Reset() override {
    DropConnections();
    WaitForThreads();
    const std::lock_guard<std::mutex> guard(mutex_);
    steps_.clear();
    queryResults_.clear();
    connections_.clear();
    active_.clear();
    entries_.clear();
    dials_.clear();
    calls_.clear();
    rooms_.clear();
    hook_ = nullptr;
    dialResult_ = listResult_ = 0;
    queriesUntilGone_ = 0;
  }
  void SetSteps(std::vector<Step> steps) override { Set(steps_, std::move(steps)); }
  void SetDialResult(Word result) override { Set(dialResult_, result); }
  void SetQueryResults(std::vector<Word> results) override {
    std::reverse(results.begin(), results.end());
    Set(queryResults_, std::move(results));
  }
  void SetQueriesUntilGone(int count) override { Set(queriesUntilGone_, count); }
  void DropConnections() override {
    const std::lock_guard<std::mutex> guard(mutex_);
    connections_.clear();
    changed_.notify_all();
  }
  void SetActive(std::vector<ras_double::ActiveConnection> active) override {
    const std::lock_guard<std::mutex> guard(mutex_);
    for (const ras_double::ActiveConnection& connection : active) {
      Connection made;
      made.step.state = ras_double::kConnected;
      made.entryName = connection.entryName;
      made.hasIpProjection = connection.hasIpProjection;
      active_.push_back(++lastHandle_);
      connections_[lastHandle_] = made;
    }
  }
  void SetEntries(std::vector<std::string> entries) override { Set(entries_, std::move(entries)); }
  void SetListResult(Word result) override { Set(listResult_, result); }
  void SetBeforeReport(std::function<void(const Step&)> hook) override {
    Set(hook_, std::move(hook));
  }
  void Report(Word state) override {
    std::thread([notify = Get(notifier_), state] { notify(kDialEvent, state, 0); }).join();
  }
  void StartReporting(Word state) override {
    reporting_ = true;
    reporter_ = std::thread([this, notify = Get(notifier_), state] {
      while (reporting_.load(std::memory_order_relaxed)) notify(kDialEvent, state, 0);
    });
  }
  void StopReporting() override {
    reporting_.store(false, std::memory_order_relaxed);
    reporter_.join();
  }
  void WaitForThreads() override {
    std::vector<std::thread> ending;
    {
      const std::lock_guard<std::mutex> guard(mutex_);
      ending.swap(threads_);
    }
    for (std::thread& thread : ending) thread.join();
  }
  std::vector<Dialled> Dials() const override { return Get(dials_); }
  std::vector<std::string> Calls() const override { return Get(calls_); }
  std::vector<Word> EntryRooms() const override { return Get(rooms_); }
  std::uintptr_t ActiveHandle(std::size_t number) const override {
    const std::lock_guard<std::mutex> guard(mutex_);
    return active_.at(number);
  }

  Word Dial(const void* extensions, const char* phoneBook, const char* parameters,
            Word notifierType, void* notifier, Handle* handle) {
    const std::lock_guard<std::mutex> guard(mutex_);
    Called("RasDialA");
    if (handle == nullptr || parameters == nullptr) return ras_double::kInvalidParameter;
    if (WordAt(parameters) != kParametersSize) return ras_double::kInvalidSize;
    dials_.push_back({WordAt(parameters), parameters + 4, parameters + 261, parameters + 390,
                      parameters + 519, parameters + 776, parameters + 1033, extensions != nullptr,
                      phoneBook != nullptr, NumberOf(*handle) == 0, notifierType});
    // The real one leaves a handle behind even so; nobody may use it.
    *handle = HandleOf(++lastHandle_);
    if (dialResult_ != 0) return dialResult_;
    notifier_ = reinterpret_cast<Notifier>(notifier);
    Connection made;
    made.entryName = dials_.back().entryName;
    connections_[lastHandle_] = made;
    threads_.emplace_back(&Service::Run, this, lastHandle_, steps_, notifier_);
    return ras_double::kSuccess;
  }

  Word HangUp(Handle handle) {
    const std::lock_guard<std::mutex> guard(mutex_);
    Called("RasHangUpA");
    const auto found = connections_.find(NumberOf(handle));
    if (found == connections_.end()) return ras_double::kInvalidHandle;
    found->second.queriesLeft = queriesUntilGone_;
    changed_.notify_all();
    return ras_double::kSuccess;
  }

  Word GetStatus(Handle handle, char* status) {
    const std::lock_guard<std::mutex> guard(mutex_);
    Called("RasGetConnectStatusA");
    if (WordAt(status) != kStatusSize) return ras_double::kInvalidSize;
    if (!queryResults_.empty()) {
      const Word result = queryResults_.back();
      queryResults_.pop_back();
      if (result != 0) return result;
    }
    const auto found = connections_.find(NumberOf(handle));
    if (found == connections_.end()) return ras_double::kInvalidHandle;
    Connection& connection = found->second;
    if (connection.queriesLeft >= 0 && connection.queriesLeft-- == 0) {
      connections_.erase(found);
      changed_.notify_all();
      return ras_double::kInvalidHandle;
    }
    PutWord(status, 4, connection.step.state);
    PutWord(status, 8, connection.step.error);
    ++connection.queries;
    changed_.notify_all();
    return ras_double::kSuccess;
  }

  Word EnumConnections(char* records, Word* bytes, Word* count) {
    const std::lock_guard<std::mutex> guard(mutex_);
    Called("RasEnumConnectionsA");
    if (WordAt(records) != kConnectionSize) return ras_double::kInvalidSize;
    if (listResult_ != 0) return listResult_;
    const Word needed = static_cast<Word>(connections_.size()) * kConnectionSize;
    if (!Fits(needed, bytes)) return ras_double::kBufferTooSmall;
    for (const auto& [number, connection] : connections_) {
      PutWord(records, 0, kConnectionSize);
      const Handle handle = HandleOf(number);
      std::memcpy(records + 4, &handle, kHandleSize);
      PutText(records, 4 + kHandleSize, connection.entryName);
      records += kConnectionSize;
    }
    *count = static_cast<Word>(connections_.size());
    return ras_double::kSuccess;
  }

  Word EnumEntries(const char* reserved, const char* phoneBook, char* records, Word* bytes,
                   Word* count) {
    const std::lock_guard<std::mutex> guard(mutex_);
    Called("RasEnumEntriesA");
    rooms_.push_back(*bytes);
    if (reserved != nullptr || phoneBook != nullptr) return ras_double::kInvalidParameter;
    if (WordAt(records) != kEntrySize) return ras_double::kInvalidSize;
    if (listResult_ != 0) return listResult_;
    const Word needed = static_cast<Word>(entries_.size()) * kEntrySize;
    if (!Fits(needed, bytes)) return ras_double::kBufferTooSmall;
    for (const std::string& entry : entries_) {
      PutWord(records, 0, kEntrySize);
      // A name that fills its room has no terminator.
      std::memcpy(records + kNameOffset, entry.c_str(),
                  std::min<std::size_t>(entry.size() + 1, 257));
      records += kEntrySize;
    }
    *count = static_cast<Word>(entries_.size());
    return ras_double::kSuccess;
  }

  Word GetProjection(Handle handle, Word kind, char* record, Word* bytes) {
    const std::lock_guard<std::mutex> guard(mutex_);
    Called("RasGetProjectionInfoA");
    const auto found = connections_.find(NumberOf(handle));
    if (found == connections_.end()) return ras_double::kInvalidHandle;
    if (kind != 0x8021) return ras_double::kInvalidParameter;
    if (!Fits(kProjectionSize, bytes)) return ras_double::kBufferTooSmall;
    if (WordAt(record) != kProjectionSize) return ras_double::kInvalidSize;
    if (!found->second.hasIpProjection) return ras_double::kNoSuchProtocol;
    PutText(record, 8, "10.0.0.2");
    return ras_double::kSuccess;
  }

 private:
  template <typename Value>
  void Set(Value& member, Value value) {
    const std::lock_guard<std::mutex> guard(mutex_);
    member = std::move(value);
  }
  template <typename Value>
  Value Get(const Value& member) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return member;
  }
  void Called(const char* name) {
    if (calls_.empty() || calls_.back() != name) calls_.emplace_back(name);
  }
  static bool Fits(Word needed, Word* bytes) {
    const bool fits = needed <= *bytes;
    *bytes = needed;
    return fits;
  }

  // The thread of a dial.
  void Run(std::uintptr_t handle, const std::vector<Step>& steps, Notifier notify) {
    for (const Step& step : steps) {
      std::unique_lock<std::mutex> lock(mutex_);
      auto found = connections_.find(handle);
      if (found == connections_.end() || found->second.queriesLeft >= 0) return;
      found->second.step = step;
      found->second.queries = 0;
      const auto hook = hook_;
      lock.unlock();
      if (hook) hook(step);
      notify(kDialEvent, step.state, step.error);
      lock.lock();
      changed_.wait(lock, [&] {
        found = connections_.find(handle);
        return found == connections_.end() || found->second.queriesLeft >= 0 ||
               found->second.queries > 0;
      });
    }
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Step> steps_;
  std::vector<Word> queryResults_;
  std::map<std::uintptr_t, Connection> connections_;
  std::vector<std::uintptr_t> active_;
  std::vector<std::string> entries_;
  std::vector<Dialled> dials_;
  std::vector<std::string> calls_;
  std::vector<Word> rooms_;
  std::vector<std::thread> threads_;
  std::atomic<bool> reporting_{false};
  std::thread reporter_;
  std::function<void(const Step&)> hook_;
  std::uintptr_t lastHandle_ = 0x100;
  Word dialResult_ = 0;
  Word listResult_ = 0;
  int queriesUntilGone_ = 0;
  Notifier notifier_ = nullptr;
};

Service& TheService() {
  static Service service;
  return service;
}

}  // namespace

extern "C" {

BREVANT_API Desk* ServiceDesk() { return &TheService(); }

#if !defined(WITHOUT_ALL)
BREVANT_API Word WINAPI RasDialA(void* extensions, const char* phoneBook, char* parameters,
                                 Word notifierType, void* notifier, Handle* handle) {
  return TheService().Dial(extensions, phoneBook, parameters, notifierType, notifier, handle);
}

BREVANT_API Word WINAPI RasEnumConnectionsA(char* records, Word* bytes, Word* count) {
  return TheService().EnumConnections(records, bytes, count);
}

BREVANT_API Word WINAPI RasEnumEntriesA(const char* reserved, const char* phoneBook, char* records,
                                        Word* bytes, Word* count) {
  return TheService().EnumEntries(reserved, phoneBook, records, bytes, count);
}

#if !defined(WITHOUT_HANG_UP)
BREVANT_API Word WINAPI RasHangUpA(Handle handle) { return TheService().HangUp(handle); }
#endif

#if !defined(WITHOUT_STATUS)
BREVANT_API Word WINAPI RasGetConnectStatusA(Handle handle, char* status) {
  return TheService().GetStatus(handle, status);
}

BREVANT_API Word WINAPI RasGetProjectionInfoA(Handle handle, Word kind, char* record, Word* bytes) {
  return TheService().GetProjection(handle, kind, record, bytes);
}
#endif
#endif

}  // extern "C"
