#include "compound/link_table.h"

#include "compound/byte_file.h"

#include <algorithm>
#include <chrono>

namespace compound {
namespace {

constexpr std::uint32_t kPiecesPerCommit = 12;
constexpr std::uint32_t kAddedPerPiece = 8;

}  // namespace

void Chain::Reset(std::uint32_t first, std::size_t expected) {
  sectors_.clear();
  sectors_.reserve(expected);
  first_ = first;
  complete_ = first == kEndOfChain;
}

bool Chain::Step(LinkTable& table) {
  if (complete_) return false;
  const std::uint32_t next = sectors_.empty() ? first_ : table.Next(sectors_.back());
  if (next == kEndOfChain) {
    complete_ = true;
    return false;
  }
  // A chain as long as the whole table may end there; a longer one turns in a circle.
  if (sectors_.size() >= table.Count() || next >= table.Count()) throw Error(Status::kCorrupt);
  sectors_.push_back(next);
  return true;
}

// Takes what the table has at hand behind the last sector, up to a length.
void Chain::Run(LinkTable& table, std::size_t wanted) {
  wanted = std::min<std::size_t>(wanted, table.Count());
  if (complete_ || sectors_.size() >= wanted) return;
  table.Follow(sectors_.back(), wanted - sectors_.size(), &sectors_);
}

void Chain::Walk(LinkTable& table, std::uint32_t index) {
  if (!Has(table, index)) throw Error(Status::kCorrupt);
}

bool Chain::Has(LinkTable& table, std::uint32_t index) {
  while (index >= sectors_.size()) {
    if (!Step(table)) return false;
    Run(table, std::size_t{index} + 1);
  }
  return true;
}

std::uint32_t Chain::Length(LinkTable& table) {
  while (Step(table)) Run(table, table.Count());
  return static_cast<std::uint32_t>(sectors_.size());
}

void Chain::Append(std::uint32_t sector) {
  sectors_.push_back(sector);
  if (sectors_.size() == 1) first_ = sector;
  complete_ = true;
}

void Chain::Shorten(std::uint32_t length) {
  sectors_.resize(length);
  if (length == 0) first_ = kEndOfChain;
  complete_ = true;
}

void FreePlaces::Reset(std::uint32_t pieces) {
  places_.clear();
  pieces_ = pieces;
  seen_ = 0;
  // Each opening begins at another place, whether the file grew or not.
  const auto now = static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch() /
                                              std::chrono::microseconds(1));
  // Knuth's multiplicative hash.
  cursor_ = pieces == 0 ? 0 : static_cast<std::uint32_t>((now * 2654435761ULL >> 8) % pieces);
  budget_ = kPiecesPerCommit;
}

void FreePlaces::AddChain(const std::vector<std::uint32_t>& chain) {
  places_.insert(places_.end(), chain.rbegin(), chain.rend());
}

bool FreePlaces::NextPiece(std::uint32_t* piece) {
  if (seen_ == pieces_ || budget_ == 0) return false;
  --budget_;
  ++seen_;
  *piece = cursor_;
  cursor_ = (cursor_ + 1) % pieces_;
  return true;
}

void FreePlaces::NoneFound() {
  if (++added_ % kAddedPerPiece == 0) ++budget_;
}

bool FreePlaces::Take(std::uint32_t* place) {
  if (places_.empty()) return false;
  *place = places_.back();
  places_.pop_back();
  return true;
}

void FreePlaces::Committed() { budget_ = kPiecesPerCommit; }

}  // namespace compound
