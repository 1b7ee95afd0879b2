#include "text/encoded_words.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

TEST(EncodedWords, PlainTextStays) {
  EXPECT_EQ(DecodeEncodedWords("My Board"), "My Board");
  EXPECT_EQ(DecodeEncodedWords(""), "");
}

TEST(EncodedWords, QuotedFormDecodes) {
  EXPECT_EQ(DecodeEncodedWords("=?iso-8859-1?Q?My_B=F6ard?="),
            "My B\xF6"
            "ard");
  EXPECT_EQ(DecodeEncodedWords("=?utf-8?q?a=c3=A4?="), "a\xC3\xA4");
}

TEST(EncodedWords, BaseFormDecodes) {
  EXPECT_EQ(DecodeEncodedWords("=?utf-8?B?TXkgQm9hcmQ=?="), "My Board");
  EXPECT_EQ(DecodeEncodedWords("=?utf-8?b?QQ==?="), "A");
}

TEST(EncodedWords, BlanksBetweenTwoWordsGo) {
  EXPECT_EQ(DecodeEncodedWords("=?a?q?My_?= \t=?a?q?Board?="), "My Board");
  EXPECT_EQ(DecodeEncodedWords("=?a?q?My?= x =?a?q?Board?="), "My x Board");
}

TEST(EncodedWords, MalformedWordsStay) {
  for (const char* text :
       {"=?utf-8?Q?abc", "=?utf-8?X?abc?=", "=??Q?a?=", "=?utf-8?Q?a=G1?=", "=?utf-8?Q?a b?=",
        "=?utf-8?B?a*b?=", "=?", "=?utf-8?Q", "=?utf-8?Q?a=4?="}) {
    EXPECT_EQ(DecodeEncodedWords(text), text);
  }
}

TEST(HeaderText, BothKindsOfWordsBecomeUtf8) {
  EXPECT_EQ(DecodeHeader("=?iso-8859-1?Q?Gr=FC=DFe?= aus =?UTF-8?B?S8O2bG4=?="),
            "Gr\xC3\xBC\xC3\x9F"
            "e aus K\xC3\xB6ln");
  EXPECT_EQ(DecodeHeader("=?iso-8859-2?q?=B1?="), "\xC4\x85");
  EXPECT_EQ(DecodeHeader("=?ISO-8859-15?q?=A4?="), "\xE2\x82\xAC");
  EXPECT_EQ(DecodeHeader("=?windows-1252?q?=93x=94?="), "\xE2\x80\x9Cx\xE2\x80\x9D");
}

TEST(HeaderText, ALanguageBehindTheCharsetIsNoPartOfIt) {
  EXPECT_EQ(DecodeHeader("=?iso-8859-2*pl?q?=B1?="), "\xC4\x85");
}

TEST(HeaderText, AdjacentWordsAreJoined) {
  EXPECT_EQ(DecodeHeader("=?utf-8?q?a?= \t =?iso-8859-1?q?b?= c =?utf-8?q?d?="), "ab c d");
  EXPECT_EQ(DecodeHeader("=?utf-8?q?a?==?utf-8?q?b?="), "ab");
}

TEST(HeaderText, ACharacterMayBeSplitOverTwoWordsOfOneCharset) {
  EXPECT_EQ(DecodeHeader("=?utf-8?q?=E2=82?= =?UTF-8?q?=AC?="), "\xE2\x82\xAC");
  EXPECT_EQ(DecodeHeader("=?utf-8?b?4oI=?= =?utf-8?q?=AC?="), "\xE2\x82\xAC");
}

TEST(HeaderText, ACharacterIsNotSplitOverWordsOfTwoCharsetsOrOverText) {
  EXPECT_EQ(DecodeHeader("=?utf-8?q?=C3?= =?iso-8859-1?q?=A4?="), "\xEF\xBF\xBD\xC2\xA4");
  EXPECT_EQ(DecodeHeader("=?utf-8?q?=C3?= x"), "\xEF\xBF\xBD x");
}

TEST(HeaderText, BrokenSequencesAreReplaced) {
  EXPECT_EQ(DecodeHeader("=?utf-8?q?a=FFz?="), "a\xEF\xBF\xBDz");
}

TEST(HeaderText, AnUnknownCharset) {
  EXPECT_EQ(DecodeHeader("=?x-what?q?=C3=A4_=E4?="), "\xC3\xA4 \xC3\xA4");
}

TEST(HeaderText, BytesOutsideOfWordsHaveNoLabel) {
  EXPECT_EQ(DecodeHeader("\xC3\xA4 \xE4"), "\xC3\xA4 \xC3\xA4");
}

TEST(HeaderText, NoControlCharacterComesIn) {
  EXPECT_EQ(DecodeHeader("=?utf-8?q?a=0D=0Ab=00c=7F=C2=85d?="), "a  b c  d");
  EXPECT_EQ(DecodeHeader("=?utf-8?b?YQ0KQmNjOiB4?="), "a  Bcc: x");
  EXPECT_EQ(DecodeHeader("a\tb"), "a b");
}

TEST(HeaderText, MalformedWordsStay) {
  for (const char* text :
       {"=?utf-8?Q?abc", "=?utf-8?X?abc?=", "=??Q?a?=", "=?utf-8?Q?a=G1?=", "=?utf-8?Q?a b?=",
        "=?utf-8?B?a*b?=", "=?", "=?utf-8?Q", "a =? b ?= c"}) {
    EXPECT_EQ(DecodeHeader(text), text);
  }
}

TEST(HeaderText, AMalformedWordHidesNoneBehindIt) {
  EXPECT_EQ(DecodeHeader("=?x =?utf-8?q?a?="), "=?x a");
}

TEST(HeaderText, AnEncodedNameIsNoAddress) {
  EXPECT_EQ(DecodeAddressHeader("=?utf-8?q?=22boss=22_=3Cboss=40x.example=3E?= <a@b.example>"),
            "'boss' (boss@x.example) <a@b.example>");
  EXPECT_EQ(DecodeAddressHeader("\"=?utf-8?q?J=C3=B6?=\" <a@b.example>"),
            "\"J\xC3\xB6\" <a@b.example>");
}

}  // namespace
// The time limit of the test program is what a quadratic decoder would meet.
TEST(HeaderText, BeginningsOfWordsWithoutEndTakeLinearTime) {
  for (const std::string begin : {"=?a?q?x", "=?a?b?QQ!", "=?", "=?a?q? ", "=?a"}) {
    std::string header;
    while (header.size() < 1000000) header += begin;
    EXPECT_EQ(brevant::DecodeEncodedWords(header), header);
    EXPECT_EQ(brevant::DecodeHeader(header).size(), header.size());
  }
}

}  // namespace brevant
