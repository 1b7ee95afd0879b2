#include "compound/names.h"

#include <algorithm>
#include <iterator>

namespace compound {
namespace {

// Unicode's simple upper-case mapping outside ASCII: each stride-th unit from first to last moves
// by delta.
struct CaseRange {
  char16_t first;
  char16_t last;
  int delta;
  int stride;
};

constexpr CaseRange kCaseRanges[] = {
    {0x00B5, 0x00B5, 743, 2},   {0x00E0, 0x00F6, -32, 1},    {0x00F8, 0x00FE, -32, 1},
    {0x00FF, 0x00FF, 121, 2},   {0x0101, 0x012F, -1, 2},     {0x0131, 0x0131, -232, 2},
    {0x0133, 0x0137, -1, 2},    {0x013A, 0x0148, -1, 2},     {0x014B, 0x0177, -1, 2},
    {0x017A, 0x017E, -1, 2},    {0x017F, 0x017F, -300, 2},   {0x0180, 0x0180, 195, 2},
    {0x0183, 0x0185, -1, 2},    {0x0188, 0x0188, -1, 2},     {0x018C, 0x018C, -1, 2},
    {0x0192, 0x0192, -1, 2},    {0x0195, 0x0195, 97, 2},     {0x0199, 0x0199, -1, 2},
    {0x019A, 0x019A, 163, 2},   {0x019E, 0x019E, 130, 2},    {0x01A1, 0x01A5, -1, 2},
    {0x01A8, 0x01A8, -1, 2},    {0x01AD, 0x01AD, -1, 2},     {0x01B0, 0x01B0, -1, 2},
    {0x01B4, 0x01B6, -1, 2},    {0x01B9, 0x01B9, -1, 2},     {0x01BD, 0x01BD, -1, 2},
    {0x01BF, 0x01BF, 56, 2},    {0x01C5, 0x01C5, -1, 2},     {0x01C6, 0x01C6, -2, 2},
    {0x01C8, 0x01C8, -1, 2},    {0x01C9, 0x01C9, -2, 2},     {0x01CB, 0x01CB, -1, 2},
    {0x01CC, 0x01CC, -2, 2},    {0x01CE, 0x01DC, -1, 2},     {0x01DD, 0x01DD, -79, 2},
    {0x01DF, 0x01EF, -1, 2},    {0x01F2, 0x01F2, -1, 2},     {0x01F3, 0x01F3, -2, 2},
    {0x01F5, 0x01F5, -1, 2},    {0x01F9, 0x021F, -1, 2},     {0x0223, 0x0233, -1, 2},
    {0x023C, 0x023C, -1, 2},    {0x023F, 0x0240, 10815, 1},  {0x0242, 0x0242, -1, 2},
    {0x0247, 0x024F, -1, 2},    {0x0250, 0x0250, 10783, 2},  {0x0251, 0x0251, 10780, 2},
    {0x0252, 0x0252, 10782, 2}, {0x0253, 0x0253, -210, 2},   {0x0254, 0x0254, -206, 2},
    {0x0256, 0x0257, -205, 1},  {0x0259, 0x0259, -202, 2},   {0x025B, 0x025B, -203, 2},
    {0x025C, 0x025C, 42319, 2}, {0x0260, 0x0260, -205, 2},   {0x0261, 0x0261, 42315, 2},
    {0x0263, 0x0263, -207, 2},  {0x0265, 0x0265, 42280, 2},  {0x0266, 0x0266, 42308, 2},
    {0x0268, 0x0268, -209, 2},  {0x0269, 0x0269, -211, 2},   {0x026A, 0x026A, 42308, 2},
    {0x026B, 0x026B, 10743, 2}, {0x026C, 0x026C, 42305, 2},  {0x026F, 0x026F, -211, 2},
    {0x0271, 0x0271, 10749, 2}, {0x0272, 0x0272, -213, 2},   {0x0275, 0x0275, -214, 2},
    {0x027D, 0x027D, 10727, 2}, {0x0280, 0x0280, -218, 2},   {0x0282, 0x0282, 42307, 2},
    {0x0283, 0x0283, -218, 2},  {0x0287, 0x0287, 42282, 2},  {0x0288, 0x0288, -218, 2},
    {0x0289, 0x0289, -69, 2},   {0x028A, 0x028B, -217, 1},   {0x028C, 0x028C, -71, 2},
    {0x0292, 0x0292, -219, 2},  {0x029D, 0x029D, 42261, 2},  {0x029E, 0x029E, 42258, 2},
    {0x0345, 0x0345, 84, 2},    {0x0371, 0x0373, -1, 2},     {0x0377, 0x0377, -1, 2},
    {0x037B, 0x037D, 130, 1},   {0x03AC, 0x03AC, -38, 2},    {0x03AD, 0x03AF, -37, 1},
    {0x03B1, 0x03C1, -32, 1},   {0x03C2, 0x03C2, -31, 2},    {0x03C3, 0x03CB, -32, 1},
    {0x03CC, 0x03CC, -64, 2},   {0x03CD, 0x03CE, -63, 1},    {0x03D0, 0x03D0, -62, 2},
    {0x03D1, 0x03D1, -57, 2},   {0x03D5, 0x03D5, -47, 2},    {0x03D6, 0x03D6, -54, 2},
    {0x03D7, 0x03D7, -8, 2},    {0x03D9, 0x03EF, -1, 2},     {0x03F0, 0x03F0, -86, 2},
    {0x03F1, 0x03F1, -80, 2},   {0x03F2, 0x03F2, 7, 2},      {0x03F3, 0x03F3, -116, 2},
    {0x03F5, 0x03F5, -96, 2},   {0x03F8, 0x03F8, -1, 2},     {0x03FB, 0x03FB, -1, 2},
    {0x0430, 0x044F, -32, 1},   {0x0450, 0x045F, -80, 1},    {0x0461, 0x0481, -1, 2},
    {0x048B, 0x04BF, -1, 2},    {0x04C2, 0x04CE, -1, 2},     {0x04CF, 0x04CF, -15, 2},
    {0x04D1, 0x052F, -1, 2},    {0x0561, 0x0586, -48, 1},    {0x10D0, 0x10FA, 3008, 1},
    {0x10FD, 0x10FF, 3008, 1},  {0x13F8, 0x13FD, -8, 1},     {0x1C80, 0x1C80, -6254, 2},
    {0x1C81, 0x1C81, -6253, 2}, {0x1C82, 0x1C82, -6244, 2},  {0x1C83, 0x1C84, -6242, 1},
    {0x1C85, 0x1C85, -6243, 2}, {0x1C86, 0x1C86, -6236, 2},  {0x1C87, 0x1C87, -6181, 2},
    {0x1C88, 0x1C88, 35266, 2}, {0x1D79, 0x1D79, 35332, 2},  {0x1D7D, 0x1D7D, 3814, 2},
    {0x1D8E, 0x1D8E, 35384, 2}, {0x1E01, 0x1E95, -1, 2},     {0x1E9B, 0x1E9B, -59, 2},
    {0x1EA1, 0x1EFF, -1, 2},    {0x1F00, 0x1F07, 8, 1},      {0x1F10, 0x1F15, 8, 1},
    {0x1F20, 0x1F27, 8, 1},     {0x1F30, 0x1F37, 8, 1},      {0x1F40, 0x1F45, 8, 1},
    {0x1F51, 0x1F57, 8, 2},     {0x1F60, 0x1F67, 8, 1},      {0x1F70, 0x1F71, 74, 1},
    {0x1F72, 0x1F75, 86, 1},    {0x1F76, 0x1F77, 100, 1},    {0x1F78, 0x1F79, 128, 1},
    {0x1F7A, 0x1F7B, 112, 1},   {0x1F7C, 0x1F7D, 126, 1},    {0x1FB0, 0x1FB1, 8, 1},
    {0x1FBE, 0x1FBE, -7205, 2}, {0x1FD0, 0x1FD1, 8, 1},      {0x1FE0, 0x1FE1, 8, 1},
    {0x1FE5, 0x1FE5, 7, 2},     {0x214E, 0x214E, -28, 2},    {0x2170, 0x217F, -16, 1},
    {0x2184, 0x2184, -1, 2},    {0x24D0, 0x24E9, -26, 1},    {0x2C30, 0x2C5F, -48, 1},
    {0x2C61, 0x2C61, -1, 2},    {0x2C65, 0x2C65, -10795, 2}, {0x2C66, 0x2C66, -10792, 2},
    {0x2C68, 0x2C6C, -1, 2},    {0x2C73, 0x2C73, -1, 2},     {0x2C76, 0x2C76, -1, 2},
    {0x2C81, 0x2CE3, -1, 2},    {0x2CEC, 0x2CEE, -1, 2},     {0x2CF3, 0x2CF3, -1, 2},
    {0x2D00, 0x2D25, -7264, 1}, {0x2D27, 0x2D27, -7264, 2},  {0x2D2D, 0x2D2D, -7264, 2},
    {0xA641, 0xA66D, -1, 2},    {0xA681, 0xA69B, -1, 2},     {0xA723, 0xA72F, -1, 2},
    {0xA733, 0xA76F, -1, 2},    {0xA77A, 0xA77C, -1, 2},     {0xA77F, 0xA787, -1, 2},
    {0xA78C, 0xA78C, -1, 2},    {0xA791, 0xA793, -1, 2},     {0xA794, 0xA794, 48, 2},
    {0xA797, 0xA7A9, -1, 2},    {0xA7B5, 0xA7C3, -1, 2},     {0xA7C8, 0xA7CA, -1, 2},
    {0xA7D1, 0xA7D1, -1, 2},    {0xA7D7, 0xA7D9, -1, 2},     {0xA7F6, 0xA7F6, -1, 2},
    {0xAB53, 0xAB53, -928, 2},  {0xAB70, 0xABBF, -38864, 1}, {0xFF41, 0xFF5A, -32, 1},
};

char16_t UpperBeyondAscii(char16_t unit) {
  const auto* range =
      std::lower_bound(std::begin(kCaseRanges), std::end(kCaseRanges), unit,
                       [](const CaseRange& r, char16_t value) { return r.last < value; });
  if (range == std::end(kCaseRanges) || unit < range->first) return unit;
  if ((unit - range->first) % range->stride != 0) return unit;
  return static_cast<char16_t>(unit + range->delta);
}

}  // namespace

char16_t UpperUnit(char16_t unit) {
  if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 32) : unit;
  return UpperBeyondAscii(unit);
}

