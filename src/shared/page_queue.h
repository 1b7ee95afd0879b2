// The pages of one run: each once, in the order in which they were asked for.
#pragma once

#include "shared/page_store.h"

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
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

// One page to be made. Ten thousand of them wait in a few megabytes.
struct TPage {
  const std::string* fileName = nullptr;
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
  // Adds a page unless one of that name (letter case ignored) was added before; only then the rest
  // of page counts. page.fileName is set here.
  void Add(const std::string& fileName, TPage page);
  std::size_t Count() const { return pages_.size(); }
  const TPage& At(std::size_t number) const { return pages_[number]; }

 private:
  struct TIgnoreCase {
    std::size_t operator()(const std::string& text) const;
    bool operator()(const std::string& a, const std::string& b) const;
  };
  std::deque<TPage> pages_;
  std::unordered_set<std::string, TIgnoreCase, TIgnoreCase> names_;
};

}  // namespace brevant
