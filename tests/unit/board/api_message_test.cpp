#include "board_fixture.h"
#include "support/element_times.h"

#include <cstdlib>

namespace board_test {
namespace {

class Messages : public ForumTest {};

TEST_F(Messages, TemporaryMessageCarriesTheLocalTime) {
  TMail* message = OpenMessage(0, nullptr);
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->String("SUBJECT", "writable"), 1);
  const LONG now = static_cast<LONG>(TTime::Now().UnixSeconds());
  EXPECT_LE(std::abs(now - message->Number("Creation time")), 5);
  EXPECT_EQ(message->Storage().CreationTime(), message->Storage().ModificationTime());
  CloseMessage(message);
}

TEST_F(Messages, OpenInsertedMessage) {
  auto message = NewMessage("Hello");
  EXPECT_EQ(InsertMessage(message.get(), &forum_), 1U);
  TMail* opened = OpenMessage(1, &forum_);
  ASSERT_NE(opened, nullptr);
  EXPECT_STREQ(opened->String("SUBJECT"), "Hello");
  EXPECT_EQ(OpenMessage(1, &forum_), nullptr) << "open already";
  CloseMessage(opened);
  EXPECT_EQ(OpenMessage(2, &forum_), nullptr);
}

TEST_F(Messages, InsertedTemporaryMessageKeepsItsTime) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  auto message = NewMessage("Hello");
  const TTime time = message->Storage().CreationTime();
  InsertMessage(message.get(), &forum_);
  TMail* opened = OpenMessage(1, &forum_);
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(opened->Storage().CreationTime(), time);
  EXPECT_EQ(opened->Storage().ModificationTime(), time);
  CloseMessage(opened);
}

TEST_F(Messages, NullsFail) {
  auto message = NewMessage("Hello");
  EXPECT_EQ(InsertMessage(nullptr, &forum_), 0U);
  EXPECT_EQ(InsertMessage(message.get(), nullptr), 0U);
  EXPECT_EQ(RenameMessage(nullptr, &forum_, "x"), 0);
  EXPECT_EQ(RenameMessage(message.get(), nullptr, "x"), 0);
  EXPECT_EQ(RenameMessage(message.get(), &forum_, nullptr), 0);
  EXPECT_EQ(RelinkMessage(nullptr, &forum_, 1), 0);
  EXPECT_EQ(RelinkMessage(message.get(), nullptr, 1), 0);
  EXPECT_EQ(RemoveMessage(1, nullptr), 0);
  EXPECT_EQ(OpenAnnouncement(nullptr), nullptr);
  EXPECT_EQ(StartMessageSearch(nullptr), nullptr);
  CloseMessage(nullptr);
  EndMessageSearch(nullptr);
}

TEST_F(Messages, RenameChangesListAndItem) {
  Insert(forum_, "old");
  TMail* message = OpenMessage(1, &forum_);
  EXPECT_EQ(RenameMessage(message, &forum_, "new"), 1);
  EXPECT_EQ(Rows(forum_), (std::vector<Row>{{1, 0, "new"}}));
  CloseMessage(message);
  message = OpenMessage(1, &forum_);
  EXPECT_STREQ(message->String("SUBJECT"), "new");
  CloseMessage(message);
}

TEST_F(Messages, RenameOfATemporaryMessageFails) {
  auto message = NewMessage("x");
  EXPECT_EQ(RenameMessage(message.get(), &forum_, "new"), 0);
  EXPECT_EQ(RelinkMessage(message.get(), &forum_, 1), 0);
  EXPECT_EQ(Rows(forum_).size(), 0U);
}

// The record is matched by its whole key: a link number that is not the record's adds one.
TEST_F(Messages, RenameWritesTheRecordOfTheMessagesLinkNumber) {
  Insert(forum_, "old");
  TMail* message = OpenMessage(1, &forum_);
  message->Number("LINK ID", -1);
  EXPECT_EQ(RenameMessage(message, &forum_, "new"), 1);
  CloseMessage(message);
  EXPECT_EQ(Rows(forum_), (std::vector<Row>{{1, 0, "old"}, {1, 4294967295U, "new"}}));
}

TEST_F(Messages, AnnouncementIsNeitherRenamedNorRelinked) {
  TMail* announcement = OpenAnnouncement(&forum_);
  ASSERT_NE(announcement, nullptr);
  EXPECT_EQ(RenameMessage(announcement, &forum_, "new"), 0);
  EXPECT_EQ(RelinkMessage(announcement, &forum_, 1), 0);
  EXPECT_STREQ(announcement->String("SUBJECT"), "");
  EXPECT_EQ(announcement->Number("LINK ID"), 0);
  CloseMessage(announcement);
  EXPECT_EQ(Rows(forum_).size(), 0U);
}

