// Files that another implementation wrote, read back to the byte.
#include "support/temporary_directory.h"
#include "unit/compound/document_helpers.h"
#include "unit/compound/file_checker.h"

#include <array>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace {

using namespace compound;
using namespace test;

std::uint32_t Crc32(const std::string& bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320 & (0 - (crc & 1)));
  }
  return ~crc;
}

std::string Hex(std::uint32_t value) {
  std::ostringstream out;
  out.width(8);
  out.fill('0');
  out << std::hex << value;
  return out.str();
}

// The lines of the manifest for one file: path, kind, size, checksum.
void Walk(Document& document, EntryId storage, const std::string& path, std::string* lines) {
  for (const EntryId id : document.List(storage)) {
    const EntryInfo info = document.Info(id);
    const std::string name = path + Narrow(info.name);
    if (info.isStorage) {
      *lines += name + "\tstorage\t-\t-\n";
      Walk(document, id, name + "/", lines);
      continue;
    }
    const std::string content = Content(document, id);
    *lines +=
        name + "\tstream\t" + std::to_string(content.size()) + "\t" + Hex(Crc32(content)) + "\n";
  }
}

std::string GoldenBytes(const std::string& file) {
  if (file == "big.mwd") return ReadFileBytes(BREVANT_BIG_GOLDEN);
  return ReadFileBytes(std::string(BREVANT_GOLDEN) + "/compound/" + file);
}

std::map<std::string, std::string> Manifest() {
  std::map<std::string, std::string> files;
  std::istringstream in(ReadFileBytes(std::string(BREVANT_GOLDEN) + "/compound/MANIFEST.tsv"));
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    const std::size_t tab = line.find('\t');
    files[line.substr(0, tab)] += line.substr(tab + 1) + "\n";
  }
  return files;
}

class GoldenFile : public testing::TestWithParam<const char*> {};

TEST_P(GoldenFile, HasTheElementsSizesAndChecksumsOfTheManifest) {
  const DiskPtr disk = NewDisk(GoldenBytes(GetParam()));
  ASSERT_FALSE(disk->bytes.empty());
  DocumentOptions options;
  options.readOnly = true;
  const DocumentPtr document = Open(disk, options);
  std::string lines;
  Walk(*document, kRootEntry, "", &lines);
  EXPECT_EQ(lines, Manifest()[GetParam()]);
  EXPECT_EQ(disk->writes, 0U);
}

// Their trees are lists of red entries; what is written over them must be right.
TEST_P(GoldenFile, IsValidAfterAChangeOfEveryStorage) {
  const DiskPtr disk = NewDisk(GoldenBytes(GetParam()));
  std::string before;
  {
    const DocumentPtr document = Open(disk);
    Walk(*document, kRootEntry, "", &before);
    for (const EntryId id : document->List(kRootEntry)) {
      if (document->IsStorage(id)) Put(*document, id, "added", "x");
    }
    Put(*document, kRootEntry, "added to the root", Pattern(5000));
    document->Commit();
    for (const EntryId id : document->List(kRootEntry)) {
      if (document->IsStorage(id)) Destroy(*document, id, "added");
    }
    Destroy(*document, kRootEntry, "added to the root");
    document->Commit();
  }
  const CheckedFile checked = CheckFile(disk->bytes, true);
  EXPECT_EQ(Problems(checked), "");
  const DocumentPtr document = Open(disk);
  std::string after;
  Walk(*document, kRootEntry, "", &after);
  EXPECT_EQ(after, before);
}

INSTANTIATE_TEST_SUITE_P(Compound, GoldenFile,
                         testing::Values("empty.mwd", "three.mwd", "many.mwd", "deleted.mwd",
                                         "big.mwd", "ministream.mwd", "shuffled.mwd"),
                         [](const auto& file) {
                           const std::string name = file.param;
                           return name.substr(0, name.find('.'));
                         });

TEST(GoldenFiles, AllFilesOfTheManifestAreTested) { EXPECT_EQ(Manifest().size(), 7U); }

}  // namespace
