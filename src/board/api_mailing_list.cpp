// The exported functions over a forum's mailing lists.
#include "board/access.h"
#include "board/board_files.h"
#include "platform/win32.h"
#include "store/guard.h"

#include <brevant/board.h>

#include <array>

namespace {

constexpr const char* kListName = "MAILING LIST";
constexpr int kRecordSize = 256;

// The forum's one list, for the length of an operation.
class OpenedList {
 public:
  explicit OpenedList(TForum* forum)
      : forum_(forum), open_(forum != nullptr && forum->OpenList(kListName, kRecordSize) != 0) {}
  ~OpenedList() {
    if (open_) forum_->CloseList();
  }
  OpenedList(const OpenedList&) = delete;
  OpenedList& operator=(const OpenedList&) = delete;

  bool IsOpen() const { return open_; }
  void Create() {
    open_ = forum_ != nullptr && brevant::OpenOrCreateList(*forum_, kListName, kRecordSize);
  }

  // The name of the list with this key, cut to the buffer; empty when the key is absent.
  bool Find(const char* key, char* name, int size) {
    return open_ && forum_->ReadListItem(key, name, size) != 0;
  }

 private:
  TForum* forum_;
  bool open_;
};

}  // namespace

class TListItemSearcher {
 public:
  explicit TListItemSearcher(TForum& forum) : forum_(forum) {}
  ~TListItemSearcher() { CloseOwn(); }
  TListItemSearcher(const TListItemSearcher&) = delete;
  TListItemSearcher& operator=(const TListItemSearcher&) = delete;

  void First() {
    // A search begun again must not find its own list in the way.
    CloseOwn();
    opened_ = forum_.OpenList(name_, recordSize_) != 0;
    Next();
  }

  void Next() {
    found_ = opened_ && forum_.ReadNextListItem(key_, sizeof key_, value_, sizeof value_) != 0;
  }

  TMailingListSearchResult Result() const {
    if (!found_) return {nullptr, nullptr};
    return {value_, key_};
  }

 private:
  void CloseOwn() {
    if (opened_) forum_.CloseList();
    opened_ = false;
  }

  TForum& forum_;
  const char* name_ = kListName;
  int recordSize_ = kRecordSize;
  char key_[512] = {};
  char value_[512] = {};
  bool found_ = false;
  bool opened_ = false;
};

const char* GetMailingListName(const char* key, TForum* forum) {
  thread_local std::array<char, 128> name;
  name[0] = '\0';
  OpenedList list(forum);
  list.Find(key, name.data(), static_cast<int>(name.size()));
  return name.data();
}

int AddMailingList(const char* key, const char* name, TForum* forum) {
  if (key == nullptr || name == nullptr) return 0;
  OpenedList list(forum);
  if (!list.IsOpen()) list.Create();
  return list.IsOpen() ? forum->WriteListItem(key, name, -1) : 0;
}

int RenameMailingList(const char* key, const char* newName, TForum* forum) {
  if (key == nullptr || newName == nullptr) return 0;
  OpenedList list(forum);
  // A key that is there keeps its name: only AddMailingList overwrites.
  if (!list.IsOpen() || list.Find(key, nullptr, 0)) return 0;
  return forum->WriteListItem(key, newName, -1);
}

int RemoveMailingList(const char* key, TForum* forum) {
  if (key == nullptr) return 0;
  OpenedList list(forum);
  if (!list.IsOpen()) return 0;
  forum->RemoveListItem(key);
  return 1;
}

int FindMailingList(const char* key, TForum* forum) {
  return OpenedList(forum).Find(key, nullptr, 0) ? 1 : 0;
}

TListItemSearcher* StartMailingListSearch(TForum* forum) {
  if (forum == nullptr) return nullptr;
  return brevant::Guarded<TListItemSearcher*>(
      nullptr, [&] { return std::make_unique<TListItemSearcher>(*forum).release(); });
}

TMailingListSearchResult FindFirstMailingList(TListItemSearcher* searcher) {
  if (searcher == nullptr) return {nullptr, nullptr};
  searcher->First();
  return searcher->Result();
}

TMailingListSearchResult FindNextMailingList(TListItemSearcher* searcher) {
  if (searcher == nullptr) return {nullptr, nullptr};
  searcher->Next();
  return searcher->Result();
}

void EndMailingListSearch(TListItemSearcher* searcher) { brevant::Destroy(searcher); }
