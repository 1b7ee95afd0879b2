// Mail dispatch in standard mode.
#include "dispatch_fixture.h"
#include "shared/mail_encoding.h"
#include "shared/mail_header.h"
#include "text/encoded_words.h"

#include <algorithm>

namespace {

using test::ParseDeviation;
using test::SmtpMail;

class StandardDispatch : public test::DispatchFixture {
 protected:
  void SetUp() override {
    DispatchFixture::SetUp();
    UseStandardMode();
    AddForum("General Talk", {"one@lists.org"});
  }

  // The value of a header field with its folds undone; "-" when there is none.
  static std::string Field(const SmtpMail& mail, const std::string& name) {
    const std::string header = "\r\n" + mail.content.substr(0, mail.content.find("\r\n\r\n") + 2);
    std::size_t at = header.find("\r\n" + name + ": ");
    if (at == std::string::npos) return "-";
    at += name.size() + 4;
    std::string value;
    for (;;) {
      const std::size_t end = header.find("\r\n", at);
      value += header.substr(at, end - at);
      at = end + 2;
      if (at >= header.size() || header[at] != ' ') return value;
    }
  }

  SmtpMail Only() const {
    EXPECT_EQ(Mails().size(), 1u);
    return Mails().empty() ? SmtpMail() : Mails().front();
  }

  // Sends one message and gives it back.
  SmtpMail Sent(const std::string& subject, const std::string& content,
                const TValues& values = {}) {
    Serve();
    Post("General Talk", subject, content, values);
    MakeDue();
    EXPECT_EQ(Run(), 1);
    return Only();
  }
};

TEST_F(StandardDispatch, TheEnvelopeIsTheBoards) {
  Serve();
  Post("General Talk", "First");
  EXPECT_EQ(Run(), 1);
  const auto commands = server_->Commands();
  EXPECT_EQ(Joined(commands),
            "EHLO [127.0.0.1];MAIL FROM:<board@example.org>;RCPT TO:<one@lists.org>;Data;QUIT;");
}

TEST_F(StandardDispatch, TheHeaderHasEveryField) {
  const SmtpMail mail = Sent("First one", "Hello\r\n");
  EXPECT_TRUE(mail.content.starts_with("Subject: First one\r\nBBS: My Board\r\nFrom: "))
      << mail.content;
  EXPECT_EQ(Field(mail, "From"), "Ann Smith <board@example.org>");
  EXPECT_EQ(Field(mail, "Reply-To"), "Ann Smith <ann@example.org>");
  EXPECT_EQ(Field(mail, "To"), "\"[My_Board:General_Talk]\" <board@example.org>");
  EXPECT_TRUE(Field(mail, "Message-ID").starts_with("<1.")) << mail.content;
  EXPECT_TRUE(Field(mail, "Message-ID").ends_with(".general_talk.my_board@example.org>"));
  EXPECT_EQ(Field(mail, "MIME-Version"), "1.0");
  EXPECT_EQ(Field(mail, "Content-Type"), "text/plain; charset=iso-8859-1");
  EXPECT_EQ(Field(mail, "Content-Transfer-Encoding"), "7bit");
  EXPECT_EQ(Field(mail, "List-Id"), "General Talk <general_talk.my_board.example.org>");
  EXPECT_EQ(Field(mail, "List-Post"),
            "<mailto:%22%5BMy_Board%3AGeneral_Talk%5D%22%3Cboard@example.org%3E>");
  EXPECT_EQ(Field(mail, "List-Unsubscribe"),
            "<mailto:%22%5BMy_Board%3AGeneral_Talk%5D%22%3Cboard@example.org%3E"
            "?subject=Unsubscribe>");
  EXPECT_EQ(Field(mail, "Auto-Submitted"), "auto-generated");
  EXPECT_EQ(Body(mail), "Hello\r\n");
}

TEST_F(StandardDispatch, TheTagUsesTheShortName) {
  Set("BBS Short Name", "MB");
  const SmtpMail mail = Sent("x", "y");
  EXPECT_EQ(Field(mail, "To"), "\"[MB:General_Talk]\" <board@example.org>");
  EXPECT_EQ(Field(mail, "BBS"), "My Board");
}

TEST_F(StandardDispatch, TheDateIsTheMessagesOwn) {
  Serve();
  TForum* forum = OpenForum("General Talk", data_.c_str());
  TMail* message = OpenMessage(0, nullptr);
  message->SetTime(TTime(1998, 7, 2, 9, 5, 7));
  InsertMessage(message, forum);
  CloseMessage(message);
  CloseForum(forum);
  EXPECT_EQ(Run(), 1);
  const std::string date = Field(Only(), "Date");
  TMail kept;
  TForum read;
  ASSERT_NE(read.Open("General Talk", data_.c_str(), 2, 0, 16), 0);
  ASSERT_NE(read.OpenMessage(1, &kept), 0);
  // A platform that keeps no element times gives the time of sending.
  const TTime created = kept.Storage().CreationTime();
  if (created == TTime(1998, 7, 2, 9, 5, 7)) {
    EXPECT_TRUE(date.starts_with("Thu, 02 Jul 1998 09:05:07 ")) << date;
  }
  EXPECT_EQ(date.size(), std::string("Thu, 02 Jul 1998 09:05:07 +0200").size());
}

TEST_F(StandardDispatch, TheSameMessageKeepsItsIdentifier) {
  Serve({ParseDeviation("END 1 drop 0")});
  Post("General Talk", "First");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Run(), 1);
  const std::string transcript = server_->Transcript();
  const std::size_t first = transcript.find("Message-ID: ");
  const std::size_t second = transcript.find("Message-ID: ", first + 1);
  ASSERT_NE(second, std::string::npos);
  EXPECT_EQ(transcript.substr(first, 60), transcript.substr(second, 60));
}

