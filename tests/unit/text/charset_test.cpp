#include "text/charset.h"

#include <gtest/gtest.h>
#include <string>

namespace brevant {
namespace {

constexpr const char* kBroken = "\xEF\xBF\xBD";

TEST(Charset, LabelsInAnyLetterCaseWithBlanksOrQuotes) {
  for (const char* label :
       {"utf-8", "UTF-8", "Utf8", " utf-8 ", "\"utf-8\"", "'UTF_8'", "csUTF8"}) {
    EXPECT_EQ(FindCharset(label), TCharset::kUtf8) << label;
  }
  for (const char* label : {"windows-1252", "Windows-1252", "CP1252", "cp-1252", "x-cp1252"}) {
    EXPECT_EQ(FindCharset(label), TCharset::kWindows1252) << label;
  }
}

TEST(Charset, AliasesOfTheIso8859Family) {
  struct TRow {
    const char* label;
    int part;
  };
  for (const TRow& row : {TRow{"iso-8859-1", 1},
                          {"ISO_8859-1:1987", 1},
                          {"iso8859-1", 1},
                          {"ISO88591", 1},
                          {"8859-1", 1},
                          {"latin1", 1},
                          {"Latin-1", 1},
                          {"l1", 1},
                          {"IBM819", 1},
                          {"csISOLatin1", 1},
                          {"ISO-8859-2", 2},
                          {"iso-ir-101", 2},
                          {"L2", 2},
                          {"csISOLatinCyrillic", 5},
                          {"arabic", 6},
                          {"ISO-8859-6-E", 6},
                          {"ELOT_928", 7},
                          {"iso-8859-8-i", 8},
                          {"latin5", 9},
                          {"iso-8859-10", 10},
                          {"TIS-620", 11},
                          {"iso-8859-11", 11},
                          {"iso_8859-14:1998", 14},
                          {"ISO-8859-15", 15},
                          {"iso8859_15", 15},
                          {"latin-9", 15},
                          {"latin10", 16}}) {
    EXPECT_EQ(FindCharset(row.label), static_cast<TCharset>(row.part)) << row.label;
  }
}

TEST(Charset, OtherLabelsAreUnknown) {
  for (const char* label : {"", " ", "x-unknown", "us-ascii", "koi8-r", "iso-8859-12",
                            "iso-8859-17", "iso-8859-155", "iso-8859-0", "iso-8859", "my-8859-1",
                            "latin", "l", "utf-16", "utf-80", "windows-1251", "csiso"}) {
    EXPECT_EQ(FindCharset(label), TCharset::kUnknown) << label;
  }
}

TEST(Charset, Utf8StaysAsItIs) {
  const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF";
  EXPECT_EQ(DecodeText(text, "utf-8"), text);
}

TEST(Charset, Windows1252) {
  EXPECT_EQ(DecodeText("\x80 \x93\xE4\x94 \x99", "windows-1252"),
            "\xE2\x82\xAC \xE2\x80\x9C\xC3\xA4\xE2\x80\x9D \xE2\x84\xA2");
}

TEST(Charset, AByteWithoutACharacterIsReplaced) {
  EXPECT_EQ(DecodeText("a\x81z", "windows-1252"), std::string("a") + kBroken + "z");
  EXPECT_EQ(DecodeText("a\xA5z", "iso-8859-3"), std::string("a") + kBroken + "z");
  EXPECT_EQ(DecodeText("a\x85z", "iso-8859-2"), std::string("a") + kBroken + "z");
}

TEST(Charset, Iso8859Part1) {
  EXPECT_EQ(DecodeText("\xA4\xE4\xFF", "ISO-8859-1"), "\xC2\xA4\xC3\xA4\xC3\xBF");
}

TEST(Charset, Iso8859Part1WithQuotationMarksOfWindows) {
  EXPECT_EQ(DecodeText("\x93x\x94", "iso-8859-1"), "\xE2\x80\x9Cx\xE2\x80\x9D");
}

TEST(Charset, Iso8859Part2) {
  EXPECT_EQ(DecodeText("\xB1\xF5\xA3", "iso-8859-2"), "\xC4\x85\xC5\x91\xC5\x81");
}

TEST(Charset, Iso8859Part15HasTheEuro) {
  EXPECT_EQ(DecodeText("\xA4\xBD\xE4", "iso-8859-15"), "\xE2\x82\xAC\xC5\x93\xC3\xA4");
}

TEST(Charset, OneCharacterOfEveryOtherPart) {
  struct TRow {
    const char* label;
    const char* bytes;
    const char* utf8;
  };
  for (const TRow& row : {TRow{"iso-8859-3", "\xA1", "\xC4\xA6"},
                          {"iso-8859-4", "\xA2", "\xC4\xB8"},
                          {"iso-8859-5", "\xB0", "\xD0\x90"},
                          {"iso-8859-6", "\xC7", "\xD8\xA7"},
                          {"iso-8859-7", "\xC1", "\xCE\x91"},
                          {"iso-8859-8", "\xE0", "\xD7\x90"},
                          {"iso-8859-9", "\xDD", "\xC4\xB0"},
                          {"iso-8859-10", "\xA1", "\xC4\x84"},
                          {"iso-8859-11", "\xA1", "\xE0\xB8\x81"},
                          {"iso-8859-13", "\xA8", "\xC3\x98"},
                          {"iso-8859-14", "\xA1", "\xE1\xB8\x82"},
                          {"iso-8859-16", "\xAA", "\xC8\x98"}}) {
    EXPECT_EQ(DecodeText(row.bytes, row.label), row.utf8) << row.label;
  }
}

TEST(Charset, AnUnknownLabelTakesUtf8ForUtf8) {
  EXPECT_EQ(DecodeText("\xC3\xA4", "x-unknown"), "\xC3\xA4");
  EXPECT_EQ(DecodeText("\xE2\x82\xAC", ""), "\xE2\x82\xAC");
}

TEST(Charset, AnUnknownLabelTakesTheRestForWindows1252) {
  EXPECT_EQ(DecodeText("\xE4 \x80", "x-unknown"), "\xC3\xA4 \xE2\x82\xAC");
  // Both in one text, as where a list's footer has a charset of its own.
  EXPECT_EQ(DecodeText("\xC3\xA4\xE4", ""), "\xC3\xA4\xC3\xA4");
  EXPECT_EQ(DecodeText("\xE2\x82", ""), "\xC3\xA2\xE2\x80\x9A");
}

TEST(Charset, TextThatIsNoAsciiIsNotDroppedBecauseItSaysSo) {
  EXPECT_EQ(DecodeText("\xC3\xA4\xE4", "us-ascii"), "\xC3\xA4\xC3\xA4");
}

TEST(Charset, AWrongUtf8LabelShowsReplacements) {
  EXPECT_EQ(DecodeText("gr\xFCn", "utf-8"), std::string("gr") + kBroken + "n");
}

TEST(Charset, BrokenSequencesAreReplacedAndNothingElseIsLost) {
  const std::string broken = kBroken;
  struct TRow {
    std::string bytes;
    std::string utf8;
  };
  for (const TRow& row : {TRow{"\x80x", broken + "x"},
                          {"\xC3x", broken + "x"},
                          {"\xC3", broken},
                          {"\xE2\x82x", broken + "x"},
                          {"\xE2\x82\xC3\xA4", broken + "\xC3\xA4"},
                          {"\xF0\x9F\x98x", broken + "x"},
                          {"\xC0\x80x", broken + broken + "x"},
                          {"\xE0\x80\x80", broken + broken + broken},
                          {"\xED\xA0\x80", broken + broken + broken},
                          {"\xF4\x90\x80\x80", broken + broken + broken + broken},
                          {"\xF5x", broken + "x"},
                          {"\xFF\xFE", broken + broken}}) {
    EXPECT_EQ(DecodeText(row.bytes, "utf-8"), row.utf8) << testing::PrintToString(row.bytes);
  }
}

TEST(Charset, ControlCharactersOfATextStay) {
  EXPECT_EQ(DecodeText(std::string_view("a\0\r\n\tb", 6), "utf-8"),
            std::string_view("a\0\r\n\tb", 6));
}

// Every way to cut a text into two pieces gives what the whole gives.
TEST(Charset, ACharacterMayComeInTwoPieces) {
  const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xE2\x82z\xE4\xC3";
  for (const char* label : {"utf-8", "", "windows-1252", "iso-8859-2"}) {
    const std::string whole = DecodeText(text, label);
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
      TTextDecoder decoder(FindCharset(label));
      std::string utf8;
      decoder.Decode(std::string_view(text).substr(0, cut), utf8);
      decoder.Decode("", utf8);
      decoder.Decode(std::string_view(text).substr(cut), utf8);
      decoder.Finish(utf8);
      EXPECT_EQ(utf8, whole) << label << " " << cut;
    }
  }
}

TEST(Charset, Utf8IsToldFromOtherTextsHoweverItComes) {
  struct TRow {
    const char* text;
    bool ascii;
    bool valid;
  };
  for (const TRow& row : {TRow{"", true, true},
                          {"plain", true, true},
                          {"a\xC3\xA4\xE2\x82\xACz", false, true},
                          {"a\xE4z", false, false},
                          {"a\xC3", false, false},
                          {"\xE2\x82z\xC3\xA4", false, false}}) {
    const std::string_view text = row.text;
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
      TUtf8Check check;
      check.Add(text.substr(0, cut));
      check.Add(text.substr(cut));
      EXPECT_EQ(check.Ascii(), row.ascii) << row.text;
      EXPECT_EQ(check.Valid(), row.valid) << row.text;
    }
  }
}

