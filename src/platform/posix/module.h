// The running program and its environment.
#pragma once

#include <brevant/platform_types.h>

using HMODULE = void*;
using UINT = unsigned int;

DWORD GetModuleFileNameA(HMODULE module, char* path, DWORD size);
BOOL MessageBeep(UINT type);
