// The tools of the fault tests themselves.
#include "support/fault_layer.h"

#include "support/disk_model.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>

namespace {

namespace fs = std::filesystem;
using test::Disk;
using test::DiskImage;
using test::Fault;
using test::FaultPlan;
using test::FileOperation;
using test::OperationKind;

// A process of its own with the layer loaded: the shell's `dd` and `mv` make plain system calls.
class Preloaded : public ::testing::Test {
 protected:
  void SetUp() override { fs::create_directory(watched_); }
  test::ProgramResult Run(const std::string& script, Fault fault = Fault::kNone,
                          std::uint64_t at = 0, bool forGood = false) {
    FaultPlan plan;
    plan.directory = watched_;
    plan.fault = fault;
    plan.at = at;
    plan.forGood = forGood;
    std::vector<std::string> command = {"/bin/dd", "status=none", "conv=fsync", "bs=1000"};
    std::size_t from = 0;
    while (from < script.size()) {
      const std::size_t blank = std::min(script.find(' ', from), script.size());
      command.push_back(script.substr(from, blank - from));
      from = blank + 1;
    }
    return test::RunProgram(test::WithFaults(plan, command, trace_, calls_));
  }
  std::string Kinds() const {
    std::string kinds;
    for (const FileOperation& operation : test::ReadTrace(trace_)) {
      kinds += test::Describe(operation) + ";";
    }
    return kinds;
  }

  test::TemporaryDirectory directory_;
  std::string watched_ = directory_ / "watched";
  std::string file_ = watched_ + "/file";
  std::string trace_ = directory_ / "trace";
  std::string calls_ = directory_ / "calls";
};

TEST_F(Preloaded, CallsBelowTheDirectoryAreTracedWithTheirData) {
  const test::ProgramResult result = Run("if=/dev/zero count=2 of=" + file_);
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_EQ(Kinds(), "create file;write file 0+1000;write file 1000+1000;sync file;");
  EXPECT_EQ(test::ReadCalls(calls_), 4u);
  Disk disk({});
  for (const FileOperation& operation : test::ReadTrace(trace_)) disk.Apply(operation);
  EXPECT_EQ(test::Fingerprint(disk.Current()), test::Fingerprint(test::ReadImage(watched_ + "/")));
}

TEST_F(Preloaded, CallsElsewhereAreNot) {
  const test::ProgramResult result = Run("if=/dev/zero count=2 of=" + (directory_ / "else"));
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_EQ(Kinds(), "");
  EXPECT_EQ(test::ReadCalls(calls_), 0u);
}

TEST_F(Preloaded, TheProcessDiesRightAfterTheCall) {
  EXPECT_EQ(Run("if=/dev/zero count=3 of=" + file_, Fault::kKill, 2).exitCode, 128 + 9);
  EXPECT_EQ(test::ReadFileBytes(file_).size(), 1000u);
}

TEST_F(Preloaded, TheCallFailsForLackOfRoom) {
  const test::ProgramResult result = Run("if=/dev/zero count=3 of=" + file_, Fault::kFull, 3);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.output.find("No space left"), std::string::npos) << result.output;
  EXPECT_EQ(test::ReadFileBytes(file_).size(), 1000u);
}

TEST_F(Preloaded, TheSyncFails) {
  const test::ProgramResult result = Run("if=/dev/zero count=1 of=" + file_, Fault::kBroken, 3);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.output.find("Input/output error"), std::string::npos) << result.output;
}

TEST_F(Preloaded, AShortWriteIsCarriedOn) {
  EXPECT_EQ(Run("if=/dev/zero count=1 of=" + file_, Fault::kShort, 2).exitCode, 0);
  EXPECT_EQ(Kinds(), "create file;write file 0+512;write file 512+488;sync file;");
}

TEST_F(Preloaded, AShortWriteMayBeTheLast) {
  EXPECT_EQ(Run("if=/dev/zero count=1 of=" + file_, Fault::kShortThenFull, 2).exitCode, 1);
  EXPECT_EQ(Kinds(), "create file;write file 0+512;sync file;");
}

TEST_F(Preloaded, WithoutRoomForGoodOnlyWhatNeedsNoneSucceeds) {
  test::WriteFileBytes(file_, std::string(1500, 'x'));
  const std::string arguments = "if=/dev/zero count=2 conv=notrunc of=" + file_;
  EXPECT_EQ(Run(arguments, Fault::kFull, 1, true).exitCode, 1);
  EXPECT_EQ(test::ReadFileBytes(file_), std::string(1000, '\0') + std::string(500, 'x'));
}

// --- the disk that forgets -----------------------------------------------------------------------

FileOperation Done(OperationKind kind, const std::string& path, std::uint64_t file = 1,
                   std::uint64_t offset = 0, const std::string& data = {}) {
  FileOperation operation;
  operation.kind = kind;
  operation.path = path;
  operation.file = file;
  operation.offset = offset;
  operation.data = data;
  return operation;
}

FileOperation Renamed(const std::string& path, const std::string& target) {
  FileOperation operation = Done(OperationKind::kRename, path);
  operation.target = target;
  return operation;
}

DiskImage ImageOf(const std::string& path, const std::string& bytes) {
  return {{path, std::make_shared<std::string>(bytes)}};
}

