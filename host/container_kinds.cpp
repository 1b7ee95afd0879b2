#include "containers.h"

namespace host {

namespace {

// The class is that of the kind whose functions are called.
template <typename List>
List* As(TForum* container) {
  return static_cast<List*>(container);
}

template <typename Search, typename First, typename Next, typename End>
std::vector<std::string> Collect(Search* search, First first, Next next, End end) {
  std::vector<std::string> names;
  if (search == nullptr) return names;
  for (const char* name = first(search); name != nullptr; name = next(search)) {
    names.emplace_back(name);
  }
  end(search);
  return names;
}

std::vector<std::string> ForumNames(const char* directory) {
  return Collect(StartForumSearch(directory), FindFirstForum, FindNextForum, EndForumSearch);
}
std::vector<std::string> ResourceListNames(const char* directory) {
  return Collect(StartContributorSearch(directory), FindFirstContributor, FindNextContributor,
                 EndContributorSearch);
}
std::vector<std::string> LinkListNames(const char* directory) {
  return Collect(StartLinkListSearch(directory), FindFirstLinkList, FindNextLinkList,
                 EndLinkListSearch);
}
std::vector<std::string> QuestionNames(const char* directory) {
  return Collect(StartSurveyQuestionSearch(directory), FindFirstSurveyQuestion,
                 FindNextSurveyQuestion, EndSurveyQuestionSearch);
}

}  // namespace

using Name = const char*;

const ContainerKind kForums = {
    .command = "forum",
    .word = "forum",
    .item = "message",
    .extension = ".mwd",
    .isPostedTo = true,
    .open = [](Name name, Name directory) { return OpenForum(name, directory); },
    .create = [](Name name, Name directory) { return CreateForum(name, directory); },
    .close = [](TForum* forum) { CloseForum(forum); },
    .rename = [](Name from, Name to, Name directory) { return RenameForum(from, to, directory); },
    .erase = [](Name name, Name directory) { return DeleteForum(name, directory); },
    .names = ForumNames,
    .openItem = [](DWORD index, TForum* forum) { return OpenMessage(index, forum); },
    .insertItem = [](TMail* item, TForum* forum) { return InsertMessage(item, forum); },
    .renameItem = [](TMail* item, TForum* forum,
                     Name subject) { return RenameMessage(item, forum, subject); },
    .removeItem = [](DWORD index, TForum* forum) { return RemoveMessage(index, forum); },
};

const ContainerKind kResourceLists = {
    .command = "list",
    .word = "resource list",
    .item = "article",
    .extension = ".mwe",
    .isPostedTo = true,
    .open = [](Name name, Name directory) -> TForum* { return OpenContributor(name, directory); },
    .create = [](Name name, Name directory) -> TForum* {
      return CreateContributor(name, directory);
    },
    .close = [](TForum* list) { CloseContributor(As<TContributor>(list)); },
    .rename = [](Name from, Name to,
                 Name directory) { return RenameContributor(from, to, directory); },
    .erase = [](Name name, Name directory) { return DeleteContributor(name, directory); },
    .names = ResourceListNames,
    .openItem = [](DWORD index,
                   TForum* list) { return OpenArticle(index, As<TContributor>(list)); },
    .insertItem = [](TMail* item,
                     TForum* list) { return InsertArticle(item, As<TContributor>(list)); },
    .renameItem = [](TMail* item, TForum* list,
                     Name subject) { return RenameArticle(item, As<TContributor>(list), subject); },
    .removeItem = [](DWORD index,
                     TForum* list) { return RemoveArticle(index, As<TContributor>(list)); },
};

const ContainerKind kLinkLists = {
    .command = "links",
    .word = "link list",
    .item = "link",
    .extension = ".mwf",
    .isPostedTo = true,
    .open = [](Name name, Name directory) -> TForum* { return OpenLinkList(name, directory); },
    .create = [](Name name, Name directory) -> TForum* { return CreateLinkList(name, directory); },
    .close = [](TForum* list) { CloseLinkList(As<TLinkList>(list)); },
    .rename = [](Name from, Name to,
                 Name directory) { return RenameLinkList(from, to, directory); },
    .erase = [](Name name, Name directory) { return DeleteLinkList(name, directory); },
    .names = LinkListNames,
    .openItem = [](DWORD index, TForum* list) { return OpenLink(index, As<TLinkList>(list)); },
    .insertItem = [](TMail* item, TForum* list) { return InsertLink(item, As<TLinkList>(list)); },
    .renameItem = [](TMail* item, TForum* list,
                     Name subject) { return RenameLink(item, As<TLinkList>(list), subject); },
    .removeItem = [](DWORD index, TForum* list) { return RemoveLink(index, As<TLinkList>(list)); },
};

const ContainerKind kQuestions = {
    .command = "question",
    .word = "question",
    .item = "answer",
    .extension = ".mwg",
    .isPostedTo = false,
    .open = [](Name name, Name directory) -> TForum* {
      return OpenSurveyQuestion(name, directory);
    },
    .create = [](Name name, Name directory) -> TForum* {
      return CreateSurveyQuestion(name, directory);
    },
    .close = [](TForum* question) { CloseSurveyQuestion(As<TSurveyQuestion>(question)); },
    .rename = [](Name from, Name to,
                 Name directory) { return RenameSurveyQuestion(from, to, directory); },
    .erase = [](Name name, Name directory) { return DeleteSurveyQuestion(name, directory); },
    .names = QuestionNames,
    .openItem = [](DWORD index,
                   TForum* question) { return OpenAnswer(index, As<TSurveyQuestion>(question)); },
    .insertItem =
        [](TMail* item, TForum* question) {
          return InsertAnswer(item, As<TSurveyQuestion>(question));
        },
    .renameItem =
        [](TMail* item, TForum* question, Name subject) {
          return RenameAnswer(item, As<TSurveyQuestion>(question), subject);
        },
    .removeItem =
        [](DWORD index, TForum* question) {
          return RemoveAnswer(index, As<TSurveyQuestion>(question));
        },
};

}  // namespace host
