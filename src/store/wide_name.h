// Element and file names as the structured storage takes them.
#pragma once

#include <brevant/platform_types.h>

#include <string>

namespace brevant {

// Each byte becomes one 16-bit unit by sign extension, without any code page, so that a name is
// found again whatever the machine's character set; bytes of 128 and more become FF80 to FFFF.
inline std::basic_string<OLECHAR> WideName(const char* name) {
  std::basic_string<OLECHAR> wide;
  for (; *name != '\0'; ++name) {
    // Bytes of 128 and more become units from FF80 on.
    // NOLINTNEXTLINE(bugprone-signed-char-misuse,cert-str34-c)
    const auto extended = static_cast<std::int16_t>(static_cast<signed char>(*name));
    wide.push_back(static_cast<OLECHAR>(static_cast<std::uint16_t>(extended)));
  }
  return wide;
}

}  // namespace brevant
