// The SMTP client without standard mode: the exact bytes of every command and header form.
#include "smtp_fixture.h"
#include "support/temporary_directory.h"

#include <array>
#include <string_view>
#include <type_traits>

namespace {

using test::Mailer;
using test::SmtpDeviating;
using test::SmtpMail;
using test::SmtpOptions;

using Texts = std::vector<std::string>;

// A server whose every reply to a command is the given one.
SmtpOptions Replying(const std::string& command, const std::string& reply) {
  return SmtpDeviating({command + " * reply \"" + reply + "\\r\\n\""});
}

class SmtpTest : public test::NetTest {};

TEST_F(SmtpTest, NewObjectIsEmpty) {
  TSMTP client;
  EXPECT_STREQ(client.ProtocolName(), "SMTP");
  EXPECT_EQ(client.DefaultPort(), 25);
  EXPECT_EQ(client.Status(), 0u);
  EXPECT_FALSE(client.SenderAccepted());
  EXPECT_FALSE(client.DataStarted());
  EXPECT_EQ(client.RecipientReply(), 0);
  EXPECT_STREQ(client.GetDescription(), "SMTP");
}

TEST_F(SmtpTest, ConnectReadsTheGreetingAndSaysHeloWithItsOwnAddress) {
  Mailer mailer;
  EXPECT_EQ(mailer.connected, 1);
  EXPECT_EQ(mailer.client.Status(), DWORD{kStatusConnected});
  mailer.client.Disconnect();
  ASSERT_TRUE(mailer.server.Server().WaitUntilFinished(1));
  EXPECT_EQ(mailer.server.Transcript(), "Helo 127.0.0.1\r\nQUIT\r\n");
}

// A client whose own port is the test server's.
class HighPortClient : public TSMTP {
 public:
  explicit HighPortClient(WORD port) : port_(port) {}
  WORD DefaultPort() override { return port_; }

