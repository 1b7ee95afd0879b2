// Commits through the journal: what a kill, a failure of power or a failing call leaves of them, in
// documents of both sector sizes.
#include "compound/journal.h"

#include "compound/checksum.h"
#include "unit/compound/crash_disk.h"
#include "unit/compound/document_helpers.h"
#include "unit/compound/file_checker.h"

#include <gtest/gtest.h>
#include <set>

namespace {

using namespace compound;
using namespace test;

using Elements = std::map<std::string, std::string>;

Elements ElementsOf(const CrashDiskPtr& disk) {
  std::string bytes = disk->Bytes("file");
  // What stands behind the sectors that the FAT describes belongs to nothing: a growth that was
  // never committed.
  const auto* header = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const std::size_t sector = std::size_t{1} << Load16(header + 30);
  const std::size_t described = Load32(header + 44) * (sector / 4) + 1;
  bytes.resize(std::min(bytes.size(), described * sector));
  const CheckedFile checked = CheckFile(bytes);
  EXPECT_EQ(Problems(checked), "");
  return checked.elements;
}

// A document with something of everything: small streams, large ones, holes among the sectors.
CrashDiskPtr Filled(std::uint16_t version) {
  const CrashDiskPtr disk = NewCrashDisk(version);
  const DocumentPtr document = OpenOn(disk);
  for (int i = 0; i < 12; ++i) {
    const EntryId id = document->CreateStorage(kRootEntry, Wide(std::to_string(i)), 1);
    Put(*document, id, "INFO", Pattern(128));
    Put(*document, id, "CONTENT", Pattern(static_cast<std::size_t>(i) * 700));
  }
  document->Commit();
  for (int i = 3; i < 6; ++i) Destroy(*document, kRootEntry, std::to_string(i));
  document->Commit();
  return disk;
}

// Everything that may happen in one commit: old content replaced, sectors reused, the file longer.
void ChangeALot(Document& document) {
  for (int i = 0; i < 2; ++i) Destroy(document, kRootEntry, std::to_string(i));
  for (int i = 20; i < 24; ++i) {
    const EntryId id = document.CreateStorage(kRootEntry, Wide(std::to_string(i)), 1);
    Put(document, id, "CONTENT", Pattern(static_cast<std::size_t>(i) * 200));
  }
  Put(document, document.Find(kRootEntry, u"11"), "INFO", Pattern(130, 7));
  const auto stream =
      document.OpenStream(document.Find(document.Find(kRootEntry, u"10"), u"CONTENT"));
  document.Write(*stream, 600, Pattern(3000, 50).data(), 3000);
}

// The disk in the middle of a commit of ChangeALot, before the operation wanted.
CrashDiskPtr KilledAt(const CrashDiskPtr& start, const std::string& operation) {
  const CrashDiskPtr disk = start->AfterKill();
  CrashDiskPtr killed;
  const DocumentPtr document = OpenOn(disk);
  ChangeALot(*document);
  disk->before = [&](const std::string& now) {
    if (killed == nullptr && now == operation) killed = disk->AfterKill();
    return Status::kOk;
  };
  document->Commit();
  disk->before = [](const std::string&) { return Status::kOk; };
  EXPECT_NE(killed, nullptr) << operation;
  return killed;
}

// Sealed and durable; nothing of it is in the file yet.
CrashDiskPtr WithSealedJournal(const CrashDiskPtr& start) { return KilledAt(start, "sync names"); }

class JournalOf : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    old_ = ElementsOf(start_);
    const CrashDiskPtr disk = start_->AfterKill();
    {
      const DocumentPtr document = OpenOn(disk);
      ChangeALot(*document);
      document->Commit();
    }
    new_ = ElementsOf(disk);
    ASSERT_NE(old_, new_);
  }

  // Opens what a failure left: it is the old or the new state, and can be used.
  void ExpectOneOfTwo(const CrashDiskPtr& left, const std::string& when) {
    {
      const DocumentPtr document = OpenOn(left);
      const Elements found = ElementsOf(left);
      ASSERT_TRUE(found == old_ || found == new_) << when;
      (found == old_ ? sawOld_ : sawNew_) = true;
      EXPECT_FALSE(left->Has("journal")) << when;
      Put(*document, kRootEntry, "afterwards", Pattern(5000));
      document->Commit();
    }
    ASSERT_EQ(ElementsOf(left).at("afterwards"), Pattern(5000)) << when;
    for (const auto& [name, unused] : left->now) ASSERT_EQ(name, "file") << when;
  }

  CrashDiskPtr start_ = Filled(static_cast<std::uint16_t>(GetParam()));
  Elements old_;
  Elements new_;
  bool sawOld_ = false;
  bool sawNew_ = false;
};
INSTANTIATE_TEST_SUITE_P(Version, JournalOf, testing::Values(3, 4));

