// The Remote Access Service as its library of Windows 95 and everything since knows it: structures,
// which the service tells apart by their sizes, the codes in use and the functions' types. Its own
// header has the larger structures of later systems.
#pragma once

#include "platform/win32.h"

namespace brevant::ras {

// A connection; pointer-sized on Windows.
using Handle = platform::RasHandle;

inline constexpr std::size_t kEntryNameRoom = 257;  // with the terminating zero

#pragma pack(push, 4)
struct DialParameters {
  DWORD size;
  char entryName[kEntryNameRoom];
  char phoneNumber[129];
  char callbackNumber[129];
  char userName[257];
  char password[257];
  char domain[16];
};

struct Connection {
  DWORD size;
  Handle handle;
  char entryName[kEntryNameRoom];
  char deviceType[17];
  char deviceName[129];
};

struct ConnectionStatus {
  DWORD size;
  DWORD state;
  DWORD error;
  char deviceType[17];
  char deviceName[129];
};

struct EntryName {
  DWORD size;
  char name[kEntryNameRoom];
};

struct IpProjection {
  DWORD size;
  DWORD error;
  char address[16];
  char serverAddress[16];
};
#pragma pack(pop)

static_assert(sizeof(DialParameters) == 1052);
static_assert(sizeof(Connection) == 408 + sizeof(Handle));
static_assert(sizeof(ConnectionStatus) == 160);
static_assert(sizeof(EntryName) == 264);
static_assert(sizeof(IpProjection) == 40);

// States of a connection, beside those that nobody asks for.
enum : DWORD {
  kOpenPort = 0,
  kConnectDevice = 2,
  kDeviceConnected = 3,
  kAuthenticate = 5,
  kWaitForModemReset = 16,
  kWaitForCallback = 17,
  kLogonNetwork = 21,
  kConnected = 8192,
  kDisconnected = 8193,
};

// What the functions answer; 0 is success.
enum : DWORD { kInvalidHandle = 6, kBufferTooSmall = 603 };

// How RasDial tells about states: by a call of StateFunction.
inline constexpr DWORD kNotifyStateFunction = 0;
inline constexpr DWORD kPppIp = 0x8021;

// message is a window message's number and means nothing here.
using StateFunction = void(WINAPI*)(UINT message, DWORD state, DWORD error);

// RasDialA(extensions, phone book, parameters, notifier's type, notifier, connection)
using DialFunction = DWORD(WINAPI*)(void*, const char*, const DialParameters*, DWORD, void*,
                                    Handle*);
// RasEnumConnectionsA(records, their size in bytes, their number)
using EnumConnectionsFunction = DWORD(WINAPI*)(Connection*, DWORD*, DWORD*);
using HangUpFunction = DWORD(WINAPI*)(Handle);
using GetConnectStatusFunction = DWORD(WINAPI*)(Handle, ConnectionStatus*);
// RasEnumEntriesA(reserved, phone book, records, their size in bytes, their number)
using EnumEntriesFunction = DWORD(WINAPI*)(const char*, const char*, EntryName*, DWORD*, DWORD*);
// RasGetProjectionInfoA(connection, kind, record, its size in bytes)
using GetProjectionInfoFunction = DWORD(WINAPI*)(Handle, DWORD, void*, DWORD*);

}  // namespace brevant::ras
