// What only this side's structured storage does: times, locks between processes, failed commits.
#include "platform/posix/structured_storage_file.h"
#include "platform/win32.h"
#include "unit/platform/storage_helpers.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

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

std::uint64_t theTime = 1000;
FILETIME TestClock() { return {static_cast<DWORD>(theTime), static_cast<DWORD>(theTime >> 32)}; }

class StorageOnDisk : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(CreateFileRoot(path_, root_), S_OK); }
  void TearDown() override { brevant::posix::SetStorageClock(nullptr); }

  HRESULT Reopen(DWORD mode = kOpen) {
    root_.Reset();
    return OpenFileRoot(path_, root_, mode);
  }

  static STATSTG TimesOf(const Storage& parent, const std::string& name) {
    Storage storage;
    STATSTG stat{};
    EXPECT_EQ(OpenStorage(parent, name, storage, kRead), S_OK);
    if (storage) storage->Stat(&stat, STATFLAG_NONAME);
    return stat;
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_ / "test.mwd";
  Storage root_;
};

TEST_F(StorageOnDisk, AStorageIsStampedWhenItIsReleasedAfterAChange) {
  brevant::posix::SetStorageClock(TestClock);
  Storage sub;
  theTime = 1000;
  CreateStorage(root_, "sub", sub);
  Put(sub, "s", "x");
  theTime = 2000;
  sub.Reset();
  EXPECT_EQ(TicksOf(TimesOf(root_, "sub").ctime), 1000U);
  EXPECT_EQ(TicksOf(TimesOf(root_, "sub").mtime), 2000U);
  theTime = 3000;
  OpenStorage(root_, "sub", sub);
  ContentOf(sub, "s");
  sub.Reset();
  EXPECT_EQ(TicksOf(TimesOf(root_, "sub").mtime), 2000U) << "reading is no change";
}

TEST_F(StorageOnDisk, AChangeDeepInsideStampsEveryStorageAboveIt) {
  brevant::posix::SetStorageClock(TestClock);
  Storage outer, inner;
  theTime = 1000;
  CreateStorage(root_, "outer", outer);
  CreateStorage(outer, "inner", inner);
  inner.Reset(), outer.Reset();
  theTime = 5000;
  OpenStorage(root_, "outer", outer);
  OpenStorage(outer, "inner", inner);
  Put(inner, "s", "x");
  inner.Reset();
  EXPECT_EQ(TicksOf(TimesOf(outer, "inner").mtime), 5000U);
  theTime = 6000;
  outer.Reset();
  EXPECT_EQ(TicksOf(TimesOf(root_, "outer").mtime), 6000U);
  EXPECT_EQ(TicksOf(TimesOf(root_, "outer").ctime), 1000U);
}

TEST_F(StorageOnDisk, TimesSetAfterTheReleaseHold) {
  Storage sub;
  CreateStorage(root_, "sub", sub);
  Put(sub, "s", "x");
  sub.Reset();
  const FILETIME created = {11, 1};
  const FILETIME modified = {22, 2};
  EXPECT_EQ(root_->SetElementTimes(Wide("sub").c_str(), &created, nullptr, &modified), S_OK);
  ASSERT_EQ(Reopen(), S_OK);
  EXPECT_EQ(TicksOf(TimesOf(root_, "sub").ctime), TicksOf(created));
  EXPECT_EQ(TicksOf(TimesOf(root_, "sub").mtime), TicksOf(modified));
  EXPECT_EQ(root_->SetElementTimes(Wide("sub").c_str(), nullptr, nullptr, &created), S_OK);
  EXPECT_EQ(TicksOf(TimesOf(root_, "sub").ctime), TicksOf(created)) << "null leaves a time alone";
}

TEST_F(StorageOnDisk, AStorageOpenWhenTheRootGoesIsStampedToo) {
  brevant::posix::SetStorageClock(TestClock);
  Storage sub;
  theTime = 1000;
  CreateStorage(root_, "sub", sub);
  Put(sub, "s", "x");
  theTime = 7000;
  ASSERT_EQ(Reopen(), S_OK);
  EXPECT_EQ(TicksOf(TimesOf(root_, "sub").mtime), 7000U);
}

