// What becomes of votes when the files of questions cannot be kept.
#include "shared/vote_counter.h"

#include "board_reading.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

using brevant::TBoardCache;
using brevant::TBoardKind;
using brevant::TVoteCounter;
using brevant::TVoteResult;

class VoteCounter : public ::testing::Test {
 protected:
  VoteCounter() {
    for (const char* name : {"First", "Second"}) {
      TSurveyQuestion* question = CreateSurveyQuestion(name, directory_.c_str());
      TMail* answer = OpenAnswer(0, nullptr);
      answer->String("SUBJECT", "Yes");
      EXPECT_NE(InsertAnswer(answer, question), 0u);
      CloseAnswer(answer);
      CloseSurveyQuestion(question);
    }
    // One file at a time: the next one commits and closes it.
    cache_ = std::make_unique<TBoardCache>(directory_, TBoardCache::TLimits{1, 1 << 30});
    cache_->SetCommitObserver([this](TBoardKind kind, const std::string& name, bool safe) {
      if (safe) {
        ledger_.Committed(kind, name);
      } else {
        ledger_.Lost(kind, name);
      }
    });
    cache_->SetCommit([this](TStorage& storage) { return failing_ ? 0 : storage.Commit(); });
    counter_ = std::make_unique<TVoteCounter>(*cache_, ledger_, false, false);
  }

  TVoteResult Vote(const std::vector<std::string>& questions, LONG number) {
    std::vector<brevant::TFormField> fields;
    for (const std::string& question : questions) fields.push_back({question, "Yes"});
    return counter_->Count(fields, "ann@example.org", number);
  }

  test::TemporaryDirectory root_;
  std::string directory_ = root_ / "";
  brevant::TFilingLedger ledger_;
  bool failing_ = false;
  std::unique_ptr<TBoardCache> cache_;
  std::unique_ptr<TVoteCounter> counter_;
};

TEST_F(VoteCounter, OneMailMayVoteOnSeveralQuestions) {
  const TVoteResult result = Vote({"First", "Second"}, 1);
  EXPECT_EQ(result.counted, 2);
  EXPECT_EQ(result.failed, "");
  EXPECT_EQ(cache_->CloseAll(), 1);
  EXPECT_FALSE(ledger_.MustStay(1));
}

TEST_F(VoteCounter, AMailStaysWhenOneOfItsQuestionsCannotBeCommitted) {
  failing_ = true;
  Vote({"First", "Second"}, 1);
  EXPECT_TRUE(ledger_.MustStay(1));
}

TEST_F(VoteCounter, NothingIsCountedForAQuestionThatWasGivenUp) {
  Vote({"First"}, 1);
  failing_ = true;
  Vote({"Second"}, 2);
  failing_ = false;
  EXPECT_TRUE(ledger_.MustStay(1));
  const TVoteResult result = Vote({"Second", "First"}, 3);
  EXPECT_EQ(result.givenUp, "First");
  EXPECT_EQ(result.counted, 0);
}

TEST_F(VoteCounter, AQuestionMayBeGivenUpWhileTheMailIsCounted) {
  Vote({"Second"}, 1);
  failing_ = true;
  // Opening the first question closes the second, whose commit fails.
  const TVoteResult result = Vote({"First", "Second"}, 2);
  EXPECT_EQ(result.givenUp, "Second");
  EXPECT_EQ(result.failed, "");
}

TEST_F(VoteCounter, CountsOfOldFilesWrapLikeAllNumbers) {
  TSurveyQuestion* question = OpenSurveyQuestion("First", directory_.c_str());
  question->Number("Total Vote Count", 0x7FFFFFFF);
  CloseSurveyQuestion(question);
  EXPECT_EQ(Vote({"First"}, 1).counted, 1);
  cache_->CloseAll();
  question = OpenSurveyQuestion("First", directory_.c_str());
  EXPECT_EQ(static_cast<DWORD>(question->Number("Total Vote Count")), 0x80000000u);
  CloseSurveyQuestion(question);
}

}  // namespace
