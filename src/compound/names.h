// Element names: which are allowed, and the order they have in a directory.
#pragma once

#include "compound/format.h"

#include <string>
#include <string_view>

namespace compound {

inline constexpr std::size_t kEntryNameLengthAt = 64;

// The unit's upper-case form where that is a single unit too, independent of any locale.
char16_t UpperUnit(char16_t unit);

// 1 to 31 units, none of / \ : ! or zero.
bool IsValidName(std::u16string_view name);

// Names as the format orders them: shorter ones first, then by upper-cased units.
class NameKey {
 public:
  explicit NameKey(std::u16string_view name);
  // Negative, zero or positive: this name before, equal to or after that of a directory entry.
  int Compare(const std::uint8_t* entry) const;

 private:
  std::size_t length_;
  std::array<char16_t, kMaxNameUnits> units_{};
};

// The name in a directory entry; an impossible length is cut to what the field holds.
std::size_t EntryNameLength(const std::uint8_t* entry);
std::u16string EntryName(const std::uint8_t* entry);

}  // namespace compound
