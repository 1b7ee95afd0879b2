// Who has which file open. Inside the process the share modes hold exactly as on Windows. Between
// processes a file that is open with no sharing at all is kept by flock from everybody else; the
// finer modes are not seen there. Below the seam only.
#pragma once

#include "platform/posix/attributes.h"

#include <brevant/platform_types.h>

#include <string>

namespace brevant::posix {

// Enters the open file into the table and locks it; 0, or the error that keeps it from being used.
// Handles that neither read nor write (access without GENERIC_READ and GENERIC_WRITE) conflict with
// nothing.
DWORD EnterShare(int descriptor, const FileFacts& facts, DWORD access, DWORD share);
void LeaveShare(int descriptor, const FileFacts& facts);

// Whether the file is open somewhere in a way that forbids moving and deleting it: in this process
// through a handle without FILE_SHARE_DELETE, anywhere with no sharing, or as a compound document.
bool IsInUse(const std::string& path, const FileFacts& facts);

}  // namespace brevant::posix
