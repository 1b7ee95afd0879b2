// The mini stream: where streams below the cutoff live, in sectors of 64 bytes with an allocation
// table of their own.
#pragma once

#include "compound/allocation_table.h"

namespace compound {

class MiniStream final : public LinkTable {
 public:
  MiniStream(Pager& pager, Header& header, AllocationTable& fat);

  // Where the root entry says the mini stream is.
  void Attach(std::uint32_t first, std::uint64_t size);
  std::uint32_t First() const { return container_.First(); }
  std::uint64_t Size() const { return static_cast<std::uint64_t>(count_) << kMiniShift; }
  bool HasMoved() const { return changed_; }
  void SetSaved() { changed_ = false; }

  std::uint32_t Next(std::uint32_t sector) override;
  std::uint32_t Count() const override { return count_; }
  void SetNext(std::uint32_t sector, std::uint32_t next);
  std::uint32_t Allocate(std::uint32_t near);
  void FreeChain(std::uint32_t first);
  void Committed() { free_.Committed(); }

  const std::uint8_t* Read(std::uint32_t sector);
  std::uint8_t* Write(std::uint32_t sector);

 private:
  std::uint32_t EntriesPerSector() const { return pager_.SectorBytes() / 4; }
  std::uint32_t Get(std::uint32_t sector);
  void Set(std::uint32_t sector, std::uint32_t value);
  void LookAt(std::uint32_t index);
  std::uint32_t AppendSector();
  std::uint32_t Extend(Chain& chain);

  Pager& pager_;
  Header& header_;
  AllocationTable& fat_;
  Chain table_;      // the mini FAT's sectors
  Chain container_;  // the mini stream's own sectors
  std::uint32_t count_ = 0;
  bool changed_ = false;
  FreePlaces free_;
};

}  // namespace compound
