#include "compound/pager.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

namespace compound {
namespace {

constexpr std::size_t kBlockBytes = 4096;
constexpr std::uint32_t kChunkBlocks = 512;
constexpr std::size_t kWriteBytes = 256U << 10;  // gathered for one write
// What all documents of the process may keep before each has to do with little: with hundreds open
// the limits of single ones would add up to a gigabyte.
constexpr std::size_t kSharedBytes = 8U << 20;
constexpr std::size_t kLeastBytes = 64U << 10;

std::atomic<std::size_t> cleanEverywhere{0};

}  // namespace

struct Pager::Block {
  std::uint32_t number = 0;
  std::uint8_t valid = 0;  // one bit a sector: its bytes are here
  std::uint8_t dirty = 0;  // its bytes are newer than the file's
  bool used = false;
  bool listed = false;  // stands in dirty_, not in the clean list
  Block* older = nullptr;
  Block* newer = nullptr;
  std::uint8_t data[kBlockBytes];
};

struct Pager::Chunk {
  std::array<std::unique_ptr<Block>, kChunkBlocks> blocks;
  std::array<std::uint8_t, kChunkBlocks> fresh{};
  std::array<std::uint8_t, kChunkBlocks> held{};
};

Pager::Pager(ByteFile& file, unsigned sectorShift, std::uint64_t fileBytes, std::uint32_t sectors,
             PagerLimits limits)
    : file_(file),
      shift_(sectorShift),
      blockShift_(12 - sectorShift),
      blockMask_((1U << blockShift_) - 1),
      fileBytes_(fileBytes),
      committedBytes_(fileBytes),
      sectors_(sectors),
      committedSectors_(sectors),
      cleanLimit_(limits.cleanBytes / kBlockBytes),
      dirtyLimit_(limits.dirtyBytes / kBlockBytes),
      spillAt_(dirtyLimit_) {}

Pager::~Pager() { cleanEverywhere -= cleanBlocks_; }

Pager::Chunk& Pager::ChunkOf(std::uint32_t block) {
  const std::size_t at = block / kChunkBlocks;
  if (at >= chunks_.size()) chunks_.resize(at + 1);
  if (!chunks_[at]) chunks_[at] = std::make_unique<Chunk>();
  return *chunks_[at];
}

const Pager::Chunk* Pager::FindChunk(std::uint32_t block) const {
  const std::size_t at = block / kChunkBlocks;
  return at < chunks_.size() ? chunks_[at].get() : nullptr;
}

Pager::Block& Pager::BlockOf(std::uint32_t sector) {
  if (sector >= sectors_) throw Error(Status::kCorrupt);
  const std::uint32_t number = sector >> blockShift_;
  std::unique_ptr<Block>& slot = ChunkOf(number).blocks[number % kChunkBlocks];
  if (!slot) {
    slot.reset(new Block);  // the bytes stay unset until a sector is loaded or written
    slot->number = number;
    LinkClean(*slot);
  }
  slot->used = true;
  return *slot;
}

Pager::Block* Pager::FindBlock(std::uint32_t sector) const {
  const std::uint32_t number = sector >> blockShift_;
  const Chunk* chunk = FindChunk(number);
  return chunk ? chunk->blocks[number % kChunkBlocks].get() : nullptr;
}

std::uint8_t* Pager::DataOf(Block& block, std::uint32_t sector) const {
  return block.data + (static_cast<std::size_t>(sector & blockMask_) << shift_);
}

std::size_t Pager::CleanLimit() const {
  return cleanEverywhere > kSharedBytes / kBlockBytes
             ? std::min(cleanLimit_, kLeastBytes / kBlockBytes)
             : cleanLimit_;
}

void Pager::LinkClean(Block& block) {
  block.older = newest_;
  block.newer = nullptr;
  (newest_ ? newest_->newer : oldest_) = &block;
  newest_ = &block;
  ++cleanBlocks_;
  ++cleanEverywhere;
}

void Pager::UnlinkClean(Block& block) {
  (block.older ? block.older->newer : oldest_) = block.newer;
  (block.newer ? block.newer->older : newest_) = block.older;
  block.older = block.newer = nullptr;
  --cleanBlocks_;
  --cleanEverywhere;
}

// Fills in all sectors of the block that are missing, in one read where nothing of it is there yet.
void Pager::Load(Block& block, std::uint32_t sector) {
  const std::uint32_t first = block.number << blockShift_;
  std::uint32_t from = sector;
  std::uint32_t count = 1;
  if (block.valid == 0) {
    from = first;
    count = std::min(blockMask_ + 1, sectors_ - first);
  }
  const std::size_t bytes = static_cast<std::size_t>(count) << shift_;
  std::uint8_t* target = DataOf(block, from);
  std::size_t got = 0;
  const std::uint64_t offset = OffsetOf(from);
  if (offset < fileBytes_) {
    const auto there =
        static_cast<std::size_t>(std::min<std::uint64_t>(bytes, fileBytes_ - offset));
    Check(file_.ReadAt(offset, target, there, &got));
  }
  // A last sector cut short, or one that was never written, reads as zeros.
  std::memset(target + got, 0, bytes - got);
  for (std::uint32_t i = 0; i < count; ++i) {
    block.valid = static_cast<std::uint8_t>(block.valid | BitOf(from + i));
  }
}

const std::uint8_t* Pager::Read(std::uint32_t sector) {
  Block& block = BlockOf(sector);
  if ((block.valid & BitOf(sector)) == 0) Load(block, sector);
  return DataOf(block, sector);
}

std::uint8_t* Pager::MakeDirty(Block& block, std::uint32_t sector) {
  if (!block.listed) {
    dirty_.push_back(&block);
    UnlinkClean(block);
    block.listed = true;
  }
  block.valid = static_cast<std::uint8_t>(block.valid | BitOf(sector));
  block.dirty = static_cast<std::uint8_t>(block.dirty | BitOf(sector));
  return DataOf(block, sector);
}

std::uint8_t* Pager::Write(std::uint32_t sector) {
  Block& block = BlockOf(sector);
  if ((block.valid & BitOf(sector)) == 0) Load(block, sector);
  return MakeDirty(block, sector);
}

std::uint8_t* Pager::WriteWhole(std::uint32_t sector) { return MakeDirty(BlockOf(sector), sector); }

std::uint8_t* Pager::WriteZeroed(std::uint32_t sector) {
  std::uint8_t* data = WriteWhole(sector);
  std::memset(data, 0, SectorBytes());
  return data;
}

void Pager::ReadRun(std::uint32_t sector, std::uint32_t count, std::uint8_t* target) {
  while (count > 0) {
    std::uint32_t run = 0;
    const auto cached = [this](std::uint32_t s) {
      const Block* block = FindBlock(s);
      return block != nullptr && (block->valid & BitOf(s)) != 0;
    };
    while (run < count && !cached(sector + run)) ++run;
    if (run > blockMask_) {
      const std::size_t bytes = static_cast<std::size_t>(run) << shift_;
      std::size_t got = 0;
      Check(file_.ReadAt(OffsetOf(sector), target, bytes, &got));
      std::memset(target + got, 0, bytes - got);
    } else {
      // Too short for a read of its own: through the cache, whose neighbours may be wanted next.
      run = std::max(run, 1U);
      for (std::uint32_t i = 0; i < run; ++i) {
        std::memcpy(target + (static_cast<std::size_t>(i) << shift_), Read(sector + i),
                    SectorBytes());
      }
    }
    sector += run;
    count -= run;
    target += static_cast<std::size_t>(run) << shift_;
  }
}

std::uint32_t Pager::Append() {
  const std::uint32_t sector = sectors_;
  if (OffsetOf(sector) + SectorBytes() > kRangeLockOffset) throw Error(Status::kTooLarge);
  ++sectors_;
  MarkFresh(sector);
  return sector;
}

void Pager::MarkFresh(std::uint32_t sector) {
  if (allOld_) return;
  const std::uint32_t number = sector >> blockShift_;
  std::uint8_t& mask = ChunkOf(number).fresh[number % kChunkBlocks];
  if (mask == 0) freshBlocks_.push_back(number);
  mask = static_cast<std::uint8_t>(mask | BitOf(sector));
}

bool Pager::IsFresh(std::uint32_t sector) const {
  const std::uint32_t number = sector >> blockShift_;
  const Chunk* chunk = FindChunk(number);
  return chunk != nullptr && (chunk->fresh[number % kChunkBlocks] & BitOf(sector)) != 0;
}

bool Pager::IsHeld(std::uint32_t sector) const {
  const std::uint32_t number = sector >> blockShift_;
  const Chunk* chunk = FindChunk(number);
  return chunk != nullptr && (chunk->held[number % kChunkBlocks] & BitOf(sector)) != 0;
}

void Pager::Release(std::uint32_t sector) {
  if (Block* block = FindBlock(sector); block && (block->dirty & BitOf(sector)) != 0) {
    block->dirty = static_cast<std::uint8_t>(block->dirty & ~BitOf(sector));
    block->valid = static_cast<std::uint8_t>(block->valid & ~BitOf(sector));
  }
  if (IsFresh(sector) || IsHeld(sector)) return;
  const std::uint32_t number = sector >> blockShift_;
  held_.push_back(sector);
  std::uint8_t& mask = ChunkOf(number).held[number % kChunkBlocks];
  mask = static_cast<std::uint8_t>(mask | BitOf(sector));
}

void Pager::TrimNow() {
  if (dirty_.size() > spillAt_) {
    WriteFreshOnes();
    SettleWritten();
    spillAt_ = dirty_.size() + dirtyLimit_;
  }
  // A block used since it was last looked at gets a second round.
  const std::size_t limit = CleanLimit();
  for (std::size_t looked = cleanBlocks_ * 2; cleanBlocks_ > limit && looked > 0; --looked) {
    Block& block = *oldest_;
    UnlinkClean(block);
    if (block.used) {
      block.used = false;
      LinkClean(block);
    } else {
      const std::uint32_t number = block.number;
      ChunkOf(number).blocks[number % kChunkBlocks].reset();
    }
  }
}

// Gathers the fresh or the other changed sectors, neighbours together.
void Pager::VisitDirty(bool freshOnes, const RunVisitor& visitor) {
  std::sort(dirty_.begin(), dirty_.end(),
            [](const Block* a, const Block* b) { return a->number < b->number; });
  std::vector<std::uint8_t> gathered;
  std::uint32_t start = 0;
  std::uint32_t next = 0;
  const auto flush = [&] {
    if (!gathered.empty()) visitor(OffsetOf(start), gathered.data(), gathered.size());
    gathered.clear();
  };
  for (Block* block : dirty_) {
    const std::uint8_t fresh = ChunkOf(block->number).fresh[block->number % kChunkBlocks];
    const unsigned wanted = block->dirty & (freshOnes ? fresh : ~fresh);
    for (std::uint32_t i = 0; i <= blockMask_; ++i) {
      if ((wanted & (1U << i)) == 0) continue;
      const std::uint32_t sector = (block->number << blockShift_) + i;
      if (!gathered.empty() && (sector != next || gathered.size() >= kWriteBytes)) flush();
      if (gathered.empty()) start = sector;
      const std::uint8_t* data = DataOf(*block, sector);
      gathered.insert(gathered.end(), data, data + SectorBytes());
      next = sector + 1;
    }
  }
  flush();
}

void Pager::WriteFreshOnes() {
  VisitDirty(true, [this](std::uint64_t offset, const std::uint8_t* data, std::size_t count) {
    Check(file_.WriteAt(offset, data, count));
    fileBytes_ = std::max(fileBytes_, offset + count);
  });
  for (Block* block : dirty_) {
    const std::uint8_t fresh = ChunkOf(block->number).fresh[block->number % kChunkBlocks];
    block->dirty = static_cast<std::uint8_t>(block->dirty & ~fresh);
  }
}

// Moves blocks without changes from the changed ones to the clean ones.
void Pager::SettleWritten() {
  const auto rest = std::partition(dirty_.begin(), dirty_.end(),
                                   [](const Block* block) { return block->dirty != 0; });
  for (auto it = rest; it != dirty_.end(); ++it) {
    (*it)->listed = false;
    LinkClean(**it);
  }
  dirty_.erase(rest, dirty_.end());
}

void Pager::WriteFresh() {
  WriteFreshOnes();
  const std::uint64_t end = OffsetOf(sectors_);
  if (fileBytes_ < end) {
    Check(file_.SetSize(end));
    fileBytes_ = end;
  }
}

std::vector<std::uint32_t> Pager::Committed(bool oldWritten) {
  if (oldWritten) {
    for (Block* block : dirty_) block->dirty = 0;
  }
  SettleWritten();
  spillAt_ = dirtyLimit_;
  for (const std::uint32_t number : freshBlocks_) {
    ChunkOf(number).fresh[number % kChunkBlocks] = 0;
  }
  freshBlocks_.clear();
  for (const std::uint32_t sector : held_) {
    const std::uint32_t number = sector >> blockShift_;
    ChunkOf(number).held[number % kChunkBlocks] = 0;
  }
  committedSectors_ = sectors_;
  committedBytes_ = fileBytes_;
  growthKept_ = false;
  allOld_ = false;
  return std::exchange(held_, {});
}

void Pager::CutOff() noexcept {
  const std::uint64_t end = OffsetOf(sectors_);
  if (fileBytes_ > end && file_.SetSize(end) == Status::kOk) fileBytes_ = committedBytes_ = end;
}

void Pager::DropChanges() noexcept {
  if (growthKept_) return;
  // Asked anew: a write that failed may have lengthened the file.
  std::uint64_t size = 0;
  if (file_.Size(&size) == Status::kOk && size > committedBytes_) {
    static_cast<void>(file_.SetSize(committedBytes_));
  }
}

}  // namespace compound
