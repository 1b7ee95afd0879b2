#include "board_fixture.h"
#include "support/element_times.h"

#include <string>

namespace board_test {
namespace {

class Mail : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(parent_.OpenTemporary(kDeleteOnRelease), 1);
    ASSERT_EQ(Open(kCreate), 1);
  }

  int Open(int create) { return mail_.Open(parent_, "7", kReadWrite, create, kExclusive); }
  int Reopen() {
    mail_.Close();
    return Open(0);
  }
  // The bytes of the closed item's stream; the item is opened again.
  std::string Bytes(const char* stream) {
    mail_.CloseList();
    mail_.Close();
    std::string bytes;
    {
      TStorage storage(parent_.Interface(), "7", kReadWrite, 0, kExclusive);
      bytes = StreamBytes(storage, stream);
    }
    EXPECT_EQ(Open(0), 1);
    return bytes;
  }

  TStorage parent_;
  TMail mail_;
};

TEST_F(Mail, NewObjectHasNothingOpen) {
  TMail mail;
  EXPECT_FALSE(mail.IsOpen());
  EXPECT_STREQ(mail.String("SUBJECT"), "");
  EXPECT_STREQ(mail.String("Charset"), "iso-8859-1");
  EXPECT_EQ(mail.Number("Vote Count"), 0);
  EXPECT_EQ(mail.WriteInfo("a", "b", -1), 0);
  EXPECT_EQ(mail.OpenList("L", 128), 0);
  EXPECT_EQ(mail.Close(), 0);
}

TEST_F(Mail, NameIsThatItWasOpenedBy) {
  EXPECT_STREQ(mail_.String("Name"), "7");
  EXPECT_EQ(Bytes("INFO"), "") << "it is not recorded";
}

TEST_F(Mail, OpenOfAMissingItemFails) {
  TMail other;
  EXPECT_EQ(other.Open(parent_, "8", kReadWrite, 0, kExclusive), 0);
  EXPECT_FALSE(other.IsOpen());
}

TEST_F(Mail, OpenWithoutItsBodyFails) {
  mail_.Close();
  {
    TStorage storage(parent_.Interface(), "7", kReadWrite, 0, kExclusive);
    ASSERT_EQ(storage.DeleteElement("CONTENT"), 1);
  }
  EXPECT_EQ(Open(0), 0);
  EXPECT_TRUE(mail_.IsOpen()) << "left for the caller to close";
  EXPECT_EQ(mail_.Close(), 1);
}

TEST_F(Mail, PersistentStringIsRecordedByteForByte) {
  EXPECT_EQ(mail_.String("SUBJECT", "Hello"), 1);
  EXPECT_STREQ(mail_.String("SUBJECT"), "Hello");
  EXPECT_EQ(Bytes("INFO"), RecordBytes("SUBJECT", "Hello"));
  EXPECT_STREQ(mail_.String("subject"), "Hello");
}

TEST_F(Mail, PersistentNumberIsRecordedAsDecimalText) {
  EXPECT_EQ(mail_.Number("Vote Count", 12), 1);
  EXPECT_EQ(mail_.Number("LINK ID", -5), 1);
  EXPECT_EQ(mail_.Number("VOTE COUNT"), 12);
  EXPECT_EQ(Bytes("INFO"), RecordBytes("Vote Count", "12") + RecordBytes("LINK ID", "-5"));
  EXPECT_EQ(mail_.Number("LINK ID"), -5);
}

TEST_F(Mail, NumberExtremesRoundTrip) {
  mail_.Number("a", -2147483647 - 1);
  mail_.Number("b", 2147483647);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(mail_.Number("a"), -2147483647 - 1);
  EXPECT_EQ(mail_.Number("b"), 2147483647);
}

TEST_F(Mail, NumberOfAText) {
  mail_.String("a", "12 apples");
  mail_.String("b", "none");
  mail_.String("c", "99999999999");
  EXPECT_EQ(mail_.Number("a"), 12);
  EXPECT_EQ(mail_.Number("b"), 0);
  EXPECT_EQ(mail_.Number("c"), 1215752191);
}

