// Private profile (INI) files.
#pragma once

#include <brevant/platform_types.h>

DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* fallback,
                               char* buffer, DWORD size, const char* file);
BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                const char* file);
DWORD GetPrivateProfileSectionNamesA(char* buffer, DWORD size, const char* file);
