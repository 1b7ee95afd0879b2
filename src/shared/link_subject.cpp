#include "shared/link_subject.h"

#include "store/ascii.h"

#include <algorithm>

namespace brevant {

namespace {

// The number that a text of digits is; a K behind it says its unit.
std::optional<std::int32_t> Kilobytes(std::string_view text) {
  while (!text.empty() && IsSpaceAscii(text.back())) text.remove_suffix(1);
  if (!text.empty() && ToLowerAscii(text.back()) == 'k') text.remove_suffix(1);
  if (text.empty() || !std::all_of(text.begin(), text.end(), IsDigitAscii)) return std::nullopt;
  return LeadingNumber(text);
}

}  // namespace

TLinkSubject SplitLinkSubject(std::string_view subject) {
  constexpr std::string_view kAt = " at ";
  constexpr std::string_view kIs = " is ";
  const std::size_t at = subject.rfind(kAt);
  if (at == std::string_view::npos) return {subject, subject, 0};
  TLinkSubject parts{subject.substr(0, at), subject.substr(at + kAt.size()), std::nullopt};
  const std::size_t is = parts.address.rfind(kIs);
  if (is == std::string_view::npos) return parts;
  parts.size = Kilobytes(parts.address.substr(is + kIs.size()));
  if (parts.size) parts.address = parts.address.substr(0, is);
  return parts;
}

}  // namespace brevant
