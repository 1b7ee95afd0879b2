// The bytes of streams: both homes, the cutoff between them, gaps and memory.
#include "unit/compound/document_helpers.h"
#include "unit/compound/file_checker.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace compound;
using namespace test;

class StreamSize : public testing::TestWithParam<std::size_t> {};

TEST_P(StreamSize, IsWrittenAndReadBack) {
  const DiskPtr disk = NewDisk();
  const std::string content = Pattern(GetParam());
  {
    const DocumentPtr document = Create(disk);
    Put(*document, kRootEntry, "s", content);
    EXPECT_EQ(Content(*document, kRootEntry, "s"), content);
    document->Commit();
  }
  const CheckedFile checked = CheckFile(disk->bytes);
  EXPECT_EQ(Problems(checked), "");
  EXPECT_EQ(checked.elements.at("s"), content);
  EXPECT_EQ(Content(*Open(disk), kRootEntry, "s"), content);
}

INSTANTIATE_TEST_SUITE_P(Edges, StreamSize,
                         testing::Values(0, 1, 63, 64, 65, 511, 512, 513, 4095, 4096, 4097, 65536,
                                         1000003));

TEST(Stream, MovesOverTheCutoffAndBack) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  const std::string content = Pattern(10000);
  const auto stream = document->OpenStream(Put(*document, kRootEntry, "s", content.substr(0, 100)));
  for (const std::size_t size : {4095U, 4096U, 10000U, 4096U, 4095U, 64U, 5000U, 0U, 4096U}) {
    document->Resize(*stream, 0);
    document->Write(*stream, 0, content.data(), 50);
    document->Resize(*stream, size);
    document->Write(*stream, 0, content.data(), size);
    document->Commit();
    const CheckedFile checked = CheckFile(disk->bytes);
    EXPECT_EQ(Problems(checked), "") << size;
    EXPECT_EQ(checked.elements.at("s"), content.substr(0, size));
  }
}

TEST(Stream, KeepsItsStartWhenItCrossesTheCutoff) {
  const DocumentPtr document = Create(NewDisk());
  const auto stream = document->OpenStream(Put(*document, kRootEntry, "s", Pattern(3000)));
  document->Resize(*stream, 9000);
  EXPECT_EQ(Content(*document, kRootEntry, "s"), Pattern(3000) + std::string(6000, '\0'));
  document->Resize(*stream, 1000);
  EXPECT_EQ(Content(*document, kRootEntry, "s"), Pattern(1000));
}

TEST(Stream, AGapBeforeAWriteIsZero) {
  for (const std::size_t at : {100U, 5000U, 100000U}) {
    const DiskPtr disk = NewDisk();
    const DocumentPtr document = Create(disk);
    // Space that was used before must not shine through.
    Put(*document, kRootEntry, "old", std::string(200000, 'x'));
    Put(*document, kRootEntry, "old mini", std::string(4000, 'x'));
    document->Commit();
    Destroy(*document, kRootEntry, "old");
    Destroy(*document, kRootEntry, "old mini");
    document->Commit();
    const auto stream = document->OpenStream(Put(*document, kRootEntry, "s", "0123456789"));
    document->Write(*stream, at, "x", 1);
    const std::string content = Content(*document, kRootEntry, "s");
    EXPECT_EQ(content, "0123456789" + std::string(at - 10, '\0') + "x");
  }
}

TEST(Stream, GrownBytesAreZeroEvenWhereTheStreamWasLongerBefore) {
  const DocumentPtr document = Create(NewDisk());
  for (const std::size_t size : {100U, 6000U}) {
    const auto stream =
        document->OpenStream(Put(*document, kRootEntry, "s", std::string(size, 'x')));
    document->Resize(*stream, 20);
    document->Resize(*stream, size);
    EXPECT_EQ(Content(*document, kRootEntry, "s"),
              std::string(20, 'x') + std::string(size - 20, '\0'));
  }
}

TEST(Stream, ReadsNothingAtAndBeyondItsEnd) {
  const DocumentPtr document = Create(NewDisk());
  const auto stream = document->OpenStream(Put(*document, kRootEntry, "s", "0123456789"));
  char buffer[16];
  EXPECT_EQ(stream->Read(10, buffer, 5), 0U);
  EXPECT_EQ(stream->Read(1000, buffer, 5), 0U);
  EXPECT_EQ(stream->Read(7, buffer, 5), 3U);
}

TEST(Stream, RandomReadsAndWritesMatchAString) {
  std::mt19937 random(7);
  const DocumentPtr document = Create(NewDisk());
  std::string model = Pattern(300000);
  const auto stream = document->OpenStream(Put(*document, kRootEntry, "s", model));
  for (int i = 0; i < 3000; ++i) {
    const std::size_t at = random() % model.size();
    const std::size_t count = 1 + random() % 3000;
    if (random() % 2 == 0) {
      const std::string piece = Pattern(count, static_cast<unsigned>(random() % 1000));
      document->Write(*stream, at, piece.data(), piece.size());
      if (at + count > model.size()) model.resize(at + count);
      model.replace(at, count, piece);
    } else {
      std::string got(count, '\0');
      got.resize(stream->Read(at, got.data(), count));
      ASSERT_EQ(got, model.substr(at, count));
    }
  }
}

TEST(Stream, OfTwoGigabytesIsRefusedBeforeAnythingChanges) {
  const DocumentPtr document = Create(NewDisk());
  const auto stream = document->OpenStream(Put(*document, kRootEntry, "s", "abc"));
  EXPECT_EQ(StatusOf([&] { document->Resize(*stream, 0x80000000); }), Status::kTooLarge);
  EXPECT_EQ(StatusOf([&] { document->Write(*stream, 0x7FFFFFFF, "x", 1); }), Status::kTooLarge);
  EXPECT_FALSE(document->IsGivenUp());
  EXPECT_EQ(Content(*document, kRootEntry, "s"), "abc");
}

TEST(Stream, MuchNewContentDoesNotWaitInMemory) {
  const DiskPtr disk = NewDisk();
  DocumentOptions options;
  options.limits.dirtyBytes = 256U << 10;
  options.limits.cleanBytes = 64U << 10;
  const std::string before = [&] {
    const DocumentPtr document = Create(disk, options);
    Put(*document, kRootEntry, "kept", Pattern(50000));
    document->Commit();
    return disk->bytes;
  }();
  {
    const DocumentPtr document = Open(disk, options);
    Put(*document, kRootEntry, "large", Pattern(8U << 20));
    EXPECT_GE(disk->bytes.size(), 7U << 20) << "written early";
    // Nothing of the committed state was touched.
    EXPECT_EQ(disk->bytes.substr(0, before.size()), before);
  }
  EXPECT_EQ(disk->bytes, before) << "dropped without a commit";
  const DocumentPtr document = Open(disk, options);
  Put(*document, kRootEntry, "large", Pattern(8U << 20));
  document->Commit();
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
  EXPECT_EQ(CheckFile(disk->bytes).elements.at("large"), Pattern(8U << 20));
}

}  // namespace
