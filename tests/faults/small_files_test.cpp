// Settings, state, remote file tables, pages and attachments after a kill behind each call that
// changes files, and after the machine was lost there: old or new, never half.
#include "platform/win32.h"
#include "shared/attachment_store.h"
#include "shared/page_store.h"
#include "support/disk_model.h"
#include "support/fault_layer.h"
#include "support/temporary_directory.h"
#include "text/page_writer.h"

#include <brevant/frame.h>
#include <brevant/remote_fat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

using test::Disk;
using test::DiskImage;
using test::FaultLayer;
using test::FileOperation;
using test::OperationKind;

constexpr unsigned kSurvivals = 10;  // of a lost machine, at each call

class SmallFiles : public ::testing::Test {
 protected:
  using Steps = std::vector<std::function<void()>>;
  // A disk on which something ended; `step` is the one that was under way, all before it had
  // returned. `steps` stands for an end behind the last.
  using Check = std::function<void(std::size_t step)>;

  // Carries the steps out once, and lets each end after any of its calls and inside its writes.
  void Sweep(const Steps& steps, const Check& afterKill, const Check& afterLoss) {
    initial_ = test::ReadImage(work_);
    std::vector<std::size_t> ends;
    FaultLayer::Start({.directory = directory_, .skipSyncs = true});
    for (const auto& step : steps) {
      step();
      ends.push_back(FaultLayer::TraceLength());
    }
    const std::vector<FileOperation> trace = FaultLayer::Stop();
    ASSERT_GT(trace.size(), steps.size());
    Disk disk(initial_);
    std::mt19937 random(1);
    for (std::size_t call = 0; call <= trace.size(); ++call) {
      // The first step that had not returned by then.
      const auto step = static_cast<std::size_t>(
          std::count_if(ends.begin(), ends.end(), [&](std::size_t end) { return end <= call; }));
      const std::string where = call == 0 ? "before all" : test::Describe(trace[call - 1]);
      SCOPED_TRACE("step " + std::to_string(step) + ", after call " + std::to_string(call) + ": " +
                   where);
      Look(disk.Current(), step, afterKill);
      if (afterLoss) {
        Look(disk.Safe(), step, afterLoss);
        for (unsigned i = 0; i < kSurvivals; ++i) Look(disk.Survivors(random), step, afterLoss);
      }
      if (call == trace.size() || HasFailure()) return;
      CutWrite(disk, trace[call], step, afterKill);
      disk.Apply(trace[call]);
    }
  }
  void Look(const DiskImage& image, std::size_t step, const Check& check) {
    ++looked_;
    test::WriteImage(image, work_);
    check(step);
  }
  // A write reaches the file in whole sectors.
  void CutWrite(const Disk& disk, const FileOperation& next, std::size_t step,
                const Check& afterKill) {
    if (next.kind != OperationKind::kWrite) return;
    const std::uint64_t first = Disk::kSector - next.offset % Disk::kSector;
    for (std::uint64_t cut = first; cut < next.data.size(); cut += Disk::kSector) {
      FileOperation part = next;
      part.data.resize(cut);
      Disk torn(disk);
      torn.Apply(part);
      Look(torn.Current(), step, afterKill);
    }
  }

  test::TemporaryDirectory own_;
  std::string directory_ = std::filesystem::canonical(own_.Path()).string() + "/";
  std::string work_ = directory_;
  DiskImage initial_;
  int looked_ = 0;
};

// Values of which some have the length of the one before, some lie across sectors and pages, and
// some are short.
std::vector<std::string> Values() {
  return {std::string(200, 'a'),
          std::string(200, 'b'),
          "short",
          std::string(250, 'c'),
          std::string(250, 'd'),
          std::string(250, 'e'),
          "",
          "e",
          "f"};
}

class ProfileSweep : public SmallFiles {
 protected:
  static constexpr int kKeys = 30;  // 6 KB: over a page

  void SetUp() override {
    SetProgramDirectory(directory_.c_str());
    std::string text = "[Tavernix]\r\n";
    for (int key = 0; key < kKeys; ++key) text += Key(key) + "=" + std::string(200, 'x') + "\r\n";
    test::WriteFileBytes(File(), text);
    versions_.push_back(text);
  }
  void TearDown() override { SetProgramDirectory(nullptr); }