 private:
  WORD port_;
};

TEST_F(SmtpTest, Port65535IsTheDefaultPort) {
  const test::SmtpServer server;
  HighPortClient client(server.Port());
  EXPECT_EQ(client.Connect("127.0.0.1", static_cast<short>(kDefaultProtocolPort)), 1);
  EXPECT_EQ(client.Connect("127.0.0.1", -1), 1);
}

TEST_F(SmtpTest, AnotherGreetingThan220FailsAndTheSocketStaysConnected) {
  for (const char* greeting : {"554 no", "250 ok", "421 busy", "hello"}) {
    Mailer mailer(0, Replying("GREETING", greeting));
    EXPECT_EQ(mailer.connected, 0) << greeting;
    EXPECT_EQ(mailer.server.Server().Finished(), 0) << greeting;
    mailer.client.Disconnect();
    ASSERT_TRUE(mailer.server.Server().WaitUntilFinished(1));
    EXPECT_EQ(mailer.server.Transcript(), "QUIT\r\n") << greeting;
  }
}

TEST_F(SmtpTest, AfterARefusedGreetingTheStatusSaysConnected) {
  Mailer mailer(0, Replying("GREETING", "554 no"));
  EXPECT_EQ(mailer.client.Status(), DWORD{kStatusConnected});
  mailer.client.Disconnect();
  EXPECT_EQ(mailer.client.Status(), 0u);
}

TEST_F(SmtpTest, HeloMustBeAnsweredWith250) {
  for (const char* reply : {"500 what", "220 ok", "251 ok", "2500"}) {
    Mailer mailer(0, Replying("HELO", reply));
    EXPECT_EQ(mailer.connected, std::string_view(reply) == "2500" ? 1 : 0) << reply;
  }
}

TEST_F(SmtpTest, TheSecondLineOfAGreetingIsTheReplyToHelo) {
  Mailer mailer(0, SmtpDeviating({"GREETING * reply \"220-one\\r\\n220 two\\r\\n\""}));
  EXPECT_EQ(mailer.connected, 0);
  EXPECT_EQ(mailer.client.Status(), DWORD{kStatusConnected});
  EXPECT_EQ(mailer.client.GetResponse(nullptr, 0), 250) << "the reply to Helo comes next";
}

TEST_F(SmtpTest, AMessageByteForByte) {
  Mailer mailer;
  mailer.client.From("\"Ann\"<ann@example.org>");
  mailer.client.BBS("My Board");
  mailer.client.ReplyTo("reply@example.org");
  mailer.client.Subject("A subject");
  EXPECT_EQ(mailer.client.OpenResource("bob@example.org", 2), 1);
  EXPECT_EQ(mailer.client.OpenResource("cleo@example.org", 2), 1);
  EXPECT_EQ(mailer.client.Status(), DWORD{kStatusConnected | kStatusResourceOpen});
  EXPECT_EQ(mailer.client.Write("body", 4), 4);
  EXPECT_EQ(mailer.client.WriteLine(" line"), 7);
  EXPECT_EQ(mailer.client.GetTransferred(), 11u);
  EXPECT_EQ(mailer.client.Close(), 1);
  EXPECT_EQ(mailer.client.Status(), DWORD{kStatusConnected});
  EXPECT_EQ(mailer.client.Disconnect(), 0);
  EXPECT_EQ(mailer.Sent(),
            "Mail From: \"Ann\"<ann@example.org>\r\nRcpt To: bob@example.org\r\n"
            "Rcpt To: cleo@example.org\r\nData\r\n"
            "Subject: A subject\r\nReply-to: reply@example.org\r\nBBS: My Board\r\n\r\n"
            "body line\r\n\r\n.\r\nQUIT\r\n");
}

TEST_F(SmtpTest, EachHeaderLineStandsAloneAndInTheFixedOrder) {
  using Setter = int (TSMTP::*)(const char*);
  struct Line {
    Setter set;
    const char* text;
  };
  const std::array<Line, 3> lines = {{{&TSMTP::Subject, "Subject: value\r\n"},
                                      {&TSMTP::ReplyTo, "Reply-to: value\r\n"},
                                      {&TSMTP::BBS, "BBS: value\r\n"}}};
  for (unsigned set = 1; set < 8; ++set) {
    Mailer mailer;
    std::string header;
    // Set backwards: the order of the calls does not count.
    for (unsigned i = 3; i-- > 0;) {
      if ((set >> i & 1U) == 0) continue;
      (mailer.client.*lines[i].set)("value");
      header.insert(0, lines[i].text);
    }
    EXPECT_EQ(mailer.Send("a@example.org", "body"), 1);
    ASSERT_EQ(mailer.server.Mails().size(), 1u);
    EXPECT_EQ(mailer.server.Mails()[0].raw, header + "\r\nbody\r\n");
  }
}

TEST_F(SmtpTest, WithoutHeaderTextsTheBodyFollowsAtOnce) {
  Mailer mailer;
  EXPECT_EQ(mailer.Send("a@example.org", "body\r\n"), 1);
  EXPECT_EQ(mailer.Sent(),
            "Mail From: anonymous\r\nRcpt To: a@example.org\r\nData\r\nbody\r\n\r\n.\r\nQUIT\r\n");
}

TEST_F(SmtpTest, AnEmptyHeaderTextIsALine) {
  Mailer mailer;
  mailer.client.Subject("");
  EXPECT_EQ(mailer.Send("a@example.org", "body"), 1);
  EXPECT_EQ(mailer.server.Mails()[0].raw, "Subject: \r\n\r\nbody\r\n");
}

TEST_F(SmtpTest, SendHeaderTellsWhetherALineWasSent) {
  Mailer mailer;
  EXPECT_EQ(mailer.client.SendHeader(), 0);
  mailer.client.BBS("tag");
  EXPECT_EQ(mailer.client.SendHeader(), 1);
  EXPECT_EQ(mailer.Sent(), "BBS: tag\r\nQUIT\r\n");
}

TEST_F(SmtpTest, FurtherHeaderLinesFollowTheThree) {
  Mailer mailer;
  EXPECT_EQ(mailer.client.AddHeader("X-One", "1"), 1);
  EXPECT_EQ(mailer.client.AddHeader("X-Two", "2,\r\n 3"), 1);
  mailer.client.BBS("tag");
  EXPECT_EQ(mailer.Send("a@example.org", "body"), 1);
  EXPECT_EQ(mailer.Send("a@example.org", "next"), 1);
  EXPECT_EQ(mailer.server.Mails()[0].raw,
            "BBS: tag\r\nX-One: 1\r\nX-Two: 2,\r\n 3\r\n\r\nbody\r\n");
  EXPECT_EQ(mailer.server.Mails()[1].raw, "next\r\n") << "they go with the message";
}

TEST_F(SmtpTest, AFieldsNameIsLettersDigitsAndHyphens) {
  TSMTP client;
  for (const char* name : {"", "X Y", "X:", "X\r\nY", "\x80", ".X"}) {
    EXPECT_EQ(client.AddHeader(name, "value"), 0) << name;
  }
  EXPECT_EQ(client.AddHeader(nullptr, "value"), 0);
  EXPECT_EQ(client.AddHeader("X", nullptr), 0);
}

// A client with a header of its own.
class HeaderClient : public TSMTP {
 public:
  int SendHeader() override {
    WriteLine("X-Own: 1");
    return TSMTP::SendHeader();
  }
};

TEST_F(SmtpTest, ADerivedClientAddsToTheHeader) {
  const test::SmtpServer server;
  HeaderClient client;
  ASSERT_EQ(client.Connect("127.0.0.1", static_cast<short>(server.Port())), 1);
  client.Subject("s");
  EXPECT_EQ(client.OpenResource("a@example.org", 2), 1);
  EXPECT_EQ(client.WriteLine("body"), 6);
  EXPECT_EQ(client.Close(), 1);
  EXPECT_EQ(server.Mails()[0].raw, "X-Own: 1\r\nSubject: s\r\n\r\nbody\r\n\r\n");
}

TEST_F(SmtpTest, OnlyTheModeForWritingOpens) {
  Mailer mailer;
  for (const int mode : {0, 1, 3, -2}) EXPECT_EQ(mailer.client.OpenResource("a@b", mode), 0);
  EXPECT_EQ(mailer.client.OpenResource(nullptr, 2), 0);
  EXPECT_EQ(mailer.Sent(), "QUIT\r\n");
}

TEST_F(SmtpTest, ARecipientIsAcceptedBy250And251Alone) {
  SmtpOptions options;
  options.recipientReplies = {
      {"a", "251 will forward"}, {"b", "550 no"}, {"c", "252 maybe"}, {"d", "450 later"}};
  Mailer mailer(0, options);
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.RecipientReply(), 251);
  EXPECT_EQ(mailer.client.OpenResource("b", 2), 0);
  EXPECT_EQ(mailer.client.RecipientReply(), 550);
  EXPECT_EQ(mailer.client.OpenResource("c", 2), 0);
  EXPECT_EQ(mailer.client.RecipientReply(), 252);
  EXPECT_EQ(mailer.client.OpenResource("d", 2), 0);
  EXPECT_EQ(mailer.client.OpenResource("e", 2), 1);
  EXPECT_EQ(mailer.client.RecipientReply(), 250);
  EXPECT_EQ(mailer.client.Write("x", 1), 1);
  EXPECT_EQ(mailer.client.Close(), 1);
  EXPECT_EQ(mailer.server.Mails()[0].recipients, (Texts{"a", "c", "e"}));
}

