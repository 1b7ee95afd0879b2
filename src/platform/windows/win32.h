// On Windows the subset in use is the platform's own.
#pragma once

#include <brevant/platform_types.h>

namespace brevant {

// The platform's own profile functions decide when they write.
inline void SetProfileSync(const char*, bool) {}

}  // namespace brevant
