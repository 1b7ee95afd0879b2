// Directories of the server, listings and searches, and files opened by their time.
#include "ftp_fixture.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

using test::Deviating;
using test::FtpOptions;
using test::FtpSite;
using test::Lines;

class FtpDirectoryTest : public test::FtpTest {};

Lines Names(const TFTP& client) {
  Lines names;
  for (const TFindData& entry : client.DirectoryList()) names.push_back(entry.name);
  return names;
}

FtpOptions Listing(const std::string& names, const std::string& details) {
  FtpOptions options;
  options.nlstText = std::make_shared<std::string>(names);
  options.listText = std::make_shared<std::string>(details);
  return options;
}

TEST_F(FtpDirectoryTest, AnEmptyPathSucceedsAndSendsNothing) {
  FtpSite site;
  for (const char* path : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(site.client.MakeDirectory(path), 1);
    EXPECT_EQ(site.client.ChangeDirectory(path), 1);
  }
  EXPECT_EQ(site.Commands(), Lines{});
}

TEST_F(FtpDirectoryTest, OneSeparatorAtTheEndIsNotSent) {
  FtpSite site;
  EXPECT_EQ(site.client.MakeDirectory("a/"), 1);
  EXPECT_EQ(site.client.ChangeDirectory("a/"), 1);
  EXPECT_EQ(site.client.ChangeDirectory("..//"), 1);
  EXPECT_EQ(site.client.ChangeDirectory("a\\"), 1);
  EXPECT_EQ(site.client.ChangeDirectory("/"), 1);
  EXPECT_EQ(site.Commands(), (Lines{"MKD a", "CWD a", "CWD ../", "CWD a", "CWD /"}));
}

TEST_F(FtpDirectoryTest, Reply501SwapsTheSeparators) {
  FtpOptions options;
  options.refusedSeparator = '/';
  FtpSite site(options);
  EXPECT_EQ(site.client.MakeDirectory("a"), 1);
  EXPECT_EQ(site.client.MakeDirectory("a/b"), 1);
  EXPECT_EQ(site.client.ChangeDirectory("a/b/"), 1);
  EXPECT_TRUE(fs::is_directory(site.root / "a/b"));
  EXPECT_EQ(site.Commands(), (Lines{"MKD a", "MKD a/b", "MKD a\\b", "CWD a/b", "CWD a\\b"}));
}