TEST_F(StandardDispatch, AnAuthorWithoutANameIsTheAddress) {
  const SmtpMail mail = Sent("x", "y", {{"FROM", "ann@example.org"}});
  EXPECT_EQ(Field(mail, "From"), "\"ann@example.org\" <board@example.org>");
  EXPECT_EQ(Field(mail, "Reply-To"), "ann@example.org");
}

TEST_F(StandardDispatch, AnAuthorWithoutAnAddressGetsNoReply) {
  const SmtpMail mail = Sent("x", "y", {{"FROM", "Ann"}});
  EXPECT_EQ(Field(mail, "From"), "Ann <board@example.org>");
  EXPECT_EQ(Field(mail, "Reply-To"), "-");
}

TEST_F(StandardDispatch, NamesThatAreNoAtomsAreQuotedOrEncoded) {
  const std::pair<std::string, std::string> rows[] = {
      {"Ann, the Great <ann@example.org>", "\"Ann, the Great\" <board@example.org>"},
      {"Ann \\ Sm;th <ann@example.org>", "\"Ann \\\\ Sm;th\" <board@example.org>"},
      {"Ann =?x?= <ann@example.org>", "=?utf-8?B?QW5uID0/eD89?= <board@example.org>"}};
  for (const auto& [from, expected] : rows) {
    EXPECT_EQ(Field(Sent("x", "y", {{"FROM", from}}), "From"), expected);
  }
}

