#include "compound/mini_stream.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace compound {

MiniStream::MiniStream(Pager& pager, Header& header, AllocationTable& fat)
    : pager_(pager), header_(header), fat_(fat) {}

void MiniStream::Attach(std::uint32_t first, std::uint64_t size) {
  const std::uint32_t tableFirst = header_.firstMiniFatSector;
  table_.Reset(tableFirst > kMaxSector ? kEndOfChain : tableFirst);
  // No more than the file can hold, whatever the entry says.
  const std::uint64_t held = static_cast<std::uint64_t>(pager_.SectorCount())
                             << (header_.sectorShift - kMiniShift);
  const std::uint64_t said = (size >> kMiniShift) + (size % kMiniSectorBytes != 0 ? 1 : 0);
  count_ = static_cast<std::uint32_t>(std::min({said, held, std::uint64_t{kMaxSector}}));
  container_.Reset(count_ == 0 || first > kMaxSector ? kEndOfChain : first,
                   count_ >> (header_.sectorShift - kMiniShift));
  const std::uint32_t per = EntriesPerSector();
  free_.Reset(count_ / per + (count_ % per != 0 ? 1 : 0));
}

std::uint32_t MiniStream::Get(std::uint32_t sector) {
  const std::uint32_t per = EntriesPerSector();
  return Load32(pager_.Read(table_.At(fat_, sector / per)) + std::size_t{4} * (sector % per));
}

void MiniStream::Set(std::uint32_t sector, std::uint32_t value) {
  const std::uint32_t per = EntriesPerSector();
  Store32(pager_.Write(table_.At(fat_, sector / per)) + std::size_t{4} * (sector % per), value);
}

std::uint32_t MiniStream::Next(std::uint32_t sector) {
  if (sector >= count_) throw Error(Status::kCorrupt);
  const std::uint32_t next = Get(sector);
  if (next != kEndOfChain && next >= count_) throw Error(Status::kCorrupt);
  return next;
}

void MiniStream::SetNext(std::uint32_t sector, std::uint32_t next) { Set(sector, next); }

void MiniStream::LookAt(std::uint32_t index) {
  const std::uint32_t per = EntriesPerSector();
  const std::uint32_t first = index * per;
  const std::uint8_t* entries = pager_.Read(table_.At(fat_, index));
  for (std::uint32_t i = std::min(per, count_ - std::min(first, count_)); i-- > 0;) {
    if (Load32(entries + std::size_t{4} * i) == kFreeSector) free_.Add(first + i);
  }
}

std::uint32_t MiniStream::Allocate(std::uint32_t near) {
  std::uint32_t sector = near + 1;
  bool found = near < count_ && sector < count_ && Get(sector) == kFreeSector;
  std::uint32_t piece = 0;
  while (!found) {
    if (free_.Take(&sector)) {
      found = sector < count_ && Get(sector) == kFreeSector;
    } else if (free_.NextPiece(&piece)) {
      LookAt(piece);
    } else {
      break;
    }
  }
  if (!found) sector = AppendSector();
  Set(sector, kEndOfChain);
  return sector;
}

// Adds a sector to one of the two chains that hold the mini stream and its table.
std::uint32_t MiniStream::Extend(Chain& chain) {
  const std::uint32_t length = chain.Length(fat_);
  const std::uint32_t last = length == 0 ? kEndOfChain : chain.At(fat_, length - 1);
  const std::uint32_t sector = fat_.Allocate(last);
  if (length != 0) fat_.SetNext(last, sector);
  chain.Append(sector);
  return sector;
}

std::uint32_t MiniStream::AppendSector() {
  const std::uint32_t sector = count_;
  free_.NoneFound();
  if (const std::uint32_t length = table_.Length(fat_); sector / EntriesPerSector() >= length) {
    const std::uint32_t added = length < kLoneSectors ? 1 : pager_.BlockSectors();
    for (std::uint32_t i = 0; i < added; ++i) {
      std::memset(pager_.WriteWhole(Extend(table_)), 0xFF, pager_.SectorBytes());
    }
  }
  if (header_.miniFatSectors != table_.Length(fat_)) {
    header_.firstMiniFatSector = table_.First();
    header_.miniFatSectors = table_.Length(fat_);
    header_.dirty = true;
  }
  const std::uint32_t needed = sector >> (header_.sectorShift - kMiniShift);
  while (container_.Length(fat_) <= needed) pager_.WriteZeroed(Extend(container_));
  ++count_;
  changed_ = true;
  return sector;
}

void MiniStream::FreeChain(std::uint32_t first) {
  std::vector<std::uint32_t> freed;
  std::uint32_t left = count_;
  for (std::uint32_t sector = first; sector < count_ && left > 0; --left) {
    const std::uint32_t next = Get(sector);
    if (next > kMaxSector && next != kEndOfChain) break;
    Set(sector, kFreeSector);
    freed.push_back(sector);
    sector = next;
  }
  free_.AddChain(freed);
}

const std::uint8_t* MiniStream::Read(std::uint32_t sector) {
  if (sector >= count_) throw Error(Status::kCorrupt);
  const unsigned ratio = header_.sectorShift - kMiniShift;
  const std::uint32_t within = sector & ((1U << ratio) - 1);
  return pager_.Read(container_.At(fat_, sector >> ratio)) + (within << kMiniShift);
}

std::uint8_t* MiniStream::Write(std::uint32_t sector) {
  if (sector >= count_) throw Error(Status::kCorrupt);
  const unsigned ratio = header_.sectorShift - kMiniShift;
  const std::uint32_t within = sector & ((1U << ratio) - 1);
  return pager_.Write(container_.At(fat_, sector >> ratio)) + (within << kMiniShift);
}

}  // namespace compound
