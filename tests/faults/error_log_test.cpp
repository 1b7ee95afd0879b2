// The error log after a kill between and inside its writes, and after the machine was lost.
#include "support/disk_model.h"
#include "support/fault_layer.h"
#include "support/temporary_directory.h"

#include <brevant/frame.h>

#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using test::Disk;
using test::DiskImage;
using test::FaultLayer;
using test::FileOperation;
using test::OperationKind;

constexpr char kOlder[] = "[5/1/98 0:07 PM   ] An old line\r\n";
constexpr char kAfter[] = "The first line of the next run";
constexpr std::size_t kStamp = 20;  // with its brackets and the blank

class ErrorLogKilled : public ::testing::Test {
 protected:
  void SetUp() override {
    directory_ = std::filesystem::canonical(own_.Path()).string() + "/";
    ASSERT_EQ(SetProgramDirectory(directory_.c_str()), 1);
    test::WriteFileBytes(directory_ + "error.log", kOlder);
    initial_ = test::ReadImage(directory_);
    // Short ones, and one that goes over several pages of the file.
    texts_ = {"Cannot open one", std::string(600, 'b'), std::string(9000, 'c'), "Cannot open four"};
    FaultLayer::Start({.directory = directory_, .skipSyncs = true});
    for (const std::string& text : texts_) LogError(text.c_str());
    trace_ = FaultLayer::Stop();
    whole_ = test::ReadFileBytes(directory_ + "error.log");
  }
  void TearDown() override { SetProgramDirectory(nullptr); }

  // The log after the next run's first line on this disk.
  std::string NextRun(const DiskImage& image) {
    test::WriteImage(image, directory_);
    LogError(kAfter);
    return test::ReadFileBytes(directory_ + "error.log");
  }
  static std::string LastLine(const std::string& log) {
    const std::size_t end = log.rfind("\r\n", log.size() < 4 ? 0 : log.size() - 3);
    return end == std::string::npos ? log : log.substr(end + 2);
  }
  static bool IsAfter(const std::string& line) {
    return line.size() > kStamp && line[0] == '[' &&
           line.substr(kStamp) == std::string(kAfter) + "\r\n";
  }
  // Everything up to there is what the killed run wrote: whole lines, and at most one that was cut
  // off, which then has an end all the same.
  void ExpectOneCutLineAtMost(const DiskImage& image) {
    const std::string left = *image.at("error.log");
    ASSERT_EQ(whole_.substr(0, left.size()), left);
    const std::string log = NextRun(image);
    const bool ended = left.empty() || left.back() == '\n';
    const std::string kept = left + (ended ? "" : "\r\n");
    ASSERT_EQ(log.substr(0, kept.size()), kept);
    ASSERT_TRUE(IsAfter(log.substr(kept.size()))) << left.size() << " bytes were left";
  }

  test::TemporaryDirectory own_;
  std::string directory_;
  DiskImage initial_;
  std::vector<std::string> texts_;
  std::vector<FileOperation> trace_;
  std::string whole_;
};

TEST_F(ErrorLogKilled, InsideAWriteLeavesOneLineWithoutItsText) {
  Disk disk(initial_);
  std::size_t writes = 0;
  for (const FileOperation& operation : trace_) {
    ExpectOneCutLineAtMost(disk.Current());
    if (operation.kind == OperationKind::kWrite) {
      ++writes;
      // Long lines are cut at every 64th byte, the others at each.
      const std::size_t step = operation.data.size() > 1000 ? 64 : 1;
      for (std::size_t cut = 1; cut < operation.data.size(); cut += step) {
        FileOperation part = operation;
        part.data.resize(cut);
        Disk torn(disk);
        torn.Apply(part);
        ExpectOneCutLineAtMost(torn.Current());
        if (HasFatalFailure()) return;
      }
    }
    disk.Apply(operation);
  }
  EXPECT_EQ(writes, texts_.size()) << "a line is one write";
  ExpectOneCutLineAtMost(disk.Current());
  EXPECT_EQ(*disk.Current().at("error.log"), whole_);
}

TEST_F(ErrorLogKilled, LinesAfterALostMachineStandAlone) {
  std::mt19937 random(1);
  Disk disk(initial_);
  for (const FileOperation& operation : trace_) {
    disk.Apply(operation);
    for (int i = 0; i < 20; ++i) {
      const std::string log = NextRun(disk.Survivors(random));
      EXPECT_EQ(log.substr(0, sizeof kOlder - 1), kOlder) << "what was safe is kept";
      EXPECT_TRUE(IsAfter(LastLine(log)));
    }
  }
}

}  // namespace
