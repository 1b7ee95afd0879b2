// Items told apart by their subjects: what a resource list does differently from a forum.
#include "board/list_index.h"
#include "board_fixture.h"
#include "support/element_times.h"

#include <brevant/link_list.h>
#include <brevant/survey_question.h>

#include <string>

namespace board_test {
namespace {

using brevant::kNoMessage;

class Contributor : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Open(kCreate), 1); }

  int Open(int create) { return list_.Open("list", Directory(), kReadWrite, create, kExclusive); }
  int Reopen() {
    list_.Close();
    return Open(0);
  }
  const char* Directory() const { return directory_.Path().c_str(); }
  DWORD InsertLinked(const char* subject, LONG linkId) {
    auto item = NewMessage(subject);
    item->Number("LINK ID", linkId);
    return list_.InsertMessage(*item);
  }
  std::string BodyOf(DWORD index) {
    TMail item;
    return list_.OpenMessage(index, &item) ? Body(item) : "none";
  }
  LONG First() { return list_.Number("First Message Index"); }
  LONG Last() { return list_.Number("Last Message Index"); }
  LONG Count() { return list_.Number("Message Count"); }
  TTime Modified(DWORD index) {
    TTime time;
    EXPECT_EQ(list_.GetMessageTimes(index, &time, nullptr, nullptr), 1);
    return time;
  }
  void AgeAll(DWORD last) {
    const TTime old(1990, 1, 1, 0, 0, 0);
    for (DWORD index = 1; index <= last; ++index) {
      ASSERT_EQ(list_.Storage().SetElementTimes(std::to_string(index).c_str(), &old, nullptr, &old),
                1);
    }
  }
  static bool IsOld(const TTime& time) { return time == TTime(1990, 1, 1, 0, 0, 0); }
  static bool IsNow(const TTime& time) {
    return time.UnixSeconds() >= TTime::NowGreenwich().UnixSeconds() - 60;
  }

  test::TemporaryDirectory directory_;
  TContributor list_;
};

TEST_F(Contributor, EachClassHasFilesOfItsOwn) {
  EXPECT_TRUE(test::FileExists(directory_ / "list.mwe"));
  EXPECT_STREQ(list_.Extension(), ".mwe");
  TLinkList links;
  ASSERT_EQ(links.Open("list", Directory(), kReadWrite, kCreate, kExclusive), 1);
  EXPECT_TRUE(test::FileExists(directory_ / "list.mwf"));
  EXPECT_STREQ(links.Extension(), ".mwf");
  TSurveyQuestion question;
  ASSERT_EQ(question.Open("list", Directory(), kReadWrite, kCreate, kExclusive), 1);
  EXPECT_TRUE(test::FileExists(directory_ / "list.mwg"));
  EXPECT_STREQ(question.Extension(), ".mwg");
}

TEST_F(Contributor, PropertiesAreThoseOfAForum) {
  EXPECT_EQ(list_.Number("Version"), 3);
  EXPECT_EQ(First(), 1);
  EXPECT_EQ(Last(), 0);
  EXPECT_EQ(Count(), 0);
  EXPECT_EQ(list_.Number("Max Message Count"), 16);
  EXPECT_STREQ(list_.String("Name"), "list");
  EXPECT_STREQ(list_.String("HTML Filename"), "index.htm");
}

TEST_F(Contributor, NewItemsAreNumberedAndListedAsInAForum) {
  EXPECT_EQ(Insert(list_, "a"), 1U);
  EXPECT_EQ(InsertLinked("b", 7), 2U);
  EXPECT_EQ(Insert(list_, "c"), 3U);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{1, 0, "a"}, {2, 7, "b"}, {3, 0, "c"}}));
  EXPECT_EQ(First(), 1);
  EXPECT_EQ(Last(), 3);
  EXPECT_EQ(Count(), 3);
  EXPECT_EQ(BodyOf(2), "body");
}

TEST_F(Contributor, SubjectsThatDifferInLetterCaseAreOneItem) {
  EXPECT_EQ(Insert(list_, "A", "first"), 1U);
  EXPECT_EQ(Insert(list_, "a", "second"), 1U);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{1, 0, "a"}}));
  EXPECT_EQ(BodyOf(1), "second");
}

TEST_F(Contributor, OnlyTheLettersAToZHaveTwoCases) {
  EXPECT_EQ(Insert(list_, "\xC4"), 1U);
  EXPECT_EQ(Insert(list_, "\xE4"), 2U);
  EXPECT_EQ(Insert(list_, "a["), 3U);
  EXPECT_EQ(Insert(list_, "a{"), 4U);
}

