// Containers whose numbers and records somebody else has written.
#include "board/list_index.h"
#include "board_fixture.h"

#include <brevant/contributor.h>

#include <algorithm>
#include <string>

namespace board_test {
namespace {

template <typename Container>
class HostileNumbers : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(Open(kCreate), 1); }
  int Open(int create) {
    container_.Close();
    return container_.Open("list", directory_.Path().c_str(), kReadWrite, create, kExclusive);
  }
  std::string BodyOf(DWORD index) {
    TMail item;
    return container_.OpenMessage(index, &item) ? Body(item) : "none";
  }

  test::TemporaryDirectory directory_;
  Container container_;
};

using Containers = testing::Types<TForum, TContributor>;
TYPED_TEST_SUITE(HostileNumbers, Containers);

TYPED_TEST(HostileNumbers, NoItemIsNumberedZero) {
  this->container_.Number("Last Message Index", -1);
  EXPECT_EQ(Insert(this->container_, "a"), 0U);
  EXPECT_EQ(Rows(this->container_).size(), 0U);
  EXPECT_EQ(this->BodyOf(0), "none");
  EXPECT_EQ(this->container_.Number("Last Message Index"), -1);
  EXPECT_EQ(this->container_.Number("Message Count"), 0);
}

TYPED_TEST(HostileNumbers, NoItemHasTheNumberThatMeansNone) {
  this->container_.Number("Last Message Index", -3);
  EXPECT_EQ(Insert(this->container_, "a"), 4294967294U) << "the last number there is";
  EXPECT_EQ(Insert(this->container_, "b"), 0U);
  EXPECT_EQ(Rows(this->container_), (std::vector<Row>{{4294967294U, 0, "a"}}));
  EXPECT_EQ(this->container_.Number("Message Count"), 1);
}

// Each of them in each property: an insertion that gives a number has filed the item under it.
TYPED_TEST(HostileNumbers, AnItemThatGotANumberIsThere) {
  for (const char* property :
       {"First Message Index", "Last Message Index", "Message Count", "Max Message Count"}) {
    for (const char* text : {"-1", "0", "2", "2147483647", "-2147483648", "no number"}) {
      SCOPED_TRACE(std::string(property) + " " + text);
      ASSERT_EQ(this->Open(kCreate), 1);
      for (const char* subject : {"a", "b", "c"}) Insert(this->container_, subject);
      ASSERT_EQ(this->container_.WriteInfo(property, text, -1), 1);
      ASSERT_EQ(this->Open(0), 1);
      for (const char* subject : {"d", "b", "e"}) {
        const DWORD index = Insert(this->container_, subject, subject);
        if (index == 0) continue;
        EXPECT_EQ(this->BodyOf(index), subject);
        const std::vector<DWORD> listed = Indices(this->container_);
        EXPECT_NE(std::find(listed.begin(), listed.end(), index), listed.end());
      }
    }
  }
}

TYPED_TEST(HostileNumbers, AContainerWithoutItsListLosesNoItem) {
  for (const char* subject : {"a", "b", "c"}) Insert(this->container_, subject);
  this->container_.Close();
  {
    const std::string path = this->directory_ / ("list" + std::string(TypeParam().Extension()));
    TStorage storage(path.c_str(), kReadWrite, 0, kExclusive);
    ASSERT_EQ(storage.DeleteElement("MESSAGE LIST"), 1);
  }
  EXPECT_EQ(this->Open(0), 0) << "what did open stays so";
  EXPECT_EQ(this->container_.RemoveMessage(2), 0);
  EXPECT_EQ(this->BodyOf(2), "body");
  EXPECT_EQ(this->container_.Number("Last Message Index"), 3);
  EXPECT_EQ(this->container_.Number("Message Count"), 3);
}

TEST(HostileRecords, ARecordWithoutNumberIsNotReplaced) {
  const test::TemporaryDirectory directory;
  TContributor list;
  ASSERT_EQ(list.Open("list", directory.Path().c_str(), kReadWrite, kCreate, kExclusive), 1);
  list.Close();
  const std::string record = RecordBytes("x", "strange");
  {
    TStorage storage((directory / "list.mwe").c_str(), kReadWrite, 0, kExclusive);
    TStream stream(storage.Interface(), "MESSAGE LIST", kReadWrite, kCreate, kExclusive);
    stream.Write(record.data(), static_cast<int>(record.size()));
  }
  ASSERT_EQ(list.Open("list", directory.Path().c_str(), kReadWrite, 0, kExclusive), 1);
  EXPECT_EQ(Insert(list, "Strange"), 0U);
  EXPECT_EQ(OpenArticleByName("strange", &list), nullptr);
  EXPECT_EQ(Insert(list, "other"), 1U);
  list.Close();
  TStorage storage((directory / "list.mwe").c_str(), kReadWrite, 0, kExclusive);
  EXPECT_EQ(StreamBytes(storage, "MESSAGE LIST"), record + RecordBytes("1:0", "other"));
}

}  // namespace
}  // namespace board_test
