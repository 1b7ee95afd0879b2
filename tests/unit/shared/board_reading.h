// What a forum or a list holds, read through the exported functions as a host reads it.
#pragma once

#include "platform/win32.h"

#include <brevant/brevant.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace test {

struct Item {
  DWORD index = 0;
  DWORD linkId = 0;
  std::string listedSubject;
  std::string subject;
  std::string from;
  std::string to;
  std::string address;
  std::string type;
  std::string charset;
  std::string content;
  TTime created;
  TTime modified;
  std::vector<std::pair<std::string, std::string>> attachments;
  std::string headerCharset;
  // Of a link and of an answer.
  std::string linkAddress;
  LONG size = 0;
  LONG votes = 0;
};

inline std::string ContentOf(TMail& mail) {
  mail.Content().Seek(0, 0);
  std::string content(mail.Content().Size(), '\0');
  const int count = mail.Content().Read(content.data(), static_cast<int>(content.size()));
  content.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return content;
}

inline std::vector<std::pair<std::string, std::string>> AttachmentsOf(TMail& mail) {
  std::vector<std::pair<std::string, std::string>> attachments;
  if (mail.OpenList("ATTACHMENT", 128) == 0) return attachments;
  char key[128];
  char value[128];
  while (mail.ReadNextListItem(key, sizeof key, value, sizeof value) == 1) {
    attachments.emplace_back(key, value);
  }
  mail.CloseList();
  return attachments;
}

inline Item ItemOf(TMail& mail) {
  Item item;
  item.subject = mail.String("SUBJECT");
  item.from = mail.String("FROM");
  item.to = mail.String("TO");
  item.address = mail.String("E-Mail Address");
  item.type = mail.String("Document Type");
  item.charset = mail.String("CHARSET");
  item.content = ContentOf(mail);
  item.created = mail.Storage().CreationTime();
  item.modified = mail.Storage().ModificationTime();
  item.attachments = AttachmentsOf(mail);
  item.headerCharset = mail.String("Header Charset");
  item.linkAddress = mail.String("Address");
  item.size = mail.Number("Size");
  item.votes = mail.Number("Vote Count");
  return item;
}

// All items in list order.
inline std::vector<Item> ItemsOf(TForum& container) {
  std::vector<Item> items;
  TMessageSearcher* search = StartMessageSearch(&container);
  for (TMessageSearchResult found = FindFirstMessage(search); found.subject != nullptr;
       found = FindNextMessage(search)) {
    Item item;
    item.index = found.index;
    item.linkId = found.linkId;
    item.listedSubject = found.subject;
    items.push_back(item);
  }
  EndMessageSearch(search);
  for (Item& item : items) {
    const std::unique_ptr<TMail, decltype(&CloseMessage)> mail(OpenMessage(item.index, &container),
                                                               CloseMessage);
    if (!mail) continue;
    Item read = ItemOf(*mail);
    read.index = item.index;
    read.linkId = item.linkId;
    read.listedSubject = item.listedSubject;
    item = read;
  }
  return items;
}

// Those of a container of any class by its name; empty when it cannot be opened.
template <typename Container = TForum>
std::vector<Item> ItemsOf(const std::string& name, const std::string& directory) {
  Container container;
  if (container.Open(name.c_str(), directory.c_str(), 2, 0, 16) == 0) return {};
  return ItemsOf(container);
}

// "subject;subject;" of all messages.
inline std::string SubjectsOf(const std::string& forumName, const std::string& directory) {
  std::string subjects;
  for (const Item& item : ItemsOf(forumName, directory)) subjects += item.subject + ";";
  return subjects;
}

template <typename Container>
bool MakeContainer(const std::string& name, const std::string& directory) {
  Container container;
  return container.Open(name.c_str(), directory.c_str(), 2, 4096, 16) != 0;
}

inline bool MakeForum(const std::string& name, const std::string& directory) {
  TForum* forum = CreateForum(name.c_str(), directory.c_str());
  CloseForum(forum);
  return forum != nullptr;
}

// Puts an address on a forum's mailing list.
inline bool AddListAddress(const std::string& forumName, const std::string& directory,
                           const std::string& address) {
  TForum* forum = OpenForum(forumName.c_str(), directory.c_str());
  const int added = AddMailingList(address.c_str(), "A list", forum);
  CloseForum(forum);
  return added == 1;
}

}  // namespace test
