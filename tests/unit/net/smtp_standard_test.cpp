// The SMTP client in standard mode.
#include "net/smtp_text.h"
#include "smtp_fixture.h"

#include <string_view>

namespace {

using test::Mailer;
using test::SmtpDeviating;
using test::SmtpLineEnds;
using test::SmtpMail;
using test::SmtpOptions;

using Texts = std::vector<std::string>;

constexpr DWORD kMode = kStatusStandardMode;

SmtpOptions Strict(const Texts& deviations = {}) {
  SmtpOptions options = SmtpDeviating(deviations);
  options.strictPaths = true;
  return options;
}

class SmtpStandardTest : public test::NetTest {};

TEST_F(SmtpStandardTest, SaysEhloWithAnAddressLiteral) {
  Mailer mailer(kMode, Strict());
  EXPECT_EQ(mailer.connected, 1);
  EXPECT_EQ(mailer.server.Commands(), Texts{"EHLO [127.0.0.1]"});
}

TEST_F(SmtpStandardTest, FallsBackToHelo) {
  for (const char* refusal : {"500", "502", "504", "550"}) {
    Mailer mailer(kMode, Strict({std::string("EHLO * reply \"") + refusal + " no\\r\\n\""}));
    EXPECT_EQ(mailer.connected, 1) << refusal;
    EXPECT_EQ(mailer.server.Commands(), (Texts{"EHLO [127.0.0.1]", "HELO [127.0.0.1]"}));
  }
}

TEST_F(SmtpStandardTest, ATemporaryRefusalOfEhloAndOneOfHeloFail) {
  Mailer temporary(kMode, Strict({"EHLO * reply \"450 later\\r\\n\""}));
  EXPECT_EQ(temporary.connected, 0);
  EXPECT_EQ(temporary.server.Commands().size(), 1u);
  Mailer refused(kMode, Strict({"EHLO * reply \"500 no\\r\\n\"", "HELO * reply \"550 no\\r\\n\""}));
  EXPECT_EQ(refused.connected, 0);
}

TEST_F(SmtpStandardTest, AGreetingOfSeveralLinesIsOne) {
  Mailer mailer(kMode, Strict({"GREETING * reply \"220-one\\r\\n220-two\\r\\n220 three\\r\\n\""}));
  EXPECT_EQ(mailer.connected, 1);
  EXPECT_EQ(mailer.Send("ann@example.org", "body"), 1);
}

TEST_F(SmtpStandardTest, AMessageByteForByte) {
  Mailer mailer(kMode, Strict());
  mailer.client.From("board@example.org");
  mailer.client.Subject("s");
  mailer.client.BBS("My Board");
  mailer.client.AddHeader("From", "Ann <board@example.org>");
  EXPECT_EQ(mailer.Send("bob@example.org", "body"), 1);
  EXPECT_EQ(mailer.Sent(),
            "MAIL FROM:<board@example.org>\r\nRCPT TO:<bob@example.org>\r\nData\r\nSubject: s\r\n"
            "BBS: My Board\r\nFrom: Ann <board@example.org>\r\n\r\nbody\r\n.\r\nQUIT\r\n");
}

TEST_F(SmtpStandardTest, ABodyThatEndsWithALineEndGetsNoEmptyLine) {
  Mailer mailer(kMode);
  for (const char* body : {"text\r\n", "text\n", "text\r", "text"}) {
    EXPECT_EQ(mailer.Send("a@example.org", body), 1);
  }
  mailer.client.Subject("no body");
  EXPECT_EQ(mailer.Send("a@example.org", ""), 1);
  const std::vector<SmtpMail> mails = mailer.server.Mails();
  ASSERT_EQ(mails.size(), 5u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(mails[i].raw, "text\r\n");
  EXPECT_EQ(mails[4].raw, "Subject: no body\r\n\r\n");
}

TEST_F(SmtpStandardTest, WithoutASenderThePathIsEmpty) {
  Mailer mailer(kMode, Strict());
  EXPECT_EQ(mailer.Send("a@example.org", "body"), 1);
  EXPECT_EQ(mailer.server.Commands()[1], "MAIL FROM:<>");
}

TEST_F(SmtpStandardTest, TheAddressOfANameIsThePath) {
  Mailer mailer(kMode, Strict());
  mailer.client.From("\"Ann <x>\"<ann@example.org>");
  EXPECT_EQ(mailer.Send("Bob <bob@example.org>", "body"), 1);
  EXPECT_EQ(mailer.server.Mails()[0].sender, "ann@example.org");
  EXPECT_EQ(mailer.server.Mails()[0].recipients, Texts{"bob@example.org"});
}

TEST_F(SmtpStandardTest, WhatIsNoPathIsRefusedBeforeAnythingIsSent) {
  for (const char* address :
       {"a@b\r\nRSET", "a@b\n", "a@b> NOTIFY=NEVER <c@d", "a@b SIZE=1", "<a@b> <c@d>", "a@b>",
        "<a@b", "\"open@b", "a\x01@b", "a\x7f@b", "\"a\\", "\"a\r\"@b"}) {
    Mailer mailer(kMode, Strict());
    mailer.client.From(address);
    EXPECT_EQ(mailer.client.OpenResource("a@example.org", 2), 0) << address;
    mailer.client.From("board@example.org");
    EXPECT_EQ(mailer.client.OpenResource(address, 2), 0) << address;
    EXPECT_EQ(mailer.client.RecipientReply(), 0);
    EXPECT_EQ(mailer.Sent(), "MAIL FROM:<board@example.org>\r\nQUIT\r\n") << address;
  }
  Mailer mailer(kMode, Strict());
  EXPECT_EQ(mailer.client.OpenResource("", 2), 0);
  EXPECT_EQ(mailer.client.OpenResource("<>", 2), 0);
}

TEST_F(SmtpStandardTest, PathsMayBeQuoted) {
  EXPECT_EQ(brevant::PathOf("\"a b> <\"@example.org"), "\"a b> <\"@example.org");
  EXPECT_EQ(brevant::PathOf("\"a\\\"b\"@example.org"), "\"a\\\"b\"@example.org");
  EXPECT_EQ(brevant::PathOf("\"N \\\" <n>\" <a@b>"), "a@b");
  EXPECT_EQ(brevant::PathOf("<a@b>"), "a@b");
  EXPECT_EQ(brevant::PathOf("<>"), "");
  EXPECT_EQ(brevant::PathOf(""), "");
  EXPECT_EQ(brevant::PathOf("gr\xc3\xbc\xc3\x9f@example.org"), "gr\xc3\xbc\xc3\x9f@example.org");
  EXPECT_EQ(brevant::PathOf(std::string_view("a\0b@c", 5)), std::nullopt);
}

// The body as the server has it, sent in pieces of this size.
std::string Delivered(std::string_view body, std::size_t piece, SmtpLineEnds lineEnds) {
  SmtpOptions options;
  options.lineEnds = lineEnds;
  Mailer mailer(kMode, options);
  EXPECT_EQ(mailer.client.OpenResource("a@example.org", 2), 1);
  for (std::size_t at = 0; at < body.size(); at += piece) {
    const std::string_view part = body.substr(at, piece);
    EXPECT_EQ(mailer.client.Write(part.data(), static_cast<int>(part.size())),
              static_cast<int>(part.size()));
  }
  EXPECT_EQ(mailer.client.GetTransferred(), body.size());
  EXPECT_EQ(mailer.client.Close(), 1);
  mailer.client.Disconnect();
  EXPECT_TRUE(mailer.server.Server().WaitUntilFinished(1));
  EXPECT_EQ(mailer.server.Commands(),
            (Texts{"EHLO [127.0.0.1]", "MAIL FROM:<>", "RCPT TO:<a@example.org>", "Data", "QUIT"}));
  const std::vector<SmtpMail> mails = mailer.server.Mails();
  EXPECT_EQ(mails.size(), 1u);
  return mails.empty() ? "" : mails[0].content;
}

TEST_F(SmtpStandardTest, LineEndsBecomeCrLfAndDotsComeThrough) {
  struct Case {
    std::string body;
    std::string content;
  };
  const std::vector<Case> cases = {
      {"a\nb\rc\r\nd", "a\r\nb\r\nc\r\nd\r\n"},
      {".", ".\r\n"},
      {"..\n.\n", "..\r\n.\r\n"},
      {"a\n.\nb", "a\r\n.\r\nb\r\n"},
      {"a\r.\rb", "a\r\n.\r\nb\r\n"},
      {"a\r\n.\nb", "a\r\n.\r\nb\r\n"},
      {"a\n.\r\nb", "a\r\n.\r\nb\r\n"},
      {"a\r\r\n.\r\r\n", "a\r\n\r\n.\r\n\r\n"},
      {"a\n\r.\n\r", "a\r\n\r\n.\r\n\r\n"},
      {"\n\n", "\r\n\r\n"},
      {".x\r.y\n.z\r\n", ".x\r\n.y\r\n.z\r\n"},
      {"a.b\n c.", "a.b\r\n c.\r\n"},
      {std::string("nul\0\n.\0\n", 8), std::string("nul\0\r\n.\0\r\n", 10)},
  };
  for (const Case& one : cases) {
    for (const SmtpLineEnds lineEnds : {SmtpLineEnds::kCrLf, SmtpLineEnds::kAny}) {
      for (const std::size_t piece : {std::size_t{1}, std::size_t{2}, std::size_t{256}}) {
        EXPECT_EQ(test::Quote(Delivered(one.body, piece, lineEnds)), test::Quote(one.content));
      }
    }
  }
}

TEST_F(SmtpStandardTest, MarksAcrossTwoPiecesOf256AreNoMarks) {
  for (const char* mark : {"\r\n.\r\n", "\n.\n", "\r.\r", "\r\n.\n", "\n.\r\n"}) {
    for (std::size_t before = 251; before <= 257; ++before) {
      const std::string body = std::string(before, 'x') + mark + "RCPT TO:<evil@example.org>\r\n";
      EXPECT_EQ(Delivered(body, 256, SmtpLineEnds::kAny),
                std::string(before, 'x') + "\r\n.\r\nRCPT TO:<evil@example.org>\r\n");
    }
  }
}

TEST_F(SmtpStandardTest, AnEncodedBodyIsTheSameInAnyPieces) {
  // Every text of six characters over those that matter.
  constexpr std::string_view kCharacters = "\r\n.x";
  for (unsigned number = 0; number < 4096; ++number) {
    std::string body;
    for (unsigned i = 0; i < 6; ++i) body += kCharacters[number >> (2 * i) & 3U];
    bool start = true;
    bool after = false;
    std::string whole;
    brevant::AppendBody(body, &start, &after, &whole);
    for (std::size_t cut = 1; cut < body.size(); ++cut) {
      bool lineStart = true;
      bool afterReturn = false;
      const std::string_view view = body;
      std::string parts;
      brevant::AppendBody(view.substr(0, cut), &lineStart, &afterReturn, &parts);
      brevant::AppendBody(view.substr(cut), &lineStart, &afterReturn, &parts);
      ASSERT_EQ(parts, whole) << test::Quote(body) << " cut at " << cut;
      ASSERT_EQ(lineStart, start);
    }
    // No lone line end, and no line that is a single dot.
    const std::string framed = "\r\n" + whole + "\r\n";
    for (std::size_t i = 0; i < framed.size(); ++i) {
      if (framed[i] == '\r') {
        ASSERT_EQ(framed[i + 1], '\n') << test::Quote(body);
      }
      if (framed[i] == '\n') {
        ASSERT_EQ(framed[i - 1], '\r') << test::Quote(body);
      }
    }
    ASSERT_EQ(framed.find("\r\n.\r\n"), std::string::npos) << test::Quote(body);
  }
}

TEST_F(SmtpStandardTest, NoBodyReachesAServerThatDidNotAnswer354) {
  Mailer mailer(kMode, Strict({"DATA * reply \"554 no\\r\\n\""}));
  mailer.client.Subject("s");
  EXPECT_EQ(mailer.client.OpenResource("a@example.org", 2), 1);
  EXPECT_EQ(mailer.client.Write("MAIL FROM:<evil@example.org>\r\n", 30), -1);
  EXPECT_EQ(mailer.client.WriteLine("RSET"), -2);
  EXPECT_EQ(mailer.client.Close(), 0);
  EXPECT_FALSE(mailer.client.SenderAccepted()) << "taken back";
  EXPECT_EQ(mailer.Sent(),
            "MAIL FROM:<>\r\nRCPT TO:<a@example.org>\r\nData\r\nData\r\nData\r\nRSET\r\nQUIT\r\n");
}

TEST_F(SmtpStandardTest, TheReplyAtTheEndDecides) {
  Mailer mailer(kMode, Strict({"END 1 reply \"554-no\\r\\n554 spam\\r\\n\""}));
  EXPECT_EQ(mailer.Send("a@example.org", "one"), 0);
  EXPECT_EQ(mailer.Send("a@example.org", "two"), 1);
  ASSERT_EQ(mailer.server.Mails().size(), 1u);
  EXPECT_EQ(mailer.server.Mails()[0].content, "two\r\n");
}

TEST_F(SmtpStandardTest, TheModeIsReadAtEachCall) {
  Mailer mailer(0);
  EXPECT_EQ(mailer.server.Commands(), Texts{"Helo 127.0.0.1"});
  mailer.client.Disconnect();
  mailer.client.Status() |= kMode;
  EXPECT_EQ(mailer.Connect(), 1);
  EXPECT_EQ(mailer.client.Status(), DWORD{kMode | kStatusConnected});
  EXPECT_EQ(mailer.server.Commands().back(), "EHLO [127.0.0.1]");
}

}  // namespace
