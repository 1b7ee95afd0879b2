// The walk through MIME parts as it has always been.
#include "net_fixture.h"

#include <array>

namespace {

using test::Mailbox;
using test::Pop3Options;
using test::ReadAll;

using Mime = TMIMEEnabledPOP3;

class MimeTest : public test::NetTest {
 protected:
  // A mailbox with this message, open.
  static std::unique_ptr<Mailbox<Mime>> Open(const std::string& message) {
    Pop3Options options;
    options.emptyLineBeforeDot = true;
    auto mailbox = std::make_unique<Mailbox<Mime>>(std::vector<std::string>{message}, 0, options);
    EXPECT_EQ(mailbox->client.OpenResource("1", 1), 1);
    return mailbox;
  }

  static std::string Part(const std::string& header, const std::string& body) {
    return "--b\n" + header + "\n" + body;
  }
  static std::string Multipart(const std::string& parts) {
    return "Content-Type: multipart/mixed; boundary=\"b\"\n\npreamble\n" + parts + "--b--\nend\n";
  }
  // What reading a part with this encoding and body gives in one go.
  static std::string Decoded(const std::string& encoding, const std::string& body,
                             int size = 1024) {
    const auto mailbox = Open(Multipart(
        Part("Content-Type: text/plain\nContent-Transfer-Encoding: " + encoding + "\n", body)));
    EXPECT_EQ(mailbox->client.OpenPart(), 1);
    return ReadAll(mailbox->client, size);
  }
  static int Process(Mime& client, std::string name, std::string value) {
    return client.ProcessObjectInfo(name.data(), value.data());
  }
};

TEST_F(MimeTest, NewObjectIsEmpty) {
  Mime client;
  EXPECT_EQ(client.PartContentType(), nullptr);
  EXPECT_EQ(client.PartFileName(), nullptr);
  EXPECT_EQ(client.PartCount(), 0U);
  EXPECT_EQ(client.PartEncoding(), DWORD{Mime::kNone});
  EXPECT_STREQ(client.GetDescription(), "");
}

TEST_F(MimeTest, AMessageWithoutAContentTypeIsOnePart) {
  const auto mailbox = Open("Subject: s\n\none\ntwo\n");
  Mime& client = mailbox->client;
  EXPECT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(client.PartCount(), 1U);
  EXPECT_EQ(client.IsContent("text/plain"), 1);
  EXPECT_EQ(client.IsContent("TEXT/PLAIN"), 1);
  EXPECT_EQ(client.IsContent("text/html"), 0);
  EXPECT_EQ(ReadAll(client), "one\r\ntwo\r\n");
  EXPECT_EQ(client.OpenPart(), 0);
  EXPECT_EQ(client.OpenPart(), 0);
  EXPECT_STREQ(client.Subject(), "s");
}

TEST_F(MimeTest, ASinglePartMessageUsesTheMessagesOwnFields) {
  const auto mailbox = Open(
      "Content-Type: text/html; charset=\"utf-8\"\nContent-Transfer-Encoding: "
      "quoted-printable\n\nCaf=E9\n");
  Mime& client = mailbox->client;
  EXPECT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(client.IsContent("text/html"), 1);
  EXPECT_EQ(client.IsContent("html"), 1) << "the type need only be contained";
  EXPECT_EQ(client.IsContent("TEXT/HTML"), 0);
  EXPECT_STREQ(client.PartCharset(), "utf-8");
  EXPECT_EQ(ReadAll(client), "Caf\xE9\r\n");
}

TEST_F(MimeTest, WalksThePartsOfAMultipart) {
  const auto mailbox =
      Open(Multipart(Part("Content-Type: text/plain\nContent-Description: d\n", "one\n") +
                     Part("Content-Type: image/gif\nContent-ID: <i@x>\n"
                          "Content-Disposition: inline; filename=\"p.gif\"\n",
                          "two\n")));
  Mime& client = mailbox->client;
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_STREQ(client.PartContentType(), "text/plain");
  EXPECT_STREQ(client.PartDescription(), "d");
  EXPECT_EQ(client.PartFileName(), nullptr);
  EXPECT_EQ(ReadAll(client), "one\r\n");
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(client.PartDescription(), nullptr);
  EXPECT_STREQ(client.PartContentId(), "cid:i@x");
  EXPECT_STREQ(client.PartFileName(), "p.gif");
  EXPECT_EQ(client.PartCount(), 2U);
  EXPECT_EQ(ReadAll(client), "two\r\n");
  EXPECT_EQ(client.OpenPart(), 0);
  EXPECT_TRUE(client.AtMessageEnd());
}

TEST_F(MimeTest, APartMayBeSkipped) {
  const auto mailbox = Open(Multipart(Part("Content-Type: text/plain\n", "one\ntwo\n") +
                                      Part("Content-Type: text/html\n", "three\n")));
  Mime& client = mailbox->client;
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(client.SkipCurrentPart(), 1);
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(client), "three\r\n");
}

