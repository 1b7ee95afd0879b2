// The POP3 client against a server that keeps to the rules, and against its single replies.
#include "net_fixture.h"

#include <array>

namespace {

using test::History;
using test::Mailbox;
using test::ParseDeviation;
using test::Pop3Options;
using test::RawMessage;
using test::ReadAll;
using test::Stopwatch;

constexpr char kMail[] =
    "From: Ann <ann@example.org>\nTo: board@example.org\nReply-To: ann2@example.org\n"
    "Cc: c@example.org\nSubject: First\nContent-Type: text/plain\nMessage-ID: <1@example.org>\n"
    "BBS: My Board\nDate: Tue, 2 Jun 1998 10:20:30 GMT\nX-Other: x\n\nbody\n";

Pop3Options Deviating(const std::vector<std::string>& texts) {
  Pop3Options options;
  options.lastRead = 0;
  for (const std::string& text : texts) options.deviations.push_back(ParseDeviation(text));
  return options;
}

std::string Transcript(Mailbox<TPOP3>& mailbox) {
  mailbox.client.Disconnect();
  EXPECT_TRUE(mailbox.server.Server().WaitUntilFinished(1));
  return mailbox.server.Transcript();
}

class Pop3Test : public test::NetTest {
 protected:
  const History history_;
};

TEST_F(Pop3Test, NewObjectIsEmpty) {
  TPOP3 client;
  EXPECT_EQ(client.From(), nullptr);
  EXPECT_EQ(client.Bbs(), nullptr);
  EXPECT_EQ(client.CurrentMessage(), 0);
  EXPECT_EQ(client.LastRead(), 0);
  EXPECT_EQ(client.MessageCount(), 0);
  EXPECT_STREQ(client.GetDescription(), "");
  EXPECT_STREQ(client.ProtocolName(), "POP3");
  EXPECT_EQ(client.DefaultPort(), 110);
  EXPECT_EQ(client.Close(), 1);
}

TEST_F(Pop3Test, LogsInAndAsksForTheNumbers) {
  Mailbox<TPOP3> mailbox({kMail, kMail}, 0, Deviating({"LAST * reply \"+OK 1\\r\\n\""}));
  EXPECT_EQ(mailbox.connected, 1);
  EXPECT_EQ(mailbox.client.MessageCount(), 2);
  EXPECT_EQ(mailbox.client.LastRead(), 1);
  EXPECT_EQ(Transcript(mailbox), "USER user\r\nPASS secret\r\nSTAT\r\nLAST\r\nQUIT\r\n");
  EXPECT_TRUE(History::Lines().empty());
}

TEST_F(Pop3Test, StatReplyIsReadUpToItsFirstNumber) {
  Mailbox<TPOP3> mailbox({}, 0, Deviating({"STAT * reply \"+OK 3 1200\\r\\n\""}));
  EXPECT_EQ(mailbox.client.MessageCount(), 3);
}

TEST_F(Pop3Test, NumbersWrapAndTextLeavesThemAlone) {
  Mailbox<TPOP3> mailbox(
      {}, 0,
      Deviating({"STAT * reply \"+OK 99999999999\\r\\n\"", "LAST * reply \"+OK none\\r\\n\""}));
  EXPECT_EQ(mailbox.client.MessageCount(), 1215752191);
  EXPECT_EQ(mailbox.client.LastRead(), 0);
}

TEST_F(Pop3Test, RefusedStatAndLastDoNotFailTheLoginAndAreNotReported) {
  Mailbox<TPOP3> mailbox(
      {kMail}, 0, Deviating({"STAT * reply \"-ERR no\\r\\n\"", "LAST * reply \"-ERR no\\r\\n\""}));
  EXPECT_EQ(mailbox.connected, 1);
  EXPECT_EQ(mailbox.client.MessageCount(), 0);
  EXPECT_EQ(mailbox.client.LastRead(), 0);
  EXPECT_TRUE(History::Lines().empty());
}

TEST_F(Pop3Test, ARefusedGreetingIsReportedAndNothingIsSent) {
  Mailbox<TPOP3> mailbox({}, 0, Deviating({"GREETING * reply \"-ERR busy now\\r\\n\""}));
  EXPECT_EQ(mailbox.connected, 0);
  EXPECT_EQ(History::Lines(), std::vector<std::string>{"busy now (POP3)"});
  EXPECT_EQ(mailbox.client.Status() & kStatusConnected, DWORD{kStatusConnected});
  EXPECT_EQ(Transcript(mailbox), "QUIT\r\n");
}

TEST_F(Pop3Test, ARefusedUserIsReported) {
  Mailbox<TPOP3> mailbox({}, 0, Deviating({"USER * reply \"-ERR who?\\r\\n\""}));
  EXPECT_EQ(mailbox.connected, 0);
  EXPECT_EQ(History::Lines(), std::vector<std::string>{"who? (POP3)"});
  EXPECT_EQ(Transcript(mailbox), "USER user\r\nQUIT\r\n");
}

TEST_F(Pop3Test, ARefusedPasswordIsReportedWithTheServersTextOnly) {
  Mailbox<TPOP3> mailbox({}, 0, Deviating({"PASS * reply \"-ERR\\r\\n\""}));
  EXPECT_EQ(mailbox.connected, 0);
  EXPECT_EQ(History::Lines(), std::vector<std::string>{"-ERR (POP3)"});
}

TEST_F(Pop3Test, AnyOtherReplyFailsWithoutAReport) {
  Mailbox<TPOP3> mailbox({}, 0, Deviating({"USER * reply \"hello\\r\\n\""}));
  EXPECT_EQ(mailbox.connected, 0);
  EXPECT_TRUE(History::Lines().empty());
}

TEST_F(Pop3Test, ANullAccountFailsBeforeAnythingIsSent) {
  test::Pop3Server server({});
  TPOP3 client;
  client.SetTimeout(test::kPatience);
  const TSecurityInfos security(nullptr, "pw");
  EXPECT_EQ(client.Connect("127.0.0.1", security, server.Port()), 0);
  client.Disconnect();
  ASSERT_TRUE(server.Server().WaitUntilFinished(1));
  EXPECT_EQ(server.Transcript(), "QUIT\r\n");
}

TEST_F(Pop3Test, CredentialsWithALineEndAreRefusedWithoutAWait) {
  test::Pop3Server server({});
  for (const char* account : {"joe\r\nDELE 1", "joe\n", "jo\re"}) {
    TPOP3 client;
    client.SetTimeout(test::kPatience);
    const Stopwatch watch;
    const TSecurityInfos security(account, "pw");
    EXPECT_EQ(client.Connect("127.0.0.1", security, server.Port()), 0);
    const TSecurityInfos other("joe", "pw\r\nDELE 1");
    EXPECT_EQ(client.Connect("127.0.0.1", other, server.Port()), 0);
    EXPECT_LT(watch.Milliseconds(), test::kNoHang);
  }
  EXPECT_EQ(server.Transcript().find("DELE"), std::string::npos);
  EXPECT_EQ(server.Transcript().find("PASS"), std::string::npos);
}

TEST_F(Pop3Test, ResponseTextIsWhatFollowsTheFirstSpaceCutToTheBuffer) {
  Mailbox<TPOP3> mailbox({}, 0,
                         Deviating({"NOOP 1 reply \"+OK one two\\r\\n\"",
                                    "NOOP 2 reply \"+OK\\r\\n\"", "NOOP 3 reply \"\\r\\n\""}));
  std::array<char, 8> text;
  text.fill('#');
  mailbox.client.SendCommand("NOOP", nullptr);
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 5, 1), 1);
  EXPECT_STREQ(text.data(), "one ");
  EXPECT_EQ(text[5], '#');
  mailbox.client.SendCommand("NOOP", nullptr);
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 5, 1), 1);
  EXPECT_STREQ(text.data(), "");
  mailbox.client.SendCommand("NOOP", nullptr);
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 5, 1), 0);
  EXPECT_TRUE(History::Lines().empty());
}

