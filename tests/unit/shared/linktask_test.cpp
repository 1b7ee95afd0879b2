// Runs of file management: when one is due, what it deletes and what it tells.
#include "frame/task_factory.h"
#include "site_scan.h"

#include <iterator>
#include <system_error>

namespace test {
namespace {

namespace fs = std::filesystem;

using FileManagement = SiteScan;
using FileManagementErases = SiteScanErases;

constexpr const char* kScanTime = "Last Local Directory Scan Time";
constexpr const char* kUpdateTime = "Last Site Update Time";

std::vector<std::pair<int, int>> progress;
void TakeProgress(int done, int total) { progress.emplace_back(done, total); }

// --- When a scan is due --------------------------------------------------------------------------

TEST_F(FileManagement, IsInTheTableOfTasks) {
  TTask* task = CreateTask("file management");
  EXPECT_NE(dynamic_cast<TFileManagementTask*>(task), nullptr);
  DestroyTask(task);
}

TEST_F(FileManagement, AScanIsDueOnlyWhenTheLastOneIsEarlierThanTheSite) {
  File("orphan.gif");
  const DWORD kTime = 1000000000;
  for (const DWORD scanned : {kTime, kTime + 1}) {
    state_->Number(kUpdateTime, kTime);
    state_->Number(kScanTime, scanned);
    TFileManagementTask task(setup_, state_);
    EXPECT_EQ(task.Execute(), 1);
    EXPECT_EQ(state_->Number(kScanTime), scanned);
    EXPECT_TRUE(status.empty());
    EXPECT_TRUE(FileExists(SitePath("orphan.gif")));
  }
  state_->Number(kScanTime, kTime - 1);
  TFileManagementTask task(setup_, state_);
  EXPECT_EQ(task.Execute(), 1);
  EXPECT_GT(state_->Number(kScanTime), kTime);
  EXPECT_EQ(status, Names{"Erasing orphaned temporary files"});
}

TEST_F(FileManagement, ASiteThatWasNeverMadeIsNotScanned) {
  File("orphan.gif");
  TFileManagementTask task(setup_, state_);
  EXPECT_EQ(task.Execute(), 1);
  EXPECT_TRUE(FileExists(SitePath("orphan.gif")));
  EXPECT_EQ(state_->Number(kScanTime), 0U);
}

TEST_F(FileManagement, AScanThatIsNotDueDoesNotAskForTheDirectory) {
  Set("Local Directory", "");
  TFileManagementTask task(setup_, state_);
  EXPECT_EQ(task.Execute(), 1);
  EXPECT_TRUE(history.empty());
}

TEST_F(FileManagement, WithoutAStateNoScanIsDue) {
  File("orphan.gif");
  TFileManagementTask task(setup_, nullptr);
  EXPECT_EQ(task.Execute(), 1);
  EXPECT_TRUE(FileExists(SitePath("orphan.gif")));
}

TEST_F(FileManagement, TheTimeStoredIsTheLocalOne) {
  const DWORD before = [&] {
    state_->Time("probe", TTime::Now());
    return state_->Number("probe");
  }();
  ASSERT_EQ(Scan(), 1);
  state_->Time("probe", TTime::Now());
  EXPECT_GE(state_->Number(kScanTime), before);
  EXPECT_LE(state_->Number(kScanTime), state_->Number("probe"));
}

TEST_F(FileManagement, ADoneScanIsNotDueAgain) {
  ASSERT_EQ(Scan(), 1);
  status.clear();
  TFileManagementTask task(setup_, state_);
  EXPECT_EQ(task.Execute(), 1);
  EXPECT_TRUE(status.empty());
}

TEST_F(FileManagement, LeavesATraceAndTellsItsProgress) {
  progress.clear();
  SetVisualFunctions("PROGRESS", reinterpret_cast<void*>(&TakeProgress));
  EXPECT_EQ(Scan(), 1);
  SetVisualFunctions("PROGRESS", nullptr);
  EXPECT_STREQ(state_->String("Last module executed"), "..\\shared\\linktask.cpp");
  EXPECT_GT(state_->Number("Last line executed"), 0U);
  EXPECT_EQ(progress, (std::vector<std::pair<int, int>>{{0, 100}, {0, 0}}));
}

// --- The main pages ------------------------------------------------------------------------------

TEST_F(FileManagementErases, TheMainPagesAreKeptAsTheSettingsNameThemAndAsPages) {
  const char* const kSettings[] = {"HTML File - Forum list", "HTML File - Message list",
                                   "HTML File - Resource list", "HTML File - Question list",
                                   "HTML File - Answer list"};
  Names kept;
  for (std::size_t i = 0; i < std::size(kSettings); ++i) {
    const std::string name = "page" + std::to_string(i);
    Set(kSettings[i], name);
    File(name);
    File(name + ".htm", "<img src=\"" + name + ".gif\">");
    File(name + ".gif");
    kept.insert(kept.end(), {name, name + ".gif", name + ".htm"});
  }
  File("page5.htm");
  File("page0.html");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), kept);
}

