#include "shared/board_cache.h"

#include "board_reading.h"
#include "support/temporary_directory.h"

#include <brevant/link_list.h>
#include <brevant/survey_question.h>

#include <gtest/gtest.h>
#include <new>

namespace brevant {
namespace {

class BoardCache : public ::testing::Test {
 protected:
  void SetUp() override {
    OleInitialize(nullptr);
    for (const char* name : {"beta", "Alpha", "gamma"}) {
      ASSERT_TRUE(test::MakeForum(name, directory_.Path()));
    }
  }
  void TearDown() override { OleUninitialize(); }

  static bool Insert(TForum& forum, const std::string& subject, std::size_t size = 10) {
    TMail mail;
    if (mail.OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)) == 0) return false;
    mail.String("SUBJECT", subject.c_str());
    const std::string content(size, 'x');
    mail.Content().Write(content.data(), static_cast<int>(content.size()));
    return forum.InsertMessage(mail) != 0;
  }

  // Keeps a log of commits in log_, for example "Alpha+ beta- ".
  void Watch(TBoardCache& cache) {
    cache.SetCommitObserver([this](TBoardKind kind, const std::string& name, bool committed) {
      EXPECT_EQ(kind, TBoardKind::kForum);
      log_ += name + (committed ? "+ " : "- ");
    });
  }

  test::TemporaryDirectory directory_;
  std::string log_;
};

TEST_F(BoardCache, NamesComeInTheOrderOfTheSearches) {
  TBoardCache cache(directory_.Path());
  std::vector<std::string> searched;
  TForumSearcher* search = StartForumSearch(directory_.Path().c_str());
  for (const char* name = FindFirstForum(search); name != nullptr; name = FindNextForum(search)) {
    searched.emplace_back(name);
  }
  EndForumSearch(search);
  EXPECT_EQ(cache.Names(TBoardKind::kForum), searched);
  EXPECT_EQ(searched, (std::vector<std::string>{"Alpha", "beta", "gamma"}));
}

TEST_F(BoardCache, EveryKindOfBoardFileOpensAsItsOwnClass) {
  {
    const std::unique_ptr<TForum> made[] = {std::make_unique<TContributor>(),
                                            std::make_unique<TLinkList>(),
                                            std::make_unique<TSurveyQuestion>()};
    for (const auto& container : made) {
      ASSERT_NE(container->Open("Alpha", directory_.Path().c_str(), 2, 4096, 16), 0);
    }
  }
  TBoardCache cache(directory_.Path());
  const std::pair<TBoardKind, const char*> kKinds[] = {{TBoardKind::kForum, ".mwd"},
                                                       {TBoardKind::kContributor, ".mwe"},
                                                       {TBoardKind::kLinkList, ".mwf"},
                                                       {TBoardKind::kQuestion, ".mwg"}};
  std::vector<TBoardCache::THandle> handles;
  for (const auto& [kind, extension] : kKinds) {
    EXPECT_EQ(cache.Names(kind).size(), kind == TBoardKind::kForum ? 3U : 1U) << extension;
    EXPECT_NE(cache.Find(kind, "ALPHA"), nullptr);
    handles.push_back(cache.Open(kind, "alpha"));
    ASSERT_TRUE(handles.back()) << extension;
    EXPECT_STREQ(handles.back()->Extension(), extension);
    EXPECT_EQ(handles.back().Kind(), kind);
  }
  EXPECT_EQ(cache.OpenCount(), 4U);
  EXPECT_NE(dynamic_cast<TLinkList*>(handles[2].Get()), nullptr);
}

TEST_F(BoardCache, NamesAreReadOnce) {
  TBoardCache cache(directory_.Path());
  EXPECT_EQ(cache.Names(TBoardKind::kForum).size(), 3u);
  ASSERT_TRUE(test::MakeForum("delta", directory_.Path()));
  EXPECT_EQ(cache.Names(TBoardKind::kForum).size(), 3u);
}

TEST_F(BoardCache, AnEmptyDirectoryHasNoNames) {
  const test::TemporaryDirectory empty;
  TBoardCache cache(empty.Path());
  EXPECT_TRUE(cache.Names(TBoardKind::kForum).empty());
  TBoardCache missing(empty / "none/");
  EXPECT_TRUE(missing.Names(TBoardKind::kForum).empty());
}

