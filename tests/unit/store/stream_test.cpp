#include <brevant/store.h>

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr int kReadWrite = 2;
constexpr int kCreate = 4096;
constexpr int kExclusive = 16;
constexpr int kDeleteOnRelease = 0x04000000;

class Stream : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(storage_.OpenTemporary(kDeleteOnRelease), 1);
    ASSERT_EQ(stream_.Open(storage_.Interface(), "S", kReadWrite, kCreate, kExclusive), 1);
  }

  void Fill(const std::string& bytes) {
    ASSERT_EQ(stream_.Write(bytes.data(), static_cast<int>(bytes.size())),
              static_cast<int>(bytes.size()));
    ASSERT_EQ(stream_.Seek(0, 0), 0);
  }

  // The line read, or what the result says when there is none.
  std::string Line(int size = 10) {
    std::string buffer(static_cast<std::size_t>(size) + 1, '?');
    const int result = stream_.ReadLine(buffer.data(), size);
    EXPECT_EQ(buffer.back(), '?') << "written past the buffer";
    buffer.resize(std::strlen(buffer.c_str()));
    if (result < 0) return "<end>";
    EXPECT_EQ(result, static_cast<int>(buffer.size()));
    return buffer;
  }

  TStorage storage_;
  TStream stream_;
};

TEST_F(Stream, NewStreamIsEmpty) {
  EXPECT_TRUE(stream_.IsOpen());
  EXPECT_EQ(stream_.Size(), 0U);
  EXPECT_EQ(stream_.Position(), 0U);
}

TEST_F(Stream, ClosedStreamFailsEverywhere) {
  TStream closed;
  char buffer[4] = "abc";
  EXPECT_EQ(closed.Close(), 0);
  EXPECT_EQ(closed.Read(buffer, 3), -1);
  EXPECT_EQ(closed.ReadLine(buffer, 4), -1);
  EXPECT_EQ(closed.Write(buffer, 3), -1);
  EXPECT_EQ(closed.Seek(0, 0), -1);
  EXPECT_EQ(closed.SetSize(1), 0);
  EXPECT_STREQ(buffer, "abc");
}

TEST_F(Stream, OpenFailures) {
  TStream other;
  EXPECT_EQ(other.Open(nullptr, "S", kReadWrite, kCreate, kExclusive), 0);
  EXPECT_EQ(other.Open(storage_.Interface(), nullptr, kReadWrite, kCreate, kExclusive), 0);
  EXPECT_EQ(other.Open(storage_.Interface(), "MISSING", kReadWrite, 0, kExclusive), 0);
  EXPECT_EQ(other.Open(storage_.Interface(), "S", kReadWrite, 0, kExclusive), 0) << "open already";
  EXPECT_FALSE(other.IsOpen());
}

TEST_F(Stream, OnlyTheCreateArgumentCreates) {
  Fill("abc");
  stream_.Close();
  stream_.Open(storage_.Interface(), "S", kReadWrite | kCreate, 0, kExclusive);
  stream_.Open(storage_.Interface(), "S", kReadWrite, 0, kExclusive | kCreate);
  stream_.Close();
  ASSERT_EQ(stream_.Open(storage_.Interface(), "S", kReadWrite, 0, kExclusive), 1);
  EXPECT_EQ(stream_.Size(), 3U) << "opened or refused, never emptied";
}

TEST_F(Stream, CloseResetsSizeAndPosition) {
  Fill("abc");
  EXPECT_EQ(stream_.Close(), 1);
  EXPECT_EQ(stream_.Size(), 0U);
  EXPECT_EQ(stream_.Position(), 0U);
  EXPECT_FALSE(stream_.AtEnd());
  EXPECT_EQ(stream_.Close(), 0);
}

TEST_F(Stream, ConstructorOpensAndReadsTheSize) {
  Fill("abcdef");
  stream_.Close();
  const TStream again(storage_.Interface(), "S", kReadWrite, 0, kExclusive);
  EXPECT_TRUE(again.IsOpen());
  EXPECT_EQ(again.Size(), 6U);
  EXPECT_EQ(again.Position(), 0U);
}

