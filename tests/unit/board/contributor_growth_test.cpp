// What an insertion reads does not grow with the list. The system counts the reads of a process.
#include "board_fixture.h"

#include <brevant/link_list.h>

#include <fstream>
#include <string>

namespace board_test {
namespace {

// The bytes that this process has read so far.
std::uint64_t BytesRead() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  std::uint64_t value = 0;
  while (counters >> name >> value) {
    if (name == "rchar:") return value;
  }
  ADD_FAILURE() << "the system does not tell";
  return 0;
}

class LinkGrowth : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(links_.Open("links", directory_.Path().c_str(), kReadWrite, kCreate, kExclusive), 1);
    links_.Number("Max Message Count", 20000);
  }
  static std::string Subject(DWORD number) { return "Link " + std::to_string(number); }
  // Inserts the links first to last and gives what that read.
  std::uint64_t InsertAll(DWORD first, DWORD last) {
    const std::uint64_t before = BytesRead();
    for (DWORD number = first; number <= last; ++number) {
      item_->String("SUBJECT", Subject(number).c_str());
      EXPECT_EQ(links_.InsertMessage(*item_), number);
    }
    EXPECT_EQ(links_.Storage().Commit(), 1);
    return BytesRead() - before;
  }

  test::TemporaryDirectory directory_;
  TLinkList links_;
  std::unique_ptr<TMail> item_ = NewMessage("");
};

TEST_F(LinkGrowth, TenThousandLinksAreInsertedAtTheCostOfATenth) {
  InsertAll(1, 1000);
  const std::uint64_t added = InsertAll(1001, 1100);
  const std::uint64_t replaced = InsertAll(501, 600);
  InsertAll(1101, 9900);
  const std::uint64_t addedLater = InsertAll(9901, 10000);
  const std::uint64_t replacedLater = InsertAll(5001, 5100);
  EXPECT_EQ(links_.Number("Message Count"), 10000);
  RecordProperty("bytes_read", std::to_string(added) + " " + std::to_string(addedLater) + " " +
                                   std::to_string(replaced) + " " + std::to_string(replacedLater));
  // The list alone has 1.28 MB by now: a single pass over it would show.
  EXPECT_LE(addedLater, 2 * added + 256 * 1024);
  EXPECT_LE(replacedLater, 2 * replaced + 256 * 1024);
}

}  // namespace
}  // namespace board_test