TEST_F(Pop3Test, AReplyLineIsReadUpTo255Characters) {
  const std::string rest(300, 'x');
  Mailbox<TPOP3> mailbox({}, 0, Deviating({"NOOP 1 reply \"+OK " + rest + "\\r\\n\""}));
  std::array<char, 512> text;
  mailbox.client.SendCommand("NOOP", nullptr);
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 512, 1), 1);
  EXPECT_EQ(std::string(text.data()).size(), 251U);
  // What is left of it is taken for the next reply.
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 512, 1), 0);
}

TEST_F(Pop3Test, StandardModeTakesAnOverlongReplyLineWhole) {
  const std::string rest(5000, 'x');
  Mailbox<TPOP3> mailbox({}, kStatusStandardMode,
                         Deviating({"NOOP 1 reply \"+OK " + rest + "\\r\\n\""}));
  std::array<char, 512> text;
  mailbox.client.SendCommand("NOOP", nullptr);
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 512, 1), 1);
  mailbox.client.SendCommand("STAT", nullptr);
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 512, 1), 1);
  EXPECT_STREQ(text.data(), "0 0");
}

TEST_F(Pop3Test, WalkFetchesHeadersAndStoresEveryField) {
  Mailbox<TPOP3> mailbox({kMail, "Subject: Second\n\nx\n"});
  TPOP3& client = mailbox.client;
  ASSERT_EQ(client.GetFirst(), 1);
  EXPECT_EQ(client.CurrentMessage(), 1);
  EXPECT_STREQ(client.From(), "Ann <ann@example.org>");
  EXPECT_STREQ(client.To(), "board@example.org");
  EXPECT_STREQ(client.ReplyTo(), "ann2@example.org");
  EXPECT_STREQ(client.Cc(), "c@example.org");
  EXPECT_STREQ(client.Subject(), "First");
  EXPECT_STREQ(client.ContentType(), "text/plain");
  EXPECT_STREQ(client.MessageId(), "<1@example.org>");
  EXPECT_STREQ(client.Bbs(), "My Board");
  EXPECT_STREQ(client.GetDescription(), "text/plain");
  EXPECT_EQ(client.ResourceTime(), TTime(1998, 6, 2, 10, 20, 30));
  ASSERT_EQ(client.GetNext(), 1);
  EXPECT_EQ(client.CurrentMessage(), 2);
  EXPECT_STREQ(client.Subject(), "Second");
  EXPECT_EQ(client.From(), nullptr);
  EXPECT_EQ(client.GetNext(), 0);
  EXPECT_TRUE(History::Lines().empty()) << "probing past the end is not reported";
  EXPECT_EQ(
      Transcript(mailbox),
      "USER user\r\nPASS secret\r\nSTAT\r\nLAST\r\nTOP 1 0\r\nTOP 2 0\r\nTOP 3 0\r\nQUIT\r\n");
}