TEST_F(StorageOnDisk, TheRootHasTheTimesOfTheFile) {
  const FILETIME created = {0x10000000, 0x01C00000};
  const FILETIME modified = {0x20000000, 0x01C10000};
  root_.Reset();
  ASSERT_EQ(StgSetTimes(Wide(path_).c_str(), &created, nullptr, &modified), S_OK);
  ASSERT_EQ(OpenFileRoot(path_, root_, kRead), S_OK);
  STATSTG stat{};
  root_->Stat(&stat, STATFLAG_NONAME);
  EXPECT_EQ(TicksOf(stat.ctime), TicksOf(created));
  EXPECT_EQ(TicksOf(stat.mtime), TicksOf(modified));
  EXPECT_EQ(StgSetTimes(Wide(directory_ / "none").c_str(), &created, nullptr, nullptr),
            STG_E_FILENOTFOUND);
}

TEST_F(StorageOnDisk, OpeningAndReadingLeaveTheFileAlone) {
  Put(root_, "s", "x");
  root_.Reset();
  const FILETIME old = {0x20000000, 0x01C10000};
  StgSetTimes(Wide(path_).c_str(), nullptr, nullptr, &old);
  ASSERT_EQ(OpenFileRoot(path_, root_), S_OK);
  EXPECT_EQ(ContentOf(root_, "s"), "x");
  ASSERT_EQ(Reopen(), S_OK);
  STATSTG stat{};
  root_->Stat(&stat, STATFLAG_NONAME);
  EXPECT_EQ(TicksOf(stat.mtime), TicksOf(old));
}

TEST_F(StorageOnDisk, AnOpenFileIsClosedToOtherProcesses) {
  const auto open = [&](DWORD mode) {
    return InChild([&] {
      Storage other;
      return OpenFileRoot(path_, other, mode) == STG_E_SHAREVIOLATION ? 1 : 0;
    });
  };
  EXPECT_EQ(open(kOpen), 1);
  EXPECT_EQ(open(kRead), 1);
  EXPECT_EQ(open(STGM_READ | STGM_SHARE_DENY_WRITE), 1);
  ASSERT_EQ(Reopen(kRead), S_OK);
  EXPECT_EQ(open(kRead), 1) << "a reader that wants to be alone is alone";
  EXPECT_EQ(open(STGM_READ | STGM_SHARE_DENY_WRITE), 1);
  ASSERT_EQ(Reopen(STGM_READ | STGM_SHARE_DENY_WRITE), S_OK);
  EXPECT_EQ(open(STGM_READ | STGM_SHARE_DENY_WRITE), 0);
  EXPECT_EQ(open(kOpen), 1);
  EXPECT_EQ(open(kRead), 1);
}

TEST_F(StorageOnDisk, ALockEndsWithItsProcess) {
  root_.Reset();
  EXPECT_EQ(InChild([&] {
              Storage other;
              return OpenFileRoot(path_, other) == S_OK ? (other->AddRef(), 1) : 0;
            }),
            1);
  EXPECT_EQ(OpenFileRoot(path_, root_), S_OK);
}

// A limit on the size of files stands in for a full disk.
TEST_F(StorageOnDisk, ACommitThatFailsGivesTheFileUp) {
  Put(root_, "kept", PatternText(5000));
  ASSERT_EQ(root_->Commit(STGC_DEFAULT), S_OK);
  root_.Reset();
  const std::string before = ReadFileBytes(path_);
  const int code = InChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{before.size() + 4096, before.size() + 4096};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 10;
    Storage root;
    if (OpenFileRoot(path_, root) != S_OK) return 11;
    if (Put(root, "kept", "changed") != S_OK) return 12;
    if (Put(root, "new", PatternText(50000)) != S_OK) return 13;
    if (root->Commit(STGC_DEFAULT) != STG_E_MEDIUMFULL) return 14;
    if (DestroyElement(root, "new") != STG_E_WRITEFAULT) return 15;
    if (root->Commit(STGC_DEFAULT) != STG_E_MEDIUMFULL) return 16;
    if (ContentOf(root, "kept") != "changed") return 17;
    root.Reset();
    return 0;
  });
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(ReadFileBytes(path_) == before) << "the release drops the changes";
}

TEST_F(StorageOnDisk, AReleaseThatCannotCommitLeavesTheOldState) {
  Put(root_, "kept", PatternText(5000));
  root_.Reset();
  const std::string before = ReadFileBytes(path_);
  InChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{before.size() + 512, before.size() + 512};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    Storage root;
    OpenFileRoot(path_, root);
    Put(root, "new", PatternText(50000));
    root.Reset();
    return 0;
  });
  EXPECT_TRUE(ReadFileBytes(path_) == before);
}

