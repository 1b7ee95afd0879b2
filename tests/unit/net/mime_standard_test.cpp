// The MIME walk in standard mode.
#include "net_fixture.h"

#include <array>

namespace {

using test::Mailbox;
using test::Pop3Options;
using test::ReadAll;

using Mime = TMIMEEnabledPOP3;

class MimeStandardTest : public test::NetTest {
 protected:
  static std::unique_ptr<Mailbox<Mime>> Open(const std::string& message) {
    auto mailbox = std::make_unique<Mailbox<Mime>>(std::vector<std::string>{message},
                                                   DWORD{kStatusStandardMode});
    EXPECT_EQ(mailbox->client.OpenResource("1", 1), 1);
    return mailbox;
  }
  static std::string Multipart(const std::string& parts) {
    return "Content-Type: multipart/mixed; boundary=b\n\npreamble\n" + parts + "--b--\nepilogue\n";
  }
  static std::string Decoded(const std::string& encoding, const std::string& body,
                             int size = 1024) {
    const auto mailbox = Open(Multipart(
        "--b\nContent-Type: a/b\nContent-Transfer-Encoding: " + encoding + "\n\n" + body + "\n"));
    EXPECT_EQ(mailbox->client.OpenPart(), 1);
    const std::string decoded = ReadAll(mailbox->client, size);
    EXPECT_EQ(mailbox->client.OpenPart(), 0);
    EXPECT_TRUE(mailbox->client.AtMessageEnd());
    return decoded;
  }
  static int Process(Mime& client, std::string name, std::string value) {
    return client.ProcessObjectInfo(name.data(), value.data());
  }
};

TEST_F(MimeStandardTest, UnquotedBoundaryInAnyCaseAndPlace) {
  for (const char* type :
       {"multipart/mixed; boundary=b", "Multipart/Mixed; BOUNDARY=\"b\"; charset=x",
        "multipart/mixed;charset=x;\n boundary=b (comment)",
        "multipart/mixed; boundary*=us'en'b"}) {
    const auto mailbox = Open(std::string("Content-Type: ") + type +
                              "\n\n--b\nContent-Type: text/plain\n\none\n--b--\n");
    ASSERT_EQ(mailbox->client.OpenPart(), 1) << type;
    EXPECT_EQ(ReadAll(mailbox->client), "one") << type;
    EXPECT_EQ(mailbox->client.OpenPart(), 0);
  }
}

TEST_F(MimeStandardTest, TypesAreComparedAsTypes) {
  Mime client;
  client.Status() |= kStatusStandardMode;
  Process(client, "Content-Type", "TEXT/Html; note=\"image/gif\"");
  EXPECT_EQ(client.IsContent("text/html"), 1);
  EXPECT_EQ(client.IsContent("text"), 1);
  EXPECT_EQ(client.IsContent("image"), 0);
  EXPECT_EQ(client.IsContent("html"), 0);
  EXPECT_EQ(client.IsContent("text/htm"), 0);
  EXPECT_EQ(client.IsContent(nullptr), 0);
  Process(client, "Content-Type", "text");
  EXPECT_EQ(client.IsContent("text/plain"), 1) << "a value that is no type counts as none";
  client.ClearPartInfo();
  EXPECT_EQ(client.IsContent("text/plain"), 1);
  EXPECT_EQ(client.IsContent("text/html"), 0);
}

TEST_F(MimeStandardTest, AWordThatOnlyContainsMultipartPushesNothing) {
  const auto mailbox = Open("Content-Type: text/x-multipart; boundary=b\n\n--b\n");
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox->client), "--b\r\n");
}

