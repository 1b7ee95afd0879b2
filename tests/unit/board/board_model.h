// A plain model of a container: the stated rules and nothing else.
#pragma once

#include "board/list_index.h"
#include "board_fixture.h"
#include "store/ascii.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace board_test {

struct Model {
  DWORD first = 1;
  DWORD last = 0;
  DWORD count = 0;
  DWORD most = 16;
  std::vector<Row> list;
  std::map<DWORD, std::string> elements;  // subject

  std::size_t Position(DWORD index) const {
    const auto row =
        std::find_if(list.begin(), list.end(), [&](const Row& r) { return r.index == index; });
    return static_cast<std::size_t>(row - list.begin());
  }
  DWORD Next(DWORD index) const {
    const std::size_t at = Position(index);
    return at + 1 < list.size() ? list[at + 1].index : brevant::kNoMessage;
  }
  DWORD Previous(DWORD index) const {
    const std::size_t at = Position(index);
    return at > 0 && at < list.size() ? list[at - 1].index : brevant::kNoMessage;
  }
  int Remove(DWORD index) {
    const DWORD previous = Previous(index);
    const DWORD next = Next(index);
    const DWORD none = brevant::kNoMessage;
    if (previous == none) first = next == none ? 1 : next;
    if (next == none) last = previous == none ? 0 : previous;
    if (elements.erase(index) == 0) return 0;
    const std::size_t at = Position(index);
    if (at < list.size()) list.erase(list.begin() + static_cast<std::ptrdiff_t>(at));
    if (count != 0) --count;
    return 1;
  }
  DWORD Insert(const std::string& subject, DWORD linkId) {
    const DWORD index = last + 1;
    elements[index] = "";
    if (count >= most) Remove(first);
    if (elements.count(index) == 0) return 0;  // the trim took the new element itself
    elements[index] = subject;
    Write(index, linkId, subject);
    last = index;
    ++count;
    return index;
  }
  // As a container does whose items are told apart by their subjects.
  DWORD InsertNamed(const std::string& subject, DWORD linkId) {
    const DWORD fresh = last + 1;
    const DWORD found = Find(subject);
    const DWORD index = found == brevant::kNoMessage ? fresh : found;
    elements[index] = "";
    if (count >= most) Remove(first);
    if (elements.count(index) == 0) return 0;  // the trim took the item to be replaced
    elements[index] = subject;
    Write(index, linkId, subject);
    if (index == fresh) {
      last = index;
      ++count;
    }
    return index;
  }
  DWORD Find(const std::string& subject) const {
    for (const Row& row : list) {
      if (brevant::EqualsIgnoreCase(row.subject, subject)) return row.index;
    }
    return brevant::kNoMessage;
  }
  void Write(DWORD index, DWORD linkId, const std::string& subject) {
    for (Row& row : list) {
      if (row.index != index || row.linkId != linkId) continue;
      row.subject = subject;
      return;
    }
    list.push_back({index, linkId, subject});
  }
  void Change(DWORD index, DWORD linkId, const std::string& subject) {
    const std::size_t at = Position(index);
    if (at < list.size()) {
      list[at] = {index, linkId, subject};
    } else {
      list.push_back({index, linkId, subject});
    }
  }
};

}  // namespace board_test
