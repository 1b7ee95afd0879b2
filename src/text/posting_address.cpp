// The addresses that visitors post to.
#include "text/posting_address.h"

#include <algorithm>

namespace brevant {

std::string SubjectTag(std::string_view shortName, std::string_view container,
                       std::string_view item) {
  std::string tag = "[";
  tag.append(shortName);
  if (!container.empty()) tag.append(":").append(container);
  if (!item.empty()) tag.append(":").append(item);
  tag.append("]");
  std::replace(tag.begin(), tag.end(), ' ', '_');
  return tag;
}

std::string PostingAddress(std::string_view tag, std::string_view address) {
  std::string link = "mailto:\"";
  return link.append(tag).append("\"<").append(address).append(">");
}

}  // namespace brevant