TEST_F(BoardCache, FindIgnoresLetterCaseAndGivesTheSpelling) {
  TBoardCache cache(directory_.Path());
  const std::string* found = cache.Find(TBoardKind::kForum, "ALPHA");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(*found, "Alpha");
  EXPECT_EQ(cache.Find(TBoardKind::kForum, "Alph"), nullptr);
}

TEST_F(BoardCache, OneFileIsOneObjectWhateverTheLetterCase) {
  TBoardCache cache(directory_.Path());
  const TBoardCache::THandle first = cache.Open(TBoardKind::kForum, "Alpha");
  const TBoardCache::THandle second = cache.Open(TBoardKind::kForum, "alpha");
  ASSERT_TRUE(first);
  EXPECT_EQ(first.Get(), second.Get());
  EXPECT_EQ(cache.OpenCount(), 1u);
  EXPECT_EQ(first.Name(), "Alpha");
  EXPECT_EQ(first.Kind(), TBoardKind::kForum);
}

TEST_F(BoardCache, AMissingFileGivesAnEmptyHandle) {
  TBoardCache cache(directory_.Path());
  const TBoardCache::THandle handle = cache.Open(TBoardKind::kForum, "none");
  EXPECT_FALSE(handle);
  EXPECT_EQ(handle.Get(), nullptr);
  EXPECT_EQ(cache.OpenCount(), 0u);
}

TEST_F(BoardCache, AFileThatIsNoDocumentGivesAnEmptyHandleAndStaysAsItIs) {
  test::WriteFileBytes(directory_ / "junk.mwd", "this is no compound document");
  TBoardCache cache(directory_.Path());
  EXPECT_FALSE(cache.Open(TBoardKind::kForum, "junk"));
  EXPECT_EQ(cache.CloseAll(), 1);
  EXPECT_EQ(test::ReadFileBytes(directory_ / "junk.mwd"), "this is no compound document");
}

TEST_F(BoardCache, StaysOpenBetweenUsesAndExclusively) {
  TBoardCache cache(directory_.Path());
  TForum* object = cache.Open(TBoardKind::kForum, "beta").Get();
  EXPECT_EQ(cache.OpenCount(), 1u);
  EXPECT_EQ(cache.Open(TBoardKind::kForum, "beta").Get(), object);
  EXPECT_EQ(OpenForum("beta", directory_.Path().c_str()), nullptr);
  cache.CloseAll();
  TForum* forum = OpenForum("beta", directory_.Path().c_str());
  EXPECT_NE(forum, nullptr);
  CloseForum(forum);
}

TEST_F(BoardCache, ClosesTheLongestUnusedFileFirst) {
  TBoardCache cache(directory_.Path(), {2, 4u << 20});
  cache.Open(TBoardKind::kForum, "Alpha");
  cache.Open(TBoardKind::kForum, "beta");
  cache.Open(TBoardKind::kForum, "Alpha");
  ASSERT_TRUE(cache.Open(TBoardKind::kForum, "gamma"));
  EXPECT_EQ(cache.OpenCount(), 2u);
  // beta is the one that was closed: it can be opened from outside.
  TForum* beta = OpenForum("beta", directory_.Path().c_str());
  EXPECT_NE(beta, nullptr);
  CloseForum(beta);
  EXPECT_EQ(OpenForum("Alpha", directory_.Path().c_str()), nullptr);
}

TEST_F(BoardCache, FilesInUseAreNeverClosed) {
  TBoardCache cache(directory_.Path(), {2, 4u << 20});
  const TBoardCache::THandle alpha = cache.Open(TBoardKind::kForum, "Alpha");
  TBoardCache::THandle beta = cache.Open(TBoardKind::kForum, "beta");
  EXPECT_FALSE(cache.Open(TBoardKind::kForum, "gamma")) << "both places are taken";
  beta.Release();
  EXPECT_TRUE(cache.Open(TBoardKind::kForum, "gamma"));
  EXPECT_TRUE(alpha->IsOpen());
}

TEST_F(BoardCache, CopiesOfAHandleKeepTheFile) {
  TBoardCache cache(directory_.Path(), {1, 4u << 20});
  TBoardCache::THandle first = cache.Open(TBoardKind::kForum, "Alpha");
  TBoardCache::THandle copy = first;
  first.Release();
  EXPECT_FALSE(first);
  EXPECT_FALSE(cache.Open(TBoardKind::kForum, "beta"));
  TBoardCache::THandle moved = std::move(copy);
  EXPECT_FALSE(cache.Open(TBoardKind::kForum, "beta"));
  moved = TBoardCache::THandle();
  EXPECT_TRUE(cache.Open(TBoardKind::kForum, "beta"));
}

