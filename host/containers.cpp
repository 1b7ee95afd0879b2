#include "containers.h"

#include "board_directory.h"
#include "text.h"

namespace host {

namespace {

// Names that a posting address gives another meaning to.
constexpr const char* kSurveyWord = "Survey";

void CheckSpelling(const ContainerKind& kind, const std::string& name) {
  // The name is part of a file's name, of page names and of posting addresses; a question's is the
  // name of a form field, too. What has a meaning there cannot stand in it.
  const bool isQuestion = &kind == &kQuestions;
  const std::string reserved = std::string("<>:\"/\\|?*[]_") + (isQuestion ? "=" : "");
  const bool badEnds = name.empty() || name.front() == ' ' || name.front() == '.' ||
                       name.back() == ' ' || name.back() == '.';
  if (badEnds || HasControlCharacter(name) || name.size() > 100 ||
      name.find_first_of(reserved) != std::string::npos) {
    throw UserError("Cannot call a " + std::string(kind.word) + " \"" + Printable(name) +
                    "\": up to 100 bytes, none of < > : \" / \\ | ? * [ ] _" +
                    (isQuestion ? " = (pages add the question mark)" : "") +
                    ", no blank or dot at its start or end");
  }
  const std::string problem = BoardPathProblem(name);
  if (!problem.empty()) {
    throw UserError("Cannot call a " + std::string(kind.word) + " " + name + ": " + problem);
  }
}

}  // namespace

std::string FindContainerName(const ContainerKind& kind, const std::string& name,
                              const std::string& directory) {
  for (const std::string& candidate : kind.names(directory.c_str())) {
    if (EqualIgnoringCase(candidate, name)) return candidate;
  }
  return {};
}

void RequireContainer(const ContainerKind& kind, const std::string& name,
                      const std::string& directory) {
  if (FindContainerName(kind, name, directory).empty()) {
    throw UserError("Cannot find the " + std::string(kind.word) + " \"" + Printable(name) +
                    "\" in " + directory);
  }
}

ContainerPointer OpenContainer(const ContainerKind& kind, const std::string& name,
                               const std::string& directory) {
  RequireContainer(kind, name, directory);
  const std::string spelled = FindContainerName(kind, name, directory);
  ContainerPointer container(kind.open(spelled.c_str(), directory.c_str()), kind.close);
  if (!container) {
    throw UserError("Cannot open " + directory + spelled + kind.extension +
                    ": it is in use or is not a " + kind.word +
                    "'s data file; nothing was changed");
  }
  return container;
}

void CheckNewName(const ContainerKind& kind, const std::string& name,
                  const std::string& directory) {
  CheckSpelling(kind, name);
  if (!kind.isPostedTo) return;
  if (EqualIgnoringCase(name, kSurveyWord)) {
    throw UserError("Cannot call a " + std::string(kind.word) +
                    " \"Survey\": mail to that name is a vote");
  }
  // One address leads to one place.
  for (const ContainerKind* other : {&kForums, &kResourceLists, &kLinkLists}) {
    if (other != &kind && !FindContainerName(*other, name, directory).empty()) {
      throw UserError("Cannot call a " + std::string(kind.word) + " \"" + Printable(name) +
                      "\": there is a " + other->word +
                      " of that name, and both would have one address");
    }
  }
}

ItemPointer OpenItem(const ContainerKind& kind, DWORD index, TForum& container) {
  return ItemPointer(kind.openItem(index, &container));
}

std::vector<ItemEntry> ItemsOf(TForum& container) {
  TMessageSearcher* searcher = StartMessageSearch(&container);
  if (searcher == nullptr) throw UserError("Cannot read the data file's list of items");
  std::vector<ItemEntry> items;
  for (TMessageSearchResult found = FindFirstMessage(searcher); found.subject != nullptr;
       found = FindNextMessage(searcher)) {
    items.push_back({found.index, found.linkId, found.subject});
  }
  EndMessageSearch(searcher);
  return items;
}

DWORD FindItem(const std::string& subject, TForum& container) {
  for (const ItemEntry& item : ItemsOf(container)) {
    if (EqualIgnoringCase(item.subject, subject)) return item.index;
  }
  return 0;
}

void CheckRecord(const std::string& key, const std::string& value) {
  // A record holds key and value in 126 bytes.
  const std::size_t room = 126 - key.size();
  if (value.size() > room || HasControlCharacter(value)) {
    throw UserError("Cannot store \"" + key + "\": up to " + std::to_string(room) +
                    " bytes without control characters");
  }
}

void WriteProperty(TForum& container, const char* key, const std::string& value) {
  CheckRecord(key, value);
  if (container.String(key, value.c_str()) != 1) {
    throw UserError("Cannot save \"" + std::string(key) + "\"");
  }
}

void WriteNumber(TForum& container, const char* key, LONG value) {
  if (container.Number(key, value) != 1) {
    throw UserError("Cannot save \"" + std::string(key) + "\"");
  }
}

void Commit(TForum& container, const std::string& name) {
  if (container.Storage().Commit() == 0) throw UserError("Cannot save " + name);
}

}  // namespace host
