#include "platform/posix/file_search.h"

#include "platform/posix/attributes.h"
#include "platform/posix/errors.h"
#include "platform/posix/file_io.h"
#include "platform/posix/paths.h"
#include "platform/posix/short_names.h"
#include "platform/posix/times.h"
#include "platform/wildcards.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

using brevant::posix::Fail;
using brevant::posix::FailForMemory;
using brevant::posix::FailFromErrno;
using brevant::posix::FileFacts;
using brevant::posix::FileReference;
using brevant::posix::Resolve;
using brevant::posix::Resolved;

struct FoundName {
  std::string name;
  std::string alternate;
};

struct Entry {
  std::string upper;  // what the listing is sorted by
  std::string name;
};

// The names of a directory as Windows would list them: sorted by upper-cased name, of names that
// differ in case only the first, and none with a backslash in it, which no path could name (and
// which could lead out of the directory). Nothing, with the last error set, when the directory
// cannot be read to its end: what is missing in a listing may be taken for deleted.
std::optional<std::vector<Entry>> ListNames(const std::string& directory) {
  std::vector<Entry> entries;
  struct Closer {
    void operator()(DIR* stream) const { ::closedir(stream); }
  };
  const std::unique_ptr<DIR, Closer> stream(::opendir(directory.c_str()));
  if (stream == nullptr) return FailFromErrno(), std::nullopt;
  for (;;) {
    errno = 0;
    const dirent* item = ::readdir(stream.get());
    if (item == nullptr) break;
    const std::string name = item->d_name;
    const bool listed = item->d_type == DT_REG || item->d_type == DT_DIR ||
                        item->d_type == DT_LNK || item->d_type == DT_UNKNOWN;
    if (!listed || name == "." || name == ".." || name.find('\\') != std::string::npos) continue;
    entries.push_back({brevant::posix::UpperCased(name), name});
  }
  if (errno != 0) return FailFromErrno(), std::nullopt;
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return a.upper != b.upper ? a.upper < b.upper : a.name < b.name;
  });
  const auto end = std::unique(entries.begin(), entries.end(),
                               [](const Entry& a, const Entry& b) { return a.upper == b.upper; });
  entries.erase(end, entries.end());
  return entries;
}

// Nothing when the directory cannot be listed, which the last error tells.
using FoundNames = std::optional<std::vector<FoundName>>;

FoundNames Match(const std::string& directory, const std::string& pattern) {
  std::vector<FoundName> found;
  for (const char* dots : {".", ".."}) {
    // A directory's own two entries have no extension, whatever their dots look like.
    const bool matches = brevant::platform::MatchesPattern(dots, pattern) || pattern == "*.";
    if (matches) found.push_back({dots, ""});
  }
  const std::optional<std::vector<Entry>> entries = ListNames(directory);
  if (!entries) return std::nullopt;
  brevant::posix::ShortNames shortNames;
  for (const Entry& entry : *entries) shortNames.Reserve(entry.name);
  for (const Entry& entry : *entries) {
    std::string alternate = shortNames.Next(entry.name);
    if (brevant::platform::MatchesPattern(entry.name, pattern) ||
        (!alternate.empty() && brevant::platform::MatchesPattern(alternate, pattern))) {
      found.push_back({entry.name, std::move(alternate)});
    }
  }
  return found;
}

// A name without wildcards: one look-up, no walk through the directory. So its alternate name has
// the number 1, whatever stands beside it.
FoundNames MatchOne(const std::string& directory, std::string name) {
  while (name.size() > 1 && name.back() == '.' && name != "..") name.pop_back();
  const Resolved file = Resolve((directory + "/" + name).c_str());
  if (file.found) {
    const std::string spelled = file.path.substr(file.path.find_last_of('/') + 1);
    return {{{spelled, brevant::posix::ShortNames().Next(spelled)}}};
  }
  if (name.find('~') == std::string::npos) return std::vector<FoundName>();
  return Match(directory, name);
}

class Search {
 public:
  Search(std::string directory, std::vector<FoundName> names)
      : directory_(std::move(directory)), names_(std::move(names)) {}

