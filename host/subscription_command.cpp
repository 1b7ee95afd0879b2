// Mailing lists of forums.
#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "session.h"
#include "subscribers.h"
#include "text.h"

namespace host {

namespace {

struct Subscriber {
  std::string key;
  std::string name;
};

std::vector<Subscriber> SubscribersOf(TForum& forum) {
  std::vector<Subscriber> subscribers;
  TListItemSearcher* searcher = StartMailingListSearch(&forum);
  if (searcher == nullptr) return subscribers;
  for (TMailingListSearchResult found = FindFirstMailingList(searcher); found.key != nullptr;
       found = FindNextMailingList(searcher)) {
    subscribers.push_back({found.key, found.name != nullptr ? found.name : ""});
  }
  EndMailingListSearch(searcher);
  return subscribers;
}

bool IsAddress(const std::string& text) { return text.find('@') != std::string::npos; }

// Lists of old may keep the address as the value.
const std::string& AddressOfEntry(const Subscriber& entry) {
  return !IsAddress(entry.key) && IsAddress(entry.name) ? entry.name : entry.key;
}

void CheckAddress(const SubscriptionOptions& options) {
  const std::string& address = options.address;
  // A record of 256 bytes holds the address, a zero byte and the name. An address that ends in "*"
  // would mean every address that begins like it.
  if (!IsAddress(address) || address.back() == '*' || HasControlCharacter(address) ||
      HasControlCharacter(options.name) || address.size() + options.name.size() > 254) {
    throw UserError("Cannot use the address \"" + Printable(address) +
                    "\": it needs an @, no control characters and no * at its end, and has up to "
                    "254 bytes together with the name");
  }
}

}  // namespace

void PrintSubscribers(TForum& forum) {
  const std::vector<Subscriber> subscribers = SubscribersOf(forum);
  if (!subscribers.empty()) PrintLine("Subscribers");
  for (const Subscriber& entry : subscribers) {
    const std::string& address = AddressOfEntry(entry);
    const std::string& name = &address == &entry.key ? entry.name : entry.key;
    PrintLine("  " + Printable(address) + (name.empty() ? "" : "  " + Printable(name)));
  }
}

int SubscribeCommand(const SubscriptionOptions& options) {
  CheckAddress(options);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  ContainerPointer forum = OpenContainer(kForums, options.forum, session.DataDirectory());
  if (AddMailingList(options.address.c_str(), options.name.c_str(), forum.get()) != 1) {
    throw UserError("Cannot save the mailing list of \"" + Printable(options.forum) + "\"");
  }
  Commit(*forum, options.forum);
  PrintLine("Subscribed " + options.address + " to \"" + Printable(options.forum) + "\"");
  return kExitSuccess;
}

int UnsubscribeCommand(const SubscriptionOptions& options) {
  CheckAddress(options);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  ContainerPointer forum = OpenContainer(kForums, options.forum, session.DataDirectory());
  int removed = 0;
  for (const Subscriber& entry : SubscribersOf(*forum)) {
    // A key that ends in "*" would take other entries along.
    if (!EqualIgnoringCase(AddressOfEntry(entry), options.address) || entry.key.ends_with('*')) {
      continue;
    }
    if (RemoveMailingList(entry.key.c_str(), forum.get()) == 1) ++removed;
  }
  if (removed == 0) {
    throw UserError("Cannot find " + options.address + " among the subscribers of \"" +
                    Printable(options.forum) + "\"");
  }
  Commit(*forum, options.forum);
  PrintLine("Unsubscribed " + options.address + " from \"" + Printable(options.forum) + "\"");
  return kExitSuccess;
}

}  // namespace host
