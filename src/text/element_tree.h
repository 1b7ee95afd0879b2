// The elements of a page as far as repeated parts need them: where each begins and ends, and which
// of them a marker would have repeated. Tags that came out of fields count as text, so that no
// visitor can change the structure of a page.
#pragma once

#include "text/page_items.h"

#include <cstdint>
#include <vector>

namespace brevant {

struct TItemRange {
  std::size_t begin = 0;
  std::size_t end = 0;
};

struct TElement {
  // What TElement::part says beside the number of an element.
  static constexpr std::int32_t kAlone = -1;  // the marker alone
  static constexpr std::int32_t kHead = -2;   // the marker alone, for the first object only

  TItemRange items;       // from its start tag to behind its end tag
  std::int32_t unit;      // the innermost unit of repetition around, itself included; or as part
  std::int32_t part;      // the number of the element that a marker directly in it repeats
  bool isRepeat = false;  // the extent between two repeat comments
};

// An item that holds markers and the element that it belongs to.
struct TMarkedItem {
  std::size_t item;
  std::int32_t element;
};

struct TElementTree {
  std::vector<TElement> elements;   // in document order, outer before inner; number 0 is the page
  std::vector<TMarkedItem> marked;  // in document order
};

// A fragment is the inside of a body: it has no head.
TElementTree BuildElementTree(const TPageItems& items, bool fragment);

// The items that the markers of an item repeat.
TItemRange RepeatedPart(const TPageItems& items, std::size_t markedItem);

}  // namespace brevant
