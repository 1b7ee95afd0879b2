// Forums of the layouts before there was a message list.
#include "board_fixture.h"

namespace board_test {
namespace {

class Upgrade : public ForumTest {
 protected:
  // Turns the open forum into one of an older version with this range, without message list.
  void Age(LONG version, LONG first, LONG last) {
    if (version == 0) {
      forum_.RemoveInfo("Version");
    } else {
      forum_.Number("Version", version);
    }
    forum_.Number("First Message Index", first);
    forum_.Number("Last Message Index", last);
    forum_.Close();
    TStorage storage((directory_ / "talk.mwd").c_str(), kReadWrite, 0, kExclusive);
    ASSERT_EQ(storage.DeleteElement("MESSAGE LIST"), 1);
  }
  void AddElement(const char* name, const char* subject, LONG linkId) {
    TMail message;
    ASSERT_EQ(message.Open(forum_.Storage(), name, kReadWrite, kCreate, kExclusive), 1);
    message.String("SUBJECT", subject);
    message.Number("LINK ID", linkId);
  }
};

TEST_F(Upgrade, VersionOneWithGapsCountsTheGapsToo) {
  AddElement("3", "three", 0);
  AddElement("4", "four", 3);
  AddElement("5", "five", 4);
  Age(1, 1, 5);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Rows(forum_), (std::vector<Row>{{3, 0, "three"}, {4, 3, "four"}, {5, 4, "five"}}));
  EXPECT_EQ(forum_.Number("Message Count"), 5);
  EXPECT_EQ(forum_.Number("Version"), 3);
}

TEST_F(Upgrade, VersionTwo) {
  AddElement("1", "one", 0);
  Age(2, 1, 1);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Rows(forum_), (std::vector<Row>{{1, 0, "one"}}));
  EXPECT_EQ(forum_.Number("Message Count"), 1);
}

TEST_F(Upgrade, MissingVersionIsOne) {
  AddElement("1", "one", 0);
  Age(0, 1, 1);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Rows(forum_).size(), 1U);
  EXPECT_EQ(forum_.Number("Version"), 3);
}

TEST_F(Upgrade, OtherVersionsAreLeftAlone) {
  Insert(forum_, "a");
  forum_.Number("Version", 4);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(forum_.Number("Version"), 4);
  EXPECT_EQ(Rows(forum_).size(), 1U);
}

TEST_F(Upgrade, OldMessageListIsMadeAnew) {
  AddElement("1", "one", 0);
  forum_.WriteMessageInfo(9, 9, "stale");
  forum_.Number("Last Message Index", 1);
  forum_.Number("Version", 1);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Rows(forum_), (std::vector<Row>{{1, 0, "one"}}));
}

TEST_F(Upgrade, RecordsAreInAscendingOrderOfNumbers) {
  for (const char* name : {"10", "9", "100", "2"}) AddElement(name, name, 0);
  Age(1, 1, 200);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{2, 9, 10, 100}));
}

TEST_F(Upgrade, OnlyNumbersWithinTheRange) {
  for (const char* name : {"1", "2", "3", "03", "x2", "2x", "+2", "4294967298", "Announcement"}) {
    AddElement(name, name, 0);
  }
  Age(1, 2, 3);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{2, 3}));
}

TEST_F(Upgrade, HostileRangeWalksWhatExists) {
  AddElement("7", "seven", 0);
  Age(1, 0, -1);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{7}));
  EXPECT_EQ(forum_.Number("Message Count"), 0) << "2^32 messages wrap";
}

TEST_F(Upgrade, RangeTheWrongWayRoundHoldsNothing) {
  AddElement("7", "seven", 0);
  Age(1, 9, 5);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Rows(forum_).size(), 0U);
  EXPECT_EQ(forum_.Number("Message Count"), -3);
}

TEST_F(Upgrade, ElementThatIsNoMessageIsSkipped) {
  AddElement("1", "one", 0);
  { TStorage empty(forum_.Storage().Interface(), "2", kReadWrite, kCreate, kExclusive); }
  Age(1, 1, 2);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{1}));
  EXPECT_EQ(forum_.Number("Message Count"), 2);
}

TEST_F(Upgrade, HappensOnce) {
  AddElement("1", "one", 0);
  Age(1, 1, 1);
  ASSERT_EQ(Reopen(), 1);
  forum_.RemoveMessageInfo(1);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Rows(forum_).size(), 0U);
}

TEST_F(Upgrade, UpgradedForumTakesMessages) {
  AddElement("5", "five", 0);
  Age(1, 5, 5);
  ASSERT_EQ(Reopen(), 1);
  EXPECT_EQ(Insert(forum_, "six"), 6U);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{5, 6}));
  EXPECT_EQ(forum_.Number("Message Count"), 2);
}

}  // namespace
}  // namespace board_test