TEST_P(JournalOf, AKillAtAnyOperationLeavesTheOldOrTheNewState) {
  const CrashDiskPtr disk = start_->AfterKill();
  std::vector<CrashDiskPtr> snapshots;
  {
    const DocumentPtr document = OpenOn(disk);
    disk->before = [&](const std::string&) {
      snapshots.push_back(disk->AfterKill());
      return Status::kOk;
    };
    ChangeALot(*document);
    document->Commit();
  }
  ASSERT_GE(snapshots.size(), 20U);
  for (std::size_t n = 0; n < snapshots.size(); ++n) {
    ExpectOneOfTwo(snapshots[n], "killed at operation " + std::to_string(n));
  }
  EXPECT_TRUE(sawOld_ && sawNew_);
}

TEST_P(JournalOf, AFailureOfPowerAtAnyOperationLeavesTheOldOrTheNewState) {
  std::mt19937 random(1);
  for (int round = 0; round < 8; ++round) {
    const CrashDiskPtr disk = start_->AfterKill();
    std::vector<CrashDiskPtr> snapshots;
    {
      const DocumentPtr document = OpenOn(disk);
      disk->before = [&](const std::string& operation) {
        if (operation.rfind("read", 0) != 0) snapshots.push_back(disk->AfterPowerFailure(random));
        return Status::kOk;
      };
      ChangeALot(*document);
      document->Commit();
    }
    for (std::size_t n = 0; n < snapshots.size(); ++n) {
      ExpectOneOfTwo(snapshots[n], "no power at operation " + std::to_string(n) + " of round " +
                                       std::to_string(round));
    }
  }
  EXPECT_TRUE(sawOld_ && sawNew_);
}

TEST_P(JournalOf, ACommitThatReturnedOutlivesTheFailureOfPower) {
  std::mt19937 random(2);
  for (int round = 0; round < 50; ++round) {
    const CrashDiskPtr disk = start_->AfterKill();
    const DocumentPtr document = OpenOn(disk);
    ChangeALot(*document);
    document->Commit();
    const CrashDiskPtr left = disk->AfterPowerFailure(random);
    OpenOn(left);
    EXPECT_EQ(ElementsOf(left), new_);
  }
}

TEST_P(JournalOf, AFailureOfPowerInTheMiddleOfTheRecoveryIsRecoveredFrom) {
  std::mt19937 random(3);
  const CrashDiskPtr sealed = WithSealedJournal(start_);
  for (int round = 0; round < 20; ++round) {
    const CrashDiskPtr disk = sealed->AfterKill();
    std::vector<CrashDiskPtr> snapshots;
    disk->before = [&](const std::string& operation) {
      if (operation.rfind("read", 0) != 0) snapshots.push_back(disk->AfterPowerFailure(random));
      return Status::kOk;
    };
    OpenOn(disk);
    ASSERT_GE(snapshots.size(), 4U);
    for (const CrashDiskPtr& left : snapshots) {
      OpenOn(left);
      EXPECT_EQ(ElementsOf(left), new_);
    }
  }
}

