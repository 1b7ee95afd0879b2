#include "compound/names.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using namespace compound;

// A directory entry with that name, as far as names go.
std::array<std::uint8_t, 128> EntryOf(std::u16string_view name) {
  std::array<std::uint8_t, 128> entry{};
  for (std::size_t i = 0; i < name.size(); ++i) Store16(entry.data() + 2 * i, name[i]);
  Store16(entry.data() + kEntryNameLengthAt, static_cast<std::uint16_t>(2 * name.size() + 2));
  return entry;
}

int Order(std::u16string_view a, std::u16string_view b) {
  const int order = NameKey(a).Compare(EntryOf(b).data());
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

TEST(Names, ShorterNamesComeFirst) {
  EXPECT_EQ(Order(u"Z", u"aa"), -1);
  EXPECT_EQ(Order(u"10", u"9"), 1);
}

TEST(Names, EqualLengthsAreOrderedByUpperCasedUnits) {
  EXPECT_EQ(Order(u"abc", u"ABD"), -1);
  EXPECT_EQ(Order(u"b", u"_"), -1);  // "B" is below "_", "b" would be above
  EXPECT_EQ(Order(u"INFO", u"info"), 0);
}

TEST(Names, LettersBeyondAsciiHaveCasesToo) {
  EXPECT_EQ(Order(u"\u00E4", u"\u00C4"), 0);
  EXPECT_EQ(Order(u"\u0444", u"\u0424"), 0);
  EXPECT_EQ(UpperUnit(u'\u00FF'), u'\u0178');
  EXPECT_EQ(UpperUnit(u'\u00D7'), u'\u00D7');  // multiplication sign
  EXPECT_EQ(UpperUnit(u'\u00F7'), u'\u00F7');  // division sign
}

TEST(Names, BytesWidenedBySignExtensionHaveNoCase) {
  for (unsigned unit = 0xFF80; unit <= 0xFFFF; ++unit) {
    EXPECT_EQ(UpperUnit(static_cast<char16_t>(unit)), unit);
  }
}

TEST(Names, UpperCaseIsStable) {
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const char16_t upper = UpperUnit(static_cast<char16_t>(unit));
    EXPECT_EQ(UpperUnit(upper), upper) << unit;
  }
}

TEST(Names, ThirtyOneUnitsAreTheMost) {
  EXPECT_TRUE(IsValidName(std::u16string(31, u'n')));
  EXPECT_FALSE(IsValidName(std::u16string(32, u'n')));
  EXPECT_FALSE(IsValidName(u""));
}

TEST(Names, ReservedCharactersAreRefused) {
  for (const char16_t* name : {u"a/b", u"a\\b", u"a:b", u"a!b"}) EXPECT_FALSE(IsValidName(name));
  EXPECT_FALSE(IsValidName(std::u16string_view(u"a\0b", 3)));
  EXPECT_TRUE(IsValidName(u"\005SummaryInformation"));
  EXPECT_TRUE(IsValidName(u"."));
}

TEST(Names, AnImpossibleLengthInAnEntryIsCut) {
  auto entry = EntryOf(u"abc");
  Store16(entry.data() + kEntryNameLengthAt, 0xFFFF);
  EXPECT_EQ(EntryNameLength(entry.data()), 31U);
  Store16(entry.data() + kEntryNameLengthAt, 0);
  EXPECT_EQ(EntryNameLength(entry.data()), 0U);
  Store16(entry.data() + kEntryNameLengthAt, 1);
  EXPECT_EQ(EntryNameLength(entry.data()), 0U);
}

}  // namespace