TEST_F(Messages, RelinkReplacesTheRecordOfTheMessage) {
  Insert(forum_, "a");
  Insert(forum_, "b");
  TMail* message = OpenMessage(2, &forum_);
  EXPECT_EQ(RelinkMessage(message, &forum_, 1), 1);
  EXPECT_EQ(Rows(forum_), (std::vector<Row>{{1, 0, "a"}, {2, 1, "b"}}));
  CloseMessage(message);
  message = OpenMessage(2, &forum_);
  EXPECT_EQ(message->Number("LINK ID"), 1);
  EXPECT_EQ(RenameMessage(message, &forum_, "c"), 1);
  EXPECT_EQ(Rows(forum_), (std::vector<Row>{{1, 0, "a"}, {2, 1, "c"}}));
  CloseMessage(message);
}

TEST_F(Messages, Remove) {
  Insert(forum_, "a");
  EXPECT_EQ(RemoveMessage(1, &forum_), 1);
  EXPECT_EQ(RemoveMessage(1, &forum_), 0);
}

TEST_F(Messages, Announcement) {
  TMail* announcement = OpenAnnouncement(&forum_);
  ASSERT_NE(announcement, nullptr);
  announcement->String("SUBJECT", "News");
  EXPECT_EQ(OpenAnnouncement(&forum_), nullptr) << "open already";
  CloseMessage(announcement);
  announcement = OpenAnnouncement(&forum_);
  ASSERT_NE(announcement, nullptr);
  EXPECT_STREQ(announcement->String("SUBJECT"), "News");
  CloseMessage(announcement);
}

TEST_F(Messages, SearchOfAnEmptyForum) {
  TMessageSearcher* searcher = StartMessageSearch(&forum_);
  ASSERT_NE(searcher, nullptr);
  const TMessageSearchResult result = FindFirstMessage(searcher);
  EXPECT_EQ(result.subject, nullptr);
  EXPECT_EQ(result.index, 0U);
  EndMessageSearch(searcher);
}

TEST_F(Messages, SearchGivesAscendingIndices) {
  for (const char* subject : {"a", "b", "c"}) Insert(forum_, subject);
  TMail* message = OpenMessage(3, &forum_);
  RelinkMessage(message, &forum_, 2);
  CloseMessage(message);
  TMessageSearcher* searcher = StartMessageSearch(&forum_);
  TMessageSearchResult result = FindFirstMessage(searcher);
  EXPECT_STREQ(result.subject, "a");
  EXPECT_EQ(result.index, 1U);
  EXPECT_EQ(FindNextMessage(searcher).index, 2U);
  result = FindNextMessage(searcher);
  EXPECT_STREQ(result.subject, "c");
  EXPECT_EQ(result.linkId, 2U);
  result = FindNextMessage(searcher);
  EXPECT_EQ(result.subject, nullptr);
  EXPECT_EQ(result.index, 0U);
  EXPECT_EQ(result.linkId, 0U);
  EXPECT_EQ(FindFirstMessage(searcher).index, 1U) << "begins again";
  EndMessageSearch(searcher);
}

TEST_F(Messages, SearchGoesOnWhenTheMessageAtHandIsChanged) {
  for (const char* subject : {"a", "b", "c"}) Insert(forum_, subject);
  TMessageSearcher* searcher = StartMessageSearch(&forum_);
  FindFirstMessage(searcher);
  ASSERT_EQ(FindNextMessage(searcher).index, 2U);
  TMail* message = OpenMessage(2, &forum_);
  EXPECT_EQ(RenameMessage(message, &forum_, "new"), 1);
  EXPECT_EQ(RelinkMessage(message, &forum_, 1), 1);
  CloseMessage(message);
  EXPECT_EQ(FindNextMessage(searcher).index, 3U);
  EXPECT_EQ(FindNextMessage(searcher).subject, nullptr);
  EndMessageSearch(searcher);
}

TEST_F(Messages, SearchWithNull) {
  EXPECT_EQ(FindFirstMessage(nullptr).subject, nullptr);
  EXPECT_EQ(FindNextMessage(nullptr).subject, nullptr);
}

}  // namespace
}  // namespace board_test