TEST_F(Pop3Test, AMailWithoutADateGetsTheCurrentTime) {
  Mailbox<TPOP3> mailbox({kMail, "Subject: Second\n\nx\n"});
  mailbox.client.GetFirst();
  mailbox.client.GetNext();
  const auto now = TTime::Now().UnixSeconds();
  EXPECT_NEAR(static_cast<double>(mailbox.client.ResourceTime().UnixSeconds()),
              static_cast<double>(now), 5);
  mailbox.client.GetFirst();
  EXPECT_EQ(mailbox.client.ResourceTime().Year(), 1998);
  mailbox.client.OpenResource("2", 1);
  EXPECT_NEAR(static_cast<double>(mailbox.client.ResourceTime().UnixSeconds()),
              static_cast<double>(now), 5);
}

TEST_F(Pop3Test, ARefusedTopWithinTheCountIsReported) {
  Mailbox<TPOP3> mailbox({kMail}, 0, Deviating({"TOP * reply \"-ERR no top\\r\\n\""}));
  EXPECT_EQ(mailbox.client.GetFirst(), 0);
  EXPECT_EQ(History::Lines(), std::vector<std::string>{"no top (POP3)"});
  EXPECT_EQ(mailbox.client.GetNext(), 0);
  EXPECT_EQ(History::Lines().size(), 1U);
}

