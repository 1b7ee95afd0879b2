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
    kNoFlags = 0,
    kOpenedByField = 1,  // the "<" came out of a field
    kAllField = 2,       // the whole text did; of words too
    kSpans = 4,          // there are spans of this item
    kGoesOn = 8,         // the next word is the rest of this one
  };
  // Offset into the text (40 bits), length (16), kind (4), flags (4).
  class Entry {
   public:
    Entry(TItemKind kind, std::size_t offset, std::size_t length, unsigned flags)
        : bits_(static_cast<std::uint64_t>(offset) << 24 | (length & kLongest) << 8 |
                static_cast<std::uint64_t>(kind) << 4 | flags) {}
    std::size_t Offset() const { return static_cast<std::size_t>(bits_ >> 24); }
    std::size_t Length() const { return static_cast<std::size_t>(bits_ >> 8 & kLongest); }
    TItemKind Kind() const { return static_cast<TItemKind>(bits_ >> 4 & 15); }
    unsigned Flags() const { return static_cast<unsigned>(bits_ & 15); }
    void MoveTo(std::size_t offset) { *this = Entry(Kind(), offset, Length(), Flags()); }

   private:
    std::uint64_t bits_;
  };
  static_assert(sizeof(Entry) == 8);

  std::string text;
  std::vector<Entry> entries;
  std::vector<Span> spans;  // ascending by item, then begin; they do not overlap

  TItemKind Kind(std::size_t item) const { return entries[item].Kind(); }
  bool Has(std::size_t item, Flags flag) const { return (entries[item].Flags() & flag) != 0; }
  std::string_view Text(std::size_t item) const {
    return {text.data() + entries[item].Offset(), entries[item].Length()};
  }
  void Add(TItemKind kind, std::size_t offset, std::size_t length, unsigned flags) {
    entries.emplace_back(kind, offset, length, flags);
  }
  // The first span of an item, or of the first item behind it that has one.
  std::size_t FirstSpan(std::size_t item) const;
  // Whether any of the bytes [begin, end) of an item's text came, or will come, out of a field. Of
  // a word only what is true of it as a whole is known.
  bool OutOfField(std::size_t item, std::size_t begin, std::size_t end) const;
  // Appends the items [begin, end) of another page with their spans.
  void Append(const TPageItems& from, std::size_t begin, std::size_t end);
  // Moves the items from number begin on into a page of their own. No text may stand behind theirs.
  TPageItems TakeFrom(std::size_t begin);
  // Gives an item a new text, at the end of the buffer.
  void Replace(std::size_t item, std::string_view newText);
  // For a change of an item's text: the spans in [begin, end) become empty, those behind move along
  // from end to newEnd.
  void MoveSpans(std::size_t item, std::size_t begin, std::size_t end, std::size_t newEnd);

 private:
  bool replaced_ = false;  // texts are no longer in the order of their items
};

}  // namespace brevant
