#include "support/element_times.h"
#include "support/temporary_directory.h"

#include <brevant/store.h>

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr int kReadWrite = 2;
constexpr int kCreate = 4096;
constexpr int kExclusive = 16;
constexpr int kDeleteOnRelease = 0x04000000;

class Storage : public testing::Test {
 protected:
  std::string Path(const char* name = "a.mwd") const { return directory_ / name; }

  int Create(TStorage& storage) {
    return storage.Open(Path().c_str(), kReadWrite, kCreate, kExclusive);
  }
  int Reopen(TStorage& storage) { return storage.Open(Path().c_str(), kReadWrite, 0, kExclusive); }

  test::TemporaryDirectory directory_;
};

void WriteStream(TStorage& storage, const char* name, const std::string& bytes) {
  TStream stream(storage.Interface(), name, kReadWrite, kCreate, kExclusive);
  ASSERT_TRUE(stream.IsOpen());
  ASSERT_EQ(stream.Write(bytes.data(), static_cast<int>(bytes.size())),
            static_cast<int>(bytes.size()));
}

std::string ReadStream(TStorage& storage, const char* name) {
  TStream stream(storage.Interface(), name, kReadWrite, 0, kExclusive);
  std::string bytes(stream.Size(), '\0');
  EXPECT_EQ(stream.Read(bytes.data(), static_cast<int>(bytes.size())),
            stream.IsOpen() ? static_cast<int>(bytes.size()) : -1);
  return bytes;
}

TEST_F(Storage, NewObjectHasNothingOpen) {
  TStorage storage;
  EXPECT_FALSE(storage.IsOpen());
  EXPECT_EQ(storage.Interface(), nullptr);
  EXPECT_TRUE(storage.CreationTime().IsZero());
  EXPECT_EQ(storage.Close(), 0);
}

TEST_F(Storage, CreateThenOpen) {
  {
    TStorage storage;
    EXPECT_EQ(Create(storage), 1);
    EXPECT_TRUE(storage.IsOpen());
    EXPECT_NE(storage.Interface(), nullptr);
    EXPECT_EQ(storage.Close(), 1);
    EXPECT_FALSE(storage.IsOpen());
    EXPECT_EQ(storage.Interface(), nullptr);
  }
  TStorage storage;
  EXPECT_EQ(Reopen(storage), 1);
}

TEST_F(Storage, OpenOfAMissingFileFailsAndLeavesItClosed) {
  TStorage storage;
  EXPECT_EQ(Reopen(storage), 0);
  EXPECT_FALSE(storage.IsOpen());
  EXPECT_FALSE(test::FileExists(Path()));
}

TEST_F(Storage, OpenOfAFileThatIsNoCompoundFileFails) {
  test::WriteFileBytes(
      Path(), "not a compound file, but long enough to hold a header " + std::string(1024, 'x'));
  TStorage storage;
  EXPECT_EQ(Reopen(storage), 0);
}

TEST_F(Storage, NullNameFails) {
  TStorage storage;
  EXPECT_EQ(storage.Open(nullptr, kReadWrite, kCreate, kExclusive), 0);
  EXPECT_EQ(storage.Open(nullptr, "x", kReadWrite, kCreate, kExclusive), 0);
}

TEST_F(Storage, CreateReplacesAnExistingFile) {
  {
    TStorage storage;
    ASSERT_EQ(Create(storage), 1);
    WriteStream(storage, "OLD", "old");
  }
  TStorage storage;
  ASSERT_EQ(Create(storage), 1);
  EXPECT_EQ(storage.DeleteElement("OLD"), 0);
}

TEST_F(Storage, ConstructorsOpen) {
  const TStorage root(Path().c_str(), kReadWrite, kCreate, kExclusive);
  ASSERT_TRUE(root.IsOpen());
  const TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive);
  EXPECT_TRUE(child.IsOpen());
  const TStorage missing(root.Interface(), "2", kReadWrite, 0, kExclusive);
  EXPECT_FALSE(missing.IsOpen());
}

