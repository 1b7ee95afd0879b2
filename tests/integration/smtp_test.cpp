// The SMTP client with a real Postfix, strict and not, and with smtp-sink.
#include "postfix_server.h"

#include <brevant/smtp.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using test::PostfixMail;
using test::PostfixOptions;
using test::PostfixServer;
using test::SmtpSink;

constexpr const char* kBoard = "board@example.org";
constexpr std::size_t kPiece = 256;

// What stands behind the trace fields that Postfix puts before a mail.
std::string Sent(const PostfixMail& mail) {
  const std::size_t at = mail.text.find("\nSubject: ");
  return at == std::string::npos ? mail.text : mail.text.substr(at + 1);
}

// One message; the result of Close, or -1 when it did not come so far.
int Send(TSMTP& client, const std::vector<std::string>& recipients, const std::string& subject,
         std::string_view body) {
  client.From(kBoard);
  int accepted = 0;
  for (const std::string& recipient : recipients) {
    accepted += client.OpenResource(recipient.c_str(), 2);
  }
  if (accepted == 0) return -1;
  client.Subject(subject.c_str());
  if (client.StartData() == 0) return -1;
  while (!body.empty()) {
    const std::string_view piece = body.substr(0, kPiece);
    if (client.Write(piece.data(), static_cast<int>(piece.size())) < 1) return -1;
    body.remove_prefix(piece.size());
  }
  return client.Close();
}

class PostfixTest : public ::testing::Test {
 protected:
  void Start(bool standard, bool strict) {
    PostfixOptions options;
    options.strict = strict;
    server_ = std::make_unique<PostfixServer>(options);
    if (standard) client_.Status() |= kStatusStandardMode;
    ASSERT_EQ(client_.Connect("127.0.0.1", static_cast<short>(server_->Port())), 1);
  }

  // Both servers start in some tenths of a second each; every test has its own.
  void SetUp() override {
    const std::string hindrance = PostfixServer::Hindrance();
    if (!hindrance.empty()) GTEST_SKIP() << hindrance;
  }

  std::unique_ptr<PostfixServer> server_;
  TSMTP client_;
};

TEST_F(PostfixTest, AStrictServerTakesMailOfStandardMode) {
  Start(true, true);
  client_.AddHeader("From", "Board <board@example.org>");
  EXPECT_EQ(Send(client_, {"ann@example.org", "\"Bob\" <bob@example.org>"}, "one", "text\n"), 1);
  EXPECT_EQ(Send(client_, {"cleo@example.org"}, "two", ".dots\n..\n.\nend"), 1);
  EXPECT_EQ(client_.Disconnect(), 0);
  std::vector<PostfixMail> mails = server_->Delivered();
  std::sort(mails.begin(), mails.end(),
            [](const auto& a, const auto& b) { return a.recipient < b.recipient; });
  ASSERT_EQ(mails.size(), 3u);
  EXPECT_EQ(mails[0].recipient, "ann@example.org");
  EXPECT_EQ(mails[1].recipient, "bob@example.org");
  EXPECT_EQ(mails[2].recipient, "cleo@example.org");
  EXPECT_EQ(Sent(mails[0]), "Subject: one\nFrom: Board <board@example.org>\n\ntext\n");
  EXPECT_EQ(Sent(mails[2]), "Subject: two\n\n.dots\n..\n.\nend\n");
  for (const PostfixMail& mail : mails) EXPECT_EQ(mail.sender, kBoard);
}

TEST_F(PostfixTest, AServerOfTheCommonSortTakesMailWithoutStandardMode) {
  Start(false, false);
  EXPECT_EQ(Send(client_, {"ann@example.org"}, "one", "text\r\n"), 1);
  EXPECT_EQ(Send(client_, {"nobody@example.com", "ann@example.org"}, "two", "more\r\n"), 1);
  EXPECT_EQ(Send(client_, {"nobody@example.com"}, "three", "none\r\n"), -1);
  EXPECT_EQ(client_.RecipientReply(), 554);
  EXPECT_EQ(Send(client_, {"bob@example.org"}, "four", "after a reset\r\n"), 1);
  client_.Disconnect();
  const std::vector<PostfixMail> mails = server_->Delivered();
  std::vector<std::string> texts;
  for (const PostfixMail& mail : mails) texts.push_back(Sent(mail));
  std::sort(texts.begin(), texts.end());
  EXPECT_EQ(texts,
            (std::vector<std::string>{"Subject: four\n\nafter a reset\n\n",
                                      "Subject: one\n\ntext\n\n", "Subject: two\n\nmore\n\n"}));
}

TEST_F(PostfixTest, TwentyRecipientsGetOneMailEach) {
  Start(true, true);
  std::vector<std::string> recipients;
  for (int i = 0; i < 20; ++i) recipients.push_back("user" + std::to_string(i) + "@example.org");
  EXPECT_EQ(Send(client_, recipients, "list", "text\n"), 1);
  client_.Disconnect();
  const std::vector<PostfixMail> mails = server_->Delivered();
  std::vector<std::string> reached;
  for (const PostfixMail& mail : mails) reached.push_back(mail.recipient);
  std::sort(reached.begin(), reached.end());
  std::sort(recipients.begin(), recipients.end());
  EXPECT_EQ(reached, recipients);
}

// A second mail, as one would try to smuggle it in behind an end mark.
std::string Envelope(const std::string& lineEnd) {
  return "MAIL FROM:<evil@example.org>" + lineEnd + "RCPT TO:<victim@example.org>" + lineEnd +
         "DATA" + lineEnd + "Subject: smuggled" + lineEnd + lineEnd + "smuggled" + lineEnd + "." +
         lineEnd;
}