TEST_F(Mail, SetStringIsLostWithClose) {
  EXPECT_EQ(mail_.SetString("Mood", "good"), 1) << "the entry after Name";
  EXPECT_EQ(mail_.SetNumber("Heat", 3), 0);
  EXPECT_STREQ(mail_.String("MOOD"), "good");
  EXPECT_EQ(mail_.Number("heat"), 3);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_STREQ(mail_.String("Mood"), "");
  EXPECT_EQ(mail_.Number("Heat"), 0);
}

TEST_F(Mail, SetStringReplacesTheEntryOfTheKey) {
  const int first = mail_.SetString("A", "1");
  EXPECT_EQ(mail_.SetString("B", "2"), first + 1);
  EXPECT_EQ(mail_.SetString("a", "3"), first);
  EXPECT_STREQ(mail_.String("A"), "3");
}

TEST_F(Mail, NullKeysAndValuesAreRefused) {
  EXPECT_EQ(mail_.SetString(nullptr, "x"), -1);
  EXPECT_EQ(mail_.SetString("x", nullptr), -1);
  EXPECT_EQ(mail_.SetNumber(nullptr, 1), -1);
  EXPECT_EQ(mail_.String("x", nullptr), -1);
  EXPECT_STREQ(mail_.String(nullptr), "");
  EXPECT_EQ(mail_.Number(static_cast<const char*>(nullptr)), 0);
}

TEST_F(Mail, TextsHandedOutHoldWhileOthersAreSet) {
  mail_.SetString("A", "short");
  const char* const text = mail_.String("A");
  for (int i = 0; i < 200; ++i) mail_.SetString(std::to_string(i).c_str(), "more");
  EXPECT_STREQ(text, "short");
  EXPECT_EQ(mail_.String("A"), text);
}

TEST_F(Mail, EmptyRecordHidesTheDefault) {
  EXPECT_STREQ(mail_.String("Charset"), "iso-8859-1");
  EXPECT_EQ(mail_.WriteInfo("Charset", "", 0), 1);
  EXPECT_STREQ(mail_.String("Charset"), "");
}

TEST_F(Mail, DefaultsAreNotCached) {
  EXPECT_STREQ(mail_.String("Document Type"), "text/plain");
  mail_.WriteInfo("Document Type", "text/html", -1);
  EXPECT_STREQ(mail_.String("Document Type"), "text/html");
}

TEST_F(Mail, ReadValuesAreCached) {
  mail_.WriteInfo("A", "1", -1);
  EXPECT_STREQ(mail_.String("A"), "1");
  mail_.WriteInfo("A", "2", -1);
  EXPECT_STREQ(mail_.String("A"), "1");
  ASSERT_EQ(Reopen(), 1);
  EXPECT_STREQ(mail_.String("A"), "2");
}

struct Sender {
  const char* from;
  const char* name;
  const char* address;
};

class MailSender : public testing::TestWithParam<Sender> {};

TEST_P(MailSender, NameAndAddressAreDerivedFromTheSender) {
  TMail mail;
  mail.SetString("FROM", GetParam().from);
  EXPECT_STREQ(mail.String("From Name"), GetParam().name);
  EXPECT_STREQ(mail.String("from email address"), GetParam().address);
}

INSTANTIATE_TEST_SUITE_P(
    Senders, MailSender,
    testing::Values(Sender{"\"Ann Bee\" <ann@example.org>", "Ann Bee", "ann@example.org"},
                    Sender{"Ann Bee <ann@example.org>", "Ann Bee ", "ann@example.org"},
                    Sender{"ann@example.org", "ann@example.org", "ann@example.org"},
                    Sender{"Ann Bee", "Ann Bee", ""}, Sender{"", "", ""},
                    Sender{"ann@example.org (\"Ann\")", "Ann", "ann@example.org (\"Ann\")"},
                    Sender{"Ann \"Bee <ann@example.org>", "Ann \"Bee ", "ann@example.org"},
                    Sender{"> Ann <ann@example.org", "> Ann <ann@example.org",
                           "> Ann <ann@example.org"},
                    Sender{"Ann <ann", "Ann <ann", ""}, Sender{"<>", "", ""},
                    Sender{"\"\" <a@b>", "", "a@b"}));

TEST_F(Mail, DerivedDefaultsAreCutAtTheirBuffer) {
  mail_.SetString("FROM", (std::string(600, 'x') + "@").c_str());
  EXPECT_EQ(std::string(mail_.String("From Name")), std::string(511, 'x'));
}

