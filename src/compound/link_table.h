// What chains are made of: a table that names, for each sector, the next one of its chain.
#pragma once

#include "compound/format.h"

#include <vector>

namespace compound {

// Tables and the directory grow by one sector up to this length, from there on by a whole block of
// the pager: what is read together lies together.
inline constexpr std::uint32_t kLoneSectors = 16;

class LinkTable {
 public:
  // The sector after this one, or kEndOfChain. Throws kCorrupt when the entry names no sector.
  virtual std::uint32_t Next(std::uint32_t sector) = 0;
  // Adds sectors that follow a chain's sound sector, at most so many: as far as the same piece of
  // the table tells, up to the chain's end or the first entry that names no sector.
  virtual void Follow(std::uint32_t sector, std::size_t most, std::vector<std::uint32_t>* chain) {
    static_cast<void>(sector), static_cast<void>(most), static_cast<void>(chain);
  }
  virtual std::uint32_t Count() const = 0;

 protected:
  ~LinkTable() = default;
};

// The sectors of one chain in order, read from the table as far as they were asked for.
class Chain {
 public:
  // A chain that is thought to have so many sectors.
  void Reset(std::uint32_t first, std::size_t expected = 0);
  // The sector at an index; throws kCorrupt when the chain ends before it or runs in a circle.
  std::uint32_t At(LinkTable& table, std::uint32_t index) {
    if (index >= sectors_.size()) Walk(table, index);
    return sectors_[index];
  }
  // Whether the chain reaches the index; walks no further than that.
  bool Has(LinkTable& table, std::uint32_t index);
  std::uint32_t Length(LinkTable& table);
  std::uint32_t First() const { return first_; }
  // The caller links the sector in the table. The length must be known.
  void Append(std::uint32_t sector);
  void Shorten(std::uint32_t length);

 private:
  void Walk(LinkTable& table, std::uint32_t index);
  bool Step(LinkTable& table);
  void Run(LinkTable& table, std::size_t wanted);

  std::uint32_t first_ = kEndOfChain;
  bool complete_ = true;
  std::vector<std::uint32_t> sectors_;
};

// Finds free places in a table of many pieces without reading all of it: what was freed or seen
// free is remembered, and per commit only a few pieces that were not looked at yet are read, from a
// place that changes with every opening, and one more for every so many places that had to be
// added. So a hole is found sooner or later, and a lone change never costs a walk over the file.
class FreePlaces {
 public:
  void Reset(std::uint32_t pieces);
  void Add(std::uint32_t place) { places_.push_back(place); }
  // Adds a chain so that it is given out in its own order.
  void AddChain(const std::vector<std::uint32_t>& chain);
  // The next piece to look at, or false when there is none or enough was read for this commit.
  bool NextPiece(std::uint32_t* piece);
  bool Take(std::uint32_t* place);
  // A place had to be added.
  void NoneFound();
  void Committed();

 private:
  std::vector<std::uint32_t> places_;
  std::uint32_t pieces_ = 0;
  std::uint32_t seen_ = 0;
  std::uint32_t cursor_ = 0;
  std::uint32_t budget_ = 0;
  std::uint32_t added_ = 0;
};

}  // namespace compound