TEST_F(MimeTest, AnUnreadPartIsDroppedByTheNextOpenPart) {
  const auto mailbox = Open(Multipart(Part("Content-Type: text/plain\n", "one\ntwo\n") +
                                      Part("Content-Type: text/html\n", "three\n")));
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_EQ(mailbox->client.IsContent("text/html"), 1);
}

TEST_F(MimeTest, NestedPartsComeInOrderAndTheWalkResumesOutside) {
  const std::string inner =
      "--i\nContent-Type: text/plain\n\nin one\n--i\nContent-Type: text/html\n\nin two\n--i--\n";
  const auto mailbox =
      Open(Multipart(Part("Content-Type: multipart/alternative; boundary=\"i\"\n", inner) +
                     Part("Content-Type: text/enriched\n", "out\n")));
  Mime& client = mailbox->client;
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(client.IsContent("multipart/alternative"), 1);
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(client), "in one\r\n");
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(client), "in two\r\n");
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(client.IsContent("text/enriched"), 1);
  EXPECT_EQ(ReadAll(client), "out\r\n");
  EXPECT_EQ(client.PartCount(), 4U);
  EXPECT_EQ(client.OpenPart(), 0);
}

TEST_F(MimeTest, ABoundaryWithoutQuotesMakesOnePartWithTheBoundaryLines) {
  const auto mailbox = Open("Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n--b--\n");
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox->client), "--b\r\n\r\none\r\n--b--\r\n");
  EXPECT_EQ(mailbox->client.OpenPart(), 0);
}

TEST_F(MimeTest, APartWithoutAContentTypeIsReadOverItsEnd) {
  const auto mailbox = Open(Multipart(Part("", "one\n") + Part("Content-Type: a/b\n", "two\n")));
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_NE(ReadAll(mailbox->client).find("two"), std::string::npos);
  EXPECT_EQ(mailbox->client.OpenPart(), 0);
}

TEST_F(MimeTest, BoundaryLines) {
  const auto mailbox = Open(Multipart(Part("Content-Type: text/plain\n", "x\n")));
  Mime& client = mailbox->client;
  EXPECT_EQ(client.IsStartBoundary("--b\r\n"), 1);
  EXPECT_EQ(client.IsStartBoundary("--b\n"), 1);
  EXPECT_EQ(client.IsStartBoundary("--b"), 1);
  EXPECT_EQ(client.IsStartBoundary("--b--\r\n"), 0);
  EXPECT_EQ(client.IsStartBoundary("--bc\r\n"), 0);
  EXPECT_EQ(client.IsStartBoundary("--b \r\n"), 0);
  EXPECT_EQ(client.IsStartBoundary(" --b\r\n"), 0);
  EXPECT_EQ(client.IsStartBoundary(nullptr), 0);
  EXPECT_EQ(client.IsEndBoundary("--b--\r\n"), 1);
  EXPECT_EQ(client.IsEndBoundary("--b\r\n"), 0);
  EXPECT_EQ(client.IsEndBoundary("--b--x\r\n"), 0);
  Mime empty;
  EXPECT_EQ(empty.IsStartBoundary("--b"), 0);
  EXPECT_EQ(empty.IsEndBoundary("--b--"), 0);
  EXPECT_EQ(empty.PeekAtBoundary(), 0);
}

TEST_F(MimeTest, PeekAtBoundaryComparesTheBoundaryOnlyAndTakesNothing) {
  const auto mailbox = Open("Content-Type: multipart/mixed; boundary=\"b\"\n\n--bcd\n-x\n--\n");
  Mime& client = mailbox->client;
  EXPECT_EQ(client.PeekAtBoundary(), 1) << "what follows the boundary is not looked at";
  EXPECT_EQ(client.PeekAtBoundary(), 1);
  std::array<char, 64> line{};
  EXPECT_EQ(client.TPOP3::Read(line.data(), 64), 7);
  EXPECT_EQ(client.PeekAtBoundary(), 0);
  client.TPOP3::Read(line.data(), 64);
  EXPECT_EQ(client.PeekAtBoundary(), 0) << "two dashes, but then the line ends";
}

