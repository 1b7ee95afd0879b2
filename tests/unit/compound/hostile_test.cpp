// Files that lie. Whatever they say: no crash, no endless loop, no memory beyond the file's size,
// and what is sound can be read.
#include "support/temporary_directory.h"
#include "unit/compound/document_helpers.h"
#include "unit/compound/exercise.h"
#include "unit/compound/file_checker.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace compound;
using namespace test;

// A small file with a mini stream, a large stream, and a storage.
std::string Sample() {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  Put(*document, kRootEntry, "small", Pattern(300));
  Put(*document, kRootEntry, "large", Pattern(5000));
  const EntryId sub = document->CreateStorage(kRootEntry, u"sub", 1);
  Put(*document, sub, "inner", Pattern(70));
  document->Commit();
  return disk->bytes;
}

void Poke32(std::string& bytes, std::size_t at, std::uint32_t value) {
  Store32(reinterpret_cast<std::uint8_t*>(bytes.data()) + at, value);
}

std::uint32_t Peek32(const std::string& bytes, std::size_t at) {
  return Load32(reinterpret_cast<const std::uint8_t*>(bytes.data()) + at);
}

std::size_t SectorAt(std::uint32_t sector) { return (std::size_t{sector} + 1) * 512; }

// Where the entry of a name stands in the file.
std::size_t EntryAt(const std::string& bytes, const std::string& name) {
  std::string wide;
  for (const char c : name + '\0') wide += std::string{c, '\0'};
  return bytes.find(wide);
}

TEST(Hostile, CutAtEveryByte) {
  const std::string good = Sample();
  for (std::size_t size = 0; size < good.size(); ++size) ExerciseBytes(good.substr(0, size));
}

TEST(Hostile, EveryByteFlipped) {
  const std::string good = Sample();
  for (std::size_t at = 0; at < good.size(); ++at) {
    std::string bad = good;
    bad[at] = static_cast<char>(bad[at] ^ (1 << (at % 8)));
    ExerciseBytes(bad);
    bad[at] = static_cast<char>(~good[at]);
    ExerciseBytes(bad);
  }
}

TEST(Hostile, RandomWordsReplaced) {
  const std::string good = Sample();
  std::mt19937 random(99);
  constexpr std::uint32_t kTelling[] = {0, 1, 2, 0x7FFFFFFF, 0xFFFFFFFA, 0xFFFFFFFE, 0xFFFFFFFF};
  for (int i = 0; i < 4000; ++i) {
    std::string bad = good;
    for (auto n = 1 + random() % 4; n > 0; --n) {
      const std::uint32_t value =
          random() % 2 == 0 ? kTelling[random() % 7] : static_cast<std::uint32_t>(random() % 40);
      Poke32(bad, random() % (bad.size() / 4) * 4, value);
    }
    ExerciseBytes(bad);
  }
}

TEST(Hostile, NoCompoundFileIsToldFromADamagedOne) {
  EXPECT_EQ(StatusOf([] { Open(NewDisk()); }), Status::kNotCompound);
  EXPECT_EQ(StatusOf([] { Open(NewDisk("19 bytes of text...")); }), Status::kNotCompound);
  EXPECT_EQ(StatusOf([] { Open(NewDisk(std::string(4096, 't'))); }), Status::kNotCompound);
  EXPECT_EQ(StatusOf([] { Open(NewDisk(Sample().substr(0, 512))); }), Status::kCorrupt);
  std::string odd = Sample();
  odd[30] = 10;  // sectors of 1024
  EXPECT_EQ(StatusOf([&] { Open(NewDisk(odd)); }), Status::kCorrupt);
}

TEST(Hostile, ACutFileIsReadAsFarAsItGoes) {
  const std::string good = Sample();
  const DiskPtr whole = NewDisk(good);
  const std::uint32_t start = Peek32(good, EntryAt(good, "large") + 116);
  // The large stream's later half is missing; what stands before is there.
  const DocumentPtr document = Open(NewDisk(good.substr(0, SectorAt(start) + 1024)));
  const auto stream = document->OpenStream(document->Find(kRootEntry, u"large"));
  std::string content(5000, '\0');
  content.resize(stream->Read(0, content.data(), content.size()));
  EXPECT_EQ(content, Pattern(1024));
  EXPECT_EQ(StatusOf([&] { stream->Read(1024, content.data(), 1); }), Status::kCorrupt);
}

