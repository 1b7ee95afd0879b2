// The remote file table: its file, and what a journal makes of it.
#include "platform/win32.h"
#include "shared/delivery_plan.h"
#include "shared/fat_journal.h"
#include "shared/fat_text.h"
#include "support/temporary_directory.h"

#include <brevant/remote_fat.h>

#include <gtest/gtest.h>

namespace {

using brevant::DecodeFatName;
using brevant::EncodeFatName;
using brevant::TFatName;

class RemoteFat : public ::testing::Test {
 protected:
  void Table(const std::string& text) { test::WriteFileBytes(path_, text); }
  std::string Table() const { return test::ReadFileBytes(path_); }
  void Journal(const std::string& lines) {
    test::WriteFileBytes(path_ + ".jnl", "Brevant remote file table journal 1\n" + lines);
  }
  bool HasJournal() const { return test::FileExists(path_ + ".jnl"); }
  std::string Value(const char* section, const char* key) const {
    char value[100];
    GetPrivateProfileStringA(section, key, "none", value, sizeof value, path_.c_str());
    return value;
  }
  // "name=size,checksum " for each file.
  static std::string FilesOf(TRemoteFAT& table, const char* directory) {
    std::string text;
    for (const TRemoteFileRecord& file : table.RemoteDirectoryRecord(directory)->Files()) {
      text +=
          file.name + "=" + std::to_string(file.size) + "," + std::to_string(file.checksum) + " ";
    }
    return text;
  }

