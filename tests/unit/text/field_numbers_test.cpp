// The numbers that page fields write.
#include "text/field_numbers.h"

#include <gtest/gtest.h>
#include <limits>

namespace brevant {
namespace {

TEST(NumberText, IsDecimal) {
  EXPECT_EQ(NumberText(1500, ""), "1500");
  EXPECT_EQ(NumberText(0, "x"), "0");
  EXPECT_EQ(NumberText(-7, ""), "-7");
}

TEST(NumberText, InMegDividesBy1024AndHasTwoZeros) {
  EXPECT_EQ(NumberText(1500, "Meg"), "1.00");
  EXPECT_EQ(NumberText(1023, "Meg"), "0.00");
  EXPECT_EQ(NumberText(1024 * 1024, "in+Meg"), "1024.00");
  EXPECT_EQ(NumberText(-1500, "Meg"), "-1.00");
  EXPECT_EQ(NumberText(-1000, "Meg"), "0.00");
}

TEST(NumberText, KnowsItsWordOnlyWhenBounded) {
  EXPECT_EQ(NumberText(2048, "Megs"), "2048");
  EXPECT_EQ(NumberText(2048, "meg"), "2048");
}

TEST(Percentages, OfTheTotal) {
  EXPECT_EQ(PercentageText(Percentage(1, 4), ""), "25%");
  EXPECT_EQ(PercentageText(Percentage(1, 3), ""), "33%");
  EXPECT_EQ(PercentageText(Percentage(2, 3), ""), "67%");
  EXPECT_EQ(PercentageText(Percentage(5, 5), ""), "100%");
}

TEST(Percentages, WithoutVotesAreZero) {
  EXPECT_EQ(PercentageText(Percentage(0, 0), ""), "0%");
  EXPECT_EQ(PercentageText(Percentage(7, 0), ""), "0%");
  EXPECT_EQ(PercentageText(100 - Percentage(0, 0), ""), "100%");
}

TEST(Percentages, HaveOneToSixDecimalsWhenAskedFor) {
  const double third = Percentage(1, 3);
  EXPECT_EQ(PercentageText(third, "1"), "33.3%");
  EXPECT_EQ(PercentageText(third, "2"), "33.33%");
  EXPECT_EQ(PercentageText(third, "6"), "33.333333%");
  EXPECT_EQ(PercentageText(100 - third, "2"), "66.67%");
}

TEST(Percentages, IgnoreOtherNumbers) {
  for (const char* argument : {"0", "7", "-1", "x", "12", "", "4294967295"}) {
    EXPECT_EQ(PercentageText(Percentage(1, 3), argument), "33%") << argument;
  }
}

TEST(Percentages, OfAnyNumbersHaveAText) {
  const LONG most = std::numeric_limits<LONG>::max();
  const LONG least = std::numeric_limits<LONG>::min();
  EXPECT_EQ(PercentageText(Percentage(most, 1), "6"), "214748364700.000000%");
  EXPECT_EQ(PercentageText(Percentage(least, 1), "6"), "-214748364800.000000%");
  EXPECT_EQ(PercentageText(100 - Percentage(least, -1), ""), "-214748364700%");
}

TEST(Colors, HaveRedInTheLowestByte) {
  EXPECT_EQ(ColorText(0), "#000000");
  EXPECT_EQ(ColorText(0x0000FF), "#ff0000");
  EXPECT_EQ(ColorText(0x00FF00), "#00ff00");
  EXPECT_EQ(ColorText(0xFF0000), "#0000ff");
  EXPECT_EQ(ColorText(0x123456), "#563412");
  EXPECT_EQ(ColorText(-1), "#ffffff");
}

TEST(DownloadTimes, AreSizesOverARate) {
  EXPECT_EQ(DownloadSeconds(144, ""), 10);
  EXPECT_EQ(DownloadSeconds(863, ""), 59);
  EXPECT_EQ(DownloadSeconds(864, ""), 60);
  EXPECT_EQ(DownloadSeconds(1000, "28.8"), 34);
  EXPECT_EQ(DownloadSeconds(100, "1e1"), 10);
  EXPECT_EQ(DownloadSeconds(100, " +10 kB"), 10);
}

TEST(DownloadTimes, NeedAFiniteRateAboveZero) {
  for (const char* rate :
       {"", "0", "-3", "x", "inf", "nan", "infinity", "1e400", "1e39", "1e-60"}) {
    EXPECT_EQ(DownloadSeconds(144, rate), 10) << rate;
  }
}

TEST(DownloadTimes, NeverLeaveTheirRange) {
  EXPECT_EQ(DownloadSeconds(1'000'000, "1e-30"), 2147483647);
  EXPECT_EQ(DownloadSeconds(-1'000'000, "1e-30"), -2147483647);
}

}  // namespace
}  // namespace brevant