TEST_F(Contributor, ReplacementKeepsNumberPlaceCountAndLastIndex) {
  for (const char* subject : {"a", "b", "c"}) Insert(list_, subject);
  EXPECT_EQ(Insert(list_, "B", "new"), 2U);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{1, 0, "a"}, {2, 0, "B"}, {3, 0, "c"}}));
  EXPECT_EQ(First(), 1);
  EXPECT_EQ(Last(), 3);
  EXPECT_EQ(Count(), 3);
  EXPECT_EQ(BodyOf(2), "new");
  EXPECT_EQ(Insert(list_, "d"), 4U);
}

TEST_F(Contributor, ReplacementOfTheNewestIsNoNewItem) {
  Insert(list_, "a");
  Insert(list_, "b");
  EXPECT_EQ(Insert(list_, "b"), 2U);
  EXPECT_EQ(Last(), 2);
  EXPECT_EQ(Count(), 2);
}

TEST_F(Contributor, NothingOfAReplacedItemStays) {
  {
    auto item = NewMessage("a", "a long body");
    item->String("Colour", "red");
    item->CreateList("ATTACHMENT", 128);
    item->WriteListItem("x.gif", "1", -1);
    item->CloseList();
    ASSERT_EQ(list_.InsertMessage(*item), 1U);
  }
  ASSERT_EQ(Insert(list_, "a", "short"), 1U);
  TMail item;
  ASSERT_EQ(list_.OpenMessage(1, &item), 1);
  EXPECT_STREQ(item.String("Colour"), "");
  EXPECT_EQ(item.OpenList("ATTACHMENT", 128), 0);
  EXPECT_EQ(Body(item), "short");
}

TEST_F(Contributor, ReplacementHasTheTimesOfTheNewItem) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  Insert(list_, "a");
  auto item = NewMessage("a");
  const TTime date(1999, 8, 7, 6, 5, 4);
  item->SetTime(date);
  ASSERT_EQ(list_.InsertMessage(*item), 1U);
  item->Close();
  TTime created;
  TTime modified;
  ASSERT_EQ(list_.GetMessageTimes(1, &modified, &created, nullptr), 1);
  EXPECT_EQ(created, date);
  EXPECT_EQ(modified, date);
}

TEST_F(Contributor, ItemsWithoutSubjectAreOneItem) {
  EXPECT_EQ(Insert(list_, ""), 1U);
  EXPECT_EQ(Insert(list_, "a"), 2U);
  TMail item;
  ASSERT_EQ(item.OpenTemporary(kDeleteOnRelease), 1);
  EXPECT_EQ(list_.InsertMessage(item), 1U);
}

TEST_F(Contributor, ReplacementUnderAnotherLinkNumberLeavesASecondRecord) {
  InsertLinked("a", 1);
  InsertLinked("b", 0);
  EXPECT_EQ(InsertLinked("a", 2), 1U);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{1, 1, "a"}, {2, 0, "b"}, {1, 2, "a"}}));
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(InsertLinked("A", 2), 1U) << "the record of this link number";
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{1, 1, "a"}, {2, 0, "b"}, {1, 2, "A"}}));
}

TEST_F(Contributor, FindMessageIgnoresCaseAndGivesTheFirst) {
  list_.WriteMessageInfo(4, 0, "News");
  list_.WriteMessageInfo(2, 0, "NEWS");
  list_.WriteMessageInfo(9, 0, "other");
  EXPECT_EQ(list_.FindMessage("news"), 4U);
  EXPECT_EQ(list_.FindMessage("Other"), 9U);
  EXPECT_EQ(list_.FindMessage("new"), kNoMessage);
  EXPECT_EQ(list_.FindMessage(""), kNoMessage);
  list_.WriteMessageInfo(10, 0, "");
  EXPECT_EQ(list_.FindMessage(""), 10U);
}

TEST_F(Contributor, FindMessageWithoutAListOrASubject) {
  EXPECT_EQ(list_.FindMessage(nullptr), kNoMessage);
  EXPECT_EQ(list_.FindMessage("a"), kNoMessage);
  Insert(list_, "a");
  list_.Close();
  EXPECT_EQ(list_.FindMessage("a"), kNoMessage);
}

TEST_F(Contributor, FindMessageFollowsEveryChange) {
  for (const char* subject : {"a", "b", "c"}) Insert(list_, subject);
  EXPECT_EQ(list_.FindMessage("c"), 3U);
  list_.RemoveMessage(1);
  EXPECT_EQ(list_.FindMessage("a"), kNoMessage);
  EXPECT_EQ(list_.FindMessage("c"), 3U);
  list_.ChangeMessageInfo(2, 5, "z");
  EXPECT_EQ(list_.FindMessage("b"), kNoMessage);
  EXPECT_EQ(list_.FindMessage("z"), 2U);
  list_.RemoveMessageInfo(3);
  EXPECT_EQ(list_.FindMessage("c"), kNoMessage);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(list_.FindMessage("Z"), 2U);
}

