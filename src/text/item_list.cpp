// The items of one container in their order. Link numbers come from mail: any number, any circle.
#include "text/item_list.h"

#include <algorithm>
#include <numeric>

namespace brevant {
namespace {

constexpr std::int32_t kUnknown = -1;
constexpr std::int32_t kOnThePath = -2;

}  // namespace

int TItemList::Find(DWORD index) const {
  const auto number = [this](int position) { return At(position).index; };
  if (byIndex_.empty()) {
    byIndex_.resize(items_.size());
    std::iota(byIndex_.begin(), byIndex_.end(), 0);
    // Of two items with one number the first is meant.
    std::ranges::stable_sort(byIndex_, {}, number);
  }
  const auto found = std::ranges::lower_bound(byIndex_, index, {}, number);
  return found != byIndex_.end() && number(*found) == index ? *found : -1;
}

int TItemList::ParentOf(int position) const {
  const DWORD link = At(position).linkId;
  return link == 0 ? -1 : Find(link);
}

int TItemList::ThreadLevel(int position) const { return ParentOf(position) >= 0 ? 1 : 0; }

int TItemList::ReplyDepth(int position) const {
  if (depths_.empty()) ComputeDepths();
  return depths_[static_cast<std::size_t>(position)];
}

void TItemList::ComputeDepths() const {
  depths_.assign(items_.size(), kUnknown);
  std::vector<int> path;
  for (int start = 0; start < Count(); ++start) {
    path.clear();
    int at = start;
    while (at >= 0 && depths_[static_cast<std::size_t>(at)] == kUnknown) {
      depths_[static_cast<std::size_t>(at)] = kOnThePath;
      path.push_back(at);
      at = ParentOf(at);
    }
    if (at >= 0 && depths_[static_cast<std::size_t>(at)] == kOnThePath) {
      // A circle: its members, the end of the path from this one on, all stand at the top.
      int member = 0;
      do {
        member = path.back();
        path.pop_back();
        depths_[static_cast<std::size_t>(member)] = 0;
      } while (member != at);
    }
    std::int32_t depth = at < 0 ? -1 : depths_[static_cast<std::size_t>(at)];
    for (; !path.empty(); path.pop_back()) {
      depths_[static_cast<std::size_t>(path.back())] = ++depth;
    }
  }
}

}  // namespace brevant