TEST_F(BoardCache, MoreFilesThanMayBeOpenAreServedInTurn) {
  constexpr int kForums = 40;
  for (int i = 0; i < kForums; ++i) {
    ASSERT_TRUE(test::MakeForum("f" + std::to_string(i), directory_.Path()));
  }
  TBoardCache cache(directory_.Path(), {8, 4u << 20});
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < kForums; ++i) {
      const TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, "f" + std::to_string(i));
      ASSERT_TRUE(forum) << i;
      ASSERT_TRUE(Insert(*forum, "round " + std::to_string(round)));
      EXPECT_LE(cache.OpenCount(), 8u);
    }
  }
  EXPECT_EQ(cache.CloseAll(), 1);
  for (int i = 0; i < kForums; ++i) {
    EXPECT_EQ(test::SubjectsOf("f" + std::to_string(i), directory_.Path()), "round 0;round 1;");
  }
}

TEST_F(BoardCache, WhatWasOnlyReadIsNotCommitted) {
  TBoardCache cache(directory_.Path());
  Watch(cache);
  cache.Open(TBoardKind::kForum, "Alpha");
  EXPECT_EQ(cache.CloseAll(), 1);
  EXPECT_EQ(log_, "");
}

TEST_F(BoardCache, ChangedFilesAreCommittedAtTheEnd) {
  TBoardCache cache(directory_.Path());
  Watch(cache);
  ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, "Alpha"), "one"));
  ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, "gamma"), "two"));
  EXPECT_EQ(log_, "");
  EXPECT_EQ(cache.CloseAll(), 1);
  EXPECT_EQ(log_, "Alpha+ gamma+ ");
  EXPECT_EQ(cache.OpenCount(), 0u);
  EXPECT_EQ(test::SubjectsOf("Alpha", directory_.Path()), "one;");
}

TEST_F(BoardCache, TheDestructorCommitsToo) {
  {
    TBoardCache cache(directory_.Path());
    Watch(cache);
    ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, "Alpha"), "one"));
  }
  EXPECT_EQ(log_, "Alpha+ ");
  EXPECT_EQ(test::SubjectsOf("Alpha", directory_.Path()), "one;");
}

TEST_F(BoardCache, ClosingForRoomCommitsFirst) {
  TBoardCache cache(directory_.Path(), {1, 4u << 20});
  Watch(cache);
  ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, "Alpha"), "one"));
  cache.Open(TBoardKind::kForum, "beta");
  EXPECT_EQ(log_, "Alpha+ ");
}

TEST_F(BoardCache, ManyUncommittedBytesAreCommittedWhenTheFileIsLetGo) {
  TBoardCache cache(directory_.Path(), {256, 4u * 1024 * 1024});
  Watch(cache);
  {
    const TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, "Alpha");
    ASSERT_TRUE(Insert(*forum, "small", 1000));
  }
  EXPECT_EQ(log_, "");
  {
    const TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, "Alpha");
    ASSERT_TRUE(Insert(*forum, "large", 5 * 1024 * 1024));
    EXPECT_EQ(log_, "") << "not while it is in use";
  }
  EXPECT_EQ(log_, "Alpha+ ");
  EXPECT_EQ(cache.OpenCount(), 1u) << "it stays open";
  EXPECT_EQ(cache.CloseAll(), 1);
  EXPECT_EQ(log_, "Alpha+ ") << "nothing was written since";
}

TEST_F(BoardCache, CommitOnDemand) {
  TBoardCache cache(directory_.Path());
  Watch(cache);
  const TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, "Alpha");
  EXPECT_EQ(cache.Commit(forum), 1);
  EXPECT_EQ(log_, "") << "nothing to commit";
  ASSERT_TRUE(Insert(*forum, "one"));
  EXPECT_EQ(cache.Commit(forum), 1);
  EXPECT_EQ(log_, "Alpha+ ");
  EXPECT_EQ(cache.Commit({}), 0);
}