TEST_F(Storage, OpeningIsExclusive) {
  TStorage first;
  TStorage second;
  ASSERT_EQ(Create(first), 1);
  EXPECT_EQ(Reopen(second), 0);
  TStorage child;
  TStorage again;
  ASSERT_EQ(child.Open(first.Interface(), "1", kReadWrite, kCreate, kExclusive), 1);
  EXPECT_EQ(again.Open(first.Interface(), "1", kReadWrite, 0, kExclusive), 0);
  EXPECT_EQ(child.Close(), 1);
  EXPECT_EQ(again.Open(first.Interface(), "1", kReadWrite, 0, kExclusive), 1);
}

TEST_F(Storage, OpenAnObjectThatIsOpenClosesItFirst) {
  TStorage storage;
  ASSERT_EQ(Create(storage), 1);
  EXPECT_EQ(Reopen(storage), 1);
  EXPECT_TRUE(storage.IsOpen());
}

TEST_F(Storage, SubStorageKeepsItsParentAlive) {
  TStorage child;
  {
    TStorage root;
    ASSERT_EQ(Create(root), 1);
    ASSERT_EQ(child.Open(root.Interface(), "1", kReadWrite, kCreate, kExclusive), 1);
  }
  EXPECT_EQ(child.Close(), 1);
}

TEST_F(Storage, CreatedSubStorageReplacesAnExistingOne) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  {
    TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive);
    WriteStream(child, "X", "x");
  }
  TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive);
  EXPECT_EQ(child.DeleteElement("X"), 0);
}

TEST_F(Storage, NamesAreWidenedBySignExtension) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  WriteStream(root, "\xE4\x7F\x80", "umlaut");
  const OLECHAR wide[] = {static_cast<OLECHAR>(0xFFE4), 0x007F, static_cast<OLECHAR>(0xFF80), 0};
  IStream* stream = nullptr;
  ASSERT_GE(root.Interface()->OpenStream(wide, nullptr, kReadWrite | kExclusive, 0, &stream), 0);
  stream->Release();
  EXPECT_EQ(ReadStream(root, "\xE4\x7F\x80"), "umlaut");
}

TEST_F(Storage, DeleteElementRemovesStreamsAndStorages) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  WriteStream(root, "X", "x");
  { TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive); }
  EXPECT_EQ(root.DeleteElement("X"), 1);
  EXPECT_EQ(root.DeleteElement("X"), 0);
  EXPECT_EQ(root.DeleteElement("1"), 1);
  EXPECT_EQ(root.DeleteElement("1"), 0);
  EXPECT_EQ(root.DeleteElement(nullptr), 0);
}

TEST_F(Storage, ElementOperationsOnAClosedStorageFail) {
  TStorage storage;
  TTime time;
  EXPECT_EQ(storage.DeleteElement("X"), 0);
  EXPECT_EQ(storage.RenameElement("X", "Y"), 0);
  EXPECT_EQ(storage.GetElementTimes("X", &time, &time, &time), 0);
  EXPECT_EQ(storage.SetElementTimes("X", &time, &time, &time), 0);
  EXPECT_EQ(storage.Copy(nullptr), 0);
  EXPECT_EQ(storage.Commit(), 0);
}

TEST_F(Storage, RenameElement) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  WriteStream(root, "X", "content");
  EXPECT_EQ(root.RenameElement("X", "Y"), 1);
  EXPECT_EQ(root.RenameElement("X", "Z"), 0);
  EXPECT_EQ(ReadStream(root, "Y"), "content");
}

TEST_F(Storage, CopyCopiesTheWholeContent) {
  TStorage source;
  ASSERT_EQ(Create(source), 1);
  WriteStream(source, "A", std::string(5000, 'a'));
  {
    TStorage child(source.Interface(), "1", kReadWrite, kCreate, kExclusive);
    WriteStream(child, "B", "b");
  }
  TStorage target;
  ASSERT_EQ(target.OpenTemporary(kDeleteOnRelease), 1);
  WriteStream(target, "KEPT", "kept");
  EXPECT_EQ(target.Copy(source.Interface()), 1);
  EXPECT_EQ(ReadStream(target, "A"), std::string(5000, 'a'));
  EXPECT_EQ(ReadStream(target, "KEPT"), "kept");
  TStorage child(target.Interface(), "1", kReadWrite, 0, kExclusive);
  EXPECT_EQ(ReadStream(child, "B"), "b");
}