TEST_F(SmtpTest, ARefusedSenderIsTriedAgainWithTheNextRecipient) {
  Mailer mailer(0, SmtpDeviating({"MAIL 1 reply \"450 not now\\r\\n\""}));
  mailer.client.From("ann@example.org");
  EXPECT_EQ(mailer.client.OpenResource("a@example.org", 2), 0);
  EXPECT_FALSE(mailer.client.SenderAccepted());
  EXPECT_EQ(mailer.client.RecipientReply(), 503);
  EXPECT_EQ(mailer.client.OpenResource("b@example.org", 2), 1);
  EXPECT_TRUE(mailer.client.SenderAccepted());
  EXPECT_EQ(mailer.client.OpenResource("c@example.org", 2), 1);
  EXPECT_EQ(mailer.Sent(),
            "Mail From: ann@example.org\r\nRcpt To: a@example.org\r\n"
            "Mail From: ann@example.org\r\nRcpt To: b@example.org\r\n"
            "Rcpt To: c@example.org\r\nQUIT\r\n");
}

TEST_F(SmtpTest, TheSenderStaysAndTheHeaderTextsGoWithTheMessage) {
  Mailer mailer;
  mailer.client.From("ann@example.org");
  mailer.client.Subject("s");
  mailer.client.ReplyTo("r");
  mailer.client.BBS("b");
  EXPECT_EQ(mailer.Send("a", "one"), 1);
  EXPECT_EQ(mailer.Send("a", "two"), 1);
  const std::vector<SmtpMail> mails = mailer.server.Mails();
  ASSERT_EQ(mails.size(), 2u);
  EXPECT_EQ(mails[1].sender, "ann@example.org");
  EXPECT_EQ(mails[1].raw, "two\r\n");
}

