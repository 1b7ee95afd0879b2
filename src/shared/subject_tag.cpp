#include "shared/subject_tag.h"

#include "store/ascii.h"

#include <algorithm>

namespace brevant {

TSubjectTag ParseSubjectTag(std::string_view text) {
  TSubjectTag tag;
  const std::size_t open = text.find('[');
  const std::size_t close = text.find(']');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) return tag;
  std::size_t start = open + 1;
  for (std::size_t at = start; at <= close && tag.count < TSubjectTag::kMaxParts; ++at) {
    if (text[at] == ':' || text[at] == ']') {
      tag.parts[tag.count++] = text.substr(start, at - start);
    }
    if (text[at] == ':' || text[at] == '[') start = at + 1;
  }
  return tag;
}

std::string TagPartText(std::string_view part) {
  std::string text(part);
  std::replace(text.begin(), text.end(), '_', ' ');
  return text;
}

bool TagNamesBoard(std::string_view part, std::string_view boardName) {
  const auto plain = [](char c) { return c == '_' ? ' ' : ToLowerAscii(c); };
  const std::size_t length = std::min(part.size(), boardName.size());
  for (std::size_t i = 0; i < length; ++i) {
    if (plain(part[i]) != plain(boardName[i])) return false;
  }
  return true;
}

std::int32_t TagLinkId(const TSubjectTag& tag) {
  constexpr std::size_t kLongestNumber = 32;
  if (tag.count < TSubjectTag::kMaxParts || tag.parts[2].size() > kLongestNumber) return 0;
  return std::max(LeadingNumber(TagPartText(tag.parts[2])), 0);
}

}  // namespace brevant
