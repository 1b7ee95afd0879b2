// Link lists, and the exported functions over them and their links.
#include "board/board_files.h"
#include "board/directory_searcher.h"
#include "board/named_items.h"
#include "platform/win32.h"

#include <brevant/link_list.h>

namespace {
constexpr const char* kExtension = ".mwf";
}

TLinkList::TLinkList() = default;

TLinkList::~TLinkList() = default;

const char* TLinkList::Extension() const { return kExtension; }

int TLinkList::RenameItem(TMail& item, const char* subject) {
  return brevant::RenameItem(item, *this, static_cast<DWORD>(item.Number("LINK ID")), subject);
}

class TLinkListSearcher : public brevant::TBoardFileSearcher {
 public:
  explicit TLinkListSearcher(const char* directory) : TBoardFileSearcher(directory, kExtension) {}
};

TLinkList* OpenLinkList(const char* name, const char* directory) {
  return brevant::OpenContainer<TLinkList>(name, directory, brevant::kOpenExisting);
}

TLinkList* CreateLinkList(const char* name, const char* directory) {
  return brevant::OpenContainer<TLinkList>(name, directory, brevant::kCreate);
}

void CloseLinkList(TLinkList* list) { brevant::Destroy(list); }

int RenameLinkList(const char* oldName, const char* newName, const char* directory) {
  return brevant::RenameBoardFile(oldName, newName, directory, kExtension);
}

int DeleteLinkList(const char* name, const char* directory) {
  return brevant::DeleteBoardFile(name, directory, kExtension);
}

TLinkListSearcher* StartLinkListSearch(const char* directory) {
  return brevant::StartFileSearch<TLinkListSearcher>(directory);
}

const char* FindFirstLinkList(TLinkListSearcher* searcher) { return brevant::FirstName(searcher); }

const char* FindNextLinkList(TLinkListSearcher* searcher) { return brevant::NextName(searcher); }

void EndLinkListSearch(TLinkListSearcher* searcher) { brevant::Destroy(searcher); }

TMail* OpenLink(DWORD index, TLinkList* list) { return brevant::OpenItem(index, list); }

DWORD InsertLink(TMail* item, TLinkList* list) { return brevant::InsertItem(item, list); }

int FindLink(TLinkList* list, const char* subject) {
  return brevant::HasItem(list, subject) ? 1 : 0;
}

int RenameLink(TMail* item, TLinkList* list, const char* subject) {
  return item == nullptr || list == nullptr ? 0 : list->RenameItem(*item, subject);
}

void CloseLink(TMail* item) { brevant::Destroy(item); }

int RemoveLink(DWORD index, TLinkList* list) { return brevant::RemoveItem(index, list); }

TMessageSearcher* StartLinkSearch(TLinkList* list) { return StartMessageSearch(list); }

TItemSearchResult FindFirstLink(TMessageSearcher* searcher) { return brevant::FirstItem(searcher); }

TItemSearchResult FindNextLink(TMessageSearcher* searcher) { return brevant::NextItem(searcher); }

void EndLinkSearch(TMessageSearcher* searcher) { EndMessageSearch(searcher); }
