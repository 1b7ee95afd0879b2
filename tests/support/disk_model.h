// A directory on a disk that forgets: what its files hold, and what of that is sure to be there
// after the machine was lost.
#pragma once

#include "support/file_operations.h"

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace test {

// What can be found below a directory: relative paths with contents. A path with a final "/" is a
// directory, of which only empty ones need to be named.
using DiskImage = std::map<std::string, std::shared_ptr<const std::string>>;

DiskImage ReadImage(const std::string& directory);
// Makes the directory hold exactly the image. It ends with "/".
void WriteImage(const DiskImage& image, const std::string& directory);
// The same for equal images.
std::uint64_t Fingerprint(const DiskImage& image);

// A file's content and size are safe with a sync of the file, names with a sync of their
// directory (a rename from one into another with a sync of either).
class Disk {
 public:
  static constexpr std::size_t kSector = 512;

  // What is there at the start is safe.
  explicit Disk(const DiskImage& initial);
  Disk(const Disk& other);
  Disk& operator=(const Disk&) = delete;
  ~Disk();

  void Apply(const FileOperation& operation);

  // What the next process finds when only this one ended.
  DiskImage Current() const;
  // After the loss of the machine, when nothing unsafe survived.
  DiskImage Safe() const;
  // The same when some of it survived: sectors, sizes and names, chosen at random.
  DiskImage Survivors(std::mt19937& random) const;

 private:
  struct File;
  struct NameChange;
  using Names = std::map<std::string, std::shared_ptr<File>>;

  void Change(NameChange change);
  void SyncDirectory(const std::string& path);
  static void Take(Names& names, const NameChange& change);
  Names NamesThatSurvive(std::mt19937& random) const;

  Names names_;      // a directory has no file
  Names safeNames_;  //
  std::vector<NameChange> pending_;
  std::map<std::uint64_t, std::shared_ptr<File>> byNumber_;
};

}  // namespace test
