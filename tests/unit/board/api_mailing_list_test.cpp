#include "board_fixture.h"

namespace board_test {
namespace {

class MailingLists : public ForumTest {
 protected:
  std::vector<std::string> Entries(TListItemSearcher* searcher) {
    std::vector<std::string> entries;
    for (auto entry = FindFirstMailingList(searcher); entry.key != nullptr;
         entry = FindNextMailingList(searcher)) {
      entries.push_back(std::string(entry.key) + "=" + entry.name);
    }
    return entries;
  }
};

TEST_F(MailingLists, NoListYet) {
  EXPECT_STREQ(GetMailingListName("a", &forum_), "");
  EXPECT_EQ(FindMailingList("a", &forum_), 0);
  EXPECT_EQ(RemoveMailingList("a", &forum_), 0);
  EXPECT_EQ(RenameMailingList("a", "x", &forum_), 0);
  EXPECT_EQ(forum_.OpenList("MAILING LIST", 256), 0) << "none of these made one";
}

TEST_F(MailingLists, AddAndFind) {
  EXPECT_EQ(AddMailingList("ann@example.org", "Ann", &forum_), 1);
  EXPECT_EQ(FindMailingList("ANN@example.org", &forum_), 1);
  EXPECT_EQ(FindMailingList("bob@example.org", &forum_), 0);
  EXPECT_STREQ(GetMailingListName("ann@EXAMPLE.org", &forum_), "Ann");
  EXPECT_STREQ(GetMailingListName("bob@example.org", &forum_), "");
}

TEST_F(MailingLists, RecordsByteForByte) {
  AddMailingList("a", "Ann", &forum_);
  AddMailingList("b", "Bob", &forum_);
  EXPECT_EQ(StreamBytes(forum_.Storage(), "MAILING LIST"),
            RecordBytes("a", "Ann", 256) + RecordBytes("b", "Bob", 256));
}

TEST_F(MailingLists, AddOverwrites) {
  AddMailingList("a", "Ann", &forum_);
  EXPECT_EQ(AddMailingList("A", "Other", &forum_), 1);
  EXPECT_STREQ(GetMailingListName("a", &forum_), "Other");
  EXPECT_EQ(StreamBytes(forum_.Storage(), "MAILING LIST").size(), 256U);
}

TEST_F(MailingLists, RenameOfAnExistingKeyKeepsTheName) {
  AddMailingList("a", "Ann", &forum_);
  EXPECT_EQ(RenameMailingList("a", "Other", &forum_), 0);
  EXPECT_STREQ(GetMailingListName("a", &forum_), "Ann");
}

TEST_F(MailingLists, RenameOfANewKeyAddsIt) {
  AddMailingList("a", "Ann", &forum_);
  EXPECT_EQ(RenameMailingList("b", "Bob", &forum_), 1);
  EXPECT_STREQ(GetMailingListName("b", &forum_), "Bob");
}

TEST_F(MailingLists, Remove) {
  AddMailingList("a", "Ann", &forum_);
  AddMailingList("b", "Bob", &forum_);
  EXPECT_EQ(RemoveMailingList("a", &forum_), 1);
  EXPECT_EQ(FindMailingList("a", &forum_), 0);
  EXPECT_EQ(FindMailingList("b", &forum_), 1);
  EXPECT_EQ(RemoveMailingList("a", &forum_), 1) << "the list could be opened";
}

TEST_F(MailingLists, NameIsCutToItsBuffer) {
  AddMailingList("a", std::string(200, 'n').c_str(), &forum_);
  EXPECT_EQ(std::string(GetMailingListName("a", &forum_)), std::string(127, 'n'));
}

TEST_F(MailingLists, NameHoldsUntilTheNextCall) {
  AddMailingList("a", "Ann", &forum_);
  const char* const name = GetMailingListName("a", &forum_);
  FindMailingList("b", &forum_);
  EXPECT_STREQ(name, "Ann");
  EXPECT_EQ(GetMailingListName("missing", &forum_), name) << "one buffer";
  EXPECT_STREQ(name, "");
}

TEST_F(MailingLists, NullForumFails) {
  EXPECT_STREQ(GetMailingListName("a", nullptr), "");
  EXPECT_EQ(AddMailingList("a", "b", nullptr), 0);
  EXPECT_EQ(RenameMailingList("a", "b", nullptr), 0);
  EXPECT_EQ(RemoveMailingList("a", nullptr), 0);
  EXPECT_EQ(FindMailingList("a", nullptr), 0);
  EXPECT_EQ(StartMailingListSearch(nullptr), nullptr);
  EXPECT_EQ(FindFirstMailingList(nullptr).key, nullptr);
  EXPECT_EQ(FindNextMailingList(nullptr).name, nullptr);
  EndMailingListSearch(nullptr);
}

TEST_F(MailingLists, NullKeyFails) {
  AddMailingList("a", "Ann", &forum_);
  EXPECT_STREQ(GetMailingListName(nullptr, &forum_), "");
  EXPECT_EQ(AddMailingList(nullptr, "b", &forum_), 0);
  EXPECT_EQ(RenameMailingList(nullptr, "b", &forum_), 0);
  EXPECT_EQ(RemoveMailingList(nullptr, &forum_), 0);
  EXPECT_EQ(FindMailingList(nullptr, &forum_), 0);
}

TEST_F(MailingLists, NullNameFails) {
  AddMailingList("a", "Ann", &forum_);
  EXPECT_EQ(AddMailingList("a", nullptr, &forum_), 0);
  EXPECT_EQ(AddMailingList("b", nullptr, &forum_), 0);
  EXPECT_EQ(RenameMailingList("b", nullptr, &forum_), 0);
  EXPECT_STREQ(GetMailingListName("a", &forum_), "Ann");
  EXPECT_EQ(FindMailingList("b", &forum_), 0);
}

// As everywhere in a forum's lists.
TEST_F(MailingLists, KeyThatEndsInAStarMeansTheFirstWithThatPrefix) {
  for (const char* key : {"bob@a", "ann@a", "ann@b"}) AddMailingList(key, key, &forum_);
  EXPECT_STREQ(GetMailingListName("ANN*", &forum_), "ann@a");
  EXPECT_EQ(FindMailingList("c*", &forum_), 0);
  EXPECT_EQ(RenameMailingList("ann*", "other", &forum_), 0);
  EXPECT_EQ(RemoveMailingList("ann*", &forum_), 1);
  EXPECT_EQ(FindMailingList("ann@a", &forum_), 0);
  EXPECT_EQ(FindMailingList("ann@b", &forum_), 1);
  EXPECT_EQ(AddMailingList("b*", "Bob", &forum_), 1);
  EXPECT_EQ(StreamBytes(forum_.Storage(), "MAILING LIST"),
            RecordBytes("b*", "Bob", 256) + RecordBytes("ann@b", "ann@b", 256));
}

TEST_F(MailingLists, Search) {
  AddMailingList("a", "Ann", &forum_);
  AddMailingList("b", "Bob", &forum_);
  TListItemSearcher* searcher = StartMailingListSearch(&forum_);
  ASSERT_NE(searcher, nullptr);
  EXPECT_EQ(Entries(searcher), (std::vector<std::string>{"a=Ann", "b=Bob"}));
  EXPECT_EQ(FindNextMailingList(searcher).name, nullptr);
  EXPECT_EQ(Entries(searcher), (std::vector<std::string>{"a=Ann", "b=Bob"})) << "begins again";
  EndMailingListSearch(searcher);
  EXPECT_EQ(forum_.OpenList("MAILING LIST", 256), 1) << "the slot is free again";
}

TEST_F(MailingLists, SearchWithoutLists) {
  TListItemSearcher* searcher = StartMailingListSearch(&forum_);
  const TMailingListSearchResult result = FindFirstMailingList(searcher);
  EXPECT_EQ(result.key, nullptr);
  EXPECT_EQ(result.name, nullptr);
  EXPECT_EQ(FindNextMailingList(searcher).key, nullptr);
  EndMailingListSearch(searcher);
}

TEST_F(MailingLists, SearchHoldsTheSlot) {
  AddMailingList("a", "Ann", &forum_);
  TListItemSearcher* searcher = StartMailingListSearch(&forum_);
  FindFirstMailingList(searcher);
  EXPECT_EQ(AddMailingList("b", "Bob", &forum_), 0);
  EXPECT_EQ(FindMailingList("a", &forum_), 0);
  EndMailingListSearch(searcher);
  EXPECT_EQ(FindMailingList("a", &forum_), 1);
  EXPECT_EQ(FindMailingList("b", &forum_), 0);
}

TEST_F(MailingLists, SearchLeavesAListAloneThatIsNotItsOwn) {
  AddMailingList("a", "Ann", &forum_);
  ASSERT_EQ(forum_.CreateList("OTHER", 32), 1);
  TListItemSearcher* searcher = StartMailingListSearch(&forum_);
  EXPECT_EQ(FindFirstMailingList(searcher).key, nullptr);
  EndMailingListSearch(searcher);
  EXPECT_EQ(forum_.WriteListItem("k", "v", -1), 1) << "still open";
}

}  // namespace
}  // namespace board_test
