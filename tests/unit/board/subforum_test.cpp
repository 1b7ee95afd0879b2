// Forums inside a forum.
#include "board_fixture.h"

namespace board_test {
namespace {

using SubForum = ForumTest;

TEST_F(SubForum, InsertOpenAndRemove) {
  TForum source;
  ASSERT_EQ(source.OpenTemporary(kDeleteOnRelease), 1);
  EXPECT_EQ(source.Number("Version"), 3);
  source.String("Description", "inner");
  Insert(source, "inside");
  EXPECT_EQ(forum_.InsertSubForum("cars", source), 1);
  TForum inner;
  ASSERT_EQ(forum_.OpenSubForum("cars", &inner), 1);
  EXPECT_STREQ(inner.String("Name"), "cars");
  EXPECT_STREQ(inner.String("Description"), "inner");
  EXPECT_EQ(Rows(inner), (std::vector<Row>{{1, 0, "inside"}}));
  EXPECT_EQ(Insert(inner, "more"), 2U);
  inner.Close();
  ASSERT_EQ(forum_.OpenList("SUBFORUM LIST", 32), 1);
  char key[32];
  EXPECT_EQ(forum_.ReadNextListItem(key, sizeof key, nullptr, 0), 1);
  EXPECT_STREQ(key, "cars");
  forum_.CloseList();
  EXPECT_EQ(forum_.RemoveSubForum("cars"), 1);
  EXPECT_EQ(forum_.OpenSubForum("cars", &inner), 0);
  EXPECT_EQ(forum_.RemoveSubForum("cars"), 0);
  ASSERT_EQ(forum_.OpenList("SUBFORUM LIST", 32), 1);
  EXPECT_EQ(forum_.ReadNextListItem(key, sizeof key, nullptr, 0), 0);
}

TEST_F(SubForum, ListByteForByte) {
  TForum source;
  ASSERT_EQ(source.OpenTemporary(kDeleteOnRelease), 1);
  forum_.InsertSubForum("cars", source);
  forum_.InsertSubForum("boats", source);
  EXPECT_EQ(StreamBytes(forum_.Storage(), "SUBFORUM LIST"),
            RecordBytes("cars", "", 32) + RecordBytes("boats", "", 32));
}

TEST_F(SubForum, SucceedsWithoutItsListEntry) {
  TForum source;
  ASSERT_EQ(source.OpenTemporary(kDeleteOnRelease), 1);
  ASSERT_EQ(forum_.CreateList("OTHER", 32), 1);
  EXPECT_EQ(forum_.InsertSubForum("cars", source), 1) << "the list slot is in use";
  forum_.CloseList();
  EXPECT_EQ(forum_.OpenList("SUBFORUM LIST", 32), 0);
}

TEST_F(SubForum, Failures) {
  TForum closed;
  EXPECT_EQ(forum_.InsertSubForum("cars", closed), 0);
  EXPECT_EQ(forum_.OpenSubForum("missing", &closed), 0);
  EXPECT_EQ(forum_.OpenSubForum("missing", nullptr), 0);
  EXPECT_EQ(forum_.InsertSubForum(nullptr, closed), 0);
}

}  // namespace
}  // namespace board_test
