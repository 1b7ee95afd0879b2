#include "shared/form_data.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

std::string Joined(std::string_view text) {
  std::string joined;
  for (const TFormField& field : ParseUrlEncoded(text)) {
    joined += "[" + field.name + "|" + field.value + "]";
  }
  return joined;
}

TEST(FormData, FieldsComeInTheirOrder) {
  EXPECT_EQ(Joined("Subject=Hello&Address=http%3A%2F%2Fa"), "[Subject|Hello][Address|http://a]");
}

TEST(FormData, PlusIsABlankAndPercentAByte) {
  EXPECT_EQ(Joined("a+b=c%20d%2b%E4"), "[a b|c d+\xE4]");
}

TEST(FormData, MalformedPercentStandsForItself) {
  EXPECT_EQ(Joined("a=%"), "[a|%]");
  EXPECT_EQ(Joined("a=%4"), "[a|%4]");
  EXPECT_EQ(Joined("a=%zz&b=%s%n"), "[a|%zz][b|%s%n]");
}

TEST(FormData, PercentAtTheVeryEndDecodes) { EXPECT_EQ(Joined("a=%41"), "[a|A]"); }

TEST(FormData, LineBreaksOfTheMailAreNoPartOfIt) {
  EXPECT_EQ(Joined("a=12\r\n34&b\r\n=5\r\n"), "[a|1234][b|5]");
}

TEST(FormData, EmptyFieldsAreSkippedAndMissingValuesEmpty) {
  EXPECT_EQ(Joined("&&a&b=&=c&"), "[a|][b|][|c]");
  EXPECT_EQ(Joined(""), "");
}

TEST(FormData, OnlyTheFirstEqualsSignSeparates) { EXPECT_EQ(Joined("a=b=c"), "[a|b=c]"); }

TEST(FormData, ZeroBytesBecomeBlanks) { EXPECT_EQ(Joined("a=x%00y"), "[a|x y]"); }

TEST(FormData, FieldsAreBounded) {
  std::string text;
  for (int i = 0; i < 10000; ++i) text += "f=1&";
  EXPECT_EQ(ParseUrlEncoded(text).size(), kMostFormFields);
}

TEST(FormData, WhatTheBoardReliesOnIsNeverSet) {
  for (const char* name :
       {"Name", "LINK ID", "Sent to mailing list", "Vote Count", "Document Type", "CHARSET",
        "Header Charset", "FROM", "TO", "E-Mail Address", "Creation time", "Last Modify Time",
        "name", "link id", "sent TO mailing LIST", "from", "charset", "CREATION TIME"}) {
    EXPECT_FALSE(FormMaySet(name)) << name;
  }
}

TEST(FormData, OtherNamesMayBeSet) {
  for (const char* name :
       {"Subject", "Address", "Size", "Color", "My field", "From where", "Nam"}) {
    EXPECT_TRUE(FormMaySet(name)) << name;
  }
}

TEST(FormData, NamesThatNoRecordCanHoldAreRefused) {
  EXPECT_FALSE(FormMaySet(""));
  EXPECT_TRUE(FormMaySet(std::string(125, 'a')));
  EXPECT_FALSE(FormMaySet(std::string(126, 'a')));
  EXPECT_FALSE(FormMaySet("a\nb"));
  EXPECT_FALSE(FormMaySet("a\x7f"));
}

std::string Joined(const std::vector<TFormField>& fields) {
  std::string text;
  for (const TFormField& field : fields) text += "[" + field.name + "|" + field.value + "]";
  return text;
}

TEST(PlainForm, LinesAreTakenAsTheyAre) {
  EXPECT_EQ(Joined(ParsePlainForm(
                "My question=An answer\r\nOther one= 100% + more \r\n\r\nno field\r\n")),
            "[My question|An answer][Other one|100% + more]");
}

TEST(PlainForm, ALineWithoutBlanksIsTakenAsEncodedToo) {
  EXPECT_EQ(Joined(ParsePlainForm("a+b=c%21&d=e\r\n")), "[a+b|c%21&d=e][a b|c!][d|e]");
  EXPECT_EQ(Joined(ParsePlainForm("q=1+1")), "[q|1+1][q|1 1]");
}

TEST(PlainForm, TheFirstEqualsSignDivides) {
  EXPECT_EQ(Joined(ParsePlainForm("a b = c = d")), "[a b|c = d]");
}

TEST(PlainForm, AMailProgramMayHaveWrappedALine) {
  EXPECT_EQ(Joined(ParsePlainForm("Which of these gardens do you like most in the summer of \r\n"
                                  "this year=The one\r\n\r\nAgain=Yes\r\n")),
            "[Which of these gardens do you like most in the summer of this year|The one]"
            "[this year|The one]"
            "[Again|Yes][Again|Yes]");
}

TEST(PlainForm, ALineThatHadRoomForTheNextWordWasNotWrapped) {
  EXPECT_EQ(Joined(ParsePlainForm("a b=c d\ne f\n")), "[a b|c d]");
}

TEST(PlainForm, ThereIsALimit) {
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "a=b\n";
  EXPECT_EQ(ParsePlainForm(text).size(), kMostFormFields);
  EXPECT_TRUE(ParsePlainForm("").empty());
}

TEST(PlainForm, ZeroBytesBecomeBlanks) {
  EXPECT_EQ(Joined(ParsePlainForm(std::string_view("a\0b c=d\0e", 9))), "[a b c|d e]");
}

TEST(DecodedForm, TheLabelIsThatOfThePartElseTheFormsOwn) {
  std::vector<TFormField> fields = {{"gr\xFCn", "\xB1"}, {"_charset_", "iso-8859-2"}};
  DecodeForm(fields, "iso-8859-1");
  EXPECT_EQ(Joined(fields), "[gr\xC3\xBCn|\xC2\xB1][_charset_|iso-8859-2]");
  fields = {{"a", "\xB1"}, {"_charset_", "iso-8859-2"}};
  DecodeForm(fields, "");
  EXPECT_EQ(fields[0].value, "\xC4\x85");
}

TEST(DecodedForm, WithoutALabelUtf8IsTakenForUtf8) {
  std::vector<TFormField> fields = {{"a", "\xC3\xA4"}, {"b", "\xE4"}};
  DecodeForm(fields, "");
  EXPECT_EQ(Joined(fields), "[a|\xC3\xA4][b|\xC3\xA4]");
}

}  // namespace
}  // namespace brevant
