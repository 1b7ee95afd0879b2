// Runs of the HTML task: when they are due, which pages they make and which of those they save.
#include "shared/htmltask.h"

#include "frame/task_factory.h"
#include "html_board.h"
#include "support/element_times.h"

#include <filesystem>

namespace test {
namespace {

class HtmlTask : public HtmlBoard {
 protected:
  void SetUp() override {
    MakeForum("General Talk");
    Template("index.htm", "<p>Forums</p>");
    Set("HTML File - Forum list", "index");
  }

  // What is in the site with the time of each file.
  std::vector<std::pair<std::string, std::uint64_t>> Snapshot() const {
    std::vector<std::pair<std::string, std::uint64_t>> files;
    for (const std::string& name : SiteFiles()) {
      files.emplace_back(name, TTime(WrittenAt(SitePath(name))).Ticks());
    }
    return files;
  }
  DWORD AttributesOf(const std::string& name) const {
    return GetFileAttributesA(SitePath(name).c_str());
  }
};

// --- When a run is due ---------------------------------------------------------------------------

TEST_F(HtmlTask, IsInTheTableOfTasks) {
  TTask* task = CreateTask("html");
  EXPECT_NE(dynamic_cast<THtmlTask*>(task), nullptr);
  DestroyTask(task);
}

TEST_F(HtmlTask, MakesTheSiteOnTheFirstRun) {
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Site("index.htm"), "<p>Forums</p>");
  EXPECT_TRUE(history.empty());
}

TEST_F(HtmlTask, WithoutAChangeARunWritesNothing) {
  AgeSources();
  ASSERT_EQ(Run(), 1);
  const auto before = Snapshot();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Snapshot(), before);
  EXPECT_TRUE(status.empty());
}

TEST_F(HtmlTask, AChangedTemplateMakesARunDue) {
  AgeSources();
  ASSERT_EQ(Run(), 1);
  Template("index.htm", "<p>Changed</p>");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Site("index.htm"), "<p>Changed</p>");
}

TEST_F(HtmlTask, AnyFileOfTheTemplateDirectoryCountsButNoDirectory) {
  AgeSources();
  ASSERT_EQ(Run(), 1);
  state_->Time("Last Site Update Time", TTime::FromTicks(TTime::Now().Ticks() - 36000000000ULL));
  std::filesystem::create_directory(root_ / "Templates/sub");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(status.empty());
  Template("notes.txt", "x");
  EXPECT_EQ(Run(), 1);
  EXPECT_FALSE(status.empty());
}

TEST_F(HtmlTask, EveryKindOfDataFileMakesARunDue) {
  for (const char* name : {"a.mwd", "b.MWE", "c.mwf", "d.mwg"}) {
    AgeSources();
    state_->Time("Last Site Update Time", TTime::FromTicks(TTime::Now().Ticks() - 36000000000ULL));
    ASSERT_EQ(Run(), 1);
    ASSERT_TRUE(status.empty()) << name;
    WriteFileBytes(root_ / "Data/" + name, "x");
    Run();
    EXPECT_FALSE(status.empty()) << name;
    std::filesystem::remove(root_ / "Data/" + name);
  }
}

TEST_F(HtmlTask, OtherFilesOfTheDataDirectoryDoNot) {
  AgeSources();
  state_->Time("Last Site Update Time", TTime::FromTicks(TTime::Now().Ticks() - 36000000000ULL));
  WriteFileBytes(root_ / "Data/a.mwdx", "x");
  WriteFileBytes(root_ / "Data/a.mwd.jnl", "x");
  std::filesystem::create_directory(root_ / "Data/b.mwd");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(status.empty());
}

TEST_F(HtmlTask, AChangedSettingMakesARunDue) {
  AgeSources();
  state_->Time("Last Site Update Time", TTime::FromTicks(TTime::Now().Ticks() - 36000000000ULL));
  ASSERT_EQ(Run(), 1);
  ASSERT_TRUE(status.empty());
  Set("BBS Name", "Other");
  EXPECT_EQ(Run(), 1);
  EXPECT_FALSE(status.empty());
}