TEST_F(Storage, CopyOfNullFails) {
  TStorage target;
  ASSERT_EQ(Create(target), 1);
  EXPECT_EQ(target.Copy(nullptr), 0);
}

TEST_F(Storage, CopyWorksWhileStreamsOfTheSourceAreOpen) {
  TStorage source;
  ASSERT_EQ(Create(source), 1);
  TStream open(source.Interface(), "A", kReadWrite, kCreate, kExclusive);
  ASSERT_EQ(open.Write("abc", 3), 3);
  TStorage target;
  ASSERT_EQ(target.OpenTemporary(kDeleteOnRelease), 1);
  EXPECT_EQ(target.Copy(source.Interface()), 1);
  EXPECT_EQ(ReadStream(target, "A"), "abc");
}

TEST_F(Storage, TemporaryFileHasNoTimesAndVanishes) {
  TStorage storage;
  ASSERT_EQ(storage.OpenTemporary(kDeleteOnRelease), 1);
  EXPECT_TRUE(storage.CreationTime().IsZero());
  EXPECT_TRUE(storage.ModificationTime().IsZero());
  WriteStream(storage, "A", "a");
  EXPECT_EQ(ReadStream(storage, "A"), "a");
  EXPECT_EQ(storage.Close(), 1);
}

TEST_F(Storage, CommitMakesChangesDurableAndCloseToo) {
  TStorage storage;
  ASSERT_EQ(Create(storage), 1);
  WriteStream(storage, "A", "committed");
  EXPECT_EQ(storage.Commit(), 1);
  WriteStream(storage, "B", "closed");
  storage.Close();
  ASSERT_EQ(Reopen(storage), 1);
  EXPECT_EQ(ReadStream(storage, "A"), "committed");
  EXPECT_EQ(ReadStream(storage, "B"), "closed");
}

TEST_F(Storage, CountsTheBytesWrittenThroughItSinceTheCommit) {
  TStorage root;
  EXPECT_EQ(root.BytesSinceCommit(), 0U);
  ASSERT_EQ(Create(root), 1);
  EXPECT_EQ(root.BytesSinceCommit(), 0U);
  WriteStream(root, "A", std::string(100, 'a'));
  EXPECT_EQ(root.BytesSinceCommit(), 100U);
  {
    TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive);
    WriteStream(child, "B", std::string(20, 'b'));
    TStorage grandchild(child.Interface(), "1", kReadWrite, kCreate, kExclusive);
    WriteStream(grandchild, "C", std::string(3, 'c'));
    EXPECT_EQ(grandchild.BytesSinceCommit(), 123U);
  }
  EXPECT_EQ(root.BytesSinceCommit(), 123U);
  EXPECT_EQ(root.Commit(), 1);
  EXPECT_EQ(root.BytesSinceCommit(), 0U);
  WriteStream(root, "D", "d");
  EXPECT_EQ(root.BytesSinceCommit(), 1U);
}

TEST_F(Storage, BytesWrittenAgainCountOncePerCommit) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  TStream stream(root.Interface(), "A", kReadWrite, kCreate, kExclusive);
  const std::string bytes(1000, 'a');
  const auto write = [&](LONG at, int count) {
    stream.Seek(at, 0);
    ASSERT_EQ(stream.Write(bytes.data(), count), count);
  };
  write(0, 1000);
  write(0, 1000);
  write(200, 300);
  EXPECT_EQ(root.BytesSinceCommit(), 1000U);
  write(900, 200);
  EXPECT_EQ(root.BytesSinceCommit(), 1100U) << "100 of them are new";
  write(5000, 50);
  EXPECT_EQ(root.BytesSinceCommit(), 1150U) << "apart from the rest";
  write(0, 1000);
  EXPECT_EQ(root.BytesSinceCommit(), 1150U) << "the longest stretch is remembered";
  ASSERT_EQ(root.Commit(), 1);
  write(500, 100);
  EXPECT_EQ(root.BytesSinceCommit(), 100U) << "a commit begins anew";
  write(450, 100);
  EXPECT_EQ(root.BytesSinceCommit(), 150U) << "in front of the stretch";
  write(0, 1000);
  EXPECT_EQ(root.BytesSinceCommit(), 1000U);
}

