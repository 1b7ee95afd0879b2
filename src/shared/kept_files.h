// What the site's pages name, by the text of their links: the files to keep, and the pages among
// them that are still to be read.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace brevant {

// Names are relative to the site, with "\" between directories; letter case is ignored. A name is
// the whole text of a link: with an anchor in it, it keeps no file.
class TKeptFiles {
 public:
  // A name as it stands.
  void Add(std::string name);
  // The value of a link. At most its first 1024 characters count; one that is empty or holds a ":"
  // names no local file. Pages are written with encoded links, so what the value stands for once it
  // is decoded is kept beside it.
  void AddLink(std::string_view value);

  bool Holds(std::string_view name) const;

  // Takes the next page of the list; false when there is none. Every page comes once.
  bool NextPage(std::string* name);

 private:
  std::unordered_set<std::string> names_;  // in lower case
  std::vector<std::string> pages_;         // in the order in which they were named
  std::size_t next_ = 0;
};

}  // namespace brevant
