// What the structure of a page depends on: which elements are units of repetition, which have no
// content, and which of them a start tag closes when authors leave end tags out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace brevant {

// Kinds of open elements that a start tag may close.
enum TScope : std::uint8_t {
  kScopeParagraph,
  kScopeListItem,
  kScopeTerm,  // dt and dd
  kScopeOption,
  kScopeOptionGroup,
  kScopeCell,
  kScopeRow,
  kScopeRowGroup,
  kScopeCaption,
  kScopeHead,
  kScopes,
  kNoScope = kScopes,
};

constexpr std::uint16_t ScopeBit(TScope scope) { return static_cast<std::uint16_t>(1U << scope); }

struct TElementRule {
  enum Flags : std::uint16_t {
    kUnit = 1,
    kVoid = 2,
    kRawText = 4,  // holds no elements until its own end tag
    kBlock = 8,    // an inline element's end tag does not reach out of it
    kTablePart = 16,
    kWall = 32,      // end tags of blocks do not reach out of it
    kMetadata = 64,  // stands in the head also where that is not written
  };
  std::string_view name;
  std::uint16_t flags = 0;
  TScope scope = kNoScope;   // what it is to those that would close it
  std::uint16_t closes = 0;  // bits of the scopes whose open element its start tag closes
  std::uint16_t hides = 0;   // bits of the scopes that elements inside it do not see
};

// By lower-case name; null for elements without rules.
const TElementRule* FindElementRule(std::string_view name);

}  // namespace brevant
