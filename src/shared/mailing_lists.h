// The entries of a forum's mailing list, by their addresses.
#pragma once

#include <brevant/board.h>

#include <string>
#include <string_view>
#include <vector>

namespace brevant {

struct TMailingListEntry {
  std::string key;
  std::string name;
};

// All entries in their order.
std::vector<TMailingListEntry> MailingListEntries(TForum& forum);

// Whom an entry means: its key when that holds "@", else its name when that does, else the key.
const std::string& EntryAddress(const TMailingListEntry& entry);

// Whether mail may put this address on a list or take it off: it holds an "@" and no control
// character, does not end in "*" (it would match by prefix), and fits a record.
bool IsListAddress(std::string_view address);

// What the record of an address holds of a UTF-8 name, cut at a whole character.
std::string FitListName(const std::string& name, std::string_view address);

// Adds the address with that name, or gives the address a new name; 1 or 0.
int SubscribeAddress(TForum& forum, const std::string& address, const std::string& name);
// Removes every entry that means the address, ignoring letter case. False when one is still there.
bool UnsubscribeAddress(TForum& forum, const std::string& address);

}  // namespace brevant