TEST_F(Stream, CreateEmptiesAnExistingStream) {
  Fill("abc");
  stream_.Close();
  ASSERT_EQ(stream_.Open(storage_.Interface(), "S", kReadWrite, kCreate, kExclusive), 1);
  EXPECT_EQ(stream_.Size(), 0U);
}

TEST_F(Stream, WriteMovesThePositionAndRaisesTheSize) {
  EXPECT_EQ(stream_.Write("abcdef", 6), 6);
  EXPECT_EQ(stream_.Position(), 6U);
  EXPECT_EQ(stream_.Size(), 6U);
  stream_.Seek(1, 0);
  EXPECT_EQ(stream_.Write("XY", 2), 2);
  EXPECT_EQ(stream_.Position(), 3U);
  EXPECT_EQ(stream_.Size(), 6U);
}

TEST_F(Stream, ReadGivesFewerBytesAtTheEnd) {
  Fill("abcdef");
  char buffer[10] = {};
  EXPECT_EQ(stream_.Read(buffer, 4), 4);
  EXPECT_FALSE(stream_.AtEnd());
  EXPECT_EQ(stream_.Read(buffer, 4), 2);
  EXPECT_TRUE(stream_.AtEnd());
  EXPECT_EQ(std::string(buffer, 2), "ef");
  EXPECT_EQ(stream_.Position(), 6U);
}

TEST_F(Stream, ReadAtTheEndGivesZeroAndSeekClearsTheEnd) {
  Fill("a");
  char c = 0;
  stream_.Read(&c, 1);
  EXPECT_EQ(stream_.Read(&c, 1), 0);
  EXPECT_TRUE(stream_.AtEnd());
  EXPECT_EQ(stream_.Seek(0, 0), 0);
  EXPECT_FALSE(stream_.AtEnd());
}

TEST_F(Stream, SeekInAnEmptyStreamIsAtTheEnd) {
  EXPECT_EQ(stream_.Seek(0, 0), 0);
  EXPECT_TRUE(stream_.AtEnd());
}

TEST_F(Stream, ExactReadToTheEndSetsTheEnd) {
  Fill("abc");
  char buffer[3];
  EXPECT_EQ(stream_.Read(buffer, 3), 3);
  EXPECT_TRUE(stream_.AtEnd());
}

TEST_F(Stream, NegativeCountsFail) {
  char c = 0;
  EXPECT_EQ(stream_.Read(&c, -1), -1);
  EXPECT_EQ(stream_.Write(&c, -1), -1);
}

TEST_F(Stream, SeekOrigins) {
  Fill("abcdef");
  EXPECT_EQ(stream_.Seek(2, 0), 2);
  EXPECT_EQ(stream_.Seek(3, 1), 5);
  EXPECT_EQ(stream_.Seek(0, 2), 6);
  EXPECT_TRUE(stream_.AtEnd());
}

TEST_F(Stream, NegativeOffsetIsNoBackwardMove) {
  Fill("abcdef");
  stream_.Seek(4, 0);
  stream_.Seek(-1, 0);
  EXPECT_EQ(stream_.Position(), 0xFFFFFFFFU);
  EXPECT_TRUE(stream_.AtEnd());
}

TEST_F(Stream, BadOriginLeavesThePosition) {
  Fill("abcdef");
  stream_.Seek(4, 0);
  EXPECT_EQ(stream_.Seek(1, 7), 4);
  EXPECT_EQ(stream_.Position(), 4U);
  char c = 0;
  EXPECT_EQ(stream_.Read(&c, 1), 1);
  EXPECT_EQ(c, 'e');
}

