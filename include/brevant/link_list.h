// Link lists: resource lists of links to other places.
#pragma once

#include <brevant/contributor.h>

// A link list: a resource list in files of its own.
class BREVANT_API TLinkList : public TContributor {
 public:
  // Nothing open.
  TLinkList();
  // Closes.
  ~TLinkList() override;
  // ".mwf"
  const char* Extension() const override;
  // Gives an opened link of this list another subject, in the list and in its own properties, even
  // one that other links have.
  virtual int RenameItem(TMail& item, const char* subject);
};

// Opaque to hosts; made by StartLinkListSearch, freed by EndLinkListSearch.
class TLinkListSearcher;

// Each does for link lists, in files directory + name + ".mwf", and links what its namesake in
// contributor.h does for resource lists and articles; RenameLink alone differs.
extern "C" {
BREVANT_API TLinkList* OpenLinkList(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(OpenLinkList);
BREVANT_API TLinkList* CreateLinkList(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(CreateLinkList);
BREVANT_API void CloseLinkList(TLinkList* list) BREVANT_EXPORTED_AS(CloseLinkList);
BREVANT_API int RenameLinkList(const char* oldName, const char* newName, const char* directory)
    BREVANT_EXPORTED_AS(RenameLinkList);
BREVANT_API int DeleteLinkList(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(DeleteLinkList);
BREVANT_API TLinkListSearcher* StartLinkListSearch(const char* directory)
    BREVANT_EXPORTED_AS(StartLinkListSearch);
BREVANT_API const char* FindFirstLinkList(TLinkListSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstLinkList);
BREVANT_API const char* FindNextLinkList(TLinkListSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextLinkList);
BREVANT_API void EndLinkListSearch(TLinkListSearcher* searcher)
    BREVANT_EXPORTED_AS(EndLinkListSearch);

BREVANT_API TMail* OpenLink(DWORD index, TLinkList* list) BREVANT_EXPORTED_AS(OpenLink);
BREVANT_API DWORD InsertLink(TMail* item, TLinkList* list) BREVANT_EXPORTED_AS(InsertLink);
BREVANT_API int FindLink(TLinkList* list, const char* subject) BREVANT_EXPORTED_AS(FindLink);
// Whether other links have the new subject is not asked: afterwards two links may share one.
BREVANT_API int RenameLink(TMail* item, TLinkList* list, const char* subject)
    BREVANT_EXPORTED_AS(RenameLink);
BREVANT_API void CloseLink(TMail* item) BREVANT_EXPORTED_AS(CloseLink);
BREVANT_API int RemoveLink(DWORD index, TLinkList* list) BREVANT_EXPORTED_AS(RemoveLink);
BREVANT_API TMessageSearcher* StartLinkSearch(TLinkList* list) BREVANT_EXPORTED_AS(StartLinkSearch);
BREVANT_API TItemSearchResult FindFirstLink(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstLink);
BREVANT_API TItemSearchResult FindNextLink(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextLink);
BREVANT_API void EndLinkSearch(TMessageSearcher* searcher) BREVANT_EXPORTED_AS(EndLinkSearch);
}
