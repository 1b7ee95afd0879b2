// Properties when memory runs out at any of the allocations of a change.
#include "board_fixture.h"
#include "support/failing_memory.h"

#include <brevant/contributor.h>

#include <string>

namespace board_test {
namespace {

const std::string kLong(100, 'v');

class NoMemory : public ForumTest {};

TEST_F(NoMemory, ARecordThatWasNotWrittenIsNotSeen) {
  int written = 0;
  bool failed = true;
  for (long allowed = 0; failed; ++allowed) {
    SCOPED_TRACE(allowed);
    // A new forum each time: a structured storage may give a file up whose change has failed.
    forum_.Close();
    ASSERT_EQ(Create(), 1);
    forum_.WriteInfo("a", "1", -1);
    {
      const test::FailingMemory memory(allowed);
      written = forum_.WriteInfo("key", kLong.c_str(), -1);
      failed = memory.HasFailed();
    }
    char value[128];
    EXPECT_EQ(forum_.ReadInfo("key", value, sizeof value), written);
    EXPECT_STREQ(value, written != 0 ? kLong.c_str() : "");
  }
  EXPECT_EQ(written, 1);
}

TEST_F(NoMemory, ATextThatWasNotCachedHidesNoDefault) {
  int index = -1;
  test::ForEveryShortage([&] { index = forum_.SetString("HTML Filename", kLong.c_str()); },
                         [&] {
                           EXPECT_EQ(index, -1);
                           EXPECT_STREQ(forum_.String("HTML Filename"), "index.htm");
                         });
  EXPECT_GE(index, 0);
  EXPECT_STREQ(forum_.String("HTML Filename"), kLong.c_str());
}

// A message whose neighbours are not known must not set the forum's ends back.
TEST_F(NoMemory, ARemovalKeepsTheEndsOfTheForum) {
  int removed = 0;
  bool failed = true;
  for (long allowed = 0; failed; ++allowed) {
    SCOPED_TRACE(allowed);
    forum_.Close();
    ASSERT_EQ(Create(), 1);
    for (const char* subject : {"a", "b", "c"}) Insert(forum_, subject);
    ASSERT_EQ(forum_.Storage().Commit(), 1);
    ASSERT_EQ(Reopen(), 1);
    {
      const test::FailingMemory memory(allowed);
      removed = forum_.RemoveMessage(2);
      failed = memory.HasFailed();
    }
    EXPECT_EQ(forum_.Number("First Message Index"), 1);
    EXPECT_EQ(forum_.Number("Last Message Index"), 3);
    ASSERT_EQ(Reopen(), 1);
    EXPECT_EQ(forum_.Number("First Message Index"), 1);
    EXPECT_EQ(forum_.Number("Last Message Index"), 3);
  }
  EXPECT_EQ(removed, 1);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{1, 3}));
}

// Whatever is lacking, an item is there once, old or new, and one that was inserted is found.
TEST_F(NoMemory, ASubjectIsNeverThereTwice) {
  TContributor list;
  const auto item = NewMessage("news", "new");
  DWORD index = 0;
  bool failed = true;
  for (long allowed = 0; failed; ++allowed) {
    SCOPED_TRACE(allowed);
    list.Close();
    ASSERT_EQ(list.Open("list", Directory(), kReadWrite, kCreate, kExclusive), 1);
    ASSERT_EQ(Insert(list, "News", "old"), 1U);
    ASSERT_EQ(Insert(list, "other"), 2U);
    ASSERT_EQ(list.Storage().Commit(), 1);
    list.Close();
    ASSERT_EQ(list.Open("list", Directory(), kReadWrite, 0, kExclusive), 1);
    {
      const test::FailingMemory memory(allowed);
      index = list.InsertMessage(*item);
      failed = memory.HasFailed();
    }
    EXPECT_TRUE(index == 0 || index == 1) << index;
    // A document whose change has failed may be given up; then the last commit is what there is.
    list.Close();
    ASSERT_EQ(list.Open("list", Directory(), kReadWrite, 0, kExclusive), 1);
    const std::vector<Row> rows = Rows(list);
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].index, 1U);
    EXPECT_EQ(rows[1], (Row{2, 0, "other"}));
    EXPECT_EQ(list.Number("Message Count"), 2);
  }
  EXPECT_EQ(index, 1U);
}

}  // namespace
}  // namespace board_test
