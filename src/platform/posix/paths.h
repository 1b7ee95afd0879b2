// From Windows' way with names to the system's: separators, letter case, error codes. Below the
// seam only; every family that opens files by name goes through here.
#pragma once

#include <brevant/platform_types.h>

#include <string>
#include <string_view>

namespace brevant::posix {

// The name with every backslash turned into a slash; empty for null.
std::string NativePath(const char* name);

struct Resolved {
  // The path as the file system spells it. When nothing is found: the directory as spelled there
  // and the last component as asked for, so that it can be created.
  std::string path;
  bool found = false;
  bool directoryFound = false;  // the directory that holds, or would hold, the name
  int cause = 0;                // the errno value when the look-up itself failed

  // What Windows says about a name that is not there, or cannot be looked up.
  DWORD Error() const;
};

// Finds a file or directory: as spelled, else once more ignoring letter case, component by
// component; of several candidates the first in byte order. Symbolic links are found as themselves.
Resolved Resolve(const char* name);

// ASCII letters only: bytes of 128 and more stand for themselves, so UTF-8 passes through.
char UpperAscii(char c);
std::string UpperCased(std::string_view text);

// The platform's code for an errno value.
DWORD ErrorFromErrno(int error);
// Sets the last error from errno and gives FALSE.
BOOL FailFromErrno();
// Sets the last error and gives FALSE.
BOOL Fail(DWORD error);
// The same for a function that ran out of memory: none of the platform's own throws.
BOOL FailForMemory();

}  // namespace brevant::posix