TEST_F(Mail, RecordedFromNameWins) {
  mail_.SetString("FROM", "Ann <a@b>");
  mail_.String("From Name", "Somebody");
  EXPECT_STREQ(mail_.String("From Name"), "Somebody");
}

TEST_F(Mail, OtherDefaultsAreEmpty) {
  EXPECT_STREQ(mail_.DefaultString("SUBJECT"), "");
  EXPECT_STREQ(mail_.DefaultString("CHARSET"), "iso-8859-1");
  EXPECT_STREQ(mail_.DefaultString("DOCUMENT TYPE"), "text/plain");
  EXPECT_EQ(mail_.DefaultNumber("LINK ID"), 0);
}

TEST_F(Mail, TimesAreNumbersByDefault) {
  mail_.SetTime(TTime::FromTicks(TTime(2000, 1, 1, 0, 0, 1).Ticks() - 1));
  EXPECT_EQ(mail_.Number("Creation time"), 946684800);
  EXPECT_EQ(mail_.Number("LAST MODIFY TIME"), 946684800);
  mail_.SetTime(TTime());
  EXPECT_EQ(mail_.Number("Creation time"), static_cast<LONG>(-11644473600LL));
}

TEST_F(Mail, BodyRoundTrips) {
  std::string body(10000, 'x');
  body[5000] = '\0';
  ASSERT_EQ(mail_.Content().Write(body.data(), 10000), 10000);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Body(mail_), body);
}

TEST_F(Mail, ContentTruncateCutsAtThePosition) {
  mail_.Content().Write("abcdef", 6);
  mail_.Content().Seek(2, 0);
  EXPECT_EQ(mail_.ContentTruncate(), 1);
  EXPECT_EQ(Body(mail_), "ab");
}

TEST_F(Mail, CreateReplacesTheItem) {
  mail_.String("SUBJECT", "old");
  mail_.Content().Write("old", 3);
  mail_.Close();
  ASSERT_EQ(Open(kCreate), 1);
  EXPECT_STREQ(mail_.String("SUBJECT"), "");
  EXPECT_EQ(mail_.Content().Size(), 0U);
}

TEST_F(Mail, OpenOfAnOpenItemStartsAfresh) {
  mail_.SetString("Mood", "good");
  EXPECT_EQ(Open(0), 1);
  EXPECT_STREQ(mail_.String("Mood"), "");
}

TEST_F(Mail, TemporaryItemIsWritable) {
  TMail mail;
  ASSERT_EQ(mail.OpenTemporary(kDeleteOnRelease), 1);
  EXPECT_EQ(mail.String("SUBJECT", "x"), 1);
  EXPECT_EQ(mail.Content().Write("abc", 3), 3);
  EXPECT_STREQ(mail.String("Name"), "");
  EXPECT_EQ(mail.Close(), 1);
}

TEST_F(Mail, CopyReplacesContentAndRecords) {
  TMail source;
  ASSERT_EQ(source.OpenTemporary(kDeleteOnRelease), 1);
  source.String("SUBJECT", "copied");
  source.Content().Write("the body", 8);
  ASSERT_EQ(source.CreateList("ATTACHMENT", 128), 1);
  source.WriteListItem("x.gif", "y", -1);
  source.CloseList();
  mail_.String("OLD", "old");
  EXPECT_EQ(mail_.Copy(source), 1);
  EXPECT_STREQ(mail_.String("SUBJECT"), "copied");
  EXPECT_EQ(Body(mail_), "the body");
  ASSERT_EQ(mail_.OpenList("ATTACHMENT", 128), 1);
  char value[16];
  EXPECT_EQ(mail_.ReadListItem("X.GIF", value, sizeof value), 1);
  EXPECT_STREQ(value, "y");
  EXPECT_EQ(mail_.ReadInfo("OLD", nullptr, 0), 0) << "the stream was replaced";
  EXPECT_STREQ(mail_.String("OLD"), "old") << "the cache was not";
}