TEST_P(JournalOf, AFailingOperationFailsTheCommitOrIsMadeGoodLater) {
  for (int failing = 0;; ++failing) {
    const CrashDiskPtr disk = start_->AfterKill();
    int count = 0;
    std::string which;
    Status status = Status::kOk;
    {
      const DocumentPtr document = OpenOn(disk);
      ChangeALot(*document);
      disk->before = [&](const std::string& operation) {
        if (count++ != failing) return Status::kOk;
        which = operation;
        return Status::kMediumFull;
      };
      status = StatusOf([&] { document->Commit(); });
      if (status != Status::kOk) document->GiveUp();
    }
    if (which.empty()) break;
    disk->before = [](const std::string&) { return Status::kOk; };
    OpenOn(disk);
    EXPECT_EQ(ElementsOf(disk), status == Status::kOk ? new_ : old_) << failing << " " << which;
  }
}

TEST_P(JournalOf, ADiskThatDiesForGoodLeavesTheOldOrTheNewState) {
  for (int failing = 0; failing < 1000; ++failing) {
    const CrashDiskPtr disk = start_->AfterKill();
    int count = 0;
    Status status = Status::kOk;
    {
      const DocumentPtr document = OpenOn(disk);
      ChangeALot(*document);
      disk->before = [&](const std::string&) {
        return count++ < failing ? Status::kOk : Status::kWriteFault;
      };
      status = StatusOf([&] { document->Commit(); });
      if (status != Status::kOk) document->GiveUp();
    }
    disk->before = [](const std::string&) { return Status::kOk; };
    OpenOn(disk);
    const Elements found = ElementsOf(disk);
    if (status == Status::kOk) {
      EXPECT_EQ(found, new_) << failing;
    } else {
      EXPECT_TRUE(found == old_ || found == new_) << failing;
    }
    if (count <= failing) break;
  }
}

TEST_P(JournalOf, AReaderSeesTheCommittedStateAndChangesNothing) {
  const CrashDiskPtr disk = WithSealedJournal(start_);
  const std::string file = disk->Bytes("file");
  const std::string journal = disk->Bytes("journal");
  disk->before = [](const std::string& operation) {
    EXPECT_EQ(operation.substr(0, 4), "read");
    return Status::kOk;
  };
  const DocumentPtr document = OpenOn(disk, true);
  for (const auto& [path, content] : new_) {
    const std::size_t slash = path.find('/');
    if (slash + 1 == path.size()) continue;  // a storage
    const EntryId storage = document->Find(kRootEntry, Wide(path.substr(0, slash)));
    EXPECT_EQ(Content(*document, storage, path.substr(slash + 1)), content) << path;
  }
  EXPECT_EQ(document->Find(kRootEntry, u"0"), kNoEntry);
  EXPECT_EQ(disk->Bytes("file"), file);
  EXPECT_EQ(disk->Bytes("journal"), journal);
}

TEST_P(JournalOf, AReaderTakesNoNoticeOfAJournalThatDoesNotFitOrIsNotSealed) {
  for (const char* kind : {"unsealed", "foreign", "other"}) {
    const CrashDiskPtr disk = start_->AfterKill();
    std::string journal = WithSealedJournal(start_)->Bytes("journal");
    if (kind == std::string("unsealed")) journal.pop_back();
    if (kind == std::string("foreign")) journal = "something else";
    if (kind == std::string("other")) {
      journal = WithSealedJournal(Filled(static_cast<std::uint16_t>(GetParam())))->Bytes("journal");
    }
    disk->Put("journal", journal);
    const DocumentPtr document = OpenOn(disk, true);
    EXPECT_NE(document->Find(kRootEntry, u"0"), kNoEntry) << kind;
    EXPECT_EQ(disk->Bytes("journal"), journal) << kind;
  }
}

TEST_P(JournalOf, AJournalThatDoesNotFitIsSetAsideAndNeverApplied) {
  // A copy from before the last change was put back.
  const CrashDiskPtr disk = WithSealedJournal(start_);
  const std::string journal = disk->Bytes("journal");
  const CrashDiskPtr older = start_->AfterKill();
  {
    const DocumentPtr document = OpenOn(older);
    Put(*document, kRootEntry, "before", "x");
    document->Commit();
  }
  disk->Put("aside-1", "from an earlier time");
  disk->Put("file", older->Bytes("file"));
  OpenOn(disk);
  EXPECT_EQ(disk->Bytes("file"), older->Bytes("file"));
  EXPECT_FALSE(disk->Has("journal"));
  EXPECT_EQ(disk->Bytes("aside-1"), "from an earlier time");
  EXPECT_EQ(disk->Bytes("aside-2"), journal);
}

