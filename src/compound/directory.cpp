#include "compound/directory.h"

#include <algorithm>
#include <cstring>

namespace compound {

Directory::Directory(Pager& pager, Header& header, AllocationTable& fat)
    : pager_(pager), header_(header), fat_(fat) {
  chain_.Reset(header.firstDirectorySector > kMaxSector ? kEndOfChain
                                                        : header.firstDirectorySector);
}

std::uint32_t Directory::Bound() const {
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(
      static_cast<std::uint64_t>(pager_.SectorCount()) * EntriesPerSector(), kMaxSector));
}

const std::uint8_t* Directory::Read(EntryId id) {
  const std::uint32_t per = EntriesPerSector();
  return pager_.Read(chain_.At(fat_, id / per)) + kEntryBytes * (id % per);
}

std::uint8_t* Directory::Write(EntryId id) {
  const std::uint32_t per = EntriesPerSector();
  return pager_.Write(chain_.At(fat_, id / per)) + kEntryBytes * (id % per);
}

EntryType Directory::Type(EntryId id) { return static_cast<EntryType>(Read(id)[kEntryTypeAt]); }

bool Directory::IsStorage(EntryId id) {
  const EntryType type = Type(id);
  return type == EntryType::kStorage || (type == EntryType::kRoot && id == kRootEntry);
}

bool Directory::IsRed(EntryId id) { return id != kNoEntry && Read(id)[kEntryColourAt] == 0; }

void Directory::SetRed(EntryId id, bool red) { Write(id)[kEntryColourAt] = red ? 0 : 1; }

EntryId Directory::Sibling(EntryId id, bool right) {
  return Load32(Read(id) + (right ? kEntryRightAt : kEntryLeftAt));
}

void Directory::SetSibling(EntryId id, bool right, EntryId sibling) {
  Store32(Write(id) + (right ? kEntryRightAt : kEntryLeftAt), sibling);
}

EntryId Directory::Child(EntryId id) { return Load32(Read(id) + kEntryChildAt); }

void Directory::SetChild(EntryId id, EntryId child) { Store32(Write(id) + kEntryChildAt, child); }

std::uint32_t Directory::Start(EntryId id) { return Load32(Read(id) + kEntryStartAt); }

std::uint64_t Directory::Size(EntryId id) {
  const std::uint8_t* entry = Read(id);
  // Some writers of version 3 leave the upper half unset.
  return header_.majorVersion == 3 ? Load32(entry + kEntrySizeAt) : Load64(entry + kEntrySizeAt);
}

void Directory::SetStream(EntryId id, std::uint32_t start, std::uint64_t size) {
  std::uint8_t* entry = Write(id);
  Store32(entry + kEntryStartAt, start);
  Store64(entry + kEntrySizeAt, size);
}

void Directory::LookAt(std::uint32_t index) {
  const std::uint32_t per = EntriesPerSector();
  if (!chain_.Has(fat_, index)) return;
  const std::uint8_t* entries = pager_.Read(chain_.At(fat_, index));
  for (std::uint32_t i = per; i-- > 0;) {
    const EntryId id = index * per + i;
    if (id != kRootEntry && entries[kEntryBytes * i + kEntryTypeAt] == 0) free_.Add(id);
  }
}

void Directory::Grow() {
  const std::uint32_t length = chain_.Length(fat_);
  const std::uint32_t count = length < kLoneSectors ? 1 : pager_.BlockSectors();
  for (std::uint32_t i = 0; i < count; ++i) AddSector(length + i);
  for (std::uint32_t i = count; i-- > 0;) LookAt(length + i);
}

void Directory::AddSector(std::uint32_t length) {
  const std::uint32_t last = length == 0 ? kEndOfChain : chain_.At(fat_, length - 1);
  const std::uint32_t sector = fat_.Allocate(last);
  if (length == 0) {
    header_.firstDirectorySector = sector;
  } else {
    fat_.SetNext(last, sector);
  }
  chain_.Append(sector);
  header_.directorySectors = length + 1;
  header_.dirty = true;
  std::uint8_t* entries = pager_.WriteZeroed(sector);
  for (std::uint32_t i = 0; i < EntriesPerSector(); ++i) {
    // An unused entry is all zeros but for its links.
    std::memset(entries + kEntryBytes * i + kEntryLeftAt, 0xFF, 12);
  }
}

EntryId Directory::Add(EntryType type, std::u16string_view name) {
  if (!looked_) {
    const std::uint32_t length = chain_.Length(fat_);
    free_.Reset(length);
    looked_ = true;
    if (length != 0) LookAt(length - 1);  // most likely where the last one was added
  }
  EntryId id = kNoEntry;
  std::uint32_t piece = 0;
  for (bool found = type == EntryType::kRoot; !found;) {
    if (free_.Take(&id)) {
      found = Type(id) == EntryType::kFree;
    } else if (free_.NextPiece(&piece)) {
      LookAt(piece);
    } else {
      Grow();
      free_.NoneFound();
    }
  }
  if (type == EntryType::kRoot) {
    Grow();
    id = kRootEntry;
  }
  std::uint8_t* entry = Write(id);
  std::memset(entry, 0, kEntryBytes);
  std::memset(entry + kEntryLeftAt, 0xFF, 12);
  entry[kEntryTypeAt] = static_cast<std::uint8_t>(type);
  if (type != EntryType::kStorage) Store32(entry + kEntryStartAt, kEndOfChain);
  SetName(id, name);
  return id;
}

void Directory::SetName(EntryId id, std::u16string_view name) {
  std::uint8_t* entry = Write(id);
  std::memset(entry, 0, kEntryNameLengthAt);
  for (std::size_t i = 0; i < name.size(); ++i) Store16(entry + 2 * i, name[i]);
  Store16(entry + kEntryNameLengthAt, static_cast<std::uint16_t>(2 * name.size() + 2));
}

void Directory::Remove(EntryId id) {
  std::uint8_t* entry = Write(id);
  std::memset(entry, 0, kEntryBytes);
  std::memset(entry + kEntryLeftAt, 0xFF, 12);
  free_.Add(id);
}

}  // namespace compound