TEST_F(SmtpTest, ALaterTextReplacesAnEarlierAndNullClears) {
  Mailer mailer;
  EXPECT_EQ(mailer.client.From("one"), 1);
  EXPECT_EQ(mailer.client.From("two"), 1);
  mailer.client.Subject("old");
  mailer.client.Subject("new");
  mailer.client.BBS("gone");
  mailer.client.BBS(nullptr);
  EXPECT_EQ(mailer.Send("a", "body"), 1);
  EXPECT_EQ(mailer.server.Mails()[0].sender, "two");
  EXPECT_EQ(mailer.server.Mails()[0].raw, "Subject: new\r\n\r\nbody\r\n");
  mailer.client.From(nullptr);
  EXPECT_EQ(mailer.Send("a", "body"), 1);
  EXPECT_EQ(mailer.server.Mails()[1].sender, "anonymous");
}

TEST_F(SmtpTest, TheFirstWriteSendsDataEvenWithoutARecipient) {
  Mailer mailer;
  EXPECT_EQ(mailer.client.Write("body\r\n", 6), 6);
  EXPECT_FALSE(mailer.client.DataStarted());
  EXPECT_EQ(mailer.client.Close(), 0);
  EXPECT_EQ(mailer.Sent(), "Data\r\nbody\r\n\r\n.\r\nQUIT\r\n");
}

TEST_F(SmtpTest, DataIsAskedForWithEachWriteUntil354Comes) {
  Mailer mailer(0, SmtpDeviating({"DATA 1 reply \"451 not yet\\r\\n\""}));
  mailer.client.Subject("s");
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.Write("NOOP\r\n", 6), 6);
  EXPECT_EQ(mailer.client.GetResponse(nullptr, 0), 250) << "the bytes went out all the same";
  EXPECT_EQ(mailer.client.Write("NOOP\r\n", 6), 6);
  EXPECT_TRUE(mailer.client.DataStarted());
  EXPECT_EQ(mailer.client.Close(), 1);
  EXPECT_EQ(mailer.Sent(),
            "Mail From: anonymous\r\nRcpt To: a\r\nData\r\nNOOP\r\nData\r\n"
            "Subject: s\r\n\r\nNOOP\r\n\r\n.\r\nQUIT\r\n");
}

TEST_F(SmtpTest, StartDataTellsWhether354Came) {
  Mailer mailer(0,
                SmtpDeviating({"DATA 1 reply \"250 ok\\r\\n\"", "DATA 2 reply \"554 no\\r\\n\""}));
  mailer.client.Subject("s");
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.StartData(), 0);
  EXPECT_EQ(mailer.client.StartData(), 0);
  EXPECT_FALSE(mailer.client.DataStarted());
  EXPECT_EQ(mailer.client.Abort(), 1);
  mailer.client.Subject("t");
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.StartData(), 1);
  EXPECT_EQ(mailer.client.StartData(), 1) << "begun already";
  EXPECT_EQ(mailer.client.Close(), 1);
  EXPECT_EQ(mailer.Sent(),
            "Mail From: anonymous\r\nRcpt To: a\r\nData\r\nData\r\nRSET\r\n"
            "Mail From: anonymous\r\nRcpt To: a\r\nData\r\nSubject: t\r\n\r\n\r\n.\r\nQUIT\r\n");
}

TEST_F(SmtpTest, BodiesAreNotAltered) {
  const std::string body =
      "plain\n.dot\r\n..two\r\r\n\xe9\x80\t. .\n\r.x\r\n" + std::string(1, '\0');
  Mailer mailer;
  EXPECT_EQ(mailer.Send("a", body), 1);
  ASSERT_EQ(mailer.server.Mails().size(), 1u);
  EXPECT_EQ(mailer.server.Mails()[0].raw, body + "\r\n");
}

