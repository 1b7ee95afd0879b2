// The Win32 subset on POSIX, one header per family. SUBSET.md lists every name with what it does
// here and where it differs from Windows.
#pragma once

#include "platform/posix/clock.h"
#include "platform/posix/errors.h"
#include "platform/posix/file_io.h"
#include "platform/posix/file_search.h"
#include "platform/posix/module.h"
#include "platform/posix/profile.h"
#include "platform/posix/sockets.h"
#include "platform/posix/structured_storage.h"

#include <brevant/platform_types.h>

namespace brevant::platform {

// A connection of the Remote Access Service.
using RasHandle = DWORD;

}  // namespace brevant::platform
