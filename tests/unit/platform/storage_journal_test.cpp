// Journals beside real files: opening, reading, moving, deleting and making anew what a killed
// process left behind.
#include "platform/win32.h"
#include "unit/compound/crash_disk.h"
#include "unit/platform/storage_helpers.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace test;

// Runs work in a process of its own; what it returns is the exit code.
template <typename Work>
int InChild(Work work) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(work());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class StorageJournal : public testing::Test {
 protected:
  void SetUp() override {
    Storage root;
    ASSERT_EQ(CreateFileRoot(path_, root), S_OK);
    ASSERT_EQ(Put(root, "old", PatternText(5000)), S_OK);
  }

  // Leaves the file as a process does that is killed when its commit is sealed: nothing of the new
  // element "new" and the removal of "old" is in the file yet.
  static void LeaveSealed(const std::string& path) {
    const auto disk = std::make_shared<CrashDisk>();
    disk->Put("file", ReadFileBytes(path));
    CrashDiskPtr killed;
    {
      const auto document = OpenOn(disk);
      const compound::EntryId id = document->CreateStream(compound::kRootEntry, u"new");
      const std::string content = PatternText(7000);
      document->Write(*document->OpenStream(id), 0, content.data(), content.size());
      document->Remove(compound::kRootEntry, document->Find(compound::kRootEntry, u"old"),
                       [](compound::EntryId) {});
      disk->before = [&](const std::string& operation) {
        if (operation == "sync names") killed = disk->AfterKill();
        return compound::Status::kOk;
      };
      document->Commit();
    }
    WriteFileBytes(path, killed->Bytes("file"));
    WriteFileBytes(path + ".jnl", killed->Bytes("journal"));
  }

  static void ExpectNewState(const std::string& path) {
    Storage root;
    ASSERT_EQ(OpenFileRoot(path, root), S_OK);
    EXPECT_EQ(NamesIn(root), "[new]");
    EXPECT_EQ(ContentOf(root, "new"), PatternText(7000));
  }

  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(fs::path(path_).parent_path())) {
      names.insert(entry.path().filename());
    }
    return names;
  }
  using Set = std::set<std::string>;

  TemporaryDirectory directory_;
  std::string path_ = directory_ / "x.mwd";
  std::string journal_ = path_ + ".jnl";
};

TEST_F(StorageJournal, OpeningFinishesTheJob) {
  LeaveSealed(path_);
  ExpectNewState(path_);
  EXPECT_EQ(Names(), Set{"x.mwd"});
}

TEST_F(StorageJournal, AFileOfVersion4IsFinishedToo) {
  {
    const CrashDiskPtr disk = NewCrashDisk(4);
    {
      const auto document = OpenOn(disk);
      document->CreateStream(compound::kRootEntry, u"old");
      document->Commit();
    }
    WriteFileBytes(path_, disk->Bytes("file"));
  }
  LeaveSealed(path_);
  ExpectNewState(path_);
  EXPECT_EQ(Names(), Set{"x.mwd"});
}