  static std::string Key(int key) { return "Key " + std::to_string(key); }
  std::string File() const { return directory_ + "profile.ini"; }

  template <typename Store>
  Steps Writes(const std::shared_ptr<Store>& store) {
    Steps steps;
    for (const int key : {0, 19, 20, kKeys - 1}) {
      for (const std::string& value : Values()) {
        steps.emplace_back([this, store, key, value] {
          EXPECT_EQ(store->String(Key(key).c_str(), value.c_str()), 1);
          versions_.push_back(test::ReadFileBytes(File()));
        });
      }
    }
    return steps;
  }
  // The version before the step that was under way, or the one behind it.
  void ExpectOldOrNew(std::size_t step) {
    const std::string found = test::ReadFileBytes(File());
    const bool isNew = step + 1 < versions_.size() && found == versions_[step + 1];
    EXPECT_TRUE(found == versions_[step] || isNew) << "neither old nor new";
    ExpectUsable();
  }
  // Each line is one that some version had, and the next write goes through.
  void ExpectWholeLines(std::size_t) {
    const std::string found = test::ReadFileBytes(File());
    std::size_t lines = 0;
    for (std::size_t at = 0, end = 0; at < found.size(); at = end + 2, ++lines) {
      end = found.find("\r\n", at);
      ASSERT_NE(end, std::string::npos);
      const std::string line = found.substr(at, end + 2 - at);
      EXPECT_TRUE(std::any_of(versions_.begin(), versions_.end(), [&](const std::string& version) {
        return version.find(line) != std::string::npos;
      })) << line;
    }
    EXPECT_EQ(lines, kKeys + 1U);
    ExpectUsable();
  }
  void ExpectUsable() {
    TSetup next("profile.ini");
    EXPECT_EQ(next.String("Afterwards", "written by the next run"), 1);
    EXPECT_STREQ(TSetup("profile.ini").String("Afterwards"), "written by the next run");
    EXPECT_FALSE(test::FileExists(File() + ".new~"));
  }

  std::vector<std::string> versions_;
};

TEST_F(ProfileSweep, SettingsAreOldOrNew) {
  Sweep(
      Writes(std::shared_ptr<TSetup>(OpenSetup("profile.ini"), CloseSetup)),
      [this](std::size_t step) { ExpectOldOrNew(step); },
      [this](std::size_t step) { ExpectWholeLines(step); });
  EXPECT_GT(looked_, 1000);
}

// It is not synced: what a lost machine takes of it nobody misses.
TEST_F(ProfileSweep, TheStateIsOldOrNewAfterAKill) {
  Sweep(
      Writes(std::shared_ptr<TPersistentState>(OpenPersistentState("profile.ini"),
                                               ClosePersistentState)),
      [this](std::size_t step) { ExpectOldOrNew(step); }, nullptr);
  brevant::SetProfileSync(File().c_str(), true);
}

// --- Remote file tables --------------------------------------------------------------------------

using Entries = std::vector<std::string>;

