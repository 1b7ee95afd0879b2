// What things cost is counted in calls and bytes, which no machine's load can change: it grows with
// what changed, not with what exists.
#include "frame/settings_cache.h"
#include "platform/win32.h"
#include "shared/board_cache.h"
#include "support/fault_layer.h"
#include "support/temporary_directory.h"
#include "unit/shared/html_board.h"

#include <brevant/board.h>
#include <brevant/frame.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using brevant::TBoardCache;
using brevant::TBoardKind;
using test::FaultLayer;
using test::FileOperation;
using test::OperationKind;

constexpr int kReadWrite = static_cast<int>(STGM_READWRITE);
constexpr int kCreate = static_cast<int>(STGM_CREATE);
constexpr int kExclusive = static_cast<int>(STGM_SHARE_EXCLUSIVE);

bool Insert(TForum& forum, std::size_t size) {
  TMail mail;
  if (mail.OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)) == 0) return false;
  mail.String("SUBJECT", "a subject of the usual length");
  mail.String("FROM", "\"Ann Example\" <ann@example.org>");
  const std::string content(size, 'x');
  mail.Content().Write(content.data(), static_cast<int>(content.size()));
  return forum.InsertMessage(mail) != 0;
}

// Bytes that this process has read so far, from files and otherwise.
std::uint64_t BytesRead() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  std::uint64_t value = 0;
  while (counters >> name >> value) {
    if (name == "rchar:") return value;
  }
  return 0;
}

std::size_t OpenDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

struct Cost {
  std::uint64_t calls = 0;
  std::uint64_t written = 0;
  std::uint64_t read = 0;
};

std::string Shown(const Cost& cost) {
  std::ostringstream text;
  text << cost.calls << " calls, " << cost.written << " bytes written, " << cost.read << " read";
  return text.str();
}

// Counts what happens below a directory.
class Meter {
 public:
  explicit Meter(const std::string& directory) : read_(BytesRead()) {
    FaultLayer::Start({.directory = std::filesystem::canonical(directory).string()});
    FaultLayer::SkipSyncs(true);
  }
  ~Meter() {
    if (running_) Stop();
    FaultLayer::SkipSyncs(false);
  }
  Meter(const Meter&) = delete;
  Meter& operator=(const Meter&) = delete;

  std::vector<FileOperation> Stop() {
    running_ = false;
    return FaultLayer::Stop();
  }
  Cost StopAndCount() {
    Cost cost{FaultLayer::Calls(), 0, BytesRead() - read_};
    for (const FileOperation& operation : Stop()) {
      if (operation.kind == OperationKind::kWrite) cost.written += operation.data.size();
    }
    return cost;
  }

 private:
  std::uint64_t read_;
  bool running_ = true;
};

std::size_t Count(const std::vector<FileOperation>& operations, OperationKind kind) {
  return static_cast<std::size_t>(
      std::count_if(operations.begin(), operations.end(),
                    [kind](const FileOperation& operation) { return operation.kind == kind; }));
}

class Growth : public ::testing::Test {
 protected:
  void SetUp() override { OleInitialize(nullptr); }
  void TearDown() override { OleUninitialize(); }

  void MakeForum(const std::string& name, int messages) {
    const Meter unsynced(directory_.Path());
    TForum forum;
    ASSERT_EQ(forum.Open(name.c_str(), directory_.Path().c_str(), kReadWrite, kCreate, kExclusive),
              1);
    forum.Number("Max Message Count", 1000000);
    for (int i = 0; i < messages; ++i) ASSERT_TRUE(Insert(forum, 500));
    ASSERT_EQ(forum.Storage().Commit(), 1);
  }
  bool Open(TForum& forum, const std::string& name) const {
    return forum.Open(name.c_str(), directory_.Path().c_str(), kReadWrite, 0, kExclusive) == 1;
  }
  // Several insertions, each committed: single ones differ in what sector happens to be full.
  Cost CostOfInsertions(const std::string& name) {
    TForum forum;
    EXPECT_TRUE(Open(forum, name));
    EXPECT_TRUE(Insert(forum, 500));
    EXPECT_EQ(forum.Storage().Commit(), 1);
    Meter meter(directory_.Path());
    for (int i = 0; i < 16; ++i) {
      EXPECT_TRUE(Insert(forum, 500));
      EXPECT_EQ(forum.Storage().Commit(), 1);
    }
    return meter.StopAndCount();
  }
  // The same, but opened and closed each time.
  Cost CostOfLoneInsertions(const std::string& name) {
    Meter meter(directory_.Path());
    for (int i = 0; i < 16; ++i) {
      TForum forum;
      EXPECT_TRUE(Open(forum, name));
      EXPECT_TRUE(Insert(forum, 500));
      EXPECT_EQ(forum.Storage().Commit(), 1);
    }
    return meter.StopAndCount();
  }

