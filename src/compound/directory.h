// The directory: an array of entries, one an element, stored in a chain of sectors.
#pragma once

#include "compound/allocation_table.h"
#include "compound/names.h"

namespace compound {

enum class EntryType : std::uint8_t { kFree = 0, kStorage = 1, kStream = 2, kRoot = 5 };

class Directory {
 public:
  Directory(Pager& pager, Header& header, AllocationTable& fat);

  // An entry's 128 bytes, good until the pager's next Trim. Throws kCorrupt beyond the directory.
  const std::uint8_t* Read(EntryId id);
  std::uint8_t* Write(EntryId id);

  EntryType Type(EntryId id);
  bool IsStorage(EntryId id);
  bool IsRed(EntryId id);
  void SetRed(EntryId id, bool red);
  EntryId Sibling(EntryId id, bool right);
  void SetSibling(EntryId id, bool right, EntryId sibling);
  EntryId Child(EntryId id);
  void SetChild(EntryId id, EntryId child);
  std::uint32_t Start(EntryId id);
  std::uint64_t Size(EntryId id);
  void SetStream(EntryId id, std::uint32_t start, std::uint64_t size);

  // A new entry outside every tree: named, of the type, all else empty.
  EntryId Add(EntryType type, std::u16string_view name);
  void SetName(EntryId id, std::u16string_view name);
  void Remove(EntryId id);
  void Committed() { free_.Committed(); }
  // More than any valid id: no walk over entries may take more steps.
  std::uint32_t Bound() const;

 private:
  std::uint32_t EntriesPerSector() const {
    return pager_.SectorBytes() / static_cast<std::uint32_t>(kEntryBytes);
  }
  void LookAt(std::uint32_t index);
  void Grow();
  void AddSector(std::uint32_t length);

  Pager& pager_;
  Header& header_;
  AllocationTable& fat_;
  Chain chain_;
  FreePlaces free_;
  bool looked_ = false;
};

// Where the fields stand in an entry.
inline constexpr std::size_t kEntryTypeAt = 66;
inline constexpr std::size_t kEntryColourAt = 67;
inline constexpr std::size_t kEntryLeftAt = 68;
inline constexpr std::size_t kEntryRightAt = 72;
inline constexpr std::size_t kEntryChildAt = 76;
inline constexpr std::size_t kEntryClassAt = 80;
inline constexpr std::size_t kEntryStateAt = 96;
inline constexpr std::size_t kEntryCreatedAt = 100;
inline constexpr std::size_t kEntryModifiedAt = 108;
inline constexpr std::size_t kEntryStartAt = 116;
inline constexpr std::size_t kEntrySizeAt = 120;

}  // namespace compound
