// Storages, their elements and trees, and what becomes of freed space.
#include "unit/compound/document_helpers.h"
#include "unit/compound/file_checker.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace compound;
using namespace test;

std::string Names(Document& document, EntryId storage) {
  std::string names;
  for (const EntryId id : document.List(storage)) names += Narrow(document.Info(id).name) + " ";
  return names;
}

TEST(Document, ANewOneIsCommittedEmptyAtOnce) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  EXPECT_EQ(disk->durable, disk->bytes);
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
  EXPECT_TRUE(CheckFile(disk->bytes).elements.empty());
}

TEST(Document, NewFilesAreVersion3WithSectorsOf512) {
  const DiskPtr disk = NewDisk();
  Create(disk);
  EXPECT_EQ(disk->bytes[26], 3);
  EXPECT_EQ(disk->bytes[30], 9);
  EXPECT_EQ(disk->bytes.size() % 512, 0U);
}

TEST(Document, CreatingReplacesWhateverTheFileHeld) {
  const DiskPtr disk = NewDisk(std::string(100000, 'x'));
  Create(disk);
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
}

TEST(Document, OpeningReadsNoMoreThanHeaderAndRoot) {
  const DiskPtr disk = NewDisk();
  {
    const DocumentPtr document = Create(disk);
    for (int i = 0; i < 2000; ++i) Put(*document, kRootEntry, std::to_string(i), Pattern(700));
    document->Commit();
  }
  disk->bytesRead = 0;
  Open(disk);
  EXPECT_LE(disk->bytesRead, 512U + 2 * 4096U);
}

TEST(Document, ElementsAreListedInTheOrderOfTheFormat) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  for (const char* name : {"b", "10", "A", "9", "aa", "INFO", "B1", "_"}) {
    Put(*document, kRootEntry, name, "");
  }
  EXPECT_EQ(Names(*document, kRootEntry), "9 A b _ 10 aa B1 INFO ");
}

TEST(Document, NamesAreFoundInAnyLetterCase) {
  const DocumentPtr document = Create(NewDisk());
  const EntryId id = Put(*document, kRootEntry, "Info", "x");
  EXPECT_EQ(document->Find(kRootEntry, u"iNFO"), id);
  EXPECT_EQ(document->Find(kRootEntry, u"inf"), kNoEntry);
  EXPECT_EQ(document->Find(kRootEntry, std::u16string(40, u'x')), kNoEntry);
}

TEST(Document, ANameIsTakenOnceWhateverItsLetterCase) {
  const DocumentPtr document = Create(NewDisk());
  document->CreateStream(kRootEntry, u"a");
  EXPECT_EQ(StatusOf([&] { document->CreateStorage(kRootEntry, u"A", 0); }), Status::kExists);
  EXPECT_EQ(StatusOf([&] { document->CreateStream(kRootEntry, u"x/y"); }), Status::kInvalidName);
  EXPECT_FALSE(document->IsGivenUp());
}

TEST(Document, ListAfterAndFindAfterGoOnBehindAnyName) {
  const DocumentPtr document = Create(NewDisk());
  for (const char* name : {"b", "d", "f"}) Put(*document, kRootEntry, name, "");
  const auto after = [&](const char16_t* name) {
    const EntryId id = document->FindAfter(kRootEntry, name);
    return id == kNoEntry ? std::string("-") : Narrow(document->Info(id).name);
  };
  EXPECT_EQ(after(u""), "b");
  EXPECT_EQ(after(u"b"), "d");
  EXPECT_EQ(after(u"c"), "d");
  EXPECT_EQ(after(u"f"), "-");
  EXPECT_EQ(document->ListAfter(kRootEntry, u"c").size(), 2U);
}