// The next three tests run in zones on both sides of Greenwich too.
TEST_F(HtmlTask, TheTimeOfNoFileAtAllMakesNoRunDue) {
  std::filesystem::create_directory(root_ / "Empty");
  Set("HTML Template Directory", root_ / "Empty/");
  AgeSources();
  state_->Time("Last Site Update Time", TTime::FromTicks(TTime::Now().Ticks() - 36000000000ULL));
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(status.empty());
}

TEST_F(HtmlTask, APageNewerThanTheSettingsThatItShowsIsNotSaved) {
  Template("index.htm", "<p>$POST$</p>");
  AgeSources(3);
  ASSERT_EQ(Run(), 1);
  Age(SitePath("index.htm"), 1);
  const auto before = Snapshot();
  Template("unrelated.txt", "makes the run due");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(status.size(), 1U);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(HtmlTask, APageOlderThanTheSettingsThatItShowsIsSaved) {
  Template("index.htm", "<p>$POST$ $DATE$</p>");
  AgeSources(3);
  ASSERT_EQ(Run(), 1);
  Age(SitePath("index.htm"), 1);
  Set("BBS Short Name", "Changed");
  ASSERT_EQ(Run(), 1);
  EXPECT_NE(Site("index.htm").find("[Changed:Message_forum]"), std::string::npos);
}

TEST_F(HtmlTask, StoresItsTimeAsALocalTimeInThePersistentState) {
  const TTime before = TTime::Now();
  ASSERT_EQ(Run(), 1);
  const TTime stored = state_->Time("Last Site Update Time");
  EXPECT_GE(stored.UnixSeconds(), before.UnixSeconds());
  EXPECT_LE(stored.UnixSeconds(), TTime::Now().UnixSeconds());
  EXPECT_EQ(ReadFileBytes(root_ / "board.ini").find("Last Site Update Time"), std::string::npos);
}

TEST_F(HtmlTask, LeavesATraceOfItsLastStep) {
  ASSERT_EQ(Run(), 1);
  EXPECT_STREQ(state_->String("Last module executed"), "..\\shared\\htmltask.cpp");
  EXPECT_NE(state_->Number("Last line executed"), 0U);
}

TEST_F(HtmlTask, RunsWithoutAPersistentState) {
  THtmlTask task(setup_, nullptr);
  EXPECT_EQ(task.Execute(), 1);
  EXPECT_EQ(Site("index.htm"), "<p>Forums</p>");
}

// --- Main pages ----------------------------------------------------------------------------------

TEST_F(HtmlTask, MakesTheFiveMainPagesInTheirOrder) {
  const std::pair<const char*, const char*> kPages[] = {{"HTML File - Answer list", "e"},
                                                        {"HTML File - Forum list", "a.html"},
                                                        {"HTML File - Message list", "b"},
                                                        {"HTML File - Question list", "d"},
                                                        {"HTML File - Resource list", "c.htm"}};
  for (const auto& [setting, value] : kPages) Set(setting, value);
  for (const char* name : {"a.html", "b.htm", "c.htm", "d.htm", "e.htm"}) Template(name, name);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(status, (std::vector<std::string>{"Processing [a.html]", "Processing [b.htm]",
                                              "Processing [c.htm]", "Processing [d.htm]",
                                              "Processing [e.htm]"}));
  EXPECT_EQ(SiteFiles(), (std::vector<std::string>{"a.html", "b.htm", "c.htm", "d.htm", "e.htm"}));
}

TEST_F(HtmlTask, AnEmptySettingMakesNoPage) {
  Set("HTML File - Forum list", "");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(SiteFiles().empty());
}

TEST_F(HtmlTask, OneTemplateOfTwoSettingsMakesOnePage) {
  Set("HTML File - Message list", "INDEX");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(status.size(), 1U);
}

TEST_F(HtmlTask, AMissingTemplateIsReportedAndFailsNoRun) {
  Set("HTML File - Message list", "gone");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(Logged("Cannot open " + root_ / "Templates/gone.htm"));
  EXPECT_NE(ReadFileBytes(root_ / "error.log").find("Cannot open "), std::string::npos);
  EXPECT_TRUE(FileExists(SitePath("index.htm")));
  EXPECT_NE(state_->Number("Last Site Update Time"), 0U);
}

// --- Pages of forums and messages ----------------------------------------------------------------

TEST_F(HtmlTask, MakesThePagesThatFieldsAskForOnceEach) {
  Add("General Talk", {.subject = "one"});
  Add("General Talk", {.subject = "two"});
  Template("index.htm",
           "<ul><li><a href=\"$FORUM_FILENAME(list)$\">$FORUM_NAME$</a>"
           "<a href=\"$FORUM_FILENAME(list)$\">again</a></li></ul>");
  Template("list.htm",
           "<h1>$FORUM_NAME$</h1><ul><li><a href=\"$MESSAGE_FILENAME(item)$\">"
           "$MESSAGE_SUBJECT$</a></li></ul>");
  Template("item.htm", "<a href=\"$BACK$\">$MESSAGE_SUBJECT$</a>$MESSAGE_NEXT$");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(SiteFiles(), (std::vector<std::string>{"index.htm", "item--f--general_talk--1.htm",
                                                   "item--f--general_talk--2.htm",
                                                   "list--f--general_talk.htm"}));
  EXPECT_EQ(Unwrapped(Site("list--f--general_talk.htm")),
            "<h1>General Talk</h1><ul><li><a href=\"item--f--general_talk--1.htm\">one</a></li>"
            "<li><a href=\"item--f--general_talk--2.htm\">two</a></li></ul>");
  EXPECT_EQ(Site("item--f--general_talk--1.htm"),
            "<a href=\"list--f--general_talk.htm\">one</a>item--f--general_talk--2.htm");
  EXPECT_EQ(status.size(), 4U);
  EXPECT_TRUE(history.empty());
}

TEST_F(HtmlTask, BackIsEmptyOnAMainPage) {
  Template("index.htm", "<p>[$BACK$]</p>");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Site("index.htm"), "<p>[]</p>");
}

