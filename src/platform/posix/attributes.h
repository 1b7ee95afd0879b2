// What the file system knows about a file, and the attribute bits that it does not know. Those are
// kept in the extended attribute user.brevant.attributes as the text "0x100 SIZE
// SECONDS.NANOSECONDS": the bits, and the size and modification time for which they were set. When
// either differs the file was written since and counts as archive, the bit that Windows sets on
// every write. A file without the record was made by other programs and counts as archive.
// A creation time that was set is kept in user.brevant.created as "SECONDS.NANOSECONDS".
// Below the seam only.
#pragma once

#include <brevant/platform_types.h>

#include <cstdint>
#include <ctime>
#include <string>

namespace brevant::posix {

struct FileFacts {
  bool isRegular = false;
  bool isDirectory = false;
  bool isLink = false;  // reached through a symbolic link; the rest is about its target
  std::uint64_t size = 0;
  timespec modified{};
  timespec accessed{};
  timespec born{};  // the modification time where the file system keeps no birth time
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  unsigned mode = 0;  // permission bits
};

// A file by name (links are followed) or by descriptor.
class FileReference {
 public:
  explicit FileReference(const std::string& path) : path_(path.c_str()) {}
  explicit FileReference(int descriptor) : descriptor_(descriptor) {}

  // False with errno set when there is no such file. A link that leads nowhere gives the facts of
  // the link itself.
  bool ReadFacts(FileFacts* facts) const;

  // The attribute bits, never 0: a file with none has FILE_ATTRIBUTE_NORMAL.
  DWORD Attributes(const FileFacts& facts) const;
  // Keeps bits for the file as it is now; false with errno set. FILE_ATTRIBUTE_ARCHIVE alone is
  // what a file without a record has, so the record is removed.
  bool SetAttributes(const FileFacts& facts, DWORD bits) const;

  // The creation time that was set, else the birth time.
  timespec CreationTime(const FileFacts& facts) const;
  bool SetCreationTime(const timespec& time) const;

 private:
  std::string ReadRecord(const char* name) const;
  bool WriteRecord(const char* name, const std::string& text) const;
  bool RemoveRecord(const char* name) const;

  const char* path_ = nullptr;
  int descriptor_ = -1;
};

}  // namespace brevant::posix
