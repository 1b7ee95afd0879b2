// Every rule of reading one line.
#include "net_fixture.h"

#include <array>
#include <cstring>

namespace {

using test::ConnectToPort;
using test::kNoHang;
using test::kShortTimeout;
using test::Stopwatch;
using test::TalkingServer;

struct Line {
  int length;
  std::string text;
  bool operator==(const Line&) const = default;
};

void PrintTo(const Line& line, std::ostream* out) {
  *out << line.length << ' ' << test::Quote(line.text);
}

class ReceiveLineTest : public test::NetTest {
 protected:
  // The lines that this input gives, with buffers of this size, until nothing comes.
  static std::vector<Line> Lines(const std::string& input, int size, bool keep, bool dribble) {
    const std::string closing = "GREETING 1 drop 1000000";
    TalkingServer server(input, {dribble ? closing + " dribble 0" : closing});
    const auto connection = ConnectToPort(server.Port());
    std::vector<Line> lines;
    for (;;) {
      std::array<char, 128> buffer;
      buffer.fill('#');
      const int length = connection->ReceiveLine(buffer.data(), size, keep);
      if (length < 0) return lines;
      EXPECT_EQ(buffer[static_cast<std::size_t>(length)], '\0');
      EXPECT_EQ(buffer[static_cast<std::size_t>(size)], '#');
      lines.push_back({length, std::string(buffer.data(), static_cast<std::size_t>(length))});
    }
  }

  static void ShortenTimeout(TConnection& connection) {
    connection.SetTimeout(kShortTimeout);
    brevant::ResetDeadline();
  }