TEST_F(Storage, NewSizeOfAStreamCountsAsAChange) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  TStream stream(root.Interface(), "A", kReadWrite, kCreate, kExclusive);
  ASSERT_EQ(stream.Write("abc", 3), 3);
  ASSERT_EQ(root.Commit(), 1);
  stream.SetSize(3);
  EXPECT_EQ(root.BytesSinceCommit(), 0U) << "the size it has";
  stream.SetSize(1);
  EXPECT_NE(root.BytesSinceCommit(), 0U);
}

TEST_F(Storage, CountsCopiedBytes) {
  TStorage source;
  ASSERT_EQ(source.OpenTemporary(kDeleteOnRelease), 1);
  WriteStream(source, "A", std::string(1000, 'a'));
  {
    TStorage child(source.Interface(), "1", kReadWrite, kCreate, kExclusive);
    WriteStream(child, "B", std::string(24, 'b'));
  }
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  TStorage target(root.Interface(), "9", kReadWrite, kCreate, kExclusive);
  ASSERT_EQ(target.Copy(source.Interface()), 1);
  EXPECT_EQ(root.BytesSinceCommit(), 1024U);
}

TEST_F(Storage, ChangesOfElementsCountTheirDirectoryEntry) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  { TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive); }
  ASSERT_EQ(root.Commit(), 1);
  const TTime time(2000, 1, 1, 0, 0, 0);
  EXPECT_EQ(root.SetElementTimes("1", nullptr, nullptr, &time), 1);
  EXPECT_EQ(root.BytesSinceCommit(), 128U);
  EXPECT_EQ(root.RenameElement("1", "2"), 1);
  EXPECT_EQ(root.BytesSinceCommit(), 256U);
  {
    TStorage child(root.Interface(), "2", kReadWrite, 0, kExclusive);
    child.SetTimes(&time, nullptr, nullptr);
    EXPECT_EQ(root.BytesSinceCommit(), 256U) << "applied when it is closed";
  }
  EXPECT_EQ(root.BytesSinceCommit(), 384U);
  EXPECT_EQ(root.DeleteElement("2"), 1);
  EXPECT_EQ(root.BytesSinceCommit(), 512U);
  EXPECT_EQ(root.DeleteElement("2"), 0);
  EXPECT_EQ(root.RenameElement("2", "3"), 0);
  EXPECT_EQ(root.BytesSinceCommit(), 512U) << "what failed changed nothing";
}

TEST_F(Storage, CountsApartForEveryFile) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  TStorage other(Path("b.mwd").c_str(), kReadWrite, kCreate, kExclusive);
  WriteStream(root, "A", "abc");
  EXPECT_EQ(other.BytesSinceCommit(), 0U);
  EXPECT_EQ(root.BytesSinceCommit(), 3U);
}

TEST_F(Storage, CommitOfASubStorageKeepsTheCount) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive);
  WriteStream(child, "B", "bb");
  EXPECT_EQ(child.Commit(), 1);
  EXPECT_EQ(root.BytesSinceCommit(), 2U);
}

TEST_F(Storage, GetElementTimesOfAStreamFails) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  WriteStream(root, "X", "x");
  TTime time(2000, 1, 1, 0, 0, 0);
  EXPECT_EQ(root.GetElementTimes("X", &time, &time, &time), 0);
  EXPECT_EQ(root.GetElementTimes("MISSING", &time, &time, &time), 0);
  EXPECT_EQ(time, TTime(2000, 1, 1, 0, 0, 0));
}

TEST_F(Storage, GetElementTimesSkipsNullPointers) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  { TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive); }
  EXPECT_EQ(root.GetElementTimes("1", nullptr, nullptr, nullptr), 1);
}

