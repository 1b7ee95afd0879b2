// Many file names in little memory: a run knows every page of a site by name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace brevant {

// Names numbered from 0 in the order of their insertion; of those that are equal after Fold was
// applied to every byte there is one. Beside its text a name takes 8 bytes, and 5 to 11 in the
// table by which it is found.
template <char (*Fold)(char)>
class TNameTable {
 public:
  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

  // One more than the highest number in use.
  std::size_t Count() const { return entries_.size(); }
  // Valid until the table changes.
  std::string_view Name(std::uint32_t number) const {
    const Entry& entry = entries_[number];
    return std::string_view(blocks_[entry.block]).substr(entry.offset, entry.length);
  }
  // The number of the name that equals this one, or kNone.
  std::uint32_t Find(std::string_view name) const {
    return slots_.empty() ? kNone : slots_[SlotOf(name)];
  }
  // The number of the name that equals this one, and whether it was added now.
  std::pair<std::uint32_t, bool> Insert(std::string_view name) {
    // At most three quarters of the slots are taken.
    if ((entries_.size() + 1) * 4 > slots_.size() * 3) Rehash(slots_.size() * 2 + kFewestSlots);
    std::uint32_t& slot = slots_[SlotOf(name)];
    if (slot != kNone) return {slot, false};
    const Entry entry = Keep(name);
    entries_.push_back(entry);
    slot = static_cast<std::uint32_t>(entries_.size() - 1);
    return {slot, true};
  }
  // Gives a name another spelling that equals it.
  void Respell(std::uint32_t number, std::string_view name) {
    const Entry& entry = entries_[number];
    blocks_[entry.block].replace(entry.offset, entry.length, name);
  }
  // Forgets a name. Other names' numbers may change.
  void Remove(std::uint32_t number) {
    Unlink(SlotOf(Name(number)));
    Entry& entry = entries_[number];
    std::string& block = blocks_[entry.block];
    // A temporary name comes and goes at the end, again and again.
    const bool isLast = number + 1 == entries_.size();
    if (isLast && entry.offset + entry.length == block.size()) block.resize(entry.offset);
    entry.block = kRemoved;
    if (isLast) {
      entries_.pop_back();
    } else {
      ++removed_;
    }
    if (removed_ * 2 > entries_.size()) DropRemoved();
  }

 private:
  static constexpr std::size_t kBlockBytes = 65536;
  static constexpr std::size_t kFewestSlots = 16;
  static constexpr std::uint16_t kRemoved = std::numeric_limits<std::uint16_t>::max();

  struct Entry {
    std::uint16_t block;
    std::uint16_t offset;
    std::uint32_t length;
  };
  static_assert(sizeof(Entry) == 8);

  static std::size_t Hash(std::string_view name) {
    std::uint64_t hash = 14695981039346656037U;  // FNV-1a
    for (const char c : name) {
      hash = (hash ^ static_cast<unsigned char>(Fold(c))) * 1099511628211U;
    }
    return static_cast<std::size_t>(hash ^ hash >> 32);
  }
  static bool Equal(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
      if (Fold(a[i]) != Fold(b[i])) return false;
    }
    return true;
  }

  std::size_t Next(std::size_t slot) const { return slot + 1 == slots_.size() ? 0 : slot + 1; }
  // The slot that holds the name's number, else the one where it would stand.
  std::size_t SlotOf(std::string_view name) const {
    std::size_t slot = Hash(name) % slots_.size();
    while (slots_[slot] != kNone && !Equal(Name(slots_[slot]), name)) slot = Next(slot);
    return slot;
  }
  Entry Keep(std::string_view name) {
    if (blocks_.empty() || blocks_.back().size() + name.size() >= kBlockBytes) {
      if (blocks_.size() + 1 == kRemoved) throw std::length_error("names");
      blocks_.emplace_back();
      if (blocks_.size() > 1) blocks_.back().reserve(kBlockBytes);
    }
    std::string& block = blocks_.back();
    const Entry entry{static_cast<std::uint16_t>(blocks_.size() - 1),
                      static_cast<std::uint16_t>(block.size()),
                      static_cast<std::uint32_t>(name.size())};
    block.append(name);
    return entry;
  }
  void Rehash(std::size_t count) {
    std::vector<std::uint32_t> slots(count, kNone);
    slots_.swap(slots);
    for (std::uint32_t number = 0; number < entries_.size(); ++number) {
      if (entries_[number].block != kRemoved) slots_[SlotOf(Name(number))] = number;
    }
  }
  // Empties a slot, and moves those behind it up that would not be found past the gap.
  void Unlink(std::size_t gap) {
    for (std::size_t slot = Next(gap); slots_[slot] != kNone; slot = Next(slot)) {
      const std::size_t home = Hash(Name(slots_[slot])) % slots_.size();
      const bool reached = gap <= slot ? gap < home && home <= slot : gap < home || home <= slot;
      if (reached) continue;
      slots_[gap] = slots_[slot];
      gap = slot;
    }
    slots_[gap] = kNone;
  }
  void DropRemoved() {
    TNameTable kept;
    for (std::uint32_t number = 0; number < entries_.size(); ++number) {
      if (entries_[number].block != kRemoved) kept.Insert(Name(number));
    }
    *this = std::move(kept);
  }

  std::vector<std::string> blocks_;  // the texts
  std::vector<Entry> entries_;       // by number
  std::vector<std::uint32_t> slots_;
  std::size_t removed_ = 0;
};

}  // namespace brevant
