// Reads a compound file on its own, without the engine, and finds every fault in its structure: so
// that the engine's files are judged by something that does not share its mistakes.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace test {

struct CheckedFile {
  std::vector<std::string> problems;
  // Each stream's bytes under its path; storages, ended with "/", have none. Paths are joined with
  // "/", names are narrowed.
  std::map<std::string, std::string> elements;
  std::size_t freeSectors = 0;
  std::size_t deepest = 0;  // of any storage's tree
};

// Of a file that other programs wrote first, what they leave behind without harm is passed over:
// unused directory entries that are not empty, a DIFAT that ends with a mark for free sectors.
CheckedFile CheckFile(const std::string& bytes, bool foreign = false);
// All problems in one text, for a message; empty when there are none.
std::string Problems(const CheckedFile& file);

}  // namespace test
