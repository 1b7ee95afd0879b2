// Private profile (INI) files.
#pragma once

#include <brevant/platform_types.h>

DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* fallback,
                               char* buffer, DWORD size, const char* file);
BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                const char* file);
DWORD GetPrivateProfileSectionNamesA(char* buffer, DWORD size, const char* file);

namespace brevant {

// Whether a file that is written anew (a value changed its length) is synced before it takes its
// name; every file is unless told otherwise. A file of which the last state may be lost with the
// machine's power, but not with the process, does without.
void SetProfileSync(const char* file, bool sync);

}  // namespace brevant