TEST_F(MimeTest, PeekAtBoundaryWaitsForWholeBoundaries) {
  Pop3Options options = test::RawMessage(
      "Content-Type: multipart/mixed; boundary=\"abc\"\r\n\r\n--abc\r\nContent-Type: "
      "text/plain\r\n\r\none\r\n--abc--\r\n\r\n.\r\n");
  options.deviations[0].dribble = 1;
  Mailbox<Mime> mailbox({}, 0, options);
  brevant::ArmDeadline(10000);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  ASSERT_EQ(mailbox.client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "one\r\n");
  EXPECT_EQ(mailbox.client.OpenPart(), 0);
}

TEST_F(MimeTest, EncodingNames) {
  Mime client;
  const auto encoding = [&client](const char* name) {
    Process(client, "content-transfer-ENCODING", name);
    return client.PartEncoding();
  };
  EXPECT_EQ(encoding("7bit"), 1U);
  EXPECT_EQ(encoding("8BIT"), 2U);
  EXPECT_EQ(encoding("base64"), 3U);
  EXPECT_EQ(encoding("Binary"), 4U);
  EXPECT_EQ(encoding("quoted-printable"), 5U);
  EXPECT_EQ(encoding("x-uuencode"), 5U);
  EXPECT_EQ(encoding("base64 "), 5U);
  EXPECT_EQ(encoding(""), 5U);
  client.ClearPartInfo();
  EXPECT_EQ(client.PartEncoding(), 0U);
}

TEST_F(MimeTest, FieldsOfAPart) {
  Mime client;
  EXPECT_EQ(Process(client, "content-type", "text/plain; charset=\"koi8-r\""), 1);
  EXPECT_STREQ(client.PartCharset(), "koi8-r");
  EXPECT_STREQ(client.PartContentType(), "text/plain; charset=\"koi8-r\"");
  EXPECT_EQ(client.ContentType(), nullptr) << "the field goes no further";
  Process(client, "Content-Type", "text/plain");
  EXPECT_STREQ(client.PartCharset(), "koi8-r") << "nothing said, nothing changed";
  Process(client, "Content-Type", "text/plain; charset=koi8-r");
  EXPECT_EQ(client.PartCharset(), nullptr) << "unquoted parameters are absent";
  EXPECT_EQ(Process(client, "Content-ID", "<a@b>"), 1);
  EXPECT_STREQ(client.PartContentId(), "cid:a@b");
  Process(client, "Content-ID", "<<a@b>>");
  EXPECT_STREQ(client.PartContentId(), "cid:<a@b>");
  Process(client, "Content-ID", "");
  EXPECT_STREQ(client.PartContentId(), "cid:");
  EXPECT_EQ(Process(client, "Content-Disposition", "attachment; filename=\"a.txt\""), 1);
  EXPECT_STREQ(client.PartFileName(), "a.txt");
  EXPECT_EQ(Process(client, "Content-Disposition", "form-data; filename=\"b.txt\""), 1);
  EXPECT_STREQ(client.PartFileName(), "a.txt");
  EXPECT_EQ(Process(client, "Content-Disposition", "inline"), 1);
  EXPECT_EQ(client.PartFileName(), nullptr);
  EXPECT_EQ(Process(client, "Subject", "s"), 1);
  EXPECT_STREQ(client.Subject(), "s");
  EXPECT_EQ(Process(client, "X-Other", "s"), 0);
}

TEST_F(MimeTest, QuotedPrintable) {
  EXPECT_EQ(Decoded("quoted-printable", "a=3Db=e9\n"), "a=b\xE9\r\n");
  EXPECT_EQ(Decoded("quoted-printable", "plain\n"), "plain\r\n");
  EXPECT_EQ(Decoded("quoted-printable", "Caf=E9=\nnoir\n"), "Caf\xE9noir\r\n");
}

