// Resource lists: containers whose items, the articles, are told apart by their subjects.
#pragma once

#include <brevant/board.h>

// A resource list, and the base of link lists and survey questions: a forum in which an item's
// subject is its name. An item whose subject is there already, in whatever letter case, replaces
// the one that has it and keeps its number and its place in the list.
class BREVANT_API TContributor : public TForum {
 public:
  // Nothing open.
  TContributor();
  // Closes.
  ~TContributor() override;
  // Inserts a copy of item, or replaces the item of the same subject; gives its index, 0 on
  // failure. A list that holds "Max Message Count" items loses its oldest first, also when nothing
  // is added; when that is the one to be replaced, it is gone and the result 0. An item that is
  // open cannot be replaced. item stays the caller's, and open.
  DWORD InsertMessage(TMail& item) override;
  // ".mwe"
  const char* Extension() const override;
  // The index of the first item with this subject, compared ignoring case; all bits set when there
  // is none. A list keeps subjects cut to their records' room, so a longer one is not found.
  DWORD FindMessage(const char* subject);
};

// Opaque to hosts; made by StartContributorSearch, freed by EndContributorSearch.
class TContributorSearcher;

// One entry of a search through the items of a resource list, a link list or a question; at the end
// subject is null and index 0. The subject holds until the search moves on.
struct TItemSearchResult {
  const char* subject;
  DWORD index;
};

// As with forums, functions that give a pointer give null on failure; the others 1 for success and
// 0 for failure unless they say otherwise. Null arguments make a function fail unless it says
// otherwise. Objects are freed by the matching Close or End function, which ignores null.
extern "C" {
// Resource list files are directory + name + ".mwe"; the directory ends with a path separator.
// Open an existing list, or make an empty one in place of one of that name. It is open exclusively
// until CloseContributor.
BREVANT_API TContributor* OpenContributor(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(OpenContributor);
BREVANT_API TContributor* CreateContributor(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(CreateContributor);
BREVANT_API void CloseContributor(TContributor* list) BREVANT_EXPORTED_AS(CloseContributor);
// Rename or delete a list's file, which must not be open; renaming onto an existing one fails.
// Non-zero on success.
BREVANT_API int RenameContributor(const char* oldName, const char* newName, const char* directory)
    BREVANT_EXPORTED_AS(RenameContributor);
BREVANT_API int DeleteContributor(const char* name, const char* directory)
    BREVANT_EXPORTED_AS(DeleteContributor);
// Walk the resource lists of a directory, with or without a separator at its end. The finds give a
// name without extension, which holds until the next find, and null at the end;
// FindFirstContributor starts anew.
BREVANT_API TContributorSearcher* StartContributorSearch(const char* directory)
    BREVANT_EXPORTED_AS(StartContributorSearch);
BREVANT_API const char* FindFirstContributor(TContributorSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstContributor);
BREVANT_API const char* FindNextContributor(TContributorSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextContributor);
BREVANT_API void EndContributorSearch(TContributorSearcher* searcher)
    BREVANT_EXPORTED_AS(EndContributorSearch);

// Opens an article of list; with a null list makes a new temporary article with the current local
// time as its creation and modification time. Close articles before their list.
BREVANT_API TMail* OpenArticle(DWORD index, TContributor* list) BREVANT_EXPORTED_AS(OpenArticle);
// Opens the first article of list with this subject, compared ignoring case.
BREVANT_API TMail* OpenArticleByName(const char* subject, TContributor* list)
    BREVANT_EXPORTED_AS(OpenArticleByName);
// Adds a copy of item to list, or puts it in the place of the article with its subject; its index,
// 0 on failure. The item stays open.
BREVANT_API DWORD InsertArticle(TMail* item, TContributor* list) BREVANT_EXPORTED_AS(InsertArticle);
// 1 when list has an article of this subject.
BREVANT_API int FindArticle(TContributor* list, const char* subject)
    BREVANT_EXPORTED_AS(FindArticle);
// Gives an opened article of list another subject, in the list and in its own properties. 0, and
// nothing is changed, when an article of list has that subject, the article itself included.
BREVANT_API int RenameArticle(TMail* item, TContributor* list, const char* subject)
    BREVANT_EXPORTED_AS(RenameArticle);
BREVANT_API void CloseArticle(TMail* item) BREVANT_EXPORTED_AS(CloseArticle);
// Removes an article, which must not be open.
BREVANT_API int RemoveArticle(DWORD index, TContributor* list) BREVANT_EXPORTED_AS(RemoveArticle);
// Walk the articles of list in the list's order. A list has one walk at a time; changing its
// articles ends it, but for renaming the article at hand.
BREVANT_API TMessageSearcher* StartArticleSearch(TContributor* list)
    BREVANT_EXPORTED_AS(StartArticleSearch);
BREVANT_API TItemSearchResult FindFirstArticle(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindFirstArticle);
BREVANT_API TItemSearchResult FindNextArticle(TMessageSearcher* searcher)
    BREVANT_EXPORTED_AS(FindNextArticle);
BREVANT_API void EndArticleSearch(TMessageSearcher* searcher) BREVANT_EXPORTED_AS(EndArticleSearch);
}