TEST_F(StandardDispatch, TextsAreTheCharactersThatTheyAre) {
  const TValues decoded = {{"FROM", "J\xC3\xB6rg <j@example.org>"}, {"Header Charset", "utf-8"}};
  SmtpMail mail = Sent(
      "Gr\xC3\xBC\xC3\x9F"
      "e",
      "y", decoded);
  EXPECT_EQ(Field(mail, "Subject"), "=?utf-8?B?R3LDvMOfZQ==?=");
  EXPECT_EQ(Field(mail, "From"), "=?utf-8?B?SsO2cmc=?= <board@example.org>");
  // Without "Header Charset" the bytes are ISO 8859-1, and encoded words those of the mail.
  mail = Sent(
      "Gr\xFC\xDF"
      "e",
      "y");
  EXPECT_EQ(Field(mail, "Subject"), "=?utf-8?B?R3LDvMOfZQ==?=");
  mail = Sent("=?iso-8859-1?Q?Gr=FC=DFe?=", "y");
  EXPECT_EQ(Field(mail, "Subject"), "=?utf-8?B?R3LDvMOfZQ==?=");
  // A decoded text that looks like an encoded word is no encoded word.
  mail = Sent("=?utf-8?Q?x?=", "y", {{"Header Charset", "utf-8"}});
  EXPECT_EQ(brevant::DecodeHeader(Field(mail, "Subject")), "=?utf-8?Q?x?=");
  EXPECT_NE(Field(mail, "Subject"), "=?utf-8?Q?x?=");
}

TEST_F(StandardDispatch, SubjectAndBoardAreNeverFolded) {
  std::string longText;
  for (int i = 0; i < 50; ++i) longText += "\xC3\xA4";
  Set("BBS Name", longText + longText);
  const SmtpMail mail = Sent(longText, "y", {{"Header Charset", "utf-8"}});
  const std::string line = mail.content.substr(0, mail.content.find("\r\n"));
  EXPECT_EQ(brevant::DecodeHeader(line.substr(9)), longText);
  EXPECT_TRUE(mail.content.substr(line.size() + 2).starts_with("BBS: "));
  EXPECT_EQ(brevant::DecodeEncodedWords(Field(mail, "BBS")), longText + longText);
  const std::size_t second = mail.content.find("\r\n", line.size() + 2);
  EXPECT_TRUE(mail.content.substr(second + 2).starts_with("From: "));
}

TEST_F(StandardDispatch, TheBoardsNameComesBackAsTheBytesThatItIs) {
  for (const char* name : {"Caf\xE9", "Caf\xC3\xA9", " My Board ", "Board=?x"}) {
    Set("BBS Name", name);
    EXPECT_EQ(brevant::DecodeEncodedWords(Field(Sent("x", "y"), "BBS")), name);
  }
}

TEST_F(StandardDispatch, AnEmptySubjectIsLeftOut) {
  EXPECT_EQ(Field(Sent("", "y"), "Subject"), "-");
}

TEST_F(StandardDispatch, HtmlGoesOutAsUtf8Text) {
  const SmtpMail mail = Sent("Page",
                             "<p>Gr\xFC\xDF"
                             "e &uuml; &#8364;",
                             {{"Document type", "text/html"}, {"Charset", "iso-8859-1"}});
  EXPECT_EQ(Field(mail, "Content-Type"), "text/plain; charset=utf-8");
  EXPECT_EQ(Field(mail, "Content-Transfer-Encoding"), "base64");
  EXPECT_EQ(Body(mail), brevant::EncodeBase64("\r\n\r\nGr\xC3\xBC\xC3\x9F"
                                              "e \xC3\xBC \xE2\x82\xAC") +
                            "\r\n");
}

