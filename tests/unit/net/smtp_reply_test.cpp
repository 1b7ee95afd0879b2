// Replies as servers send them, and as hostile servers do.
#include "smtp_fixture.h"

#include <array>

namespace {

using test::Mailer;
using test::SmtpDeviating;

class SmtpReplyTest : public test::NetTest {
 protected:
  // The code and the text that a client finds in these bytes, sent as the answer to "NOOP".
  static std::pair<int, std::string> Answer(const std::string& bytes, DWORD status = 0,
                                            int size = 64) {
    test::Deviation deviation;
    deviation.command = "NOOP";
    deviation.replaced = true;
    deviation.reply = bytes;
    test::SmtpOptions options;
    options.deviations.push_back(deviation);
    Mailer mailer(status, options);
    EXPECT_EQ(mailer.client.SendCommand("NOOP", nullptr), 6);
    if (bytes.find('\n') == std::string::npos) mailer.ExpectSilence();
    std::array<char, 2048> text;
    text.fill('#');
    const int code = mailer.client.GetResponse(text.data(), size);
    EXPECT_EQ(text[static_cast<std::size_t>(size)], '#');
    connected_ = (mailer.client.Status() & kStatusConnected) != 0;
    return {code, text[0] == '#' ? "untouched" : text.data()};
  }