TEST_F(Mail, CopyOfAClosedItemFails) {
  TMail source;
  EXPECT_EQ(mail_.Copy(source), 0);
  EXPECT_EQ(source.Copy(mail_), 0);
  EXPECT_EQ(mail_.Copy(mail_), 0);
  EXPECT_EQ(mail_.String("SUBJECT", "still open"), 1);
}

TEST_F(Mail, CopyHandsTheTimesOn) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  TMail source;
  ASSERT_EQ(source.OpenTemporary(kDeleteOnRelease), 1);
  const TTime time(1999, 5, 6, 7, 8, 9);
  source.SetTime(time);
  ASSERT_EQ(mail_.Copy(source), 1);
  mail_.Close();
  TTime created;
  TTime modified;
  ASSERT_EQ(parent_.GetElementTimes("7", &created, nullptr, &modified), 1);
  EXPECT_EQ(created, time);
  EXPECT_EQ(modified, time);
}

TEST_F(Mail, CopyKeepsOwnTimesWhereTheSourceHasNone) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  TMail source;
  ASSERT_EQ(source.OpenTemporary(kDeleteOnRelease), 1);
  const TTime time(1999, 5, 6, 7, 8, 9);
  const TTime creation = mail_.Storage().CreationTime();
  source.Storage().SetTimes(nullptr, nullptr, &time);
  ASSERT_EQ(mail_.Copy(source), 1);
  mail_.Close();
  TTime created;
  TTime modified;
  ASSERT_EQ(parent_.GetElementTimes("7", &created, nullptr, &modified), 1);
  EXPECT_EQ(created, creation);
  EXPECT_EQ(modified, time);
}

TEST_F(Mail, SetTimeIsAppliedAtClose) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime time(1999, 5, 6, 7, 8, 9);
  EXPECT_EQ(mail_.SetTime(time), 1);
  mail_.String("SUBJECT", "written later");
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(mail_.Storage().CreationTime(), time);
  EXPECT_EQ(mail_.Storage().ModificationTime(), time);
}

TEST_F(Mail, TimesAreAppliedThoughAListIsOpenWhenTheObjectGoes) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime time(1999, 5, 6, 7, 8, 9);
  mail_.Close();
  {
    TMail other;
    ASSERT_EQ(other.Open(parent_, "7", kReadWrite, 0, kExclusive), 1);
    ASSERT_EQ(other.CreateList("L", 128), 1);
    other.SetTime(time);
  }
  TTime created;
  ASSERT_EQ(parent_.GetElementTimes("7", &created, nullptr, nullptr), 1);
  EXPECT_EQ(created, time);
}

TEST_F(Mail, InfoRecordsPastTheCache) {
  char value[16];
  EXPECT_EQ(mail_.WriteInfo("K", "value", 3), 1);
  EXPECT_EQ(mail_.ReadInfo("k", value, sizeof value), 1);
  EXPECT_STREQ(value, "val");
  EXPECT_EQ(mail_.ReadInfo("missing", value, sizeof value), 0);
  EXPECT_STREQ(value, "");
  EXPECT_EQ(mail_.WriteInfo("K", "second", -1), 1);
  EXPECT_EQ(mail_.WriteInfo("L", nullptr, -1), 1);
  EXPECT_EQ(Bytes("INFO"), RecordBytes("K", "second") + RecordBytes("L", ""));
}

TEST_F(Mail, StarIsNoWildcardInItems) {
  mail_.WriteInfo("Key", "1", -1);
  EXPECT_EQ(mail_.ReadInfo("K*", nullptr, 0), 0);
}

TEST_F(Mail, RemoveInfoKeepsTheLength) {
  mail_.WriteInfo("a", "1", -1);
  mail_.WriteInfo("b", "2", -1);
  mail_.WriteInfo("c", "3", -1);
  EXPECT_EQ(mail_.RemoveInfo("B"), 0) << "the bytes of the last read";
  EXPECT_EQ(mail_.ReadInfo("b", nullptr, 0), 0);
  EXPECT_EQ(Bytes("INFO"), RecordBytes("a", "1") + RecordBytes("c", "3") + RecordBytes("c", "3"));
}

