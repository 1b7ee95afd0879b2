#include "board/list_index.h"

#include "board_fixture.h"
#include "store/ascii.h"
#include "support/failing_memory.h"

#include <random>

namespace board_test {
namespace {

using brevant::kNoMessage;
using brevant::MessageEntry;
using brevant::MessageKey;
using brevant::TListIndex;

class ListIndex : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(storage_.OpenTemporary(kDeleteOnRelease), 1);
    ASSERT_EQ(list_.Open(storage_.Interface(), "L", kReadWrite, kCreate, kExclusive), 1);
  }
  void Add(const std::string& key, const std::string& subject) {
    const std::string bytes = RecordBytes(key, subject);
    list_.Write(bytes.data(), 128);
  }

  TStorage storage_;
  TStream list_;
  TListIndex index_;
};

TEST_F(ListIndex, KeysAreUnsignedDecimals) {
  EXPECT_EQ(MessageKey(12, 7).Text(), "12:7");
  EXPECT_STREQ(MessageKey(0xFFFFFFFF, 0xFFFFFFFF).Terminated(), "4294967295:4294967295");
  EXPECT_STREQ(MessageKey(0).Terminated(), "0");
}

TEST_F(ListIndex, KeysAreReadLeniently) {
  const auto read = [](const char* key) {
    const MessageEntry entry = brevant::ParseMessageKey(key);
    return std::pair<unsigned, unsigned>(entry.index, entry.linkId);
  };
  EXPECT_EQ(read("12:7"), std::pair(12U, 7U));
  EXPECT_EQ(read(" 12:  7x"), std::pair(12U, 7U));
  EXPECT_EQ(read("12"), std::pair(12U, 0U));
  EXPECT_EQ(read("12 :7"), std::pair(12U, 0U));
  EXPECT_EQ(read("-1:-2"), std::pair(0xFFFFFFFFU, 0xFFFFFFFEU));
  EXPECT_EQ(read("x"), std::pair(0U, 0U));
  EXPECT_EQ(read(""), std::pair(0U, 0U));
  EXPECT_EQ(read("99999999999:1"), std::pair(1215752191U, 1U));
}

TEST_F(ListIndex, EmptyList) {
  EXPECT_TRUE(index_.Load(list_));
  EXPECT_EQ(index_.Size(), 0U);
  EXPECT_TRUE(index_.Regular());
  EXPECT_FALSE(index_.Find(1));
  EXPECT_EQ(index_.Next(1), kNoMessage);
  EXPECT_EQ(index_.Previous(1), kNoMessage);
}

TEST_F(ListIndex, RecordsInOrder) {
  Add("3:0", "three");
  Add("4:3", "four");
  ASSERT_TRUE(index_.Load(list_));
  ASSERT_EQ(index_.Size(), 2U);
  EXPECT_EQ(index_.At(1).index, 4U);
  EXPECT_EQ(index_.At(1).linkId, 3U);
  EXPECT_EQ(index_.Subject(0), "three");
  EXPECT_EQ(index_.Find(4), 1U);
  EXPECT_EQ(index_.Next(3), 4U);
  EXPECT_EQ(index_.Previous(4), 3U);
}

TEST_F(ListIndex, IrregularListsAreTold) {
  Add("03:0", "padded");
  ASSERT_TRUE(index_.Load(list_));
  EXPECT_FALSE(index_.Regular());
  list_.Seek(0, 0);
  list_.SetSize(0);
  Add("3:0", "plain");
  ASSERT_TRUE(index_.Load(list_));
  EXPECT_TRUE(index_.Regular());
  list_.Seek(128, 0);
  list_.Write("rest", 4);
  ASSERT_TRUE(index_.Load(list_));
  EXPECT_FALSE(index_.Regular());
  EXPECT_EQ(index_.Size(), 1U);
}

