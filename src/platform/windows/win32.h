// On Windows the subset in use is the platform's own.
#pragma once

#include <brevant/platform_types.h>

namespace brevant {

// The platform's own profile functions decide when they write.
inline void SetProfileSync(const char*, bool) {}

// Access rights are the directory's to hand on.
inline SECURITY_ATTRIBUTES* OwnerOnly() { return nullptr; }

// Whether path is a symbolic link to what is neither in the directory nor below it, or to nothing.
// directory may be null: the one that the link stands in.
bool LeadsOut(const char* path, const char* directory);

namespace platform {

// A connection of the Remote Access Service.
using RasHandle = void*;

}  // namespace platform

}  // namespace brevant