TEST_F(Pop3Test, GetFirstNewGoesOnBehindTheLastRead) {
  Mailbox<TPOP3> mailbox({"Subject: 1\n\n", "Subject: 2\n\n", "Subject: 3\n\n"}, 0,
                         Deviating({"LAST * reply \"+OK 2\\r\\n\""}));
  EXPECT_EQ(mailbox.client.GetFirstNew(), 1);
  EXPECT_EQ(mailbox.client.CurrentMessage(), 3);
  EXPECT_STREQ(mailbox.client.Subject(), "3");
}

TEST_F(Pop3Test, GetFirstNewStartsAtOneWhenLastIsRefused) {
  Mailbox<TPOP3> mailbox({"Subject: 1\n\n"});
  EXPECT_EQ(mailbox.client.GetFirstNew(), 1);
  EXPECT_EQ(mailbox.client.CurrentMessage(), 1);
}

TEST_F(Pop3Test, TheLargestLastNumberWraps) {
  Mailbox<TPOP3> mailbox({"Subject: 1\n\n"}, 0,
                         Deviating({"LAST * reply \"+OK 2147483647\\r\\n\""}));
  EXPECT_EQ(mailbox.client.GetFirstNew(), 0);
  EXPECT_EQ(mailbox.client.CurrentMessage(), -2147483647 - 1);
}

TEST_F(Pop3Test, VerifyMessageIndexComparesTheIdentifierExactly) {
  Mailbox<TPOP3> mailbox({kMail, "Subject: none\n\n"});
  TPOP3& client = mailbox.client;
  EXPECT_EQ(client.VerifyMessageIndex(1, "<1@example.org>"), 1);
  EXPECT_EQ(client.VerifyMessageIndex(1, "<1@EXAMPLE.org>"), 0);
  EXPECT_EQ(client.VerifyMessageIndex(2, ""), 1);
  EXPECT_EQ(client.VerifyMessageIndex(2, "<1@example.org>"), 0);
  EXPECT_EQ(client.VerifyMessageIndex(3, ""), 0);
  EXPECT_EQ(client.CurrentMessage(), 0);
}

TEST_F(Pop3Test, DeletionsCountFromQuitOn) {
  Mailbox<TPOP3> mailbox({"Subject: 1\n\n", "Subject: 2\n\n", "Subject: 3\n\n"});
  ASSERT_EQ(mailbox.client.GetFirst(), 1);
  EXPECT_EQ(mailbox.client.DeleteCurrent(), 1);
  EXPECT_EQ(mailbox.client.DeleteByNumber(3), 1);
  EXPECT_EQ(mailbox.client.DeleteCurrent(), 0);
  EXPECT_EQ(History::Lines(), std::vector<std::string>{"no such message (POP3)"});
  EXPECT_EQ(mailbox.server.Messages().size(), 3U);
  Transcript(mailbox);
  EXPECT_EQ(mailbox.server.Messages(), std::vector<std::string>{"Subject: 2\n\n"});
}

TEST_F(Pop3Test, ResetTakesTheMarksBack) {
  Mailbox<TPOP3> mailbox({"Subject: 1\n\n"});
  EXPECT_EQ(mailbox.client.DeleteByNumber(1), 1);
  EXPECT_EQ(mailbox.client.ResetMarks(), 1);
  Transcript(mailbox);
  EXPECT_EQ(mailbox.server.Messages().size(), 1U);
}

