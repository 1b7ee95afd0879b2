// Makes, changes and lists whole boards through the built library. The same program runs here over
// the shared object and on Windows over the DLL: what one writes the other must list equally.
//   board_tool make|list DIRECTORY         board_tool change DIRECTORY ROUND
#include "support/item_families.h"

#include <brevant/brevant.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// Forums in the manner of the other containers.
struct Messages {
  using List = TForum;
  static constexpr const char* kExtension = ".mwd";
  static constexpr auto kCreate = &CreateForum;
  static constexpr auto kOpen = &OpenForum;
  static constexpr auto kClose = &CloseForum;
  static constexpr auto kStartSearch = &StartForumSearch;
  static constexpr auto kFindFirst = &FindFirstForum;
  static constexpr auto kFindNext = &FindNextForum;
  static constexpr auto kEndSearch = &EndForumSearch;
  static constexpr auto kOpenItem = &OpenMessage;
  static constexpr auto kInsertItem = &InsertMessage;
  static constexpr auto kRenameItem = &RenameMessage;
  static constexpr auto kCloseItem = &CloseMessage;
  static constexpr auto kRemoveItem = &RemoveMessage;
  static constexpr auto kStartItemSearch = &StartMessageSearch;
  static constexpr auto kFindFirstItem = &FindFirstMessage;
  static constexpr auto kFindNextItem = &FindNextMessage;
  static constexpr auto kEndItemSearch = &EndMessageSearch;
};

constexpr const char* kContainers[] = {"First of all", "a second one with a longer name",
                                       "Third.x"};
constexpr const char* kItemTexts[] = {"SUBJECT", "FROM",           "TO",       "Document Type",
                                      "CHARSET", "E-Mail Address", "LINK SIZE"};
constexpr int kAttachmentRecord = 128;
constexpr int kMost = 25;  // so that some rounds trim

void Require(bool done, const std::string& what) {
  if (done) return;
  std::fprintf(stderr, "failed: %s\n", what.c_str());
  std::exit(1);
}

std::string Text(int seed, std::size_t size) {
  std::string text(size, '\0');
  std::uint32_t state = static_cast<std::uint32_t>(seed) * 2654435761U + 1;
  for (char& c : text) {
    state = state * 1664525U + 1013904223U;
    c = static_cast<char>(state >> 24);
  }
  return text;
}

std::uint32_t Checksum(const std::string& bytes) {
  std::uint32_t sum = 2166136261U;
  for (const char c : bytes) sum = (sum ^ static_cast<unsigned char>(c)) * 16777619U;
  return sum;
}

template <typename Family>
DWORD Insert(typename Family::List* list, int seed) {
  const std::string number = std::to_string(seed);
  TMail* item = OpenMessage(0, nullptr);
  Require(item != nullptr, "a temporary item");
  item->String("SUBJECT", ("Item " + std::to_string(seed % 40) + " of " + number).c_str());
  item->String("FROM", ("Writer " + number + " <w" + number + "@example.org>").c_str());
  item->String("Document Type", seed % 3 == 0 ? "text/html" : "text/plain");
  item->Number("LINK ID", seed % 5);
  item->Number("Vote Count", seed * 7);
  // Below and above what the format keeps among the small streams.
  const std::string content = Text(seed, static_cast<std::size_t>(seed * 911 % 12000));
  Require(item->Content().Write(content.data(), static_cast<int>(content.size())) ==
              static_cast<int>(content.size()),
          "content");
  if (seed % 4 == 0) {
    Require(item->CreateList("ATTACHMENT", kAttachmentRecord) == 1, "a list of attachments");
    for (int i = 0; i <= seed % 9; ++i) {
      const std::string key = "file" + std::to_string(i) + ".gif";
      item->WriteListItem(key.c_str(), number.c_str(), static_cast<int>(number.size()));
    }
    item->CloseList();
  }
  const DWORD index = Family::kInsertItem(item, list);
  CloseMessage(item);
  Require(index != 0, "an insertion");
  return index;
}

template <typename Family>
void ChangeItems(typename Family::List* list, int round) {
  DWORD last = 0;
  for (int i = 0; i < 9; ++i) last = Insert<Family>(list, round * 100 + i);
  // The oldest one goes, one in the middle changes.
  TMessageSearcher* search = Family::kStartItemSearch(list);
  const DWORD first = Family::kFindFirstItem(search).index;
  Family::kEndItemSearch(search);
  Require(Family::kRemoveItem(first, list) == 1, "a removal");
  TMail* item = Family::kOpenItem(last - 3, list);
  Require(item != nullptr, "opening an item");
  const std::string subject = "Renamed in round " + std::to_string(round);
  Require(Family::kRenameItem(item, list, subject.c_str()) == 1, "a renaming");
  item->String("TO", subject.c_str());
  const std::string more = Text(round, 5000);
  item->Content().Write(more.data(), static_cast<int>(more.size()));
  Family::kCloseItem(item);
}

