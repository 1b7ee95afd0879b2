// Properties when memory runs out at any of the allocations of a change.
#include "board_fixture.h"
#include "support/failing_memory.h"

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

}  // namespace
}  // namespace board_test