TEST_F(Pop3Test, DestructionSendsNoQuit) {
  test::Pop3Server server({"Subject: 1\n\n"});
  {
    TPOP3 client;
    client.SetTimeout(test::kPatience);
    const TSecurityInfos security("u", "p");
    ASSERT_EQ(client.Connect("127.0.0.1", security, server.Port()), 1);
    client.DeleteByNumber(1);
  }
  ASSERT_TRUE(server.Server().WaitUntilFinished(1));
  EXPECT_EQ(server.Transcript().find("QUIT"), std::string::npos);
  EXPECT_EQ(server.Messages().size(), 1U);
}

TEST_F(Pop3Test, OpeningNeedsModeOne) {
  Mailbox<TPOP3> mailbox({kMail});
  mailbox.client.GetFirst();
  EXPECT_EQ(mailbox.client.OpenCurrent(2), 0);
  EXPECT_EQ(mailbox.client.Subject(), nullptr) << "the header texts are cleared all the same";
  EXPECT_EQ(mailbox.client.OpenResource("1", 0), 0);
  EXPECT_EQ(mailbox.client.OpenResource(nullptr, 1), 0);
  EXPECT_EQ(mailbox.server.Transcript().find("RETR"), std::string::npos);
}

TEST_F(Pop3Test, OpeningARefusedMessageFailsAndIsReported) {
  Mailbox<TPOP3> mailbox({kMail});
  EXPECT_EQ(mailbox.client.OpenResource("9", 1), 0);
  EXPECT_EQ(History::Lines(), std::vector<std::string>{"no such message (POP3)"});
  EXPECT_EQ(mailbox.client.Status(), DWORD{kStatusConnected});
}

TEST_F(Pop3Test, OpenCurrentReadsTheHeaderAndSetsTheOpenBit) {
  Mailbox<TPOP3> mailbox({kMail});
  mailbox.client.GetFirst();
  ASSERT_EQ(mailbox.client.OpenCurrent(1), 1);
  EXPECT_STREQ(mailbox.client.Subject(), "First");
  EXPECT_EQ(mailbox.client.Status(), DWORD{kStatusConnected | kStatusResourceOpen});
  EXPECT_NE(mailbox.server.Transcript().find("RETR 1\r\n"), std::string::npos);
}

TEST_F(Pop3Test, ReadGivesLinesUntilTheEmptyLineBeforeTheDot) {
  Pop3Options options;
  options.emptyLineBeforeDot = true;
  Mailbox<TPOP3> mailbox({"Subject: s\n\none\n\ntwo\n"}, 0, options);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  std::array<char, 64> line{};
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 5);
  EXPECT_STREQ(line.data(), "one\r\n");
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 2);
  EXPECT_STREQ(line.data(), "\r\n");
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 5);
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
  EXPECT_TRUE(mailbox.client.AtMessageEnd());
  EXPECT_EQ(mailbox.client.GetTransferred(), 12U);
  EXPECT_EQ(mailbox.client.DeleteByNumber(1), 1) << "the stream stands at the next reply";
}

TEST_F(Pop3Test, ReadsPastTheEndGiveZeroAtOnce) {
  Pop3Options options;
  options.emptyLineBeforeDot = true;
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    Mailbox<TPOP3> mailbox({"Subject: s\n\none\n"}, mode, options);
    ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
    ReadAll(mailbox.client);
    const DWORD status = mailbox.client.Status();
    const Stopwatch watch;
    std::array<char, 64> line{};
    for (int i = 0; i < 3; ++i) EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
    EXPECT_LT(watch.Milliseconds(), test::kNoHang);
    EXPECT_EQ(mailbox.client.Status(), status);
    EXPECT_EQ(status & 9, 9U);
  }
}

TEST_F(Pop3Test, ALineOfOneSpaceBecomesAnEmptyLine) {
  Mailbox<TPOP3> mailbox({}, 0, RawMessage("S: s\r\n\r\n \r\n  \r\n\r\n.\r\n"));
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  std::array<char, 64> line{};
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 2);
  EXPECT_STREQ(line.data(), "\r\n");
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 4);
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
}