bool IsValidName(std::u16string_view name) {
  return !name.empty() && name.size() <= kMaxNameUnits &&
         name.find_first_of(std::u16string_view(u"/\\:!\0", 5)) == std::u16string_view::npos;
}

NameKey::NameKey(std::u16string_view name) : length_(std::min(name.size(), kMaxNameUnits)) {
  std::transform(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(length_), units_.begin(),
                 UpperUnit);
}

int NameKey::Compare(const std::uint8_t* entry) const {
  const std::size_t length = EntryNameLength(entry);
  if (length_ != length) return length_ < length ? -1 : 1;
  for (std::size_t i = 0; i < length; ++i) {
    const char16_t other = UpperUnit(Load16(entry + 2 * i));
    if (units_[i] != other) return units_[i] < other ? -1 : 1;
  }
  return 0;
}

std::size_t EntryNameLength(const std::uint8_t* entry) {
  const std::size_t bytes = std::min<std::size_t>(Load16(entry + kEntryNameLengthAt), 64);
  return bytes < 2 ? 0 : bytes / 2 - 1;
}

std::u16string EntryName(const std::uint8_t* entry) {
  std::u16string name(EntryNameLength(entry), u'\0');
  for (std::size_t i = 0; i < name.size(); ++i) name[i] = Load16(entry + 2 * i);
  return name;
}

}  // namespace compound