TEST_F(Contributor, FindMessageLeavesAWalkWhereItIs) {
  for (const char* subject : {"a", "b", "c"}) Insert(list_, subject);
  DWORD index = 0;
  DWORD linkId = 0;
  ASSERT_EQ(list_.StartMessageSearch(), 1);
  ASSERT_EQ(list_.ReadNextMessageInfo(&index, &linkId, nullptr, 0), 1);
  EXPECT_EQ(list_.FindMessage("c"), 3U);
  ASSERT_EQ(list_.ReadNextMessageInfo(&index, &linkId, nullptr, 0), 1);
  EXPECT_EQ(index, 2U);
}

// The list has only what fits its record, and an item is looked for under its whole subject.
TEST_F(Contributor, SubjectThatItsRecordCutsIsNotFound) {
  const std::string subject(200, 's');
  auto item = NewMessage(subject.c_str());
  EXPECT_EQ(list_.InsertMessage(*item), 1U);
  EXPECT_EQ(list_.FindMessage(subject.c_str()), kNoMessage);
  EXPECT_EQ(list_.FindMessage(std::string(123, 's').c_str()), 1U) << "128 - 3 - 2 bytes";
  EXPECT_EQ(list_.InsertMessage(*item), 2U);
}

TEST_F(Contributor, ListsWithForeignKeysAreSearchedToo) {
  Insert(list_, "a");
  list_.Close();
  {
    TStorage storage((directory_ / "list.mwe").c_str(), kReadWrite, 0, kExclusive);
    TStream stream(storage.Interface(), "MESSAGE LIST", kReadWrite, kCreate, kExclusive);
    const std::string records = RecordBytes("x", "strange") + RecordBytes(" 07:1", "padded");
    stream.Write(records.data(), static_cast<int>(records.size()));
  }
  ASSERT_EQ(Open(0), 1);
  EXPECT_EQ(list_.FindMessage("Padded"), 7U);
  EXPECT_EQ(list_.FindMessage("strange"), 0U);
}

TEST_F(Contributor, SeventeenthItemRemovesTheOldest) {
  for (int i = 1; i <= 17; ++i) {
    EXPECT_EQ(Insert(list_, ("s" + std::to_string(i)).c_str()), static_cast<DWORD>(i));
  }
  EXPECT_EQ(First(), 2);
  EXPECT_EQ(Last(), 17);
  EXPECT_EQ(Count(), 16);
  EXPECT_EQ(list_.FindMessage("s1"), kNoMessage);
  EXPECT_EQ(BodyOf(1), "none");
}

TEST_F(Contributor, ReplacementInAFullListRemovesTheOldestAllTheSame) {
  list_.Number("Max Message Count", 3);
  for (const char* subject : {"a", "b", "c"}) Insert(list_, subject);
  EXPECT_EQ(Insert(list_, "b", "new"), 2U);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{2, 0, "b"}, {3, 0, "c"}}));
  EXPECT_EQ(First(), 2);
  EXPECT_EQ(Last(), 3);
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(BodyOf(2), "new");
}

TEST_F(Contributor, ReplacementOfTheOldestInAFullListLosesIt) {
  list_.Number("Max Message Count", 2);
  Insert(list_, "a");
  Insert(list_, "b");
  EXPECT_EQ(Insert(list_, "a", "new"), 0U);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{2, 0, "b"}}));
  EXPECT_EQ(First(), 2);
  EXPECT_EQ(Last(), 2);
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(BodyOf(1), "none");
  EXPECT_EQ(Insert(list_, "a", "new"), 3U) << "now there is room";
}

TEST_F(Contributor, TrimsOneItemOnlyWhenTheLimitWasLowered) {
  for (const char* subject : {"a", "b", "c", "d"}) Insert(list_, subject);
  list_.Number("Max Message Count", 2);
  Insert(list_, "e");
  EXPECT_EQ(Indices(list_), (std::vector<DWORD>{2, 3, 4, 5}));
}

// What is a new item is decided by the last index before the trim, which sets it back here.
TEST_F(Contributor, TrimThatEmptiesTheListLeavesTheNewItem) {
  list_.Number("Max Message Count", 1);
  EXPECT_EQ(Insert(list_, "a"), 1U);
  EXPECT_EQ(Insert(list_, "b"), 2U);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{2, 0, "b"}}));
  EXPECT_EQ(Last(), 2);
  EXPECT_EQ(Count(), 1);
}