TEST_F(ListIndex, LongListsAreReadWhole) {
  for (DWORD i = 1; i <= 3000; ++i) Add(std::to_string(i) + ":0", "s" + std::to_string(i));
  ASSERT_TRUE(index_.Load(list_));
  ASSERT_EQ(index_.Size(), 3000U);
  EXPECT_EQ(index_.Find(3000), 2999U);
  EXPECT_EQ(index_.Subject(2999), "s3000");
  EXPECT_EQ(index_.Previous(513), 512U);
}

TEST_F(ListIndex, SubjectsAreFoundIgnoringCaseAndTheFirstCounts) {
  Add("5:0", "News");
  Add("3:0", "news");
  Add("4:0", "");
  ASSERT_TRUE(index_.Load(list_));
  EXPECT_EQ(index_.FindSubject("NEWS"), 0U);
  EXPECT_EQ(index_.FindSubject(""), 2U);
  EXPECT_EQ(index_.FindSubject("new"), std::nullopt);
}

TEST_F(ListIndex, SubjectsAreFoundWithoutMemoryToCollectThem) {
  Add("5:0", "News");
  Add("3:0", "other");
  ASSERT_TRUE(index_.Load(list_));
  const std::string missing(100, 'x');
  {
    const test::FailingMemory memory(0);
    EXPECT_EQ(index_.FindSubject("OTHER"), 1U);
    EXPECT_EQ(index_.FindSubject(missing), std::nullopt);
    EXPECT_TRUE(memory.HasFailed());
  }
  EXPECT_EQ(index_.FindSubject("OTHER"), 1U);
}

// Against the plain list that it stands for.
TEST_F(ListIndex, FollowsRandomChanges) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto below = [&](std::size_t limit) { return random() % limit; };
  std::vector<Row> rows;
  ASSERT_TRUE(index_.Load(list_));
  DWORD next = 1;
  for (int step = 0; step < 3000; ++step) {
    const auto choice = below(10);
    if (choice < 5 || rows.empty()) {
      // Now and then a number that is there already.
      const DWORD index = below(20) == 0 && next > 1 ? 1 + static_cast<DWORD>(below(next)) : next++;
      rows.push_back({index, static_cast<DWORD>(below(3)), std::string(below(40), "sS"[below(2)])});
      index_.Append({rows.back().index, rows.back().linkId}, rows.back().subject);
    } else if (choice < 7) {
      const std::size_t at = below(rows.size());
      rows[at].linkId = static_cast<DWORD>(below(5));
      rows[at].subject = std::string(below(40), "tT"[below(2)]);
      index_.Replace(at, {rows[at].index, rows[at].linkId}, rows[at].subject);
    } else {
      const std::size_t at = choice == 7 ? below(rows.size()) : 0;
      rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(at));
      index_.Remove(at);
    }
    ASSERT_EQ(index_.Size(), rows.size());
    const DWORD wanted = 1 + static_cast<DWORD>(below(next));
    std::size_t at = 0;
    while (at < rows.size() && rows[at].index != wanted) ++at;
    const bool found = at < rows.size();
    ASSERT_EQ(index_.Find(wanted).has_value(), found);
    ASSERT_EQ(index_.Next(wanted), found && at + 1 < rows.size() ? rows[at + 1].index : kNoMessage);
    ASSERT_EQ(index_.Previous(wanted), found && at > 0 ? rows[at - 1].index : kNoMessage);
    const std::string subject(below(40), "sStT"[below(4)]);
    std::size_t named = 0;
    while (named < rows.size() && !brevant::EqualsIgnoreCase(rows[named].subject, subject)) ++named;
    ASSERT_EQ(index_.FindSubject(subject),
              named < rows.size() ? std::optional(named) : std::nullopt);
    if (found) {
      ASSERT_EQ(index_.Find(wanted), at);
      ASSERT_EQ(index_.Find(wanted, rows[at].linkId), at);
      ASSERT_EQ(index_.Find(wanted, 99), std::nullopt);
    }
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ((Row{index_.At(i).index, index_.At(i).linkId, std::string(index_.Subject(i))}),
              rows[i]);
  }
}

}  // namespace
}  // namespace board_test