TEST(Document, KeepsTimesClassAndStateBits) {
  const DiskPtr disk = NewDisk();
  const ClassId id = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
  {
    const DocumentPtr document = Create(disk);
    const EntryId sub = document->CreateStorage(kRootEntry, u"sub", 0x1122334455667788);
    document->SetClass(sub, id);
    document->SetStateBits(sub, 0xFF, 0x0F);
    document->SetStateBits(sub, 0x10, 0x30);
    document->SetTimes(sub, std::nullopt, 42);
    document->Commit();
  }
  const DocumentPtr document = Open(disk);
  const EntryInfo info = document->Info(document->Find(kRootEntry, u"sub"));
  EXPECT_TRUE(info.isStorage);
  EXPECT_EQ(info.classId, id);
  EXPECT_EQ(info.stateBits, 0x1FU);
  EXPECT_EQ(info.created, 0x1122334455667788U);
  EXPECT_EQ(info.modified, 42U);
}

TEST(Document, RemovingAStorageFreesAllInIt) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  const EntryId sub = document->CreateStorage(kRootEntry, u"sub", 0);
  const EntryId inner = document->CreateStorage(sub, u"inner", 0);
  Put(*document, inner, "small", Pattern(100));
  Put(*document, inner, "large", Pattern(10000));
  std::vector<EntryId> gone;
  document->Remove(kRootEntry, sub, [&](EntryId id) { gone.push_back(id); });
  EXPECT_EQ(gone.size(), 4U);
  document->Commit();
  const CheckedFile checked = CheckFile(disk->bytes);
  EXPECT_EQ(Problems(checked), "");
  EXPECT_TRUE(checked.elements.empty());
}

TEST(Document, RenamingKeepsContentAndWritesTheNewLength) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  const EntryId id = Put(*document, kRootEntry, "old", "content");
  document->Rename(kRootEntry, id, u"much longer");
  document->Commit();
  EXPECT_EQ(CheckFile(disk->bytes).elements.at("much longer"), "content");
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
  EXPECT_EQ(StatusOf([&] { document->Rename(kRootEntry, id, u"MUCH LONGER"); }), Status::kExists);
}

TEST(Document, MovingHangsAnElementUnderAnotherStorage) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  const EntryId a = document->CreateStorage(kRootEntry, u"a", 0);
  const EntryId b = document->CreateStorage(kRootEntry, u"b", 0);
  const EntryId stream = Put(*document, a, "s", "content");
  document->Move(a, stream, b, u"t");
  document->Commit();
  EXPECT_EQ(CheckFile(disk->bytes).elements.at("b/t"), "content");
  EXPECT_EQ(Names(*document, a), "");
}

TEST(Document, TreesAreValidRedBlackAfterEveryChange) {
  std::mt19937 random(20);
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  std::vector<std::string> names;
  for (int i = 0; i < 300; ++i) names.push_back(std::to_string(i * 7 % 300));
  for (std::size_t i = 0; i < names.size(); ++i) {
    document->CreateStream(kRootEntry, Wide(names[i]));
    document->Commit();
    ASSERT_EQ(Problems(CheckFile(disk->bytes)), "") << "after adding " << names[i];
  }
  EXPECT_LE(CheckFile(disk->bytes).deepest, 16U);
  std::shuffle(names.begin(), names.end(), random);
  for (const std::string& name : names) {
    Destroy(*document, kRootEntry, name);
    document->Commit();
    ASSERT_EQ(Problems(CheckFile(disk->bytes)), "") << "after removing " << name;
  }
}

TEST(Document, AscendingNamesMakeNoDeepTree) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  for (int i = 10000; i < 14000; ++i) document->CreateStream(kRootEntry, Wide(std::to_string(i)));
  document->Commit();
  const CheckedFile checked = CheckFile(disk->bytes);
  EXPECT_EQ(Problems(checked), "");
  EXPECT_LE(checked.deepest, 24U);
}

TEST(Document, FreedSpaceIsUsedAgainAfterTheCommit) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  for (int i = 0; i < 20; ++i) Put(*document, kRootEntry, std::to_string(i), Pattern(6000));
  document->Commit();
  std::size_t most = 0;
  for (int round = 0; round < 500; ++round) {
    Destroy(*document, kRootEntry, std::to_string(round));
    Put(*document, kRootEntry, std::to_string(round + 20), Pattern(6000));
    document->Commit();
    if (round == 20) most = disk->bytes.size();
  }
  EXPECT_LE(disk->bytes.size(), most);
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
}

