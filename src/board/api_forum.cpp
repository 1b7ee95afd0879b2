// The exported functions over forum files.
#include "board/board_files.h"
#include "board/directory_searcher.h"
#include "platform/win32.h"

#include <brevant/board.h>

namespace {
constexpr const char* kExtension = ".mwd";
}

class TForumSearcher : public brevant::TBoardFileSearcher {
 public:
  explicit TForumSearcher(const char* directory) : TBoardFileSearcher(directory, kExtension) {}
};

TForum* OpenForum(const char* name, const char* directory) {
  return brevant::OpenContainer<TForum>(name, directory, brevant::kOpenExisting);
}

TForum* CreateForum(const char* name, const char* directory) {
  return brevant::OpenContainer<TForum>(name, directory, brevant::kCreate);
}

void CloseForum(TForum* forum) { brevant::Destroy(forum); }

int RenameForum(const char* oldName, const char* newName, const char* directory) {
  return brevant::RenameBoardFile(oldName, newName, directory, kExtension);
}

int DeleteForum(const char* name, const char* directory) {
  return brevant::DeleteBoardFile(name, directory, kExtension);
}

TForumSearcher* StartForumSearch(const char* directory) {
  return brevant::StartFileSearch<TForumSearcher>(directory);
}

const char* FindFirstForum(TForumSearcher* searcher) { return brevant::FirstName(searcher); }

const char* FindNextForum(TForumSearcher* searcher) { return brevant::NextName(searcher); }

void EndForumSearch(TForumSearcher* searcher) { brevant::Destroy(searcher); }
