// The engine's files of bytes: descriptors. Below the seam only.
#pragma once

#include "compound/byte_file.h"

#include <memory>

namespace brevant::posix {

// What errno means to the engine after a call that should have written.
compound::Status WriteStatus();

// A file of an open descriptor, which it closes at its end if it owns it; it must have one. Where
// `synced` is false, syncing does nothing.
std::unique_ptr<compound::ByteFile> MakeByteFile(int descriptor, bool synced, bool owned);

}  // namespace brevant::posix