  // The next entry that is still there; false, with the last error set, at the end and when one
  // cannot be looked at, which is not to be taken for deleted.
  bool Next(WIN32_FIND_DATAA* data, DWORD errorAtEnd) {
    while (at_ < names_.size()) {
      const FoundName& found = names_[at_];
      const std::string path = directory_ + "/" + found.name;
      FileFacts facts;
      const FileReference reference(path);
      const bool read = reference.ReadFacts(&facts);
      if (!read && errno != ENOENT && errno != ENOTDIR) return FailFromErrno() != 0;
      const bool listed = read && (facts.isRegular || facts.isDirectory || facts.isLink);
      if (listed) Fill(found, reference, facts, data);
      ++at_;  // last: an entry for which memory ran out comes again
      if (listed) return true;
    }
    return Fail(errorAtEnd) != 0;
  }

 private:
  static void Fill(const FoundName& found, const FileReference& reference, const FileFacts& facts,
                   WIN32_FIND_DATAA* data) {
    *data = {};
    data->dwFileAttributes = reference.Attributes(facts);
    data->ftCreationTime = brevant::posix::ToFileTime(reference.CreationTime(facts));
    data->ftLastAccessTime = brevant::posix::ToFileTime(facts.accessed);
    data->ftLastWriteTime = brevant::posix::ToFileTime(facts.modified);
    if (!facts.isDirectory) {
      data->nFileSizeHigh = static_cast<DWORD>(facts.size >> 32);
      data->nFileSizeLow = static_cast<DWORD>(facts.size);
    }
    const std::size_t length = std::min(found.name.size(), sizeof data->cFileName - 1);
    std::memcpy(data->cFileName, found.name.c_str(), length);
    std::memcpy(data->cAlternateFileName, found.alternate.c_str(), found.alternate.size());
  }

  std::string directory_;
  std::vector<FoundName> names_;
  std::size_t at_ = 0;
};

std::mutex searchesMutex;
std::unordered_map<HANDLE, std::shared_ptr<Search>>& Searches() {
  static auto* searches = new std::unordered_map<HANDLE, std::shared_ptr<Search>>;
  return *searches;
}

}  // namespace

HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data) try {
  if (data == nullptr) return Fail(ERROR_INVALID_PARAMETER), INVALID_HANDLE_VALUE;
  const std::string path = brevant::posix::NativePath(pattern);
  if (path.empty()) return Fail(ERROR_PATH_NOT_FOUND), INVALID_HANDLE_VALUE;
  const std::size_t slash = path.find_last_of('/');
  const std::string name = path.substr(slash + 1);
  std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const Resolved resolved = Resolve(directory.c_str());
  FileFacts facts;
  if (!resolved.found || !FileReference(resolved.path).ReadFacts(&facts) || !facts.isDirectory) {
    return Fail(ERROR_PATH_NOT_FOUND), INVALID_HANDLE_VALUE;
  }
  if (name.empty()) return Fail(ERROR_FILE_NOT_FOUND), INVALID_HANDLE_VALUE;
  FoundNames names = brevant::platform::HasWildcards(name) ? Match(resolved.path, name)
                                                           : MatchOne(resolved.path, name);
  if (!names) return INVALID_HANDLE_VALUE;
  auto search = std::make_shared<Search>(resolved.path, std::move(*names));
  if (!search->Next(data, ERROR_FILE_NOT_FOUND)) return INVALID_HANDLE_VALUE;
  HANDLE handle = search.get();
  const std::lock_guard<std::mutex> guard(searchesMutex);
  Searches().emplace(handle, std::move(search));
  return handle;
} catch (const std::bad_alloc&) {
  return FailForMemory(), INVALID_HANDLE_VALUE;
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) try {
  if (data == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  std::shared_ptr<Search> search;
  {
    const std::lock_guard<std::mutex> guard(searchesMutex);
    const auto found = Searches().find(handle);
    if (found == Searches().end()) return Fail(ERROR_INVALID_HANDLE);
    search = found->second;
  }
  return search->Next(data, ERROR_NO_MORE_FILES) ? TRUE : FALSE;
} catch (const std::bad_alloc&) {
  return FailForMemory();
}

BOOL FindClose(HANDLE handle) {
  const std::lock_guard<std::mutex> guard(searchesMutex);
  return Searches().erase(handle) != 0 ? TRUE : Fail(ERROR_INVALID_HANDLE);
}
