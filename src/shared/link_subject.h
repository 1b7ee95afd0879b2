// The subject of a mail that submits a link.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brevant {

struct TLinkSubject {
  std::string_view subject;
  std::string_view address;
  std::optional<std::int32_t> size;  // kilobytes
};

// Splits "subject at address is sizeK": at the last " at ", and behind it at the last " is " that
// digits alone follow, with or without a final K. Without " at " both texts are the whole subject
// and the size is 0. The parts point into subject; numbers wrap to 32 bits.
TLinkSubject SplitLinkSubject(std::string_view subject);

}  // namespace brevant
