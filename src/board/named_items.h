// What the exported functions over articles, links and answers share.
#pragma once

#include <brevant/contributor.h>

namespace brevant {

// The first item with this subject; null when there is none or list is null.
TMail* OpenItemByName(const char* subject, TContributor* list);
// The new or replaced item's index; 0 on failure or without an item or a list.
DWORD InsertItem(TMail* item, TContributor* list);
bool HasItem(TContributor* list, const char* subject);
// Renames the record of an item that has this link number, then the item itself, whatever other
// items are called.
int RenameItem(TMail& item, TContributor& list, DWORD linkId, const char* subject);
int RemoveItem(DWORD index, TContributor* list);

TItemSearchResult FirstItem(TMessageSearcher* searcher);
TItemSearchResult NextItem(TMessageSearcher* searcher);

}  // namespace brevant
