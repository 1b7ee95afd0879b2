#include "shared/mailing_lists.h"

#include "store/ascii.h"
#include "text/charset.h"

#include <algorithm>
#include <memory>

namespace brevant {

namespace {

// A record of 256 bytes holds the key and the name, a zero byte behind each.
constexpr std::size_t kRoom = 254;

}  // namespace

std::vector<TMailingListEntry> MailingListEntries(TForum& forum) {
  std::vector<TMailingListEntry> entries;
  const std::unique_ptr<TListItemSearcher, decltype(&EndMailingListSearch)> search(
      StartMailingListSearch(&forum), EndMailingListSearch);
  if (!search) return entries;
  for (TMailingListSearchResult found = FindFirstMailingList(search.get()); found.key != nullptr;
       found = FindNextMailingList(search.get())) {
    entries.push_back({found.key, found.name != nullptr ? found.name : ""});
  }
  return entries;
}

const std::string& EntryAddress(const TMailingListEntry& entry) {
  const auto isAddress = [](const std::string& text) {
    return text.find('@') != std::string::npos;
  };
  return !isAddress(entry.key) && isAddress(entry.name) ? entry.name : entry.key;
}

bool IsListAddress(std::string_view address) {
  constexpr std::size_t kLongestAddress = kRoom - 1;
  return !address.empty() && address.size() <= kLongestAddress && address.back() != '*' &&
         address.find('@') != std::string_view::npos &&
         std::none_of(address.begin(), address.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; });
}

std::string FitListName(const std::string& name, std::string_view address) {
  return std::string(CutAtCharacter(name, kRoom - std::min(address.size(), kRoom)));
}

int SubscribeAddress(TForum& forum, const std::string& address, const std::string& name) {
  return AddMailingList(address.c_str(), name.c_str(), &forum);
}

bool UnsubscribeAddress(TForum& forum, const std::string& address) {
  bool gone = true;
  for (const TMailingListEntry& entry : MailingListEntries(forum)) {
    // A key that ends in "*" would take other entries along.
    if (!EqualsIgnoreCase(EntryAddress(entry), address) || entry.key.ends_with('*')) continue;
    if (RemoveMailingList(entry.key.c_str(), &forum) == 0) gone = false;
  }
  // A removal that could not be written is not told.
  return gone && FindMailingList(address.c_str(), &forum) == 0;
}

}  // namespace brevant