TEST_F(MimeTest, QuotedPrintableSoftBreakGivesFourBytes) {
  const auto mailbox = Open(Multipart(
      Part("Content-Type: a/b\nContent-Transfer-Encoding: quoted-printable\n", "Caf=E9=\nx\n")));
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  std::array<char, 64> buffer{};
  EXPECT_EQ(mailbox->client.Read(buffer.data(), 64), 4);
  EXPECT_EQ(static_cast<unsigned char>(buffer[3]), 0xE9);
}

TEST_F(MimeTest, QuotedPrintableDoesNotCheckItsDigits) {
  EXPECT_EQ(Decoded("quoted-printable", "=ZZx\n"), std::string("\0x\r\n", 4));
}

TEST_F(MimeTest, QuotedPrintableSoftBreakAloneGivesZero) {
  EXPECT_EQ(Decoded("quoted-printable", "=\nrest\n"), "");
}

TEST_F(MimeTest, AnUnknownEncodingIsReadAsQuotedPrintable) {
  EXPECT_EQ(Decoded("x-uuencode", "a=3Db\n"), "a=b\r\n");
}

TEST_F(MimeTest, Base64CountsItsPadding) {
  EXPECT_EQ(Decoded("base64", "QQ==\n"), std::string("A\0\0", 3));
}

TEST_F(MimeTest, Base64LineOf76CharactersGives57Bytes) {
  std::string line(76, 'Q');
  EXPECT_EQ(Decoded("base64", line + "\n").size(), 57U);
}

TEST_F(MimeTest, Base64GroupsAndLineEnd) {
  EXPECT_EQ(Decoded("base64", "QUJD\nREVG\n"), "ABCDEF");
  // Six characters and the line end are two groups.
  EXPECT_EQ(Decoded("base64", "QUJDRA\n").size(), 6U);
}

TEST_F(MimeTest, Base64LineBelowThreeCharactersEndsThePart) {
  EXPECT_EQ(Decoded("base64", "QUJD\n\nREVG\n"), "ABC");
}

TEST_F(MimeTest, Base64DoesNotLookAtTheSize) { EXPECT_EQ(Decoded("base64", "QUJD\n", 63), "ABC"); }

TEST_F(MimeTest, Base64NeverWritesMoreThan63Bytes) {
  const auto mailbox = Open(Multipart(Part("Content-Type: a/b\nContent-Transfer-Encoding: base64\n",
                                           std::string(500, 'Q') + "\n")));
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  std::array<char, 64> buffer;
  for (int i = 0; i < 4; ++i) {
    buffer.fill('#');
    EXPECT_EQ(mailbox->client.ReadBase64(buffer.data(), 1), 57);
    EXPECT_EQ(buffer[63], '#');
  }
}

TEST_F(MimeTest, OtherEncodingsAreReadLineByLine) {
  for (const char* encoding : {"7bit", "8bit", "binary"})
    EXPECT_EQ(Decoded(encoding, "a=3D\n\nb\n"), "a=3D\r\n\r\nb\r\n");
}

TEST_F(MimeTest, GetInfoDoesNotPileUpBoundariesForTheNextMessage) {
  Pop3Options options;
  options.emptyLineBeforeDot = true;
  Mailbox<Mime> mailbox(
      {"Content-Type: multipart/mixed; boundary=\"b\"\n\n--b--\n", "Subject: plain\n\n--b\n"}, 0,
      options);
  for (int i = 0; i < 50; ++i) ASSERT_EQ(mailbox.client.GetFirst(), 1);
  ASSERT_EQ(mailbox.client.GetNext(), 1);
  ASSERT_EQ(mailbox.client.OpenCurrent(1), 1);
  ASSERT_EQ(mailbox.client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "--b\r\n");
}

TEST_F(MimeTest, ABrokenConnectionEndsReadAndOpenPart) {
  Pop3Options options = test::RawMessage(
      "Content-Type: multipart/mixed; boundary=\"b\"\r\n\r\n--b\r\nContent-Type: "
      "a/b\r\n\r\none\r\n");
  options.deviations[0].dropAfter = 100000;
  Mailbox<Mime> mailbox({}, 0, options);
  ASSERT_EQ(mailbox.client.OpenResource("1", 1), 1);
  ASSERT_EQ(mailbox.client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox.client), "one\r\n");
  EXPECT_EQ(mailbox.client.OpenPart(), 0);
  EXPECT_EQ(mailbox.client.Status() & 9, 0U);
}

}  // namespace