TEST_F(FileManagementErases, AMainPageNamedWithItsExtensionHasThatNameOnly) {
  Set("HTML File - Forum list", "Start.HTML");
  File("start.html", "<img src=a.gif>");
  File("start.htm");
  File("start.html.htm");
  File("a.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"a.gif", "start.html"}));
}

TEST_F(FileManagementErases, AMainPageOfATemplateInAFolderStandsAtTheTop) {
  Set("HTML File - Forum list", "sub/index");
  fs::create_directory(root_ / "Templates/sub");
  Template("sub/index.htm", "<p>made</p>");
  ASSERT_EQ(Run(), 1);
  ASSERT_EQ(SiteFiles(), Names{"index.htm"});
  File("sub/index.htm");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), Names{"index.htm"});
}

TEST_F(FileManagementErases, AMissingMainPageIsNotReported) {
  Set("HTML File - Message list", "nowhere");
  File("a.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_TRUE(history.empty());
  EXPECT_TRUE(Left().empty());
}

TEST_F(FileManagementErases, WithoutMainPagesEveryPlainFileGoes) {
  Set("HTML File - Forum list", "");
  Index("<img src=a.gif>");
  File("a.gif");
  Owners("robots.txt");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), Names{"robots.txt"});
}

// --- What is deleted -----------------------------------------------------------------------------

TEST_F(FileManagementErases, OnlyFilesWithoutAttributesOrWithTheTemporaryOneAreDeleted) {
  Index("");
  Names kept = {"index.htm"};
  for (DWORD bits = 0; bits < 32; ++bits) {
    DWORD attributes = 0;
    if ((bits & 1) != 0) attributes |= FILE_ATTRIBUTE_READONLY;
    if ((bits & 2) != 0) attributes |= FILE_ATTRIBUTE_HIDDEN;
    if ((bits & 4) != 0) attributes |= FILE_ATTRIBUTE_SYSTEM;
    if ((bits & 8) != 0) attributes |= FILE_ATTRIBUTE_ARCHIVE;
    if ((bits & 16) != 0) attributes |= FILE_ATTRIBUTE_TEMPORARY;
    const std::string name = "file" + std::to_string(100 + bits);
    File(name, "x", attributes == 0 ? DWORD{FILE_ATTRIBUTE_NORMAL} : attributes);
    if (bits != 0 && bits != 16) kept.push_back(name);
  }
  EXPECT_EQ(Scan(), 1);
  std::sort(kept.begin(), kept.end());
  EXPECT_EQ(Left(), kept);
  for (const std::string& name : kept) {
    SetFileAttributesA(SitePath(name).c_str(), FILE_ATTRIBUTE_NORMAL);
  }
}

TEST_F(FileManagementErases, AFileThatItsOwnerWroteSinceStays) {
  Index("");
  File("page.htm", "ours");
  WriteFileBytes(SitePath("page.htm"), "the owner's now");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"index.htm", "page.htm"}));
}

TEST_F(FileManagementErases, SubdirectoriesFollowTheSameRuleByTheirPaths) {
  Index("<img src=\"images/a.gif\"><img src='images\\deep\\b.gif'>");
  File("images/a.gif");
  File("images/b.gif");
  File("images/deep/a.gif");
  File("images/deep/b.gif");
  File("a.gif");
  File("other/a.gif", "x", FILE_ATTRIBUTE_NORMAL);
  Owners("other/b.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"images/a.gif", "images/deep/b.gif", "index.htm", "other/b.gif"}));
  EXPECT_TRUE(fs::is_directory(SitePath("other")));
}

TEST_F(FileManagementErases, DirectoriesStayWhenTheyAreEmpty) {
  Index("");
  File("images/a.gif");
  fs::create_directory(SitePath("empty"));
  EXPECT_EQ(Scan(), 1);
  EXPECT_TRUE(fs::is_directory(SitePath("images")));
  EXPECT_TRUE(fs::is_directory(SitePath("empty")));
}

TEST_F(FileManagementErases, ATreeOfAnyDepthIsWalked) {
  Index("");
  std::string path;
  for (int depth = 0; depth < 200; ++depth) path += "d/";
  File(path + "plain.gif");
  Owners(path + "owners.gif");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{path + "owners.gif", "index.htm"}));
}

TEST_F(FileManagementErases, WhatIsBeingWrittenIsLeftAlone) {
  Index("");
  File("~brevant.tmp/file");
  File("~Brevant.TMP2");
  File("sub/~brevant.tmp/file");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"index.htm", "~brevant.tmp/file"}));
}

