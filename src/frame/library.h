// The process-wide objects that a host hands over with InitializeBrevant.
#pragma once

#include <brevant/frame.h>

#include <string>

namespace brevant {

// Both are the host's; null before InitializeBrevant and after UninitializeBrevant.
TSetup* ProcessSetup();
TPersistentState* ProcessState();

// The directory of the settings, the persistent state and error.log, with a final separator. The
// text stays valid when another directory is set. Throws when memory runs out.
const char* ProgramDirectory();

// A directory's path with the final separator that its readers rely on: a slash when it holds one,
// else a backslash. An empty path stays empty.
std::string WithFinalSeparator(std::string path);

}  // namespace brevant
