// On Windows the subset in use is the platform's own.
#pragma once

#include <brevant/platform_types.h>

namespace brevant {

// The platform's own profile functions decide when they write.
inline void SetProfileSync(const char*, bool) {}

namespace platform {

// A connection of the Remote Access Service.
using RasHandle = void*;

}  // namespace platform

}  // namespace brevant