TEST_F(FileManagementErases, JournalsAreLeftAlone) {
  Index("");
  const Names journals = {"a.mwd.jnl", "b.MWE.JNL", "c.mwf.jnl", "d.mwg.jnl", "e.example.fat.jnl"};
  for (const std::string& name : journals) File("sub/" + name);
  File("sub/notes.jnl");
  File("sub/x.mwdx.jnl");
  File("sub/x.jnl.txt");
  EXPECT_EQ(Scan(), 1);
  Names expected = {"index.htm"};
  for (const std::string& name : journals) expected.push_back("sub/" + name);
  EXPECT_EQ(Left(), expected);
}

TEST_F(FileManagementErases, AFileThatCannotBeDeletedIsSkipped) {
  Index("");
  File("a.gif");
  File("b.gif");
  File("c.gif");
  const HANDLE held = CreateFileA(SitePath("b.gif").c_str(), GENERIC_READ, 0, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  EXPECT_EQ(Scan(), 1);
  CloseHandle(held);
  EXPECT_TRUE(history.empty());
  EXPECT_EQ(Left(), (Names{"b.gif", "index.htm"}));
}

TEST_F(FileManagement, OwnersFilesStayWhateverLinksThem) {
  Owners("index.htm", "<p>no links</p>");
  Owners("robots.txt");
  Owners("sub/old.htm");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"index.htm", "robots.txt", "sub/old.htm"}));
}

// --- The site's directory ------------------------------------------------------------------------

TEST_F(FileManagement, ADirectoryThatCannotBeEnteredIsRefused) {
  File("orphan.gif");
  File("site.txt");
  for (const std::string& directory :
       {std::string(), root_ / "Missing/", SitePath("site.txt/"), SitePath("orphan.gif")}) {
    Set("Local Directory", directory);
    EXPECT_EQ(Scan(), 0);
    EXPECT_EQ(history, Names{"Cannot change directory to " +
                             std::string(setup_->String("Local Directory")) + " (Local)"});
    EXPECT_EQ(state_->Number(kScanTime), 0U);
  }
  EXPECT_EQ(Left(), (Names{"orphan.gif", "site.txt"}));
}

TEST_F(FileManagement, ARefusalReachesTheErrorLog) {
  Set("Local Directory", "");
  EXPECT_EQ(Scan(), 0);
  EXPECT_NE(ReadFileBytes(root_ / "error.log").find("Cannot change directory to  (Local)"),
            std::string::npos);
}

// Nothing of the current directory may go for want of a setting, and the process stays in it.
TEST_F(FileManagementErases, TheCurrentDirectoryIsNeitherTakenNorChanged) {
  const fs::path before = fs::current_path();
  File("../Elsewhere/file.gif");
  fs::current_path(root_ / "Elsewhere");
  Set("Local Directory", "");
  EXPECT_EQ(Scan(), 0);
  EXPECT_TRUE(FileExists(root_ / "Elsewhere/file.gif"));
  Index("");
  File("orphan.gif");
  Set("Local Directory", "../Site");
  EXPECT_EQ(Scan(), 1);
  EXPECT_TRUE(fs::equivalent(fs::current_path(), root_ / "Elsewhere"));
  fs::current_path(before);
  EXPECT_EQ(Left(), Names{"index.htm"});
  EXPECT_TRUE(FileExists(root_ / "Elsewhere/file.gif"));
}

TEST_F(FileManagementErases, TheSiteMayBeReachedThroughASymbolicLink) {
  Index("<img src=a.gif>");
  File("a.gif");
  File("b.gif");
  std::error_code error;
  fs::create_directory_symlink(root_ / "Site", root_ / "Link", error);
  if (error) GTEST_SKIP() << "no symbolic links: " << error.message();
  Set("Local Directory", root_ / "Link/");
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), (Names{"a.gif", "index.htm"}));
}

// --- Aborting ------------------------------------------------------------------------------------

TEST_F(FileManagement, AnAbortedScanDeletesNothingAndStoresItsTime) {
  Index("");
  File("orphan.gif");
  MakeDue();
  TFileManagementTask task(setup_, state_);
  onStatus = [&] { task.Abort(); };
  EXPECT_EQ(task.Execute(), 0);
  onStatus = nullptr;
  EXPECT_EQ(Left(), (Names{"index.htm", "orphan.gif"}));
  EXPECT_GT(state_->Number(kScanTime), 0U);
}

TEST_F(FileManagement, ATaskAbortedBeforeItRunsDeletesNothing) {
  File("orphan.gif");
  MakeDue();
  TFileManagementTask task(setup_, state_);
  task.Abort();
  EXPECT_EQ(task.Execute(), 0);
  EXPECT_EQ(Left(), Names{"orphan.gif"});
}

}  // namespace
}  // namespace test