TEST_F(StorageOnDisk, AKilledProcessLeavesTheLastCommit) {
  Put(root_, "kept", PatternText(5000));
  root_.Reset();
  const std::string before = ReadFileBytes(path_);
  InChild([&] {
    Storage root;
    OpenFileRoot(path_, root);
    Put(root, "new", PatternText(50000));
    ::kill(::getpid(), SIGKILL);
    return 0;
  });
  EXPECT_TRUE(ReadFileBytes(path_) == before);
}

TEST_F(StorageOnDisk, Utf8PathsWork) {
  const std::string path = directory_ / "f\xC3\xB6rum.mwd";
  Storage storage;
  ASSERT_EQ(CreateFileRoot(path, storage), S_OK);
  STATSTG stat{};
  ASSERT_EQ(storage->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(Narrow(stat.pwcsName), path);
  CoTaskMemFree(stat.pwcsName);
  EXPECT_TRUE(FileExists(path));
}

TEST_F(StorageOnDisk, TemporaryFilesLieInTheTemporaryDirectoryUnderUnforeseenNames) {
  Storage a, b;
  ASSERT_EQ(StgCreateDocfile(nullptr, kMake | STGM_DELETEONRELEASE, 0, a.Out()), S_OK);
  ASSERT_EQ(StgCreateDocfile(nullptr, kMake | STGM_DELETEONRELEASE, 0, b.Out()), S_OK);
  STATSTG first{}, second{};
  a->Stat(&first, STATFLAG_DEFAULT);
  b->Stat(&second, STATFLAG_DEFAULT);
  const std::string name = Narrow(first.pwcsName);
  EXPECT_NE(name, Narrow(second.pwcsName));
  CoTaskMemFree(first.pwcsName);
  CoTaskMemFree(second.pwcsName);
  namespace fs = std::filesystem;
  EXPECT_EQ(fs::path(name).parent_path(), fs::path(fs::temp_directory_path() / "x").parent_path());
  EXPECT_EQ(fs::status(name).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(StorageOnDisk, UnknownModesAreRefused) {
  Storage s;
  Stream stream;
  constexpr DWORD kTransacted = 0x10000;
  constexpr DWORD kPriority = 0x40000;
  EXPECT_EQ(CreateFileRoot(directory_ / "x.mwd", s, kMake | kTransacted), STG_E_INVALIDFLAG);
  EXPECT_EQ(CreateFileRoot(directory_ / "x.mwd", s, STGM_CREATE | STGM_READWRITE),
            STG_E_INVALIDFLAG);
  EXPECT_FALSE(FileExists(directory_ / "x.mwd"));
  EXPECT_EQ(CreateStream(root_, "s", stream, kOpen | kPriority), STG_E_INVALIDFLAG);
  EXPECT_EQ(CreateStream(root_, "s", stream, 3 | STGM_SHARE_EXCLUSIVE), STG_E_INVALIDFLAG);
  EXPECT_EQ(CreateStream(root_, "s", stream, kOpen | STGM_DELETEONRELEASE), STG_E_INVALIDFLAG);
  EXPECT_EQ(root_->Commit(8), STG_E_INVALIDFLAG);
  STATSTG stat{};
  EXPECT_EQ(root_->Stat(&stat, 2), STG_E_INVALIDFLAG);
  root_.Reset();
  EXPECT_EQ(OpenFileRoot(path_, s, kOpen | STGM_CREATE), STG_E_INVALIDFLAG);
  EXPECT_EQ(OpenFileRoot(path_, s, STGM_READWRITE | STGM_SHARE_DENY_WRITE), STG_E_INVALIDFLAG);
}

TEST_F(StorageOnDisk, NullPointersAreRefused) {
  EXPECT_EQ(StgCreateDocfile(nullptr, kMake, 0, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->Stat(nullptr, 0), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->CopyTo(0, nullptr, nullptr, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->EnumElements(0, nullptr, 0, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(root_->CreateStream(Wide("s").c_str(), kOpen, 0, 0, nullptr), STG_E_INVALIDPOINTER);
  Storage s;
  EXPECT_EQ(StgOpenStorage(nullptr, nullptr, kOpen, nullptr, 0, s.Out()), STG_E_INVALIDNAME);
}

TEST_F(StorageOnDisk, InterfacesAreAskedFor) {
  Stream stream;
  CreateStream(root_, "s", stream);
  IUnknown* unknown = nullptr;
  EXPECT_EQ(stream->QueryInterface(IID_ISequentialStream, reinterpret_cast<void**>(&unknown)),
            S_OK);
  unknown->Release();
  EXPECT_EQ(stream->QueryInterface(IID_IStorage, reinterpret_cast<void**>(&unknown)),
            E_NOINTERFACE);
  EXPECT_EQ(unknown, nullptr);
  EXPECT_EQ(root_->QueryInterface(IID_IStorage, reinterpret_cast<void**>(&unknown)), S_OK);
  EXPECT_EQ(unknown->Release(), 1U);
}

TEST_F(StorageOnDisk, AnEnumeratorOfAReleasedRootIsReverted) {
  Ref<IEnumSTATSTG> elements;
  root_->EnumElements(0, nullptr, 0, elements.Out());
  root_.Reset();
  STATSTG stat{};
  EXPECT_EQ(elements->Next(1, &stat, nullptr), STG_E_REVERTED);
}

TEST_F(StorageOnDisk, StateBitsAreKept) {
  Storage sub;
  CreateStorage(root_, "sub", sub);
  EXPECT_EQ(sub->SetStateBits(0xFF, 0x0F), S_OK);
  EXPECT_EQ(sub->SetStateBits(0x10, 0x30), S_OK);
  sub.Reset();
  ASSERT_EQ(Reopen(), S_OK);
  EXPECT_EQ(TimesOf(root_, "sub").grfStateBits, 0x1FU);
}

TEST_F(StorageOnDisk, NoMoreMayBeDoneWithAnElementThanWithItsRoot) {
  Put(root_, "s", "x");
  ASSERT_EQ(Reopen(kRead), S_OK);
  Stream s;
  Storage sub;
  EXPECT_EQ(OpenStream(root_, "s", s), STG_E_ACCESSDENIED);
  EXPECT_EQ(CreateStorage(root_, "sub", sub), STG_E_ACCESSDENIED);
}

TEST_F(StorageOnDisk, StateBitsGoWithACopyAndManyElementsToo) {
  Storage from, to;
  CreateStorage(root_, "from", from);
  CreateStorage(root_, "to", to);
  from->SetStateBits(5, 0xF);
  for (int i = 0; i < 2000; ++i) Put(from, std::to_string(i), PatternText(100));
  ASSERT_EQ(from->CopyTo(0, nullptr, nullptr, to.Get()), S_OK);
  STATSTG stat{};
  to->Stat(&stat, STATFLAG_NONAME);
  EXPECT_EQ(stat.grfStateBits, 5U);
  EXPECT_EQ(NamesIn(to), NamesIn(from));
}

// The process ends in the middle of its writing: at the first byte, the header, the directory.
TEST_F(StorageOnDisk, AKillWhileAFileIsMadeAnewLeavesTheOldOne) {
  Put(root_, "kept", PatternText(5000));
  root_.Reset();
  const std::string before = ReadFileBytes(path_);
  for (const rlim_t room : {0U, 100U, 512U, 1000U, 1500U}) {
    const int code = InChild([&] {
      const rlimit limit{room, room};
      if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
      Storage root;
      CreateFileRoot(path_, root);
      return 2;
    });
    EXPECT_EQ(code, -1) << "killed";
    EXPECT_TRUE(ReadFileBytes(path_) == before) << room;
  }
  // What the killed ones left is used up.
  ASSERT_EQ(CreateFileRoot(path_, root_), S_OK);
  EXPECT_EQ(NamesIn(root_), "[]");
  EXPECT_EQ(ReadFileBytes(path_).size(), 1536U);
  const std::filesystem::directory_iterator all(std::filesystem::path(path_).parent_path());
  EXPECT_EQ(std::distance(begin(all), end(all)), 1);
}

TEST_F(StorageOnDisk, ACreationThatFailsLeavesWhatWasThere) {
  Put(root_, "kept", PatternText(5000));
  root_.Reset();
  const std::string before = ReadFileBytes(path_);
  const int code = InChild([&] {
    std::signal(SIGXFSZ, SIG_IGN);
    ::setenv("TMPDIR", std::filesystem::path(path_).parent_path().c_str(), 1);
    const rlimit limit{1000, 1000};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    Storage root;
    if (CreateFileRoot(path_, root) != STG_E_MEDIUMFULL) return 2;
    if (CreateFileRoot(directory_ / "new.mwd", root) != STG_E_MEDIUMFULL) return 3;
    if (StgCreateDocfile(nullptr, kMake, 0, root.Out()) != STG_E_MEDIUMFULL) return 4;
    return 0;
  });
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(ReadFileBytes(path_) == before);
  const std::filesystem::directory_iterator all(std::filesystem::path(path_).parent_path());
  EXPECT_EQ(std::distance(begin(all), end(all)), 1) << "neither drafts nor temporary files";
}

TEST_F(StorageOnDisk, AFileMadeAnewKeepsItsPermissionsAndTimeOfCreation) {
  namespace fs = std::filesystem;
  root_.Reset();
  const FILETIME created = {0x10000000, 0x01C00000};
  ASSERT_EQ(StgSetTimes(Wide(path_).c_str(), &created, nullptr, nullptr), S_OK);
  fs::permissions(path_, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  const fs::perms before = fs::status(path_).permissions();
  ASSERT_EQ(CreateFileRoot(path_, root_), S_OK);
  STATSTG stat{};
  root_->Stat(&stat, STATFLAG_NONAME);
  EXPECT_EQ(TicksOf(stat.ctime), TicksOf(created));
  EXPECT_EQ(fs::status(path_).permissions(), before);
  Storage again;
  EXPECT_EQ(OpenFileRoot(path_, again), STG_E_SHAREVIOLATION) << "the new file is locked too";
  EXPECT_EQ(DeleteFileA(path_.c_str()), FALSE);
}

TEST_F(StorageOnDisk, AFileOfTwoNamesStaysOneWhenItIsMadeAnew) {
  namespace fs = std::filesystem;
  Put(root_, "s", "x");
  root_.Reset();
  fs::create_hard_link(path_, directory_ / "second.mwd");
  fs::create_symlink(path_, directory_ / "link.mwd");
  ASSERT_EQ(CreateFileRoot(directory_ / "link.mwd", root_), S_OK);
  Put(root_, "t", "y");
  root_.Reset();
  EXPECT_TRUE(fs::is_symlink(directory_ / "link.mwd"));
  ASSERT_EQ(OpenFileRoot(directory_ / "second.mwd", root_), S_OK);
  EXPECT_EQ(NamesIn(root_), "[t]");
}

TEST_F(StorageOnDisk, TwoThatMakeOneFileMeetAtItsLock) {
  const std::string path = directory_ / "fresh.mwd";
  // As if another process were making the file: it holds the draft.
  Storage draft, root;
  ASSERT_EQ(CreateFileRoot(path + ".new~", draft), S_OK);
  EXPECT_EQ(CreateFileRoot(path, root), STG_E_SHAREVIOLATION);
  EXPECT_FALSE(FileExists(path));
  EXPECT_TRUE(FileExists(path + ".new~"));
}

TEST_F(StorageOnDisk, ACopyHoldsNoMoreThanItsSourceCanHold) {
  // A storage that hangs in itself, with a stream beside: it would be copied over and over.
  Storage outer, copy;
  CreateStorage(root_, "outer", outer);
  Put(outer, "large", PatternText(100000));
  outer.Reset(), root_.Reset();
  std::string bytes = ReadFileBytes(path_);
  const auto entryOf = [&](const std::string& name) {
    std::string wide;
    for (const char c : name + '\0') wide += std::string{c, '\0'};
    return bytes.find(wide);
  };
  const std::size_t large = entryOf("large");
  const std::size_t self = entryOf("outer");
  ASSERT_LT(self, large);
  // Entries are 128 bytes each; the root is the first of the directory.
  const std::size_t directory = entryOf("Root Entry");
  bytes.replace(large + 72, 4, std::string{static_cast<char>((self - directory) / 128), 0, 0, 0});
  WriteFileBytes(path_, bytes);
  ASSERT_EQ(OpenFileRoot(path_, root_), S_OK);
  ASSERT_EQ(CreateFileRoot(directory_ / "copy.mwd", copy), S_OK);
  EXPECT_EQ(root_->CopyTo(0, nullptr, nullptr, copy.Get()), STG_E_DOCFILECORRUPT);
  copy.Reset();
  EXPECT_LT(ReadFileBytes(directory_ / "copy.mwd").size(), 2 * bytes.size());
}

}  // namespace
