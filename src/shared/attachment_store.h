// Files that mail brings, written into one directory under names that are new there.
#pragma once

#include "platform/win32.h"

#include <string>
#include <string_view>

namespace brevant {

// A file being written. What was not finished is removed.
class TNewFile {
 public:
  TNewFile() = default;
  ~TNewFile() { Discard(); }
  TNewFile(const TNewFile&) = delete;
  TNewFile& operator=(const TNewFile&) = delete;

  // Creates path; fails when it exists.
  bool Create(const std::string& path);
  bool Write(std::string_view bytes);
  // Makes the content durable, unless that is not wanted, and closes the file, which then stays.
  bool Finish(bool durable = true);
  // Closes and removes an unfinished file.
  void Discard();
  const std::string& Path() const { return path_; }

 private:
  HANDLE handle_ = INVALID_HANDLE_VALUE;
  std::string path_;
};

// A new directory with an unpredictable name below the system's temporary directory, holding at
// most one file; both go with the object.
class TScratchFile {
 public:
  TScratchFile() = default;
  ~TScratchFile();
  TScratchFile(const TScratchFile&) = delete;
  TScratchFile& operator=(const TScratchFile&) = delete;

  // Makes the directory and in it the file name, open for writing.
  bool Create(std::string_view name);
  bool Write(std::string_view bytes) { return file_.Write(bytes); }
  // Ends the writing and hands the whole content to target piece by piece.
  bool CopyTo(TNewFile& target);
  const std::string& Directory() const { return directory_; }

 private:
  std::string directory_;
  TNewFile file_;
};

// Creates a file in directory (with its final separator) for a part of that safe name, under four
// new characters and the name; storedName is what it is called. False when the directory is empty
// or none can be made.
bool CreateAttachment(const std::string& directory, const std::string& safeName, TNewFile& file,
                      std::string& storedName);

// Gives a finished attachment exactly the temporary attribute, by which the board knows its own
// files from the owner's.
bool MarkAttachment(const std::string& path);

}  // namespace brevant