TEST_F(Stream, SetSizeCutsAndGrows) {
  Fill("abcdef");
  stream_.Seek(6, 0);
  EXPECT_EQ(stream_.SetSize(2), 1);
  EXPECT_EQ(stream_.Size(), 2U);
  EXPECT_EQ(stream_.Position(), 6U);
  stream_.SetSize(4);
  stream_.Seek(0, 0);
  char buffer[10];
  EXPECT_EQ(stream_.Read(buffer, 10), 4);
  EXPECT_EQ(std::string(buffer, 2), "ab");
}

TEST_F(Stream, WriteBehindTheEndLeavesAGap) {
  Fill("ab");
  stream_.Seek(5, 0);
  EXPECT_TRUE(stream_.AtEnd());
  EXPECT_EQ(stream_.Write("z", 1), 1);
  EXPECT_EQ(stream_.Size(), 6U);
}

TEST_F(Stream, LongContentRoundTrips) {
  std::string bytes;
  for (int i = 0; i < 20000; ++i) bytes += static_cast<char>(i * 31);
  Fill(bytes);
  std::string read(bytes.size(), '\0');
  EXPECT_EQ(stream_.Read(read.data(), static_cast<int>(read.size())), 20000);
  EXPECT_EQ(read, bytes);
}

TEST_F(Stream, ReadLineOfTheExample) {
  Fill("ab\r\ncd");
  EXPECT_EQ(Line(), "ab");
  EXPECT_EQ(stream_.Position(), 4U);
  EXPECT_EQ(Line(), "cd");
  EXPECT_EQ(Line(), "<end>");
}

TEST_F(Stream, ReadLineGivesEmptyLines) {
  Fill("\n");
  EXPECT_EQ(Line(), "");
  EXPECT_EQ(Line(), "<end>");
}

TEST_F(Stream, ReadLineCutsLongLinesAndSkipsTheRest) {
  Fill(std::string(99, 'x') + "\nnext");
  EXPECT_EQ(Line(), "xxxxxxxxx");
  EXPECT_EQ(stream_.Position(), 100U);
  EXPECT_EQ(Line(), "next");
}

TEST_F(Stream, ReadLineDropsOneCarriageReturnOnly) {
  Fill("a\r\r\nb\rc\n");
  EXPECT_EQ(Line(), "a\r");
  EXPECT_EQ(Line(), "b\rc");
}

TEST_F(Stream, ReadLineOfACarriageReturnAloneIsEmpty) {
  Fill("\r\n\r");
  EXPECT_EQ(Line(), "");
  EXPECT_EQ(Line(), "<end>") << "nothing but a carriage return before the end";
}

TEST_F(Stream, ReadLineDropsACarriageReturnAtTheCut) {
  Fill("12345678\rmore\n");
  EXPECT_EQ(Line(), "12345678");
}

TEST_F(Stream, ReadLineAroundTheStepOf64) {
  for (const std::size_t length : {62U, 63U, 64U, 65U, 127U, 128U, 129U, 192U}) {
    stream_.Seek(0, 0);
    stream_.SetSize(0);
    Fill(std::string(length, 'y') + "\nz");
    EXPECT_EQ(Line(300), std::string(length, 'y'));
    EXPECT_EQ(stream_.Position(), length + 1);
    EXPECT_EQ(Line(300), "z");
    EXPECT_EQ(Line(300), "<end>");
  }
}

TEST_F(Stream, ReadLineWithoutRoom) {
  Fill("abc\ndef\n");
  EXPECT_EQ(Line(1), "");
  EXPECT_EQ(stream_.Position(), 4U);
  EXPECT_EQ(stream_.ReadLine(nullptr, 0), 0);
  EXPECT_EQ(stream_.Position(), 8U);
}

TEST_F(Stream, ReadLineKeepsZeroBytes) {
  Fill(std::string("a\0b\n", 4));
  char buffer[10];
  EXPECT_EQ(stream_.ReadLine(buffer, sizeof buffer), 3);
  EXPECT_EQ(std::string(buffer, 3), std::string("a\0b", 3));
}

TEST_F(Stream, ReadLineOfAnEmptyStream) { EXPECT_EQ(Line(), "<end>"); }

}  // namespace
