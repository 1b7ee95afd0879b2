// Flat functions over resource lists, link lists and questions: each row once a family.
#include "calls/board.h"
#include "calls/row.h"
#include "support/item_families.h"

#include <type_traits>

namespace faults {

namespace {

template <class Family>
constexpr const char* kListName = std::is_same_v<Family, test::Articles> ? "List"
                                  : std::is_same_v<Family, test::Links>  ? "Links"
                                                                         : "Survey";

template <class Family>
class OpenOne {
 public:
  explicit OpenOne(const Trial& run) : list_(Family::kOpen(kListName<Family>, run.Data())) {}
  ~OpenOne() { Family::kClose(list_); }
  OpenOne(const OpenOne&) = delete;
  OpenOne& operator=(const OpenOne&) = delete;
  operator typename Family::List *() const { return list_; }
  bool Commits() const { return list_->Storage().Commit() != 0; }

 private:
  typename Family::List* list_;
};

template <class Family>
std::string ElementOf(const char* name) {
  return std::string("Data/") + kListName<Family> + Family::kExtension + ":/" + name;
}

template <class Family>
void Open(Trial& run) {
  auto* list = run.Call([&] { return Family::kOpen(kListName<Family>, run.Data()); });
  run.Succeeds(list != nullptr);
  if (list != nullptr) run.Sees(list->Number("Message Count"));
  Family::kClose(list);
}
template <class Family>
void Create(Trial& run) {
  auto* list = run.Call([&] { return Family::kCreate("New", run.Data()); });
  run.Succeeds(list != nullptr);
  Family::kClose(list);
  run.MayBePartOf("Data/New");
}
template <class Family>
void Close(Trial& run) {
  auto* list = Family::kOpen(kListName<Family>, run.Data());
  list->String("Description", kLong);
  run.Call([&] { Family::kClose(list); });
  run.SaysNothing();
}
template <class Family>
void Rename(Trial& run) {
  run.Succeeds(
      run.Call([&] { return Family::kRename(kListName<Family>, "Renamed", run.Data()); }) != 0);
}
template <class Family>
void Delete(Trial& run) {
  run.Succeeds(run.Call([&] { return Family::kDelete(kListName<Family>, run.Data()); }) != 0);
}
template <class Family>
void StartSearch(Trial& run) {
  auto* search = run.Call([&] { return Family::kStartSearch(run.Data()); });
  run.Succeeds(search != nullptr);
  Family::kEndSearch(search);
}
template <class Family>
void FindFirst(Trial& run) {
  auto* search = Family::kStartSearch(run.Data());
  const char* found = run.Call([&] { return Family::kFindFirst(search); });
  run.Sees(found);
  run.Succeeds(found != nullptr);
  Family::kEndSearch(search);
}
template <class Family>
void FindNext(Trial& run) {
  Family::kClose(Family::kCreate("Another", run.Data()));
  auto* search = Family::kStartSearch(run.Data());
  Family::kFindFirst(search);
  const char* found = run.Call([&] { return Family::kFindNext(search); });
  run.Sees(found);
  run.Succeeds(found != nullptr);
  Family::kEndSearch(search);
}
template <class Family>
void EndSearch(Trial& run) {
  auto* search = Family::kStartSearch(run.Data());
  Family::kFindFirst(search);
  run.Call([&] { Family::kEndSearch(search); });
  run.Succeeds(true);
}

template <class Family>
void OpenItem(Trial& run) {
  const OpenOne<Family> list(run);
  const OwnedMail item(run.Call([&] { return Family::kOpenItem(2, list); }));
  run.Succeeds(item != nullptr);
  if (item != nullptr) run.Sees(item->String("SUBJECT"));
}
template <class Family>
void InsertItem(Trial& run) {
  const OpenOne<Family> list(run);
  const OwnedMail item = NewMail("Third item");
  const DWORD index = run.Call([&] { return Family::kInsertItem(item.get(), list); });
  run.Sees(index);
  run.Succeeds(list.Commits() && index != 0);
  // An element that is not listed; the next insertion makes it anew.
  run.MayBePartOf(ElementOf<Family>("3"));
}
template <class Family>
void ReplaceItem(Trial& run) {
  const OpenOne<Family> list(run);
  const OwnedMail item = NewMail("FIRST ITEM", "Another text\r\n");
  const DWORD index = run.Call([&] { return Family::kInsertItem(item.get(), list); });
  run.Sees(index);
  run.Succeeds(list.Commits() && index != 0);
  // The new item before it takes the old one's place.
  run.MayBePartOf(ElementOf<Family>("~NEW"));
}
template <class Family>
void FindItem(Trial& run) {
  const OpenOne<Family> list(run);
  run.Succeeds(run.Call([&] { return Family::kFindItem(list, "second item"); }) != 0);
}
template <class Family>
void RenameItem(Trial& run) {
  const OpenOne<Family> list(run);
  const OwnedMail item(Family::kOpenItem(2, list));
  const int result = run.Call([&] { return Family::kRenameItem(item.get(), list, kLong); });
  run.Succeeds(list.Commits() && result != 0);
}
template <class Family>
void CloseItem(Trial& run) {
  const OpenOne<Family> list(run);
  TMail* item = Family::kOpenItem(2, list);
  item->String("From", kLong);
  run.Call([&] { Family::kCloseItem(item); });
  run.SaysNothing();
}
template <class Family>
void RemoveItem(Trial& run) {
  const OpenOne<Family> list(run);
  const int result = run.Call([&] { return Family::kRemoveItem(1, list); });
  run.Succeeds(list.Commits() && result != 0);
  // The numbers of the first and the last one.
  run.MayBePartOf(ElementOf<Family>("INFO"));
}
template <class Family>
void StartItemSearch(Trial& run) {
  const OpenOne<Family> list(run);
  TMessageSearcher* walk = run.Call([&] { return Family::kStartItemSearch(list); });
  run.Succeeds(walk != nullptr);
  Family::kEndItemSearch(walk);
}
template <class Family>
void FindFirstItem(Trial& run) {
  const OpenOne<Family> list(run);
  TMessageSearcher* walk = Family::kStartItemSearch(list);
  const TItemSearchResult found = run.Call([&] { return Family::kFindFirstItem(walk); });
  run.Sees(found.subject);
  run.Succeeds(found.index != 0);
  Family::kEndItemSearch(walk);
}
template <class Family>
void FindNextItem(Trial& run) {
  const OpenOne<Family> list(run);
  TMessageSearcher* walk = Family::kStartItemSearch(list);
  Family::kFindFirstItem(walk);
  const TItemSearchResult found = run.Call([&] { return Family::kFindNextItem(walk); });
  run.Sees(found.subject);
  run.Succeeds(found.index != 0);
  Family::kEndItemSearch(walk);
}
template <class Family>
void EndItemSearch(Trial& run) {
  const OpenOne<Family> list(run);
  TMessageSearcher* walk = Family::kStartItemSearch(list);
  Family::kFindFirstItem(walk);
  run.Call([&] { Family::kEndItemSearch(walk); });
  run.Succeeds(true);
}
template <auto OpenByName, class Family>
void OpenItemByName(Trial& run) {
  const OpenOne<Family> list(run);
  const OwnedMail item(run.Call([&] { return OpenByName("SECOND ITEM", list); }));
  run.Succeeds(item != nullptr);
  if (item != nullptr) run.Sees(item->String("SUBJECT"));
}

// list: as the functions over lists end; item: as those over items do.
template <class Family>
void Append(Rows& rows, const std::string& list, const std::string& item) {
  const Rows more = {
      {"Open" + list, Open<Family>},
      {"Create" + list, Create<Family>},
      {"Close" + list, Close<Family>},
      {"Rename" + list, Rename<Family>},
      {"Delete" + list, Delete<Family>},
      {"Start" + list + "Search", StartSearch<Family>},
      {"FindFirst" + list, FindFirst<Family>},
      {"FindNext" + list, FindNext<Family>},
      {"End" + list + "Search", EndSearch<Family>},
      {"Open" + item, OpenItem<Family>},
      {"Insert" + item, InsertItem<Family>},
      {"Insert" + item + "(in place of one)", ReplaceItem<Family>},
      {"Find" + item, FindItem<Family>},
      {"Rename" + item, RenameItem<Family>},
      {"Close" + item, CloseItem<Family>},
      {"Remove" + item, RemoveItem<Family>},
      {"Start" + item + "Search", StartItemSearch<Family>},
      {"FindFirst" + item, FindFirstItem<Family>},
      {"FindNext" + item, FindNextItem<Family>},
      {"End" + item + "Search", EndItemSearch<Family>},
  };
  rows.insert(rows.end(), more.begin(), more.end());
}

}  // namespace

Rows ListRows() {
  Rows rows;
  Append<test::Articles>(rows, "Contributor", "Article");
  Append<test::Links>(rows, "LinkList", "Link");
  Append<test::Answers>(rows, "SurveyQuestion", "Answer");
  rows.push_back({"OpenArticleByName", OpenItemByName<&OpenArticleByName, test::Articles>});
  rows.push_back({"OpenAnswerByName", OpenItemByName<&OpenAnswerByName, test::Answers>});
  return rows;
}

}  // namespace faults
