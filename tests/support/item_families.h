// The three kinds of containers whose items are told apart by their subjects, for typed tests.
#pragma once

#include <brevant/brevant.h>

#include <gtest/gtest.h>

namespace test {

struct Articles {
  using List = TContributor;
  static constexpr const char* kExtension = ".mwe";
  static constexpr auto kCreate = &CreateContributor;
  static constexpr auto kOpen = &OpenContributor;
  static constexpr auto kClose = &CloseContributor;
  static constexpr auto kRename = &RenameContributor;
  static constexpr auto kDelete = &DeleteContributor;
  static constexpr auto kStartSearch = &StartContributorSearch;
  static constexpr auto kFindFirst = &FindFirstContributor;
  static constexpr auto kFindNext = &FindNextContributor;
  static constexpr auto kEndSearch = &EndContributorSearch;
  static constexpr auto kOpenItem = &OpenArticle;
  static constexpr auto kInsertItem = &InsertArticle;
  static constexpr auto kFindItem = &FindArticle;
  static constexpr auto kRenameItem = &RenameArticle;
  static constexpr auto kCloseItem = &CloseArticle;
  static constexpr auto kRemoveItem = &RemoveArticle;
  static constexpr auto kStartItemSearch = &StartArticleSearch;
  static constexpr auto kFindFirstItem = &FindFirstArticle;
  static constexpr auto kFindNextItem = &FindNextArticle;
  static constexpr auto kEndItemSearch = &EndArticleSearch;
};

struct Links {
  using List = TLinkList;
  static constexpr const char* kExtension = ".mwf";
  static constexpr auto kCreate = &CreateLinkList;
  static constexpr auto kOpen = &OpenLinkList;
  static constexpr auto kClose = &CloseLinkList;
  static constexpr auto kRename = &RenameLinkList;
  static constexpr auto kDelete = &DeleteLinkList;
  static constexpr auto kStartSearch = &StartLinkListSearch;
  static constexpr auto kFindFirst = &FindFirstLinkList;
  static constexpr auto kFindNext = &FindNextLinkList;
  static constexpr auto kEndSearch = &EndLinkListSearch;
  static constexpr auto kOpenItem = &OpenLink;
  static constexpr auto kInsertItem = &InsertLink;
  static constexpr auto kFindItem = &FindLink;
  static constexpr auto kRenameItem = &RenameLink;
  static constexpr auto kCloseItem = &CloseLink;
  static constexpr auto kRemoveItem = &RemoveLink;
  static constexpr auto kStartItemSearch = &StartLinkSearch;
  static constexpr auto kFindFirstItem = &FindFirstLink;
  static constexpr auto kFindNextItem = &FindNextLink;
  static constexpr auto kEndItemSearch = &EndLinkSearch;
};

struct Answers {
  using List = TSurveyQuestion;
  static constexpr const char* kExtension = ".mwg";
  static constexpr auto kCreate = &CreateSurveyQuestion;
  static constexpr auto kOpen = &OpenSurveyQuestion;
  static constexpr auto kClose = &CloseSurveyQuestion;
  static constexpr auto kRename = &RenameSurveyQuestion;
  static constexpr auto kDelete = &DeleteSurveyQuestion;
  static constexpr auto kStartSearch = &StartSurveyQuestionSearch;
  static constexpr auto kFindFirst = &FindFirstSurveyQuestion;
  static constexpr auto kFindNext = &FindNextSurveyQuestion;
  static constexpr auto kEndSearch = &EndSurveyQuestionSearch;
  static constexpr auto kOpenItem = &OpenAnswer;
  static constexpr auto kInsertItem = &InsertAnswer;
  static constexpr auto kFindItem = &FindAnswer;
  static constexpr auto kRenameItem = &RenameAnswer;
  static constexpr auto kCloseItem = &CloseAnswer;
  static constexpr auto kRemoveItem = &RemoveAnswer;
  static constexpr auto kStartItemSearch = &StartAnswerSearch;
  static constexpr auto kFindFirstItem = &FindFirstAnswer;
  static constexpr auto kFindNextItem = &FindNextAnswer;
  static constexpr auto kEndItemSearch = &EndAnswerSearch;
};

using ItemFamilies = testing::Types<Articles, Links, Answers>;

}  // namespace test