TEST_F(SmtpTest, WriteLineTakesACountOrTheWholeText) {
  Mailer mailer;
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.WriteLine("whole", -1), 7);
  EXPECT_EQ(mailer.client.WriteLine("whole", 2), 4);
  EXPECT_EQ(mailer.client.WriteLine("", -1), 2);
  EXPECT_EQ(mailer.client.WriteLine("whole", 0), 2);
  EXPECT_EQ(mailer.client.Close(), 1);
  EXPECT_EQ(mailer.server.Mails()[0].raw, "whole\r\nwh\r\n\r\n\r\n\r\n");
}

TEST_F(SmtpTest, NothingToWriteIsNoFailure) {
  Mailer mailer;
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.Write("", 0), 0);
  EXPECT_TRUE(mailer.client.DataStarted());
  EXPECT_EQ(mailer.client.Write(nullptr, 3), -1);
  EXPECT_EQ(mailer.client.Write("x", -3), -1);
  EXPECT_EQ(mailer.client.Status() & kStatusConnected, DWORD{kStatusConnected});
  EXPECT_EQ(mailer.client.Close(), 1);
}

TEST_F(SmtpTest, CloseSucceedsWith250Alone) {
  for (const char* reply : {"554 spam", "451 later", "354 more", "251 forwarded"}) {
    Mailer mailer(0, Replying("END", reply));
    EXPECT_EQ(mailer.Send("a", "body"), 0) << reply;
    EXPECT_FALSE(mailer.client.SenderAccepted());
    EXPECT_FALSE(mailer.client.DataStarted());
    EXPECT_EQ(mailer.client.Status() & kStatusResourceOpen, 0u);
  }
}

TEST_F(SmtpTest, AfterARefusedEndTheNextMessageGoes) {
  Mailer mailer(0, SmtpDeviating({"END 1 reply \"554 spam\\r\\n\""}));
  EXPECT_EQ(mailer.Send("a", "one"), 0);
  EXPECT_EQ(mailer.Send("a", "two"), 1);
  ASSERT_EQ(mailer.server.Mails().size(), 1u);
  EXPECT_EQ(mailer.server.Mails()[0].raw, "two\r\n");
}

TEST_F(SmtpTest, AbortTakesTheMessageBackAndTheSessionGoesOn) {
  Mailer mailer;
  mailer.client.From("ann");
  mailer.client.Subject("s");
  mailer.client.AddHeader("X", "y");
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.Abort(), 1);
  EXPECT_FALSE(mailer.client.SenderAccepted());
  EXPECT_EQ(mailer.client.Status(), DWORD{kStatusConnected});
  EXPECT_EQ(mailer.Send("b", "body"), 1);
  ASSERT_EQ(mailer.server.Mails().size(), 1u);
  EXPECT_EQ(mailer.server.Mails()[0].sender, "ann");
  EXPECT_EQ(mailer.server.Mails()[0].recipients, Texts{"b"});
  EXPECT_EQ(mailer.server.Mails()[0].raw, "body\r\n");
}

TEST_F(SmtpTest, AbortInEveryState) {
  Mailer mailer(0, SmtpDeviating({"RSET 3 reply \"500 no\\r\\n\""}));
  EXPECT_EQ(mailer.client.Abort(), 1) << "before any message";
  mailer.client.OpenResource("a", 2);
  EXPECT_EQ(mailer.client.Abort(), 1) << "with a recipient";
  mailer.client.OpenResource("a", 2);
  mailer.client.Subject("kept");
  EXPECT_EQ(mailer.client.Abort(), 0) << "refused";
  EXPECT_TRUE(mailer.client.SenderAccepted());
  EXPECT_EQ(mailer.client.Write("x", 1), 1);
  EXPECT_EQ(mailer.client.Abort(), 0) << "the data has begun";
  EXPECT_EQ(mailer.client.Close(), 1);
  EXPECT_EQ(mailer.server.Mails()[0].raw, "Subject: kept\r\n\r\nx\r\n");
  EXPECT_EQ(mailer.client.Abort(), 1) << "after a message";
  mailer.client.Disconnect();
  EXPECT_EQ(mailer.client.Abort(), 0) << "without a connection";
}

