#include "board/named_items.h"

#include "board/board_files.h"
#include "board/list_index.h"
#include "platform/win32.h"

namespace brevant {

namespace {

TItemSearchResult WithoutLink(const TMessageSearchResult& result) {
  return {result.subject, result.index};
}

}  // namespace

TMail* OpenItemByName(const char* subject, TContributor* list) {
  if (list == nullptr) return nullptr;
  const DWORD index = list->FindMessage(subject);
  return index == kNoMessage ? nullptr : OpenItem(index, list);
}

DWORD InsertItem(TMail* item, TContributor* list) {
  return item == nullptr || list == nullptr ? 0 : list->InsertMessage(*item);
}

bool HasItem(TContributor* list, const char* subject) {
  return list != nullptr && list->FindMessage(subject) != kNoMessage;
}

int RenameItem(TMail& item, TContributor& list, DWORD linkId, const char* subject) {
  const DWORD index = ItemIndex(item);
  if (subject == nullptr || index == 0) return 0;
  if (!list.WriteMessageInfo(index, linkId, subject)) return 0;
  // So spelled, unlike the forums' "SUBJECT": it replaces that record, and the spelling stays.
  return item.String("Subject", subject) == 1 ? 1 : 0;
}

int RemoveItem(DWORD index, TContributor* list) {
  if (list == nullptr || list->RemoveMessage(index) == 0) return 0;
  // An item that was replaced under another link number has a second record.
  list->RemoveMessageInfo(index);
  return 1;
}

TItemSearchResult FirstItem(TMessageSearcher* searcher) {
  return WithoutLink(FindFirstMessage(searcher));
}

TItemSearchResult NextItem(TMessageSearcher* searcher) {
  return WithoutLink(FindNextMessage(searcher));
}

}  // namespace brevant