TEST_F(HtmlTask, PagesThatAskForEachOtherEnd) {
  Add("General Talk");
  Template("index.htm", "<p>$FORUM_FILENAME(a)$</p>");
  Template("a.htm", "<p>$FORUM_FILENAME(b)$</p>");
  Template("b.htm", "<p>$FORUM_FILENAME(a)$ $BACK$</p>");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Site("b--f--general_talk.htm"), "<p>a--f--general_talk.htm a--f--general_talk.htm</p>");
}

TEST_F(HtmlTask, AMissingTemplateOfAFieldIsToldOnceAndShownWhereItIsMissing) {
  for (int i = 0; i < 3; ++i) Add("General Talk");
  Template("index.htm", "<ul><li>$FORUM_NAME$<p>$MESSAGE_FILENAME(gone)$</p></li></ul>");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(CountLogged("Cannot open template gone.htm"), 1);
  EXPECT_NE(Site("index.htm").find("Cannot open template gone.htm"), std::string::npos);
}

TEST_F(HtmlTask, ADamagedDataFileFailsTheRunButNotTheOtherPages) {
  WriteFileBytes(root_ / "Data/Broken.mwd", "not a compound document");
  Template("index.htm", "<ul><li>$FORUM_NAME$</li></ul>");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(Site("index.htm"), "<ul><li>General Talk</li></ul>");
  EXPECT_TRUE(Logged("Cannot open data file of message forum Broken"));
  EXPECT_EQ(state_->Number("Last Site Update Time"), 0U);
  EXPECT_EQ(ReadFileBytes(root_ / "Data/Broken.mwd"), "not a compound document");
}

TEST_F(HtmlTask, ADamagedDataFileIsToldOnceHoweverManyPagesShowIt) {
  WriteFileBytes(root_ / "Data/Broken.mwd", "not a compound document");
  Template("index.htm", "<a href=\"next.htm\">n</a><ul><li>$FORUM_NAME$</li></ul>");
  Template("next.htm", "<ul><li>$FORUM_NAME$</li></ul>");
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(status.size(), 2U);
  EXPECT_EQ(CountLogged("Cannot open data file of message forum Broken"), 1);
}

