#include "net/address.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace brevant {

bool IsDottedAddress(const char* text) {
  if (text == nullptr) return false;
  const std::string_view view(text);
  return std::count(view.begin(), view.end(), '.') >= 3 &&
         view.find_first_not_of(".0123456789") == std::string_view::npos;
}

DWORD ParseDottedAddress(const char* text) {
  std::array<DWORD, 4> parts{};
  std::size_t part = 0;
  for (; *text != '\0'; ++text) {
    if (*text == '.') {
      if (++part == parts.size()) break;
    } else {
      parts[part] = parts[part] * 10U + static_cast<DWORD>(*text - '0');
    }
  }
  std::array<unsigned char, 4> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(parts[i]);
  DWORD address;
  std::memcpy(&address, bytes.data(), sizeof address);
  return address;
}

void FormatDottedAddress(DWORD address, char* buffer, int size) {
  constexpr int kLeastRoom = 13;
  if (buffer == nullptr || size < 1) return;
  buffer[0] = '\0';
  if (size < kLeastRoom) return;
  std::array<unsigned char, 4> bytes{};
  std::memcpy(bytes.data(), &address, sizeof address);
  static_cast<void>(std::snprintf(buffer, static_cast<std::size_t>(size), "%d.%d.%d.%d", bytes[0],
                                  bytes[1], bytes[2], bytes[3]));
}

}  // namespace brevant