std::vector<std::string> SmugglingBodies() {
  std::vector<std::string> bodies;
  const std::vector<std::string> ends = {"\r\n", "\n", "\r", "\r\r\n", "\n\r"};
  for (const std::string& before : ends) {
    for (const std::string& after : ends) {
      const std::string body = "text" + before + "." + after + Envelope(after);
      bodies.push_back(body);
      // Every split of the mark over two pieces.
      for (std::size_t shift = 1; shift <= before.size() + after.size() + 1; ++shift) {
        bodies.push_back(std::string(kPiece - 4 - shift, 'x') + body);
      }
    }
  }
  bodies.push_back("." + Envelope("\r\n"));
  bodies.push_back(std::string(".\0\r\n", 4) + Envelope("\r\n"));
  return bodies;
}

TEST_F(PostfixTest, NoBodySmugglesASecondMail) {
  for (const bool strict : {true, false}) {
    Start(true, strict);
    std::size_t count = 0;
    for (const std::string& body : SmugglingBodies()) {
      EXPECT_EQ(Send(client_, {"ann@example.org"}, std::to_string(count), body), 1) << body;
      ++count;
    }
    client_.Disconnect();
    const std::vector<PostfixMail> mails = server_->Delivered();
    EXPECT_EQ(mails.size(), count);
    for (const PostfixMail& mail : mails) {
      EXPECT_EQ(mail.recipient, "ann@example.org");
      EXPECT_EQ(mail.sender, kBoard);
      // What would have been commands is text.
      const std::size_t body = mail.text.find("\n\n");
      EXPECT_NE(mail.text.find("RCPT TO:<victim@example.org>\n", body), std::string::npos);
    }
  }
}

TEST_F(PostfixTest, NoAddressAndNoHeaderTextSmugglesACommand) {
  for (const bool standard : {false, true}) {
    Start(standard, standard);
    client_.From("a@example.org\r\nRCPT TO:<victim@example.org>");
    EXPECT_EQ(client_.OpenResource("ann@example.org", 2), 0);
    client_.From(kBoard);
    for (const char* address :
         {"ann@example.org\r\nDATA", "ann@example.org\nDATA", "ann@example.org\rDATA"}) {
      EXPECT_EQ(client_.OpenResource(address, 2), 0);
    }
    for (const char* text : {"s\r\n\r\nbody\r\n.\r\nMAIL FROM:<evil@example.org>",
                             "s\n\nbody\n.\nRSET", "s\r\r.\rQUIT"}) {
      client_.From(kBoard);
      EXPECT_EQ(client_.OpenResource("ann@example.org", 2), 1);
      client_.Subject(text);
      client_.ReplyTo(text);
      client_.BBS(text);
      EXPECT_EQ(client_.AddHeader("X-Text", text), 1);
      EXPECT_EQ(client_.WriteLine("the body"), 10);
      EXPECT_EQ(client_.Close(), 1);
    }
    client_.Disconnect();
    const std::vector<PostfixMail> mails = server_->Delivered();
    ASSERT_EQ(mails.size(), 3u);
    for (const PostfixMail& mail : mails) {
      EXPECT_EQ(mail.recipient, "ann@example.org");
      const std::size_t body = mail.text.find("\n\n");
      EXPECT_EQ(mail.text.substr(body), standard ? "\n\nthe body\n" : "\n\nthe body\n\n");
    }
    client_.Status() = 0;
  }
}

TEST_F(PostfixTest, AMessageGivenUpHalfWayIsDropped) {
  Start(true, true);
  client_.From(kBoard);
  EXPECT_EQ(client_.OpenResource("ann@example.org", 2), 1);
  EXPECT_EQ(client_.Abort(), 1);
  client_.From(kBoard);
  EXPECT_EQ(client_.OpenResource("ann@example.org", 2), 1);
  EXPECT_EQ(client_.WriteLine("half"), 6);
  EXPECT_EQ(client_.Abort(), 0);
  client_.TProtocol::Disconnect();
  ASSERT_EQ(client_.Connect("127.0.0.1", static_cast<short>(server_->Port())), 1);
  EXPECT_EQ(Send(client_, {"ann@example.org"}, "whole", "text\n"), 1);
  client_.Disconnect();
  const std::vector<PostfixMail> mails = server_->Delivered();
  ASSERT_EQ(mails.size(), 1u);
  EXPECT_EQ(Sent(mails[0]), "Subject: whole\n\ntext\n");
}

TEST(SmtpSinkTest, TakesMailInBothModes) {
  const std::string hindrance = SmtpSink::Hindrance();
  if (!hindrance.empty()) GTEST_SKIP() << hindrance;
  const SmtpSink sink;
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    TSMTP client;
    client.Status() |= mode;
    ASSERT_EQ(client.Connect("127.0.0.1", static_cast<short>(sink.Port())), 1);
    EXPECT_EQ(Send(client, {"ann@example.org", "bob@example.org"}, "hello", "the text\r\n"), 1);
    EXPECT_EQ(client.Disconnect(), 0);
  }
  const std::vector<std::string> mails = sink.Mails();
  ASSERT_EQ(mails.size(), 2u);
  for (const std::string& mail : mails) {
    EXPECT_NE(mail.find("Subject: hello\n\nthe text\n"), std::string::npos) << mail;
    EXPECT_NE(mail.find("ann@example.org"), std::string::npos);
    EXPECT_NE(mail.find("bob@example.org"), std::string::npos);
  }
}

}  // namespace
