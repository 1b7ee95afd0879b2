// Compound files written by another implementation, opened as forums.
#include "board/list_index.h"
#include "board_fixture.h"

#include <filesystem>

namespace board_test {
namespace {

class Golden : public testing::Test {
 protected:
  // A copy, since opening an old forum changes it.
  int OpenCopy(const char* name) {
    const std::string from = std::string(BREVANT_GOLDEN_DIRECTORY) + "/compound/" + name + ".mwd";
    test::WriteFileBytes(directory_ / (std::string(name) + ".mwd"), test::ReadFileBytes(from));
    return forum_.Open(name, directory_.Path().c_str(), kReadWrite, 0, kExclusive);
  }

  test::TemporaryDirectory directory_;
  TForum forum_;
};

TEST_F(Golden, ThreeMessages) {
  ASSERT_EQ(OpenCopy("three"), 1);
  EXPECT_EQ(Indices(forum_), (std::vector<DWORD>{1, 2, 3}));
  const int sizes[] = {10, 4095, 5000};
  for (DWORD i = 1; i <= 3; ++i) {
    TMail message;
    ASSERT_EQ(forum_.OpenMessage(i, &message), 1);
    EXPECT_EQ(message.Content().Size(), static_cast<DWORD>(sizes[i - 1]));
    EXPECT_EQ(Body(message).substr(0, 10), "line 00000");
    EXPECT_STRNE(message.String("SUBJECT"), "");
    EXPECT_EQ(forum_.MessageIndex().Subject(i - 1), message.String("SUBJECT"));
  }
  EXPECT_EQ(forum_.OpenList("MAILING LIST", 256), 1);
}

TEST_F(Golden, ThreeMessagesTakeAFourth) {
  ASSERT_EQ(OpenCopy("three"), 1);
  const auto before = Rows(forum_);
  const DWORD index = Insert(forum_, "fourth");
  EXPECT_EQ(index, 4U);
  forum_.Close();
  ASSERT_EQ(forum_.Open("three", directory_.Path().c_str(), kReadWrite, 0, kExclusive), 1);
  auto expected = before;
  expected.push_back({4, 0, "fourth"});
  EXPECT_EQ(Rows(forum_), expected);
}

TEST_F(Golden, ManyElementsWithoutAListAreAnOldForum) {
  // There is no version, so the list is made; the range of message numbers is empty.
  ASSERT_EQ(OpenCopy("many"), 1);
  EXPECT_EQ(forum_.Number("Version"), 3);
  EXPECT_EQ(Rows(forum_).size(), 0U);
  TMail message;
  EXPECT_EQ(forum_.OpenMessage(300, &message), 1);
}

TEST_F(Golden, ManyElementsWithARangeAreListed) {
  ASSERT_EQ(OpenCopy("many"), 1);
  forum_.Number("Version", 1);
  forum_.Number("Last Message Index", 300);
  forum_.Close();
  ASSERT_EQ(forum_.Open("many", directory_.Path().c_str(), kReadWrite, 0, kExclusive), 1);
  const auto indices = Indices(forum_);
  ASSERT_EQ(indices.size(), 300U);
  for (DWORD i = 0; i < 300; ++i) EXPECT_EQ(indices[i], i + 1);
}

TEST_F(Golden, DeletedElementsAreGaps) {
  ASSERT_EQ(OpenCopy("deleted"), 1);
  forum_.Number("Version", 1);
  forum_.Number("Last Message Index", 300);
  forum_.Close();
  ASSERT_EQ(forum_.Open("deleted", directory_.Path().c_str(), kReadWrite, 0, kExclusive), 1);
  const auto indices = Indices(forum_);
  ASSERT_EQ(indices.size(), 98U) << "1 to 49 and 251 to 299";
  EXPECT_EQ(indices[48], 49U);
  EXPECT_EQ(indices[49], 251U);
  EXPECT_EQ(forum_.Number("Message Count"), 300);
}

}  // namespace
}  // namespace board_test
