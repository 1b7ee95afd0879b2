// The items of one container in their order, with the thread structure that their links make.
#pragma once

#include "platform/win32.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace brevant {

// One item as the container's list has it.
struct TListedItem {
  DWORD index;   // the item's number, never used for two items of one list
  DWORD linkId;  // the number of the item that it answers; 0 for none
};

// A snapshot: what happens to the container later does not change it. Eight bytes an item, and four
// more for each of the look-up by number and the depths, once they were asked for.
class TItemList {
 public:
  TItemList() = default;
  explicit TItemList(std::vector<TListedItem> items) : items_(std::move(items)) {}

  int Count() const { return static_cast<int>(items_.size()); }
  const TListedItem& At(int position) const { return items_[static_cast<std::size_t>(position)]; }
  // The position of the item of that number, -1 when there is none.
  int Find(DWORD index) const;

  // How many answers up the item stands below a message that answers none, or one that is gone. A
  // message that answers itself, through others or directly, counts as answering one that is gone.
  // The first call computes all, in time linear in the list.
  int ReplyDepth(int position) const;
  // 1 for an answer to an item that is still there, else 0.
  int ThreadLevel(int position) const;

 private:
  int ParentOf(int position) const;
  void ComputeDepths() const;

  std::vector<TListedItem> items_;
  mutable std::vector<int> byIndex_;  // the positions in the order of the items' numbers
  mutable std::vector<std::int32_t> depths_;
};

}  // namespace brevant