  test::TemporaryDirectory directory_;
};

// A list that was read or written whole would cost thirty times as much in the second forum. Paths
// through trees and the search for free sectors in pieces of a table make the small differences.
TEST_F(Growth, AnInsertionCostsTheSameInForumsOfEverySize) {
  MakeForum("small", 100);
  MakeForum("large", 3000);
  const Cost small = CostOfInsertions("small");
  const Cost large = CostOfInsertions("large");
  EXPECT_LE(large.calls, small.calls * 3 / 2) << Shown(small) << "; " << Shown(large);
  EXPECT_LE(large.written, small.written * 2) << Shown(small) << "; " << Shown(large);
  EXPECT_LE(large.read, small.read * 6) << Shown(small) << "; " << Shown(large);
}

TEST_F(Growth, OpeningALargeForumToAddOneMessageReadsNeitherItsMessagesNorItsList) {
  MakeForum("small", 100);
  MakeForum("large", 3000);
  const Cost small = CostOfLoneInsertions("small");
  const Cost large = CostOfLoneInsertions("large");
  EXPECT_LE(large.calls, small.calls * 3 / 2) << Shown(small) << "; " << Shown(large);
  EXPECT_LE(large.written, small.written * 2) << Shown(small) << "; " << Shown(large);
  // The list alone would make it more than six times as much.
  EXPECT_LE(large.read, small.read * 5) << Shown(small) << "; " << Shown(large);
}

TEST_F(Growth, ATrimmedForumKeepsItsSize) {
  TForum forum;
  ASSERT_EQ(forum.Open("f", directory_.Path().c_str(), kReadWrite, kCreate, kExclusive), 1);
  forum.Number("Max Message Count", 20);
  const Meter unsynced(directory_.Path());
  const auto fill = [&](int count) {
    for (int i = 0; i < count; ++i) {
      ASSERT_TRUE(Insert(forum, 3000));
      ASSERT_EQ(forum.Storage().Commit(), 1);
    }
  };
  fill(60);
  const auto before = std::filesystem::file_size(directory_ / "f.mwd");
  fill(400);
  EXPECT_LE(std::filesystem::file_size(directory_ / "f.mwd"), before + before / 4);
}

TEST_F(Growth, NoMoreThanTwoHundredAndFiftySixFilesAreOpenAtOnce) {
  constexpr int kForums = 300;
  for (int i = 0; i < kForums; ++i) MakeForum("f" + std::to_string(i), 0);
  const std::size_t before = OpenDescriptors();
  const Meter unsynced(directory_.Path());
  TBoardCache cache(directory_.Path());
  std::size_t most = 0;
  for (int i = 0; i < kForums; ++i) {
    const TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, "f" + std::to_string(i));
    ASSERT_TRUE(forum);
    ASSERT_TRUE(Insert(*forum, 100));
    EXPECT_LE(cache.OpenCount(), 256U);
    most = std::max(most, OpenDescriptors());
  }
  EXPECT_LE(most, before + 260);
  EXPECT_EQ(cache.CloseAll(), 1);
  EXPECT_LE(OpenDescriptors(), before);
}

TEST_F(Growth, NoMoreThanFourMegabytesWaitForACommit) {
  constexpr DWORD kMessage = 100000;
  constexpr DWORD kMost = 4 * 1024 * 1024;
  MakeForum("f", 0);
  const Meter unsynced(directory_.Path());
  TBoardCache cache(directory_.Path());
  std::vector<DWORD> committed;
  cache.SetCommit([&](TStorage& storage) {
    committed.push_back(storage.BytesSinceCommit());
    return storage.Commit();
  });
  for (int i = 0; i < 200; ++i) {
    ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, "f"), kMessage));
  }
  ASSERT_EQ(cache.CloseAll(), 1);
  ASSERT_GE(committed.size(), 4U);
  EXPECT_LE(*std::max_element(committed.begin(), committed.end()), kMost + 2 * kMessage);
}

// --- Profiles ------------------------------------------------------------------------------------

class ProfileCost : public ::testing::Test {
 protected:
  void SetUp() override { SetProgramDirectory(directory_.Path().c_str()); }
  void TearDown() override { SetProgramDirectory(nullptr); }

  test::TemporaryDirectory directory_;
};