  static bool connected_;
};

bool SmtpReplyTest::connected_ = false;

using Reply = std::pair<int, std::string>;

TEST_F(SmtpReplyTest, TheCodeIsTheFirstThreeDigits) {
  EXPECT_EQ(Answer("250 fine and good\r\n"), Reply(250, "fine and good"));
  EXPECT_EQ(Answer("2500\r\n"), Reply(250, ""));
  EXPECT_EQ(Answer("000 x\r\n"), Reply(0, "x"));
  EXPECT_EQ(Answer("999 x\r\n").first, 999);
  EXPECT_EQ(Answer("250-first\r\n250 second\r\n"), Reply(250, "")) << "one line is read";
  EXPECT_EQ(Answer("250-first of two\r\n"), Reply(250, "of two"));
}

TEST_F(SmtpReplyTest, TheBareCodeIsNoReply) {
  EXPECT_EQ(Answer("250\r\n").first, 0);
  EXPECT_TRUE(connected_);
  EXPECT_EQ(Answer("250 \r\n"), Reply(250, ""));
}

TEST_F(SmtpReplyTest, WhatDoesNotBeginWithThreeDigitsIsNoReply) {
  for (const char* line : {"", "2", "25", "25x ok", "x50 ok", " 250 ok", "-25 ok", "2 0 ok", "+OK",
                           "\xb2\xb5\xb0 ok"}) {
    EXPECT_EQ(Answer(std::string(line) + "\r\n"), Reply(0, "untouched")) << line;
    EXPECT_TRUE(connected_) << line;
    EXPECT_EQ(Answer(std::string(line) + "\r\n", kStatusStandardMode).first, 0) << line;
    EXPECT_FALSE(connected_) << line;
  }
  EXPECT_EQ(Answer(std::string("25\0 ok\r\n", 8)).first, 0);
}

TEST_F(SmtpReplyTest, TheTextIsCutToTheBuffer) {
  EXPECT_EQ(Answer("250 one two\r\n", 0, 4), Reply(250, "one"));
  EXPECT_EQ(Answer("250 one two\r\n", 0, 1), Reply(250, ""));
  EXPECT_EQ(Answer("250 one two\r\n", 0, 0), Reply(250, "untouched"));
  EXPECT_EQ(Answer("250one\r\n"), Reply(250, ""));
}

TEST_F(SmtpReplyTest, ALineOfMoreThan255CharactersGoesOnAsTheNextReply) {
  Mailer mailer(
      0, SmtpDeviating({"NOOP 1 reply \"250 " + std::string(251, 'x') + "_354 rest\\r\\n\""}));
  EXPECT_EQ(mailer.client.SendCommand("NOOP", nullptr), 6);
  EXPECT_EQ(mailer.client.GetResponse(nullptr, 0), 250);
  EXPECT_EQ(mailer.client.GetResponse(nullptr, 0), 354) << "one character was lost";
}

TEST_F(SmtpReplyTest, StandardModeReadsAllLinesAndTheLastCounts) {
  constexpr DWORD kMode = kStatusStandardMode;
  EXPECT_EQ(Answer("250-one\r\n250-two\r\n250 three\r\n", kMode), Reply(250, "three"));
  EXPECT_EQ(Answer("250-one\r\n550 no\r\n", kMode), Reply(550, "no"));
  EXPECT_EQ(Answer("250-one\r\n250\r\n", kMode), Reply(250, ""));
  EXPECT_EQ(Answer("250\r\n", kMode).first, 250) << "the text is optional";
  EXPECT_EQ(Answer("250 lf\n", kMode), Reply(250, "lf"));
  EXPECT_EQ(Answer("250-" + std::string(3000, 'x') + "\r\n250 end\r\n", kMode), Reply(250, "end"));
  EXPECT_TRUE(connected_);
  EXPECT_EQ(Answer("250-one\r\nnonsense\r\n", kMode).first, 0);
  EXPECT_FALSE(connected_);
  EXPECT_EQ(Answer("2500 x\r\n", kMode).first, 0);
  EXPECT_FALSE(connected_);
}

TEST_F(SmtpReplyTest, StandardModeTakesAReplyOf64KilobytesAndNoMore) {
  std::string lines;
  while (lines.size() < 60000) lines += "250-line\r\n";
  EXPECT_EQ(Answer(lines + "250 end\r\n", kStatusStandardMode).first, 250);
  while (lines.size() < 70000) lines += "250-line\r\n";
  EXPECT_EQ(Answer(lines + "250 end\r\n", kStatusStandardMode).first, 0);
  EXPECT_FALSE(connected_);
  EXPECT_EQ(Answer("250 " + std::string(70000, 'x') + "\r\n", kStatusStandardMode).first, 0);
}

TEST_F(SmtpReplyTest, ALineThatIsCutOff) {
  EXPECT_EQ(Answer("250 ok").first, 250) << "a piece of a line is the line";
  EXPECT_EQ(Answer("250 ok", kStatusStandardMode).first, 0);
  EXPECT_FALSE(connected_);
  EXPECT_EQ(Answer("", 0).first, 0);
  EXPECT_FALSE(connected_);
}

TEST_F(SmtpReplyTest, AfterAReplyThatDidNotComeNoneIsBelieved) {
  Mailer mailer(0, SmtpDeviating({"RCPT 1 delay 1000"}));
  mailer.ExpectSilence();
  EXPECT_EQ(mailer.client.OpenResource("slow@example.org", 2), 0);
  EXPECT_EQ(mailer.client.RecipientReply(), 0);
  EXPECT_EQ(mailer.client.Status() & kStatusConnected, 0u);
  mailer.ExpectSilence(test::kPatience);
  // The late 250 must not pass for the answer to another command.
  EXPECT_EQ(mailer.client.OpenResource("next@example.org", 2), 0);
  EXPECT_EQ(mailer.client.StartData(), 0);
  EXPECT_EQ(mailer.client.Abort(), 0);
  EXPECT_EQ(mailer.Connect(), 1);
  EXPECT_EQ(mailer.Send("next@example.org", "body"), 1);
}

TEST_F(SmtpReplyTest, TheServersFarewellEndsTheConnection) {
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    Mailer mailer(mode, SmtpDeviating({"RCPT 2 reply \"421 closing\\r\\n\" drop 100"}));
    mailer.client.From("board@example.org");
    EXPECT_EQ(mailer.client.OpenResource("one@example.org", 2), 1);
    EXPECT_EQ(mailer.client.OpenResource("two@example.org", 2), 0);
    EXPECT_EQ(mailer.client.RecipientReply(), 421);
    EXPECT_EQ(mailer.client.Status() & 9, 0u);
    EXPECT_EQ(mailer.client.OpenResource("three@example.org", 2), 0);
    EXPECT_EQ(mailer.client.RecipientReply(), 0);
    EXPECT_EQ(mailer.client.StartData(), 0);
    EXPECT_EQ(mailer.Connect(), 1);
    EXPECT_EQ(mailer.Send("three@example.org", "body"), 1);
  }
}

}  // namespace
