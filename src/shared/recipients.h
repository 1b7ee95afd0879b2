// Whom a forum's messages go to.
#pragma once

#include <brevant/board.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brevant {

// Whether text holds word, ignoring letter case, with no character of a word before or behind it:
// letters, digits, "_", ".", "-", "+", "@" and bytes of 128 or more. Never for an empty word.
bool ContainsWholeWord(std::string_view text, std::string_view word);

// The addresses of one forum's mailing list after the other. What a server refused is left out of
// every list that is loaded later.
class TRecipients {
 public:
  // The addresses of the forum's entries in their order, each once.
  void Load(TForum& forum);

  const std::vector<std::string>& Addresses() const { return addresses_; }
  bool Empty() const { return addresses_.empty(); }
  // Whether the list loaded last had an address that was refused before.
  bool LeftSomeOut() const { return leftSomeOut_; }
  // Whether a message with this "To" came from the very list that it would go to.
  bool AreTheSourceOf(std::string_view to) const;
  // The server refused the address at that position.
  void Drop(std::size_t position);

 private:
  std::vector<std::string> addresses_;
  std::set<std::string> refused_;  // in lower case
  bool leftSomeOut_ = false;
};

}  // namespace brevant
