// Journals that are damaged or lie: the file stays in one of its two states, and nothing is written
// where it does not belong.
#include "compound/checksum.h"
#include "compound/format.h"
#include "unit/compound/crash_disk.h"
#include "unit/compound/document_helpers.h"
#include "unit/compound/file_checker.h"

#include <gtest/gtest.h>

namespace {

using namespace compound;
using namespace test;

std::uint64_t SumOf(const std::string& bytes) {
  return Checksum(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string Number(std::uint64_t value, std::size_t bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

struct Piece {
  std::uint32_t number;
  std::string before;
  std::string after;
};

// A journal with every checksum right, whatever it says.
struct MadeJournal {
  std::vector<Piece> pieces;
  std::uint64_t fileBytes = 0;
  std::uint32_t format = 1;
  std::uint32_t pieceBytes = 512;
  std::uint32_t more = 0;  // records that the header promises beyond those

  std::string Bytes() const {
    std::string records;
    for (const Piece& piece : pieces) {
      records += Number(piece.number, 8) + Number(SumOf(piece.before), 8) +
                 Number(SumOf(piece.after), 8) + piece.after;
    }
    std::string header = "BrvJnl\x1A\n" + Number(format, 4) + Number(pieceBytes, 4) +
                         Number(pieces.size() + more, 8) + Number(fileBytes, 8) +
                         Number(SumOf(records), 8);
    header += Number(SumOf(header), 8);
    header.resize(512, '\0');
    return header + records;
  }
};

class HostileJournal : public testing::Test {
 protected:
  void SetUp() override {
    disk_ = NewCrashDisk();
    const DocumentPtr document = OpenOn(disk_);
    Put(*document, kRootEntry, "kept", Pattern(20000));
    document->Commit();
    file_ = disk_->Bytes("file");
  }

  std::string PieceOf(std::uint32_t number) const {
    return file_.substr(std::size_t{number} * 512, 512);
  }
  // Opens the file beside the journal and gives what is in it then.
  std::string Opened(const std::string& journal) {
    disk_ = std::make_shared<CrashDisk>();
    disk_->Put("file", file_);
    disk_->Put("journal", journal);
    OpenOn(disk_, true);
    EXPECT_EQ(disk_->Bytes("file"), file_);
    OpenOn(disk_);
    EXPECT_FALSE(disk_->Has("journal"));
    return disk_->Bytes("file");
  }

  CrashDiskPtr disk_;
  std::string file_;
};

TEST_F(HostileJournal, OneThatIsSoundIsApplied) {
  // The free entries of the directory: piece 2, byte 300, is in nobody's way.
  std::string after = PieceOf(2);
  after[300] = 'x';
  const MadeJournal made{{{2, PieceOf(2), after}}, file_.size()};
  std::string wanted = file_;
  wanted.replace(1024, 512, after);
  EXPECT_TRUE(Opened(made.Bytes()) == wanted);
  EXPECT_FALSE(disk_->Has("aside-1"));
}

TEST_F(HostileJournal, AnEmptyOneThatIsSealedIsDone) {
  EXPECT_TRUE(Opened(MadeJournal{{}, file_.size()}.Bytes()) == file_);
  EXPECT_FALSE(disk_->Has("aside-1"));
}

TEST_F(HostileJournal, AnyCutLeavesTheFileAlone) {
  std::string after = PieceOf(2);
  after[300] = 'x';
  const std::string journal =
      MadeJournal{{{2, PieceOf(2), after}, {9, PieceOf(9), PieceOf(10)}}, file_.size()}.Bytes();
  for (std::size_t size = 0; size < journal.size(); ++size) {
    EXPECT_TRUE(Opened(journal.substr(0, size)) == file_) << size;
  }
  EXPECT_FALSE(Opened(journal) == file_);
}

TEST_F(HostileJournal, AnyChangedBitLeavesTheFileAlone) {
  std::string after = PieceOf(2);
  after[300] = 'x';
  const std::string journal = MadeJournal{{{2, PieceOf(2), after}}, file_.size()}.Bytes();
  for (std::size_t at = 0; at < journal.size(); ++at) {
    std::string changed = journal;
    changed[at] = static_cast<char>(changed[at] ^ (1 << (at % 8)));
    if (at >= 48 && at < 512) continue;  // of no meaning
    EXPECT_TRUE(Opened(changed) == file_) << at;
  }
}

TEST_F(HostileJournal, PromisedRecordsThatAreNotThereMakeItUnsealed) {
  for (const std::uint32_t more : {1U, 1000000U, 0xFFFFFFFEU}) {
    MadeJournal made{{{2, PieceOf(2), PieceOf(3)}}, file_.size()};
    made.more = more;
    EXPECT_TRUE(Opened(made.Bytes()) == file_);
    EXPECT_FALSE(disk_->Has("aside-1"));
  }
}

TEST_F(HostileJournal, PiecesBeyondTheEndAreNotWritten) {
  const auto end = static_cast<std::uint32_t>(file_.size() / 512);
  const std::string zeros(512, '\0');
  for (const std::uint32_t number : {end, end + 1000, 0xFFFFFFFFU}) {
    EXPECT_TRUE(Opened(MadeJournal{{{number, zeros, PieceOf(3)}}, file_.size()}.Bytes()) == file_);
    // Nor when the journal says that the file is longer.
    const std::uint64_t said = (std::uint64_t{number} + 1) * 512;
    EXPECT_TRUE(Opened(MadeJournal{{{number, zeros, PieceOf(3)}}, said}.Bytes()) == file_);
    EXPECT_TRUE(disk_->Has("aside-1"));
  }
  EXPECT_TRUE(Opened(MadeJournal{{{2, PieceOf(2), PieceOf(3)}}, ~std::uint64_t{0}}.Bytes()) ==
              file_);
}

TEST_F(HostileJournal, PiecesOutOfOrderOrTwiceMakeItUnsealed) {
  const Piece two{2, PieceOf(2), PieceOf(3)};
  const Piece nine{9, PieceOf(9), PieceOf(3)};
  EXPECT_TRUE(Opened(MadeJournal{{nine, two}, file_.size()}.Bytes()) == file_);
  EXPECT_TRUE(Opened(MadeJournal{{two, two}, file_.size()}.Bytes()) == file_);
}

TEST_F(HostileJournal, OnePieceThatDoesNotFitIsEnough) {
  const MadeJournal made{{{2, PieceOf(2), PieceOf(3)}, {9, PieceOf(4), PieceOf(3)}}, file_.size()};
  EXPECT_TRUE(Opened(made.Bytes()) == file_);
  EXPECT_EQ(disk_->Bytes("aside-1"), made.Bytes());
}

TEST_F(HostileJournal, AFormatOfLaterTimesIsKeptForThem) {
  MadeJournal made{{{2, PieceOf(2), PieceOf(3)}}, file_.size()};
  made.format = 2;
  EXPECT_TRUE(Opened(made.Bytes()) == file_);
  EXPECT_EQ(disk_->Bytes("aside-1"), made.Bytes());
  made.format = 1;
  made.pieceBytes = 4096;
  EXPECT_TRUE(Opened(made.Bytes()) == file_);
  EXPECT_TRUE(disk_->Has("aside-1"));
}

TEST_F(HostileJournal, WhatBelongsBehindItIsNotRead) {
  // Left there by a longer journal.
  std::string after = PieceOf(2);
  after[300] = 'x';
  const std::string journal = MadeJournal{{{2, PieceOf(2), after}}, file_.size()}.Bytes();
  EXPECT_FALSE(Opened(journal + Pattern(3000)) == file_);
}

}  // namespace
