#include "text/filters.h"

#include <gtest/gtest.h>
#include <set>

namespace brevant {
namespace {

std::string Escaped(std::string text) {
  HtmlEscape(text);
  return text;
}
std::string Decoded(std::string text) {
  HtmlDecode(text);
  return text;
}
std::string UrlEncoded(std::string text) {
  UrlEncode(text);
  return text;
}
std::string UrlDecoded(std::string text) {
  UrlDecode(text);
  return text;
}

// The names in ISO 8859-1 order from 160 to 255; "-" where a character has none.
const char* const kUpperNames[] = {
    "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "-",
    "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",   "deg",    "plusmn",
    "sup2",   "sup3",   "-",      "micro",  "para",   "middot", "-",      "sup1",   "ordm",
    "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute", "Acirc",  "Atilde",
    "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
    "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde",
    "Ouml",   "times",  "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",
    "szlig",  "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
    "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",   "eth",
    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash", "ugrave",
    "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml"};

TEST(EntityTable, HoldsTheNamedCharactersOfLatin1AndTheFourOfMarkup) {
  std::set<std::string_view> names{"lt", "gt", "amp", "quot"};
  for (const char* name : kUpperNames) {
    if (*name != '-') names.insert(name);
  }
  EXPECT_EQ(names.size(), EntityTable().size());
  for (const TEntity& entity : EntityTable())
    EXPECT_EQ(names.count(entity.name), 1U) << entity.name;
}

TEST(EntityTable, EveryUpperCharacterHasItsName) {
  for (unsigned code = 160; code < 256; ++code) {
    const std::string_view name = kUpperNames[code - 160];
    if (name == "-") {
      EXPECT_EQ(EntityName(code), "") << code;
      continue;
    }
    EXPECT_EQ(EntityName(code), name);
    EXPECT_EQ(EntityCharacter(name), static_cast<unsigned char>(code)) << name;
  }
}

TEST(EntityTable, MarkupCharactersHaveTheirNames) {
  EXPECT_EQ(EntityCharacter("lt"), '<');
  EXPECT_EQ(EntityCharacter("gt"), '>');
  EXPECT_EQ(EntityCharacter("amp"), '&');
  EXPECT_EQ(EntityCharacter("quot"), '"');
}

TEST(EntityTable, AccentsAloneAreNotInIt) {
  for (const char* name : {"acute", "cedil", "uml"}) EXPECT_FALSE(EntityCharacter(name)) << name;
}

TEST(EntityTable, LetterCaseCounts) {
  EXPECT_EQ(EntityCharacter("Auml"), 196);
  EXPECT_EQ(EntityCharacter("auml"), 228);
  EXPECT_FALSE(EntityCharacter("AUML"));
  EXPECT_FALSE(EntityCharacter("LT"));
}

TEST(EntityTable, CodePointsBeyondLatin1HaveNoName) {
  EXPECT_EQ(EntityName(256), "");
  EXPECT_EQ(EntityName(0x20AC), "");
  EXPECT_EQ(EntityName('A'), "");
  EXPECT_EQ(EntityName(0), "");
}

TEST(HtmlEscape, ReplacesMarkupCharacters) {
  EXPECT_EQ(Escaped("a<b>c&d\"e'f"), "a&lt;b&gt;c&amp;d&quot;e'f");
}

TEST(HtmlEscape, ReplacesEveryNamedUpperCharacter) {
  for (unsigned code = 160; code < 256; ++code) {
    const std::string name = kUpperNames[code - 160];
    const std::string character(1, static_cast<char>(code));
    EXPECT_EQ(Escaped("x" + character + "y"),
              name == "-" ? "x" + character + "y" : "x&" + name + ";y");
  }
}

TEST(HtmlEscape, CopiesUpperCharactersWithoutName) {
  EXPECT_EQ(Escaped("\x80\x9F\xA8\xB4\xB8"), "\x80\x9F\xA8\xB4\xB8");
}

TEST(HtmlEscape, DoesNotStopAtAQuestionMark) { EXPECT_EQ(Escaped("?<"), "?&lt;"); }

TEST(HtmlEscape, KeepsPlainAndEmptyText) {
  EXPECT_EQ(Escaped(""), "");
  EXPECT_EQ(Escaped("plain text; 100%"), "plain text; 100%");
}

TEST(HtmlDecode, UndoesTheEscapingOfEveryName) {
  for (const TEntity& entity : EntityTable()) {
    EXPECT_EQ(Decoded("a&" + std::string(entity.name) + ";b"),
              "a" + std::string(1, static_cast<char>(entity.character)) + "b");
  }
}

TEST(HtmlDecode, ANameEndsAtSemicolonBlankOrEnd) {
  EXPECT_EQ(Decoded("&lt;x"), "<x");
  EXPECT_EQ(Decoded("&lt x"), "< x");
  EXPECT_EQ(Decoded("x&lt"), "x<");
}

TEST(HtmlDecode, OtherEndsMakeNoName) {
  EXPECT_EQ(Decoded("&lt,x"), "&lt,x");
  EXPECT_EQ(Decoded("&lt&gt;"), "&lt>");
}

TEST(HtmlDecode, TheBlankThatEndsANameStays) {
  EXPECT_EQ(Decoded("&amp &amp; &amp"), "& & &");
  EXPECT_EQ(Decoded("&amp\n&amp\t&amp"), "&amp\n&amp\t&");
}

TEST(HtmlDecode, ANameLongerThanAnyIsUnknown) {
  EXPECT_EQ(Decoded("&frac123;&atildex;&lt;"), "&frac123;&atildex;<");
}

TEST(HtmlDecode, WorksOnBytesOfAnyValue) {
  EXPECT_EQ(Decoded(std::string("\0&lt;\xFF", 6)), std::string("\0<\xFF", 3));
}

TEST(HtmlDecode, UnknownNamesStay) {
  EXPECT_EQ(Decoded("&uml;&nosuch;&;& &#65;"), "&uml;&nosuch;&;& &#65;");
}

TEST(HtmlDecode, StopsAtTheFirstQuestionMark) {
  EXPECT_EQ(Decoded("&lt;?&lt;"), "<?&lt;");
  EXPECT_EQ(Decoded("&lt?"), "&lt?");
  EXPECT_EQ(Decoded("?&amp;&lt;?"), "?&amp;&lt;?");
}

TEST(HtmlDecode, IsNotAppliedTwice) { EXPECT_EQ(Decoded("&amp;lt;"), "&lt;"); }

TEST(HtmlDecode, TakesLinearTimeOnAmpersandsAlone) {
  std::string text(4'000'000, '&');
  EXPECT_EQ(Decoded(text), text);
}

TEST(UrlEncode, ReplacesBlankHashPercentAndUpperCharacters) {
  EXPECT_EQ(UrlEncoded("a b#c%d\xE4\xFF"), "a%20b%23c%25d%E4%FF");
}

TEST(UrlEncode, LeavesEverythingElse) {
  EXPECT_EQ(UrlEncoded("/a&b=c+d\"<>;"), "/a&b=c+d\"<>;");
  EXPECT_EQ(UrlEncoded(""), "");
}

TEST(UrlEncode, StopsAtTheFirstQuestionMark) {
  EXPECT_EQ(UrlEncoded("mailto:a b?Subject=Re: x"), "mailto:a%20b?Subject=Re: x");
}

TEST(UrlDecode, ReplacesHexadecimalCodes) {
  EXPECT_EQ(UrlDecoded("a%20b%2Fc%2fd%E4"), "a b/c/d\xE4");
  EXPECT_EQ(UrlDecoded("%00"), std::string(1, '\0'));
}

TEST(UrlDecode, LeavesWhatIsNoCode) {
  EXPECT_EQ(UrlDecoded("%"), "%");
  EXPECT_EQ(UrlDecoded("%4"), "%4");
  EXPECT_EQ(UrlDecoded("%zz%4g%%41"), "%zz%4g%A");
}

TEST(UrlDecode, StopsAtTheFirstQuestionMark) {
  EXPECT_EQ(UrlDecoded("%41?%41"), "A?%41");
  EXPECT_EQ(UrlDecoded("%4?1"), "%4?1");
  EXPECT_EQ(UrlDecoded("%3F%41"), "?A");
}

TEST(UrlDecode, UndoesTheEncoding) {
  for (int code = 1; code < 256; ++code) {
    if (code == '?') continue;
    const std::string text = "x" + std::string(1, static_cast<char>(code)) + "y";
    EXPECT_EQ(UrlDecoded(UrlEncoded(text)), text);
  }
}

}  // namespace
}  // namespace brevant
