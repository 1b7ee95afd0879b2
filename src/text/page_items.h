// The items of a page, packed: one buffer with all text in order, eight bytes an item beside it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brevant {

enum class TItemKind : std::uint8_t { kWord, kSpace, kLineBreak, kStartTag, kEndTag };

class TPageItems {
 public:
  static constexpr std::size_t kLongest = 0xFFFF;  // bytes of one item
  static constexpr std::int32_t kFieldBytes = -1;

  // Marks bytes of an item's text: bytes that came out of a field, or the marker of a section.
  struct Span {
    std::size_t item;
    std::uint32_t begin;
    std::uint32_t end;
    std::int32_t section;  // kFieldBytes, or the number of the section
  };
  enum Flags : unsigned {
    kOpenedByField = 1,  // the "<" came out of a field
    kAllField = 2,       // the whole text did
    kSpans = 4,          // there are spans of this item
  };
  struct Entry {
    std::uint64_t offset : 40;
    std::uint64_t length : 16;
    std::uint64_t kind : 4;
    std::uint64_t flags : 4;
  };
  static_assert(sizeof(Entry) == 8);

  std::string text;
  std::vector<Entry> entries;
  std::vector<Span> spans;  // ascending by item, then begin; they do not overlap

  TItemKind Kind(std::size_t item) const { return static_cast<TItemKind>(entries[item].kind); }
  bool Has(std::size_t item, Flags flag) const { return (entries[item].flags & flag) != 0; }
  std::string_view Text(std::size_t item) const {
    return std::string_view(text).substr(entries[item].offset, entries[item].length);
  }
  void Add(TItemKind kind, std::size_t offset, std::size_t length, unsigned flags) {
    entries.push_back({offset, length, static_cast<std::uint64_t>(kind), flags});
  }
  // The first span of an item, or of the first item behind it that has one.
  std::size_t FirstSpan(std::size_t item) const;
  // Appends the items [begin, end) of another page with their spans.
  void Append(const TPageItems& from, std::size_t begin, std::size_t end);
  // Moves the items from number begin on into a page of their own.
  TPageItems TakeFrom(std::size_t begin);
};

}  // namespace brevant