TEST_F(StandardDispatch, EmptyHtmlIsMarkedAndNotSent) {
  Serve();
  Post("General Talk", "Empty", "<p>", {{"Document type", "text/html"}});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(Mails().empty());
  EXPECT_EQ(Marks("General Talk"), "1");
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(StandardDispatch, LineEndsAreCrLfAndDotsComeBack) {
  const SmtpMail mail = Sent("Lines", "a\nb\rc\r\n.\n..\n.d\n\r\re");
  EXPECT_EQ(Body(mail), "a\r\nb\r\nc\r\n.\r\n..\r\n.d\r\n\r\n\r\ne\r\n");
  EXPECT_NE(mail.raw.find("\r\n..\r\n...\r\n..d\r\n"), std::string::npos);
}

TEST_F(StandardDispatch, TheBodysEncodingFits) {
  const std::string longLine(999, 'x');
  struct TRow {
    std::string content;
    const char* charset;
    const char* type;
    const char* encoding;
  };
  const TRow rows[] = {
      {"ascii\r\n", "iso-8859-1", "iso-8859-1", "7bit"},
      {"ascii", "x\ny", "us-ascii", "7bit"},
      {"A little \xFC in a long line of text", "ISO-8859-1", "ISO-8859-1", "quoted-printable"},
      {"\xE4\xF6\xFC\xE4\xF6\xFC", "iso-8859-15", "iso-8859-15", "base64"},
      {"It is \x93quoted\x94 so that one sees it", "iso-8859-1", "windows-1252",
       "quoted-printable"},
      {"Gr\xC3\xBC\xC3\x9F"
       "e from a mail that says nothing",
       "us-ascii", "utf-8", "quoted-printable"},
      {"\x1B$B$\"\x1B(B", "iso-2022-jp", "iso-2022-jp", "7bit"},
      {"\xF0\xD2\xC9\xD7\xC5\xD4", "koi8-r", "koi8-r", "base64"},
      {"broken \xC3 in a text that is long enough for it", "UTF8", "utf-8", "quoted-printable"},
      {"no \x81 character in a text that is long enough", "windows-1252", "utf-8",
       "quoted-printable"},
      {longLine, "utf-8", "utf-8", "quoted-printable"},
      {longLine.substr(1) + "\r\nx", "utf-8", "utf-8", "7bit"},
      {std::string("nul \0 inside", 12), "utf-8", "utf-8", "quoted-printable"},
      {std::string("a\0\n\0", 4), "utf-16le", "utf-16le", "base64"},
  };
  for (const TRow& row : rows) {
    const SmtpMail mail = Sent("x", row.content, {{"CHARSET", row.charset}});
    EXPECT_EQ(Field(mail, "Content-Type"), std::string("text/plain; charset=") + row.type);
    EXPECT_EQ(Field(mail, "Content-Transfer-Encoding"), row.encoding) << row.content;
    const std::string body = Body(mail);
    for (std::size_t at = 0; at < body.size(); at = body.find("\r\n", at) + 2) {
      EXPECT_LE(body.find("\r\n", at) - at, 998u);
    }
  }
}

TEST_F(StandardDispatch, ABoardWithoutAUsableAddressStillSends) {
  Set("E-Mail Address", "not an address");
  SmtpMail mail = Sent("x", "y");
  EXPECT_EQ(mail.sender, "");
  EXPECT_EQ(Field(mail, "From"), "Ann Smith <ann@example.org>");
  for (const char* name : {"To", "List-Post", "List-Unsubscribe"})
    EXPECT_EQ(Field(mail, name), "-");
  EXPECT_EQ(Field(mail, "List-Id"), "General Talk <general_talk.my_board.localhost>");
  mail = Sent("x", "y", {{"FROM", "Ann"}});
  EXPECT_EQ(Field(mail, "From"), "Ann <nobody@board.invalid>");
}

TEST_F(StandardDispatch, AnAddressOnANumberedHostIsWrittenAsALiteral) {
  Set("E-Mail Address", "board@127.0.0.1");
  const SmtpMail mail = Sent("x", "y");
  EXPECT_EQ(mail.sender, "board@[127.0.0.1]");
  EXPECT_EQ(Field(mail, "From"), "Ann Smith <board@[127.0.0.1]>");
  EXPECT_TRUE(Field(mail, "Message-ID").ends_with("@[127.0.0.1]>"));
  EXPECT_EQ(Field(mail, "List-Id"), "General Talk <general_talk.my_board.localhost>");
}

// --- What is tried again -------------------------------------------------------------------------

TEST_F(StandardDispatch, AScanWithoutAFailureStoresItsTime) {
  Serve();
  Post("General Talk", "First");
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(StandardDispatch, TheAnswerAtTheEndDecides) {
  Serve({ParseDeviation("END 1 reply \"452 full\\r\\n\"")});
  Post("General Talk", "First");
  Post("General Talk", "Second");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Marks("General Talk"), "01");
  EXPECT_TRUE(HistoryHas("Cannot send First to mailing list(s)"));
  EXPECT_FALSE(ScanTimeStored());
  // Nothing has changed since, and it is tried again all the same.
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "Second;First;");
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(StandardDispatch, EveryFailedMessageKeepsTheTimeFromBeingStored) {
  const char* deviations[] = {"GREETING 1 reply \"554 no\\r\\n\"",
                              "MAIL 1 reply \"550 no\\r\\n\"",
                              "RCPT 1 reply \"550 no\\r\\n\"",
                              "DATA 1 reply \"554 no\\r\\n\"",
                              "DATA 1 drop 0",
                              "END 1 drop 0"};
  for (const char* deviation : deviations) {
    SCOPED_TRACE(deviation);
    MakeDue();
    Post("General Talk", "Mail");
    Serve({ParseDeviation(deviation)});
    EXPECT_EQ(Run(), 1);
    EXPECT_FALSE(ScanTimeStored());
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Subjects(), "Mail;");
    EXPECT_TRUE(ScanTimeStored());
  }
}