TEST_F(MimeStandardTest, EveryNameIsAFileName) {
  Mime client;
  client.Status() |= kStatusStandardMode;
  Process(client, "Content-Type", "image/gif; name=type.gif");
  EXPECT_STREQ(client.PartFileName(), "type.gif");
  Process(client, "Content-Disposition", "inline");
  EXPECT_STREQ(client.PartFileName(), "type.gif");
  Process(client, "Content-Disposition", "Attachment; FileName*=utf-8''d%20.gif");
  EXPECT_STREQ(client.PartFileName(), "d .gif");
  Process(client, "Content-Type", "image/gif; name=type.gif");
  EXPECT_STREQ(client.PartFileName(), "d .gif") << "the disposition's name counts in any order";
  client.ClearPartInfo();
  EXPECT_EQ(client.PartFileName(), nullptr);
  Process(client, "Content-Disposition", "x-odd; filename=odd.txt");
  EXPECT_STREQ(client.PartFileName(), "odd.txt");
  client.ClearPartInfo();
  Process(client, "Content-Type", "image/gif; name=type.gif");
  Process(client, "Content-Disposition", "attachment; filename=\"\"");
  EXPECT_STREQ(client.PartFileName(), "type.gif") << "an empty name is none";
}

TEST_F(MimeStandardTest, CharsetInAnyForm) {
  Mime client;
  client.Status() |= kStatusStandardMode;
  Process(client, "Content-Type", "text/plain; Charset = utf-8");
  EXPECT_STREQ(client.PartCharset(), "utf-8");
}

TEST_F(MimeStandardTest, EncodingWithBlanksAndUnknownOnes) {
  Mime client;
  client.Status() |= kStatusStandardMode;
  Process(client, "Content-Transfer-Encoding", " BASE64 (x)");
  EXPECT_EQ(client.PartEncoding(), DWORD{Mime::kBase64});
  Process(client, "Content-Transfer-Encoding", "x-uuencode");
  EXPECT_EQ(client.PartEncoding(), DWORD{Mime::kBinary});
  EXPECT_EQ(Decoded("x-uuencode", "a=3Db"), "a=3Db");
}

TEST_F(MimeStandardTest, Base64ToItsExactLength) {
  EXPECT_EQ(Decoded("base64", "QQ=="), "A");
  EXPECT_EQ(Decoded("base64", "QUI="), "AB");
  EXPECT_EQ(Decoded("base64", "QUJD"), "ABC");
  EXPECT_EQ(Decoded("base64", "QUI"), "AB") << "missing padding";
  EXPECT_EQ(Decoded("base64",
                    "QQ=="
                    "QUI="),
            "AAB")
      << "what was encoded in two goes";
}

TEST_F(MimeStandardTest, Base64GoesOnAcrossLines) {
  EXPECT_EQ(Decoded("base64", "Q\nUJ\n\nDRE\nVG\n"), "ABCDEF");
  EXPECT_EQ(Decoded("base64", "QU JD\t!RE-VG"), "ABCDEF") << "other characters are skipped";
  EXPECT_EQ(Decoded("base64", std::string(4000, 'Q')).size(), 3000U) << "lines of any length";
  EXPECT_EQ(Decoded("base64", "QUJDREVG", 3), "ABCDEF") << "buffers of any size";
}

TEST_F(MimeStandardTest, QuotedPrintable) {
  EXPECT_EQ(Decoded("quoted-printable", "a=3Db=e9"), "a=b\xE9");
  EXPECT_EQ(Decoded("quoted-printable", "one=\ntwo"), "onetwo");
  EXPECT_EQ(Decoded("quoted-printable", "one= \t\ntwo"), "onetwo") << "blanks behind a soft break";
  EXPECT_EQ(Decoded("quoted-printable", "one \t\ntwo"), "one\r\ntwo") << "blanks at the end";
  EXPECT_EQ(Decoded("quoted-printable", "=\nrest"), "rest") << "a line of nothing";
  EXPECT_EQ(Decoded("quoted-printable", "=ZZ=4=="), "=ZZ=4=");
  EXPECT_EQ(Decoded("quoted-printable", std::string(9000, 'x') + "=41", 50),
            std::string(9000, 'x') + "A");
}

TEST_F(MimeStandardTest, TheLineEndBeforeABoundaryBelongsToIt) {
  EXPECT_EQ(Decoded("8bit", "one\ntwo"), "one\r\ntwo");
  EXPECT_EQ(Decoded("8bit", "one\n"), "one\r\n");
  EXPECT_EQ(Decoded("8bit", ""), "");
}

