// Walks the files of one kind in a directory.
#pragma once

#include "platform/win32.h"
#include "store/guard.h"

#include <memory>
#include <string>
#include <string_view>

namespace brevant {

class TDirectorySearcher {
 public:
  // Begins a search for pattern in directory, which may end with a separator. Entries must have one
  // of the include attributes (FILE_ATTRIBUTE_NORMAL or 0: any entry will do) and none of the
  // exclude attributes.
  TDirectorySearcher(const char* directory, std::string_view pattern,
                     DWORD include = FILE_ATTRIBUTE_NORMAL,
                     DWORD exclude = FILE_ATTRIBUTE_DIRECTORY);
  TDirectorySearcher(const TDirectorySearcher&) = delete;
  TDirectorySearcher& operator=(const TDirectorySearcher&) = delete;
  virtual ~TDirectorySearcher();

  // Move to the first or the next entry that passes the check; false when there is none, or when
  // the directory cannot be listed, which the last error tells.
  bool First();
  bool Next();
  // The name of the entry at hand, valid until the next move; null when there is none.
  const char* Name() const { return found_ ? find_.cFileName : nullptr; }

 protected:
  // True when the entry at hand is one of those looked for.
  virtual bool Check();
  WIN32_FIND_DATAA& Entry() { return find_; }

 private:
  void Begin();
  void End();

  WIN32_FIND_DATAA find_{};
  HANDLE search_ = INVALID_HANDLE_VALUE;
  bool found_ = false;
  DWORD include_;
  DWORD exclude_;
  std::string pattern_;
  // The search has not moved yet.
  bool fresh_ = false;
};

// Finds the board files of one class and gives their names without extension. The extension is
// compared once more: by short names "*.mwd" would find "note.mwdx" too.
class TBoardFileSearcher : public TDirectorySearcher {
 public:
  // The extension with its point, a constant of the class.
  TBoardFileSearcher(const char* directory, std::string_view extension);

 protected:
  bool Check() override;

 private:
  std::string_view extension_;
};

// What the exported searches of every container class do; the finds give a name or null.
template <typename Searcher>
Searcher* StartFileSearch(const char* directory) {
  if (directory == nullptr) return nullptr;
  return Guarded<Searcher*>(nullptr,
                            [&] { return std::make_unique<Searcher>(directory).release(); });
}
inline const char* FirstName(TBoardFileSearcher* searcher) {
  return searcher != nullptr && searcher->First() ? searcher->Name() : nullptr;
}
inline const char* NextName(TBoardFileSearcher* searcher) {
  return searcher != nullptr && searcher->Next() ? searcher->Name() : nullptr;
}

}  // namespace brevant