TEST_P(JournalOf, AShorterCopyOfTheFileDoesNotFit) {
  const CrashDiskPtr disk = WithSealedJournal(start_);
  ASSERT_GT(disk->Bytes("file").size(), start_->Bytes("file").size());
  disk->Put("file", start_->Bytes("file"));
  OpenOn(disk);
  EXPECT_EQ(ElementsOf(disk), old_);
  EXPECT_TRUE(disk->Has("aside-1"));
}

TEST_P(JournalOf, AnUnsealedJournalIsDropped) {
  for (const std::string& begun : {std::string(), std::string(512, '\0'), std::string(5000, '\0'),
                                   WithSealedJournal(start_)->Bytes("journal").substr(0, 800)}) {
    const CrashDiskPtr disk = start_->AfterKill();
    disk->Put("journal", begun);
    OpenOn(disk);
    EXPECT_EQ(ElementsOf(disk), old_);
    EXPECT_FALSE(disk->Has("journal"));
    EXPECT_FALSE(disk->Has("aside-1"));
    EXPECT_EQ(disk->durable.count("journal"), 0U) << "nor does it come back";
  }
}

TEST_P(JournalOf, WhatSomebodyElseWroteThereIsKept) {
  const CrashDiskPtr disk = start_->AfterKill();
  disk->Put("journal", "my diary");
  OpenOn(disk);
  EXPECT_EQ(ElementsOf(disk), old_);
  EXPECT_EQ(disk->Bytes("aside-1"), "my diary");
}

TEST_P(JournalOf, AJournalThatCannotBeReadKeepsTheFileClosed) {
  for (const bool readOnly : {false, true}) {
    const CrashDiskPtr disk = WithSealedJournal(start_);
    const std::string file = disk->Bytes("file");
    disk->before = [](const std::string& operation) {
      return operation == "read journal" ? Status::kReadFault : Status::kOk;
    };
    EXPECT_EQ(StatusOf([&] { OpenOn(disk, readOnly); }), Status::kReadFault);
    EXPECT_EQ(disk->Bytes("file"), file);
    EXPECT_TRUE(disk->Has("journal"));
  }
}

TEST_P(JournalOf, WhatHindersTheRecoveryIsMadeGoodAtTheNextOpening) {
  for (const char* hindered : {"write file", "sync file", "remove journal"}) {
    const CrashDiskPtr disk = WithSealedJournal(start_);
    disk->before = [&](const std::string& operation) {
      return operation == hindered ? Status::kMediumFull : Status::kOk;
    };
    EXPECT_EQ(StatusOf([&] { OpenOn(disk); }), Status::kMediumFull) << hindered;
    EXPECT_TRUE(disk->Has("journal"));
    disk->before = [](const std::string&) { return Status::kOk; };
    OpenOn(disk);
    EXPECT_EQ(ElementsOf(disk), new_);
    EXPECT_FALSE(disk->Has("journal"));
  }
}

TEST_P(JournalOf, TheDocumentGoesOnWhileItsCommitCannotBeApplied) {
  const CrashDiskPtr disk = start_->AfterKill();
  Elements last;
  {
    const DocumentPtr document = OpenOn(disk);
    ChangeALot(*document);
    bool broken = true;
    bool sealed = false;
    disk->before = [&](const std::string& operation) {
      sealed = sealed || operation == "sync names";
      return broken && sealed && operation == "write file" ? Status::kWriteFault : Status::kOk;
    };
    document->Commit();
    EXPECT_TRUE(disk->Has("journal"));
    EXPECT_EQ(Content(*document, document->Find(kRootEntry, u"23"), "CONTENT"), Pattern(4600));
    Put(*document, document->Find(kRootEntry, u"23"), "CONTENT", Pattern(9000, 3));
    // A kill now finds the first commit, whatever was changed since.
    const CrashDiskPtr killed = disk->AfterKill();
    OpenOn(killed);
    EXPECT_EQ(ElementsOf(killed), new_);
    broken = false;
    document->Commit();
    EXPECT_EQ(Content(*document, document->Find(kRootEntry, u"23"), "CONTENT"), Pattern(9000, 3));
    last = ElementsOf(disk);
  }
  Elements wanted = new_;
  wanted["23/CONTENT"] = Pattern(9000, 3);
  EXPECT_EQ(last, wanted);
  EXPECT_FALSE(disk->Has("journal"));
}