TEST_F(FtpDirectoryTest, OnlyTheKindThatComesFirstIsSwapped) {
  FtpSite site(Lines{"CWD * reply \"501 path?\\r\\n\""});
  EXPECT_EQ(site.client.ChangeDirectory("a\\b/c\\d"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 501);
  EXPECT_EQ(site.client.ChangeDirectory("abc"), 0);
  EXPECT_EQ(site.Commands(), (Lines{"CWD a\\b/c\\d", "CWD a/b/c/d", "CWD abc", "CWD abc"}));
}

TEST_F(FtpDirectoryTest, TheReplyCodeIsKeptInAnyCase) {
  FtpSite site;
  EXPECT_EQ(site.client.MakeDirectory("a"), 1);
  EXPECT_EQ(site.client.LastReplyCode(), 257);
  EXPECT_EQ(site.client.ChangeDirectory("a"), 1);
  EXPECT_EQ(site.client.LastReplyCode(), 250);
  EXPECT_EQ(site.client.ChangeDirectory("b"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
}

TEST_F(FtpDirectoryTest, RemovingADirectory) {
  FtpSite site;
  fs::create_directory(site.root / "a");
  EXPECT_EQ(site.client.DeleteDirectory("a", 0), 1);
  EXPECT_FALSE(fs::exists(site.root / "a"));
  EXPECT_EQ(site.client.DeleteDirectory("a", 0), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  EXPECT_EQ(site.Commands(), (Lines{"RMD a", "RMD a"}));
}

TEST_F(FtpDirectoryTest, RemovingADirectoryWithItsFiles) {
  FtpSite site;
  fs::create_directory(site.root / "a");
  for (const char* name : {"a/x", "a/z", "a/y 1"}) test::WriteFileBytes(site.root / name, "1");
  EXPECT_EQ(site.client.DeleteDirectory("a", 1), 1);
  EXPECT_FALSE(fs::exists(site.root / "a"));
  EXPECT_EQ(site.Commands(),
            (Lines{"CWD a", "TYPE A", "NLST", "DELE x", "DELE y 1", "DELE z", "CWD ..", "RMD a"}));
}

TEST_F(FtpDirectoryTest, SubdirectoriesAreNotEntered) {
  FtpSite site;
  fs::create_directories(site.root / "a/b");
  test::WriteFileBytes(site.root / "a/b/f", "1");
  EXPECT_EQ(site.client.DeleteDirectory("a", 1), 0);
  EXPECT_TRUE(fs::exists(site.root / "a/b/f"));
}

TEST_F(FtpDirectoryTest, NothingIsDeletedWhereTheDirectoryCannotBeEntered) {
  FtpSite site;
  test::WriteFileBytes(site.root / "f", "1");
  EXPECT_EQ(site.client.DeleteDirectory("nowhere", 1), 0);
  EXPECT_EQ(site.client.DeleteDirectory("", 1), 0);
  EXPECT_EQ(site.client.DeleteDirectory(nullptr, 1), 0);
  EXPECT_TRUE(fs::exists(site.root / "f"));
  EXPECT_EQ(site.Commands(), Lines{"CWD nowhere"});
}

TEST_F(FtpDirectoryTest, ADirectoryThatCannotBeListedMayBeEmpty) {
  FtpSite site(Lines{"NLST * reply \"550 No files found.\\r\\n\""});
  fs::create_directory(site.root / "a");
  EXPECT_EQ(site.client.DeleteDirectory("a", 1), 1);
}

TEST_F(FtpDirectoryTest, NamesOfAListingCannotLeadElsewhere) {
  FtpSite site(Listing("../up\r\n..\r\n.\r\nx\\..\\y\r\n/etc/passwd\r\n", ""));
  fs::create_directory(site.root / "a");
  test::WriteFileBytes(site.root / "up", "1");
  EXPECT_EQ(site.client.DeleteDirectory("a", 1), 1);
  EXPECT_TRUE(fs::exists(site.root / "up"));
  EXPECT_EQ(site.Commands(),
            (Lines{"CWD a", "TYPE A", "NLST", "DELE up", "DELE passwd", "CWD ..", "RMD a"}));
}

TEST_F(FtpDirectoryTest, AListOfNamesAndOneWithDetails) {
  FtpSite site;
  test::WriteFileBytes(site.root / "a b.txt", std::string(5000, 'x'));
  fs::create_directory(site.root / "sub");
  EXPECT_EQ(site.client.GetDirectoryList(0), 1);
  EXPECT_EQ(Names(site.client), (Lines{"a b.txt", "sub"}));
  EXPECT_EQ(site.client.DirectoryList()[0].sizeLow, 0U);
  EXPECT_TRUE(TTime(site.client.DirectoryList()[0].lastWriteTime).IsZero());
  EXPECT_NE(site.client.Status() & kStatusListComplete, 0U);
  EXPECT_EQ(site.client.GetDirectoryList(), 1);
  EXPECT_EQ(Names(site.client), (Lines{"a b.txt", "sub"}));
  EXPECT_EQ(site.client.DirectoryList()[0].sizeLow, 5000U);
  EXPECT_EQ(site.client.DirectoryList()[0].attributes, 0U);
  EXPECT_EQ(site.client.DirectoryList()[1].attributes, 16U);
  EXPECT_EQ(site.Commands(), (Lines{"TYPE A", "NLST", "TYPE A", "NLST", "LIST"}));
}

TEST_F(FtpDirectoryTest, StylesOfSeveralServers) {
  for (const test::ListingStyle style :
       {test::ListingStyle::kUnix, test::ListingStyle::kDos, test::ListingStyle::kNetWare}) {
    FtpOptions options;
    options.listing = style;
    FtpSite site(options);
    test::WriteFileBytes(site.root / "a b.txt", std::string(5000, 'x'));
    fs::create_directory(site.root / "sub");
    ASSERT_EQ(site.client.GetDirectoryList(), 1);
    ASSERT_EQ(Names(site.client), (Lines{"a b.txt", "sub"}));
    EXPECT_EQ(site.client.DirectoryList()[0].sizeLow, 5000U);
    EXPECT_EQ(site.client.DirectoryList()[1].attributes, 16U);
  }
}

TEST_F(FtpDirectoryTest, AChangeOfDirectoryForgetsTheList) {
  FtpSite site;
  fs::create_directory(site.root / "a");
  ASSERT_EQ(site.client.GetDirectoryList(), 1);
  EXPECT_EQ(site.client.ChangeDirectory("nowhere"), 0);
  EXPECT_EQ(site.client.ChangeDirectory(""), 1);
  EXPECT_EQ(Names(site.client), Lines{"a"});
  EXPECT_EQ(site.client.ChangeDirectory("a"), 1);
  EXPECT_EQ(Names(site.client), Lines{});
  EXPECT_EQ(site.client.Status() & kStatusListComplete, 0U);
}

TEST_F(FtpDirectoryTest, ADisconnectForgetsTheList) {
  FtpSite site;
  ASSERT_EQ(site.client.GetDirectoryList(), 1);
  site.client.Disconnect();
  EXPECT_EQ(site.client.Status() & kStatusListComplete, 0U);
}

TEST_F(FtpDirectoryTest, WithoutTheNamesThereIsNoList) {
  for (const char* deviation : {"TYPE * reply \"504 no\\r\\n\"", "NLST * reply \"550 no\\r\\n\"",
                                "NLST-END * reply \"426 cut\\r\\n\""}) {
    FtpSite site(Lines{deviation});
    test::WriteFileBytes(site.root / "a", "1");
    EXPECT_EQ(site.client.GetDirectoryList(), 0) << deviation;
    EXPECT_EQ(site.client.Status() & kStatusListComplete, 0U) << deviation;
    EXPECT_TRUE(site.client.DirectoryList().empty()) << deviation;
  }
  FtpSite cut(Deviating({}, {"* cut 1"}));
  test::WriteFileBytes(cut.root / "long name", "1");
  EXPECT_EQ(cut.client.GetDirectoryList(), 0);
}

TEST_F(FtpDirectoryTest, WithoutTheDetailsThereAreTheNames) {
  FtpSite site(Lines{"LIST * reply \"550 no\\r\\n\""});
  test::WriteFileBytes(site.root / "a", "1");
  EXPECT_EQ(site.client.GetDirectoryList(), 1);
  EXPECT_EQ(Names(site.client), Lines{"a"});
}

TEST_F(FtpDirectoryTest, TenThousandEntries) {
  std::string names;
  std::string details;
  for (int i = 0; i < 10000; ++i) {
    const std::string name = "file " + std::to_string(i);
    names += name + "\r\n";
    details += "-rw-r--r-- 1 o g 5000 Jul 15 12:30 " + name + "\r\n";
  }
  FtpSite site(Listing(names, details));
  ASSERT_EQ(site.client.GetDirectoryList(), 1);
  ASSERT_EQ(site.client.DirectoryList().size(), 10000U);
  for (const TFindData& entry : site.client.DirectoryList()) ASSERT_EQ(entry.sizeLow, 5000U);
}

TEST_F(FtpDirectoryTest, AListingWithoutEndIsGivenUp) {
  FtpSite site(Listing(std::string(33U << 20, 'x'), ""));
  EXPECT_EQ(site.client.GetDirectoryList(), 0);
  EXPECT_EQ(site.client.SetType("I"), 1);
}

// Searches.

TEST_F(FtpDirectoryTest, ASearchGivesWhatMatchesInTheOrderOfTheList) {
  FtpSite site(Listing("b.htm\r\nA.HTM\r\nc.txt\r\nnone\r\n", ""));
  const auto found = [&](const char* pattern) {
    Lines names;
    TFindData data;
    const HANDLE handle = site.client.FindFirstFileA(pattern, &data);
    if (handle == nullptr) return names;
    do {
      names.push_back(data.name);
    } while (site.client.FindNextFileA(handle, &data) != 0);
    site.client.FindClose(handle);
    return names;
  };
  EXPECT_EQ(found("*.htm"), (Lines{"b.htm", "A.HTM"}));
  EXPECT_EQ(found("*.*"), (Lines{"b.htm", "A.HTM", "c.txt", "none"}));
  EXPECT_EQ(found("*"), found("*.*"));
  EXPECT_EQ(found("?.txt"), Lines{"c.txt"});
  EXPECT_EQ(found("NONE"), Lines{"none"});
  EXPECT_EQ(found("x*"), Lines{});
  EXPECT_EQ(found(""), Lines{});
  // One reading served them all.
  EXPECT_EQ(site.Commands(), (Lines{"TYPE A", "NLST", "LIST"}));
}

TEST_F(FtpDirectoryTest, ASearchMayReadTheNamesAlone) {
  FtpSite site;
  test::WriteFileBytes(site.root / "a", "1");
  TFindData data;
  const HANDLE handle = site.client.FindFirstFileA("*", &data, 0);
  EXPECT_NE(handle, nullptr);
  site.client.FindClose(handle);
  site.client.FindClose(handle);
  site.client.FindClose(nullptr);
  EXPECT_EQ(site.Commands(), (Lines{"TYPE A", "NLST"}));
}

TEST_F(FtpDirectoryTest, SearchesAreIndependentAndEndWithTheirList) {
  FtpSite site(Listing("a\r\nb\r\nc\r\n", ""));
  TFindData one;
  TFindData other;
  const HANDLE first = site.client.FindFirstFileA("*", &one);
  const HANDLE second = site.client.FindFirstFileA("*", &other);
  EXPECT_EQ(site.client.FindNextFileA(first, &one), 1);
  EXPECT_EQ(one.name, "b");
  EXPECT_EQ(other.name, "a");
  EXPECT_EQ(site.client.FindNextFileA(second, &other), 1);
  EXPECT_EQ(site.client.GetDirectoryList(), 1);
  EXPECT_EQ(site.client.FindNextFileA(first, &one), 0);
  site.client.FindClose(first);
  EXPECT_EQ(site.client.FindNextFileA(first, &one), 0);
  EXPECT_EQ(site.client.FindNextFileA(second, nullptr), 0);
  EXPECT_EQ(site.client.FindFirstFileA(nullptr, &one), nullptr);
  EXPECT_EQ(site.client.FindFirstFileA("*", nullptr), nullptr);
}

TEST_F(FtpDirectoryTest, ASearcherIsTheEntryItStandsAt) {
  FtpSite site(Listing("a\r\nb\r\n", "-rw-r--r-- 1 o g 5000 Jul 15 12:30 b\r\n"));
  TFTPSearcher searcher(&site.client, "*");
  EXPECT_EQ(searcher.GetFirst(), 1);
  EXPECT_EQ(searcher.ListComplete(), 1);
  EXPECT_EQ(searcher.name, "a");
  EXPECT_EQ(searcher.GetNext(), 1);
  EXPECT_EQ(searcher.name, "b");
  EXPECT_EQ(searcher.sizeLow, 5000U);
  EXPECT_EQ(searcher.GetNext(), 0);
  EXPECT_EQ(searcher.Initialize(&site.client, "b"), 1);
  EXPECT_EQ(searcher.name, "b");
  EXPECT_EQ(searcher.Initialize(&site.client, "x"), 0);
  EXPECT_EQ(searcher.GetFirst(), 0);
  EXPECT_EQ(searcher.GetNext(), 0);
}

TEST_F(FtpDirectoryTest, ASearcherWithoutAConnectionFindsNothing) {
  TFTP client;
  TFTPSearcher searcher(&client, "*");
  EXPECT_EQ(searcher.GetFirst(), 0);
  EXPECT_EQ(searcher.ListComplete(), 0);
  TFTPSearcher none(nullptr, "*");
  EXPECT_EQ(none.GetFirst(), 0);
  EXPECT_EQ(none.GetNext(), 0);
}

// Information about one file, and opening by its time.

TEST_F(FtpDirectoryTest, FileInformationIsOneLineOfAListing) {
  FtpSite site(Listing("", "-rw-r--r-- 1 o g 5000 15 Jul 1997 12:30 f\r\nmore 99999\r\n"));
  EXPECT_EQ(site.client.GetFileInfo("f"), 1);
  EXPECT_EQ(site.client.GetSize(), 5000U);
  EXPECT_EQ(site.client.ResourceTime(), TTime(1997, 7, 15, 12, 30, 0));
  EXPECT_EQ(site.client.GetTransferred(), 0U);
  EXPECT_EQ(site.Commands(), Lines{"LIST f"});
  EXPECT_EQ(site.client.SetType("I"), 1);  // the final reply was taken
}

TEST_F(FtpDirectoryTest, WithoutANumberTheExpectedSizeStays) {
  FtpSite site(Listing("", "Jul 15 12:30 f\r\n"));
  site.client.SetSize(7);
  EXPECT_EQ(site.client.GetFileInfo("f"), 1);
  EXPECT_EQ(site.client.GetSize(), 7U);
}

TEST_F(FtpDirectoryTest, WithoutALineThereIsNoInformation) {
  FtpSite site(Listing("", ""));
  EXPECT_EQ(site.client.GetFileInfo("f"), 0);
  FtpSite empty(Listing("", "\r\n"));
  EXPECT_EQ(empty.client.GetFileInfo("f"), 0);
  FtpSite refused(Lines{"LIST * reply \"550 no\\r\\n\""});
  EXPECT_EQ(refused.client.GetFileInfo("f"), 0);
  EXPECT_EQ(refused.client.LastReplyCode(), 550);
}

class FtpTimeTest : public FtpDirectoryTest {
 protected:
  FtpTimeTest() : site_(Listing("", "-rw-r--r-- 1 o g 5000 15 Jul 1997 12:30 f\r\n")) {
    test::WriteFileBytes(site_.root / "f", "abc");
  }
  const TTime file_{1997, 7, 15, 12, 30, 0};
  const TTime before_{1997, 7, 15, 12, 29, 59};
  const TTime after_{1997, 7, 15, 12, 30, 1};
  FtpSite site_;
};

TEST_F(FtpTimeTest, ALaterFileIsOpenedIfNewer) {
  EXPECT_EQ(site_.client.OpenResourceIfNewer("f", kOpenForReading, before_), 1);
  EXPECT_EQ(site_.client.Status() & 63U, 1U | 2U | 4U | 8U);
  EXPECT_EQ(site_.Commands(), (Lines{"LIST f", "RETR f"}));  // its time is asked for once
}

TEST_F(FtpTimeTest, AnEarlierOrEqualFileIsNotOpenedIfNewer) {
  for (const TTime& time : {file_, after_}) {
    EXPECT_EQ(site_.client.OpenResourceIfNewer("f", kOpenForReading, time), 0);
    EXPECT_EQ(site_.client.Status() & 63U, 2U | 8U);
  }
  EXPECT_EQ(site_.Commands(), (Lines{"LIST f", "LIST f"}));
}

TEST_F(FtpTimeTest, AnEarlierFileIsOpenedIfOlder) {
  EXPECT_EQ(site_.client.OpenResourceIfOlder("f", kOpenForWriting, after_), 1);
  EXPECT_EQ(site_.client.Status() & 63U, 1U | 2U | 4U | 8U);
  EXPECT_EQ(site_.Commands(), (Lines{"LIST f", "STOR f"}));
}

TEST_F(FtpTimeTest, ALaterOrEqualFileIsNotOpenedIfOlder) {
  for (const TTime& time : {file_, before_}) {
    EXPECT_EQ(site_.client.OpenResourceIfOlder("f", kOpenForWriting, time), 0);
    EXPECT_EQ(site_.client.Status() & 63U, 2U | 8U);
  }
}

TEST_F(FtpTimeTest, AfterTheOpeningTheNextOneAsksAgain) {
  EXPECT_EQ(site_.client.OpenResourceIfNewer("f", kOpenForReading, before_), 1);
  site_.client.Close();
  EXPECT_EQ(site_.client.OpenResourceIfNewer("f", kOpenForReading, after_), 0);
  EXPECT_EQ(site_.client.OpenResource("f", kOpenForReading), 1);
  EXPECT_EQ(site_.Commands(), (Lines{"LIST f", "RETR f", "LIST f", "LIST f", "RETR f"}));
}

TEST_F(FtpTimeTest, APathIsEnteredFirst) {
  fs::create_directory(site_.root / "d");
  test::WriteFileBytes(site_.root / "d/f", "abc");
  EXPECT_EQ(site_.client.OpenResourceIfNewer("d/f", kOpenForReading, before_), 1);
  site_.client.Close();
  site_.client.Status() &= ~DWORD{kStatusRetrieving};
  EXPECT_EQ(site_.client.OpenResourceIfNewer("nowhere/f", kOpenForReading, before_), 0);
  EXPECT_EQ(site_.client.Status() & 3U, 2U);
  EXPECT_EQ(site_.Commands(), (Lines{"CWD d", "LIST f", "RETR f", "CWD nowhere"}));
}

TEST_F(FtpDirectoryTest, AFileOfUnknownTimeIsOpened) {
  FtpSite site(Lines{"LIST * reply \"550 no\\r\\n\""});
  EXPECT_EQ(site.client.OpenResourceIfNewer("f", kOpenForWriting, TTime::Now()), 1);
  EXPECT_EQ(site.client.Status() & 63U, 1U | 2U | 4U | 8U);
}

}  // namespace