TEST_F(Storage, SetTimesReplacesTheObjectsTimesAtOnce) {
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive);
  const TTime created = child.CreationTime();
  const TTime modified(2001, 2, 3, 4, 5, 6);
  EXPECT_EQ(child.SetTimes(nullptr, nullptr, &modified), 1);
  EXPECT_EQ(child.CreationTime(), created);
  EXPECT_EQ(child.ModificationTime(), modified);
}

TEST_F(Storage, NewSubStorageHasCreationAndModificationTime) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime before = TTime::FromUnixSeconds(TTime::NowGreenwich().UnixSeconds() - 5);
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  const TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive);
  EXPECT_GT(child.CreationTime(), before);
  EXPECT_GT(child.ModificationTime(), before);
}

TEST_F(Storage, TimesAreAppliedAtClose) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  const TTime created(1999, 1, 2, 3, 4, 5);
  const TTime modified(2001, 2, 3, 4, 5, 6);
  TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive);
  WriteStream(child, "X", "x");
  child.SetTimes(&created, nullptr, &modified);
  child.Close();
  TTime c;
  TTime m;
  ASSERT_EQ(root.GetElementTimes("1", &c, nullptr, &m), 1);
  EXPECT_EQ(c, created);
  EXPECT_EQ(m, modified);
  ASSERT_EQ(child.Open(root.Interface(), "1", kReadWrite, 0, kExclusive), 1);
  EXPECT_EQ(child.CreationTime(), created);
  EXPECT_EQ(child.ModificationTime(), modified);
}

TEST_F(Storage, ANullTimeStaysAsItWasWhenOpened) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  const TTime first(1999, 1, 2, 3, 4, 5);
  const TTime second(2001, 2, 3, 4, 5, 6);
  { TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive); }
  ASSERT_EQ(root.SetElementTimes("1", &first, nullptr, &first), 1);
  TStorage child(root.Interface(), "1", kReadWrite, 0, kExclusive);
  WriteStream(child, "X", "x");
  child.SetTimes(&second, nullptr, nullptr);
  child.Close();
  TTime c;
  TTime m;
  ASSERT_EQ(root.GetElementTimes("1", &c, nullptr, &m), 1);
  EXPECT_EQ(c, second);
  EXPECT_EQ(m, first) << "the write would have changed it";
}

TEST_F(Storage, TimesSurviveTheFilesReopening) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime time(1999, 1, 2, 3, 4, 5);
  {
    TStorage root;
    ASSERT_EQ(Create(root), 1);
    { TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive); }
    ASSERT_EQ(root.SetElementTimes("1", &time, nullptr, &time), 1);
  }
  TStorage root;
  ASSERT_EQ(Reopen(root), 1);
  TTime c;
  TTime m;
  ASSERT_EQ(root.GetElementTimes("1", &c, nullptr, &m), 1);
  EXPECT_EQ(c, time);
  EXPECT_EQ(m, time);
}

TEST_F(Storage, SetElementTimesLeavesTheOthersAlone) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  TStorage root;
  ASSERT_EQ(Create(root), 1);
  { TStorage child(root.Interface(), "1", kReadWrite, kCreate, kExclusive); }
  const TTime first(1999, 1, 2, 3, 4, 5);
  const TTime second(2001, 2, 3, 4, 5, 6);
  ASSERT_EQ(root.SetElementTimes("1", &first, nullptr, &first), 1);
  ASSERT_EQ(root.SetElementTimes("1", nullptr, nullptr, &second), 1);
  TTime c;
  TTime m;
  ASSERT_EQ(root.GetElementTimes("1", &c, nullptr, &m), 1);
  EXPECT_EQ(c, first);
  EXPECT_EQ(m, second);
}

TEST_F(Storage, RootTimesAreThoseOfTheFile) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime created(1999, 1, 2, 3, 4, 5);
  const TTime modified(2001, 2, 3, 4, 5, 6);
  {
    TStorage root;
    ASSERT_EQ(Create(root), 1);
    WriteStream(root, "A", "a");
    root.SetTimes(&created, nullptr, &modified);
  }
  TStorage root;
  ASSERT_EQ(Reopen(root), 1);
  EXPECT_EQ(root.ModificationTime(), modified);
  EXPECT_EQ(root.CreationTime(), created);
}

}  // namespace
