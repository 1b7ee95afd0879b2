// Dial-up connections through the Remote Access Service.
#include "frame/dial_up.h"

#include "store/ascii.h"
#include "store/guard.h"

#include <brevant/dial_up.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

using brevant::Guarded;
namespace ras = brevant::ras;

// The number of entries, the current one, and the service's records.
struct TRasSearch {
  DWORD count = 0;
  DWORD current = 0;
  std::vector<ras::EntryName> entries;
};

namespace {

constexpr char kLibraryName[] = "RASAPI32.DLL";
constexpr DWORD kRecordsMore = 16;  // room that each further attempt to list something adds
// A service that wants more room than this is not believed.
constexpr DWORD kMostRecords = 4096;

// The service's library while it is loaded. It is never freed at the process's end, where threads
// of the service may still be running in it.
struct Service {
  HMODULE library = nullptr;
  ras::DialFunction dial = nullptr;
  ras::EnumConnectionsFunction enumConnections = nullptr;
  ras::HangUpFunction hangUp = nullptr;
  ras::GetConnectStatusFunction getConnectStatus = nullptr;
  ras::EnumEntriesFunction enumEntries = nullptr;
  ras::GetProjectionInfoFunction getProjectionInfo = nullptr;
};

Service service;
// Both are touched by the service's thread, too: it reports states, and the host may hang up then.
std::atomic<ras::Handle> connection{};
std::atomic<StatusFunction> statusFunction{nullptr};

template <typename Function>
void TakeEntryPoint(const char* name, Function& function) {
  // By way of the type that stands for any function.
  const auto any = reinterpret_cast<void (*)()>(GetProcAddress(service.library, name));
  function = reinterpret_cast<Function>(any);
}

void ShowStatus(const char* text) {
  constexpr std::size_t kTextSize = 256;
  const StatusFunction show = statusFunction;
  if (show == nullptr) return;
  std::array<char, kTextSize> buffer;
  std::snprintf(buffer.data(), buffer.size(), "%s", text);
  show(buffer.data());
}

const char* TextOfState(DWORD state) {
  switch (state) {
    case ras::kOpenPort:
      return "Opening communication port";
    case ras::kConnectDevice:
      return "Dialing...";
    case ras::kDeviceConnected:
      return "Connected";
    case ras::kAuthenticate:
      return "Verifying user name and password";
    case ras::kWaitForModemReset:
      return "Resetting modem";
    case ras::kWaitForCallback:
      return "Waiting for incoming call...";
    case ras::kLogonNetwork:
      return "Logging onto network";
    case ras::kConnected:
      return "Connected";
    case ras::kDisconnected:
      return "Disconnected";
    default:
      return nullptr;
  }
}

void WINAPI ShowState(UINT, DWORD state, DWORD) {
  if (const char* text = TextOfState(state)) ShowStatus(text);
}

template <std::size_t size>
void CopyText(char (&target)[size], const char* source) {
  const std::string_view text = source == nullptr ? "" : source;
  const std::size_t length = std::min(text.size(), size - 1);
  std::copy_n(text.data(), length, target);
  target[length] = '\0';
}

// Lists what list(records, their size, their number) fills, with more room for as long as it wants
// more. Empty when it fails.
template <typename Record, typename List>
std::vector<Record> ListAll(List list) {
  for (DWORD room = kRecordsMore; room <= kMostRecords; room += kRecordsMore) {
    std::vector<Record> records(room);
    records[0].size = sizeof(Record);
    DWORD bytes = room * DWORD{sizeof(Record)};
    DWORD count = 0;
    const DWORD result = list(records.data(), &bytes, &count);
    if (result == ras::kBufferTooSmall) continue;
    records.resize(result == 0 ? std::min(count, room) : 0);
    return records;
  }
  return {};
}

// Whether the connection reaches the connected state before it ends.
int WaitForConnection(ras::Handle handle) {
  for (;;) {
    ras::ConnectionStatus status{};
    status.size = sizeof status;
    const DWORD result = service.getConnectStatus(handle, &status);
    if (result == ras::kInvalidHandle) return 0;
    if (result != 0) continue;
    if (status.state == ras::kConnected) return 1;
    if (status.state == ras::kDisconnected) return 0;
  }
}

void WaitForEnd(ras::Handle handle) {
  ras::ConnectionStatus status{};
  do {
    Sleep(0);
    status.size = sizeof status;
  } while (service.getConnectStatus(handle, &status) == 0);
}

}  // namespace