TEST_F(SmtpTest, AbortAfterTheFirstWriteSendsNothing) {
  Mailer mailer;
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.Write("x", 1), 1);
  EXPECT_EQ(mailer.client.Abort(), 0);
  mailer.client.TProtocol::Disconnect();
  ASSERT_TRUE(mailer.server.Server().WaitUntilFinished(1));
  EXPECT_EQ(mailer.server.Transcript(),
            "Helo 127.0.0.1\r\nMail From: anonymous\r\nRcpt To: a\r\nData\r\nx");
  EXPECT_TRUE(mailer.server.Mails().empty());
}

TEST_F(SmtpTest, AMessageCutOffByADisconnectionIsNotContinuedByTheNext) {
  Mailer mailer;
  mailer.client.Subject("first");
  mailer.client.AddHeader("X-First", "1");
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.Write("x", 1), 1);
  mailer.client.TProtocol::Disconnect();
  EXPECT_EQ(mailer.Connect(), 1);
  EXPECT_FALSE(mailer.client.DataStarted());
  EXPECT_EQ(mailer.Send("b", "second"), 1);
  ASSERT_EQ(mailer.server.Mails().size(), 1u);
  EXPECT_EQ(mailer.server.Mails()[0].recipients, Texts{"b"});
  EXPECT_EQ(mailer.server.Mails()[0].raw, "second\r\n");
}

TEST_F(SmtpTest, DisconnectDropsAllTexts) {
  Mailer mailer;
  mailer.client.From("ann");
  mailer.client.Subject("s");
  EXPECT_EQ(mailer.client.Disconnect(), 0);
  EXPECT_EQ(mailer.client.Disconnect(), 0) << "nothing to disconnect";
  EXPECT_EQ(mailer.client.Status(), 0u);
  EXPECT_EQ(mailer.Connect(), 1);
  EXPECT_EQ(mailer.Send("a", "body"), 1);
  EXPECT_EQ(mailer.server.Mails()[0].sender, "anonymous");
  EXPECT_EQ(mailer.server.Mails()[0].raw, "body\r\n");
}

TEST_F(SmtpTest, TheDestructorSendsNoQuit) {
  const test::SmtpServer server;
  {
    TSMTP client;
    EXPECT_EQ(client.Connect("127.0.0.1", static_cast<short>(server.Port())), 1);
  }
  test::SmtpServer& open = const_cast<test::SmtpServer&>(server);
  ASSERT_TRUE(open.Server().WaitUntilFinished(1));
  EXPECT_EQ(server.Transcript(), "Helo 127.0.0.1\r\n");
}

TEST_F(SmtpTest, BeforeTheNextSenderAMessageThatNobodyTookIsReset) {
  SmtpOptions options;
  options.recipientReplies = {{"gone", "550 no"}};
  Mailer mailer(0, options);
  mailer.client.From("one");
  EXPECT_EQ(mailer.client.OpenResource("gone", 2), 0);
  mailer.client.From("two");
  mailer.client.Subject("of the second");
  EXPECT_EQ(mailer.Send("a", "body"), 1);
  mailer.client.From("three");
  EXPECT_EQ(mailer.client.OpenResource("gone", 2), 0);
  EXPECT_EQ(mailer.Sent(),
            "Mail From: one\r\nRcpt To: gone\r\nRSET\r\nMail From: two\r\nRcpt To: a\r\nData\r\n"
            "Subject: of the second\r\n\r\nbody\r\n.\r\nMail From: three\r\nRcpt To: gone\r\n"
            "QUIT\r\n");
}

TEST_F(SmtpTest, ASenderThatIsSetAgainDoesNotLoseItsRecipients) {
  Mailer mailer;
  mailer.client.From("one");
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  mailer.client.From("two");
  EXPECT_EQ(mailer.Send("b", "body"), 1);
  EXPECT_EQ(mailer.server.Mails()[0].sender, "one");
  EXPECT_EQ(mailer.server.Mails()[0].recipients, (Texts{"a", "b"}));
}