  static void Expect(const std::string& input, int size, bool keep,
                     const std::vector<Line>& expected) {
    EXPECT_EQ(Lines(input, size, keep, false), expected);
    EXPECT_EQ(Lines(input, size, keep, true), expected) << "byte by byte";
  }
};

TEST_F(ReceiveLineTest, EndsAtCarriageReturnAndLineFeed) {
  Expect("one\r\ntwo\r\n", 100, false, {{3, "one"}, {3, "two"}});
}

TEST_F(ReceiveLineTest, EndsAtALineFeed) {
  Expect("one\n\ntwo\n", 100, false, {{3, "one"}, {0, ""}, {3, "two"}});
}

TEST_F(ReceiveLineTest, LoneCarriageReturnEndsALineAndTheNextByteStays) {
  Expect("one\rtwo\r\n", 100, false, {{3, "one"}, {3, "two"}});
}

TEST_F(ReceiveLineTest, KeepsTheTerminatorWhenAsked) {
  Expect("a\r\nb\nc\rd\r\n", 100, true, {{3, "a\r\n"}, {2, "b\n"}, {2, "c\r"}, {3, "d\r\n"}});
}

TEST_F(ReceiveLineTest, AFullLineLosesItsCarriageReturnAndLeavesAnEmptyLine) {
  Expect("abcd\r\nnext\r\n", 5, false, {{4, "abcd"}, {0, ""}, {4, "next"}, {0, ""}});
}

TEST_F(ReceiveLineTest, ALongerLineLosesTheCharacterAfterThoseStored) {
  Expect("abcdefgh\r\n", 5, false, {{4, "abcd"}, {3, "fgh"}});
}

TEST_F(ReceiveLineTest, OneCharacterOfRoomBeforeTheTerminator) {
  Expect("abc\r\nx\r\n", 5, true, {{4, "abc\r"}, {3, "x\r\n"}});
}

TEST_F(ReceiveLineTest, TheLineFeedIsTakenThoughThereIsNoRoomForIt) {
  Expect("abc\r\nx\n", 5, true, {{4, "abc\r"}, {2, "x\n"}});
}

TEST_F(ReceiveLineTest, ABufferOfOneByteLosesEverything) {
  TalkingServer server("ab\r\n", {"GREETING 1 drop 100"});
  const auto connection = ConnectToPort(server.Port());
  std::array<char, 2> buffer{'#', '#'};
  // The byte that finds no room does not count as received.
  EXPECT_EQ(connection->ReceiveLine(buffer.data(), 1, true), -1);
  EXPECT_EQ(buffer[0], '\0');
  EXPECT_EQ(buffer[1], '#');
  std::array<char, 8> rest{};
  EXPECT_EQ(connection->ReceiveLine(rest.data(), 8, false), 1);
  EXPECT_STREQ(rest.data(), "b");
}

TEST_F(ReceiveLineTest, ABufferWithoutRoomGivesNothing) {
  TalkingServer server("ab\r\n");
  const auto connection = ConnectToPort(server.Port());
  char byte = '#';
  EXPECT_EQ(connection->ReceiveLine(&byte, 0, true), -1);
  EXPECT_EQ(connection->ReceiveLine(nullptr, 10, true), -1);
  EXPECT_EQ(byte, '#');
}

TEST_F(ReceiveLineTest, NullBytesAreBytesOfTheLine) {
  Expect(std::string("a\0b\r\n", 5), 100, false, {{3, std::string("a\0b", 3)}});
}

TEST_F(ReceiveLineTest, ThePeerClosingBeforeAnythingGivesMinusOne) {
  TalkingServer server("x", {"GREETING 1 drop 0"});
  const auto connection = ConnectToPort(server.Port());
  std::array<char, 16> buffer{};
  EXPECT_EQ(connection->ReceiveLine(buffer.data(), 16, false), -1);
}

TEST_F(ReceiveLineTest, ThePeerClosingInsideALineGivesWhatCame) {
  Expect("abc", 100, true, {{3, "abc"}});
}

TEST_F(ReceiveLineTest, TheTimeoutInsideALineGivesWhatCame) {
  TalkingServer server("half a li");
  const auto connection = ConnectToPort(server.Port());
  std::array<char, 64> buffer{};
  ASSERT_EQ(connection->PeekAhead(buffer.data(), 9), 9);
  ShortenTimeout(*connection);
  const Stopwatch watch;
  EXPECT_EQ(connection->ReceiveLine(buffer.data(), 64, true), 9);
  EXPECT_STREQ(buffer.data(), "half a li");
  EXPECT_EQ(connection->LastWait(), brevant::WaitEnd::kTimedOut);
  EXPECT_LT(watch.Milliseconds(), kNoHang);
}

TEST_F(ReceiveLineTest, ASlowDripDoesNotStretchTheTimeout) {
  // Twenty seconds for the whole line, and a byte well within each time-out.
  TalkingServer server(std::string(1000, 'x') + "\r\n", {"GREETING 1 dribble 20"});
  const auto connection = ConnectToPort(server.Port());
  std::array<char, 1200> buffer{};
  ASSERT_EQ(connection->Peek(buffer.data(), 1), 1);
  ShortenTimeout(*connection);
  const Stopwatch watch;
  const int length = connection->ReceiveLine(buffer.data(), 1200, true);
  EXPECT_LT(watch.Milliseconds(), kNoHang);
  EXPECT_GT(length, 0);
  EXPECT_LT(length, 1000);
  EXPECT_EQ(std::string(buffer.data()), std::string(static_cast<std::size_t>(length), 'x'))
      << "what came is the line";
}

TEST_F(ReceiveLineTest, NothingAtAllGivesMinusOneAtTheTimeout) {
  TalkingServer server("");
  const auto connection = ConnectToPort(server.Port(), kShortTimeout);
  std::array<char, 16> buffer{'#'};
  EXPECT_EQ(connection->ReceiveLine(buffer.data(), 16, false), -1);
  EXPECT_EQ(buffer[0], '\0');
}

TEST_F(ReceiveLineTest, ALineLongerThanTheLookAheadIsReadWhole) {
  const std::string line(100'000, 'y');
  TalkingServer server(line + "\r\nend\r\n");
  const auto connection = ConnectToPort(server.Port());
  std::vector<char> buffer(200'000);
  EXPECT_EQ(connection->ReceiveLine(buffer.data(), 200'000, false), 100'000);
  EXPECT_EQ(std::string(buffer.data()), line);
  EXPECT_EQ(connection->ReceiveLine(buffer.data(), 200'000, false), 3);
}

TEST_F(ReceiveLineTest, WhatWasReadAheadIsThereForEveryOtherOperation) {
  TalkingServer server("one\r\ntwo\r\nthree");
  const auto connection = ConnectToPort(server.Port());
  std::array<char, 16> buffer{};
  EXPECT_EQ(connection->ReceiveLine(buffer.data(), 16, false), 3);
  EXPECT_EQ(connection->Peek(buffer.data(), 3), 3);
  EXPECT_EQ(std::string(buffer.data(), 3), "two");
  EXPECT_EQ(connection->Receive(buffer.data(), 5), 5);
  EXPECT_EQ(std::string(buffer.data(), 5), "two\r\n");
  EXPECT_EQ(connection->ReceivePiece(buffer.data(), 4), 3);
  EXPECT_STREQ(buffer.data(), "thr");
}

TEST_F(ReceiveLineTest, PiecesLoseNothing) {
  TalkingServer server("abcdefg\r\nx\n", {"GREETING 1 drop 100"});
  const auto connection = ConnectToPort(server.Port());
  std::string all;
  std::array<char, 4> buffer;
  for (int count = connection->ReceivePiece(buffer.data(), 4); count > 0;
       count = connection->ReceivePiece(buffer.data(), 4)) {
    all += std::string(buffer.data(), static_cast<std::size_t>(count)) + "|";
  }
  EXPECT_EQ(all, "abc|def|g\r\n|x\n|");
}

}  // namespace