TEST(Charset, TextsAreCutAtAWholeCharacter) {
  const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
  const std::size_t expected[] = {0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 10};
  for (std::size_t room = 0; room < std::size(expected); ++room) {
    EXPECT_EQ(CutAtCharacter(text, room), text.substr(0, expected[room])) << room;
  }
}

TEST(Charset, BrokenTextsAreCutWithinTheirRoom) {
  const std::string text(10, '\x80');
  for (std::size_t room = 0; room <= 10; ++room) {
    EXPECT_EQ(CutAtCharacter(text, room).size(), room);
  }
}

TEST(Charset, CharactersAreTakenOneByOne) {
  std::string_view text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xFF\xC3";
  for (const char32_t expected :
       {U'a', U'\u00E4', U'\u20AC', U'\U0001F600', U'\uFFFD', U'\uFFFD'}) {
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(TakeCharacter(text), expected);
  }
  EXPECT_TRUE(text.empty());
}

TEST(Charset, WhatIsNoCharacterIsWrittenAsTheReplacement) {
  for (const char32_t character : {char32_t{0xD800}, char32_t{0xDFFF}, char32_t{0x110000}}) {
    std::string text;
    AppendUtf8(text, character);
    EXPECT_EQ(text, kBroken);
  }
}

}  // namespace
}  // namespace brevant