void ChangeRest(TForum* forum, int round) {
  const std::string key = "list" + std::to_string(round) + "@example.org";
  Require(AddMailingList(key.c_str(), ("List " + key).c_str(), forum) == 1, "a mailing list");
  if (round % 3 == 0) RemoveMailingList("list1@example.org", forum);
  TMail* announcement = OpenAnnouncement(forum);
  Require(announcement != nullptr, "the announcement");
  const std::string text = "Round " + std::to_string(round);
  announcement->Content().Write(text.data(), static_cast<int>(text.size()));
  CloseMessage(announcement);
}

void ChangeRest(TContributor*, int) {}

template <typename Family>
void Change(const std::string& directory, int round) {
  for (const char* name : kContainers) {
    auto* list = Family::kOpen(name, directory.c_str());
    Require(list != nullptr, std::string("opening ") + name + Family::kExtension);
    ChangeItems<Family>(list, round);
    ChangeRest(list, round);
    list->String("Description", ("As of round " + std::to_string(round)).c_str());
    Require(list->Storage().Commit() == 1, "a commit");
    Family::kClose(list);
  }
}

template <typename Family>
void Make(const std::string& directory) {
  for (const char* name : kContainers) {
    auto* list = Family::kCreate(name, directory.c_str());
    Require(list != nullptr, std::string("making ") + name + Family::kExtension);
    list->Number("Max Message Count", kMost);
    for (int i = 1; i < 6; ++i) Insert<Family>(list, i);
    Require(list->Storage().Commit() == 1, "a commit");
    Family::kClose(list);
  }
}

void ListItem(TMail* item) {
  for (const char* key : kItemTexts) std::printf("  %s=%s\n", key, item->String(key));
  std::printf("  LINK ID=%ld Vote Count=%ld\n", static_cast<long>(item->Number("LINK ID")),
              static_cast<long>(item->Number("Vote Count")));
  std::string content(item->Content().Size(), '\0');
  item->Content().Read(content.data(), static_cast<int>(content.size()));
  std::printf("  content %lu %08lx\n", static_cast<unsigned long>(content.size()),
              static_cast<unsigned long>(Checksum(content)));
  if (item->OpenList("ATTACHMENT", kAttachmentRecord) == 0) return;
  char key[kAttachmentRecord];
  char value[kAttachmentRecord];
  while (item->ReadNextListItem(key, sizeof key, value, sizeof value) == 1) {
    std::printf("  attachment %s=%s\n", key, value);
  }
  item->CloseList();
}

void ListRest(TForum* forum) {
  TListItemSearcher* search = StartMailingListSearch(forum);
  for (TMailingListSearchResult found = FindFirstMailingList(search); found.key != nullptr;
       found = FindNextMailingList(search)) {
    std::printf(" subscriber %s=%s\n", found.key, found.name);
  }
  EndMailingListSearch(search);
  TMail* announcement = OpenAnnouncement(forum);
  if (announcement != nullptr) ListItem(announcement);
  CloseMessage(announcement);
}

void ListRest(TContributor*) {}

template <typename Family>
void ListContainer(const std::string& directory, const std::string& name) {
  auto* list = Family::kOpen(name.c_str(), directory.c_str());
  Require(list != nullptr, "opening " + name + Family::kExtension);
  std::printf("%s%s: %s, %s\n", name.c_str(), Family::kExtension, list->String("Name"),
              list->String("Description"));
  for (const char* key : {"First Message Index", "Last Message Index", "Message Count",
                          "Max Message Count", "Version"}) {
    std::printf(" %s=%ld\n", key, static_cast<long>(list->Number(key)));
  }
  TMessageSearcher* search = Family::kStartItemSearch(list);
  for (auto found = Family::kFindFirstItem(search); found.subject != nullptr;
       found = Family::kFindNextItem(search)) {
    std::printf(" item %lu %s\n", static_cast<unsigned long>(found.index), found.subject);
    TMail* item = Family::kOpenItem(found.index, list);
    Require(item != nullptr, "opening an item");
    ListItem(item);
    Family::kCloseItem(item);
  }
  Family::kEndItemSearch(search);
  ListRest(list);
  Family::kClose(list);
}

template <typename Family>
void ListAll(const std::string& directory) {
  auto* search = Family::kStartSearch(directory.c_str());
  for (const char* name = Family::kFindFirst(search); name != nullptr;
       name = Family::kFindNext(search)) {
    ListContainer<Family>(directory, name);
  }
  Family::kEndSearch(search);
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) return 2;
  const std::string command = arguments[1];
  const std::string directory = std::string(arguments[2]) + "/";
  const int round = count > 3 ? static_cast<int>(std::strtol(arguments[3], nullptr, 10)) : 0;
  const auto forAll = [&](auto work) {
    work(Messages{});
    work(test::Articles{});
    work(test::Links{});
    work(test::Answers{});
  };
  TSetup* setup = OpenSetup("unused.ini");
  Require(InitializeBrevant(setup, nullptr) == 1, "the start of the library");
  if (command == "make") forAll([&](auto family) { Make<decltype(family)>(directory); });
  if (command == "change") forAll([&](auto family) { Change<decltype(family)>(directory, round); });
  if (command == "list") forAll([&](auto family) { ListAll<decltype(family)>(directory); });
  UninitializeBrevant();
  CloseSetup(setup);
  return 0;
}