TEST_F(SmtpTest, WhenTheResetIsRefusedTheConnectionEnds) {
  for (const char* how : {"reply \"500 no\\r\\n\"", "drop 0"}) {
    SmtpOptions options = SmtpDeviating({std::string("RSET * ") + how});
    options.recipientReplies = {{"gone", "550 no"}};
    Mailer mailer(0, options);
    mailer.client.From("one");
    EXPECT_EQ(mailer.client.OpenResource("gone", 2), 0);
    mailer.client.From("two");
    EXPECT_EQ(mailer.client.OpenResource("a", 2), 0);
    EXPECT_EQ(mailer.client.RecipientReply(), 0) << "nobody was asked";
    EXPECT_EQ(mailer.client.Status() & kStatusConnected, 0u);
    EXPECT_EQ(mailer.Connect(), 1);
    EXPECT_EQ(mailer.Send("a", "body"), 1);
    EXPECT_EQ(mailer.server.Mails()[0].sender, "two");
  }
}

TEST_F(SmtpTest, AddressesWithALineEndAreRefusedBeforeAnythingIsSent) {
  for (const char* end : {"\r\n", "\n", "\r"}) {
    Mailer mailer;
    const std::string address = std::string("ann@example.org") + end + "RSET";
    mailer.client.From(address.c_str());
    EXPECT_EQ(mailer.client.OpenResource("a", 2), 0);
    EXPECT_EQ(mailer.client.RecipientReply(), 0);
    mailer.client.From("ann");
    EXPECT_EQ(mailer.client.OpenResource(address.c_str(), 2), 0);
    EXPECT_EQ(mailer.client.RecipientReply(), 0);
    EXPECT_EQ(mailer.client.SendCommand("NOOP", address.c_str()), 0);
    EXPECT_EQ(mailer.client.SendCommand(address.c_str(), nullptr), 0);
    EXPECT_EQ(mailer.client.Status(), DWORD{kStatusConnected});
    EXPECT_EQ(mailer.Sent(), "Mail From: ann\r\nQUIT\r\n");
  }
}

TEST_F(SmtpTest, LineEndsInHeaderTextsBecomeBlanks) {
  Mailer mailer;
  mailer.client.Subject("a\r\nb\rc\nd\r\n e");
  mailer.client.ReplyTo("\r\n\r\nbody");
  mailer.client.BBS("tag\r\n.\r\n");
  mailer.client.AddHeader("X", "a\nb\r\n\r\nc\r\n \r\n\td\r\n \te\r");
  EXPECT_EQ(mailer.Send("a", "body"), 1);
  EXPECT_EQ(mailer.server.Mails()[0].raw,
            "Subject: a  b c d   e\r\nReply-to:     body\r\nBBS: tag  .  \r\n"
            "X: a b    c   \r\n\td\r\n \te \r\n\r\nbody\r\n");
}

TEST_F(SmtpTest, PutSendsAFile) {
  const test::TemporaryDirectory directory;
  const std::string path = directory / "body.txt";
  const std::string body(1000, 'x');
  test::WriteFileBytes(path, body);
  Mailer mailer;
  mailer.client.Subject("s");
  EXPECT_EQ(mailer.client.OpenResource("a", 2), 1);
  EXPECT_EQ(mailer.client.Put(path.c_str()), 1);
  EXPECT_EQ(mailer.client.GetTransferred(), 1000u);
  EXPECT_EQ(mailer.client.Close(), 1);
  EXPECT_EQ(mailer.server.Mails()[0].raw, "Subject: s\r\n\r\n" + body + "\r\n");
}

TEST_F(SmtpTest, SendHeaderIsTheOnlyOperationThatIsAdded) {
  static_assert(std::is_base_of_v<TProtocol, TSMTP>);
  // A derived class may replace the inherited operations one for one.
  class Derived : public TSMTP {
   public:
    int Connect(const char*, const TSecurityInfos&, WORD port) override { return port; }
    int SendHeader() override { return 7; }
  };
  Derived derived;
  TProtocol& base = derived;
  EXPECT_EQ(base.Connect("", TSecurityInfos(nullptr, nullptr), 9), 9);
  EXPECT_EQ(static_cast<TSMTP&>(base).SendHeader(), 7);
}

}  // namespace
