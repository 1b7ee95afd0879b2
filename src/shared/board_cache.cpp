#include "shared/board_cache.h"

#include "frame/reporting.h"
#include "platform/win32.h"
#include "store/ascii.h"

#include <brevant/link_list.h>
#include <brevant/survey_question.h>

#include <algorithm>
#include <new>
#include <stdexcept>

namespace brevant {

struct TBoardCache::TEntry {
  TBoardKind kind;
  std::string name;
  std::unique_ptr<TForum> forum;
  unsigned pins = 0;
  bool closing = false;  // CloseAll came by while a handle held it
  bool lost = false;     // its commit failed: nothing of it is to be relied on
};

namespace {

// Read-write, exclusive: the way every board file is opened.
constexpr int kReadWrite = static_cast<int>(STGM_READWRITE);
constexpr int kExclusive = static_cast<int>(STGM_SHARE_EXCLUSIVE);

template <typename Container>
std::unique_ptr<TForum> Make() {
  return std::make_unique<Container>();
}

// Whether a search that ended with this error has found all there is.
bool IsWhole(DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
         error == ERROR_NO_MORE_FILES;
}

// The names that a board search gives. Throws when the directory cannot be listed to its end: what
// is missing in a part of it would be taken for deleted.
template <typename Searcher>
std::vector<std::string> Search(const char* directory, Searcher* (*start)(const char*),
                                const char* (*first)(Searcher*), const char* (*next)(Searcher*),
                                void (*end)(Searcher*)) {
  std::vector<std::string> names;
  const std::unique_ptr<Searcher, decltype(end)> search(start(directory), end);
  if (!search) throw std::bad_alloc();
  for (const char* name = first(search.get()); name != nullptr; name = next(search.get())) {
    names.emplace_back(name);
  }
  if (IsWhole(GetLastError())) return names;
  DisplayHistory("Cannot open %s", directory);
  throw std::runtime_error("a directory cannot be listed");
}

// What the kinds differ in.
struct TKindRow {
  TBoardKind kind;
  std::unique_ptr<TForum> (*make)();
  std::vector<std::string> (*names)(const char* directory);
};

constexpr TKindRow kKinds[] = {
    {TBoardKind::kForum, Make<TForum>,
     [](const char* directory) {
       return Search(directory, StartForumSearch, FindFirstForum, FindNextForum, EndForumSearch);
     }},
    {TBoardKind::kContributor, Make<TContributor>,
     [](const char* directory) {
       return Search(directory, StartContributorSearch, FindFirstContributor, FindNextContributor,
                     EndContributorSearch);
     }},
    {TBoardKind::kLinkList, Make<TLinkList>,
     [](const char* directory) {
       return Search(directory, StartLinkListSearch, FindFirstLinkList, FindNextLinkList,
                     EndLinkListSearch);
     }},
    {TBoardKind::kQuestion, Make<TSurveyQuestion>,
     [](const char* directory) {
       return Search(directory, StartSurveyQuestionSearch, FindFirstSurveyQuestion,
                     FindNextSurveyQuestion, EndSurveyQuestionSearch);
     }},
};

const TKindRow& Row(TBoardKind kind) {
  return *std::find_if(std::begin(kKinds), std::end(kKinds),
                       [kind](const TKindRow& row) { return row.kind == kind; });
}

}  // namespace

TBoardCache::THandle::THandle(TBoardCache* cache, std::shared_ptr<TEntry> entry)
    : cache_(cache), entry_(std::move(entry)) {
  ++entry_->pins;
}

TBoardCache::THandle::THandle(const THandle& other) : cache_(other.cache_), entry_(other.entry_) {
  if (entry_) ++entry_->pins;
}

TBoardCache::THandle::THandle(THandle&& other) noexcept
    : cache_(std::exchange(other.cache_, nullptr)), entry_(std::move(other.entry_)) {
  other.entry_.reset();
}

TBoardCache::THandle& TBoardCache::THandle::operator=(THandle other) noexcept {
  std::swap(cache_, other.cache_);
  std::swap(entry_, other.entry_);
  return *this;
}

TForum* TBoardCache::THandle::Get() const { return entry_ ? entry_->forum.get() : nullptr; }

TBoardKind TBoardCache::THandle::Kind() const { return entry_->kind; }

const std::string& TBoardCache::THandle::Name() const { return entry_->name; }

void TBoardCache::THandle::Release() noexcept {
  if (!entry_) return;
  const std::shared_ptr<TEntry> entry = std::move(entry_);
  entry_.reset();
  std::exchange(cache_, nullptr)->Unpin(entry);
}

TBoardCache::TBoardCache(std::string directory) : TBoardCache(std::move(directory), TLimits()) {}

TBoardCache::TBoardCache(std::string directory, const TLimits& limits)
    : directory_(std::move(directory)), limits_(limits) {}

TBoardCache::~TBoardCache() {
  try {
    CloseAll();
  } catch (...) {
    reliable_ = false;
  }
}

TBoardCache::TKey TBoardCache::Key(TBoardKind kind, const std::string& name) {
  std::string lower = name;
  for (char& c : lower) c = ToLowerAscii(c);
  return {kind, std::move(lower)};
}

const std::vector<std::string>& TBoardCache::Names(TBoardKind kind) {
  const auto known = names_.find(kind);
  if (known != names_.end()) return known->second;
  return names_.emplace(kind, Row(kind).names(directory_.c_str())).first->second;
}

const std::string* TBoardCache::Find(TBoardKind kind, const std::string& name) {
  for (const std::string& known : Names(kind)) {
    if (EqualsIgnoreCase(known, name)) return &known;
  }
  return nullptr;
}

bool TBoardCache::GivenUp(TBoardKind kind, const std::string& name) const {
  return std::find(givenUp_.begin(), givenUp_.end(), Key(kind, name)) != givenUp_.end();
}

TBoardCache::THandle TBoardCache::Open(TBoardKind kind, const std::string& name) {
  if (GivenUp(kind, name)) return {};
  const auto known = std::find_if(entries_.begin(), entries_.end(), [&](const auto& entry) {
    return entry->kind == kind && EqualsIgnoreCase(entry->name, name);
  });
  if (known != entries_.end()) {
    if ((*known)->lost) return {};
    std::rotate(known, known + 1, entries_.end());
    return {this, entries_.back()};
  }
  if (!MakeRoom()) return {};
  auto entry = std::make_shared<TEntry>();
  entry->kind = kind;
  entry->name = name;
  entry->forum = Row(kind).make();
  if (entry->forum->Open(name.c_str(), directory_.c_str(), kReadWrite, 0, kExclusive) == 0) {
    return {};
  }
  entries_.push_back(entry);
  return {this, std::move(entry)};
}

// Closes the longest unused files until one more may be opened.
bool TBoardCache::MakeRoom() {
  while (entries_.size() >= limits_.openFiles) {
    const auto unused = std::find_if(entries_.begin(), entries_.end(),
                                     [](const auto& entry) { return entry->pins == 0; });
    if (unused == entries_.end()) return false;
    Close(*unused);
  }
  return true;
}

int TBoardCache::Commit(const THandle& handle) { return handle ? CommitEntry(*handle.entry_) : 0; }

int TBoardCache::CommitEntry(TEntry& entry) {
  if (entry.lost) return 0;
  if (entry.forum->Storage().BytesSinceCommit() == 0) return 1;
  // Both stay as they are set here when an exception ends this early.
  const bool reliable = std::exchange(reliable_, false);
  entry.lost = true;
  const int committed = commit_(entry.forum->Storage()) != 0 ? 1 : 0;
  if (committed == 0) givenUp_.push_back(Key(entry.kind, entry.name));
  if (observer_) observer_(entry.kind, entry.name, committed != 0);
  entry.lost = committed == 0;
  reliable_ = reliable;
  return committed;
}

// Takes its own pointer: the one in the list goes.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
int TBoardCache::Close(std::shared_ptr<TEntry> entry) {
  const int committed = CommitEntry(*entry);
  entry->forum->Close();
  std::erase(entries_, entry);
  return committed;
}

void TBoardCache::Unpin(const std::shared_ptr<TEntry>& entry) noexcept {
  if (--entry->pins != 0) return;
  try {
    const bool closes = entry->closing || entry->lost ||
                        (entry->forum->Storage().BytesSinceCommit() > limits_.uncommittedBytes &&
                         CommitEntry(*entry) == 0);
    if (closes) Close(entry);
  } catch (...) {
    reliable_ = false;
  }
}

int TBoardCache::CloseAll() {
  const std::vector<std::shared_ptr<TEntry>> all = entries_;
  for (const std::shared_ptr<TEntry>& entry : all) {
    if (entry->pins == 0) {
      Close(entry);
    } else {
      CommitEntry(*entry);
      entry->closing = true;
    }
  }
  return AnyGivenUp() ? 0 : 1;
}

}  // namespace brevant
