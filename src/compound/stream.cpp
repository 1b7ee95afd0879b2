#include "compound/stream.h"

#include <algorithm>
#include <cstring>

namespace compound {

Stream::Stream(Core& core, EntryId id) : core_(core), id_(id), size_(core.directory.Size(id)) {
  const std::uint32_t start = core.directory.Start(id);
  chain_.Reset(size_ == 0 || start > kMaxSector ? kEndOfChain : start);
}

LinkTable& Stream::Table() const {
  if (IsMini()) return core_.mini;
  return core_.fat;
}

const std::uint8_t* Stream::ReadSector(std::uint32_t index) {
  const std::uint32_t sector = chain_.At(Table(), index);
  return IsMini() ? core_.mini.Read(sector) : core_.pager.Read(sector);
}

// Reads within one sector, or a run of whole neighbouring sectors at once.
std::size_t Stream::ReadSome(std::uint64_t position, std::uint8_t* target, std::size_t count,
                             bool runs) {
  const std::size_t sectorBytes = std::size_t{1} << Shift();
  if (position >> Shift() > kMaxSector)
    throw Error(Status::kCorrupt);  // only a lying size leads here
  const auto index = static_cast<std::uint32_t>(position >> Shift());
  const auto within = static_cast<std::size_t>(position & (sectorBytes - 1));
  if (runs && !IsMini() && within == 0 && count >= 2 * sectorBytes) {
    const std::uint32_t first = chain_.At(core_.fat, index);
    const std::size_t most = std::min<std::size_t>(count >> Shift(), 2048);
    std::uint32_t run = 1;
    while (run < most && chain_.Has(core_.fat, index + run) &&
           chain_.At(core_.fat, index + run) == first + run) {
      ++run;
    }
    core_.pager.ReadRun(first, run, target);
    return static_cast<std::size_t>(run) << Shift();
  }
  const std::size_t part = std::min(count, sectorBytes - within);
  std::memcpy(target, ReadSector(index) + within, part);
  return part;
}

std::size_t Stream::Read(std::uint64_t position, void* buffer, std::size_t count) {
  if (position >= size_) return 0;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size_ - position));
  auto* target = static_cast<std::uint8_t*>(buffer);
  std::size_t done = 0;
  bool runs = true;
  while (done < count) {
    core_.pager.Trim();
    try {
      done += ReadSome(position + done, target + done, count - done, runs);
    } catch (const Error&) {
      // Sector by sector up to the very one that cannot be had.
      if (!runs && done == 0) throw;
      if (!runs) break;
      runs = false;
    }
  }
  return done;
}

void Stream::Write(std::uint64_t position, const void* buffer, std::size_t count) {
  if (count == 0) return;
  const std::uint64_t end = position + count;
  if (end > size_) {
    const std::uint64_t before = size_;
    Grow(end);
    if (position > before) Zero(before, position);
  }
  Store(position, static_cast<const std::uint8_t*>(buffer), count);
}

void Stream::Resize(std::uint64_t size) {
  if (size > size_) {
    const std::uint64_t before = size_;
    Grow(size);
    Zero(before, size);
  } else if (size < size_) {
    Shrink(size);
  }
}

void Stream::Store(std::uint64_t position, const std::uint8_t* source, std::size_t count) {
  const std::size_t sectorBytes = std::size_t{1} << Shift();
  for (std::size_t done = 0; done < count;) {
    core_.pager.Trim();
    const auto index = static_cast<std::uint32_t>((position + done) >> Shift());
    const auto within = static_cast<std::size_t>((position + done) & (sectorBytes - 1));
    const std::size_t part = std::min(count - done, sectorBytes - within);
    const std::uint32_t sector = chain_.At(Table(), index);
    std::uint8_t* target = nullptr;
    if (IsMini()) {
      target = core_.mini.Write(sector);
    } else {
      target = part == sectorBytes ? core_.pager.WriteWhole(sector) : core_.pager.Write(sector);
    }
    std::memcpy(target + within, source + done, part);
    done += part;
  }
}

// Clears what an old tenant of the sectors left there.
void Stream::Zero(std::uint64_t from, std::uint64_t to) {
  static constexpr std::array<std::uint8_t, 4096> kZeros{};
  while (from < to) {
    // Up to a sector's end, then whole sectors.
    const std::uint64_t part = std::min(to - from, kZeros.size() - from % kZeros.size());
    Store(from, kZeros.data(), static_cast<std::size_t>(part));
    from += part;
  }
}

void Stream::Grow(std::uint64_t size) {
  if (size > kRangeLockOffset) throw Error(Status::kTooLarge);
  if (IsMini() && size >= kMiniCutoff) {
    Move(size);
  } else {
    Extend(size);
  }
}

// Lengthens the chain for the new size; the new sectors' bytes are unset.
void Stream::Extend(std::uint64_t size) {
  const unsigned shift = size < kMiniCutoff ? kMiniShift : core_.header.sectorShift;
  const auto wanted = static_cast<std::uint32_t>((size + (1U << shift) - 1) >> shift);
  const bool mini = size < kMiniCutoff;
  LinkTable& table = mini ? static_cast<LinkTable&>(core_.mini) : core_.fat;
  std::uint32_t length = chain_.Length(table);
  while (length < wanted) {
    core_.pager.Trim();
    const std::uint32_t last = length == 0 ? kEndOfChain : chain_.At(table, length - 1);
    const std::uint32_t sector = mini ? core_.mini.Allocate(last) : core_.fat.Allocate(last);
    if (length != 0 && mini) core_.mini.SetNext(last, sector);
    if (length != 0 && !mini) core_.fat.SetNext(last, sector);
    chain_.Append(sector);
    ++length;
  }
  size_ = size;
  Save();
}

// Takes the content over the cutoff, either way.
void Stream::Move(std::uint64_t size) {
  std::array<std::uint8_t, kMiniCutoff> content;
  const auto kept = static_cast<std::size_t>(std::min({size, size_, std::uint64_t{kMiniCutoff}}));
  if (Read(0, content.data(), kept) != kept) throw Error(Status::kCorrupt);
  if (IsMini()) {
    core_.mini.FreeChain(chain_.First());
  } else {
    core_.fat.FreeChain(chain_.First());
  }
  chain_.Reset(kEndOfChain);
  size_ = 0;
  Extend(size);
  Store(0, content.data(), kept);
}

void Stream::Shrink(std::uint64_t size) {
  if (!IsMini() && size < kMiniCutoff) {
    Move(size);
    return;
  }
  LinkTable& table = Table();
  const auto wanted =
      static_cast<std::uint32_t>((size + (std::uint64_t{1} << Shift()) - 1) >> Shift());
  if (chain_.Has(table, wanted)) {
    const bool mini = IsMini();
    const std::uint32_t rest = chain_.At(table, wanted);
    if (wanted != 0) {
      const std::uint32_t last = chain_.At(table, wanted - 1);
      if (mini) core_.mini.SetNext(last, kEndOfChain);
      if (!mini) core_.fat.SetNext(last, kEndOfChain);
    }
    if (mini) core_.mini.FreeChain(rest);
    if (!mini) core_.fat.FreeChain(rest);
    chain_.Shorten(wanted);
  }
  size_ = size;
  Save();
}

void Stream::Save() { core_.directory.SetStream(id_, chain_.First(), size_); }

}  // namespace compound
