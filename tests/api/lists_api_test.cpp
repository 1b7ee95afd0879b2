// Resource lists, link lists and survey questions through the flat functions.
#include "board_fixture.h"
#include "support/item_families.h"

using api_test::Board;

namespace {

template <typename Family>
class Lists : public Board {
 protected:
  std::vector<std::string> Names() {
    std::vector<std::string> names;
    auto* searcher = Family::kStartSearch(Data().c_str());
    for (const char* name = Family::kFindFirst(searcher); name != nullptr;
         name = Family::kFindNext(searcher)) {
      names.emplace_back(name);
    }
    Family::kEndSearch(searcher);
    return names;
  }
  DWORD Add(typename Family::List* list, const char* subject, const std::string& content) {
    TMail* item = Family::kOpenItem(0, nullptr);
    if (item == nullptr) return 0;
    item->String("SUBJECT", subject);
    item->Content().Write(content.data(), static_cast<int>(content.size()));
    const DWORD index = Family::kInsertItem(item, list);
    Family::kCloseItem(item);
    return index;
  }
  std::string ContentOf(typename Family::List* list, DWORD index) {
    TMail* item = Family::kOpenItem(index, list);
    if (item == nullptr) return "none";
    std::string content(item->Content().Size(), '\0');
    item->Content().Read(content.data(), static_cast<int>(content.size()));
    Family::kCloseItem(item);
    return content;
  }
  std::vector<std::string> Subjects(typename Family::List* list) {
    std::vector<std::string> subjects;
    TMessageSearcher* searcher = Family::kStartItemSearch(list);
    for (TItemSearchResult found = Family::kFindFirstItem(searcher); found.subject != nullptr;
         found = Family::kFindNextItem(searcher)) {
      subjects.push_back(std::to_string(found.index) + " " + found.subject);
    }
    Family::kEndItemSearch(searcher);
    return subjects;
  }
};

TYPED_TEST_SUITE(Lists, test::ItemFamilies);

TYPED_TEST(Lists, CreateFindRenameDelete) {
  for (const char* name : {"Beta", "alpha", "a.b"}) {
    auto* list = TypeParam::kCreate(name, this->Data().c_str());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->Number("Version"), 3);
    EXPECT_STREQ(list->Extension(), TypeParam::kExtension);
    TypeParam::kClose(list);
  }
  EXPECT_EQ(this->Names(), (std::vector<std::string>{"a.b", "alpha", "Beta"}));
  EXPECT_NE(TypeParam::kRename("Beta", "Gamma", this->Data().c_str()), 0);
  EXPECT_TRUE(test::FileExists(this->Data() + "Gamma" + TypeParam::kExtension));
  EXPECT_EQ(TypeParam::kOpen("Beta", this->Data().c_str()), nullptr);
  auto* list = TypeParam::kOpen("Gamma", this->Data().c_str());
  ASSERT_NE(list, nullptr);
  EXPECT_STREQ(list->String("Name"), "Gamma");
  TypeParam::kClose(list);
  EXPECT_NE(TypeParam::kDelete("Gamma", this->Data().c_str()), 0);
  EXPECT_EQ(TypeParam::kDelete("Gamma", this->Data().c_str()), 0);
  EXPECT_EQ(this->Names(), (std::vector<std::string>{"a.b", "alpha"}));
}

TYPED_TEST(Lists, AnItemOfTheSameSubjectIsReplaced) {
  auto* list = TypeParam::kCreate("web", this->Data().c_str());
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(this->Add(list, "Alpha", "one"), 1u);
  EXPECT_EQ(this->Add(list, "Beta", "two"), 2u);
  EXPECT_EQ(this->Add(list, "ALPHA", "three"), 1u);
  EXPECT_EQ(list->Number("Message Count"), 2);
  EXPECT_EQ(list->Storage().Commit(), 1);
  TypeParam::kClose(list);
  list = TypeParam::kOpen("web", this->Data().c_str());
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(this->Subjects(list), (std::vector<std::string>{"1 ALPHA", "2 Beta"}));
  EXPECT_EQ(this->ContentOf(list, 1), "three");
  EXPECT_EQ(this->ContentOf(list, 2), "two");
  TypeParam::kClose(list);
}

