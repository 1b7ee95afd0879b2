// The platform as the library sees it: Win32 names. Every source above this floor includes this
// header and no system header of its own. Here, and only here, the platforms part.
#pragma once

#if defined(_WIN32)
#include "platform/windows/win32.h"
#else
#include "platform/posix/win32.h"
#endif