TEST(Hostile, AChainThatRunsInACircleEnds) {
  std::string bad = Sample();
  const std::uint32_t start = Peek32(bad, EntryAt(bad, "large") + 116);
  const std::uint32_t fat = Peek32(bad, 76);
  Poke32(bad, SectorAt(fat) + 4 * (start + 3), start);
  Poke32(bad, EntryAt(bad, "large") + 120, 0x7FFFFFFF);
  const DocumentPtr document = Open(NewDisk(bad));
  const auto stream = document->OpenStream(document->Find(kRootEntry, u"large"));
  std::string content(1U << 20, '\0');
  std::size_t got = 0;
  StatusOf([&] { got = stream->Read(0, content.data(), content.size()); });
  EXPECT_LE(got, bad.size());
  EXPECT_EQ(StatusOf([&] { document->Resize(*stream, 0x10000000); }), Status::kCorrupt);
}

TEST(Hostile, ATreeThatRunsInACircleEnds) {
  std::string bad = Sample();
  const std::size_t at = EntryAt(bad, "small");
  // Every entry's right neighbour is the first of them.
  for (const char* name : {"small", "large", "sub"}) {
    Poke32(bad, EntryAt(bad, name) + 72, Peek32(bad, SectorAt(Peek32(bad, 48)) + 76));
    Poke32(bad, EntryAt(bad, name) + 68, kNoEntry);
  }
  ASSERT_NE(at, std::string::npos);
  const DocumentPtr document = Open(NewDisk(bad));
  EXPECT_EQ(StatusOf([&] { document->List(kRootEntry); }), Status::kCorrupt);
  EXPECT_EQ(StatusOf([&] { document->Find(kRootEntry, u"zzzzzzzz"); }), Status::kCorrupt);
  EXPECT_EQ(StatusOf([&] { document->CreateStream(kRootEntry, u"zzzzzzzz"); }), Status::kCorrupt);
}

TEST(Hostile, AStorageInsideItselfCannotBeRemoved) {
  std::string bad = Sample();
  const std::size_t sub = EntryAt(bad, "sub");
  const std::size_t directory = SectorAt(Peek32(bad, 48));
  Poke32(bad, sub + 76, static_cast<std::uint32_t>((sub - directory) / 128));
  const DiskPtr disk = NewDisk(bad);
  const DocumentPtr document = Open(disk);
  EXPECT_EQ(StatusOf([&] { Destroy(*document, kRootEntry, "sub"); }), Status::kCorrupt);
  EXPECT_FALSE(document->IsGivenUp()) << "found out before any change";
}

TEST(Hostile, AStreamInAnEmptyMiniStreamIsDamaged) {
  std::string bad = Sample();
  const std::size_t root = SectorAt(Peek32(bad, 48));
  Poke32(bad, root + 116, kEndOfChain);
  Poke32(bad, root + 120, 0);
  const DocumentPtr document = Open(NewDisk(bad));
  const auto stream = document->OpenStream(document->Find(kRootEntry, u"small"));
  char byte = 0;
  EXPECT_EQ(StatusOf([&] { stream->Read(0, &byte, 1); }), Status::kCorrupt);
  EXPECT_EQ(StatusOf([&] { document->Resize(*stream, 1000); }), Status::kCorrupt);
}

TEST(Hostile, APositionBeyondAllSectorsIsNotWrappedAround) {
  // Sizes have 64 bits in version 4 files.
  DocumentOptions options;
  options.version = 4;
  const DiskPtr disk = NewDisk();
  {
    const DocumentPtr document = Create(disk, options);
    Put(*document, kRootEntry, "large", Pattern(9000));
    document->Commit();
  }
  Poke32(disk->bytes, EntryAt(disk->bytes, "large") + 124, 0x7FFFFFFF);
  const DocumentPtr document = Open(disk);
  const auto stream = document->OpenStream(document->Find(kRootEntry, u"large"));
  char byte = 0;
  EXPECT_EQ(StatusOf([&] { stream->Read(std::uint64_t{1} << 44, &byte, 1); }), Status::kCorrupt);
}

