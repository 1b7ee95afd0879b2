// Structured storage as the library relies on it, here and on Windows.
#include "platform/win32.h"
#include "unit/platform/storage_helpers.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

using namespace test;

class StructuredStorage : public testing::Test {
 protected:
  static void SetUpTestSuite() { OleInitialize(nullptr); }
  static void TearDownTestSuite() { OleUninitialize(); }
  void SetUp() override { ASSERT_EQ(CreateFileRoot(path_, root_), S_OK); }

  HRESULT Reopen(DWORD mode = kOpen) {
    root_.Reset();
    return OpenFileRoot(path_, root_, mode);
  }

  TemporaryDirectory directory_;
  std::string path_ = directory_ / "test.mwd";
  Storage root_;
};

TEST_F(StructuredStorage, MissingElementsAreNotFound) {
  Stream stream;
  Storage storage;
  EXPECT_EQ(OpenStream(root_, "none", stream), STG_E_FILENOTFOUND);
  EXPECT_EQ(OpenStorage(root_, "none", storage), STG_E_FILENOTFOUND);
  EXPECT_EQ(DestroyElement(root_, "none"), STG_E_FILENOTFOUND);
  EXPECT_EQ(RenameElement(root_, "none", "other"), STG_E_FILENOTFOUND);
}

TEST_F(StructuredStorage, AnElementIsOpenOnceAtATime) {
  Stream stream;
  Stream second;
  Storage storage;
  Storage other;
  ASSERT_EQ(CreateStream(root_, "stream", stream), S_OK);
  ASSERT_EQ(CreateStorage(root_, "storage", storage), S_OK);
  EXPECT_EQ(OpenStream(root_, "stream", second), STG_E_ACCESSDENIED);
  EXPECT_EQ(OpenStream(root_, "stream", second, kRead), STG_E_ACCESSDENIED);
  EXPECT_EQ(OpenStorage(root_, "storage", other), STG_E_ACCESSDENIED);
  stream.Reset();
  EXPECT_EQ(OpenStream(root_, "stream", second), S_OK);
}

TEST_F(StructuredStorage, NamesOfTheOtherKindAreNotFound) {
  ASSERT_EQ(Put(root_, "stream", "x"), S_OK);
  Storage storage;
  EXPECT_EQ(OpenStorage(root_, "stream", storage), STG_E_FILENOTFOUND);
  ASSERT_EQ(CreateStorage(root_, "storage", storage), S_OK);
  storage.Reset();
  Stream stream;
  EXPECT_EQ(OpenStream(root_, "storage", stream), STG_E_FILENOTFOUND);
}

TEST_F(StructuredStorage, NamesCompareWithoutCase) {
  ASSERT_EQ(Put(root_, "stream", "x"), S_OK);
  Stream stream;
  EXPECT_EQ(OpenStream(root_, "STREAM", stream), S_OK);
}

TEST_F(StructuredStorage, ElementsMustBeOpenedExclusively) {
  ASSERT_EQ(Put(root_, "stream", "x"), S_OK);
  Stream stream;
  EXPECT_EQ(OpenStream(root_, "stream", stream, STGM_READ), STG_E_INVALIDFLAG);
  EXPECT_EQ(CreateStream(root_, "other", stream, STGM_READWRITE), STG_E_INVALIDFLAG);
}

