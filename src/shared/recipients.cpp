#include "shared/recipients.h"

#include "platform/win32.h"
#include "shared/mail_encoding.h"
#include "shared/mailing_lists.h"
#include "store/ascii.h"

namespace brevant {

namespace {

bool IsWordCharacter(char c) {
  return IsAlphanumeric(c) || static_cast<unsigned char>(c) >= 128 ||
         std::string_view("_.-+@").find(c) != std::string_view::npos;
}

}  // namespace

bool ContainsWholeWord(std::string_view text, std::string_view word) {
  if (word.empty()) return false;
  for (std::size_t at = 0; at + word.size() <= text.size(); ++at) {
    const std::size_t end = at + word.size();
    if (EqualsIgnoreCase(text.substr(at, word.size()), word) &&
        (at == 0 || !IsWordCharacter(text[at - 1])) &&
        (end == text.size() || !IsWordCharacter(text[end]))) {
      return true;
    }
  }
  return false;
}

void TRecipients::Load(TForum& forum) {
  addresses_.clear();
  leftSomeOut_ = false;
  std::set<std::string> known;
  for (const TMailingListEntry& entry : MailingListEntries(forum)) {
    const std::string& address = EntryAddress(entry);
    const std::string lower = LowerCased(address);
    if (refused_.contains(lower)) {
      leftSomeOut_ = true;
    } else if (!address.empty() && known.insert(lower).second) {
      addresses_.push_back(address);
    }
  }
}

bool TRecipients::AreTheSourceOf(std::string_view to) const {
  return addresses_.size() == 1 && ContainsWholeWord(to, addresses_.front());
}

void TRecipients::Drop(std::size_t position) {
  refused_.insert(LowerCased(addresses_[position]));
  addresses_.erase(addresses_.begin() + static_cast<std::ptrdiff_t>(position));
}

}  // namespace brevant
