// Votes that arrive as the fields of a form.
#pragma once

#include "shared/board_cache.h"
#include "shared/filing_ledger.h"
#include "shared/form_data.h"

#include <brevant/contributor.h>

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace brevant {

struct TVoteResult {
  int counted = 0;
  std::string failed;   // a question whose votes could not be written; empty when there is none
  std::string givenUp;  // a question whose file was given up: nothing was counted
};

class TVoteCounter {
 public:
  // With decodeText the texts of fields are UTF-8, and answers are compared as the characters they
  // are. keepVoters: whether who voted is recorded.
  TVoteCounter(TBoardCache& cache, TFilingLedger& ledger, bool decodeText, bool keepVoters)
      : cache_(cache), ledger_(ledger), decodeText_(decodeText), keepVoters_(keepVoters) {}

  // Counts the votes of message number. A field's name is an existing question and its value one of
  // the question's answers, in any letter case; other fields mean nothing. One mail gives an answer
  // one vote, so that the two forms of a text count once; another mail gives it another. voter: the
  // mail's From header.
  TVoteResult Count(const std::vector<TFormField>& fields, const std::string& voter, LONG number);

 private:
  struct TBallot {
    std::string question;
    std::vector<std::string> values;
  };

  std::vector<TBallot> Ballots(const std::vector<TFormField>& fields);
  const std::string* FindQuestion(const std::string& name);
  bool CountBallot(const TBallot& ballot, const std::string& voter, LONG number, int& counted);
  bool CountAnswer(TContributor& question, DWORD index, const std::string& voter) const;
  bool RecordVoter(TContributor& question, const std::string& voter,
                   const std::string& answer) const;
  DWORD FindAnswer(TContributor& question, const std::string& value) const;
  std::string FieldText(const std::string& text) const;
  std::string AnswerText(const TMail& answer) const;

  TBoardCache& cache_;
  TFilingLedger& ledger_;
  bool decodeText_;
  bool keepVoters_;
  bool questionsLoaded_ = false;
  std::unordered_map<std::string, std::string> questions_;  // by their lower case
};

}  // namespace brevant