std::string Show(const DiskImage& image) {
  std::string text;
  for (const auto& [path, bytes] : image) {
    text += path + (bytes == nullptr ? "" : "=" + *bytes) + ";";
  }
  return text;
}

TEST(DiskModel, WhatWasNotSyncedIsForgotten) {
  Disk disk(ImageOf("f", "old"));
  disk.Apply(Done(OperationKind::kWrite, "f", 1, 0, "newer"));
  EXPECT_EQ(Show(disk.Current()), "f=newer;");
  EXPECT_EQ(Show(disk.Safe()), "f=old;");
  disk.Apply(Done(OperationKind::kSync, "f"));
  EXPECT_EQ(Show(disk.Safe()), "f=newer;");
}

TEST(DiskModel, ANewFileNeedsTheSyncOfItsDirectory) {
  Disk disk({});
  disk.Apply(Done(OperationKind::kCreate, "f"));
  disk.Apply(Done(OperationKind::kWrite, "f", 1, 0, "x"));
  disk.Apply(Done(OperationKind::kSync, "f"));
  EXPECT_EQ(Show(disk.Safe()), "");
  disk.Apply(Done(OperationKind::kSyncDirectory, ""));
  EXPECT_EQ(Show(disk.Safe()), "f=x;");
}

TEST(DiskModel, ANameThatIsSafeDoesNotMakeTheContentSafe) {
  Disk disk({});
  disk.Apply(Done(OperationKind::kCreate, "f"));
  disk.Apply(Done(OperationKind::kWrite, "f", 1, 0, "x"));
  disk.Apply(Done(OperationKind::kSyncDirectory, ""));
  EXPECT_EQ(Show(disk.Safe()), "f=;");
}

TEST(DiskModel, ARenameTakesTheOldFilesPlaceWholly) {
  Disk disk(ImageOf("f", "old"));
  disk.Apply(Done(OperationKind::kCreate, "n"));
  disk.Apply(Done(OperationKind::kWrite, "n", 1, 0, "new"));
  disk.Apply(Done(OperationKind::kSync, "n"));
  disk.Apply(Renamed("n", "f"));
  EXPECT_EQ(Show(disk.Current()), "f=new;");
  EXPECT_EQ(Show(disk.Safe()), "f=old;");
  disk.Apply(Done(OperationKind::kSyncDirectory, ""));
  EXPECT_EQ(Show(disk.Safe()), "f=new;");
}

TEST(DiskModel, AnUnlinkMayComeBack) {
  Disk disk(ImageOf("f", "old"));
  disk.Apply(Done(OperationKind::kUnlink, "f"));
  EXPECT_EQ(Show(disk.Current()), "");
  EXPECT_EQ(Show(disk.Safe()), "f=old;");
}

TEST(DiskModel, AFileNumberIsUsedAgain) {
  Disk disk({});
  disk.Apply(Done(OperationKind::kCreate, "a"));
  disk.Apply(Done(OperationKind::kWrite, "a", 1, 0, "first"));
  disk.Apply(Done(OperationKind::kUnlink, "a"));
  disk.Apply(Done(OperationKind::kCreate, "b"));
  disk.Apply(Done(OperationKind::kWrite, "b", 1, 0, "second"));
  EXPECT_EQ(Show(disk.Current()), "b=second;");
}

TEST(DiskModel, SectorsSurviveOneByOneAndSizesOnTheirOwn) {
  Disk disk(ImageOf("f", std::string(1024, 'o')));
  disk.Apply(Done(OperationKind::kWrite, "f", 1, 0, std::string(1536, 'n')));
  std::mt19937 random(1);
  std::set<std::string> seen;
  for (int i = 0; i < 500; ++i) {
    const std::string bytes = *disk.Survivors(random).at("f");
    std::string sectors;
    for (std::size_t at = 0; at < bytes.size(); at += Disk::kSector) {
      EXPECT_EQ(bytes.substr(at, Disk::kSector), std::string(Disk::kSector, bytes[at]));
      sectors += bytes[at] == '\0' ? '0' : bytes[at];
    }
    seen.insert(sectors);
  }
  const std::set<std::string> all = {"oo",  "no",  "on",  "nn",  "oo0", "no0",
                                     "on0", "nn0", "oon", "non", "onn", "nnn"};
  EXPECT_EQ(seen, all);
}

TEST(DiskModel, NamesSurviveOneByOne) {
  Disk disk({});
  disk.Apply(Done(OperationKind::kCreate, "a", 1));
  disk.Apply(Done(OperationKind::kCreate, "b", 2));
  std::mt19937 random(1);
  std::set<std::string> seen;
  for (int i = 0; i < 200; ++i) seen.insert(Show(disk.Survivors(random)));
  EXPECT_EQ(seen, (std::set<std::string>{"", "a=;", "b=;", "a=;b=;"}));
}

TEST(DiskModel, ATraceThatWasCutOffIsReadUpToThere) {
  const std::string bytes = test::Serialize(Done(OperationKind::kWrite, "f", 1, 5, "data")) +
                            test::Serialize(Renamed("a", "b"));
  const auto operations = test::ParseOperations(bytes.substr(0, bytes.size() - 1));
  ASSERT_EQ(operations.size(), 1u);
  EXPECT_EQ(test::Describe(operations[0]), "write f 5+4");
  EXPECT_EQ(operations[0].data, "data");
}

}  // namespace
