// The running program, its environment, and libraries loaded at run time.
#pragma once

#include <brevant/platform_types.h>

using HMODULE = void*;
using UINT = unsigned int;
using FARPROC = void (*)();
// How the platform's own functions are called and call back: there is one way only.
#define WINAPI

inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;

DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);
HMODULE LoadLibraryA(const char* name);
FARPROC GetProcAddress(HMODULE module, const char* name);
BOOL FreeLibrary(HMODULE module);
BOOL MessageBeep(UINT type);
