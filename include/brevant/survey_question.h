// Surveys: questions whose items are the answers to choose from.
#pragma once

#include <brevant/contributor.h>

// A survey question: a resource list in files of its own, with answers as its items. The numbers
// "Vote Count" of an answer and "Total Vote Count" of the question, and the question's list "Voter
// E-mail" (records of 128 bytes, one a voter), are kept by whoever counts the votes.
class BREVANT_API TSurveyQuestion : public TContributor {
 public:
  // Nothing open.
  TSurveyQuestion();
  // Closes.
  ~TSurveyQuestion() override;
  // ".mwg"
  const char* Extension() const override;
};

// Opaque to hosts; made by StartSurveyQuestionSearch, freed by EndSurveyQuestionSearch.
class TSurveyQuestionSearcher;

// Each does for questions, in files directory + name + ".mwg", and answers what its namesake in
// contributor.h does for resource lists and articles.
extern "C" {
BREVANT_API TSurveyQuestion* OpenSurveyQuestion(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(OpenSurveyQuestion);
BREVANT_API TSurveyQuestion* CreateSurveyQuestion(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(CreateSurveyQuestion);
BREVANT_API void CloseSurveyQuestion(TSurveyQuestion* question)
    BREVANT_EXPORTED_AS(CloseSurveyQuestion);
BREVANT_API int RenameSurveyQuestion(const char* oldName, const char* newName,
                                     const char* directory)
    BREVANT_EXPORTED_AS(RenameSurveyQuestion);
BREVANT_API int DeleteSurveyQuestion(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(DeleteSurveyQuestion);
BREVANT_API TSurveyQuestionSearcher* StartSurveyQuestionSearch(const char* directory)
    BREVANT_EXPORTED_AS(StartSurveyQuestionSearch);
BREVANT_API const char* FindFirstSurveyQuestion(TSurveyQuestionSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstSurveyQuestion);
BREVANT_API const char* FindNextSurveyQuestion(TSurveyQuestionSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextSurveyQuestion);
BREVANT_API void EndSurveyQuestionSearch(TSurveyQuestionSearcher* searcher)
    BREVANT_EXPORTED_AS(EndSurveyQuestionSearch);

BREVANT_API TMail* OpenAnswer(DWORD index, TSurveyQuestion* question)
    BREVANT_EXPORTED_AS(OpenAnswer);
BREVANT_API TMail* OpenAnswerByName(const char* subject, TSurveyQuestion* question)
    BREVANT_EXPORTED_AS(OpenAnswerByName);
BREVANT_API DWORD InsertAnswer(TMail* answer, TSurveyQuestion* question)
    BREVANT_EXPORTED_AS(InsertAnswer);
BREVANT_API int FindAnswer(TSurveyQuestion* question, const char* subject)
    BREVANT_EXPORTED_AS(FindAnswer);
BREVANT_API int RenameAnswer(TMail* answer, TSurveyQuestion* question, const char* subject)
    BREVANT_EXPORTED_AS(RenameAnswer);
BREVANT_API void CloseAnswer(TMail* answer) BREVANT_EXPORTED_AS(CloseAnswer);
BREVANT_API int RemoveAnswer(DWORD index, TSurveyQuestion* question)
    BREVANT_EXPORTED_AS(RemoveAnswer);
BREVANT_API TMessageSearcher* StartAnswerSearch(TSurveyQuestion* question)
    BREVANT_EXPORTED_AS(StartAnswerSearch);
BREVANT_API TItemSearchResult FindFirstAnswer(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstAnswer);
BREVANT_API TItemSearchResult FindNextAnswer(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextAnswer);
BREVANT_API void EndAnswerSearch(TMessageSearcher* searcher) BREVANT_EXPORTED_AS(EndAnswerSearch);
}
