// The sectors of a document in memory: a bounded cache of clean ones and all that were changed
// since the last commit.
//
// A sector is "fresh" when nothing in the committed state refers to it: it was free, or beyond the
// end, at the last commit. Fresh sectors may reach the file at any time; changed old ones wait in
// memory for the commit. A sector freed since the last commit is "held": the committed state still
// needs its bytes, so it must not be given out before the commit.
#pragma once

#include "compound/byte_file.h"
#include "compound/format.h"

#include <functional>
#include <memory>
#include <vector>

namespace compound {

struct PagerLimits {
  std::size_t cleanBytes = 4U << 20;   // cached without need
  std::size_t dirtyBytes = 16U << 20;  // fresh sectors are written early beyond this
};

class Pager {
 public:
  // fileBytes is the file's present length, sectors how many of them belong to the document.
  Pager(ByteFile& file, unsigned sectorShift, std::uint64_t fileBytes, std::uint32_t sectors,
        PagerLimits limits);
  ~Pager();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

  std::uint32_t SectorCount() const { return sectors_; }
  std::uint32_t SectorBytes() const { return 1U << shift_; }
  // Sectors that are read together.
  std::uint32_t BlockSectors() const { return blockMask_ + 1; }

  // A sector's bytes; every pointer stays good until the next Trim.
  const std::uint8_t* Read(std::uint32_t sector);
  std::uint8_t* Write(std::uint32_t sector);
  // For a sector whose old bytes do not matter: zeroed, or as they happen to be.
  std::uint8_t* WriteZeroed(std::uint32_t sector);
  std::uint8_t* WriteWhole(std::uint32_t sector);
  // Copies count whole sectors out without filling the cache with them.
  void ReadRun(std::uint32_t sector, std::uint32_t count, std::uint8_t* target);

  // Up to the next commit no sector is fresh: whatever stands in the file is still needed.
  void TakeAllForOld() { allOld_ = true; }
  // Shortens the file to the document's sectors, where nothing else is of use. May fail silently.
  void CutOff() noexcept;

  // Adds one fresh sector at the end and gives its number.
  std::uint32_t Append();
  void MarkFresh(std::uint32_t sector);
  bool IsFresh(std::uint32_t sector) const;
  // Notes that the sector belongs to nothing any more: what was changed in it need not be written.
  void Release(std::uint32_t sector);
  bool IsHeld(std::uint32_t sector) const;

  // Drops clean sectors beyond the limit and writes fresh ones early when too many wait.
  void Trim() {
    if (cleanBlocks_ > CleanLimit() || dirty_.size() > spillAt_) TrimNow();
  }

  bool IsNew() const { return committedSectors_ == 0; }  // nothing was committed yet
  bool HasChanges() const { return !dirty_.empty() || sectors_ != committedSectors_; }
  // The first half of a commit: afterwards the file holds every fresh sector and has its new
  // length.
  void WriteFresh();
  // How long a file must be to hold all sectors.
  std::uint64_t DocumentBytes() const { return OffsetOf(sectors_); }
  // The other half: calls for each run of neighbouring old sectors that changed, in ascending
  // order, with the place in the file and the bytes.
  using RunVisitor =
      std::function<void(std::uint64_t offset, const std::uint8_t* data, std::size_t count)>;
  void VisitOld(const RunVisitor& visitor) { VisitDirty(false, visitor); }
  // Ends a commit: gives the sectors that are free to use from now on. Old sectors that the file
  // does not hold yet stay in memory.
  std::vector<std::uint32_t> Committed(bool oldWritten);
  // Something in the file, or about to come there, may refer to what was written past its end.
  void KeepGrowth() { growthKept_ = true; }
  // Cuts off what was written early past the committed end, unless it is to be kept.
  void DropChanges() noexcept;

 private:
  struct Block;
  struct Chunk;

  Chunk& ChunkOf(std::uint32_t block);
  const Chunk* FindChunk(std::uint32_t block) const;
  Block& BlockOf(std::uint32_t sector);
  Block* FindBlock(std::uint32_t sector) const;
  void Load(Block& block, std::uint32_t sector);
  std::uint8_t* MakeDirty(Block& block, std::uint32_t sector);
  std::uint8_t* DataOf(Block& block, std::uint32_t sector) const;
  unsigned BitOf(std::uint32_t sector) const { return 1U << (sector & blockMask_); }
  void LinkClean(Block& block);
  void UnlinkClean(Block& block);
  void TrimNow();
  // How many clean blocks may stay: few once all documents together hold many.
  std::size_t CleanLimit() const;
  void VisitDirty(bool freshOnes, const RunVisitor& visitor);
  void WriteFreshOnes();
  void SettleWritten();
  std::uint64_t OffsetOf(std::uint32_t sector) const {
    return (static_cast<std::uint64_t>(sector) + 1) << shift_;
  }

  ByteFile& file_;
  unsigned shift_;
  unsigned blockShift_;  // sectors in a block, as a power of two
  std::uint32_t blockMask_;
  std::uint64_t fileBytes_;       // the file's length as it stands
  std::uint64_t committedBytes_;  // and at the last commit
  std::uint32_t sectors_;
  std::uint32_t committedSectors_;
  bool growthKept_ = false;
  bool allOld_ = false;
  std::vector<std::unique_ptr<Chunk>> chunks_;
  std::vector<Block*> dirty_;  // blocks with changes, each once, in no order
  Block* oldest_ = nullptr;    // clean blocks, a list in the order of their eviction
  Block* newest_ = nullptr;
  std::size_t cleanBlocks_ = 0;
  std::size_t cleanLimit_;
  std::size_t dirtyLimit_;
  std::size_t spillAt_;
  std::vector<std::uint32_t> freshBlocks_;  // blocks with a fresh mark
  std::vector<std::uint32_t> held_;
};

}  // namespace compound
