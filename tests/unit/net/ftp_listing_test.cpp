// Lines of listings, of whatever server.
#include "net/ftp_listing.h"

#include "ftp_fixture.h"

namespace {

TFindData Parsed(const std::string& line) {
  TFindData data;
  data.name = "kept";
  data.attributes = 5;
  EXPECT_EQ(TFTP::ProcessFileInfo(line.c_str(), &data), 1);
  EXPECT_EQ(data.name, "kept");
  EXPECT_EQ(data.attributes, 5U);
  EXPECT_EQ(TTime(data.creationTime), TTime(data.lastWriteTime));
  EXPECT_EQ(TTime(data.lastAccessTime), TTime(data.lastWriteTime));
  return data;
}

TTime TimeIn(const std::string& line) { return TTime(Parsed(line).lastWriteTime); }

// "year-month-day hour:minute:second" with a "*" where it is that of now.
void ExpectTime(const std::string& line, int year, int month, int day, int hour, int minute) {
  const TTime before = TTime::Now();
  const TTime time = TimeIn(line);
  const TTime now = TTime::Now();
  const auto expect = [&](int wanted, int (TTime::*part)() const, const char* what) {
    if (wanted >= 0) {
      EXPECT_EQ((time.*part)(), wanted) << what << " of " << line;
    } else {
      EXPECT_TRUE((time.*part)() == (now.*part)() || (time.*part)() == (before.*part)())
          << what << " of " << line;
    }
  };
  expect(year, &TTime::Year, "year");
  expect(month, &TTime::Month, "month");
  expect(day, &TTime::Day, "day");
  expect(hour, &TTime::Hour, "hour");
  expect(minute, &TTime::Minute, "minute");
}

constexpr int kNow = -1;

TEST(FtpListing, AllPartsMakeTheTime) {
  EXPECT_EQ(TimeIn("-rw-r--r-- 1 o g 5000 5 Nov 1997 12:30:45 name"),
            TTime(1997, 11, 5, 12, 30, 45));
  EXPECT_EQ(TimeIn("Nov 5 1997 12:30 name"), TTime(1997, 11, 5, 12, 30, 0));
  EXPECT_EQ(TimeIn("12:30 NOV 30 97"), TTime(1997, 11, 30, 12, 30, 0));
}

TEST(FtpListing, WithoutAYearItIsTheCurrentOne) {
  ExpectTime("-rw-r--r-- 1 o g 5000 Jul 15 12:30 name", kNow, 7, 15, 12, 30);
}

TEST(FtpListing, WithoutATimeOfDayItIsTheCurrentOne) {
  ExpectTime("-rw-r--r-- 1 o g 5000 Jul 15 1999 name", 1999, 7, 15, kNow, kNow);
}

TEST(FtpListing, WithoutAMonthOnlyTheTimeOfDayCounts) {
  ExpectTime("02-05-97  10:15AM  5000 name", kNow, kNow, kNow, 10, 15);
  ExpectTime("nothing at all", kNow, kNow, kNow, kNow, kNow);
}

TEST(FtpListing, Days1And31AreNotTaken) {
  for (const int day : {0, 1, 31, 32}) {
    // In a month of 31 days whatever today is.
    ExpectTime("-rw-r--r-- 1 o g 5000 Jul " + std::to_string(day) + " 12:30 name", kNow, 7, kNow,
               12, 30);
  }
  ExpectTime("x Jul 2 12:30 name", kNow, 7, 2, 12, 30);
  ExpectTime("x Jul 30 12:30 name", kNow, 7, 30, 12, 30);
}

TEST(FtpListing, ADayThatIsNoneMakesNoYear) {
  ExpectTime("x Jul 31 1997 12:30 name", kNow, 7, kNow, 12, 30);
}

TEST(FtpListing, YearsFrom1971To2029AndFrom71To98) {
  struct Case {
    const char* text;
    int year;
  };
  for (const Case& c : {Case{"97", 1997}, Case{"71", 1971}, Case{"98", 1998}, Case{"99", kNow},
                        Case{"70", kNow}, Case{"1970", kNow}, Case{"1971", 1971},
                        Case{"2029", 2029}, Case{"2030", kNow}, Case{"05", kNow}}) {
    ExpectTime(std::string("x Jul 15 ") + c.text + " 12:30 name", c.year, 7, 15, 12, 30);
  }
}

TEST(FtpListing, TheDayMayStandOnEitherSideOfTheMonth) {
  ExpectTime("x 15 Jul 1997 12:30 name", 1997, 7, 15, 12, 30);
  ExpectTime("x Jul 15 1997 12:30 name", 1997, 7, 15, 12, 30);
  // A size or a count before it is not the day when one follows.
  ExpectTime("-rw-r--r-- 1 o g 20 Jul 15 12:30 name", kNow, 7, 15, 12, 30);
}

TEST(FtpListing, OwnersAndFilesMayBeCalledLikeMonths) {
  ExpectTime("-rw-r--r-- 1 jan users 5000 Jul 15 12:30 name", kNow, 7, 15, 12, 30);
  ExpectTime("-rw-r--r-- 1 o g 5000 Jul 15 12:30 may", kNow, 7, 15, 12, 30);
  ExpectTime("-rw-r--r-- 1 o g 5000 Jul 15 1997 may", 1997, 7, 15, kNow, kNow);
}

TEST(FtpListing, TheFirstTimeOfDayCounts) {
  ExpectTime("-rw-r--r-- 1 o g 5000 Jul 15 12:30 at 14:45", kNow, 7, 15, 12, 30);
}

TEST(FtpListing, TheLargestNumberIsTheSize) {
  EXPECT_EQ(Parsed("-rw-r--r-- 1 o g 5000 Jul 15 12:30 name").sizeLow, 5000U);
  EXPECT_EQ(Parsed("-rw-r--r-- 1 1000 1000 20 Jul 15 12:30 name").sizeLow, 1000U);
  EXPECT_EQ(Parsed("07-15-97  10:15AM       4096 name").sizeLow, 4096U);
  EXPECT_EQ(Parsed("0").sizeLow, 0U);
  EXPECT_EQ(Parsed("5000").sizeHigh, 0U);
}

TEST(FtpListing, NumbersOfTheDateAreNoSizes) {
  // Behind the month, before the year, before the time.
  EXPECT_EQ(Parsed("1 Jul 15 12:30").sizeLow, 1U);
  EXPECT_EQ(Parsed("3 15 Jul 98 12:30").sizeLow, 15U);  // its next word is the month
  // A year in place of a time is a number like any other, as long as no time follows it.
  EXPECT_EQ(Parsed("-rw-r--r-- 1 o g 20 Jul 15 1997 name").sizeLow, 1997U);
  EXPECT_EQ(Parsed("-rw-r--r-- 1 o g 20 Jul 15 1997 12:30 name").sizeLow, 20U);
}

TEST(FtpListing, WithoutANumberTheSizeStays) {
  TFindData data;
  data.sizeLow = 7;
  data.sizeHigh = 3;
  EXPECT_EQ(TFTP::ProcessFileInfo("Jul 15 12:30 name", &data), 1);
  EXPECT_EQ(data.sizeLow, 7U);
  EXPECT_EQ(data.sizeHigh, 3U);
}

TEST(FtpListing, NumbersWrapAt32Bits) {
  EXPECT_EQ(Parsed("x 99999999999 Jul 15 12:30 name").sizeLow, 1215752191U);
  EXPECT_EQ(Parsed("x 4294967295 name").sizeLow, 4294967295U);
}

TEST(FtpListing, WordsOf80CharactersAreIgnored) {
  const std::string number(79, '0');
  EXPECT_EQ(Parsed(number + "5").sizeLow, 0U);
  EXPECT_EQ(Parsed(number.substr(1) + "5").sizeLow, 5U);
  // They are not counted either: what follows them stands beside the month.
  ExpectTime("Jul " + std::string(80, 'x') + " 15 12:30", kNow, 7, 15, 12, 30);
}

TEST(FtpListing, OnlyWholeNumbersAreNumbers) {
  EXPECT_EQ(Parsed("12,345 7x x8 9. -5 +6 3").sizeLow, 3U);
}

TEST(FtpListing, ADateThatIsNoneIsNoTime) {
  EXPECT_TRUE(TimeIn("x Feb 30 1997 12:30 name").IsZero());
  EXPECT_TRUE(TimeIn("x Feb 20 1997 25:30 name").IsZero());
}

TEST(FtpListing, HostileLinesAreHarmless) {
  Parsed("");
  Parsed(std::string(1 << 20, ' '));
  Parsed(std::string(1 << 20, '9'));
  std::string words;
  for (int i = 0; i < 100000; ++i) words += "9 Jul ";
  Parsed(words);
  Parsed("\xff\xfe\x01:\x02 ::: 1: :1 99999:99999:99999");
}

// Lists of names.

std::vector<std::string> Names(std::string_view text) {
  std::vector<std::string> names;
  for (const TFindData& entry : brevant::ListedNames(text)) names.push_back(entry.name);
  return names;
}

using Lines = std::vector<std::string>;

TEST(FtpListing, NamesAreTheLinesInTheirOrder) {
  EXPECT_EQ(Names("b\r\na\nc d \r\nlast"), (Lines{"b", "a", "c d ", "last"}));
}

TEST(FtpListing, PathsBeforeNamesGo) {
  EXPECT_EQ(Names("./a\r\n/site/b\r\nsub/\r\n"), (Lines{"a", "b", "sub"}));
}

TEST(FtpListing, WhatCouldBeNoNameInADirectoryIsLeftOut) {
  EXPECT_EQ(Names(".\n..\n\r\n./\n../\n/\n..\\..\\x\nC:\\x\na\rb\na\tb\n\x7f\n" +
                  std::string("a\0b\n", 4) + "x/..\ngood\n"),
            Lines{"good"});
}

TEST(FtpListing, DetailsBelongToTheNameThatALineEndsWith) {
  std::vector<TFindData> entries = brevant::ListedNames("a\nb c\nc\nsub\nlink\nnone\n12 x\n");
  brevant::AddDetails(
      "total 9\r\n"
      "-rw-r--r-- 1 o g 2000 Jul 15 12:30 a\r\n"
      "-rw-r--r-- 1 o g 3000 Jul 15 12:30 b c\r\n"
      "-rw-r--r-- 1 o g 4000 Jul 15 12:30 c\r\n"
      "drwxr-xr-x 2 o g 4096 Jul 15 12:30 sub\r\n"
      "lrwxrwxrwx 1 o g 5000 Jul 15 12:30 link -> /etc/passwd\r\n"
      "-rw-r--r-- 1 o g 6000 Jul 15 12:30 12 x\r\n"
      "-rw-r--r-- 1 o g 7000 Jul 15 12:30 stranger\r\n",
      entries);
  const std::vector<DWORD> sizes = {2000, 3000, 4000, 4096, 5000, 0, 6000};
  for (std::size_t i = 0; i < entries.size(); ++i) {
    EXPECT_EQ(entries[i].sizeLow, sizes[i]) << entries[i].name;
    EXPECT_EQ(entries[i].attributes, entries[i].name == "sub" ? 16U : 0U) << entries[i].name;
    EXPECT_EQ(TTime(entries[i].lastWriteTime).IsZero(), entries[i].name == "none");
  }
}

TEST(FtpListing, DirectoriesOfOtherServers) {
  std::vector<TFindData> entries = brevant::ListedNames("a\nb\nc\ndir d\n");
  brevant::AddDetails(
      "07-15-97  10:15AM       <DIR>          a\r\n"
      "d [RWCEAFMS] supervisor                    512 Jul 15 12:30 b\r\n"
      "07-15-97  10:15AM                 2000 c\r\n"
      "- [RWCEAFMS] supervisor                   9000 Jul 15 12:30 dir d\r\n",
      entries);
  EXPECT_EQ(entries[0].attributes, 16U);
  EXPECT_EQ(entries[1].attributes, 16U);
  EXPECT_EQ(entries[2].attributes, 0U);
  EXPECT_EQ(entries[2].sizeLow, 2000U);
  EXPECT_EQ(entries[3].attributes, 0U);
  EXPECT_EQ(entries[3].sizeLow, 9000U);
}

TEST(FtpListing, NumbersInANameAreNoSizes) {
  std::vector<TFindData> entries = brevant::ListedNames("99999 of 2005\n");
  brevant::AddDetails("-rw-r--r-- 1 o g 3000 Jul 15 12:30 99999 of 2005\r\n", entries);
  EXPECT_EQ(entries[0].sizeLow, 3000U);
}

TEST(FtpListing, HostileListingsTakeLinearTime) {
  std::string blanks;
  for (int i = 0; i < 2000; ++i) blanks += std::string(2000, ' ') + "x\n";
  std::vector<TFindData> entries = brevant::ListedNames("x\n" + std::string(1900, ' ') + "y\n");
  EXPECT_EQ(entries.size(), 2U);
  brevant::AddDetails(blanks, entries);
}

}  // namespace