// A forum at its limit: each run opens the file, drops the oldest item and adds one.
TEST(Document, AFileThatIsTrimmedForeverDoesNotGrowForever) {
  const DiskPtr disk = NewDisk();
  const auto add = [](Document& document, int i) {
    const EntryId id = document.CreateStorage(kRootEntry, Wide(std::to_string(i)), 1);
    Put(document, id, "INFO", Pattern(768));
    Put(document, id, "CONTENT", Pattern(300 + static_cast<std::size_t>(i * 1733 % 6000)));
  };
  {
    const DocumentPtr document = Create(disk);
    for (int i = 0; i < 100; ++i) add(*document, i);
    document->Commit();
  }
  const std::size_t full = disk->bytes.size();
  for (int i = 100; i < 1500; ++i) {
    const DocumentPtr document = Open(disk);
    Destroy(*document, kRootEntry, std::to_string(i - 100));
    add(*document, i);
    document->Commit();
  }
  EXPECT_LE(disk->bytes.size(), full * 3 / 2);
  const CheckedFile checked = CheckFile(disk->bytes);
  EXPECT_EQ(Problems(checked), "");
  EXPECT_EQ(checked.elements.size(), 300U);
}

TEST(Document, LargeFilesHaveADifat) {
  const DiskPtr disk = NewDisk();
  const std::string content = Pattern(20U << 20);
  {
    const DocumentPtr document = Create(disk);
    Put(*document, kRootEntry, "large", content);
    document->Commit();
  }
  EXPECT_GE(disk->bytes[72], 2) << "DIFAT sectors";
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
  const DocumentPtr document = Open(disk);
  EXPECT_EQ(Content(*document, kRootEntry, "large"), content);
  Put(*document, kRootEntry, "more", content);
  document->Commit();
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
}

TEST(Document, Version4FilesAreReadAndChanged) {
  const DiskPtr disk = NewDisk();
  DocumentOptions options;
  options.version = 4;
  {
    const DocumentPtr document = Create(disk, options);
    for (int i = 0; i < 100; ++i) {
      Put(*document, kRootEntry, std::to_string(i), Pattern(static_cast<std::size_t>(i) * 97));
    }
    document->Commit();
  }
  EXPECT_EQ(disk->bytes[26], 4);
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
  const DocumentPtr document = Open(disk);
  EXPECT_EQ(Content(*document, kRootEntry, "99"), Pattern(99 * 97));
  Destroy(*document, kRootEntry, "50");
  Put(*document, kRootEntry, "x", Pattern(9000));
  document->Commit();
  EXPECT_EQ(Problems(CheckFile(disk->bytes)), "");
  EXPECT_EQ(CheckFile(disk->bytes).elements.at("x"), Pattern(9000));
  EXPECT_GE(disk->bytes[40], 3) << "the directory's sectors are counted";
}

TEST(Document, DeeplyNestedStoragesNeedNoDeepStack) {
  const DiskPtr disk = NewDisk();
  const DocumentPtr document = Create(disk);
  EntryId at = kRootEntry;
  for (int i = 0; i < 50000; ++i) at = document->CreateStorage(at, u"n", 0);
  document->Commit();
  Destroy(*document, kRootEntry, "n");
  document->Commit();
  EXPECT_TRUE(CheckFile(disk->bytes).elements.empty());
}

TEST(Document, AReadOnlyOneRefusesChangesAndNeverWrites) {
  const DiskPtr disk = NewDisk();
  { Create(disk); }
  disk->writes = 0;
  DocumentOptions options;
  options.readOnly = true;
  const DocumentPtr document = Open(disk, options);
  EXPECT_EQ(StatusOf([&] { document->CreateStream(kRootEntry, u"a"); }), Status::kReadOnly);
  document->Commit();
  EXPECT_EQ(disk->writes, 0U);
}

}  // namespace
