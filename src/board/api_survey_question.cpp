// Survey questions, and the exported functions over them and their answers.
#include "board/board_files.h"
#include "board/directory_searcher.h"
#include "board/named_items.h"
#include "platform/win32.h"

#include <brevant/survey_question.h>

namespace {
constexpr const char* kExtension = ".mwg";
}

TSurveyQuestion::TSurveyQuestion() = default;

TSurveyQuestion::~TSurveyQuestion() = default;

const char* TSurveyQuestion::Extension() const { return kExtension; }

class TSurveyQuestionSearcher : public brevant::TBoardFileSearcher {
 public:
  explicit TSurveyQuestionSearcher(const char* directory)
      : TBoardFileSearcher(directory, kExtension) {}
};

TSurveyQuestion* OpenSurveyQuestion(const char* name, const char* directory) {
  return brevant::OpenContainer<TSurveyQuestion>(name, directory, brevant::kOpenExisting);
}

TSurveyQuestion* CreateSurveyQuestion(const char* name, const char* directory) {
  return brevant::OpenContainer<TSurveyQuestion>(name, directory, brevant::kCreate);
}

void CloseSurveyQuestion(TSurveyQuestion* question) { brevant::Destroy(question); }

int RenameSurveyQuestion(const char* oldName, const char* newName, const char* directory) {
  return brevant::RenameBoardFile(oldName, newName, directory, kExtension);
}

int DeleteSurveyQuestion(const char* name, const char* directory) {
  return brevant::DeleteBoardFile(name, directory, kExtension);
}

TSurveyQuestionSearcher* StartSurveyQuestionSearch(const char* directory) {
  return brevant::StartFileSearch<TSurveyQuestionSearcher>(directory);
}

const char* FindFirstSurveyQuestion(TSurveyQuestionSearcher* searcher) {
  return brevant::FirstName(searcher);
}

const char* FindNextSurveyQuestion(TSurveyQuestionSearcher* searcher) {
  return brevant::NextName(searcher);
}

void EndSurveyQuestionSearch(TSurveyQuestionSearcher* searcher) { brevant::Destroy(searcher); }

TMail* OpenAnswer(DWORD index, TSurveyQuestion* question) {
  return brevant::OpenItem(index, question);
}

TMail* OpenAnswerByName(const char* subject, TSurveyQuestion* question) {
  return brevant::OpenItemByName(subject, question);
}

DWORD InsertAnswer(TMail* answer, TSurveyQuestion* question) {
  return brevant::InsertItem(answer, question);
}

int FindAnswer(TSurveyQuestion* question, const char* subject) {
  return brevant::HasItem(question, subject) ? 1 : 0;
}

int RenameAnswer(TMail* answer, TSurveyQuestion* question, const char* subject) {
  if (answer == nullptr || question == nullptr || brevant::HasItem(question, subject)) return 0;
  // Answers have always been asked for the link number under this spelling.
  return brevant::RenameItem(*answer, *question, static_cast<DWORD>(answer->Number("Link ID")),
                             subject);
}

void CloseAnswer(TMail* answer) { brevant::Destroy(answer); }

int RemoveAnswer(DWORD index, TSurveyQuestion* question) {
  return brevant::RemoveItem(index, question);
}

TMessageSearcher* StartAnswerSearch(TSurveyQuestion* question) {
  return StartMessageSearch(question);
}

TItemSearchResult FindFirstAnswer(TMessageSearcher* searcher) {
  return brevant::FirstItem(searcher);
}

TItemSearchResult FindNextAnswer(TMessageSearcher* searcher) { return brevant::NextItem(searcher); }

void EndAnswerSearch(TMessageSearcher* searcher) { EndMessageSearch(searcher); }
