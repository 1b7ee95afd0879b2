#include "shared/link_subject.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

TEST(LinkSubject, SubjectAddressAndSize) {
  const TLinkSubject parts = SplitLinkSubject("Home page at http://www.example.org/ is 12K");
  EXPECT_EQ(parts.subject, "Home page");
  EXPECT_EQ(parts.address, "http://www.example.org/");
  EXPECT_EQ(parts.size, 12);
}

TEST(LinkSubject, TheKMayBeMissingOrSmall) {
  EXPECT_EQ(SplitLinkSubject("a at b is 7").size, 7);
  EXPECT_EQ(SplitLinkSubject("a at b is 7k").size, 7);
  EXPECT_EQ(SplitLinkSubject("a at b is 7K ").size, 7);
}

TEST(LinkSubject, WithoutASizeThereIsNone) {
  const TLinkSubject parts = SplitLinkSubject("Home page at http://www.example.org/");
  EXPECT_EQ(parts.subject, "Home page");
  EXPECT_EQ(parts.address, "http://www.example.org/");
  EXPECT_FALSE(parts.size);
}

TEST(LinkSubject, WithoutAnAddressBothAreTheWholeSubject) {
  for (const char* text : {"Home page", "Home page is 12K", "", " at", "at http://x", "a  at\tb"}) {
    const TLinkSubject parts = SplitLinkSubject(text);
    EXPECT_EQ(parts.subject, text);
    EXPECT_EQ(parts.address, text);
    EXPECT_EQ(parts.size, 0);
  }
}

TEST(LinkSubject, TheLastAtDivides) {
  const TLinkSubject parts = SplitLinkSubject("Meet at noon at http://x is 1K");
  EXPECT_EQ(parts.subject, "Meet at noon");
  EXPECT_EQ(parts.address, "http://x");
}

TEST(LinkSubject, OnlyDigitsAreASize) {
  for (const char* text : {"a at b is great", "a at b is ", "a at b is K", "a at b is -5K",
                           "a at b is 1.5K", "a at b is 12KB", "a at b is 1 2"}) {
    const TLinkSubject parts = SplitLinkSubject(text);
    EXPECT_FALSE(parts.size) << text;
    EXPECT_EQ(parts.address, std::string_view(text).substr(5)) << text;
  }
}

TEST(LinkSubject, AnIsBeforeTheAddressIsText) {
  const TLinkSubject parts = SplitLinkSubject("This is 5K at http://x");
  EXPECT_EQ(parts.subject, "This is 5K");
  EXPECT_EQ(parts.address, "http://x");
  EXPECT_FALSE(parts.size);
}

TEST(LinkSubject, LargeSizesWrap) {
  EXPECT_EQ(SplitLinkSubject("a at b is 99999999999K").size, 1215752191);
}

TEST(LinkSubject, EmptyPartsAreEmpty) {
  const TLinkSubject parts = SplitLinkSubject(" at  is 3K");
  EXPECT_EQ(parts.subject, "");
  EXPECT_EQ(parts.address, "");
  EXPECT_EQ(parts.size, 3);
}

}  // namespace
}  // namespace brevant
