// Which parts of a page are repeated, and over which objects.
#pragma once

#include "text/element_tree.h"
#include "text/sections.h"

#include <deque>
#include <vector>

namespace brevant {

// One sort of objects that a section walks.
struct TSectionClass {
  int kind;
  TFieldLevel level;
};

// A part of the page that is written once for every object of its classes.
struct TSectionPart {
  TItemRange items;
  TItemRange body;           // without the comments that mark the extent
  std::vector<int> classes;  // outermost loop first; a part has at least one
  std::size_t behind = 0;    // the number of the first part that is not inside this one
};

struct TSectionPlan {
  std::vector<TSectionClass> classes;
  std::vector<int> classOfSection;
  std::vector<TSectionPart> parts;       // in document order, outer before inner
  std::vector<TMarkedItem> marked;       // in document order
  std::vector<std::int32_t> partOfMark;  // beside marked: as TElement::part
  std::vector<std::size_t> comments;     // repeat comments, ascending
};

TSectionPlan PlanSections(const TPageItems& items, const std::deque<TSectionRequest>& sections,
                          bool fragment);

}  // namespace brevant