TEST_F(Pop3Test, AnySecondLineBeginningWithADotEndsTheMessage) {
  Mailbox<TPOP3> mailbox({}, 0, RawMessage("S: s\r\n\r\na\r\n\r\n..b\r\n"));
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "a\r\n");
  EXPECT_TRUE(mailbox.client.AtMessageEnd());
}

TEST_F(Pop3Test, TheLineOfTheEndMarkIsReadUpToSevenCharactersAndLosesOne) {
  Mailbox<TPOP3> mailbox({}, 0, RawMessage("S: s\r\n\r\na\r\n\r\n.234567x+OK rest\r\n"));
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "a\r\n");
  std::array<char, 16> text;
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 16, 1), 1);
  EXPECT_STREQ(text.data(), "rest");
}

TEST_F(Pop3Test, ADotThatFollowsTextIsDataAndTheNextReadWaits) {
  Mailbox<TPOP3> mailbox({"Subject: s\n\none\n"});
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  std::array<char, 64> line{};
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 5);
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 3);
  EXPECT_STREQ(line.data(), ".\r\n");
  mailbox.ExpectSilence();
  const Stopwatch watch;
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
  EXPECT_GE(watch.Milliseconds(), static_cast<long>(test::kShortTimeout) - 30);
  // The time-out behind a single dot is the end of the message, not a failure.
  EXPECT_EQ(mailbox.client.Status(), DWORD{kStatusConnected | kStatusResourceOpen});
  EXPECT_TRUE(mailbox.client.AtMessageEnd());
  mailbox.client.SetTimeout(test::kPatience);
  EXPECT_EQ(mailbox.client.DeleteByNumber(1), 1);
}

TEST_F(Pop3Test, DoubledDotsStay) {
  Mailbox<TPOP3> mailbox({}, 0, RawMessage("S: s\r\n\r\n..a\r\n\r\n.\r\n"));
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "..a\r\n");
}

TEST_F(Pop3Test, ATimeoutInsideAMessageIsAFailure) {
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    Mailbox<TPOP3> mailbox({}, mode, RawMessage("S: s\r\n\r\nhalf a line"));
    ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
    mailbox.ExpectSilence();
    std::array<char, 64> line{};
    EXPECT_EQ(mailbox.client.Read(line.data(), 64), 11) << "what came of the line";
    EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
    EXPECT_EQ(mailbox.client.Status() & 9, 0U);
    EXPECT_FALSE(mailbox.client.AtMessageEnd());
  }
}

TEST_F(Pop3Test, AClosedConnectionBehindADotIsAFailure) {
  Pop3Options options = RawMessage("S: s\r\n\r\na\r\n.\r\n");
  options.deviations[0].dropAfter = 1000;
  Mailbox<TPOP3> mailbox({}, 0, options);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "a\r\n.\r\n");
  EXPECT_EQ(mailbox.client.Status() & 9, 0U);
}

TEST_F(Pop3Test, AnInterruptBehindADotIsAFailure) {
  Mailbox<TPOP3> mailbox({"Subject: s\n\none\n"});
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  std::array<char, 64> line{};
  mailbox.client.Read(line.data(), 64);
  mailbox.client.Read(line.data(), 64);
  const std::atomic<int> flag{0};
  mailbox.client.SetContinueFlag(&flag);
  EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
  EXPECT_EQ(mailbox.client.Status() & 9, 0U);
}

TEST_F(Pop3Test, FinishMessageDropsTheRest) {
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    Pop3Options options;
    options.emptyLineBeforeDot = true;
    Mailbox<TPOP3> mailbox({"Subject: s\n\n" + std::string(100000, 'x') + "\nend\n"}, mode,
                           options);
    ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
    EXPECT_EQ(mailbox.client.FinishMessage(), 1);
    EXPECT_EQ(mailbox.client.FinishMessage(), 1);
    EXPECT_EQ(mailbox.client.DeleteByNumber(1), 1);
  }
}