TEST_P(JournalOf, ACommitThatCannotFinishTheOneBeforeFails) {
  const CrashDiskPtr disk = start_->AfterKill();
  {
    const DocumentPtr document = OpenOn(disk);
    ChangeALot(*document);
    bool sealed = false;
    disk->before = [&](const std::string& operation) {
      sealed = sealed || operation == "sync names";
      return sealed && operation == "sync file" ? Status::kWriteFault : Status::kOk;
    };
    document->Commit();
    Put(*document, kRootEntry, "more", Pattern(20000));
    EXPECT_EQ(StatusOf([&] { document->Commit(); }), Status::kWriteFault);
    document->GiveUp();
  }
  disk->before = [](const std::string&) { return Status::kOk; };
  EXPECT_TRUE(disk->Has("journal"));
  OpenOn(disk);
  EXPECT_EQ(ElementsOf(disk), new_);
}

TEST_P(JournalOf, ManyCommitsOfOneOpeningSurviveFailuresOfPower) {
  std::mt19937 random(4);
  const CrashDiskPtr disk = start_->AfterKill();
  std::vector<std::pair<CrashDiskPtr, int>> snapshots;
  std::set<int> seen;
  {
    const DocumentPtr document = OpenOn(disk);
    int committed = 0;
    disk->before = [&](const std::string& operation) {
      if (operation.rfind("read", 0) != 0 && random() % 3 == 0) {
        snapshots.emplace_back(disk->AfterPowerFailure(random), committed);
      }
      return Status::kOk;
    };
    for (int i = 1; i <= 12; ++i) {
      // Journals of different lengths in one place.
      Put(*document, kRootEntry, "counter",
          Pattern(static_cast<std::size_t>(i % 4) * 1500 + 1, static_cast<unsigned>(i)));
      Put(*document, kRootEntry, "number", std::to_string(i));
      document->Commit();
      committed = i;
    }
  }
  for (const auto& [left, committed] : snapshots) {
    OpenOn(left);
    Elements found = ElementsOf(left);
    const int number = found.count("number") == 0 ? 0 : std::stoi(found.at("number"));
    EXPECT_TRUE(number == committed || number == committed + 1) << number << " " << committed;
    if (number != 0) {
      EXPECT_EQ(found.at("counter"), Pattern(static_cast<std::size_t>(number % 4) * 1500 + 1,
                                             static_cast<unsigned>(number)));
    }
    found.erase("number");
    found.erase("counter");
    EXPECT_EQ(found, old_);
    seen.insert(number);
  }
  EXPECT_GE(seen.size(), 10U);
}

TEST_P(JournalOf, OnlyPiecesThatChangedAreInTheJournal) {
  const CrashDiskPtr disk = start_->AfterKill();
  std::string journal;
  {
    const DocumentPtr document = OpenOn(disk);
    document->SetTimes(document->Find(kRootEntry, u"7"), 5, 6);
    disk->before = [&](const std::string& operation) {
      if (operation == "sync names") journal = disk->Bytes("journal");
      return Status::kOk;
    };
    document->Commit();
  }
  // The header and one piece of the directory, in records of 24 + 512 bytes behind 512.
  EXPECT_EQ(journal.size(), 512U + 2 * 536U);
}

