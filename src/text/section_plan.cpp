#include "text/section_plan.h"

#include "platform/win32.h"

#include <algorithm>
#include <map>
#include <optional>

namespace brevant {
namespace {

// A class and the place of its first marker among the markers in question.
struct TRequest {
  int objects;
  std::size_t marker;
};
using TRequests = std::vector<TRequest>;

bool Holds(const TRequests& requests, int objects) {
  return std::any_of(requests.begin(), requests.end(),
                     [objects](const TRequest& request) { return request.objects == objects; });
}

class TPlanner {
 public:
  TPlanner(const TPageItems& items, const std::deque<TSectionRequest>& sections, bool fragment)
      : items_(items), tree_(BuildElementTree(items, fragment)) {
    for (const TSectionRequest& section : sections) {
      plan_.classOfSection.push_back(ClassOf(section.kind, section.level));
    }
  }

  TSectionPlan Plan() {
    CollectMarkers();
    for (std::size_t number = 0; number < tree_.elements.size(); ++number) {
      const TElement& element = tree_.elements[number];
      if (element.isRepeat) {
        plan_.comments.push_back(element.items.begin);
        plan_.comments.push_back(element.items.end - 1);
      }
      if (element.isRepeat || requests_.count(static_cast<std::int32_t>(number)) != 0) {
        Consider(static_cast<std::int32_t>(number));
      }
    }
    CloseParts(items_.entries.size() + 1);
    std::sort(plan_.comments.begin(), plan_.comments.end());
    plan_.marked = std::move(tree_.marked);
    return std::move(plan_);
  }

 private:
  // A marker: the item it stands in and what it asks for.
  struct TMarker {
    std::size_t item;
    int objects;
  };

  int ClassOf(int kind, TFieldLevel level) {
    for (std::size_t i = 0; i < plan_.classes.size(); ++i) {
      if (plan_.classes[i].kind == kind && plan_.classes[i].level == level) {
        return static_cast<int>(i);
      }
    }
    plan_.classes.push_back({kind, level});
    return static_cast<int>(plan_.classes.size()) - 1;
  }

  const TSectionClass& Class(int number) const {
    return plan_.classes[static_cast<std::size_t>(number)];
  }
  bool IsContainer(int number) const { return Class(number).level == TFieldLevel::kContainer; }

  void CollectMarkers() {
    markersOfClass_.resize(plan_.classes.size());
    std::size_t mark = 0;
    for (const TPageItems::Span& span : items_.spans) {
      if (span.section < 0) continue;
      while (tree_.marked[mark].item < span.item) ++mark;
      const int objects = plan_.classOfSection[static_cast<std::size_t>(span.section)];
      const std::int32_t element = tree_.marked[mark].element;
      const std::int32_t part = tree_.elements[static_cast<std::size_t>(element)].part;
      if (part >= 0 && !Holds(requests_[part], objects)) {
        requests_[part].push_back({objects, markers_.size()});
      }
      markersOfClass_[static_cast<std::size_t>(objects)].push_back(markers_.size());
      markers_.push_back({span.item, objects});
    }
    for (const TMarkedItem& marked : tree_.marked) {
      plan_.partOfMark.push_back(tree_.elements[static_cast<std::size_t>(marked.element)].part);
    }
  }

  // Whether the objects are walked by a part around the place at hand.
  bool IsBound(int objects) const {
    return std::any_of(open_.begin(), open_.end(), [&](std::size_t part) {
      const std::vector<int>& classes = plan_.parts[part].classes;
      return std::find(classes.begin(), classes.end(), objects) != classes.end();
    });
  }

  void CloseParts(std::size_t item) {
    while (!open_.empty() && plan_.parts[open_.back()].items.end <= item) {
      plan_.parts[open_.back()].behind = plan_.parts.size();
      open_.pop_back();
    }
  }

  // Makes the element a part if markers ask for it whose objects no part around it walks.
  void Consider(std::int32_t number) {
    const TElement& element = tree_.elements[static_cast<std::size_t>(number)];
    CloseParts(element.items.begin);
    TRequests wanted;
    const auto requested = requests_.find(number);
    if (requested != requests_.end()) {
      for (const TRequest& request : requested->second) {
        if (!IsBound(request.objects)) wanted.push_back(request);
      }
    }
    if (element.isRepeat) AddExtentsOwn(element.items, &wanted);
    if (wanted.empty()) return;
    TSectionPart part{element.items, element.items, Order(wanted)};
    if (element.isRepeat) {
      ++part.body.begin;
      --part.body.end;
    }
    open_.push_back(plan_.parts.size());
    plan_.parts.push_back(std::move(part));
  }

  // An author's extent belongs to the first container asked for inside it, wherever its markers
  // stand in it; without one to the first items.
  void AddExtentsOwn(const TItemRange& items, TRequests* wanted) const {
    if (std::any_of(wanted->begin(), wanted->end(),
                    [&](const TRequest& request) { return IsContainer(request.objects); })) {
      return;
    }
    std::optional<TRequest> own;
    for (std::size_t number = 0; number < plan_.classes.size(); ++number) {
      const int objects = static_cast<int>(number);
      const std::size_t marker = FirstMarker(objects, items);
      if (marker == markers_.size() || IsBound(objects)) continue;
      const auto key = [&](const TRequest& request) {
        return std::pair(!IsContainer(request.objects), request.marker);
      };
      const TRequest candidate{objects, marker};
      if (!own || key(candidate) < key(*own)) own = candidate;
    }
    if (own && !Holds(*wanted, own->objects)) wanted->push_back(*own);
  }

  // The first marker in a range that asks for the objects; the number of markers when there is
  // none.
  std::size_t FirstMarker(int objects, const TItemRange& range) const {
    const std::vector<std::size_t>& asking = markersOfClass_[static_cast<std::size_t>(objects)];
    const auto at = std::lower_bound(
        asking.begin(), asking.end(), range.begin,
        [this](std::size_t marker, std::size_t item) { return markers_[marker].item < item; });
    return at == asking.end() || markers_[*at].item >= range.end ? markers_.size() : *at;
  }

  // Kinds by their first markers, of each kind the container before its items.
  std::vector<int> Order(TRequests wanted) const {
    auto firstOfKind = [&](const TRequest& request) {
      std::size_t first = request.marker;
      for (const TRequest& other : wanted) {
        if (Class(other.objects).kind == Class(request.objects).kind) {
          first = std::min(first, other.marker);
        }
      }
      return first;
    };
    std::vector<std::pair<std::pair<std::size_t, TFieldLevel>, int>> keyed;
    for (const TRequest& request : wanted) {
      keyed.push_back({{firstOfKind(request), Class(request.objects).level}, request.objects});
    }
    std::sort(keyed.begin(), keyed.end());
    std::vector<int> order;
    order.reserve(keyed.size());
    for (const auto& [key, objects] : keyed) order.push_back(objects);
    return order;
  }

  const TPageItems& items_;
  TElementTree tree_;
  TSectionPlan plan_;
  std::vector<TMarker> markers_;                          // in document order
  std::vector<std::vector<std::size_t>> markersOfClass_;  // their numbers
  std::map<std::int32_t, TRequests> requests_;            // by element
  std::vector<std::size_t> open_;                         // the parts around the place at hand
};

}  // namespace

TSectionPlan PlanSections(const TPageItems& items, const std::deque<TSectionRequest>& sections,
                          bool fragment) {
  return TPlanner(items, sections, fragment).Plan();
}

}  // namespace brevant
