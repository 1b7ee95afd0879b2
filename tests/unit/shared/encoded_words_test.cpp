#include "shared/encoded_words.h"

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

}  // namespace
}  // namespace brevant
