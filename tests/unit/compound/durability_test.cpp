// What reaches the file when, and what is left of it when something fails.
#include "unit/compound/document_helpers.h"
#include "unit/compound/file_checker.h"

#include <gtest/gtest.h>

namespace {

using namespace compound;
using namespace test;

// A document with something of everything, committed.
DiskPtr Filled() {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  for (int i = 0; i < 40; ++i) {
    const EntryId id = document->CreateStorage(kRootEntry, Wide(std::to_string(i)), 1);
    Put(*document, id, "INFO", Pattern(128));
    Put(*document, id, "CONTENT", Pattern(static_cast<std::size_t>(i) * 250));
  }
  document->Commit();
  return disk;
}

void ChangeALot(Document& document) {
  for (int i = 0; i < 10; ++i) Destroy(document, kRootEntry, std::to_string(i));
  for (int i = 40; i < 60; ++i) {
    const EntryId id = document.CreateStorage(kRootEntry, Wide(std::to_string(i)), 1);
    Put(document, id, "CONTENT", Pattern(static_cast<std::size_t>(i) * 200));
  }
  Put(document, document.Find(kRootEntry, u"39"), "CONTENT", Pattern(77));
}

TEST(Durability, NothingReachesTheFileBeforeTheCommit) {
  const DiskPtr disk = Filled();
  const std::string before = disk->bytes;
  {
    const DocumentPtr document = Open(disk);
    ChangeALot(*document);
    EXPECT_EQ(disk->bytes, before);
  }
  EXPECT_EQ(disk->bytes, before);
}

TEST(Durability, ACommitWithoutChangesWritesNothing) {
  const DiskPtr disk = Filled();
  const DocumentPtr document = Open(disk);
  disk->writes = disk->syncs = 0;
  document->Commit();
  EXPECT_EQ(disk->writes + disk->syncs, 0U);
}

TEST(Durability, FreedSectorsKeepTheirBytesUntilTheCommit) {
  const DiskPtr disk = Filled();
  const std::string before = disk->bytes;
  const CheckedFile old = CheckFile(before);
  DocumentOptions options;
  options.limits.dirtyBytes = 0;  // everything that may be written early is
  const DocumentPtr document = Open(disk, options);
  ChangeALot(*document);
  Put(*document, kRootEntry, "large", Pattern(1U << 20));
  EXPECT_EQ(CheckFile(disk->bytes.substr(0, before.size())).elements, old.elements);
  EXPECT_EQ(Problems(CheckFile(disk->bytes.substr(0, before.size()))), "");
}

TEST(Durability, UntilTheFirstSyncOfACommitTheOldStateIsWhole) {
  const DiskPtr disk = Filled();
  const std::string before = disk->bytes;
  const CheckedFile old = CheckFile(before);
  const DocumentPtr document = Open(disk);
  ChangeALot(*document);
  disk->syncs = 0;
  std::string atFirstSync;
  int checked = 0;
  disk->onWrite = [&] {
    if (disk->syncs == 0) {
      ++checked;
      EXPECT_EQ(CheckFile(disk->bytes.substr(0, before.size())).elements, old.elements);
    }
    return Status::kOk;
  };
  document->Commit();
  EXPECT_GE(checked, 2);
  EXPECT_EQ(disk->syncs, 2U);
  EXPECT_EQ(disk->durable, disk->bytes);
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
}

TEST(Durability, AFullDiskLeavesTheOldState) {
  const DiskPtr disk = Filled();
  const std::string before = disk->bytes;
  disk->capacity = before.size() + 2048;
  {
    const DocumentPtr document = Open(disk);
    ChangeALot(*document);
    EXPECT_EQ(StatusOf([&] { document->Commit(); }), Status::kMediumFull);
    document->GiveUp();
    EXPECT_EQ(StatusOf([&] { document->Commit(); }), Status::kGivenUp);
    EXPECT_EQ(Content(*document, document->Find(kRootEntry, u"39"), "CONTENT"), Pattern(77));
  }
  EXPECT_EQ(disk->bytes, before);
}

TEST(Durability, EveryFailingWriteBeforeTheFirstSyncLeavesTheOldState) {
  for (int failing = 0;; ++failing) {
    const DiskPtr disk = Filled();
    const CheckedFile old = CheckFile(disk->bytes);
    const std::size_t size = disk->bytes.size();
    disk->syncs = 0;
    {
      const DocumentPtr document = Open(disk);
      ChangeALot(*document);
      int count = 0;
      disk->onWrite = [&] { return count++ == failing ? Status::kWriteFault : Status::kOk; };
      if (StatusOf([&] { document->Commit(); }) == Status::kOk) {
        EXPECT_GE(failing, 4);
        break;
      }
      document->GiveUp();
    }
    if (disk->syncs > 0) continue;  // in the middle of the old sectors: the journal's business
    EXPECT_EQ(disk->bytes.size(), size);
    EXPECT_EQ(CheckFile(disk->bytes).elements, old.elements) << failing;
  }
}

TEST(Durability, OnceOldSectorsAreWrittenTheNewOnesStay) {
  // The last sync fails, and everything is in the file by then: cutting off the new sectors would
  // leave old ones that refer to them.
  const DiskPtr disk = Filled();
  {
    const DocumentPtr document = Open(disk);
    ChangeALot(*document);
    disk->syncs = 0;
    std::size_t count = 0;
    std::size_t last = 0;
    {
      const DiskPtr copy = NewDisk(disk->bytes);
      const DocumentPtr rehearsal = Open(copy);
      ChangeALot(*rehearsal);
      copy->onWrite = [&] {
        ++last;
        return Status::kOk;
      };
      rehearsal->Commit();
    }
    disk->onWrite = [&] { return ++count == last ? Status::kWriteFault : Status::kOk; };
    EXPECT_EQ(StatusOf([&] { document->Commit(); }), Status::kWriteFault);
    document->GiveUp();
  }
  EXPECT_EQ(disk->syncs, 1U);
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
  EXPECT_EQ(CheckFile(disk->bytes).elements.at("59/CONTENT"), Pattern(59 * 200));
}

TEST(Durability, TheDifatIsReadAgainAfterAFailure) {
  const std::string content = Pattern(8U << 20);
  const DiskPtr disk = NewDisk();
  {
    const DocumentPtr document = Create(disk);
    Put(*document, kRootEntry, "large", content);
    document->Commit();
  }
  for (int failing = 0; failing < 12; ++failing) {
    const DocumentPtr document = Open(disk);
    const auto stream = document->OpenStream(document->Find(kRootEntry, u"large"));
    int count = 0;
    disk->onRead = [&] { return count++ == failing ? Status::kReadFault : Status::kOk; };
    char byte = 0;
    const std::uint64_t end = content.size() - 1;
    StatusOf([&] { stream->Read(end, &byte, 1); });
    disk->onRead = [] { return Status::kOk; };
    ASSERT_EQ(stream->Read(end, &byte, 1), 1U) << failing;
    EXPECT_EQ(byte, content.back()) << failing;
  }
}

TEST(Durability, ACommitCanBeTriedAgain) {
  const DiskPtr disk = Filled();
  const DocumentPtr document = Open(disk);
  ChangeALot(*document);
  for (int failing = 0; failing < 100; ++failing) {
    int count = 0;
    disk->onWrite = [&] { return count++ == failing ? Status::kWriteFault : Status::kOk; };
    if (StatusOf([&] { document->Commit(); }) == Status::kOk) break;
  }
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
  EXPECT_EQ(CheckFile(disk->bytes).elements.at("59/CONTENT"), Pattern(59 * 200));
}

TEST(Durability, AChangeThatFailsHalfWayGivesTheDocumentUp) {
  for (int failing = 0; failing < 60; ++failing) {
    const DiskPtr disk = Filled();
    const std::string before = disk->bytes;
    {
      const DocumentPtr document = Open(disk);
      int count = 0;
      disk->onRead = [&] { return count++ == failing ? Status::kReadFault : Status::kOk; };
      const Status status = StatusOf([&] { ChangeALot(*document); });
      disk->onRead = [] { return Status::kOk; };
      if (status == Status::kOk) break;
      // Either nothing happened and a commit is sound, or it is refused.
      const Status commit = StatusOf([&] { document->Commit(); });
      EXPECT_TRUE(commit == Status::kOk || commit == Status::kGivenUp);
      if (commit == Status::kGivenUp) {
        EXPECT_EQ(disk->bytes, before);
      }
    }
    EXPECT_EQ(Problems(CheckFile(disk->bytes)), "") << failing;
  }
}

TEST(Durability, BytesBehindTheEndAreIgnored) {
  const DiskPtr disk = Filled();
  const CheckedFile old = CheckFile(disk->bytes);
  disk->bytes.append(512 * 300, 'x');  // a growth that was never committed
  const DocumentPtr document = Open(disk);
  EXPECT_EQ(document->List(kRootEntry).size(), 40U);
  Put(*document, kRootEntry, "new", Pattern(200000));
  document->Commit();
  EXPECT_EQ(CheckFile(disk->bytes).elements.at("new"), Pattern(200000));
}

TEST(Durability, TheCostOfACommitDoesNotGrowWithTheFile) {
  std::size_t written[2] = {};
  for (const int size : {0, 1}) {
    const DiskPtr disk = NewDisk();
    const DocumentPtr document = Create(disk);
    for (int i = 0; i < (size == 0 ? 200 : 20000); ++i) {
      Put(*document, kRootEntry, std::to_string(100000 + i), Pattern(100));
    }
    document->Commit();
    disk->bytesWritten = 0;
    Put(*document, kRootEntry, "another", Pattern(100));
    document->Commit();
    written[size] = disk->bytesWritten;
  }
  EXPECT_LE(written[1], written[0] + 20 * 512) << written[0];
}

TEST(Durability, ALoneAdditionReadsLittleOfALargeFile) {
  const DiskPtr disk = NewDisk();
  {
    const DocumentPtr document = Create(disk);
    for (int i = 0; i < 20000; ++i) {
      Put(*document, kRootEntry, std::to_string(100000 + i), Pattern(600));
    }
    document->Commit();
  }
  disk->bytesRead = 0;
  const DocumentPtr document = Open(disk);
  Put(*document, kRootEntry, "another", Pattern(100));
  document->Commit();
  EXPECT_LE(disk->bytesRead, disk->bytes.size() / 25);
}

TEST(Durability, AdditionsToAnOpenLargeFileReadNextToNothing) {
  const DiskPtr disk = NewDisk();
  {
    const DocumentPtr document = Create(disk);
    for (int i = 0; i < 20000; ++i) {
      Put(*document, kRootEntry, std::to_string(100000 + i), Pattern(600));
    }
    document->Commit();
  }
  const DocumentPtr document = Open(disk);
  Put(*document, kRootEntry, "first", Pattern(100));
  document->Commit();
  disk->bytesRead = 0;
  for (int i = 0; i < 100; ++i) {
    Put(*document, kRootEntry, "another" + std::to_string(i), Pattern(600));
    document->Commit();
  }
  EXPECT_LE(disk->bytesRead / 100, 100U * 1024);
}

}  // namespace