ras::Handle brevant::FindRasConnection(const char* entryName) {
  if (service.enumConnections == nullptr) return {};
  const std::string_view wanted = entryName == nullptr ? "" : entryName;
  return Guarded(ras::Handle{}, [&] {
    for (ras::Connection& active : ListAll<ras::Connection>(service.enumConnections)) {
      active.entryName[ras::kEntryNameRoom - 1] = '\0';
      if (EqualsIgnoreCase(active.entryName, wanted)) return active.handle;
      ras::IpProjection projection{};
      projection.size = sizeof projection;
      DWORD bytes = sizeof projection;
      if (service.getProjectionInfo == nullptr ||
          service.getProjectionInfo(active.handle, ras::kPppIp, &projection, &bytes) != 0)
        return active.handle;
    }
    return ras::Handle{};
  });
}

int LoadRasDLL() {
  if (service.library != nullptr) return 1;
  service.library = LoadLibraryA(kLibraryName);
  if (service.library == nullptr) return 0;
  TakeEntryPoint("RasDialA", service.dial);
  TakeEntryPoint("RasEnumConnectionsA", service.enumConnections);
  TakeEntryPoint("RasHangUpA", service.hangUp);
  TakeEntryPoint("RasGetConnectStatusA", service.getConnectStatus);
  TakeEntryPoint("RasEnumEntriesA", service.enumEntries);
  TakeEntryPoint("RasGetProjectionInfoA", service.getProjectionInfo);
  return 1;
}

int UnloadRasDLL() {
  const HMODULE library = service.library;
  service = Service{};
  if (library != nullptr) FreeLibrary(library);
  return 0;
}

int HasRasConnection() {
  if (service.enumConnections == nullptr) return 0;
  ras::Connection active{};
  active.size = sizeof active;
  DWORD bytes = sizeof active;
  DWORD count = 0;
  const DWORD result = service.enumConnections(&active, &bytes, &count);
  // More than one do not fit.
  return result == ras::kBufferTooSmall || (result == 0 && count >= 1) ? 1 : 0;
}

int DialUpRas(StatusFunction show, const char* entryName, const char*, const char* password) {
  if (service.library == nullptr) return 0;
  statusFunction = show;
  // A connection that could not be watched would keep the line open.
  if (service.dial == nullptr || service.getConnectStatus == nullptr) return 0;
  ras::DialParameters parameters{};
  parameters.size = sizeof parameters;
  CopyText(parameters.entryName, entryName);
  CopyText(parameters.userName, entryName);
  CopyText(parameters.password, password);
  ras::Handle handle{};
  const DWORD result =
      service.dial(nullptr, nullptr, &parameters, ras::kNotifyStateFunction,
                   reinterpret_cast<void*>(static_cast<ras::StateFunction>(&ShowState)), &handle);
  if (result != 0) handle = {};
  connection = handle;
  return handle == ras::Handle{} ? 0 : WaitForConnection(handle);
}

int HangUpRas() {
  if (service.library == nullptr) return 0;
  const ras::Handle handle = connection.exchange({});
  if (handle != ras::Handle{}) {
    ShowStatus("Hanging up...");
    if (service.hangUp != nullptr) service.hangUp(handle);
    if (service.getConnectStatus != nullptr) WaitForEnd(handle);
  }
  statusFunction = nullptr;
  return 1;
}

TRasSearch* StartRasSearch() {
  if (service.enumEntries == nullptr) return nullptr;
  return Guarded(static_cast<TRasSearch*>(nullptr), [] {
    auto search = std::make_unique<TRasSearch>();
    search->entries =
        ListAll<ras::EntryName>([](ras::EntryName* records, DWORD* bytes, DWORD* count) {
          return service.enumEntries(nullptr, nullptr, records, bytes, count);
        });
    for (ras::EntryName& entry : search->entries) entry.name[ras::kEntryNameRoom - 1] = '\0';
    search->count = static_cast<DWORD>(search->entries.size());
    return search->count > 0 ? search.release() : nullptr;
  });
}

const char* FindFirstRasEntry(TRasSearch* search) {
  if (search == nullptr) return nullptr;
  search->current = 0;
  return search->entries[0].name;
}

const char* FindNextRasEntry(TRasSearch* search) {
  if (search == nullptr || search->current >= search->count) return nullptr;
  ++search->current;
  return search->current < search->count ? search->entries[search->current].name : nullptr;
}

void EndRasSearch(TRasSearch* search) { delete search; }
