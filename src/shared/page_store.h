// The site's directory: which pages stand there, and how files get into it.
#pragma once

#include "platform/name_table.h"
#include "platform/win32.h"
#include "store/ascii.h"

#include <brevant/store.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brevant {

class TPageWriter;

// Attributes of a file that the library wrote and nobody wrote since: exactly these. Any program
// that writes the file adds the archive attribute.
inline constexpr DWORD kOwnFileAttributes = FILE_ATTRIBUTE_TEMPORARY;

// Whether the name is that of the directory in the site in which files are written before they get
// their place and name. It is there during a run only, is no part of the site, and what a killed
// run left of it is removed by the next one.
bool IsUnfinishedName(std::string_view name);

// A file as a directory search shows it.
struct TFileFacts {
  std::string name;  // as the directory spells it
  TTime written;     // Greenwich time, as the file system has it
  DWORD attributes = 0;
  std::uint64_t size = 0;
};

// Hands everything that matches pattern, but "." and "..", to take, ordered by name, until take
// gives false. False when the directory cannot be listed to its end, or nothing matches, not even
// those two.
bool ForEachEntry(const std::string& pattern, const std::function<bool(const TFileFacts&)>& take);
// The same for every file, no directory.
void ForEachFile(const std::string& pattern, const std::function<void(const TFileFacts&)>& take);
// The file (no directory) at path; false when there is none. path holds no wildcard characters.
bool FindFile(const std::string& path, TFileFacts* facts);
// The newest last-write time (Greenwich) of the files, not directories, that match pattern; zero
// when none does.
TTime NewestFileTime(const std::string& pattern);
// A file's time as local time; that of no file stays zero.
TTime LocalFileTime(const TTime& time);
// The whole file; false when it cannot be opened or read.
bool ReadWholeFile(const std::string& path, std::string* bytes);
// The path made absolute, "." and ".." resolved; empty when it names nothing.
std::string FullPath(const std::string& path);

class TPageStore {
 public:
  // directory: with its final separator. Nothing can be saved in an empty one.
  explicit TPageStore(std::string directory) : directory_(std::move(directory)) {}
  // Removes the directory of unfinished files.
  ~TPageStore();
  TPageStore(const TPageStore&) = delete;
  TPageStore& operator=(const TPageStore&) = delete;

  const std::string& Directory() const { return directory_; }
  // One pass over the directory: notes the pages there. Removes what a killed run left.
  void Scan();
  // What Scan saw of a page, letter case ignored; its size is not noted. None when it was not
  // there.
  std::optional<TFileFacts> FindPage(const std::string& fileName) const;

  // Whether the file of a page holds exactly what is rendered.
  bool Holds(const TFileFacts& file, const TPageWriter& page) const;
  // Writes a file whole; false when it cannot, the file then being as it was.
  bool Save(const std::string& fileName, const TPageWriter& page);
  // Gives the file the current time.
  bool Touch(const std::string& fileName) const;

  enum class TCopied { kDone, kNotReadable, kNotWritable };
  // Copies a file with its last-write time.
  TCopied Copy(const std::string& source, const std::string& fileName);

 private:
  // A new path at which the next file is written; empty when the site cannot be written to.
  std::string StartUnfinished();
  bool Finish(const std::string& unfinished, const std::string& fileName);
  void RemoveUnfinished();

  std::string directory_;
  bool writing_ = false;  // the directory of unfinished files was made
  // The pages that Scan saw; a site may have hundreds of thousands.
  struct TSeen {
    TTime written;
    DWORD attributes;
  };
  TNameTable<ToLowerAscii> names_;
  std::vector<TSeen> seen_;  // by the numbers of the names
};

}  // namespace brevant
