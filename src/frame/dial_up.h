// Dial-up connections, inside the library.
#pragma once

#include "platform/ras.h"

namespace brevant {

// The first active connection whose entry has that name, ignoring letter case, or whose IP
// projection cannot be read; null when there is none or the service's library is not loaded.
ras::Handle FindRasConnection(const char* entryName);

}  // namespace brevant
