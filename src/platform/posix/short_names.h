// The alternate 8.3 names that Windows gives to files: "index.html" is "INDEX~1.HTM" as well.
// Below the seam only.
#pragma once

#include <string>
#include <string_view>
#include <unordered_set>

namespace brevant::posix {

// Whether the name needs no alternate: at most eight characters, a dot and three more, no blanks,
// no second dot, none of + , ; = [ ] and no byte of 128 or more. Letter case does not matter.
bool FitsShortName(std::string_view name);

// Gives out the alternate names of one directory. Numbers are given in the order of the calls, so
// the caller goes through the names in a fixed order.
class ShortNames {
 public:
  // Names that fit 8.3 are not given to others; all of a directory are reserved first.
  void Reserve(std::string_view name);
  // Empty for a name that fits.
  std::string Next(std::string_view name);

 private:
  std::unordered_set<std::string> taken_;
};

}  // namespace brevant::posix