Entries EntriesOf(const std::string& path) {
  TRemoteFAT table(path.c_str());
  EXPECT_EQ(table.Loaded(), 1);
  Entries entries;
  for (const char* directory : {"~me/www/", "~me/www/photos/"}) {
    for (const TRemoteFileRecord& file : table.RemoteDirectoryRecord(directory)->Files()) {
      entries.push_back(directory + file.name + "=" + std::to_string(file.size) + "," +
                        std::to_string(file.checksum));
    }
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

// One delivery's changes, saved.
void ChangeTable(const std::string& path, DWORD round) {
  TRemoteFAT table(path.c_str());
  TRemoteDirectoryRecord* top = table.RemoteDirectoryRecord("~me/www/");
  TRemoteDirectoryRecord* below = table.RemoteDirectoryRecord("~me/www/photos/");
  for (DWORD file = 0; file < 40; ++file) {
    const std::string name = "a page of some length " + std::to_string(file * round) + ".htm";
    EXPECT_EQ(top->Put({name, round, file}), 1);
    EXPECT_EQ(below->Put({name, round * 1000, file}), 1);
  }
  if (round > 2) top->Remove("a page of some length 0.htm");
  EXPECT_EQ(table.Save(), 1);
}

TEST_F(SmallFiles, TablesAreOldOrNew) {
  const std::string path = directory_ + "server.fat";
  const test::TemporaryDirectory beside;
  std::vector<Entries> versions(1);
  Steps steps;
  for (DWORD round = 1; round <= 6; ++round) {
    ChangeTable(beside / "server.fat", round);
    versions.push_back(EntriesOf(beside / "server.fat"));
    steps.emplace_back([path, round] { ChangeTable(path, round); });
  }
  Sweep(
      steps,
      [&](std::size_t step) {
        const Entries found = EntriesOf(path);
        const bool isNew = step + 1 < versions.size() && found == versions[step + 1];
        EXPECT_TRUE(found == versions[step] || isNew);
      },
      [&](std::size_t step) {
        // Whatever names were lost: one of the versions until then.
        const Entries found = EntriesOf(path);
        const auto end = versions.begin() + static_cast<long>(std::min(step + 2, versions.size()));
        EXPECT_NE(std::find(versions.begin(), end, found), end);
      });
}

// --- Pages ---------------------------------------------------------------------------------------

std::string Page(char c) { return "<html>" + std::string(9000, c) + "</html>"; }

void Fill(brevant::TPageWriter& page, char c) {
  page.Feed(Page(c));
  page.Flush();
}

std::string Rendered(char c) {
  brevant::TPageWriter page;
  Fill(page, c);
  return page.Render();
}

TEST_F(SmallFiles, PagesAreOldOrNewAfterAKill) {
  const std::string path = directory_ + "index.htm";
  std::vector<std::string> versions = {""};
  Steps steps;
  for (const char c : {'a', 'b', 'c'}) {
    versions.push_back(Rendered(c));
    steps.emplace_back([this, c] {
      brevant::TPageStore store(directory_);
      store.Scan();
      brevant::TPageWriter page;
      Fill(page, c);
      EXPECT_TRUE(store.Save("index.htm", page));
    });
  }
  Sweep(
      steps,
      [&](std::size_t step) {
        const std::string found = test::ReadFileBytes(path);
        const bool isNew = step + 1 < versions.size() && found == versions[step + 1];
        EXPECT_TRUE(found == versions[step] || isNew) << found.size();
        // The next run clears what was left half written away.
        brevant::TPageStore store(directory_);
        store.Scan();
        const auto entries = std::filesystem::directory_iterator(directory_);
        for (const auto& entry : entries) EXPECT_EQ(entry.path().filename(), "index.htm");
      },
      nullptr);
}

// --- Attachments ---------------------------------------------------------------------------------

// A message names an attachment only when it is finished: what a kill leaves of an unfinished one
// is named by nobody. Once finished it is whole, and the content of one that has a name stays.
TEST_F(SmallFiles, FinishedAttachmentsAreWhole) {
  std::vector<std::string> finished;
  Steps steps;
  const std::string content(70000, 'z');
  for (int file = 0; file < 3; ++file) {
    steps.emplace_back([&] {
      brevant::TNewFile made;
      std::string name;
      ASSERT_TRUE(brevant::CreateAttachment(directory_, "picture.gif", made, name));
      ASSERT_TRUE(made.Write(content.substr(0, 30000)) && made.Write(content.substr(30000)));
      ASSERT_TRUE(made.Finish());
      finished.push_back(name);
    });
  }
  Sweep(
      steps,
      [&](std::size_t step) {
        for (std::size_t i = 0; i < step; ++i) {
          EXPECT_TRUE(test::ReadFileBytes(directory_ + finished[i]) == content);
        }
      },
      [&](std::size_t step) {
        for (std::size_t i = 0; i < step; ++i) {
          const std::string path = directory_ + finished[i];
          if (test::FileExists(path)) {
            EXPECT_TRUE(test::ReadFileBytes(path) == content);
          }
        }
      });
}

}  // namespace
