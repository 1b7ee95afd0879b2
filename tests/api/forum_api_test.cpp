// Forums, messages and mailing lists through the flat functions.
#include "board_fixture.h"

using api_test::Board;

namespace {

class Forums : public Board {
 protected:
  std::vector<std::string> Names(const std::string& directory) {
    std::vector<std::string> names;
    TForumSearcher* searcher = StartForumSearch(directory.c_str());
    for (const char* name = FindFirstForum(searcher); name != nullptr;
         name = FindNextForum(searcher)) {
      names.emplace_back(name);
    }
    EndForumSearch(searcher);
    return names;
  }
  DWORD Post(TForum* forum, const char* subject, const std::string& content = "text") {
    TMail* message = OpenMessage(0, nullptr);
    if (message == nullptr) return 0;
    message->String("SUBJECT", subject);
    message->Content().Write(content.data(), static_cast<int>(content.size()));
    DWORD index = InsertMessage(message, forum);
    CloseMessage(message);
    return index;
  }
};

TEST_F(Forums, CreateFindRenameDelete) {
  for (const char* name : {"Beta", "alpha", "a.b"}) {
    TForum* forum = CreateForum(name, Data().c_str());
    ASSERT_NE(forum, nullptr);
    EXPECT_EQ(forum->Number("Version"), 3);
    CloseForum(forum);
  }
  EXPECT_EQ(Names(Data()), (std::vector<std::string>{"a.b", "alpha", "Beta"}));
  EXPECT_EQ(Names(Data().substr(0, Data().size() - 1)), Names(Data()));
  EXPECT_NE(RenameForum("Beta", "Gamma", Data().c_str()), 0);
  EXPECT_EQ(OpenForum("Beta", Data().c_str()), nullptr);
  TForum* forum = OpenForum("Gamma", Data().c_str());
  ASSERT_NE(forum, nullptr);
  EXPECT_STREQ(forum->String("Name"), "Gamma");
  CloseForum(forum);
  EXPECT_NE(DeleteForum("Gamma", Data().c_str()), 0);
  EXPECT_EQ(DeleteForum("Gamma", Data().c_str()), 0);
  EXPECT_EQ(Names(Data()), (std::vector<std::string>{"a.b", "alpha"}));
}

TEST_F(Forums, AnEmptyDirectoryHasNoForums) { EXPECT_TRUE(Names(Data()).empty()); }

TEST_F(Forums, ADirectoryWithTheExtensionIsNoForum) {
  std::filesystem::create_directory(Data() + "trap.mwd");
  EXPECT_TRUE(Names(Data()).empty());
}

TEST_F(Forums, AnOpenForumIsNotOpenedTwice) {
  TForum* forum = CreateForum("One", Data().c_str());
  EXPECT_EQ(OpenForum("One", Data().c_str()), nullptr);
  CloseForum(forum);
}

TEST_F(Forums, AFileThatIsNoCompoundDocumentDoesNotOpenAndIsLeftAlone) {
  test::WriteFileBytes(Data() + "bad.mwd", "this is no compound document");
  EXPECT_EQ(OpenForum("bad", Data().c_str()), nullptr);
  EXPECT_EQ(test::ReadFileBytes(Data() + "bad.mwd"), "this is no compound document");
}

TEST_F(Forums, NullPointersAreIgnored) {
  CloseForum(nullptr);
  CloseMessage(nullptr);
  EXPECT_EQ(InsertMessage(nullptr, nullptr), 0u);
}

TEST_F(Forums, TheSeventeenthMessageDropsTheFirst) {
  TForum* forum = CreateForum("Talk", Data().c_str());
  for (DWORD i = 1; i <= 17; ++i) ASSERT_EQ(Post(forum, "s"), i);
  EXPECT_EQ(forum->Number("Message Count"), 16);
  EXPECT_EQ(forum->Number("First Message Index"), 2);
  EXPECT_EQ(OpenMessage(1, forum), nullptr);
  CloseForum(forum);
}

TEST_F(Forums, AMessageReadsBackAfterTheForumWasClosed) {
  TForum* forum = CreateForum("Talk", Data().c_str());
  ASSERT_EQ(Post(forum, "Hello", "the content"), 1u);
  EXPECT_EQ(forum->Storage().Commit(), 1);
  CloseForum(forum);
  forum = OpenForum("Talk", Data().c_str());
  TMail* message = OpenMessage(1, forum);
  ASSERT_NE(message, nullptr);
  EXPECT_STREQ(message->String("SUBJECT"), "Hello");
  EXPECT_STREQ(message->String("Charset"), "iso-8859-1");
  char text[64] = {};
  EXPECT_EQ(message->Content().Read(text, sizeof text), 11);
  EXPECT_STREQ(text, "the content");
  CloseMessage(message);
  CloseForum(forum);
}

TEST_F(Forums, SearchRenameRelinkRemove) {
  TForum* forum = CreateForum("Talk", Data().c_str());
  Post(forum, "one");
  Post(forum, "two");
  Post(forum, "three");
  TMail* message = OpenMessage(2, forum);
  EXPECT_EQ(RenameMessage(message, forum, "zwei"), 1);
  EXPECT_EQ(RelinkMessage(message, forum, 1), 1);
  CloseMessage(message);
  EXPECT_EQ(RemoveMessage(1, forum), 1);
  TMessageSearcher* searcher = StartMessageSearch(forum);
  TMessageSearchResult found = FindFirstMessage(searcher);
  ASSERT_NE(found.subject, nullptr);
  EXPECT_STREQ(found.subject, "zwei");
  EXPECT_EQ(found.index, 2u);
  EXPECT_EQ(found.linkId, 1u);
  found = FindNextMessage(searcher);
  EXPECT_STREQ(found.subject, "three");
  found = FindNextMessage(searcher);
  EXPECT_EQ(found.subject, nullptr);
  EXPECT_EQ(found.index, 0u);
  EndMessageSearch(searcher);
  CloseForum(forum);
}

TEST_F(Forums, TheAnnouncementIsMadeOnFirstUse) {
  TForum* forum = CreateForum("Talk", Data().c_str());
  TMail* announcement = OpenAnnouncement(forum);
  ASSERT_NE(announcement, nullptr);
  EXPECT_EQ(announcement->String("SUBJECT", "Read this"), 1);
  CloseMessage(announcement);
  announcement = OpenAnnouncement(forum);
  ASSERT_NE(announcement, nullptr);
  EXPECT_STREQ(announcement->String("SUBJECT"), "Read this");
  CloseMessage(announcement);
  CloseForum(forum);
}

TEST_F(Forums, MailingListsAddFindRenameRemove) {
  TForum* forum = CreateForum("Talk", Data().c_str());
  EXPECT_STREQ(GetMailingListName("a@example.org", forum), "");
  EXPECT_EQ(AddMailingList("a@example.org", "Ann", forum), 1);
  EXPECT_EQ(AddMailingList("b@example.org", "Bob", forum), 1);
  EXPECT_STREQ(GetMailingListName("A@EXAMPLE.ORG", forum), "Ann");
  // An entry that is there is not renamed; one that is not is added.
  EXPECT_EQ(RenameMailingList("a@example.org", "Anna", forum), 0);
  EXPECT_STREQ(GetMailingListName("a@example.org", forum), "Ann");
  EXPECT_EQ(RenameMailingList("c@example.org", "Cid", forum), 1);
  EXPECT_EQ(FindMailingList("c@example.org", forum), 1);
  EXPECT_EQ(RemoveMailingList("b@example.org", forum), 1);
  EXPECT_EQ(FindMailingList("b@example.org", forum), 0);
  std::vector<std::string> keys;
  TListItemSearcher* searcher = StartMailingListSearch(forum);
  for (TMailingListSearchResult found = FindFirstMailingList(searcher); found.key != nullptr;
       found = FindNextMailingList(searcher)) {
    keys.push_back(std::string(found.key) + "=" + found.name);
  }
  EndMailingListSearch(searcher);
  EXPECT_EQ(keys, (std::vector<std::string>{"a@example.org=Ann", "c@example.org=Cid"}));
  CloseForum(forum);
}

}  // namespace