TEST_F(MimeStandardTest, APartWithoutATypeEndsAtItsBoundary) {
  const auto mailbox = Open(Multipart("--b\n\none\n--b\n\ntwo\n"));
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_EQ(mailbox->client.IsContent("text/plain"), 1);
  EXPECT_EQ(ReadAll(mailbox->client), "one");
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox->client), "two");
  EXPECT_EQ(mailbox->client.OpenPart(), 0);
}

TEST_F(MimeStandardTest, AnEncodedMessageWithoutATypeIsDecoded) {
  const auto mailbox = Open("Content-Transfer-Encoding: base64\n\nQUJD\n");
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox->client), "ABC");
  EXPECT_EQ(mailbox->client.OpenPart(), 0);
}

TEST_F(MimeStandardTest, PaddingBehindABoundaryAndSimilarLines) {
  const auto mailbox = Open(Multipart("--b  \nContent-Type: a/b\n\n--bc\n--b-\n--\n-- b\nx\n"));
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox->client), "--bc\r\n--b-\r\n--\r\n-- b\r\nx");
  EXPECT_EQ(mailbox->client.OpenPart(), 0);
}

TEST_F(MimeStandardTest, AnOuterBoundaryEndsAnInnerMultipartThatWasNotClosed) {
  const auto mailbox = Open(
      Multipart("--b\nContent-Type: multipart/alternative; boundary=i\n\n--i\n\nin\n--b\n\nout\n"));
  Mime& client = mailbox->client;
  ASSERT_EQ(client.OpenPart(), 1);
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(client), "in");
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(client), "out");
  EXPECT_EQ(client.OpenPart(), 0);
}

TEST_F(MimeStandardTest, NestedPartsWithOneBoundaryABeginningOfTheOther) {
  const auto mailbox =
      Open(Multipart("--b\nContent-Type: multipart/alternative; boundary=\"b2\"\n\n"
                     "--b2\n\nin\n--b2--\n--b\n\nout\n"));
  Mime& client = mailbox->client;
  ASSERT_EQ(client.OpenPart(), 1);
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(client), "in");
  ASSERT_EQ(client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(client), "out");
}

TEST_F(MimeStandardTest, APartsFieldsNeverReplaceTheMessages) {
  const auto mailbox = Open(
      "Subject: real\nContent-Type: multipart/mixed; boundary=b\n\n"
      "--b\nSubject: forged\nFrom: forged\nContent-Type: a/b\n\nx\n--b--\n");
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_STREQ(mailbox->client.Subject(), "real");
  EXPECT_EQ(mailbox->client.From(), nullptr);
}

TEST_F(MimeStandardTest, DotsInPartsAreUndone) {
  EXPECT_EQ(Decoded("8bit", ".\n..x\n.y"), ".\r\n..x\r\n.y");
}

TEST_F(MimeStandardTest, AMessageThatEndsInsideAPartIsNoFailure) {
  const auto mailbox =
      Open("Content-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: a/b\n\none\n");
  ASSERT_EQ(mailbox->client.OpenPart(), 1);
  EXPECT_EQ(ReadAll(mailbox->client), "one\r\n");
  EXPECT_EQ(mailbox->client.OpenPart(), 0);
  EXPECT_EQ(mailbox->client.Status() & 9, 9U);
  EXPECT_TRUE(mailbox->client.AtMessageEnd());
}

TEST_F(MimeStandardTest, AClearFlagEndsTheWalkInsideAMessage) {
  const auto mailbox =
      Open(Multipart("--b\nContent-Type: a/b\n\n" + std::string(200000, 'x') + "\n"));
  const std::atomic<int> flag{0};
  mailbox->client.SetContinueFlag(&flag);
  EXPECT_EQ(mailbox->client.OpenPart(), 0);
  EXPECT_EQ(mailbox->client.Status() & 9, 0U);
}

}  // namespace
