#include "text/page_items.h"

#include "platform/win32.h"

#include <algorithm>

namespace brevant {

std::size_t TPageItems::FirstSpan(std::size_t item) const {
  auto at =
      std::lower_bound(spans.begin(), spans.end(), item,
                       [](const Span& span, std::size_t wanted) { return span.item < wanted; });
  return static_cast<std::size_t>(at - spans.begin());
}

bool TPageItems::OutOfField(std::size_t item, std::size_t begin, std::size_t end) const {
  if (Has(item, kAllField)) return true;
  if (!Has(item, kSpans)) return false;
  for (std::size_t i = FirstSpan(item); i < spans.size() && spans[i].item == item; ++i) {
    if (spans[i].begin < end && spans[i].end > begin) return true;
  }
  return false;
}

void TPageItems::Append(const TPageItems& from, std::size_t begin, std::size_t end) {
  if (begin == end) return;
  const std::size_t firstNew = entries.size();
  entries.insert(entries.end(), from.entries.begin() + static_cast<std::ptrdiff_t>(begin),
                 from.entries.begin() + static_cast<std::ptrdiff_t>(end));
  if (from.replaced_) {
    for (std::size_t item = begin; item < end; ++item) {
      entries[firstNew + item - begin].MoveTo(text.size());
      text.append(from.Text(item));
    }
  } else {
    // The texts stand in the order of their items, so one piece holds them all.
    const std::size_t low = from.entries[begin].Offset();
    const std::size_t high = from.entries[end - 1].Offset() + from.entries[end - 1].Length();
    const std::size_t base = text.size();
    text.append(from.text, low, high - low);
    for (std::size_t item = firstNew; item < entries.size(); ++item) {
      entries[item].MoveTo(entries[item].Offset() - low + base);
    }
  }
  for (std::size_t span = from.FirstSpan(begin);
       span < from.spans.size() && from.spans[span].item < end; ++span) {
    spans.push_back(from.spans[span]);
    spans.back().item += firstNew - begin;
  }
}

TPageItems TPageItems::TakeFrom(std::size_t begin) {
  TPageItems taken;
  if (begin == 0) {
    std::swap(taken, *this);
    return taken;
  }
  if (begin == entries.size()) return taken;
  taken.Append(*this, begin, entries.size());
  if (!replaced_) text.resize(entries[begin].Offset());
  spans.erase(spans.begin() + static_cast<std::ptrdiff_t>(FirstSpan(begin)), spans.end());
  entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(begin), entries.end());
  return taken;
}

void TPageItems::MoveSpans(std::size_t item, std::size_t begin, std::size_t end,
                           std::size_t newEnd) {
  if (!Has(item, kSpans)) return;
  for (std::size_t i = FirstSpan(item); i < spans.size() && spans[i].item == item; ++i) {
    Span& span = spans[i];
    if (span.begin >= end) {
      span.begin = static_cast<std::uint32_t>(span.begin - end + newEnd);
      span.end = static_cast<std::uint32_t>(span.end - end + newEnd);
    } else if (span.end > begin) {
      // Bytes before the value keep their mark; the new value has none.
      span.end = std::max(span.begin, static_cast<std::uint32_t>(begin));
      span.begin = std::min(span.begin, span.end);
    }
  }
}

void TPageItems::Replace(std::size_t item, std::string_view newText) {
  entries[item] = Entry(Kind(item), text.size(), newText.size(), entries[item].Flags());
  text.append(newText);
  replaced_ = true;
}

}  // namespace brevant
