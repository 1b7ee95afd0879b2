// The platform types that the public headers name: on POSIX, the subset of the Win32 and OLE types
// in use, with the same widths, layouts and virtual-operation order as on Windows.
#pragma once

#include <cstdint>

// Marks what the library exports.
#define BREVANT_API __attribute__((visibility("default")))
// Gives an exported C function its leading underscore in the export table.
#define BREVANT_EXPORTED_AS(name) __asm__("_" #name)
// Tells the compiler to check a printf-style format at the given argument positions.
#define BREVANT_PRINTF(text, first) __attribute__((format(printf, text, first)))

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using BOOL = int;
using HRESULT = std::int32_t;
using OLECHAR = char16_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;
using SNB = LPOLESTR*;
using HANDLE = void*;

static_assert(sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(HRESULT) == 4 &&
              sizeof(OLECHAR) == 2);

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define OLESTR(text) u##text

// 100-nanosecond units since 1601-01-01, low half first.
struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  std::int64_t QuadPart;
};

union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  std::uint64_t QuadPart;
};

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;

struct WIN32_FIND_DATAA {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  char cFileName[MAX_PATH];
  char cAlternateFileName[14];
};

struct STATSTG {
  LPOLESTR pwcsName;
  DWORD type;
  ULARGE_INTEGER cbSize;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD grfMode;
  DWORD grfLocksSupported;
  CLSID clsid;
  DWORD grfStateBits;
  DWORD reserved;
};

class IUnknown {
 public:
  virtual HRESULT QueryInterface(const IID& id, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

class ISequentialStream : public IUnknown {
 public:
  virtual HRESULT Read(void* buffer, ULONG count, ULONG* read) = 0;
  virtual HRESULT Write(const void* buffer, ULONG count, ULONG* written) = 0;

 protected:
  ~ISequentialStream() = default;
};

class IStream : public ISequentialStream {
 public:
  virtual HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) = 0;
  virtual HRESULT SetSize(ULARGE_INTEGER size) = 0;
  virtual HRESULT CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                         ULARGE_INTEGER* written) = 0;
  virtual HRESULT Commit(DWORD flags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
  virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) = 0;
  virtual HRESULT Stat(STATSTG* stat, DWORD flag) = 0;
  virtual HRESULT Clone(IStream** copy) = 0;

 protected:
  ~IStream() = default;
};

class IEnumSTATSTG : public IUnknown {
 public:
  virtual HRESULT Next(ULONG count, STATSTG* elements, ULONG* fetched) = 0;
  virtual HRESULT Skip(ULONG count) = 0;
  virtual HRESULT Reset() = 0;
  virtual HRESULT Clone(IEnumSTATSTG** copy) = 0;

 protected:
  ~IEnumSTATSTG() = default;
};

class IStorage : public IUnknown {
 public:
  virtual HRESULT CreateStream(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2,
                               IStream** stream) = 0;
  virtual HRESULT OpenStream(LPCOLESTR name, void* reserved1, DWORD mode, DWORD reserved2,
                             IStream** stream) = 0;
  virtual HRESULT CreateStorage(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2,
                                IStorage** storage) = 0;
  virtual HRESULT OpenStorage(LPCOLESTR name, IStorage* priority, DWORD mode, SNB exclude,
                              DWORD reserved, IStorage** storage) = 0;
  virtual HRESULT CopyTo(DWORD excludedIdCount, const IID* excludedIds, SNB exclude,
                         IStorage* target) = 0;
  virtual HRESULT MoveElementTo(LPCOLESTR name, IStorage* target, LPCOLESTR newName,
                                DWORD flags) = 0;
  virtual HRESULT Commit(DWORD flags) = 0;
  virtual HRESULT Revert() = 0;
  virtual HRESULT EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                               IEnumSTATSTG** elements) = 0;
  virtual HRESULT DestroyElement(LPCOLESTR name) = 0;
  virtual HRESULT RenameElement(LPCOLESTR oldName, LPCOLESTR newName) = 0;
  virtual HRESULT SetElementTimes(LPCOLESTR name, const FILETIME* created, const FILETIME* accessed,
                                  const FILETIME* modified) = 0;
  virtual HRESULT SetClass(const CLSID& id) = 0;
  virtual HRESULT SetStateBits(DWORD bits, DWORD mask) = 0;
  virtual HRESULT Stat(STATSTG* stat, DWORD flag) = 0;

 protected:
  ~IStorage() = default;
};