TEST_F(StorageJournal, ItStandsBesideTheOpenFileAndGoesWithTheRelease) {
  fs::permissions(path_, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  Storage root;
  ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
  EXPECT_EQ(Names(), Set{"x.mwd"});
  Put(root, "s", "x");
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(Names(), (Set{"x.mwd", "x.mwd.jnl"}));
  EXPECT_EQ(fs::status(journal_).permissions(), fs::status(path_).permissions());
  root.Reset();
  EXPECT_EQ(Names(), Set{"x.mwd"});
}

TEST_F(StorageJournal, AReaderSeesTheNewStateAndChangesNothing) {
  LeaveSealed(path_);
  const std::string file = ReadFileBytes(path_);
  const std::string journal = ReadFileBytes(journal_);
  constexpr DWORD kShared = STGM_READ | STGM_SHARE_DENY_WRITE;
  Storage one, two;
  ASSERT_EQ(OpenFileRoot(path_, one, kShared), S_OK);
  ASSERT_EQ(OpenFileRoot(path_, two, kShared), S_OK);
  EXPECT_EQ(NamesIn(one), "[new]");
  EXPECT_EQ(ContentOf(two, "new"), PatternText(7000));
  // Nobody finishes the job under their feet.
  Storage writer;
  EXPECT_EQ(OpenFileRoot(path_, writer), STG_E_SHAREVIOLATION);
  EXPECT_TRUE(ReadFileBytes(path_) == file);
  EXPECT_TRUE(ReadFileBytes(journal_) == journal);
  one.Reset(), two.Reset();
  ExpectNewState(path_);
}

TEST_F(StorageJournal, OneThatDoesNotFitIsSetAsideUnderAFreeName) {
  for (int i = 1; i <= 3; ++i) {
    LeaveSealed(path_);
    const std::string journal = ReadFileBytes(journal_);
    Storage root;
    ASSERT_EQ(CreateFileRoot(directory_ / "y.mwd", root), S_OK);
    Put(root, "mine", std::to_string(i));
    root.Reset();
    fs::rename(directory_ / "y.mwd", path_);  // another file of that name
    ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
    EXPECT_EQ(NamesIn(root), "[mine]");
    EXPECT_EQ(ContentOf(root, "mine"), std::to_string(i));
    EXPECT_TRUE(ReadFileBytes(path_ + ".aside-" + std::to_string(i) + ".jnl") == journal);
    Put(root, "old", "again");
  }
  EXPECT_EQ(Names(), (Set{"x.mwd", "x.mwd.aside-1.jnl", "x.mwd.aside-2.jnl", "x.mwd.aside-3.jnl"}));
}

TEST_F(StorageJournal, NeitherAJournalNorOneSetAsideIsFoundAsADocument) {
  for (const char* name : {"x.mwd.jnl", "x.mwd.aside-1.jnl", "long name of a forum.mwd.jnl",
                           "long name of a forum.mwd.aside-1.jnl", "x.mwd.aside-2.jnl"}) {
    WriteFileBytes(directory_ / name, "x");
  }
  for (const char* pattern : {"*.mwd", "*.mw?", "*.mwd*", "*.m*"}) {
    Set found;
    WIN32_FIND_DATAA data{};
    HANDLE search = FindFirstFileA((directory_ / pattern).c_str(), &data);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    do {
      found.insert(data.cFileName);
      const std::string alternate = data.cAlternateFileName;
      EXPECT_EQ(alternate.find(".MWD"), std::string::npos);
    } while (FindNextFileA(search, &data));
    FindClose(search);
    if (pattern != std::string("*.mwd*") && pattern != std::string("*.m*")) {
      EXPECT_EQ(found, Set{"x.mwd"}) << pattern;
    }
  }
}

TEST_F(StorageJournal, ASymbolicLinkInItsPlaceIsNotFollowed) {
  const std::string target = directory_ / "target";
  LeaveSealed(path_);
  const std::string file = ReadFileBytes(path_);
  fs::rename(journal_, target);
  const std::string journal = ReadFileBytes(target);
  fs::create_symlink(target, journal_);
  Storage root;
  ASSERT_EQ(OpenFileRoot(path_, root, kRead), S_OK);
  EXPECT_EQ(NamesIn(root), "[old]");
  ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
  EXPECT_EQ(NamesIn(root), "[old]");
  Put(root, "s", "x");
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  EXPECT_TRUE(ReadFileBytes(target) == journal);
  EXPECT_TRUE(fs::is_symlink(path_ + ".aside-1.jnl"));
  // One that is put there while the file is open is not written through, either.
  root.Reset();
  ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
  fs::create_symlink(target, journal_);
  Put(root, "t", "y");
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  EXPECT_TRUE(ReadFileBytes(target) == journal);
}

TEST_F(StorageJournal, WhatIsNoFileInItsPlaceIsSetAside) {
  fs::create_directory(journal_);
  Storage root;
  ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
  EXPECT_TRUE(fs::is_directory(path_ + ".aside-1.jnl"));
  root.Reset();
  ASSERT_EQ(::mkfifo(journal_.c_str(), 0600), 0);
  ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
  EXPECT_TRUE(fs::is_fifo(path_ + ".aside-2.jnl"));
  EXPECT_EQ(NamesIn(root), "[old]");
}

TEST_F(StorageJournal, TheFileIsLockedBeforeItsJournalIsTouched) {
  LeaveSealed(path_);
  const std::string file = ReadFileBytes(path_);
  const std::string journal = ReadFileBytes(journal_);
  Storage reader;
  ASSERT_EQ(OpenFileRoot(path_, reader, kRead), S_OK);
  EXPECT_EQ(InChild([&] {
              Storage other;
              return OpenFileRoot(path_, other) == STG_E_SHAREVIOLATION ? 1 : 0;
            }),
            1);
  EXPECT_TRUE(ReadFileBytes(path_) == file);
  EXPECT_TRUE(ReadFileBytes(journal_) == journal);
}

TEST_F(StorageJournal, AWritersJournalIsItsOwnAsLongAsItLives) {
  Storage root;
  ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
  Put(root, "s", "x");
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  ASSERT_TRUE(FileExists(journal_));
  const auto inChild = [&](auto call) { return InChild([&] { return call() ? 1 : 0; }); };
  Storage other;
  EXPECT_EQ(inChild([&] { return OpenFileRoot(path_, other) == STG_E_SHAREVIOLATION; }), 1);
  EXPECT_EQ(inChild([&] { return CreateFileRoot(path_, other) == STG_E_SHAREVIOLATION; }), 1);
  EXPECT_EQ(inChild([&] { return DeleteFileA(path_.c_str()) == FALSE; }), 1);
  EXPECT_EQ(inChild([&] { return MoveFileA(path_.c_str(), (directory_ / "y").c_str()) == FALSE; }),
            1);
  EXPECT_TRUE(FileExists(journal_));
}

TEST_F(StorageJournal, MovingFinishesTheJobFirst) {
  LeaveSealed(path_);
  ASSERT_TRUE(MoveFileA(path_.c_str(), (directory_ / "y.mwd").c_str()));
  EXPECT_EQ(Names(), Set{"y.mwd"});
  ExpectNewState(directory_ / "y.mwd");
}

TEST_F(StorageJournal, MovingOntoAnotherSpellingFinishesTheJobFirst) {
  LeaveSealed(path_);
  ASSERT_TRUE(MoveFileA(path_.c_str(), (directory_ / "X.MWD").c_str()));
  EXPECT_EQ(Names(), Set{"X.MWD"});
  ExpectNewState(directory_ / "X.MWD");
}

TEST_F(StorageJournal, MovingOverAFileTakesThatFilesJournalAway) {
  const std::string other = directory_ / "y.mwd";
  Storage root;
  ASSERT_EQ(CreateFileRoot(other, root), S_OK);
  Put(root, "other", "x");
  root.Reset();
  LeaveSealed(path_);
  ASSERT_TRUE(MoveFileExA(other.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_EQ(Names(), Set{"x.mwd"});
  ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
  EXPECT_EQ(NamesIn(root), "[other]");
}

TEST_F(StorageJournal, AMoveThatCannotFinishTheJobFails) {
  LeaveSealed(path_);
  SetFileAttributesA(path_.c_str(), FILE_ATTRIBUTE_READONLY);
  const std::string file = ReadFileBytes(path_);
  EXPECT_FALSE(MoveFileA(path_.c_str(), (directory_ / "y.mwd").c_str()));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  EXPECT_TRUE(ReadFileBytes(path_) == file);
  EXPECT_EQ(Names(), (Set{"x.mwd", "x.mwd.jnl"}));
}

TEST_F(StorageJournal, DeletingTakesTheJournalAlong) {
  LeaveSealed(path_);
  ASSERT_TRUE(DeleteFileA(path_.c_str()));
  EXPECT_EQ(Names(), Set{});
}

TEST_F(StorageJournal, JournalsOfOtherFilesAreLeftAlone) {
  for (const char* name : {"site.fat", "site.fat.jnl", "empty", "empty.jnl"}) {
    WriteFileBytes(directory_ / name, name[0] == 'e' ? "" : "text");
  }
  ASSERT_TRUE(MoveFileA((directory_ / "site.fat").c_str(), (directory_ / "b.fat").c_str()));
  ASSERT_TRUE(DeleteFileA((directory_ / "empty").c_str()));
  EXPECT_EQ(Names(), (Set{"b.fat", "empty.jnl", "site.fat.jnl", "x.mwd"}));
  EXPECT_EQ(ReadFileBytes(directory_ / "site.fat.jnl"), "text");
}

TEST_F(StorageJournal, AFileMadeAnewStartsWithoutTheOldJournal) {
  LeaveSealed(path_);
  Storage root;
  ASSERT_EQ(CreateFileRoot(path_, root), S_OK);
  EXPECT_EQ(Names(), Set{"x.mwd"});
  root.Reset();
  ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
  EXPECT_EQ(NamesIn(root), "[]");
}

TEST_F(StorageJournal, AKillWhileAFileIsMadeAnewLeavesTheOldOneFinished) {
  LeaveSealed(path_);
  InChild([&] {
    const rlimit limit{1000, 1000};  // the draft gets no further
    ::setrlimit(RLIMIT_FSIZE, &limit);
    Storage root;
    CreateFileRoot(path_, root);
    return 0;
  });
  ExpectNewState(path_);
}

TEST_F(StorageJournal, AJournalWithoutItsFileIsSetAsideWhenTheFileIsMade) {
  LeaveSealed(path_);
  const std::string journal = ReadFileBytes(journal_);
  fs::remove(path_);
  Storage root;
  ASSERT_EQ(CreateFileRoot(path_, root), S_OK);
  EXPECT_EQ(NamesIn(root), "[]");
  EXPECT_EQ(Names(), (Set{"x.mwd", "x.mwd.aside-1.jnl"}));
  EXPECT_TRUE(ReadFileBytes(path_ + ".aside-1.jnl") == journal);
}

TEST_F(StorageJournal, AFileReachedThroughALinkHasItsJournalBesideItself) {
  fs::create_directory(directory_ / "below");
  fs::rename(path_, directory_ / "below/x.mwd");
  const std::string link = path_;
  path_ = directory_ / "below/x.mwd";
  journal_ = path_ + ".jnl";
  fs::create_symlink(path_, link);
  LeaveSealed(path_);
  ExpectNewState(link);
  Storage root;
  ASSERT_EQ(OpenFileRoot(link, root), S_OK);
  Put(root, "s", "x");
  ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  EXPECT_TRUE(FileExists(journal_));
  root.Reset();
  EXPECT_EQ(Names(), Set{"x.mwd"});
  EXPECT_FALSE(FileExists(link + ".jnl"));
}

TEST_F(StorageJournal, AFileOfTwoNamesIsMadeAnewThroughTheJournal) {
  fs::create_hard_link(path_, directory_ / "second.mwd");
  const std::string before = ReadFileBytes(path_);
  // The journal gets no further than its first bytes.
  const int code = InChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1000, 1000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    Storage root;
    return CreateFileRoot(path_, root) == STG_E_MEDIUMFULL ? 0 : 1;
  });
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(ReadFileBytes(path_) == before);
  EXPECT_EQ(Names(), (Set{"second.mwd", "x.mwd"}));
  Storage root;
  ASSERT_EQ(CreateFileRoot(path_, root), S_OK);
  EXPECT_EQ(ReadFileBytes(directory_ / "second.mwd").size(), 1536U);
  root.Reset();
  ASSERT_EQ(OpenFileRoot(directory_ / "second.mwd", root), S_OK);
  EXPECT_EQ(NamesIn(root), "[]");
}

TEST_F(StorageJournal, TemporaryDocumentsHaveNone) {
  ::setenv("TMPDIR", fs::path(path_).parent_path().c_str(), 1);
  Storage root;
  const HRESULT made = StgCreateDocfile(nullptr, kMake | STGM_DELETEONRELEASE, 0, root.Out());
  ::unsetenv("TMPDIR");
  ASSERT_EQ(made, S_OK);
  for (const char* name : {"a", "b"}) {
    Put(root, name, "x");
    ASSERT_EQ(root->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(Names().size(), 2U);
  }
  root.Reset();
  EXPECT_EQ(Names(), Set{"x.mwd"});
}

TEST_F(StorageJournal, NoRoomForItLeavesTheOldState) {
  {
    Storage root;
    ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
    Put(root, "large", std::string(200000, 'a'));
  }
  const std::string before = ReadFileBytes(path_);
  const int code = InChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    Storage root;
    Stream stream;
    if (OpenFileRoot(path_, root) != S_OK || OpenStream(root, "large", stream) != S_OK) return 1;
    const std::string content(200000, 'b');
    stream->Write(content.data(), static_cast<ULONG>(content.size()), nullptr);
    stream.Reset();
    // Room for the file as it is, but not for the journal, whose records are longer.
    const rlimit limit{before.size(), before.size()};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 2;
    if (root->Commit(STGC_DEFAULT) != STG_E_MEDIUMFULL) return 3;
    root.Reset();
    return 0;
  });
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(ReadFileBytes(path_) == before);
  EXPECT_EQ(Names(), Set{"x.mwd"});
}