TEST_F(Pop3Test, QuitAfterAnAbortStillDeletes) {
  Mailbox<TPOP3> mailbox({"Subject: 1\n\n", "Subject: 2\n\n" + std::string(3000, 'x') + "\n"},
                         kStatusStandardMode);
  ASSERT_EQ(mailbox.client.DeleteByNumber(1), 1);
  ASSERT_EQ(mailbox.client.OpenResource("2", 1), 1);
  std::atomic<int> flag{0};
  mailbox.client.SetContinueFlag(&flag);
  const Stopwatch watch;
  EXPECT_EQ(mailbox.client.Disconnect(), 1);
  EXPECT_LT(watch.Milliseconds(), test::kAbortBound);
  ASSERT_TRUE(mailbox.server.Server().WaitUntilFinished(1));
  EXPECT_EQ(mailbox.server.Messages().size(), 1U);
  EXPECT_EQ(mailbox.client.Status() & 9, 0U);
}

TEST_F(Pop3Test, StandardModeEndsAtTheDotWhereverItStands) {
  Mailbox<TPOP3> mailbox({"Subject: s\n\none\n", "Subject: s\n\none\n\n", "Subject: s\n\n"},
                         kStatusStandardMode);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "one\r\n");
  ASSERT_EQ(mailbox.client.OpenResource("2", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "one\r\n\r\n");
  ASSERT_EQ(mailbox.client.OpenResource("3", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "");
  EXPECT_EQ(mailbox.client.Status() & 9, 9U);
}

TEST_F(Pop3Test, WhatStandsBehindTheEndMarkIsTheNextReplys) {
  for (const char* mark : {".\\n", ".\\r\\n"}) {
    Mailbox<TPOP3> mailbox({}, kStatusStandardMode,
                           Deviating({"RETR 1 reply \"+OK\\r\\nSubject: s\\r\\n\\r\\none\\n" +
                                      std::string(mark) + "+OK gone\\r\\n\""}));
    ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
    EXPECT_EQ(ReadAll(mailbox.client), "one\n");
    EXPECT_EQ(mailbox.client.GetResponse(nullptr, 0, 1), 1) << mark;
  }
}

TEST_F(Pop3Test, StandardModeUndoesDoubledDots) {
  const std::string body = ".one\n..two\n\n.\n. three\n";
  Mailbox<TPOP3> mailbox({"Subject: s\n\n" + body}, kStatusStandardMode);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), ".one\r\n..two\r\n\r\n.\r\n. three\r\n");
}

TEST_F(Pop3Test, StandardModeKeepsALineOfOneSpace) {
  Mailbox<TPOP3> mailbox({"Subject: s\n\n \nx\n"}, kStatusStandardMode);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), " \r\nx\r\n");
}

TEST_F(Pop3Test, StandardModeLosesNothingOfLongLines) {
  std::string body;
  for (int i = 0; i < 3000; ++i) body += static_cast<char>('.' + i % 60);
  Mailbox<TPOP3> mailbox({"Subject: s\n\n" + body + "\n"}, kStatusStandardMode);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client, 30), body + "\r\n");
}

TEST_F(Pop3Test, StandardModeWithoutABody) {
  Mailbox<TPOP3> mailbox({}, kStatusStandardMode, RawMessage("Subject: only\r\n.\r\n"));
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_STREQ(mailbox.client.Subject(), "only");
  EXPECT_EQ(ReadAll(mailbox.client), "");
  EXPECT_EQ(mailbox.client.Status() & 9, 9U);
}

TEST_F(Pop3Test, StandardModeACutOffDotIsAFailure) {
  Pop3Options options = RawMessage("S: s\r\n\r\na\r\n.");
  options.deviations[0].dropAfter = 1000;
  Mailbox<TPOP3> mailbox({}, kStatusStandardMode, options);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "a\r\n");
  EXPECT_EQ(mailbox.client.Status() & 9, 0U);
}

