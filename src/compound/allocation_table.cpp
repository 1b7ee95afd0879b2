#include "compound/allocation_table.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace compound {

AllocationTable::AllocationTable(Pager& pager, Header& header) : pager_(pager), header_(header) {
  const std::size_t direct = std::min<std::size_t>(header.fatSectors, kHeaderDifat);
  locations_.assign(header.difat.begin(),
                    header.difat.begin() + static_cast<std::ptrdiff_t>(direct));
  const std::uint32_t covered = EntriesPerSector();
  const std::uint32_t sectors = pager.SectorCount();
  free_.Reset(sectors / covered + (sectors % covered != 0 ? 1 : 0));
}

// Follows the DIFAT until it names the FAT sector wanted. The header bounds its length.
void AllocationTable::LoadDifat(std::uint32_t fatIndex) {
  const std::uint32_t perSector = EntriesPerSector() - 1;
  while (locations_.size() <= fatIndex) {
    std::uint32_t sector = header_.firstDifatSector;
    if (!difat_.empty()) sector = Load32(pager_.Read(difat_.back()) + std::size_t{4} * perSector);
    if (sector >= pager_.SectorCount() || difat_.size() >= header_.difatSectors) {
      throw Error(Status::kCorrupt);
    }
    // Both lists grow together or not at all: this may be tried again after a failure.
    const std::uint8_t* entries = pager_.Read(sector);
    std::vector<std::uint32_t> named(
        std::min<std::size_t>(perSector, header_.fatSectors - locations_.size()));
    for (std::size_t i = 0; i < named.size(); ++i) named[i] = Load32(entries + std::size_t{4} * i);
    difat_.reserve(difat_.size() + 1);
    locations_.insert(locations_.end(), named.begin(), named.end());
    difat_.push_back(sector);
  }
}

void AllocationTable::LoadAllLocations() {
  if (header_.fatSectors > locations_.size()) LoadDifat(header_.fatSectors - 1);
}

std::uint32_t AllocationTable::Location(std::uint32_t fatIndex) {
  if (fatIndex >= header_.fatSectors) throw Error(Status::kCorrupt);
  if (fatIndex >= locations_.size()) LoadDifat(fatIndex);
  return locations_[fatIndex];
}

std::uint32_t AllocationTable::Get(std::uint32_t sector) {
  const std::uint32_t per = EntriesPerSector();
  return Load32(pager_.Read(Location(sector / per)) + std::size_t{4} * (sector % per));
}

void AllocationTable::Set(std::uint32_t sector, std::uint32_t value) {
  const std::uint32_t per = EntriesPerSector();
  Store32(pager_.Write(Location(sector / per)) + std::size_t{4} * (sector % per), value);
}

std::uint32_t AllocationTable::Next(std::uint32_t sector) {
  if (sector >= Count()) throw Error(Status::kCorrupt);
  const std::uint32_t next = Get(sector);
  if (next != kEndOfChain && next >= Count()) throw Error(Status::kCorrupt);
  return next;
}

void AllocationTable::Follow(std::uint32_t sector, std::size_t most,
                             std::vector<std::uint32_t>* chain) {
  const std::uint32_t per = EntriesPerSector();
  const std::uint32_t piece = sector / per;
  const std::uint8_t* entries = pager_.Read(Location(piece));
  const std::uint32_t count = Count();
  const std::uint32_t first = piece * per;
  std::array<std::uint32_t, 1024>
      found;  // a piece has no more entries; chains that turn come again
  most = std::min<std::size_t>(most, found.size());
  std::size_t steps = 0;
  while (steps < most && sector - first < per) {
    sector = Load32(entries + std::size_t{4} * (sector - first));
    if (sector >= count) break;
    found[steps++] = sector;
  }
  chain->insert(chain->end(), found.begin(), found.begin() + static_cast<std::ptrdiff_t>(steps));
}

void AllocationTable::SetNext(std::uint32_t sector, std::uint32_t next) { Set(sector, next); }

bool AllocationTable::IsUsable(std::uint32_t sector) {
  return sector < Count() && Get(sector) == kFreeSector && !pager_.IsHeld(sector);
}