TEST_P(JournalOf, ACommitSyncsFourTimesAndFurtherOnesThreeTimes) {
  const CrashDiskPtr disk = start_->AfterKill();
  {
    const DocumentPtr document = OpenOn(disk);
    EXPECT_EQ(disk->syncs, 0U);
    ChangeALot(*document);
    document->Commit();
    EXPECT_EQ(disk->syncs, 4U);
    Put(*document, kRootEntry, "more", Pattern(20000));
    document->Commit();
    EXPECT_EQ(disk->syncs, 7U);
    document->Commit();
    EXPECT_EQ(disk->syncs, 7U) << "nothing was changed";
    EXPECT_TRUE(disk->Has("journal"));
  }
  EXPECT_EQ(disk->syncs, 7U);
  EXPECT_FALSE(disk->Has("journal"));
}

TEST(Journal, ALargeJournalIsWrittenAndReadInBoundedPieces) {
  const CrashDiskPtr disk = NewCrashDisk();
  {
    const DocumentPtr document = OpenOn(disk);
    Put(*document, kRootEntry, "large", std::string(6U << 20, 'a'));
    document->Commit();
    const auto stream = document->OpenStream(document->Find(kRootEntry, u"large"));
    const std::string content(6U << 20, 'b');
    document->Write(*stream, 0, content.data(), content.size());
    CrashDiskPtr killed;
    disk->longestWrite = 0;
    disk->before = [&](const std::string& operation) {
      if (operation == "sync journal") killed = disk->AfterKill();
      return Status::kOk;
    };
    document->Commit();
    EXPECT_LE(disk->longestWrite, 300U << 10);
    EXPECT_FALSE(disk->Has("journal")) << "nobody needs one of that size again";
    ASSERT_GT(killed->Bytes("journal").size(), 6U << 20);
    OpenOn(killed);
    EXPECT_LE(killed->longestWrite, 300U << 10);
    EXPECT_EQ(ElementsOf(killed).at("large"), content);
  }
  EXPECT_EQ(ElementsOf(disk).at("large"), std::string(6U << 20, 'b'));
}

TEST(Journal, NoTwoEmptyDocumentsTakeEachOthersJournal) {
  // The journal of a first change that needs no room, as every new document's would look.
  const CrashDiskPtr first = NewCrashDisk();
  std::string journal;
  {
    const DocumentPtr document = OpenOn(first);
    document->CreateStorage(kRootEntry, u"old element", 1);
    first->before = [&](const std::string& operation) {
      if (operation == "sync names") journal = first->Bytes("journal");
      return Status::kOk;
    };
    document->Commit();
  }
  const CrashDiskPtr second = NewCrashDisk();
  ASSERT_EQ(first->Bytes("file").size(), second->Bytes("file").size());
  second->Put("journal", journal);
  const DocumentPtr document = OpenOn(second);
  EXPECT_TRUE(document->List(kRootEntry).empty());
  EXPECT_TRUE(second->Has("aside-1"));
}

TEST(Journal, EveryCommitHasASequenceNumberOfItsOwn) {
  const CrashDiskPtr disk = NewCrashDisk();
  std::set<std::string> numbers{disk->Bytes("file").substr(52, 4)};
  const DocumentPtr document = OpenOn(disk);
  for (int i = 0; i < 300; ++i) {
    document->SetStateBits(kRootEntry, static_cast<std::uint32_t>(i), 0xFFFF);
    document->Commit();
    numbers.insert(disk->Bytes("file").substr(52, 4));
  }
  EXPECT_EQ(numbers.size(), 301U);
}

TEST(Journal, TheChecksumIsTheKnownOne) {
  const std::string digits = "123456789";
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(digits.data());
  EXPECT_EQ(Checksum(bytes, 9), 0x995DC9BBDF1939FAU);
  EXPECT_EQ(Checksum(bytes + 4, 5, Checksum(bytes, 4)), 0x995DC9BBDF1939FAU);
  EXPECT_EQ(Checksum(bytes, 0), 0U);
}

TEST(Journal, OneThatAppearsWhileTheFileIsOpenIsSetAside) {
  const CrashDiskPtr disk = NewCrashDisk();
  const DocumentPtr document = OpenOn(disk);
  disk->Put("journal", "put here by somebody");
  document->CreateStorage(kRootEntry, u"a", 1);
  document->Commit();
  EXPECT_EQ(disk->Bytes("aside-1"), "put here by somebody");
  EXPECT_EQ(ElementsOf(disk).size(), 1U);
}

}  // namespace
