// The four kinds of containers of a board (forums, resource lists, link lists, questions) behind
// one face, for the commands that treat them alike.
#pragma once

#include <brevant/brevant.h>

#include <memory>
#include <string>
#include <vector>

namespace host {

struct ContainerKind {
  const char* command;    // how the command line calls it
  const char* word;       // in sentences
  const char* item;       // what it holds, in sentences
  const char* extension;  // of its data files
  // A link list's or a forum's name is part of posting addresses.
  bool isPostedTo;

  TForum* (*open)(const char* name, const char* directory);
  TForum* (*create)(const char* name, const char* directory);
  void (*close)(TForum* container);
  int (*rename)(const char* oldName, const char* newName, const char* directory);
  int (*erase)(const char* name, const char* directory);
  std::vector<std::string> (*names)(const char* directory);
  TMail* (*openItem)(DWORD index, TForum* container);
  DWORD (*insertItem)(TMail* item, TForum* container);
  int (*renameItem)(TMail* item, TForum* container, const char* subject);
  int (*removeItem)(DWORD index, TForum* container);
};

extern const ContainerKind kForums;
extern const ContainerKind kResourceLists;
extern const ContainerKind kLinkLists;
extern const ContainerKind kQuestions;

using ContainerPointer = std::unique_ptr<TForum, void (*)(TForum*)>;
struct ItemCloser {
  void operator()(TMail* item) const { CloseMessage(item); }
};
using ItemPointer = std::unique_ptr<TMail, ItemCloser>;

// One entry of a container's list.
struct ItemEntry {
  DWORD index;
  DWORD linkId;
  std::string subject;
};

// The name as the container's file spells it; empty when there is none of that kind.
std::string FindContainerName(const ContainerKind& kind, const std::string& name,
                              const std::string& directory);
// Throw UserError when there is no such container or it cannot be opened.
void RequireContainer(const ContainerKind& kind, const std::string& name,
                      const std::string& directory);
ContainerPointer OpenContainer(const ContainerKind& kind, const std::string& name,
                               const std::string& directory);
// Throws UserError when a new container cannot have that name.
void CheckNewName(const ContainerKind& kind, const std::string& name, const std::string& directory);
// Null when there is no item of that number.
ItemPointer OpenItem(const ContainerKind& kind, DWORD index, TForum& container);
std::vector<ItemEntry> ItemsOf(TForum& container);
// The number of the item with that subject, ignoring letter case; 0 when there is none.
DWORD FindItem(const std::string& subject, TForum& container);

// Throws UserError when value does not fit into a record or holds control characters.
void CheckRecord(const std::string& key, const std::string& value);
// Throw UserError when the value cannot be stored.
void WriteProperty(TForum& container, const char* key, const std::string& value);
void WriteNumber(TForum& container, const char* key, LONG value);
// Makes the container's changes durable; throws UserError when that fails.
void Commit(TForum& container, const std::string& name);

}  // namespace host