TEST_F(HtmlTask, TheTemplateDirectorysOwnNameMayHoldAnyCharacter) {
  const std::string odd = root_ / "What?/";
  std::error_code error;
  if (!std::filesystem::create_directory(odd, error)) {
    GTEST_SKIP() << "no such names on this platform";
  }
  WriteFileBytes(odd + "index.htm", "<p>odd</p>");
  Set("HTML Template Directory", odd);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Site("index.htm"), "<p>odd</p>");
}

// --- Saving --------------------------------------------------------------------------------------

TEST_F(HtmlTask, APageThatCannotBeSavedFailsTheRun) {
  std::filesystem::create_directory(SitePath("index.htm"));
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(Logged("Cannot save " + SitePath("index.htm")));
  EXPECT_EQ(state_->Number("Last Site Update Time"), 0U);
}

TEST_F(HtmlTask, ASiteDirectoryThatIsAFileIsReported) {
  std::filesystem::remove(root_ / "Site");
  WriteFileBytes(root_ / "Site", "in the way");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(Logged("Cannot save " + SitePath("index.htm")));
  EXPECT_EQ(ReadFileBytes(root_ / "Site"), "in the way");
}

TEST_F(HtmlTask, WithoutASiteDirectoryNothingIsWritten) {
  Set("Local Directory", "");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(Logged("Cannot save index.htm"));
  EXPECT_FALSE(FileExists("index.htm"));
}

TEST_F(HtmlTask, ASiteInTheTemplateDirectoryDoesNotOverwriteTheTemplates) {
  Template("index.htm", "<p>$POST$</p>");
  Age(root_ / "Templates/index.htm", 5);
  Set("Local Directory", root_ / "Templates/");
  EXPECT_EQ(Run(), 0);
  EXPECT_TRUE(Logged("Cannot save " + root_ / "Templates/index.htm"));
  EXPECT_EQ(ReadFileBytes(root_ / "Templates/index.htm"), "<p>$POST$</p>");
}

TEST_F(HtmlTask, ADuePageWithEqualBytesOnlyGetsTheNewTime) {
  ASSERT_EQ(Run(), 1);
  Age(SitePath("index.htm"), 5);
  const FILETIME before = WrittenAt(SitePath("index.htm"));
  Template("index.htm", "<p>Forums</p>");
  ASSERT_EQ(Run(), 1);
  EXPECT_GT(TTime(WrittenAt(SitePath("index.htm"))), TTime(before));
  EXPECT_EQ(Site("index.htm"), "<p>Forums</p>");
}

TEST_F(HtmlTask, PagesCarryExactlyTheTemporaryAttribute) {
  if (!KeepsAttributes()) GTEST_SKIP() << "this platform keeps no temporary attribute";
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(AttributesOf("index.htm"), 0x100U);
  Age(SitePath("index.htm"), 5);
  Template("index.htm", "<p>Forums</p>");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(AttributesOf("index.htm"), 0x100U) << "after it got a new time only";
}

TEST_F(HtmlTask, AnOlderPageIsReplacedWhoeverWroteIt) {
  WriteFileBytes(SitePath("index.htm"), "the owner's");
  Age(SitePath("index.htm"), 5);
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Site("index.htm"), "<p>Forums</p>");
}

TEST_F(HtmlTask, ANewerPageOfTheOwnersStays) {
  AgeSources();
  WriteFileBytes(SitePath("index.htm"), "the owner's");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Site("index.htm"), "the owner's");
}

TEST_F(HtmlTask, AnUntouchedPageWithOtherBytesIsSavedAlthoughNothingIsNewer) {
  if (!KeepsAttributes()) GTEST_SKIP() << "this platform keeps no temporary attribute";
  Add("General Talk", {.subject = "secret", .time = TTime(2001, 2, 3, 4, 5, 6)});
  Template("index.htm", "<ul><li>$FORUM_NAME$<p>$MESSAGE_SUBJECT$</p></li></ul>");
  AgeSources(3);
  ASSERT_EQ(Run(), 1);
  ASSERT_NE(Site("index.htm").find("secret"), std::string::npos);
  Remove("General Talk", 1);
  AgeSources(3);
  Template("unrelated.txt", "makes the run due");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Site("index.htm"), "<ul><li>General Talk</li></ul>");
}

