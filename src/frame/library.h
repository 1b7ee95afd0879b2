// The process-wide objects that a host hands over with InitializeBrevant.
#pragma once

#include <brevant/frame.h>

namespace brevant {

// Both are the host's; null before InitializeBrevant and after UninitializeBrevant.
TSetup* ProcessSetup();
TPersistentState* ProcessState();

// The directory of the settings, the persistent state and error.log, with a final separator.
const char* ProgramDirectory();

}  // namespace brevant
