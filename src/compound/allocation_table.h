// The FAT with the DIFAT that locates it: which sectors form chains, which are free.
#pragma once

#include "compound/header.h"
#include "compound/link_table.h"
#include "compound/pager.h"

namespace compound {

class AllocationTable final : public LinkTable {
 public:
  AllocationTable(Pager& pager, Header& header);

  std::uint32_t Next(std::uint32_t sector) override;
  void Follow(std::uint32_t sector, std::size_t most, std::vector<std::uint32_t>* chain) override;
  std::uint32_t Count() const override { return pager_.SectorCount(); }
  void SetNext(std::uint32_t sector, std::uint32_t next);

  // Takes a free sector as the end of a chain, the one after `near` if that is free. Its bytes are
  // whatever they were.
  std::uint32_t Allocate(std::uint32_t near);
  // Frees a chain from a sector on; where the chain is damaged the rest is left alone.
  void FreeChain(std::uint32_t first);
  // Ends a commit.
  void Committed(bool oldWritten) noexcept;

 private:
  std::uint32_t EntriesPerSector() const { return pager_.SectorBytes() / 4; }
  std::uint32_t Location(std::uint32_t fatIndex);
  void LoadDifat(std::uint32_t fatIndex);
  std::uint32_t Get(std::uint32_t sector);
  void Set(std::uint32_t sector, std::uint32_t value);
  bool IsUsable(std::uint32_t sector);
  void LookAt(std::uint32_t fatIndex);
  std::uint32_t AppendSector();
  void GrowTable();
  void AddTableSector();
  void GrowDifat();
  void LoadAllLocations();

  Pager& pager_;
  Header& header_;
  std::vector<std::uint32_t> locations_;  // FAT sectors known so far
  std::vector<std::uint32_t> difat_;      // DIFAT sectors known so far
  FreePlaces free_;
};

}  // namespace compound