TEST(Hostile, ATreeWithADeepPartIsMadeAnewBeforeAChange) {
  // A balanced tree of 2000, and between two elements in its middle a chain of 99 that a check of
  // some paths does not see: found through a list, which a change must not leave outdated.
  const DiskPtr disk = NewDisk();
  EntryId first = kNoEntry;
  {
    const DocumentPtr document = Create(disk);
    for (int i = 0; i < 2000; ++i) {
      document->CreateStream(kRootEntry, Wide(std::to_string(100000 + 100 * i)));
    }
    const EntryId sub = document->CreateStorage(kRootEntry, u"sub", 1);
    first = document->CreateStream(sub, u"200001");
    for (int i = 2; i < 100; ++i) document->CreateStream(sub, Wide(std::to_string(200000 + i)));
    document->Commit();
  }
  std::string& bytes = disk->bytes;
  Poke32(bytes, EntryAt(bytes, "sub") + 76, kNoEntry);
  const std::size_t below = EntryAt(bytes, "200000");
  const std::size_t above = EntryAt(bytes, "200100");
  Poke32(bytes, Peek32(bytes, below + 72) == kNoEntry ? below + 72 : above + 68, first);
  for (EntryId i = 1; i < 100; ++i) {
    const std::size_t entry = EntryAt(bytes, std::to_string(200000 + i));
    bytes[entry + 67] = 1;
    Poke32(bytes, entry + 68, kNoEntry);
    Poke32(bytes, entry + 72, i < 99 ? first + i : kNoEntry);
  }
  const DocumentPtr document = Open(disk);
  document->CreateStream(kRootEntry, u"added");
  EXPECT_NE(document->Find(kRootEntry, u"200099"), kNoEntry);
  document->CreateStream(kRootEntry, u"again");
  Destroy(*document, kRootEntry, "200098");
  EXPECT_NE(document->Find(kRootEntry, u"again"), kNoEntry);
  EXPECT_EQ(document->Find(kRootEntry, u"200098"), kNoEntry);
  EXPECT_NE(document->Find(kRootEntry, u"200099"), kNoEntry);
  document->Commit();
  EXPECT_LE(CheckFile(disk->bytes).deepest, 24U);
}

TEST(Hostile, CountsInTheHeaderAllocateNothing) {
  for (const std::size_t at : {44U, 64U, 72U}) {
    std::string bad = Sample();
    Poke32(bad, at, 0x7FFFFFFF);
    ExerciseBytes(bad);
  }
}

TEST(Hostile, AWrongCountOfMiniFatSectorsIsMadeRight) {
  std::string bad = Sample();
  Poke32(bad, 64, 0);
  const DiskPtr disk = NewDisk(bad);
  {
    const DocumentPtr document = Open(disk);
    EXPECT_EQ(Content(*document, kRootEntry, "small"), Pattern(300));
    Put(*document, kRootEntry, "more", Pattern(4000));
    document->Commit();
  }
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
}

TEST(Hostile, ADeepListOfManyElementsIsFoundInQuickly) {
  // 4000 elements chained to the right, as some programs leave them.
  const DiskPtr disk = NewDisk();
  {
    const DocumentPtr document = Create(disk);
    for (int i = 10000; i < 14000; ++i) document->CreateStream(kRootEntry, Wide(std::to_string(i)));
    document->Commit();
  }
  std::string bytes = disk->bytes;
  std::vector<EntryId> order;
  {
    const DocumentPtr document = Open(disk);
    order = document->List(kRootEntry);
  }
  std::vector<std::size_t> entryAt;
  {
    std::uint32_t sector = Peek32(bytes, 48);
    const auto next = [&](std::uint32_t s) {
      return Peek32(bytes, SectorAt(Peek32(bytes, 76 + 4 * (s / 128))) + 4 * (s % 128));
    };
    for (; sector != kEndOfChain; sector = next(sector)) {
      for (std::size_t i = 0; i < 4; ++i) entryAt.push_back(SectorAt(sector) + 128 * i);
    }
  }
  Poke32(bytes, entryAt[0] + 76, order[0]);
  for (std::size_t i = 0; i < order.size(); ++i) {
    bytes[entryAt[order[i]] + 67] = 0;  // all red
    Poke32(bytes, entryAt[order[i]] + 68, kNoEntry);
    Poke32(bytes, entryAt[order[i]] + 72, i + 1 < order.size() ? order[i + 1] : kNoEntry);
  }
  const DiskPtr list = NewDisk(bytes);
  const DocumentPtr document = Open(list);
  for (int i = 10000; i < 14000; ++i) {
    ASSERT_NE(document->Find(kRootEntry, Wide(std::to_string(i))), kNoEntry);
  }
  EXPECT_EQ(document->FindAfter(kRootEntry, u"13998"), document->Find(kRootEntry, u"13999"));
  Destroy(*document, kRootEntry, "12000");
  document->Commit();
  const CheckedFile checked = CheckFile(list->bytes);
  EXPECT_EQ(Problems(checked), "");
  EXPECT_LE(checked.deepest, 13U);
  EXPECT_EQ(checked.elements.size(), 3999U);
}

TEST(Hostile, GoldenFilesCutAndFlipped) {
  std::mt19937 random(5);
  for (const char* name : {"three.mwd", "ministream.mwd", "deleted.mwd"}) {
    const std::string good = ReadFileBytes(std::string(BREVANT_GOLDEN) + "/compound/" + name);
    ASSERT_FALSE(good.empty());
    for (int i = 0; i < 150; ++i) {
      std::string bad = good.substr(0, i % 3 == 0 ? random() % good.size() : good.size());
      for (auto n = random() % 6; n > 0 && !bad.empty(); --n) {
        bad[random() % bad.size()] = static_cast<char>(random());
      }
      ExerciseBytes(bad);
    }
  }
}

}  // namespace