TEST_F(HtmlTask, APageThatShowsTheTimeIsLeftAloneWhenNothingIsNewer) {
  if (!KeepsAttributes()) GTEST_SKIP() << "this platform keeps no temporary attribute";
  // The message that goes is the only one of its forum, so that no neighbour's time changes.
  MakeForum("Kept");
  Add("Kept", {.subject = "kept", .time = TTime(2001, 2, 3, 4, 5, 6)});
  for (const char* tag : {"$DATE$", "$TIME$", "$MESSAGE_IS_NEW$"}) {
    Add("General Talk", {.subject = "secret", .time = TTime(2001, 2, 3, 4, 5, 6)});
    Template("index.htm",
             "<ul><li>$FORUM_NAME$<p>$MESSAGE_SUBJECT$" + std::string(tag) + "</p></li></ul>");
    ASSERT_EQ(Run(), 1);
    const std::string page = Site("index.htm");
    ASSERT_NE(page.find("secret"), std::string::npos) << page;
    TForum* forum = OpenForum("General Talk", (root_ / "Data/").c_str());
    const DWORD last = static_cast<DWORD>(forum->Number("Last Message Index"));
    CloseForum(forum);
    Remove("General Talk", last);
    AgeSources(3);
    Template("unrelated.txt", "makes the run due");
    ASSERT_EQ(Run(), 1);
    EXPECT_EQ(Site("index.htm"), page) << tag;
    std::filesystem::remove(SitePath("index.htm"));
  }
}

TEST_F(HtmlTask, OnePostRewritesNoPageOfAnotherForum) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime longAgo(2001, 2, 3, 4, 5, 6);
  MakeForum("Other");
  Add("Other", {.time = longAgo});
  Add("General Talk", {.time = longAgo});
  Template("index.htm", "<ul><li>$FORUM_FILENAME(list)$ $FORUM_SIZE$</li></ul>");
  Template("list.htm", "<ul><li>$MESSAGE_FILENAME(item)$</li></ul>");
  Template("item.htm", "<p>$MESSAGE_SUBJECT$ $MESSAGE_NEXT$</p>");
  AgeSources();
  ASSERT_EQ(Run(), 1);
  for (const std::string& name : SiteFiles()) Age(SitePath(name), 1);
  const auto before = Snapshot();
  Add("General Talk", {.time = longAgo});
  ASSERT_EQ(Run(), 1);
  for (const auto& [name, time] : before) {
    const bool same = TTime(WrittenAt(SitePath(name))).Ticks() == time;
    EXPECT_EQ(same, name.find("--other") != std::string::npos) << name;
  }
  EXPECT_TRUE(FileExists(SitePath("item--f--general_talk--2.htm")));
}

TEST_F(HtmlTask, WhatAKilledRunLeftIsRemoved) {
  std::filesystem::create_directory(SitePath("~brevant.tmp"));
  WriteFileBytes(SitePath("~brevant.tmp/file"), "half a page");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(SiteFiles(), std::vector<std::string>{"index.htm"});
}

TEST_F(HtmlTask, TheOwnersFilesStay) {
  WriteFileBytes(SitePath("robots.txt"), "x");
  WriteFileBytes(SitePath("old.htm"), "y");
  ASSERT_EQ(Run(), 1);
  EXPECT_EQ(Site("robots.txt"), "x");
  EXPECT_EQ(Site("old.htm"), "y");
}

// --- Aborting ------------------------------------------------------------------------------------

TEST_F(HtmlTask, AnAbortedRunReturnsZeroAndStoresNothing) {
  Set("HTML File - Message list", "second");
  Template("second.htm", "x");
  THtmlTask task(setup_, state_);
  onStatus = [&] { task.Abort(); };
  EXPECT_EQ(task.Execute(), 0);
  onStatus = nullptr;
  EXPECT_EQ(status.size(), 1U);
  EXPECT_TRUE(SiteFiles().empty()) << "the page at hand may be half made";
  EXPECT_EQ(state_->Number("Last Site Update Time"), 0U);
}

TEST_F(HtmlTask, ATaskAbortedBeforeItRunsDoesNothing) {
  THtmlTask task(setup_, state_);
  task.Abort();
  EXPECT_EQ(task.Execute(), 0);
  EXPECT_TRUE(SiteFiles().empty());
}

}  // namespace
}  // namespace test
