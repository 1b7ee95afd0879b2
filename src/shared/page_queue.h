// The pages of one run: each once, in the order in which they were asked for.
#pragma once

#include "platform/name_table.h"
#include "shared/page_store.h"
#include "store/ascii.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace brevant {

// A template file, read when its first page is made and kept for the others.
struct TTemplate {
  std::string path;
  std::string directory;  // with its final separator; links of its pages start there
  std::string fileName;
  bool looked = false;  // the three below are known
  bool found = false;
  TTime written;  // Greenwich
  std::string bytes;
};

// The templates of a run by number.
class TTemplates {
 public:
  // The template at directory + fileName. Links of its pages start at baseDirectory, or, when that
  // is empty, in the directory that the file is in.
  int Intern(const std::string& directory, const std::string& fileName,
             const std::string& baseDirectory = {});
  // The template with its content; found is false when it cannot be read.
  const TTemplate& Load(int number);
  const TTemplate& At(int number) const { return templates_[static_cast<std::size_t>(number)]; }

 private:
  std::deque<TTemplate> templates_;
  std::unordered_map<std::string, int> numbers_;  // by path and base directory
};

// One page to be made. Hundreds of thousands of them may wait.
struct TPage {
  int templateNumber = 0;
  int container = -1;      // position among the containers of the kind; -1 for none
  std::uint32_t back = 0;  // number of the page that asked for this one
  DWORD item = 0;          // the number of an item of the container; meant when hasItem is set
  std::int16_t kind = 0;
  bool hasItem = false;
  bool hasBack = false;
};

class TPageQueue {
 public:
  // Adds a page unless one of that name (letter case ignored) was added before; only then page
  // counts.
  void Add(std::string_view fileName, const TPage& page);
  std::size_t Count() const { return pages_.size(); }
  const TPage& At(std::size_t number) const { return pages_[number]; }
  std::string FileName(std::size_t number) const {
    return std::string(names_.Name(static_cast<std::uint32_t>(number)));
  }

 private:
  std::deque<TPage> pages_;
  TNameTable<ToLowerAscii> names_;  // by the numbers of the pages
};

}  // namespace brevant