TEST_F(Pop3Test, StandardModeWalksHeadersOfAnyServer) {
  for (const bool old : {false, true}) {
    Pop3Options options;
    options.emptyLineBeforeDot = old;
    Mailbox<TPOP3> mailbox({"Subject: 1\n\n.\nx\n", "Subject: 2\n\n"}, kStatusStandardMode,
                           options);
    EXPECT_EQ(mailbox.client.GetFirst(), 1);
    EXPECT_STREQ(mailbox.client.Subject(), "1");
    EXPECT_EQ(mailbox.client.GetNext(), 1);
    EXPECT_STREQ(mailbox.client.Subject(), "2");
    EXPECT_EQ(mailbox.client.GetNext(), 0);
  }
}

TEST_F(Pop3Test, ARefusedMessageLeavesNothingToRead) {
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    Mailbox<TPOP3> mailbox({kMail}, mode);
    std::array<char, 64> line{};
    const Stopwatch watch;
    EXPECT_EQ(mailbox.client.OpenResource("9", 1), 0);
    EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
    EXPECT_EQ(mailbox.client.FinishMessage(), 1);
    EXPECT_EQ(mailbox.client.GetInfo(9), 0);
    EXPECT_EQ(mailbox.client.Read(line.data(), 64), 0);
    EXPECT_LT(watch.Milliseconds(), test::kNoHang);
    EXPECT_EQ(mailbox.client.Status() & 9, DWORD{kStatusConnected});
    EXPECT_EQ(mailbox.client.DeleteByNumber(1), 1) << "the connection is as good as before";
  }
}

TEST_F(Pop3Test, StandardModeGivesUpAReplyWithoutEnd) {
  Mailbox<TPOP3> mailbox({}, kStatusStandardMode, Deviating({"NOOP 1 flood 2000000000 \"+x\""}));
  mailbox.client.SendCommand("NOOP", nullptr);
  EXPECT_EQ(mailbox.client.GetResponse(nullptr, 0, 1), 0);
  EXPECT_EQ(mailbox.client.Status() & 9, 0U);
}

TEST_F(Pop3Test, StandardModeTakesExactlyTheReplyWhateverItsLength) {
  for (const int length : {1021, 1022, 1023, 1024, 1278, 1279}) {
    for (const char* end : {"\\n", "\\r\\n"}) {
      const std::string reply = "+OK " + std::string(static_cast<std::size_t>(length) - 4, 'x');
      Mailbox<TPOP3> mailbox({}, kStatusStandardMode,
                             Deviating({"NOOP 1 reply \"" + reply + end + "\""}));
      std::array<char, 64> text;
      mailbox.client.SendCommand("NOOP", nullptr);
      EXPECT_EQ(mailbox.client.GetResponse(text.data(), 64, 1), 1);
      mailbox.client.SendCommand("STAT", nullptr);
      EXPECT_EQ(mailbox.client.GetResponse(text.data(), 64, 1), 1);
      EXPECT_STREQ(text.data(), "0 0") << length << end;
    }
  }
}

TEST_F(Pop3Test, StandardModeAReplyThatIsCutOffIsAFailure) {
  Mailbox<TPOP3> mailbox({}, kStatusStandardMode, Deviating({"NOOP 1 reply \"+OK half\" drop 99"}));
  mailbox.client.SendCommand("NOOP", nullptr);
  EXPECT_EQ(mailbox.client.GetResponse(nullptr, 0, 1), 0);
  EXPECT_EQ(mailbox.client.Status() & 9, 0U);
}

TEST_F(Pop3Test, APieceOfAReplyIsTheReply) {
  Mailbox<TPOP3> mailbox({}, 0, Deviating({"NOOP 1 reply \"+OK half\" drop 99"}));
  mailbox.client.SendCommand("NOOP", nullptr);
  std::array<char, 64> text;
  EXPECT_EQ(mailbox.client.GetResponse(text.data(), 64, 1), 1);
  EXPECT_STREQ(text.data(), "half");
}

}  // namespace