TEST_F(StorageJournal, ADirectoryThatTakesNoNewFilesAllowsNoCommit) {
  const fs::path parent = fs::path(path_).parent_path();
  const std::string before = ReadFileBytes(path_);
  constexpr uid_t kNobody = 65534;  // the superuser may write everywhere
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(path_.c_str(), kNobody, kNobody) + ::chown(parent.c_str(), kNobody, kNobody),
              0);
  }
  fs::permissions(parent, fs::perms::owner_read | fs::perms::owner_exec);
  const int code = InChild([&] {
    if (::geteuid() == 0 && ::seteuid(kNobody) != 0) return 1;
    Storage root;
    if (CreateFileRoot(path_, root) != STG_E_ACCESSDENIED) return 2;
    if (OpenFileRoot(path_, root) != S_OK) return 3;
    if (Put(root, "s", "x") != S_OK) return 4;
    if (root->Commit(STGC_DEFAULT) != STG_E_ACCESSDENIED) return 5;
    root.Reset();
    return 0;
  });
  fs::permissions(parent, fs::perms::owner_all);
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(ReadFileBytes(path_) == before);
}

TEST_F(StorageJournal, AKilledProcessLeavesWhatItCommittedAndNothingElse) {
  for (int round = 0; round < 5; ++round) {
    InChild([&] {
      Storage root;
      OpenFileRoot(path_, root);
      Put(root, "number", std::to_string(round));
      root->Commit(STGC_DEFAULT);
      Put(root, "number", "lost");
      ::kill(::getpid(), SIGKILL);
      return 0;
    });
    EXPECT_TRUE(FileExists(journal_));
    Storage root;
    ASSERT_EQ(OpenFileRoot(path_, root), S_OK);
    EXPECT_EQ(ContentOf(root, "number"), std::to_string(round));
    EXPECT_EQ(Names(), Set{"x.mwd"});
  }
}

}  // namespace