TEST_F(StandardDispatch, AnAbortKeepsTheTimeFromBeingStored) {
  Serve({ParseDeviation("RCPT 1 silent")});
  Post("General Talk", "First");
  EXPECT_EQ(RunAbortedAt("RCPT"), 0);
  EXPECT_FALSE(ScanTimeStored());
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "First;");
}

TEST_F(StandardDispatch, AMarkOrAForumThatFailsKeepsTheTimeFromBeingStored) {
  Serve();
  Post("General Talk", "First");
  TMailDispatchTask task(setup_, state_);
  task.SetCommit([](TStorage&) { return 0; });
  EXPECT_EQ(Run(task), 1);
  EXPECT_FALSE(ScanTimeStored());
  test::WriteFileBytes(data_ + "Broken.mwd", "no document");
  EXPECT_EQ(Run(), 1);
  EXPECT_FALSE(ScanTimeStored());
}

TEST_F(StandardDispatch, AForumWhoseListWasRefusedElsewhereIsTriedAgain) {
  AddForum("Later", {"bad@lists.org"});
  AddForum("Before", {"bad@lists.org", "one@lists.org"});
  Post("Before", "b");
  Post("Later", "l");
  test::SmtpOptions options;
  options.recipientReplies["bad@lists.org"] = "450 later";
  Serve(options);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Marks("Before") + Marks("Later"), "10");
  EXPECT_FALSE(ScanTimeStored());
}

TEST_F(StandardDispatch, AMessageThatCameToEveryListIsNotTriedForever) {
  Serve();
  Post("General Talk", "m", "x", {{"TO", "one@lists.org"}});
  AddForum("Two", {"one@lists.org", "two@lists.org"});
  Post("Two", "m", "x", {{"TO", "one@lists.org, two@lists.org"}});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Marks("General Talk") + Marks("Two"), "10");
  EXPECT_TRUE(ScanTimeStored());
}

TEST_F(StandardDispatch, RepliesOfSeveralLinesAreRead) {
  Serve({ParseDeviation("GREETING * reply \"220-hello\\r\\n220 ready\\r\\n\""),
         ParseDeviation("RCPT * reply \"250-fine\\r\\n250 ok\\r\\n\"")});
  Post("General Talk", "First");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Subjects(), "First;");
}

TEST_F(StandardDispatch, AnEntryThatIsNoPathReachesNobody) {
  AddForum("Odd", {"a b@x.org", "<c@x.org", "one@lists.org"});
  Post("Odd", "m");
  test::SmtpOptions options;
  options.strictPaths = true;
  Serve(options);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Joined(Only().recipients), "one@lists.org;");
  EXPECT_TRUE(HistoryHas("Cannot send mail to a b@x.org"));
}

}  // namespace
