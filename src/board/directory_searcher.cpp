#include "board/directory_searcher.h"

#include "store/ascii.h"

namespace brevant {

namespace {

std::string SearchPattern(const char* directory, std::string_view pattern) {
  std::string path(directory);
  if (path.empty() || (path.back() != '\\' && path.back() != '/')) path += '\\';
  path += pattern;
  return path;
}

}  // namespace

TDirectorySearcher::TDirectorySearcher(const char* directory, std::string_view pattern,
                                       DWORD include, DWORD exclude)
    : include_(include), exclude_(exclude), pattern_(SearchPattern(directory, pattern)) {
  Begin();
}

TDirectorySearcher::~TDirectorySearcher() { End(); }

void TDirectorySearcher::Begin() {
  search_ = FindFirstFileA(pattern_.c_str(), &find_);
  found_ = search_ != INVALID_HANDLE_VALUE;
  fresh_ = true;
}

void TDirectorySearcher::End() {
  if (search_ != INVALID_HANDLE_VALUE) FindClose(search_);
  search_ = INVALID_HANDLE_VALUE;
}

bool TDirectorySearcher::First() {
  if (!fresh_) {
    End();
    Begin();
  }
  fresh_ = false;
  if (found_ && !Check()) Next();
  return found_;
}

bool TDirectorySearcher::Next() {
  fresh_ = false;
  while (found_) {
    found_ = FindNextFileA(search_, &find_) != 0;
    if (found_ && Check()) break;
  }
  return found_;
}

bool TDirectorySearcher::Check() {
  const DWORD attributes = find_.dwFileAttributes;
  if (include_ != FILE_ATTRIBUTE_NORMAL && include_ != 0 && (attributes & include_) == 0) {
    return false;
  }
  if ((attributes & exclude_) != 0) return false;
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 || find_.cFileName[0] != '.';
}

TBoardFileSearcher::TBoardFileSearcher(const char* directory, std::string_view extension)
    : TDirectorySearcher(directory, "*" + std::string(extension)), extension_(extension) {}

bool TBoardFileSearcher::Check() {
  if (!TDirectorySearcher::Check()) return false;
  const std::string_view name(Entry().cFileName);
  const std::size_t point = name.rfind('.');
  if (point == name.npos || !EqualsIgnoreCase(name.substr(point), extension_)) return false;
  Entry().cFileName[point] = '\0';
  return true;
}

}  // namespace brevant
