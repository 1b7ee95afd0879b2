#include "platform/posix/short_names.h"

#include "platform/posix/paths.h"

#include <algorithm>
#include <cstdint>

namespace brevant::posix {
namespace {

constexpr std::size_t kBase = 8;
constexpr std::size_t kExtension = 3;

bool IsPlain(char c) {
  return c > ' ' && static_cast<unsigned char>(c) < 0x7F &&
         std::string_view("\"*+,./:;<=>?[\\]|").find(c) == std::string_view::npos;
}

// What is left of one half of a name: blanks and dots go, what 8.3 cannot hold becomes "_".
std::string Reduce(std::string_view text, std::size_t room) {
  std::string result;
  for (const char c : text) {
    if (c == ' ' || c == '.') continue;
    if (result.size() < room) result += IsPlain(c) ? UpperAscii(c) : '_';
  }
  return result;
}

std::string FourDigits(std::string_view name) {
  std::uint32_t sum = 2166136261U;  // FNV-1a; the digits of Windows' own sum are not documented
  for (const char c : name) {
    sum = (sum ^ static_cast<unsigned char>(UpperAscii(c))) * 16777619U;
  }
  std::string digits;
  for (int shift = 12; shift >= 0; shift -= 4) {
    digits += "0123456789ABCDEF"[(((sum >> 16U) ^ sum) >> static_cast<unsigned>(shift)) & 15U];
  }
  return digits;
}

}  // namespace

bool FitsShortName(std::string_view name) {
  if (name == "." || name == "..") return true;
  const std::size_t dot = name.find('.');
  const std::string_view base = name.substr(0, dot);
  const std::string_view extension =
      dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
  return !base.empty() && base.size() <= kBase && extension.size() <= kExtension &&
         (dot == std::string_view::npos || !extension.empty()) &&
         std::all_of(base.begin(), base.end(), IsPlain) &&
         std::all_of(extension.begin(), extension.end(), IsPlain);
}

void ShortNames::Reserve(std::string_view name) {
  if (FitsShortName(name)) taken_.insert(UpperCased(name));
}

std::string ShortNames::Next(std::string_view name) {
  if (FitsShortName(name)) return "";
  std::string_view rest = name;
  rest.remove_prefix(std::min(rest.find_first_not_of(". "), rest.size()));
  const std::size_t dot = rest.rfind('.');
  const std::string extension =
      dot == std::string_view::npos ? "" : Reduce(rest.substr(dot + 1), kExtension);
  const std::string ending = extension.empty() ? "" : "." + extension;
  std::string base = Reduce(rest.substr(0, dot), kBase);
  // Four names share their first six letters; further ones go by two letters and a checksum.
  for (unsigned number = 1;; ++number) {
    if (number == 5) base = base.substr(0, 2) + FourDigits(name);
    const std::string count = std::to_string(number <= 4 ? number : number - 4);
    std::string candidate = base.substr(0, std::min(kBase - 1 - count.size(), std::size_t{6}));
    candidate.append("~").append(count).append(ending);
    if (taken_.insert(candidate).second) return candidate;
  }
}

}  // namespace brevant::posix