TEST_F(BoardCache, AFailedCommitGivesTheFileUp) {
  TBoardCache cache(directory_.Path());
  Watch(cache);
  cache.SetCommit([](TStorage&) { return 0; });
  ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, "Alpha"), "one"));
  EXPECT_EQ(cache.CloseAll(), 0);
  EXPECT_EQ(log_, "Alpha- ");
  EXPECT_TRUE(cache.AnyGivenUp());
  EXPECT_TRUE(cache.GivenUp(TBoardKind::kForum, "ALPHA"));
  EXPECT_FALSE(cache.GivenUp(TBoardKind::kForum, "beta"));
  EXPECT_FALSE(cache.Open(TBoardKind::kForum, "alpha"));
  EXPECT_TRUE(cache.Open(TBoardKind::kForum, "beta"));
}

TEST_F(BoardCache, AFileGivenUpOnDemandClosesWithItsLastHandle) {
  TBoardCache cache(directory_.Path());
  cache.SetCommit([](TStorage&) { return 0; });
  TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, "Alpha");
  ASSERT_TRUE(Insert(*forum, "one"));
  EXPECT_EQ(cache.Commit(forum), 0);
  EXPECT_TRUE(forum->IsOpen());
  EXPECT_EQ(cache.Commit(forum), 0) << "and stays lost";
  forum.Release();
  EXPECT_EQ(cache.OpenCount(), 0u);
}

TEST_F(BoardCache, OneFailedCommitDoesNotHinderTheOthers) {
  TBoardCache cache(directory_.Path());
  Watch(cache);
  int commits = 0;
  cache.SetCommit([&commits](TStorage& storage) { return ++commits == 2 ? 0 : storage.Commit(); });
  for (const char* name : {"Alpha", "beta", "gamma"}) {
    ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, name), "one"));
  }
  EXPECT_EQ(cache.CloseAll(), 0);
  EXPECT_EQ(log_, "Alpha+ beta- gamma+ ");
  EXPECT_EQ(test::SubjectsOf("gamma", directory_.Path()), "one;");
}

TEST_F(BoardCache, AnObserverThatFailsWhenAHandleGoesMakesNothingSafe) {
  TBoardCache cache(directory_.Path(), {256, 10});
  cache.SetCommitObserver([](TBoardKind, const std::string&, bool) { throw std::bad_alloc(); });
  ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, "Alpha"), "one", 1000));
  EXPECT_FALSE(cache.Reliable());
  EXPECT_TRUE(cache.AnyGivenUp());
  EXPECT_FALSE(cache.Open(TBoardKind::kForum, "Alpha"));
  EXPECT_EQ(cache.CloseAll(), 0);
  EXPECT_EQ(cache.OpenCount(), 0u);
}

TEST_F(BoardCache, ACommitThatEndsWithAnExceptionIsNotRepeated) {
  int commits = 0;
  {
    TBoardCache cache(directory_.Path());
    cache.SetCommit([&commits](TStorage&) -> int {
      ++commits;
      throw std::bad_alloc();
    });
    ASSERT_TRUE(Insert(*cache.Open(TBoardKind::kForum, "Alpha"), "one"));
    EXPECT_TRUE(cache.Reliable());
    EXPECT_THROW(cache.CloseAll(), std::bad_alloc);
    EXPECT_FALSE(cache.Reliable());
  }
  EXPECT_EQ(commits, 1);
}

TEST_F(BoardCache, FilesStillHeldAtTheEndCloseWithTheirHandle) {
  TBoardCache cache(directory_.Path());
  TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, "Alpha");
  ASSERT_TRUE(Insert(*forum, "one"));
  EXPECT_EQ(cache.CloseAll(), 1);
  EXPECT_TRUE(forum->IsOpen());
  forum.Release();
  EXPECT_EQ(cache.OpenCount(), 0u);
  EXPECT_EQ(test::SubjectsOf("Alpha", directory_.Path()), "one;");
}

TEST_F(BoardCache, ItemsInsideStayValidWhileTheFileIsHeld) {
  TBoardCache cache(directory_.Path(), {1, 4u << 20});
  const TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, "Alpha");
  ASSERT_TRUE(Insert(*forum, "one"));
  TMail mail;
  ASSERT_EQ(forum->OpenMessage(1, &mail), 1);
  EXPECT_FALSE(cache.Open(TBoardKind::kForum, "beta"));
  EXPECT_STREQ(mail.String("SUBJECT"), "one");
  mail.Close();
}

}  // namespace
}  // namespace brevant