TEST_F(Mail, RecordsAfterARemovalAreTheOnesInTheStream) {
  for (const char* key : {"a", "b", "c"}) mail_.WriteInfo(key, key, -1);
  mail_.RemoveInfo("b");
  char value[8];
  EXPECT_EQ(mail_.ReadInfo("c", value, sizeof value), 1);
  EXPECT_STREQ(value, "c");
  EXPECT_EQ(mail_.WriteInfo("c", "9", -1), 1) << "the earlier of the two copies";
  EXPECT_EQ(mail_.WriteInfo("d", "4", -1), 1);
  EXPECT_STREQ(mail_.String("c"), "9");
  EXPECT_EQ(Bytes("INFO"), RecordBytes("a", "a") + RecordBytes("c", "9") + RecordBytes("c", "c") +
                               RecordBytes("d", "4"));
}

TEST_F(Mail, RemovalOfAMissingInfoKeyChangesNothing) {
  mail_.WriteInfo("a", "1", -1);
  EXPECT_EQ(mail_.RemoveInfo("b"), 0);
  EXPECT_EQ(Bytes("INFO"), RecordBytes("a", "1"));
}

TEST_F(Mail, InfoWithARestIsWrittenBehindIt) {
  mail_.WriteInfo("a", "1", -1);
  mail_.Close();
  {
    TStorage storage(parent_.Interface(), "7", kReadWrite, 0, kExclusive);
    TStream info(storage.Interface(), "INFO", kReadWrite, 0, kExclusive);
    info.Seek(128, 0);
    ASSERT_EQ(info.Write("rest", 4), 4);
  }
  ASSERT_EQ(Open(0), 1);
  EXPECT_EQ(mail_.WriteInfo("a", "2", -1), 1);
  EXPECT_EQ(mail_.WriteInfo("b", "3", -1), 1);
  EXPECT_EQ(mail_.ReadInfo("a", nullptr, 0), 1);
  EXPECT_EQ(mail_.ReadInfo("b", nullptr, 0), 0) << "no record begins where it stands";
  EXPECT_EQ(Bytes("INFO"), RecordBytes("a", "2") + "rest" + RecordBytes("b", "3"));
}

TEST_F(Mail, PartOfATextCanReplaceIt) {
  mail_.String("SUBJECT", "Re: a subject that is long enough for memory of its own");
  EXPECT_EQ(mail_.String("SUBJECT", mail_.String("SUBJECT") + 4), 1);
  const char* const rest = "a subject that is long enough for memory of its own";
  EXPECT_STREQ(mail_.String("SUBJECT"), rest);
  EXPECT_EQ(Bytes("INFO"), RecordBytes("SUBJECT", rest));
}

TEST_F(Mail, RecordsOfAnUncommonlyLongInfoAreReadInPlace) {
  mail_.WriteInfo("first", "1", -1);
  mail_.Close();
  {
    TStorage storage(parent_.Interface(), "7", kReadWrite, 0, kExclusive);
    TStream info(storage.Interface(), "INFO", kReadWrite, 0, kExclusive);
    std::string filler;
    for (int i = 0; i < 10000; ++i) filler += RecordBytes("filler" + std::to_string(i), "x");
    info.Seek(128, 0);
    ASSERT_EQ(info.Write(filler.data(), static_cast<int>(filler.size())), 1280000);
  }
  ASSERT_EQ(Open(0), 1);
  EXPECT_STREQ(mail_.String("first"), "1");
  EXPECT_STREQ(mail_.String("filler9999"), "x");
  EXPECT_EQ(mail_.WriteInfo("first", "2", -1), 1);
  EXPECT_EQ(mail_.WriteInfo("last", "3", -1), 1);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_STREQ(mail_.String("first"), "2");
  EXPECT_STREQ(mail_.String("last"), "3");
  EXPECT_STREQ(mail_.String("missing"), "");
}

