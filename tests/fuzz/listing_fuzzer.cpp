// Directory listings, and single lines of them.
#include "fuzzed_input.h"
#include "net/ftp_listing.h"

#include <algorithm>
#include <string>
#include <vector>

using test::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const std::string names = input.Part();
  const std::string details = input.Rest();
  std::vector<TFindData> entries = brevant::ListedNames(names);
  std::vector<std::string> before;
  for (const TFindData& entry : entries) {
    Require(!entry.name.empty() && entry.name != "." && entry.name != ".." &&
                entry.name.find_first_of("/\\\r\n") == std::string::npos,
            "a name of one directory");
    before.push_back(entry.name);
  }
  brevant::AddDetails(details, entries);
  Require(std::equal(entries.begin(), entries.end(), before.begin(), before.end(),
                     [](const TFindData& entry, const std::string& name) {
                       return entry.name == name && (entry.attributes == 0 ||
                                                     entry.attributes == FILE_ATTRIBUTE_DIRECTORY);
                     }),
          "details change no name");
  TFindData line;
  line.name = "kept";
  Require(TFTP::ProcessFileInfo(details.c_str(), &line) == 1 && line.name == "kept",
          "a line tells of one file");
  const TTime written(line.lastWriteTime);
  Require(written.IsZero() || (written.Year() >= 1971 && written.Year() < 2200),
          "a listing's years");
  return 0;
}
