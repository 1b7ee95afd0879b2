// In what articles, links and answers differ.
#include "board_fixture.h"

#include <brevant/contributor.h>
#include <brevant/link_list.h>
#include <brevant/survey_question.h>

namespace board_test {
namespace {

class ItemDifferences : public testing::Test {
 protected:
  void SetUp() override {
    list_ = CreateContributor("list", directory_.Path().c_str());
    links_ = CreateLinkList("links", directory_.Path().c_str());
    question_ = CreateSurveyQuestion("question", directory_.Path().c_str());
    ASSERT_TRUE(list_ != nullptr && links_ != nullptr && question_ != nullptr);
    for (TContributor* each :
         {list_, static_cast<TContributor*>(links_), static_cast<TContributor*>(question_)}) {
      Insert(*each, "One", "first");
      Insert(*each, "Two", "second");
    }
  }
  void TearDown() override {
    CloseContributor(list_);
    CloseLinkList(links_);
    CloseSurveyQuestion(question_);
  }

  const std::vector<Row> unchanged_ = {{1, 0, "One"}, {2, 0, "Two"}};
  test::TemporaryDirectory directory_;
  TContributor* list_ = nullptr;
  TLinkList* links_ = nullptr;
  TSurveyQuestion* question_ = nullptr;
};

TEST_F(ItemDifferences, ArticleIsNotRenamedToASubjectInUse) {
  TMail* article = OpenArticle(2, list_);
  EXPECT_EQ(RenameArticle(article, list_, "one"), 0);
  EXPECT_STREQ(article->String("SUBJECT"), "Two");
  CloseArticle(article);
  EXPECT_EQ(Rows(*list_), unchanged_);
}

TEST_F(ItemDifferences, ArticleIsNotRenamedToItsOwnSubject) {
  TMail* article = OpenArticle(2, list_);
  EXPECT_EQ(RenameArticle(article, list_, "Two"), 0);
  EXPECT_EQ(RenameArticle(article, list_, "TWO"), 0);
  CloseArticle(article);
  EXPECT_EQ(Rows(*list_), unchanged_);
}

TEST_F(ItemDifferences, AnswerIsNotRenamedToASubjectInUse) {
  TMail* answer = OpenAnswer(2, question_);
  EXPECT_EQ(RenameAnswer(answer, question_, "ONE"), 0);
  EXPECT_EQ(RenameAnswer(answer, question_, "two"), 0);
  EXPECT_STREQ(answer->String("SUBJECT"), "Two");
  CloseAnswer(answer);
  EXPECT_EQ(Rows(*question_), unchanged_);
}

TEST_F(ItemDifferences, LinkIsRenamedToASubjectInUse) {
  TMail* link = OpenLink(2, links_);
  EXPECT_EQ(RenameLink(link, links_, "One"), 1);
  EXPECT_STREQ(link->String("SUBJECT"), "One");
  CloseLink(link);
  EXPECT_EQ(Rows(*links_), (std::vector<Row>{{1, 0, "One"}, {2, 0, "One"}}));
}

TEST_F(ItemDifferences, OfLinksWithOneSubjectTheFirstIsReplaced) {
  TMail* link = OpenLink(2, links_);
  ASSERT_EQ(RenameLink(link, links_, "One"), 1);
  CloseLink(link);
  EXPECT_EQ(Insert(*links_, "one"), 1U);
  EXPECT_EQ(Rows(*links_), (std::vector<Row>{{1, 0, "one"}, {2, 0, "One"}}));
  EXPECT_EQ(RemoveLink(1, links_), 1);
  EXPECT_EQ(FindLink(links_, "ONE"), 1);
  EXPECT_EQ(Insert(*links_, "one"), 2U);
}

// A host's own kind of link list.
class UniqueLinks : public TLinkList {
 public:
  int RenameItem(TMail& item, const char* subject) override {
    return FindMessage(subject) == 0xFFFFFFFF ? TLinkList::RenameItem(item, subject) : 0;
  }
};

TEST_F(ItemDifferences, RenamingALinkIsTheListsOwn) {
  UniqueLinks links;
  ASSERT_EQ(links.Open("own", directory_.Path().c_str(), kReadWrite, kCreate, kExclusive), 1);
  Insert(links, "One");
  Insert(links, "Two");
  TMail* link = OpenLink(2, &links);
  EXPECT_EQ(RenameLink(link, &links, "One"), 0);
  EXPECT_EQ(RenameLink(link, &links, "Three"), 1);
  CloseLink(link);
}

TEST_F(ItemDifferences, ArticleByName) {
  TMail* article = OpenArticleByName("TWO", list_);
  ASSERT_NE(article, nullptr);
  EXPECT_EQ(Body(*article), "second");
  EXPECT_EQ(OpenArticleByName("Two", list_), nullptr) << "open already";
  CloseArticle(article);
  EXPECT_EQ(OpenArticleByName("Three", list_), nullptr);
  EXPECT_EQ(OpenArticleByName("Two", nullptr), nullptr);
  EXPECT_EQ(OpenArticleByName(nullptr, list_), nullptr);
}

TEST_F(ItemDifferences, AnswerByName) {
  TMail* answer = OpenAnswerByName("one", question_);
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(Body(*answer), "first");
  CloseAnswer(answer);
  EXPECT_EQ(OpenAnswerByName("Three", question_), nullptr);
  EXPECT_EQ(OpenAnswerByName("One", nullptr), nullptr);
  EXPECT_EQ(OpenAnswerByName(nullptr, question_), nullptr);
}

TEST_F(ItemDifferences, VotesAreDecimalTextInInfoRecords) {
  TMail* answer = OpenAnswer(1, question_);
  EXPECT_EQ(answer->Number("Vote Count"), 0);
  EXPECT_EQ(answer->Number("Vote Count", 12), 1);
  CloseAnswer(answer);
  EXPECT_EQ(question_->Number("Total Vote Count", 30), 1);
  CloseSurveyQuestion(question_);
  {
    TStorage storage((directory_ / "question.mwg").c_str(), kReadWrite, 0, kExclusive);
    EXPECT_NE(StreamBytes(storage, "INFO").find(RecordBytes("Total Vote Count", "30")),
              std::string::npos);
    TStorage item(storage.Interface(), "1", kReadWrite, 0, kExclusive);
    EXPECT_NE(StreamBytes(item, "INFO").find(RecordBytes("Vote Count", "12")), std::string::npos);
  }
  question_ = OpenSurveyQuestion("question", directory_.Path().c_str());
  ASSERT_NE(question_, nullptr);
  EXPECT_EQ(question_->Number("Total Vote Count"), 30);
  answer = OpenAnswer(1, question_);
  EXPECT_EQ(answer->Number("Vote Count"), 12);
  CloseAnswer(answer);
}

TEST_F(ItemDifferences, VotersAreAListOfTheQuestion) {
  ASSERT_EQ(question_->CreateList("Voter E-mail", 128), 1);
  EXPECT_EQ(question_->WriteListItem("ann@example.org", "One", -1), 1);
  EXPECT_EQ(question_->WriteListItem("bob@example.org", "Two", -1), 1);
  question_->CloseList();
  EXPECT_EQ(StreamBytes(question_->Storage(), "Voter E-mail"),
            RecordBytes("ann@example.org", "One") + RecordBytes("bob@example.org", "Two"));
  EXPECT_EQ(Rows(*question_), unchanged_);
}

}  // namespace
}  // namespace board_test
