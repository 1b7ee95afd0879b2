// The texts of the board's objects in the form in which pages take them.
#include "text/board_text.h"

#include "platform/win32.h"
#include "text/charset.h"

#include <algorithm>

namespace brevant {
namespace {

bool IsAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 128; });
}

// Names come from the owner's own programs: UTF-8 today, older ones the system's own character set.
std::string OwnersText(const TPageSite& site, const char* text) {
  return site.DecodesText() ? DecodeText(text, TCharset::kUnknown) : std::string(text);
}

}  // namespace

std::string ContainerText(const TPageSite& site, const TForum& container, const char* key) {
  return OwnersText(site, container.String(key));
}

std::string SettingText(const TPageSite& site, const char* key) {
  return OwnersText(site, site.Setup().String(key));
}

std::string ItemText(const TPageSite& site, const TMail& item, const char* key) {
  std::string text = item.String(key);
  if (!site.DecodesText() || IsAscii(text)) return text;
  const std::string charset = item.String("Header Charset");
  return DecodeText(text, charset.empty() ? TCharset::kIso8859Part1 : FindCharset(charset));
}

}  // namespace brevant
