#include "shared/attachment_name.h"

#include "shared/short_name.h"
#include "store/ascii.h"

#include <algorithm>
#include <array>

namespace brevant {

namespace {

constexpr std::size_t kLongestName = 60;

bool IsRemoved(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 32 || byte == 127 ||
         std::string_view("<>:\"/\\|?*").find(c) != std::string_view::npos;
}

// Links to attachments are written as they are, so that these would change their meaning.
bool IsReplaced(char c) {
  return static_cast<unsigned char>(c) >= 128 ||
         std::string_view(" #%&=").find(c) != std::string_view::npos;
}

void TrimEnd(std::string& name) {
  const std::size_t last = name.find_last_not_of(". ");
  name.erase(last == std::string::npos ? 0 : last + 1);
}

// The extension with its dot; empty when there is none.
std::string_view Extension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot);
}

bool IsOneOf(std::string_view text, const auto& list) {
  return std::any_of(std::begin(list), std::end(list),
                     [text](std::string_view entry) { return EqualsIgnoreCase(text, entry); });
}

bool ContainsIgnoringCase(std::string_view text, std::string_view part) {
  for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
    if (EqualsIgnoreCase(text.substr(at, part.size()), part)) return true;
  }
  return false;
}

}  // namespace

std::string_view ImageExtension(std::string_view contentType) {
  struct Row {
    std::string_view type;
    std::string_view extension;
  };
  constexpr std::array<Row, 4> kTypes = {{{"image/gif", ".gif"},
                                          {"image/jpeg", ".jpg"},
                                          {"image/png", ".png"},
                                          {"image/bmp", ".bmp"}}};
  for (const Row& row : kTypes) {
    if (ContainsIgnoringCase(contentType, row.type)) return row.extension;
  }
  return {};
}

std::string NamelessAttachment(std::string_view contentType) {
  const std::string_view extension = ImageExtension(contentType);
  return extension.empty() ? "file" : "image" + std::string(extension);
}

std::string SafeFileName(std::string_view name) {
  const std::size_t slash = name.find_last_of("/\\");
  if (slash != std::string_view::npos) name.remove_prefix(slash + 1);
  std::string safe(name);
  std::erase_if(safe, IsRemoved);
  safe.erase(0, std::min(safe.find_first_not_of('.'), safe.size()));
  TrimEnd(safe);
  std::replace_if(safe.begin(), safe.end(), IsReplaced, '_');
  if (safe.size() > kLongestName) {
    const std::string extension(Extension(safe));
    const std::size_t room = extension.size() < kLongestName ? kLongestName - extension.size() : 0;
    safe = room > 0 ? safe.substr(0, room) + extension : safe.substr(0, kLongestName);
    TrimEnd(safe);
  }
  return safe;
}

bool IsForbiddenAttachment(std::string_view name) {
  constexpr std::string_view kForbidden[] = {".EXE", ".COM", ".BAT", ".DLL", ".LNK", ".PIF"};
  return IsOneOf(Extension(name), kForbidden);
}

std::string HarmlessFileName(std::string_view safeName) {
  constexpr std::string_view kHarmless[] = {
      ".7z",   ".asc",  ".avi", ".avif", ".bin",  ".bmp",  ".bz2",  ".csv", ".doc",  ".docx",
      ".epub", ".flac", ".gif", ".gz",   ".heic", ".ics",  ".jpeg", ".jpg", ".m4a",  ".mid",
      ".mkv",  ".mov",  ".mp3", ".mp4",  ".mpeg", ".mpg",  ".odp",  ".ods", ".odt",  ".ogg",
      ".opus", ".pdf",  ".png", ".ppt",  ".pptx", ".rar",  ".rtf",  ".sig", ".tar",  ".tgz",
      ".tif",  ".tiff", ".txt", ".vcf",  ".wav",  ".webm", ".webp", ".xls", ".xlsx", ".zip"};
  constexpr std::string_view kBytes = ".bin";
  std::string_view extension = Extension(safeName);
  std::string name(safeName);
  if (IsOneOf(extension, kHarmless)) {
    name.resize(name.size() - extension.size());
  } else {
    extension = kBytes;
  }
  std::replace(name.begin(), name.end(), '.', '_');
  return name.substr(0, kLongestName - extension.size()).append(extension);
}

bool IsImageName(std::string_view name) {
  constexpr std::string_view kImages[] = {".JPG", ".JPEG", ".GIF", ".PNG", ".BMP"};
  return IsOneOf(Extension(name), kImages);
}

std::string StoredFileName(std::string_view prefix, std::string_view safeName) {
  std::string stored = std::string(prefix) + std::string(safeName);
  if (FitsShortName(stored)) {
    for (char& c : stored) c = ToLowerAscii(c);
  }
  return stored;
}

std::string AttachmentPrefix(unsigned number) {
  constexpr std::string_view kDigits = "0123456789abcdefghijklmnopqrstuvwxyz";
  std::string prefix(4, '0');
  for (auto digit = prefix.rbegin(); digit != prefix.rend(); ++digit, number /= 36) {
    *digit = kDigits[number % 36];
  }
  return prefix;
}

}  // namespace brevant