TEST_F(Contributor, NegativeLimitIsAHugeOne) {
  list_.Number("Max Message Count", -1);
  for (int i = 0; i < 20; ++i) Insert(list_, std::to_string(i).c_str());
  EXPECT_EQ(Count(), 20);
}

TEST_F(Contributor, ReplacementTouchesBothNeighbours) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  for (const char* subject : {"a", "b", "c", "d", "e"}) Insert(list_, subject);
  AgeAll(5);
  const TTime date(1999, 8, 7, 6, 5, 4);
  auto item = NewMessage("c");
  item->SetTime(date);
  ASSERT_EQ(list_.InsertMessage(*item), 3U);
  EXPECT_TRUE(IsOld(Modified(1)));
  EXPECT_TRUE(IsNow(Modified(2)));
  EXPECT_EQ(Modified(3), date);
  EXPECT_TRUE(IsNow(Modified(4)));
  EXPECT_TRUE(IsOld(Modified(5)));
  TTime created;
  list_.GetMessageTimes(2, nullptr, &created, nullptr);
  EXPECT_TRUE(IsOld(created)) << "the other times stay";
}

TEST_F(Contributor, NewItemTouchesTheOneBeforeIt) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  Insert(list_, "a");
  Insert(list_, "b");
  AgeAll(2);
  Insert(list_, "c");
  EXPECT_TRUE(IsOld(Modified(1)));
  EXPECT_TRUE(IsNow(Modified(2)));
}

TEST_F(Contributor, RemovalOfTheNewestReusesItsNumber) {
  Insert(list_, "a");
  Insert(list_, "b");
  ASSERT_EQ(list_.RemoveMessage(2), 1);
  EXPECT_EQ(Insert(list_, "c"), 2U);
}

TEST_F(Contributor, ClosedItemReplacesNothing) {
  Insert(list_, "a", "old");
  TMail closed;
  closed.SetString("SUBJECT", "a");
  EXPECT_EQ(list_.InsertMessage(closed), 0U);
  EXPECT_EQ(BodyOf(1), "old");
  closed.SetString("SUBJECT", "b");
  EXPECT_EQ(list_.InsertMessage(closed), 0U);
  EXPECT_EQ(Last(), 1);
  EXPECT_EQ(Count(), 1);
}

TEST_F(Contributor, OpenItemIsNotReplacedUnderItsReader) {
  Insert(list_, "a", "old");
  {
    TMail open;
    ASSERT_EQ(list_.OpenMessage(1, &open), 1);
    EXPECT_EQ(Insert(list_, "a", "new"), 0U);
    EXPECT_EQ(Body(open), "old");
    EXPECT_EQ(list_.InsertMessage(open), 0U) << "not by itself either";
    EXPECT_EQ(Body(open), "old");
  }
  EXPECT_EQ(BodyOf(1), "old");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Insert(list_, "a", "new"), 1U);
}

TEST_F(Contributor, ListedItemWithoutElementIsMadeAnew) {
  Insert(list_, "a");
  Insert(list_, "b");
  ASSERT_EQ(list_.Storage().DeleteElement("1"), 1);
  EXPECT_EQ(Insert(list_, "a", "new"), 1U);
  EXPECT_EQ(BodyOf(1), "new");
  EXPECT_EQ(Count(), 2);
}

TEST_F(Contributor, InsertionIntoAClosedListFails) {
  list_.Close();
  EXPECT_EQ(Insert(list_, "a"), 0U);
}

TEST_F(Contributor, ItemsSurviveReopening) {
  Insert(list_, "a", "one");
  Insert(list_, "b", "two");
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Insert(list_, "A", "three"), 1U);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{1, 0, "A"}, {2, 0, "b"}}));
  EXPECT_EQ(BodyOf(1), "three");
  EXPECT_EQ(BodyOf(2), "two");
}

TEST_F(Contributor, InsertionIsTheClassesOwnThroughAForum) {
  TForum& forum = list_;
  auto item = NewMessage("a");
  EXPECT_EQ(InsertMessage(item.get(), &forum), 1U);
  EXPECT_EQ(InsertMessage(item.get(), &forum), 1U);
}

TEST_F(Contributor, OldLayoutIsUpgraded) {
  Insert(list_, "a");
  Insert(list_, "b");
  list_.Number("Version", 1);
  list_.Close();
  {
    TStorage storage((directory_ / "list.mwe").c_str(), kReadWrite, 0, kExclusive);
    ASSERT_EQ(storage.DeleteElement("MESSAGE LIST"), 1);
  }
  ASSERT_EQ(Open(0), 1);
  EXPECT_EQ(Rows(list_), (std::vector<Row>{{1, 0, "a"}, {2, 0, "b"}}));
  EXPECT_EQ(Insert(list_, "B"), 2U);
}

}  // namespace
}  // namespace board_test
