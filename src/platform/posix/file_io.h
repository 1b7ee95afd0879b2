// Files and directories: opening, transfer, times, attributes, moving and deleting.
#pragma once

#include <brevant/platform_types.h>

// The value is the platform's own: a pointer that leads nowhere.
// NOLINTNEXTLINE(misc-misplaced-const,performance-no-int-to-ptr)
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
inline constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_WRITE_ATTRIBUTES = 0x0100;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000;
inline constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;
inline constexpr DWORD MOVEFILE_COPY_ALLOWED = 2;

HANDLE CreateFileA(const char* name, DWORD access, DWORD share, void* security, DWORD creation,
                   DWORD flags, HANDLE templateFile);
BOOL CloseHandle(HANDLE handle);
BOOL ReadFile(HANDLE file, void* buffer, DWORD count, DWORD* read, void* overlapped);
BOOL WriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* written, void* overlapped);
DWORD SetFilePointer(HANDLE file, LONG low, LONG* high, DWORD origin);
BOOL SetEndOfFile(HANDLE file);
BOOL FlushFileBuffers(HANDLE file);
DWORD GetFileSize(HANDLE file, DWORD* high);
BOOL GetFileTime(HANDLE file, FILETIME* created, FILETIME* accessed, FILETIME* modified);
BOOL SetFileTime(HANDLE file, const FILETIME* created, const FILETIME* accessed,
                 const FILETIME* modified);
DWORD GetFileAttributesA(const char* name);
BOOL SetFileAttributesA(const char* name, DWORD attributes);
BOOL DeleteFileA(const char* name);
BOOL MoveFileA(const char* from, const char* to);
BOOL MoveFileExA(const char* from, const char* to, DWORD flags);
BOOL CreateDirectoryA(const char* name, void* security);
BOOL RemoveDirectoryA(const char* name);
DWORD GetTempPathA(DWORD size, char* path);
DWORD GetFullPathNameA(const char* name, DWORD size, char* path, char** filePart);

namespace brevant {

// What CreateFileA and CreateDirectoryA take as security for what is new and nobody's but its
// owner's.
void* OwnerOnly();

// Whether path is a symbolic link to what is neither in the directory nor below it, or to nothing.
// directory may be null: the one that the link stands in.
bool LeadsOut(const char* path, const char* directory);

}  // namespace brevant
