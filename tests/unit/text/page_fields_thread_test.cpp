// The thread structure of a list of items.
#include "text/item_list.h"

#include <gtest/gtest.h>

namespace brevant {
namespace {

TEST(ItemList, FindsItemsByTheirNumber) {
  const TItemList list({{3, 0}, {5, 3}, {9, 0}});
  EXPECT_EQ(list.Count(), 3);
  EXPECT_EQ(list.Find(3), 0);
  EXPECT_EQ(list.Find(9), 2);
  EXPECT_EQ(list.Find(4), -1);
  EXPECT_EQ(TItemList().Find(1), -1);
}

TEST(ReplyDepth, CountsTheStepsUpToAMessageThatAnswersNone) {
  const TItemList list({{1, 0}, {2, 1}, {3, 2}, {4, 1}, {5, 0}});
  EXPECT_EQ(list.ReplyDepth(0), 0);
  EXPECT_EQ(list.ReplyDepth(1), 1);
  EXPECT_EQ(list.ReplyDepth(2), 2);
  EXPECT_EQ(list.ReplyDepth(3), 1);
  EXPECT_EQ(list.ReplyDepth(4), 0);
}

TEST(ReplyDepth, AMessageThatAnswersOneThatIsGoneStandsAtTheTop) {
  const TItemList list({{7, 2}, {8, 7}});
  EXPECT_EQ(list.ReplyDepth(0), 0);
  EXPECT_EQ(list.ReplyDepth(1), 1);
}

TEST(ReplyDepth, CirclesCountAsGone) {
  const TItemList self({{1, 1}, {2, 1}});
  EXPECT_EQ(self.ReplyDepth(0), 0);
  EXPECT_EQ(self.ReplyDepth(1), 1);
  const TItemList three({{1, 3}, {2, 1}, {3, 2}, {4, 2}, {5, 4}});
  for (int i = 0; i < 3; ++i) EXPECT_EQ(three.ReplyDepth(i), 0) << i;
  EXPECT_EQ(three.ReplyDepth(3), 1);
  EXPECT_EQ(three.ReplyDepth(4), 2);
}

TEST(ReplyDepth, DoesNotDependOnTheOrderOfTheList) {
  const TItemList list({{5, 4}, {4, 3}, {3, 0}});
  EXPECT_EQ(list.ReplyDepth(0), 2);
  EXPECT_EQ(list.ReplyDepth(1), 1);
  EXPECT_EQ(list.ReplyDepth(2), 0);
}

TEST(ReplyDepth, ALongChainIsComputedOnceWithoutRecursion) {
  std::vector<TListedItem> items;
  for (DWORD i = 1; i <= 200000; ++i) items.push_back({i, i - 1});
  const TItemList list(std::move(items));
  // Anything but linear would take minutes.
  for (int i = 0; i < list.Count(); ++i) ASSERT_EQ(list.ReplyDepth(i), i);
}

TEST(ThreadLevel, IsOneForAnAnswerToAMessageStillThere) {
  const TItemList list({{1, 0}, {2, 1}, {3, 2}, {4, 77}});
  EXPECT_EQ(list.ThreadLevel(0), 0);
  EXPECT_EQ(list.ThreadLevel(1), 1);
  EXPECT_EQ(list.ThreadLevel(2), 1);
  EXPECT_EQ(list.ThreadLevel(3), 0);
}

}  // namespace
}  // namespace brevant
