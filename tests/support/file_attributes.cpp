#include "support/file_attributes.h"

#include "platform/win32.h"
#include "support/temporary_directory.h"

namespace test {

bool KeepsFileAttributes(const std::string& directory) {
  const std::string probe = directory + "attributes.tmp";
  WriteFileBytes(probe, "x");
  SetFileAttributesA(probe.c_str(), FILE_ATTRIBUTE_TEMPORARY);
  const DWORD kept = GetFileAttributesA(probe.c_str());
  DeleteFileA(probe.c_str());
  return kept == DWORD{FILE_ATTRIBUTE_TEMPORARY};
}

}  // namespace test