void AllocationTable::LookAt(std::uint32_t fatIndex) {
  const std::uint32_t per = EntriesPerSector();
  const std::uint32_t first = fatIndex * per;
  const std::uint8_t* entries = pager_.Read(Location(fatIndex));
  for (std::uint32_t i = std::min(per, Count() - std::min(first, Count())); i-- > 0;) {
    if (Load32(entries + std::size_t{4} * i) == kFreeSector && !pager_.IsHeld(first + i))
      free_.Add(first + i);
  }
}

std::uint32_t AllocationTable::Allocate(std::uint32_t near) {
  std::uint32_t sector = near + 1;
  bool found = near < Count() && IsUsable(sector);
  std::uint32_t piece = 0;
  while (!found) {
    if (free_.Take(&sector)) {
      found = IsUsable(sector);
    } else if (free_.NextPiece(&piece)) {
      LookAt(piece);
    } else {
      break;
    }
  }
  if (found) {
    pager_.MarkFresh(sector);
  } else {
    sector = AppendSector();
  }
  Set(sector, kEndOfChain);
  return sector;
}

std::uint32_t AllocationTable::AppendSector() {
  const std::uint32_t per = EntriesPerSector();
  while (pager_.SectorCount() / per >= header_.fatSectors) GrowTable();
  free_.NoneFound();
  return pager_.Append();
}

// The first new FAT sector is the first of those that it describes itself. In a large file several
// lie together, a block of the pager: following a chain through the file reads all of them.
void AllocationTable::GrowTable() {
  LoadAllLocations();
  const std::uint32_t count = header_.fatSectors < kLoneSectors ? 1 : pager_.BlockSectors();
  for (std::uint32_t i = 0; i < count; ++i) AddTableSector();
}

void AllocationTable::AddTableSector() {
  const std::uint32_t index = header_.fatSectors;
  const std::uint32_t sector = pager_.Append();
  std::memset(pager_.WriteWhole(sector), 0xFF, pager_.SectorBytes());
  locations_.push_back(sector);
  ++header_.fatSectors;
  header_.dirty = true;
  Set(sector, kFatSector);
  if (index < kHeaderDifat) {
    header_.difat[index] = sector;
    return;
  }
  const std::uint32_t perSector = EntriesPerSector() - 1;
  const auto slot = static_cast<std::uint32_t>((index - kHeaderDifat) % perSector);
  if ((index - kHeaderDifat) / perSector >= difat_.size()) GrowDifat();
  Store32(pager_.Write(difat_[(index - kHeaderDifat) / perSector]) + std::size_t{4} * slot, sector);
}

void AllocationTable::GrowDifat() {
  const std::uint32_t sector = pager_.Append();
  std::uint8_t* entries = pager_.WriteWhole(sector);
  std::memset(entries, 0xFF, pager_.SectorBytes());
  Store32(entries + pager_.SectorBytes() - 4, kEndOfChain);
  Set(sector, kDifatSector);
  if (difat_.empty()) {
    header_.firstDifatSector = sector;
  } else {
    Store32(pager_.Write(difat_.back()) + pager_.SectorBytes() - 4, sector);
  }
  difat_.push_back(sector);
  header_.difatSectors = static_cast<std::uint32_t>(difat_.size());
}

void AllocationTable::FreeChain(std::uint32_t first) {
  std::vector<std::uint32_t> usable;
  std::uint32_t left = Count();  // a damaged chain may run through the table's own sectors
  for (std::uint32_t sector = first; sector < Count() && left > 0; --left) {
    const std::uint32_t next = Get(sector);
    if (next > kMaxSector && next != kEndOfChain) break;  // free already, or not a stream's
    Set(sector, kFreeSector);
    if (pager_.IsFresh(sector)) usable.push_back(sector);
    pager_.Release(sector);
    sector = next;
  }
  free_.AddChain(usable);
}

void AllocationTable::Committed(bool oldWritten) noexcept {
  const std::vector<std::uint32_t> freed = pager_.Committed(oldWritten);
  free_.Committed();
  try {
    free_.AddChain(freed);
  } catch (const std::bad_alloc&) {
    // They are found again by a look into the table.
    return;
  }
}

}  // namespace compound
