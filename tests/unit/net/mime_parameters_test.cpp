#include "net/mime_parameters.h"

#include <gtest/gtest.h>

namespace {

using brevant::FindParameter;
using brevant::FindQuotedParameter;
using brevant::MainValue;

using Found = std::optional<std::string>;

TEST(QuotedParameter, IsTheTextBetweenTheQuotes) {
  EXPECT_EQ(FindQuotedParameter("multipart/mixed; boundary=\"a b\"; x", "boundary"), Found("a b"));
  EXPECT_EQ(FindQuotedParameter("x; boundary=\"\"", "boundary"), Found(""));
}

TEST(QuotedParameter, EndsWithTheText) {
  EXPECT_EQ(FindQuotedParameter("x; boundary=\"abc", "boundary"), Found("abc"));
}

TEST(QuotedParameter, NeedsEqualsAndQuoteRightBehindTheName) {
  EXPECT_EQ(FindQuotedParameter("x; boundary=abc", "boundary"), std::nullopt);
  EXPECT_EQ(FindQuotedParameter("x; boundary =\"abc\"", "boundary"), std::nullopt);
  EXPECT_EQ(FindQuotedParameter("x; boundary= \"abc\"", "boundary"), std::nullopt);
  EXPECT_EQ(FindQuotedParameter("x; boundary", "boundary"), std::nullopt);
}

TEST(QuotedParameter, NeedsTheVeryLetters) {
  EXPECT_EQ(FindQuotedParameter("x; BOUNDARY=\"abc\"", "boundary"), std::nullopt);
}

TEST(QuotedParameter, OnlyTheFirstPlaceOfTheNameCounts) {
  EXPECT_EQ(FindQuotedParameter("boundary; boundary=\"abc\"", "boundary"), std::nullopt);
}

TEST(Parameter, QuotedOrNotInAnyCase) {
  EXPECT_EQ(FindParameter("x; boundary=abc; y=z", "boundary"), Found("abc"));
  EXPECT_EQ(FindParameter("x; Boundary = \"a;b\" ; y=z", "boundary"), Found("a;b"));
  EXPECT_EQ(FindParameter("x; y=z; boundary=abc", "boundary"), Found("abc"));
  EXPECT_EQ(FindParameter("x;boundary=abc (comment)", "boundary"), Found("abc"));
  EXPECT_EQ(FindParameter("x; y=\"boundary=no\"", "boundary"), std::nullopt);
  EXPECT_EQ(FindParameter("boundary=abc", "boundary"), std::nullopt) << "that is the main value";
  EXPECT_EQ(FindParameter("x; myboundary=abc", "boundary"), std::nullopt);
  EXPECT_EQ(FindParameter("x; filename=a", "name"), std::nullopt);
}

TEST(Parameter, EscapesInQuotes) {
  EXPECT_EQ(FindParameter(R"(x; name="a\"b\\c")", "name"), Found(R"(a"b\c)"));
}

TEST(Parameter, Continuations) {
  EXPECT_EQ(FindParameter("x; name*0=\"abc\"; name*1=def; name*2=g", "name"), Found("abcdefg"));
  EXPECT_EQ(FindParameter("x; name*1=def; name*0=abc", "name"), Found("abcdef"));
  EXPECT_EQ(FindParameter("x; name*0=abc; name*2=g", "name"), Found("abc"));
  EXPECT_EQ(FindParameter("x; name*1=def", "name"), std::nullopt);
}

TEST(Parameter, CharsetLanguageAndPercent) {
  EXPECT_EQ(FindParameter("x; name*=utf-8'en'%e2%82%ac%20rates", "name"),
            Found("\xE2\x82\xAC rates"));
  EXPECT_EQ(FindParameter("x; name*=UTF-8''a%2fb", "name"), Found("a/b"));
  EXPECT_EQ(FindParameter("x; NAME*0*=utf-8''a%20; name*1=b%20; name*2*=%21", "name"),
            Found("a b%20!"));
  EXPECT_EQ(FindParameter("x; name=plain; name*=utf-8''better", "name"), Found("better"));
}

TEST(Parameter, BrokenEncodingsStayAsTheyAre) {
  EXPECT_EQ(FindParameter("x; name*=100%", "name"), Found("100%"));
  EXPECT_EQ(FindParameter("x; name*=a%zz%4", "name"), Found("a%zz%4"));
  EXPECT_EQ(FindParameter("x; name*x=1; name*99999999999=2; name=ok", "name"), Found("ok"));
}

TEST(Parameter, HostileTexts) {
  for (const char* text : {"", ";", ";;;", "=", ";=", "; =x", "\"", "x; name=\"", "x; name=\"\\",
                           "((((", "x; name", "x; name*", "x; name*="}) {
    FindParameter(text, "name");
    MainValue(text);
    FindQuotedParameter(text, "name");
  }
  EXPECT_EQ(FindParameter("x; name=\"open", "name"), Found("open"));
}

TEST(MainValue, IsWhatStandsBeforeTheParameters) {
  EXPECT_EQ(MainValue(" text/html ; charset=x"), "text/html");
  EXPECT_EQ(MainValue("text/html (comment)"), "text/html");
  EXPECT_EQ(MainValue(""), "");
}

}  // namespace
