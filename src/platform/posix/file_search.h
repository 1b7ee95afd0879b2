// Directory search with Windows' wildcard rules, attributes and alternate names.
#pragma once

#include <brevant/platform_types.h>

inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x0001;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x0002;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x0004;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x0010;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x0020;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x0080;
inline constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x0100;
inline constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x0400;  // a symbolic link

HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data);
BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* data);
BOOL FindClose(HANDLE search);
