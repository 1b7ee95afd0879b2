#include "board/directory_searcher.h"
#include "board_fixture.h"

#include <filesystem>

namespace board_test {
namespace {

class ForumFiles : public testing::Test {
 protected:
  void Touch(const char* name) { test::WriteFileBytes(directory_ / name, "x"); }
  std::vector<std::string> Names(const std::string& directory) {
    std::vector<std::string> names;
    TForumSearcher* searcher = StartForumSearch(directory.c_str());
    EXPECT_NE(searcher, nullptr);
    for (const char* name = FindFirstForum(searcher); name != nullptr;
         name = FindNextForum(searcher)) {
      names.emplace_back(name);
    }
    EXPECT_EQ(FindNextForum(searcher), nullptr) << "the end is the end";
    EndForumSearch(searcher);
    return names;
  }
  const char* Directory() const { return directory_.Path().c_str(); }

  test::TemporaryDirectory directory_;
};

TEST_F(ForumFiles, CreateOpenClose) {
  TForum* forum = CreateForum("talk", Directory());
  ASSERT_NE(forum, nullptr);
  Insert(*forum, "a");
  CloseForum(forum);
  EXPECT_TRUE(test::FileExists(directory_ / "talk.mwd"));
  forum = OpenForum("talk", Directory());
  ASSERT_NE(forum, nullptr);
  EXPECT_EQ(Rows(*forum).size(), 1U);
  EXPECT_EQ(OpenForum("talk", Directory()), nullptr) << "open already";
  CloseForum(forum);
}

TEST_F(ForumFiles, CreateReplacesAnExistingForum) {
  TForum* forum = CreateForum("talk", Directory());
  Insert(*forum, "a");
  CloseForum(forum);
  forum = CreateForum("talk", Directory());
  ASSERT_NE(forum, nullptr);
  EXPECT_EQ(Rows(*forum).size(), 0U);
  CloseForum(forum);
}

TEST_F(ForumFiles, OpenFailures) {
  EXPECT_EQ(OpenForum("missing", Directory()), nullptr);
  EXPECT_EQ(OpenForum(nullptr, Directory()), nullptr);
  EXPECT_EQ(OpenForum("talk", nullptr), nullptr);
  EXPECT_EQ(CreateForum("talk", (directory_ / "missing/").c_str()), nullptr);
  CloseForum(nullptr);
}

TEST_F(ForumFiles, DirectoryAndNameAreJoinedAsTheyAre) {
  TForum* forum = CreateForum("talk", (directory_ / "pre").c_str());
  ASSERT_NE(forum, nullptr);
  CloseForum(forum);
  EXPECT_TRUE(test::FileExists(directory_ / "pretalk.mwd"));
}

TEST_F(ForumFiles, Rename) {
  CloseForum(CreateForum("old", Directory()));
  EXPECT_NE(RenameForum("old", "new", Directory()), 0);
  EXPECT_FALSE(test::FileExists(directory_ / "old.mwd"));
  EXPECT_TRUE(test::FileExists(directory_ / "new.mwd"));
  EXPECT_EQ(RenameForum("old", "other", Directory()), 0);
  CloseForum(CreateForum("second", Directory()));
  EXPECT_EQ(RenameForum("second", "new", Directory()), 0) << "there is one of that name";
  EXPECT_EQ(RenameForum(nullptr, "x", Directory()), 0);
  EXPECT_EQ(RenameForum("new", nullptr, Directory()), 0);
  EXPECT_EQ(RenameForum("new", "x", nullptr), 0);
}

TEST_F(ForumFiles, Delete) {
  CloseForum(CreateForum("talk", Directory()));
  EXPECT_NE(DeleteForum("talk", Directory()), 0);
  EXPECT_FALSE(test::FileExists(directory_ / "talk.mwd"));
  EXPECT_EQ(DeleteForum("talk", Directory()), 0);
  EXPECT_EQ(DeleteForum(nullptr, Directory()), 0);
}

TEST_F(ForumFiles, SearchWithAndWithoutTrailingSeparator) {
  Touch("a.mwd");
  Touch("b.mwd");
  const std::string path = directory_.Path();
  const std::vector<std::string> expected = {"a", "b"};
  EXPECT_EQ(Names(path), expected);
  EXPECT_EQ(Names(path.substr(0, path.size() - 1)), expected);
  EXPECT_EQ(Names(path.substr(0, path.size() - 1) + "\\"), expected);
}

TEST_F(ForumFiles, OnlyTheLastExtensionIsCut) {
  Touch("a.b.mwd");
  EXPECT_EQ(Names(directory_.Path()), std::vector<std::string>{"a.b"});
}

TEST_F(ForumFiles, OtherExtensionsAreNotFound) {
  Touch("a.mwe");
  Touch("b.mwdx");
  Touch("c.mwd.bak");
  Touch("mwd");
  Touch("d.MWD");
  EXPECT_EQ(Names(directory_.Path()), std::vector<std::string>{"d"});
}

TEST_F(ForumFiles, DirectoriesAreNotFound) {
  std::filesystem::create_directory(directory_ / "x.mwd");
  Touch("y.mwd");
  EXPECT_EQ(Names(directory_.Path()), std::vector<std::string>{"y"});
}

TEST_F(ForumFiles, EmptyAndMissingDirectories) {
  EXPECT_TRUE(Names(directory_.Path()).empty());
  EXPECT_TRUE(Names(directory_ / "missing").empty());
}

TEST_F(ForumFiles, SearchWithNulls) {
  EXPECT_EQ(StartForumSearch(nullptr), nullptr);
  EXPECT_EQ(FindFirstForum(nullptr), nullptr);
  EXPECT_EQ(FindNextForum(nullptr), nullptr);
  EndForumSearch(nullptr);
}

TEST_F(ForumFiles, FindFirstStartsAnew) {
  Touch("a.b.mwd");
  Touch("c.mwd");
  TForumSearcher* searcher = StartForumSearch(Directory());
  EXPECT_STREQ(FindFirstForum(searcher), "a.b");
  EXPECT_STREQ(FindFirstForum(searcher), "a.b");
  EXPECT_STREQ(FindNextForum(searcher), "c");
  EXPECT_EQ(FindNextForum(searcher), nullptr);
  EXPECT_STREQ(FindFirstForum(searcher), "a.b");
  EndForumSearch(searcher);
}

std::vector<std::string> Found(brevant::TDirectorySearcher& searcher) {
  std::vector<std::string> names;
  for (bool found = searcher.First(); found; found = searcher.Next()) {
    names.emplace_back(searcher.Name());
  }
  EXPECT_EQ(searcher.Name(), nullptr);
  return names;
}

TEST_F(ForumFiles, ExcludeMask) {
  Touch("a");
  std::filesystem::create_directory(directory_ / "b");
  brevant::TDirectorySearcher everything(Directory(), "*", FILE_ATTRIBUTE_NORMAL, 0);
  EXPECT_EQ(Found(everything), (std::vector<std::string>{"a", "b"})) << "no . and no ..";
  brevant::TDirectorySearcher files(Directory(), "*");
  EXPECT_EQ(Found(files), (std::vector<std::string>{"a"}));
}

TEST_F(ForumFiles, IncludeMask) {
  Touch("a");
  std::filesystem::create_directory(directory_ / "b");
  brevant::TDirectorySearcher directories(Directory(), "*", FILE_ATTRIBUTE_DIRECTORY, 0);
  EXPECT_EQ(Found(directories), (std::vector<std::string>{"b"}));
  brevant::TDirectorySearcher any(Directory(), "*", 0, 0);
  EXPECT_EQ(Found(any), (std::vector<std::string>{"a", "b"}));
}

TEST_F(ForumFiles, DirectoriesWithALeadingPointAreNotFound) {
  std::filesystem::create_directory(directory_ / ".hidden");
  Touch(".file");
  brevant::TDirectorySearcher everything(Directory(), "*", 0, 0);
  EXPECT_EQ(Found(everything), (std::vector<std::string>{".file"}));
}

}  // namespace
}  // namespace board_test