TYPED_TEST(Lists, ItemsAreFoundRenamedAndRemoved) {
  auto* list = TypeParam::kCreate("web", this->Data().c_str());
  ASSERT_NE(list, nullptr);
  this->Add(list, "Alpha", "one");
  this->Add(list, "Beta", "two");
  EXPECT_EQ(TypeParam::kFindItem(list, "alpha"), 1);
  EXPECT_EQ(TypeParam::kFindItem(list, "gamma"), 0);
  TMail* item = TypeParam::kOpenItem(1, list);
  EXPECT_EQ(TypeParam::kRenameItem(item, list, "Gamma"), 1);
  TypeParam::kCloseItem(item);
  EXPECT_EQ(TypeParam::kFindItem(list, "alpha"), 0);
  EXPECT_EQ(this->Subjects(list), (std::vector<std::string>{"1 Gamma", "2 Beta"}));
  EXPECT_EQ(TypeParam::kRemoveItem(1, list), 1);
  EXPECT_EQ(TypeParam::kRemoveItem(1, list), 0);
  EXPECT_EQ(this->Subjects(list), (std::vector<std::string>{"2 Beta"}));
  TypeParam::kClose(list);
}

TYPED_TEST(Lists, NullPointersAreIgnored) {
  TypeParam::kClose(nullptr);
  TypeParam::kCloseItem(nullptr);
  TypeParam::kEndSearch(nullptr);
  TypeParam::kEndItemSearch(nullptr);
  EXPECT_EQ(TypeParam::kStartSearch(nullptr), nullptr);
  EXPECT_EQ(TypeParam::kStartItemSearch(nullptr), nullptr);
  EXPECT_EQ(TypeParam::kInsertItem(nullptr, nullptr), 0u);
  EXPECT_EQ(TypeParam::kFindItem(nullptr, "a"), 0);
  EXPECT_EQ(TypeParam::kRenameItem(nullptr, nullptr, "a"), 0);
  EXPECT_EQ(TypeParam::kRemoveItem(1, nullptr), 0);
}

class Names : public Board {};

TEST_F(Names, ArticlesAndAnswersOpenByTheirSubjects) {
  TContributor* list = CreateContributor("shops", Data().c_str());
  TSurveyQuestion* question = CreateSurveyQuestion("tea", Data().c_str());
  TMail* item = OpenArticle(0, nullptr);
  item->String("SUBJECT", "Green");
  EXPECT_EQ(InsertArticle(item, list), 1u);
  EXPECT_EQ(InsertAnswer(item, question), 1u);
  CloseArticle(item);
  TMail* article = OpenArticleByName("green", list);
  ASSERT_NE(article, nullptr);
  EXPECT_STREQ(article->String("SUBJECT"), "Green");
  CloseArticle(article);
  TMail* answer = OpenAnswerByName("GREEN", question);
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer->Number("Vote Count", 5), 1);
  CloseAnswer(answer);
  EXPECT_EQ(OpenArticleByName("black", list), nullptr);
  EXPECT_EQ(OpenAnswerByName("black", question), nullptr);
  CloseContributor(list);
  CloseSurveyQuestion(question);
}

TEST_F(Names, OnlyLinksMayShareASubject) {
  TContributor* list = CreateContributor("shops", Data().c_str());
  TLinkList* links = CreateLinkList("links", Data().c_str());
  TSurveyQuestion* question = CreateSurveyQuestion("tea", Data().c_str());
  TMail* item = OpenArticle(0, nullptr);
  for (const char* subject : {"One", "Two"}) {
    item->String("SUBJECT", subject);
    InsertArticle(item, list);
    InsertLink(item, links);
    InsertAnswer(item, question);
  }
  CloseArticle(item);
  TMail* article = OpenArticle(2, list);
  EXPECT_EQ(RenameArticle(article, list, "one"), 0);
  CloseArticle(article);
  TMail* link = OpenLink(2, links);
  EXPECT_EQ(RenameLink(link, links, "one"), 1);
  CloseLink(link);
  TMail* answer = OpenAnswer(2, question);
  EXPECT_EQ(RenameAnswer(answer, question, "one"), 0);
  CloseAnswer(answer);
  CloseContributor(list);
  CloseLinkList(links);
  CloseSurveyQuestion(question);
}

// A host's own kind of list keeps what makes it one.
class Recipes : public TContributor {
 public:
  const char* Extension() const override { return ".recipes"; }
};

TEST_F(Names, AHostsOwnListReplacesItemsToo) {
  Recipes list;
  ASSERT_EQ(list.Open("own", Data().c_str(), 2, 4096, 16), 1);
  TMail item;
  ASSERT_EQ(item.OpenTemporary(0x04000000), 1);
  item.String("SUBJECT", "Soup");
  EXPECT_EQ(list.InsertMessage(item), 1u);
  item.String("SUBJECT", "SOUP");
  EXPECT_EQ(list.InsertMessage(item), 1u);
  EXPECT_EQ(list.FindMessage("soup"), 1u);
  EXPECT_EQ(list.FindMessage("stew"), 0xFFFFFFFFu);
  EXPECT_EQ(list.Close(), 1);
  EXPECT_TRUE(test::FileExists(Data() + "own.recipes"));
}

}  // namespace