  test::TemporaryDirectory directory_;
  std::string path_ = directory_ / "ftp.example.org.fat";
};

TEST_F(RemoteFat, LoadsSectionsAndFiles) {
  Table("[~me/www/]\r\nindex.htm=120,99\r\nb.gif=3,4\r\n[~me/www/sub/]\r\nc.htm=1,2\r\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(table.Loaded(), 1);
  EXPECT_EQ(table.WasCutShort(), 0);
  EXPECT_EQ(FilesOf(table, "~me/www/"), "index.htm=120,99 b.gif=3,4 ");
  EXPECT_EQ(FilesOf(table, "~me/www/sub/"), "c.htm=1,2 ");
}

TEST_F(RemoteFat, AMissingFileIsAnEmptyTableAndIsNotMade) {
  {
    TRemoteFAT table(path_.c_str());
    EXPECT_EQ(table.Loaded(), 1);
    EXPECT_EQ(FilesOf(table, "~me/"), "");
    EXPECT_NE(table.RemoteDirectoryRecord("other"), nullptr);
  }
  EXPECT_FALSE(test::FileExists(path_));
  EXPECT_FALSE(HasJournal());
}

TEST_F(RemoteFat, LoadedNamesKeepTheirCase) {
  Table("[~me/]\r\nMixed.Htm=1,2\r\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_NE(table.RemoteDirectoryRecord("~me/")->Find("Mixed.Htm"), nullptr);
  EXPECT_EQ(table.RemoteDirectoryRecord("~me/")->Find("mixed.htm"), nullptr);
}

TEST_F(RemoteFat, AValueThatIsNoPairOfNumbersReadsAsZeros) {
  Table(
      "[d]\r\na=abc\r\nb=\r\nc=12\r\nd=12,\r\ne=,5\r\nf=12 ,5\r\ng= 12, 5 \r\nh=\"7,8\"\r\n"
      "i=4294967297,99999999999\r\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(FilesOf(table, "d"),
            "a=0,0 b=0,0 c=12,0 d=12,0 e=0,0 f=12,0 g=12,5 h=7,8 i=1,1215752191 ");
}

TEST_F(RemoteFat, DirectoriesAreFoundByTheirExactNameAndNewOnesAppended) {
  Table("[~me/www/]\r\na=1,2\r\n");
  TRemoteFAT table(path_.c_str());
  TRemoteDirectoryRecord* known = table.RemoteDirectoryRecord("~me/www/");
  EXPECT_EQ(table.RemoteDirectoryRecord("~me/www/"), known);
  TRemoteDirectoryRecord* other = table.RemoteDirectoryRecord("~me/WWW/");
  ASSERT_NE(other, nullptr);
  EXPECT_NE(other, known);
  EXPECT_TRUE(other->Files().empty());
  EXPECT_EQ(other->Name(), "~me/WWW/");
  EXPECT_EQ(table.RemoteDirectoryRecord("~me/WWW/"), other);
}

TEST_F(RemoteFat, ChangedFlagsAreClearAfterLoadingAndSetByEveryChange) {
  Table("[d]\r\na=1,2\r\n[e]\r\na=1,2\r\n[f]\r\na=1,2\r\n");
  TRemoteFAT table(path_.c_str());
  TRemoteDirectoryRecord* d = table.RemoteDirectoryRecord("d");
  TRemoteDirectoryRecord* e = table.RemoteDirectoryRecord("e");
  TRemoteDirectoryRecord* f = table.RemoteDirectoryRecord("f");
  EXPECT_FALSE(d->Changed() || e->Changed() || f->Changed());
  d->Put({"b", 1, 2});
  e->Put({"a", 3, 4});
  f->Remove("a");
  EXPECT_TRUE(d->Changed() && e->Changed() && f->Changed());
  EXPECT_EQ(f->Remove("a"), 0);
  EXPECT_EQ(table.Save(), 1);
  EXPECT_FALSE(d->Changed() || e->Changed() || f->Changed());
}

TEST_F(RemoteFat, SavesInsertedReplacedAndRemovedFiles) {
  Table("[d]\r\nold.htm=1,2\r\nkept.htm=3,4\r\nchanged.htm=5,6\r\n");
  {
    TRemoteFAT table(path_.c_str());
    TRemoteDirectoryRecord* d = table.RemoteDirectoryRecord("d");
    d->Remove("old.htm");
    d->Put({"changed.htm", 4294967295U, 4000000000U});
    d->Put({"fresh.htm", 8, 9});
  }
  EXPECT_EQ(Table(),
            "[d]\r\nkept.htm=3,4\r\nchanged.htm=4000000000,4294967295\r\nfresh.htm=9,8\r\n");
  EXPECT_EQ(Value("d", "fresh.htm"), "9,8");
  EXPECT_EQ(Value("d", "old.htm"), "none");
}

TEST_F(RemoteFat, WhatIsSavedIsReadByTheProfileFunctionsAndBack) {
  WritePrivateProfileStringA("~me/www/", "by_profile.htm", "10,20", path_.c_str());
  {
    TRemoteFAT table(path_.c_str());
    EXPECT_EQ(FilesOf(table, "~me/www/"), "by_profile.htm=10,20 ");
    table.RemoteDirectoryRecord("~me/www/")->Put({"by_table.htm", 2, 1});
  }
  EXPECT_EQ(Value("~me/www/", "by_table.htm"), "1,2");
  EXPECT_EQ(Value("~me/www/", "by_profile.htm"), "10,20");
}

TEST_F(RemoteFat, SectionsWithoutChangesKeepEveryByte) {
  const std::string untouched = "; mine\n[a]\n  x = 1 , 2\n\n\n";
  Table(untouched + "[d]\r\n; a note\r\nold=1,2\r\n\r\n[z]\ry=abc");
  {
    TRemoteFAT table(path_.c_str());
    table.RemoteDirectoryRecord("d")->Put({"new", 3, 4});
  }
  EXPECT_EQ(Table(), untouched + "[d]\r\n; a note\r\nold=1,2\r\nnew=4,3\r\n\r\n[z]\ry=abc");
}

TEST_F(RemoteFat, NothingIsWrittenWhenNothingChanged) {
  const std::string text = "[d]\nx=abc\nx=7,8";
  Table(text);
  { TRemoteFAT table(path_.c_str()); }
  EXPECT_EQ(Table(), text);
}

TEST_F(RemoteFat, TheLastLineWithoutItsEndGetsOne) {
  Table("[d]\r\na=1,2");
  {
    TRemoteFAT table(path_.c_str());
    table.RemoteDirectoryRecord("d")->Put({"b", 3, 4});
    table.RemoteDirectoryRecord("e")->Put({"c", 5, 6});
  }
  EXPECT_EQ(Table(), "[d]\r\na=1,2\r\nb=4,3\r\n[e]\r\nc=6,5\r\n");
}

TEST_F(RemoteFat, OfEqualSectionsAndKeysTheFirstCounts) {
  Table("[d]\r\na=1,2\r\na=3,4\r\n[d]\r\na=5,6\r\nb=7,8\r\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(FilesOf(table, "d"), "a=1,2 ");
}

TEST_F(RemoteFat, AnEmptyDirectoryHasASectionWhenItIsToBeKept) {
  {
    TRemoteFAT table(path_.c_str());
    table.RemoteDirectoryRecord("~me/a/")->Keep();
    table.RemoteDirectoryRecord("~me/b/");
  }
  EXPECT_EQ(Table(), "[~me/a/]\r\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_TRUE(table.RemoteDirectoryRecord("~me/a/")->Kept());
}

TEST_F(RemoteFat, ASectionStaysWhenItsLastFileGoes) {
  Table("[~me/a/]\r\nx=1,2\r\n");
  {
    TRemoteFAT table(path_.c_str());
    table.RemoteDirectoryRecord("~me/a/")->Remove("x");
  }
  EXPECT_EQ(Table(), "[~me/a/]\r\n");
}

TEST_F(RemoteFat, ARemovedDirectoryLosesItsSection) {
  Table("[a]\r\nx=1,2\r\n[b]\r\ny=1,2\r\n; note\r\n[c]\r\nz=1,2\r\n");
  {
    TRemoteFAT table(path_.c_str());
    table.RemoveDirectoryRecord("b");
    table.RemoveDirectoryRecord("unknown");
  }
  EXPECT_EQ(Table(), "[a]\r\nx=1,2\r\n[c]\r\nz=1,2\r\n");
}

TEST_F(RemoteFat, ADirectoryRemovedAndMadeAgainHoldsOnlyWhatCameSince) {
  Table("[a]\r\nx=1,2\r\n");
  {
    TRemoteFAT table(path_.c_str());
    table.RemoveDirectoryRecord("a");
    table.RemoteDirectoryRecord("a")->Put({"y", 4, 3});
  }
  EXPECT_EQ(Table(), "[a]\r\ny=3,4\r\n");
}

TEST_F(RemoteFat, NamesBelowAreTheNextComponents) {
  Table(
      "[~me/]\r\nx=1,2\r\n[~me/a/]\r\n[~me/a/deep/]\r\n[~me/a0/]\r\n[~me/b/c/d/]\r\nx=1,2\r\n"
      "[~me/plain]\r\n[~me//]\r\n[~you/z/]\r\n");
  const TRemoteFAT table(path_.c_str());
  EXPECT_EQ(table.NamesBelow("~me/", '/'), (std::set<std::string>{"a", "a0", "b"}));
  EXPECT_EQ(table.NamesBelow("~me/a/", '/'), (std::set<std::string>{"deep"}));
  EXPECT_TRUE(table.NamesBelow("~me/a/deep/", '/').empty());
}

TEST(FatNames, WhatAKeyCannotHoldIsEscaped) {
  const auto key = [](const char* name) { return EncodeFatName(name, TFatName::kFile); };
  EXPECT_EQ(key("index.html"), "index.html");
  EXPECT_EQ(key("100% of a ; b [c].txt"), "100% of a ; b [c].txt");
  EXPECT_EQ(key("a=b%.txt"), "%%a%3Db%25.txt");
  EXPECT_EQ(key(";x"), "%%%3Bx");
  EXPECT_EQ(key("[x]"), "%%%5Bx]");
  EXPECT_EQ(key(" x"), "%%%20x");
  EXPECT_EQ(key("x "), "%%x%20");
  EXPECT_EQ(key("%%x"), "%%%25%25x");
  EXPECT_EQ(key("%x"), "%x");
}

TEST(FatNames, WhatASectionCannotHoldIsEscaped) {
  const auto section = [](const char* name) { return EncodeFatName(name, TFatName::kDirectory); };
  EXPECT_EQ(section("~me/www/"), "~me/www/");
  EXPECT_EQ(section("~me/[a]/"), "%%~me/[a%5D/");
  EXPECT_EQ(section("~me/a "), "%%~me/a%20");
}

TEST(FatNames, EveryNameComesBack) {
  for (int first = 1; first < 256; ++first) {
    for (const char* frame : {"?", "?x", "x?", "x?x", "%%?", "??"}) {
      std::string name = frame;
      for (char& c : name) c = c == '?' ? static_cast<char>(first) : c;
      for (const TFatName kind : {TFatName::kFile, TFatName::kDirectory}) {
        EXPECT_EQ(DecodeFatName(EncodeFatName(name, kind)), name);
      }
    }
  }
}

TEST(FatNames, BrokenEscapesStandForThemselves) {
  EXPECT_EQ(DecodeFatName("%%a%"), "a%");
  EXPECT_EQ(DecodeFatName("%%a%4"), "a%4");
  EXPECT_EQ(DecodeFatName("%%a%zz%3d"), "a%zz=");
  EXPECT_EQ(DecodeFatName("%%"), "");
}

TEST_F(RemoteFat, EscapedNamesSurviveSavingAndLoading) {
  const char* const names[] = {"a=b", ";c", "[d]", " e ", "%%f", "g%h", "\xC3\xBC.htm", "#1", "-x"};
  const char* const directory = "~me/a]b/=c/ ";
  {
    TRemoteFAT table(path_.c_str());
    for (const char* name : names) table.RemoteDirectoryRecord(directory)->Put({name, 1, 2});
  }
  TRemoteFAT table(path_.c_str());
  const TRemoteDirectoryRecord* record = table.RemoteDirectoryRecord(directory);
  EXPECT_EQ(record->Files().size(), std::size(names));
  for (const char* name : names) EXPECT_NE(record->Find(name), nullptr) << name;
}

TEST_F(RemoteFat, AJournalIsWrittenIntoTheTableBeforeLoading) {
  Table("[d]\r\nstays=1,1\r\ngone=2,2\r\nchanged=3,3\r\nfailed=4,4\r\nway=5,5\r\n");
  Journal(
      "d d\n> fresh\n+ 10,20 fresh\n> changed\n+ 30,40 changed\n> gone\n- gone\n"
      "> failed\n! failed\nd e\n> other\n+ 1,2 other\nd d\n> way\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(table.Loaded(), 1);
  EXPECT_EQ(table.WasCutShort(), 1);
  EXPECT_EQ(FilesOf(table, "d"), "stays=1,1 changed=30,40 failed=4,4 way=0,0 fresh=10,20 ");
  EXPECT_EQ(FilesOf(table, "e"), "other=1,2 ");
  EXPECT_FALSE(table.RemoteDirectoryRecord("d")->Changed());
  EXPECT_FALSE(table.RemoteDirectoryRecord("e")->Changed());
  EXPECT_EQ(Table(),
            "[d]\r\nstays=1,1\r\nchanged=30,40\r\nfailed=4,4\r\nway=0,0\r\nfresh=10,20\r\n"
            "[e]\r\nother=1,2\r\n");
  EXPECT_EQ(Value("d", "way"), "0,0");
  EXPECT_EQ(Value("d", "gone"), "none");
}

TEST_F(RemoteFat, ANewFileInFlightIsAbsent) {
  Journal("d d\n> fresh\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(FilesOf(table, "d"), "");
  EXPECT_EQ(table.WasCutShort(), 1);
}

TEST_F(RemoteFat, TheJournalGoesWithTheDelivery) {
  Journal("d d\n> x\n+ 1,2 x\n");
  { TRemoteFAT table(path_.c_str()); }
  EXPECT_FALSE(HasJournal());
  EXPECT_EQ(Table(), "[d]\r\nx=1,2\r\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(table.WasCutShort(), 0);
}

TEST_F(RemoteFat, ADeliveryThatIsCutShortLeavesAnEmptyJournal) {
  {
    TRemoteFAT table(path_.c_str());
    ASSERT_TRUE(table.Journal().InFlight("d", "x"));
    table.CutShort();
  }
  ASSERT_TRUE(HasJournal());
  {
    TRemoteFAT table(path_.c_str());
    EXPECT_EQ(table.WasCutShort(), 1);
    EXPECT_EQ(FilesOf(table, "d"), "");
  }
  EXPECT_FALSE(HasJournal());
}

TEST_F(RemoteFat, ADeliveryThatDidNothingLeavesNoJournalWhenCutShort) {
  {
    TRemoteFAT table(path_.c_str());
    table.CutShort();
  }
  EXPECT_FALSE(HasJournal());
}

TEST_F(RemoteFat, AKillBeforeTheNextDeliverysFirstStepIsNotForgotten) {
  Journal("d d\n> x\n+ 1,2 x\n");
  const TRemoteFAT table(path_.c_str());
  // What a process killed now would leave:
  EXPECT_EQ(test::ReadFileBytes(path_ + ".jnl"), "Brevant remote file table journal 1\n");
}

TEST_F(RemoteFat, WhatTheJournalWritesIsWhatItReads) {
  const std::string directory = "~me/[a]/";
  brevant::TFatJournal journal(path_);
  ASSERT_TRUE(journal.InFlight(directory, "a=b"));
  ASSERT_TRUE(journal.Arrived(directory, {" x ", 4294967295U, 7}));
  ASSERT_TRUE(journal.Removed("other", "gone"));
  ASSERT_TRUE(journal.Failed("other", "failed"));
  ASSERT_TRUE(journal.Made("made/"));
  ASSERT_TRUE(journal.Gone(directory));
  std::vector<std::string> seen;
  EXPECT_EQ(journal.Read([&](const brevant::TFatJournal::TEntry& entry) {
    seen.push_back(std::to_string(static_cast<int>(entry.kind)) + "|" + entry.directory + "|" +
                   entry.file.name + "|" + std::to_string(entry.file.size) + "|" +
                   std::to_string(entry.file.checksum));
  }),
            brevant::TFatJournal::TFound::kJournal);
  EXPECT_EQ(seen, (std::vector<std::string>{"0|" + directory + "|a=b|0|0",
                                            "1|" + directory + "| x |7|4294967295",
                                            "2|other|gone|0|0", "3|other|failed|0|0",
                                            "4|made/||0|0", "5|" + directory + "||0|0"}));
}

TEST_F(RemoteFat, DirectoriesMadeAndGoneAreInTheJournalToo) {
  Table("[~me/a/]\r\nx=1,2\r\n");
  Journal("d ~me/a/\n- x\ng \nd ~me/b/\nm \n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(table.NamesBelow("~me/", '/'), (std::set<std::string>{"b"}));
  EXPECT_EQ(Table(), "[~me/b/]\r\n");
}

TEST_F(RemoteFat, ALineThatTheKillCutOffCountsAsNotWritten) {
  Journal("d d\n> x\n+ 1,2 x\n> y\n+ 10,200");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(FilesOf(table, "d"), "x=1,2 ");
}

// A kill may end the journal after any byte: nothing that did not arrive is recorded as if it had.
TEST_F(RemoteFat, AJournalCutAnywhereGivesAStateOnTheWay) {
  const std::string lines =
      "d d\n> a\n+ 11,22 a\n> b\n+ 33,44 b\n> c\n- c\nd e\n> f\n! f\n> g\n+ 5,6 g\n";
  for (std::size_t length = 0; length <= lines.size(); ++length) {
    Table("[d]\r\nb=1,1\r\nc=2,2\r\n[e]\r\nf=3,3\r\n");
    Journal(lines.substr(0, length));
    TRemoteFAT table(path_.c_str());
    ASSERT_EQ(table.Loaded(), 1);
    const std::string d = FilesOf(table, "d");
    EXPECT_TRUE(d == "b=1,1 c=2,2 " || d == "b=1,1 c=2,2 a=11,22 " || d == "b=0,0 c=2,2 a=11,22 " ||
                d == "b=33,44 c=2,2 a=11,22 " || d == "b=33,44 c=0,0 a=11,22 " ||
                d == "b=33,44 a=11,22 ")
        << length << ": " << d;
    const std::string e = FilesOf(table, "e");
    EXPECT_TRUE(e == "f=3,3 " || e == "f=0,0 " || e == "f=3,3 g=5,6 ") << length << ": " << e;
  }
}

TEST_F(RemoteFat, AForeignOrEmptyJournalOnlyTellsThatTheDeliveryWasCutShort) {
  for (const char* content : {"", "anything\nd d\n+ 1,2 x\n", "Brevant remote file table"}) {
    Table("[d]\r\na=1,2\r\n");
    test::WriteFileBytes(path_ + ".jnl", content);
    TRemoteFAT table(path_.c_str());
    EXPECT_EQ(table.Loaded(), 1);
    EXPECT_EQ(table.WasCutShort(), 1);
    EXPECT_EQ(FilesOf(table, "d"), "a=1,2 ");
  }
}

TEST_F(RemoteFat, WhatFollowsALineThatIsNoneIsNotTaken) {
  Journal("d d\n> x\n+ 1,2 x\n?? \n> y\n+ 3,4 y\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(FilesOf(table, "d"), "x=1,2 ");
}

TEST_F(RemoteFat, AJournalLineBeforeAnyDirectoryIsNotTaken) {
  Journal("+ 3,4 y\n");
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(FilesOf(table, ""), "");
}

TEST_F(RemoteFat, ManyFilesInOneAndInManyDirectories) {
  constexpr int kMany = 20000;
  {
    TRemoteFAT table(path_.c_str());
    for (int i = 0; i < kMany; ++i) {
      const std::string name = "message--f--general_talk--" + std::to_string(i) + ".htm";
      table.RemoteDirectoryRecord("~me/one/")->Put({name, static_cast<DWORD>(i), 1});
      const std::string other = "~me/many/" + std::to_string(i) + "/";
      table.RemoteDirectoryRecord(other.c_str())->Put({"index.htm", 1, 2});
    }
  }
  TRemoteFAT table(path_.c_str());
  EXPECT_EQ(table.RemoteDirectoryRecord("~me/one/")->Files().size(), std::size_t{kMany});
  EXPECT_EQ(table.NamesBelow("~me/many/", '/').size(), std::size_t{kMany});
}

TEST(DeliveryKeys, ARelativeDirectoryIsTheAccounts) {
  EXPECT_EQ(brevant::TopKey("me", "/var/www/"), "/var/www/");
  EXPECT_EQ(brevant::TopKey("me", "\\www\\"), "\\www\\");
  EXPECT_EQ(brevant::TopKey("me", "www/"), "~me/www/");
  EXPECT_EQ(brevant::TopKey("me", "www\\"), "~me\\www\\");
  EXPECT_EQ(brevant::TopKey("me", ""), "~me\\");
  EXPECT_EQ(brevant::TopKey("", "www/"), "~/www/");
}

class DeliveryPlan : public RemoteFat {
 protected:
  void Local(const std::string& name, DWORD size, DWORD checksum) {
    local_.files.push_back({{name, checksum, size}, ""});
  }
  static std::string Names(const std::vector<const brevant::TLocalFile*>& files) {
    std::string text;
    for (const brevant::TLocalFile* file : files) text += file->record.name + " ";
    return text;
  }
  brevant::TLocalFolder local_;
  TRemoteDirectoryRecord record_{"d"};
};

TEST_F(DeliveryPlan, SortsFilesBySizeAndChecksumAlone) {
  for (const char* name : {"same", "size", "sum", "gone"}) record_.Put({name, 1, 1});
  Local("same", 1, 1);
  Local("size", 2, 1);
  Local("sum", 1, 2);
  Local("new", 1, 1);
  const brevant::TDeliveryPlan plan = brevant::PlanDelivery(local_, record_);
  EXPECT_EQ(Names(plan.fresh), "new ");
  EXPECT_EQ(Names(plan.changed), "size sum ");
  EXPECT_EQ(plan.removed, (std::vector<std::string>{"gone"}));
  EXPECT_TRUE(plan.Any());
}

TEST_F(DeliveryPlan, NothingToDo) {
  record_.Put({"same", 1, 1});
  Local("same", 1, 1);
  EXPECT_FALSE(brevant::PlanDelivery(local_, record_).Any());
}

TEST_F(DeliveryPlan, AFileThatCannotBeReadIsNotGone) {
  record_.Put({"locked", 1, 1});
  local_.kept.insert("locked");
  EXPECT_FALSE(brevant::PlanDelivery(local_, record_).Any());
}

TEST_F(DeliveryPlan, AnotherSpellingIsRemovedFirst) {
  record_.Put({"Page.html", 1, 1});
  Local("page.html", 1, 1);
  const brevant::TDeliveryPlan plan = brevant::PlanDelivery(local_, record_);
  EXPECT_EQ(Names(plan.fresh), "page.html ");
  EXPECT_EQ(plan.respelled, (std::vector<std::string>{"Page.html"}));
  EXPECT_TRUE(plan.removed.empty());
}

TEST_F(DeliveryPlan, FoldersThatCameAndWent) {
  Table("[~me/]\r\n[~me/stays/]\r\n[~me/gone/deep/]\r\n[~me/link/]\r\n");
  const TRemoteFAT table(path_.c_str());
  local_.folders = {"stays"};
  local_.kept.insert("link");
  brevant::TDeliveryPlan plan;
  brevant::PlanFolders(local_, table, "~me/", &plan);
  EXPECT_FALSE(plan.freshFolder);
  EXPECT_EQ(plan.goneFolders, (std::vector<std::string>{"gone"}));
  local_.folders.push_back("fresh");
  brevant::PlanFolders(local_, table, "~me/", &plan);
  EXPECT_TRUE(plan.freshFolder);
}

TEST_F(DeliveryPlan, AFolderThatCannotBeSentAsksForNothing) {
  const TRemoteFAT table(path_.c_str());
  local_.folders = {"line\nend"};
  brevant::TDeliveryPlan plan;
  brevant::PlanFolders(local_, table, "~me/", &plan);
  EXPECT_FALSE(plan.Any());
}

}  // namespace