TEST_F(Mail, ListRoundTrip) {
  ASSERT_EQ(mail_.OpenList("ATTACHMENT", 128), 0) << "there is none yet";
  ASSERT_EQ(mail_.CreateList("ATTACHMENT", 128), 1);
  EXPECT_EQ(mail_.WriteListItem("a.gif", "cid1", -1), 1);
  EXPECT_EQ(mail_.WriteListItem("b.gif", "cid2xx", 4), 1);
  EXPECT_EQ(mail_.CloseList(), 1);
  EXPECT_EQ(mail_.CloseList(), 1);
  ASSERT_EQ(mail_.OpenList("ATTACHMENT", 128), 1);
  char key[16];
  char value[16];
  EXPECT_EQ(mail_.ReadNextListItem(key, sizeof key, value, sizeof value), 1);
  EXPECT_STREQ(key, "a.gif");
  EXPECT_EQ(mail_.ReadNextListItem(key, sizeof key, value, sizeof value), 1);
  EXPECT_STREQ(value, "cid2");
  EXPECT_EQ(mail_.ReadNextListItem(key, sizeof key, value, sizeof value), 0);
  EXPECT_STREQ(key, "");
  EXPECT_EQ(Bytes("ATTACHMENT"), RecordBytes("a.gif", "cid1") + RecordBytes("b.gif", "cid2"));
}

TEST_F(Mail, OnlyOneListAtATime) {
  ASSERT_EQ(mail_.CreateList("A", 128), 1);
  mail_.WriteListItem("k", "v", -1);
  EXPECT_EQ(mail_.OpenList("A", 32), 0);
  EXPECT_EQ(mail_.CreateList("A", 32), 0);
  EXPECT_EQ(mail_.CreateList("B", 32), 0);
  char value[8];
  EXPECT_EQ(mail_.ReadListItem("k", value, sizeof value), 1) << "the open list is untouched";
  EXPECT_STREQ(value, "v");
}

TEST_F(Mail, CreateListEmptiesAnExistingOne) {
  ASSERT_EQ(mail_.CreateList("A", 128), 1);
  mail_.WriteListItem("k", "v", -1);
  mail_.CloseList();
  ASSERT_EQ(mail_.CreateList("A", 128), 1);
  EXPECT_EQ(mail_.ReadListItem("k", nullptr, 0), 0);
}

TEST_F(Mail, RemovalFromAListReadsTheInfoRecords) {
  mail_.WriteInfo("a", "1", -1);
  mail_.WriteInfo("b", "2", -1);
  ASSERT_EQ(mail_.CreateList("L", 128), 1);
  mail_.WriteListItem("x", "9", -1);
  mail_.WriteListItem("a", "8", -1);
  // The info stream stands behind record a: the search goes on there and does not find it.
  EXPECT_EQ(mail_.ReadInfo("a", nullptr, 0), 1);
  EXPECT_EQ(mail_.RemoveListItem("a"), 0);
  EXPECT_EQ(Bytes("L"), RecordBytes("x", "9") + RecordBytes("a", "8"));
}

TEST_F(Mail, RemovalFromAListWritesInfoRecordsIntoIt) {
  mail_.WriteInfo("q", "0", -1);
  mail_.WriteInfo("a", "1", -1);
  mail_.WriteInfo("b", "2", -1);
  ASSERT_EQ(mail_.CreateList("L", 128), 1);
  mail_.WriteListItem("x", "9", -1);
  EXPECT_EQ(mail_.ReadInfo("q", nullptr, 0), 1);
  EXPECT_EQ(mail_.RemoveListItem("a"), 0);
  EXPECT_EQ(Bytes("L"), RecordBytes("b", "2"));
}

TEST_F(Mail, GeneralFormsTakeAnyStream) {
  TStream stream(parent_.Interface(), "R", kReadWrite, kCreate, kExclusive);
  EXPECT_EQ(mail_.WriteListItem(stream, "k", "v", -1, 32), 1);
  char key[8];
  char value[8];
  EXPECT_EQ(mail_.ReadListItem(stream, "K", value, sizeof value, 32), 1);
  EXPECT_STREQ(value, "v");
  stream.Seek(0, 0);
  EXPECT_EQ(mail_.ReadNextListItem(stream, key, sizeof key, value, sizeof value, 32), 1);
  EXPECT_STREQ(key, "k");
  EXPECT_EQ(stream.Size(), 32U);
}

TEST_F(Mail, VirtualSlotsReachOverrides) {
  class Loud : public TMail {
   public:
    const char* DefaultString(const char*) const override { return "LOUD"; }
    LONG DefaultNumber(const char*) const override { return 99; }
  };
  const Loud loud;
  EXPECT_STREQ(loud.String("anything"), "LOUD");
  EXPECT_EQ(loud.Number("anything"), 99);
}

}  // namespace
}  // namespace board_test
