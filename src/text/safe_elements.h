// The allow-list of "Safe HTML": the elements and attributes that may stand in what visitors wrote.
#pragma once

#include "text/html_elements.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace brevant {

struct TSafeElement {
  enum Flags : std::uint8_t {
    kNoFlags = 0,
    kVoid = 1,
    kFormatting = 2,  // goes on in the next paragraph when its own ends first
    kTextToo = 4,     // what it holds is nothing to read: dropped with it
    kForeign = 8,     // may close itself with "/>"
  };
  // Which attributes it may have, beside those that all may have.
  enum Attributes : std::uint16_t {
    kCommon = 1,
    kBlockAlign = 2,
    kTableLook = 4,
    kCellLook = 8,
    kFontLook = 16,
    kListLook = 32,
    kWhen = 64,
    kImageLook = 128,
    kRuleLook = 256,
    kColumns = 512,
    kBreak = 1024,
    kDisclosed = 2048,
  };
  std::string_view name;
  // The element that stands for it; empty when its tags are left out.
  std::string_view shownAs;
  std::uint8_t flags = kNoFlags;
  std::uint16_t attributes = kCommon;
};

// By name, ignoring letter case; null when it is not known: its tags are left out, what they hold
// stays.
const TSafeElement* FindSafeElement(std::string_view name);
// The rule of the element that stands for a row of the list; null when it has none.
const TElementRule* RuleOf(const TSafeElement& element);

enum class TSafeValue : std::uint8_t {
  kText,    // anything, shown to people
  kNumber,  // at most four digits, with a sign or "%"
  kWord,    // a colour, the name of a font, a keyword
  kFlag,    // none
};

struct TSafeAttribute {
  std::string_view name;
  std::uint16_t elements;  // bits of TSafeElement::Attributes
  TSafeValue value;
};

// Attributes other than addresses. Sorted.
std::span<const TSafeAttribute> SafeAttributes();
// The row of an attribute, ignoring letter case, if the element may have it and the value is one
// for it; else null. The value is as it stands in the tag.
const TSafeAttribute* FindSafeAttribute(const TSafeElement& element, std::string_view name,
                                        std::string_view value);

}  // namespace brevant
