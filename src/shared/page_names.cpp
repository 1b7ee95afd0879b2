// The file names of generated pages.
//
// Container names and prefixes come from whoever may edit the board: whatever they hold, a name
// stays one file name in the site's directory and carries the one extension given here.
#include "shared/page_names.h"

#include "store/ascii.h"

#include <array>
#include <cstdint>

namespace brevant {
namespace {

constexpr std::string_view kExtension = ".htm";
constexpr std::string_view kSeparator = "--";
constexpr std::string_view kHexDigits = "0123456789abcdef";

bool EndsWithIgnoreCase(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && EqualsIgnoreCase(text.substr(text.size() - end.size()), end);
}

bool IsReserved(char c) {
  constexpr std::string_view kReserved = "<>:\"/\\|?*";
  return static_cast<unsigned char>(c) < 32 || c == 127 ||
         kReserved.find(c) != std::string_view::npos;
}

// The usual CRC-32 (reflected, polynomial 0xEDB88320, inverted at both ends).
std::uint32_t Crc32(std::string_view bytes) {
  std::uint32_t crc = 0xFFFFFFFFU;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0);
  }
  return ~crc;
}

std::string Hexadecimal(std::uint32_t value) {
  std::string text(8, '0');
  for (std::size_t i = 8; i-- > 0; value >>= 4) text[i] = kHexDigits[value & 15];
  return text;
}

std::string Finished(std::string stem) {
  if (stem.size() + kExtension.size() > kMaxPageNameBytes) {
    const std::string mark = "-h" + Hexadecimal(Crc32(stem + std::string(kExtension)));
    stem.resize(kMaxPageNameBytes - kExtension.size() - mark.size());
    stem += mark;
  }
  return stem.append(kExtension);
}

std::string ContainerStem(std::string_view prefix, std::string_view templateFile, char kindLetter,
                          std::string_view container) {
  if (EndsWithIgnoreCase(templateFile, kExtension)) {
    templateFile.remove_suffix(kExtension.size());
  }
  std::string stem = PageNamePrefix(prefix);
  stem.append(PageNamePart(templateFile)).append(kSeparator);
  stem.append(1, kindLetter).append(kSeparator).append(PageNamePart(container));
  return stem;
}

}  // namespace

bool IsPageFile(std::string_view fileName) {
  return EndsWithIgnoreCase(fileName, ".htm") || EndsWithIgnoreCase(fileName, ".html");
}

std::string TemplateFileName(std::string_view name) {
  std::string file(name);
  if (!file.empty() && !IsPageFile(file)) file.append(kExtension);
  return file;
}

std::string WithoutExtension(std::string_view fileName) {
  return std::string(fileName.substr(0, fileName.rfind('.')));
}

std::string PageNamePart(std::string_view text) {
  std::string part;
  part.reserve(text.size());
  for (const char c : text) {
    const char lower = ToLowerAscii(c);
    if ((lower >= 'a' && lower <= 'z') || IsDigitAscii(c)) {
      part += lower;
    } else if (c == ' ') {
      part += '_';
    } else {
      const auto byte = static_cast<unsigned char>(c);
      part += {'-', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    }
  }
  return part;
}

std::string PageNamePrefix(std::string_view prefix) {
  std::string safe(prefix);
  for (std::size_t i = 0; i < safe.size(); ++i) {
    const bool open = prefix[i] == '-' && (i + 1 == safe.size() || prefix[i + 1] == '-');
    // A server may go by any of a name's extensions, also by the first of two.
    if (open || prefix[i] == '.' || IsReserved(prefix[i])) safe[i] = '_';
  }
  return safe;
}

std::string ContainerPageName(std::string_view prefix, std::string_view templateFile,
                              char kindLetter, std::string_view container) {
  return Finished(ContainerStem(prefix, templateFile, kindLetter, container));
}

std::string ItemPageName(std::string_view prefix, std::string_view templateFile, char kindLetter,
                         std::string_view container, DWORD item) {
  std::string stem = ContainerStem(prefix, templateFile, kindLetter, container);
  stem.append(kSeparator).append(std::to_string(item));
  return Finished(std::move(stem));
}

}  // namespace brevant
