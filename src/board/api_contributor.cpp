// The exported functions over resource lists and their articles.
#include "board/board_files.h"
#include "board/directory_searcher.h"
#include "board/named_items.h"
#include "platform/win32.h"

#include <brevant/contributor.h>

namespace {
constexpr const char* kExtension = ".mwe";
}

class TContributorSearcher : public brevant::TBoardFileSearcher {
 public:
  explicit TContributorSearcher(const char* directory)
      : TBoardFileSearcher(directory, kExtension) {}
};

TContributor* OpenContributor(const char* name, const char* directory) {
  return brevant::OpenContainer<TContributor>(name, directory, brevant::kOpenExisting);
}

TContributor* CreateContributor(const char* name, const char* directory) {
  return brevant::OpenContainer<TContributor>(name, directory, brevant::kCreate);
}

void CloseContributor(TContributor* list) { brevant::Destroy(list); }

int RenameContributor(const char* oldName, const char* newName, const char* directory) {
  return brevant::RenameBoardFile(oldName, newName, directory, kExtension);
}

int DeleteContributor(const char* name, const char* directory) {
  return brevant::DeleteBoardFile(name, directory, kExtension);
}

TContributorSearcher* StartContributorSearch(const char* directory) {
  return brevant::StartFileSearch<TContributorSearcher>(directory);
}

const char* FindFirstContributor(TContributorSearcher* searcher) {
  return brevant::FirstName(searcher);
}

const char* FindNextContributor(TContributorSearcher* searcher) {
  return brevant::NextName(searcher);
}

void EndContributorSearch(TContributorSearcher* searcher) { brevant::Destroy(searcher); }

TMail* OpenArticle(DWORD index, TContributor* list) { return brevant::OpenItem(index, list); }

TMail* OpenArticleByName(const char* subject, TContributor* list) {
  return brevant::OpenItemByName(subject, list);
}

DWORD InsertArticle(TMail* item, TContributor* list) { return brevant::InsertItem(item, list); }

int FindArticle(TContributor* list, const char* subject) {
  return brevant::HasItem(list, subject) ? 1 : 0;
}

int RenameArticle(TMail* item, TContributor* list, const char* subject) {
  if (item == nullptr || list == nullptr || brevant::HasItem(list, subject)) return 0;
  return brevant::RenameItem(*item, *list, static_cast<DWORD>(item->Number("LINK ID")), subject);
}

void CloseArticle(TMail* item) { brevant::Destroy(item); }

int RemoveArticle(DWORD index, TContributor* list) { return brevant::RemoveItem(index, list); }

TMessageSearcher* StartArticleSearch(TContributor* list) { return StartMessageSearch(list); }

TItemSearchResult FindFirstArticle(TMessageSearcher* searcher) {
  return brevant::FirstItem(searcher);
}

TItemSearchResult FindNextArticle(TMessageSearcher* searcher) {
  return brevant::NextItem(searcher);
}

void EndArticleSearch(TMessageSearcher* searcher) { EndMessageSearch(searcher); }
