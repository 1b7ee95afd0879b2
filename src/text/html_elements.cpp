#include "text/html_elements.h"

#include "platform/win32.h"

#include <algorithm>
#include <array>

namespace brevant {
namespace {

using R = TElementRule;

constexpr std::uint16_t kP = ScopeBit(kScopeParagraph);
constexpr std::uint16_t kLi = ScopeBit(kScopeListItem);
constexpr std::uint16_t kTerm = ScopeBit(kScopeTerm);
constexpr std::uint16_t kOption = ScopeBit(kScopeOption);
constexpr std::uint16_t kGroup = ScopeBit(kScopeOptionGroup);
constexpr std::uint16_t kCell = ScopeBit(kScopeCell);
constexpr std::uint16_t kRow = ScopeBit(kScopeRow);
constexpr std::uint16_t kRows = ScopeBit(kScopeRowGroup);
constexpr std::uint16_t kCaption = ScopeBit(kScopeCaption);
constexpr std::uint16_t kHead = ScopeBit(kScopeHead);
constexpr std::uint16_t kAll = ScopeBit(kScopes) - 1;

// Sorted by name.
constexpr auto kRules = std::to_array<TElementRule>({
    {"address", R::kBlock, kNoScope, kP, 0},
    {"applet", R::kBlock | R::kWall, kNoScope, 0, kAll},
    {"area", R::kVoid, kNoScope, 0, 0},
    {"article", R::kBlock | R::kUnit, kNoScope, kP, kLi | kTerm},
    {"aside", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"base", R::kVoid | R::kMetadata, kNoScope, 0, 0},
    {"basefont", R::kVoid | R::kMetadata, kNoScope, 0, 0},
    {"bgsound", R::kVoid | R::kMetadata, kNoScope, 0, 0},
    {"blockquote", R::kBlock | R::kUnit, kNoScope, kP, kLi | kTerm},
    {"body", R::kBlock, kNoScope, kHead, 0},
    {"br", R::kVoid, kNoScope, 0, 0},
    {"button", R::kBlock, kNoScope, 0, kP | kLi | kTerm},
    {"caption", R::kBlock | R::kTablePart | R::kWall, kScopeCaption, kCaption,
     kP | kLi | kTerm | kOption | kGroup},
    {"center", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"col", R::kTablePart | R::kVoid, kNoScope, 0, 0},
    {"colgroup", R::kBlock | R::kTablePart, kScopeCaption, kCaption, 0},
    {"datalist", 0, kNoScope, 0, kOption | kGroup},
    {"dd", R::kBlock, kScopeTerm, kP | kTerm, 0},
    {"details", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"dialog", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"dir", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"div", R::kBlock | R::kUnit, kNoScope, kP, 0},
    {"dl", R::kBlock | R::kUnit, kNoScope, kP, kLi | kTerm},
    {"dt", R::kBlock, kScopeTerm, kP | kTerm, 0},
    {"embed", R::kVoid, kNoScope, 0, 0},
    {"fieldset", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"figcaption", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"figure", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"footer", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"form", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"frame", R::kVoid, kNoScope, 0, 0},
    {"h1", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"h2", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"h3", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"h4", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"h5", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"h6", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"head", R::kBlock, kScopeHead, 0, 0},
    {"header", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"hgroup", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"hr", R::kVoid, kNoScope, kP, 0},
    {"html", R::kBlock, kNoScope, 0, 0},
    {"iframe", R::kRawText, kNoScope, 0, 0},
    {"img", R::kVoid, kNoScope, 0, 0},
    {"input", R::kVoid, kNoScope, 0, 0},
    {"keygen", R::kVoid, kNoScope, 0, 0},
    {"li", R::kBlock | R::kUnit, kScopeListItem, kP | kLi, 0},
    {"link", R::kVoid | R::kMetadata, kNoScope, 0, 0},
    {"listing", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"main", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"marquee", R::kBlock | R::kWall, kNoScope, 0, kAll},
    {"menu", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"meta", R::kVoid | R::kMetadata, kNoScope, 0, 0},
    {"nav", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"noembed", R::kRawText, kNoScope, 0, 0},
    {"noframes", R::kRawText, kNoScope, 0, 0},
    {"noscript", R::kMetadata, kNoScope, 0, 0},
    {"object", R::kBlock | R::kWall, kNoScope, 0, kAll},
    {"ol", R::kBlock | R::kUnit, kNoScope, kP, kLi | kTerm},
    {"optgroup", 0, kScopeOptionGroup, kOption | kGroup, 0},
    {"option", R::kUnit, kScopeOption, kOption, 0},
    {"p", R::kBlock | R::kUnit, kScopeParagraph, kP, 0},
    {"param", R::kVoid, kNoScope, 0, 0},
    {"pre", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"script", R::kRawText | R::kMetadata, kNoScope, 0, 0},
    {"search", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"section", R::kBlock | R::kUnit, kNoScope, kP, kLi | kTerm},
    {"select", R::kBlock, kNoScope, 0, kOption | kGroup},
    {"source", R::kVoid, kNoScope, 0, 0},
    {"style", R::kRawText | R::kMetadata, kNoScope, 0, 0},
    {"summary", R::kBlock, kNoScope, kP, kLi | kTerm},
    {"table", R::kBlock | R::kUnit | R::kWall, kNoScope, kP, kAll},
    {"tbody", R::kBlock | R::kUnit | R::kTablePart, kScopeRowGroup, kCell | kRow | kRows | kCaption,
     0},
    {"td", R::kBlock | R::kTablePart | R::kWall, kScopeCell, kCell | kCaption,
     kP | kLi | kTerm | kOption | kGroup},
    {"template", R::kBlock | R::kWall | R::kMetadata, kNoScope, 0, kAll},
    {"textarea", R::kRawText, kNoScope, 0, 0},
    {"tfoot", R::kBlock | R::kTablePart, kScopeRowGroup, kCell | kRow | kRows | kCaption, 0},
    {"th", R::kBlock | R::kTablePart | R::kWall, kScopeCell, kCell | kCaption,
     kP | kLi | kTerm | kOption | kGroup},
    {"thead", R::kBlock | R::kTablePart, kScopeRowGroup, kCell | kRow | kRows | kCaption, 0},
    {"title", R::kRawText | R::kMetadata, kNoScope, 0, 0},
    {"tr", R::kBlock | R::kUnit | R::kTablePart, kScopeRow, kCell | kRow | kCaption, 0},
    {"track", R::kVoid, kNoScope, 0, 0},
    {"ul", R::kBlock | R::kUnit, kNoScope, kP, kLi | kTerm},
    {"wbr", R::kVoid, kNoScope, 0, 0},
    {"xmp", R::kRawText | R::kBlock, kNoScope, kP, 0},
});
static_assert(std::is_sorted(kRules.begin(), kRules.end(),
                             [](const R& a, const R& b) { return a.name < b.name; }));

}  // namespace

const TElementRule* FindElementRule(std::string_view name) {
  auto at =
      std::lower_bound(kRules.begin(), kRules.end(), name,
                       [](const R& rule, std::string_view wanted) { return rule.name < wanted; });
  return at != kRules.end() && at->name == name ? &*at : nullptr;
}

}  // namespace brevant