TEST_F(StructuredStorage, CreatingOverAnElementNeedsTheFlag) {
  Stream stream;
  Storage storage;
  ASSERT_EQ(Put(root_, "stream", "content"), S_OK);
  EXPECT_EQ(CreateStream(root_, "stream", stream), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(CreateStorage(root_, "stream", storage), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(CreateStream(root_, "stream", stream, kMake), S_OK);
  EXPECT_EQ(SizeOf(stream), 0U);
}

TEST_F(StructuredStorage, AReplacedStreamIsReverted) {
  Stream old;
  Stream replacement;
  ASSERT_EQ(CreateStream(root_, "stream", old), S_OK);
  ASSERT_EQ(CreateStream(root_, "stream", replacement, kMake), S_OK);
  EXPECT_EQ(old->Write("x", 1, nullptr), STG_E_REVERTED);
  EXPECT_EQ(replacement->Write("x", 1, nullptr), S_OK);
}

TEST_F(StructuredStorage, AReplacedStorageIsEmpty) {
  Storage storage;
  ASSERT_EQ(CreateStorage(root_, "storage", storage), S_OK);
  ASSERT_EQ(Put(storage, "inside", "x"), S_OK);
  storage.Reset();
  ASSERT_EQ(CreateStorage(root_, "storage", storage, kMake), S_OK);
  EXPECT_EQ(NamesIn(storage), "[]");
}

TEST_F(StructuredStorage, WhatIsDestroyedWhileOpenIsReverted) {
  Stream stream;
  Storage storage;
  Stream child;
  Stream other;
  STATSTG stat{};
  ASSERT_EQ(CreateStream(root_, "stream", stream), S_OK);
  EXPECT_EQ(DestroyElement(root_, "stream"), S_OK);
  EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_REVERTED);
  EXPECT_EQ(stream->Stat(&stat, STATFLAG_NONAME), STG_E_REVERTED);
  ASSERT_EQ(CreateStorage(root_, "storage", storage), S_OK);
  ASSERT_EQ(CreateStream(storage, "child", child), S_OK);
  EXPECT_EQ(DestroyElement(root_, "storage"), S_OK);
  EXPECT_EQ(CreateStream(storage, "x", other), STG_E_REVERTED);
  EXPECT_EQ(child->Write("x", 1, nullptr), STG_E_REVERTED);
}

TEST_F(StructuredStorage, Renaming) {
  Put(root_, "a", "A");
  Put(root_, "b", "B");
  EXPECT_EQ(RenameElement(root_, "a", "c"), S_OK);
  EXPECT_EQ(NamesIn(root_), "[b,c]");
  EXPECT_EQ(ContentOf(root_, "c"), "A");
  EXPECT_EQ(RenameElement(root_, "c", "b"), STG_E_FILEALREADYEXISTS);
  Stream stream;
  ASSERT_EQ(OpenStream(root_, "b", stream), S_OK);
  EXPECT_EQ(RenameElement(root_, "b", "d"), STG_E_ACCESSDENIED);
}

TEST_F(StructuredStorage, NameLengths) {
  Stream stream;
  EXPECT_EQ(CreateStream(root_, std::string(31, 'n'), stream), S_OK);
  EXPECT_EQ(CreateStream(root_, std::string(32, 'n'), stream), STG_E_INVALIDNAME);
  EXPECT_EQ(root_->CreateStream(nullptr, kOpen, 0, 0, stream.Out()), STG_E_INVALIDNAME);
}

TEST_F(StructuredStorage, NamesWidenedFromBytesBeyondAsciiAreKept) {
  ASSERT_EQ(Put(root_, "caf\xC3\xA9", "x"), S_OK);
  ASSERT_EQ(Reopen(), S_OK);
  EXPECT_EQ(NamesIn(root_), "[caf\xC3\xA9]");
  EXPECT_EQ(ContentOf(root_, "caf\xC3\xA9"), "x");
}

TEST_F(StructuredStorage, ElementsComeShorterNamesFirstThenByUpperCase) {
  for (const char* name : {"b", "10", "A", "9", "aa", "INFO", "B1", "_"}) Put(root_, name, "");
  EXPECT_EQ(NamesIn(root_), "[9,A,b,_,10,aa,B1,INFO]");
}

TEST_F(StructuredStorage, EnumeratorsSkipResetAndClone) {
  for (const char* name : {"a", "b", "c", "d"}) Put(root_, name, "x");
  Ref<IEnumSTATSTG> elements;
  ASSERT_EQ(root_->EnumElements(0, nullptr, 0, elements.Out()), S_OK);
  STATSTG stat[4]{};
  ULONG got = 0;
  EXPECT_EQ(elements->Skip(1), S_OK);
  EXPECT_EQ(elements->Next(2, stat, &got), S_OK);
  ASSERT_EQ(got, 2U);
  EXPECT_EQ(Narrow(stat[0].pwcsName) + Narrow(stat[1].pwcsName), "bc");
  EXPECT_EQ(stat[0].type, static_cast<DWORD>(STGTY_STREAM));
  EXPECT_EQ(stat[0].cbSize.QuadPart, 1U);
  CoTaskMemFree(stat[0].pwcsName);
  CoTaskMemFree(stat[1].pwcsName);
  Ref<IEnumSTATSTG> clone;
  ASSERT_EQ(elements->Clone(clone.Out()), S_OK);
  EXPECT_EQ(clone->Next(2, stat, &got), S_FALSE);
  ASSERT_EQ(got, 1U);
  EXPECT_EQ(Narrow(stat[0].pwcsName), "d");
  CoTaskMemFree(stat[0].pwcsName);
  EXPECT_EQ(elements->Reset(), S_OK);
  EXPECT_EQ(elements->Next(1, stat, nullptr), S_OK);
  EXPECT_EQ(Narrow(stat[0].pwcsName), "a");
  CoTaskMemFree(stat[0].pwcsName);
}

TEST_F(StructuredStorage, AnEnumeratorGoesOnWhileElementsAreDestroyed) {
  for (int i = 10; i < 60; ++i) Put(root_, std::to_string(i), "");
  Ref<IEnumSTATSTG> elements;
  ASSERT_EQ(root_->EnumElements(0, nullptr, 0, elements.Out()), S_OK);
  STATSTG stat{};
  int seen = 0;
  while (elements->Next(1, &stat, nullptr) == S_OK) {
    const std::string name = Narrow(stat.pwcsName);
    CoTaskMemFree(stat.pwcsName);
    EXPECT_EQ(name, std::to_string(10 + seen));
    ++seen;
    if (seen % 2 == 0) {
      EXPECT_EQ(DestroyElement(root_, name), S_OK);
    }
  }
  EXPECT_EQ(seen, 50);
}

TEST_F(StructuredStorage, WritingMovesPositionAndSize) {
  Stream s;
  ULONG count = 99;
  ASSERT_EQ(CreateStream(root_, "s", s), S_OK);
  EXPECT_EQ(s->Write("x", 0, &count), S_OK);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(s->Write(nullptr, 0, nullptr), STG_E_INVALIDPOINTER);
  EXPECT_EQ(s->Write("0123456789", 10, &count), S_OK);
  EXPECT_EQ(count, 10U);
  EXPECT_EQ(SeekTo(s, 0, STREAM_SEEK_CUR), 10U);
  EXPECT_EQ(SizeOf(s), 10U);
}

TEST_F(StructuredStorage, ReadingAtTheEndIsNoError) {
  Stream s;
  char buffer[16];
  ULONG count = 99;
  ASSERT_EQ(CreateStream(root_, "s", s), S_OK);
  s->Write("0123456789", 10, nullptr);
  EXPECT_EQ(s->Read(buffer, 5, &count), S_OK);
  EXPECT_EQ(count, 0U);
  SeekTo(s, 7);
  EXPECT_EQ(s->Read(buffer, 5, &count), S_OK);
  EXPECT_EQ(count, 3U);
  SeekTo(s, 20);
  EXPECT_EQ(s->Read(buffer, 5, &count), S_OK);
  EXPECT_EQ(count, 0U);
  SeekTo(s, 0);
  EXPECT_EQ(s->Read(buffer, 5, nullptr), S_OK);
}

TEST_F(StructuredStorage, SeekingBeyondTheEndGrowsNothingUntilAWrite) {
  Stream s;
  ASSERT_EQ(CreateStream(root_, "s", s), S_OK);
  s->Write("0123456789", 10, nullptr);
  EXPECT_EQ(SeekTo(s, 100), 100U);
  EXPECT_EQ(SizeOf(s), 10U);
  s->Write("x", 0, nullptr);
  EXPECT_EQ(SizeOf(s), 10U);
  EXPECT_EQ(s->Write("x", 1, nullptr), S_OK);
  EXPECT_EQ(SizeOf(s), 101U);
  LARGE_INTEGER move;
  move.QuadPart = 0;
  EXPECT_EQ(s->Seek(move, 3, nullptr), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(SeekTo(s, -1, STREAM_SEEK_END), 100U);
}

TEST_F(StructuredStorage, SetSizeLeavesThePosition) {
  Stream s;
  char buffer[16];
  ULONG count = 99;
  ASSERT_EQ(CreateStream(root_, "s", s), S_OK);
  s->Write(PatternText(101).data(), 101, nullptr);
  SeekTo(s, 50);
  EXPECT_EQ(SetSize(s, 20), S_OK);
  EXPECT_EQ(SizeOf(s), 20U);
  EXPECT_EQ(SeekTo(s, 0, STREAM_SEEK_CUR), 50U);
  EXPECT_EQ(s->Read(buffer, 5, &count), S_OK);
  EXPECT_EQ(count, 0U);
}

TEST_F(StructuredStorage, ContentStaysOverTheCutoffAndBack) {
  Stream s;
  ASSERT_EQ(CreateStream(root_, "s", s), S_OK);
  s->Write("0123456789", 10, nullptr);
  for (const std::uint64_t size : {5000U, 10U, 4096U, 4095U, 10U}) {
    EXPECT_EQ(SetSize(s, size), S_OK);
    SeekTo(s, 0);
    char buffer[10];
    ULONG count = 0;
    EXPECT_EQ(s->Read(buffer, 10, &count), S_OK);
    EXPECT_EQ(std::string(buffer, count), "0123456789");
  }
}

TEST_F(StructuredStorage, AStreamCopiesItsRestIntoAnother) {
  Stream from;
  Stream to;
  const std::string content = PatternText(100000);
  ASSERT_EQ(CreateStream(root_, "from", from), S_OK);
  ASSERT_EQ(CreateStream(root_, "to", to), S_OK);
  from->Write(content.data(), 100000, nullptr);
  SeekTo(from, 1000);
  ULARGE_INTEGER all;
  ULARGE_INTEGER read;
  ULARGE_INTEGER written;
  all.QuadPart = 0xFFFFFFFF;
  EXPECT_EQ(from->CopyTo(to.Get(), all, &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 99000U);
  EXPECT_EQ(written.QuadPart, 99000U);
  to.Reset();
  EXPECT_EQ(ContentOf(root_, "to"), content.substr(1000));
}

TEST_F(StructuredStorage, AClonedStreamHasItsOwnPosition) {
  Stream s;
  Stream clone;
  ASSERT_EQ(CreateStream(root_, "s", s), S_OK);
  s->Write("0123456789", 10, nullptr);
  SeekTo(s, 3);
  ASSERT_EQ(s->Clone(clone.Out()), S_OK);
  EXPECT_EQ(SeekTo(clone, 0, STREAM_SEEK_CUR), 3U);
  SeekTo(clone, 8);
  clone->Write("abc", 3, nullptr);
  EXPECT_EQ(SeekTo(s, 0, STREAM_SEEK_CUR), 3U);
  SeekTo(s, 0);
  EXPECT_EQ(ReadAll(s), "01234567abc");
  s.Reset();
  SeekTo(clone, 0);
  EXPECT_EQ(ReadAll(clone), "01234567abc");
}

TEST_F(StructuredStorage, StatOfTheRoot) {
  STATSTG stat{};
  ASSERT_EQ(root_->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  const std::string name = Narrow(stat.pwcsName);
  CoTaskMemFree(stat.pwcsName);
  Storage again;
  root_.Reset();
  EXPECT_EQ(OpenFileRoot(name, again), S_OK) << "the name opens the file";
  stat = {};
  ASSERT_EQ(again->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(stat.pwcsName, nullptr);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_STORAGE));
  EXPECT_EQ(stat.cbSize.QuadPart, 0U);
  EXPECT_EQ(stat.grfMode, kOpen);
}

TEST_F(StructuredStorage, StatOfAStream) {
  Put(root_, "s", "content");
  Stream s;
  ASSERT_EQ(OpenStream(root_, "s", s), S_OK);
  STATSTG stat{};
  ASSERT_EQ(s->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(Narrow(stat.pwcsName), "s");
  CoTaskMemFree(stat.pwcsName);
  EXPECT_EQ(stat.type, static_cast<DWORD>(STGTY_STREAM));
  EXPECT_EQ(stat.cbSize.QuadPart, 7U);
  EXPECT_EQ(stat.grfMode, kOpen);
  EXPECT_EQ(TicksOf(stat.mtime), 0U) << "streams have no times";
  EXPECT_EQ(TicksOf(stat.ctime), 0U);
}

TEST_F(StructuredStorage, AClassIsKept) {
  const CLSID id = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
  Storage sub;
  ASSERT_EQ(CreateStorage(root_, "sub", sub), S_OK);
  EXPECT_EQ(sub->SetClass(id), S_OK);
  sub.Reset();
  ASSERT_EQ(Reopen(), S_OK);
  ASSERT_EQ(OpenStorage(root_, "sub", sub), S_OK);
  STATSTG stat{};
  ASSERT_EQ(sub->Stat(&stat, STATFLAG_NONAME), S_OK);
  EXPECT_EQ(std::memcmp(&stat.clsid, &id, sizeof id), 0);
}

TEST_F(StructuredStorage, CopyToMergesStoragesAndReplacesStreams) {
  Storage from;
  Storage to;
  Storage sub;
  CreateStorage(root_, "from", from);
  CreateStorage(root_, "to", to);
  Put(from, "s", "new");
  Put(from, "added", PatternText(50000));
  CreateStorage(from, "sub", sub);
  Put(sub, "s", "new");
  sub.Reset();
  Put(to, "s", "old, longer");
  Put(to, "kept", "2");
  CreateStorage(to, "sub", sub);
  Put(sub, "kept", "3");
  sub.Reset();
  EXPECT_EQ(from->CopyTo(0, nullptr, nullptr, to.Get()), S_OK);
  EXPECT_EQ(NamesIn(to), "[s,sub,kept,added]");
  EXPECT_EQ(ContentOf(to, "s"), "new");
  EXPECT_EQ(ContentOf(to, "added"), PatternText(50000));
  OpenStorage(to, "sub", sub);
  EXPECT_EQ(NamesIn(sub), "[s,kept]");
  EXPECT_EQ(root_->CopyTo(0, nullptr, nullptr, to.Get()), STG_E_ACCESSDENIED);
}

TEST_F(StructuredStorage, CopyToCarriesClassOver) {
  const CLSID id = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
  Storage from;
  Storage to;
  CreateStorage(root_, "from", from);
  CreateStorage(root_, "to", to);
  from->SetClass(id);
  EXPECT_EQ(from->CopyTo(0, nullptr, nullptr, to.Get()), S_OK);
  STATSTG stat{};
  to->Stat(&stat, STATFLAG_NONAME);
  EXPECT_EQ(std::memcmp(&stat.clsid, &id, sizeof id), 0);
}

TEST_F(StructuredStorage, CopyToWorksWhileStreamsOfTheSourceAreOpen) {
  Storage from;
  Storage to;
  Stream held;
  CreateStorage(root_, "from", from);
  CreateStorage(root_, "to", to);
  ASSERT_EQ(CreateStream(from, "s", held), S_OK);
  const std::string content = PatternText(9000);
  held->Write(content.data(), 9000, nullptr);
  EXPECT_EQ(from->CopyTo(0, nullptr, nullptr, to.Get()), S_OK);
  EXPECT_EQ(ContentOf(to, "s"), content);
  EXPECT_EQ(held->Write("x", 1, nullptr), S_OK);
}

TEST_F(StructuredStorage, CopyToWorksBetweenFiles) {
  Storage other;
  ASSERT_EQ(CreateFileRoot(directory_ / "other.mwd", other), S_OK);
  Put(root_, "s", PatternText(20000));
  Storage target;
  ASSERT_EQ(CreateStorage(other, "copy", target), S_OK);
  EXPECT_EQ(root_->CopyTo(0, nullptr, nullptr, target.Get()), S_OK);
  EXPECT_EQ(ContentOf(target, "s"), PatternText(20000));
}

TEST_F(StructuredStorage, FilesThatCannotBeOpened) {
  Storage s;
  EXPECT_EQ(OpenFileRoot(directory_ / "none.mwd", s), STG_E_FILENOTFOUND);
  EXPECT_EQ(OpenFileRoot(directory_ / "none/x.mwd", s), STG_E_PATHNOTFOUND);
  WriteFileBytes(directory_ / "empty", "");
  EXPECT_EQ(OpenFileRoot(directory_ / "empty", s), STG_E_FILEALREADYEXISTS);
  WriteFileBytes(directory_ / "short", "nineteen bytes text");
  EXPECT_EQ(OpenFileRoot(directory_ / "short", s), STG_E_FILEALREADYEXISTS);
  WriteFileBytes(directory_ / "text", std::string(4096, 't'));
  EXPECT_EQ(OpenFileRoot(directory_ / "text", s), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(StgIsStorageFile(Wide(directory_ / "text").c_str()), S_FALSE);
  EXPECT_EQ(StgIsStorageFile(Wide(directory_ / "none").c_str()), STG_E_FILENOTFOUND);
  EXPECT_EQ(ReadFileBytes(directory_ / "text"), std::string(4096, 't'));
}

TEST_F(StructuredStorage, CreatingOverAFileNeedsTheFlag) {
  WriteFileBytes(directory_ / "text", std::string(4096, 't'));
  Storage s;
  EXPECT_EQ(CreateFileRoot(directory_ / "text", s, kOpen), STG_E_FILEALREADYEXISTS);
  EXPECT_EQ(ReadFileBytes(directory_ / "text"), std::string(4096, 't'));
  EXPECT_EQ(CreateFileRoot(directory_ / "text", s), S_OK);
  EXPECT_EQ(NamesIn(s), "[]");
}

TEST_F(StructuredStorage, AnOpenFileIsNotOpenedAgain) {
  Storage again;
  EXPECT_EQ(OpenFileRoot(path_, again), STG_E_SHAREVIOLATION);
  EXPECT_TRUE(FAILED(OpenFileRoot(path_, again, STGM_READ | STGM_SHARE_DENY_WRITE)));
  Put(root_, "s", "kept");
  EXPECT_TRUE(FAILED(CreateFileRoot(path_, again)));
  ASSERT_EQ(Reopen(), S_OK);
  EXPECT_EQ(ContentOf(root_, "s"), "kept");
}

TEST_F(StructuredStorage, ReadersShareAFile) {
  Put(root_, "s", "x");
  root_.Reset();
  Storage a;
  Storage b;
  EXPECT_EQ(OpenFileRoot(path_, a, STGM_READ | STGM_SHARE_DENY_WRITE), S_OK);
  EXPECT_EQ(OpenFileRoot(path_, b, STGM_READ | STGM_SHARE_DENY_WRITE), S_OK);
  EXPECT_EQ(ContentOf(a, "s"), "x");
  EXPECT_EQ(ContentOf(b, "s"), "x");
  Stream stream;
  EXPECT_EQ(CreateStream(a, "x", stream), STG_E_ACCESSDENIED);
}

TEST_F(StructuredStorage, ARootNeedsAShareMode) {
  root_.Reset();
  EXPECT_EQ(OpenFileRoot(path_, root_, STGM_READWRITE), STG_E_INVALIDFLAG);
}

TEST_F(StructuredStorage, TemporaryFilesVanish) {
  Storage s;
  ASSERT_EQ(StgCreateDocfile(nullptr, kMake | STGM_DELETEONRELEASE, 0, s.Out()), S_OK);
  STATSTG stat{};
  ASSERT_EQ(s->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  const std::string name = Narrow(stat.pwcsName);
  CoTaskMemFree(stat.pwcsName);
  EXPECT_TRUE(FileExists(name));
  EXPECT_EQ(Put(s, "s", PatternText(9000)), S_OK);
  EXPECT_EQ(ContentOf(s, "s"), PatternText(9000));
  s.Reset();
  EXPECT_FALSE(FileExists(name));
}

TEST_F(StructuredStorage, ANamedFileMayVanishToo) {
  const std::string path = directory_ / "gone.mwd";
  Storage s;
  ASSERT_EQ(CreateFileRoot(path, s, kMake | STGM_DELETEONRELEASE), S_OK);
  EXPECT_TRUE(FileExists(path));
  s.Reset();
  EXPECT_FALSE(FileExists(path));
}

TEST_F(StructuredStorage, ChildrenDoNotKeepTheRootAlive) {
  Storage sub;
  Stream stream;
  Stream inner;
  ASSERT_EQ(CreateStorage(root_, "sub", sub), S_OK);
  ASSERT_EQ(CreateStream(root_, "s", stream), S_OK);
  ASSERT_EQ(CreateStream(sub, "inner", inner), S_OK);
  EXPECT_EQ(root_.Reset(), 0U);
  STATSTG stat{};
  EXPECT_EQ(sub->Stat(&stat, STATFLAG_NONAME), STG_E_REVERTED);
  EXPECT_EQ(inner->Write("x", 1, nullptr), STG_E_REVERTED);
  EXPECT_EQ(stream->Write("x", 1, nullptr), STG_E_REVERTED);
  Stream other;
  EXPECT_EQ(CreateStream(sub, "y", other), STG_E_REVERTED);
  EXPECT_EQ(OpenStream(sub, "inner", other), STG_E_REVERTED);
  EXPECT_EQ(OpenFileRoot(path_, root_), S_OK);
}

TEST_F(StructuredStorage, CommittedChangesAreInTheFile) {
  Put(root_, "s", PatternText(6000));
  EXPECT_EQ(root_->Commit(STGC_DEFAULT), S_OK);
  EXPECT_EQ(root_->Revert(), S_OK);
  EXPECT_EQ(NamesIn(root_), "[s]");
  root_.Reset();
  EXPECT_EQ(ReadFileBytes(path_).size() % 512, 0U);
}

TEST_F(StructuredStorage, APathMayHoldEitherSeparator) {
  std::string path = path_;
  for (char& c : path) c = c == '/' ? '\\' : c;
  root_.Reset();
  EXPECT_EQ(OpenFileRoot(path, root_), S_OK);
}

TEST_F(StructuredStorage, AFileIsFoundWhateverTheLetterCase) {
  Put(root_, "s", "x");
  root_.Reset();
  EXPECT_EQ(OpenFileRoot(directory_ / "TEST.Mwd", root_), S_OK);
  EXPECT_EQ(ContentOf(root_, "s"), "x");
  root_.Reset();
  ASSERT_EQ(CreateFileRoot(directory_ / "TEST.MWD", root_), S_OK);
  root_.Reset();
  ASSERT_EQ(OpenFileRoot(path_, root_), S_OK);
  EXPECT_EQ(NamesIn(root_), "[]") << "the same file was made anew";
}

TEST_F(StructuredStorage, WhatIsReadOnlyRefusesChanges) {
  Put(root_, "s", "x");
  ASSERT_EQ(Reopen(kRead), S_OK);
  Stream s;
  EXPECT_TRUE(FAILED(OpenStream(root_, "s", s)));
  ASSERT_EQ(OpenStream(root_, "s", s, kRead), S_OK);
  EXPECT_EQ(s->Write("y", 1, nullptr), STG_E_ACCESSDENIED);
  EXPECT_EQ(DestroyElement(root_, "s"), STG_E_ACCESSDENIED);
}

TEST_F(StructuredStorage, FreeOfNothingIsFine) { CoTaskMemFree(nullptr); }

}  // namespace