TEST_F(ProfileCost, ASettingIsSyncedBeforeItTakesItsName) {
  TSetup setup("settings.ini");
  ASSERT_EQ(setup.String("BBS Name", "Garden"), 1);
  Meter meter(directory_.Path());
  ASSERT_EQ(setup.String("BBS Name", "Garden Club"), 1);
  const std::vector<FileOperation> operations = meter.Stop();
  const auto is = [](OperationKind kind) {
    return [kind](const FileOperation& operation) { return operation.kind == kind; };
  };
  const auto sync = std::find_if(operations.begin(), operations.end(), is(OperationKind::kSync));
  ASSERT_NE(sync, operations.end());
  EXPECT_NE(std::find_if(sync, operations.end(), is(OperationKind::kRename)), operations.end());
  EXPECT_EQ(Count(operations, OperationKind::kRename), 1U);
}

TEST_F(ProfileCost, ThePersistentStateIsWrittenButNeverSynced) {
  TPersistentState state("state.ini");
  ASSERT_EQ(state.String("Last module executed", "a"), 1);
  Meter meter(directory_.Path());
  ASSERT_EQ(state.String("Last module executed", "..\\shared\\mailtask.cpp"), 1);
  ASSERT_EQ(state.Number("Last line executed", 17), 1);
  const std::vector<FileOperation> operations = meter.Stop();
  EXPECT_GE(Count(operations, OperationKind::kWrite), 1U);
  EXPECT_EQ(Count(operations, OperationKind::kSync), 0U);
  EXPECT_EQ(Count(operations, OperationKind::kSyncDirectory), 0U);
}

TEST_F(ProfileCost, AValueOfEqualLengthIsOneWriteInPlace) {
  TPersistentState state("state.ini");
  ASSERT_EQ(state.Number("Last line executed", 162), 1);
  Meter meter(directory_.Path());
  ASSERT_EQ(state.Number("Last line executed", 165), 1);
  const std::vector<FileOperation> operations = meter.Stop();
  ASSERT_EQ(operations.size(), 1U);
  EXPECT_EQ(operations[0].kind, OperationKind::kWrite);
  EXPECT_EQ(operations[0].path, "state.ini");
}

// --- Pages ---------------------------------------------------------------------------------------

class PageCost : public test::HtmlBoard {
 protected:
  void SetUp() override {
    Template("index.htm", "<ul><li><a href=\"$FORUM_FILENAME(list)$\">$FORUM_NAME$</a></li></ul>");
    Template("list.htm",
             "<h1>$FORUM_NAME$</h1>"
             "<ol><li><a href=\"$MESSAGE_FILENAME(one)$\">$MESSAGE_SUBJECT$</a></li></ol>"
             "<a href=\"$FORUM_PREV$\">before</a><a href=\"$FORUM_NEXT$\">behind</a>");
    Template("one.htm",
             "<h1>$MESSAGE_SUBJECT$</h1><p>$MESSAGE_CONTENT$</p>"
             "<a href=\"$MESSAGE_PREV$\">before</a><a href=\"$MESSAGE_NEXT$\">behind</a>");
    Set("HTML File - Forum list", "index");
  }
  static std::string Name(int number) { return "Forum " + std::to_string(number); }
  void MakeForums(int count) {
    const Meter unsynced(root_.Path());
    for (int i = 0; i < count; ++i) {
      MakeForum(Name(i));
      Add(Name(i));
    }
  }
};

TEST_F(PageCost, ARunWithNothingChangedOpensNoBoardFileAndWritesNothing) {
  MakeForums(3);
  AgeSources();
  ASSERT_EQ(Run(), 1);
  // Held open, they could not be opened again.
  std::vector<std::unique_ptr<TForum>> held;
  for (int i = 0; i < 3; ++i) held.push_back(OpenContainer(TBoardKind::kForum, Name(i)));
  Meter site(SitePath(""));
  const std::uint64_t before = BytesRead();
  EXPECT_EQ(Run(), 1);
  EXPECT_LT(BytesRead() - before, 20000U);
  EXPECT_EQ(site.StopAndCount().calls, 0U);
  EXPECT_TRUE(history.empty());
}

TEST_F(PageCost, OneNewMessageInOneOfAThousandForumsRewritesNoPageOfAnother) {
  constexpr int kForums = 1000;
  MakeForums(kForums);
  AgeSources();
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(SiteFiles().size(), 2U * kForums + 1);
  Add(Name(500));
  Meter site(SitePath(""));
  ASSERT_EQ(Run(), 1);
  std::set<std::string> written;
  for (const FileOperation& operation : site.Stop()) {
    if (operation.kind == OperationKind::kRename) written.insert(operation.target);
  }
  EXPECT_TRUE(written.erase("list--f--forum_500.htm"));
  EXPECT_TRUE(written.erase("one--f--forum_500--1.htm"));
  EXPECT_TRUE(written.erase("one--f--forum_500--2.htm"));
  written.erase("index.htm");
  EXPECT_TRUE(written.empty()) << *written.begin();
}

}  // namespace
