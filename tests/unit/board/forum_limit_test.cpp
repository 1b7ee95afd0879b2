// A forum at its "Max Message Count".
#include "board_fixture.h"

#include <string>

namespace board_test {
namespace {

class ForumLimit : public ForumTest {
 protected:
  LONG First() { return forum_.Number("First Message Index"); }
  LONG Last() { return forum_.Number("Last Message Index"); }
  LONG Count() { return forum_.Number("Message Count"); }
};

TEST_F(ForumLimit, SeventeenthInsertionLeavesSixteen) {
  for (int i = 1; i <= 17; ++i) EXPECT_EQ(Insert(forum_, "x"), static_cast<DWORD>(i));
  EXPECT_EQ(First(), 2);
  EXPECT_EQ(Last(), 17);
  EXPECT_EQ(Count(), 16);
  EXPECT_EQ(Rows(forum_).size(), 16U);
  TMail gone;
  EXPECT_EQ(forum_.OpenMessage(1, &gone), 0);
  Insert(forum_, "x");
  EXPECT_EQ(First(), 3);
  EXPECT_EQ(Count(), 16);
}

TEST_F(ForumLimit, TrimsOneMessageOnlyWhenTheLimitWasLowered) {
  for (int i = 0; i < 5; ++i) Insert(forum_, "x");
  forum_.Number("Max Message Count", 2);
  Insert(forum_, "x");
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{2, 3, 4, 5, 6}));
  EXPECT_EQ(Count(), 5);
}

TEST_F(ForumLimit, ForumForNoMessagesTakesNone) {
  forum_.Number("Max Message Count", 0);
  EXPECT_EQ(Insert(forum_, "a"), 0U);
  EXPECT_EQ(Rows(forum_).size(), 0U);
  EXPECT_EQ(Count(), 0);
  forum_.Number("Max Message Count", 2);
  EXPECT_EQ(Insert(forum_, "a"), 1U);
}

// The trim empties the forum, which resets the first index to 1, where the next trim finds nothing.
TEST_F(ForumLimit, LimitOfOneLeavesTheFirstIndexBehind) {
  forum_.Number("Max Message Count", 1);
  EXPECT_EQ(Insert(forum_, "a"), 1U);
  EXPECT_EQ(Insert(forum_, "b"), 2U);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{2}));
  EXPECT_EQ(First(), 1);
  EXPECT_EQ(Last(), 2);
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Insert(forum_, "c"), 3U);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{2, 3}));
  EXPECT_EQ(First(), 1);
  EXPECT_EQ(Last(), 3);
  EXPECT_EQ(Count(), 2);
}

TEST_F(ForumLimit, NegativeLimitIsAHugeOne) {
  forum_.Number("Max Message Count", -1);
  for (int i = 0; i < 20; ++i) Insert(forum_, "x");
  EXPECT_EQ(Count(), 20);
}

TEST_F(ForumLimit, FullListThatMovesUpCountsOncePerCommit) {
  forum_.Number("Max Message Count", 500);
  for (DWORD index = 1; index <= 500; ++index) forum_.WriteMessageInfo(index, 0, "x");
  forum_.Number("Last Message Index", 500);
  forum_.Number("Message Count", 500);
  ASSERT_EQ(forum_.Storage().Commit(), 1);
  // Without an element to delete the first index only moves on: the trim wants real messages.
  for (DWORD index = 1; index <= 20; ++index) {
    TMail message;
    ASSERT_EQ(message.Open(forum_.Storage(), std::to_string(index).c_str(), kReadWrite, kCreate,
                           kExclusive),
              1);
  }
  for (int i = 0; i < 20; ++i) ASSERT_NE(Insert(forum_, "y"), 0U);
  EXPECT_EQ(First(), 21);
  EXPECT_EQ(Count(), 500);
  EXPECT_GE(forum_.Storage().BytesSinceCommit(), 64000U) << "the list itself";
  EXPECT_LE(forum_.Storage().BytesSinceCommit(), 2U * 64000U) << "not once per insertion";
}

}  // namespace
}  // namespace board_test
