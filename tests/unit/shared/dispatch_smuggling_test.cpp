// What visitors write reaches the mail server as one mail, whatever they write.
#include "dispatch_fixture.h"

namespace {

using test::SmtpMail;
using test::SmtpOptions;

constexpr const char* kSmuggled =
    "MAIL FROM:<evil@example.org>\r\nRCPT TO:<victim@example.org>\r\n"
    "DATA\r\nSubject: smuggled\r\n\r\nyou have won\r\n.\r\n";

class Smuggling : public test::DispatchFixture, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    DispatchFixture::SetUp();
    if (GetParam()) UseStandardMode();
    AddForum("General", {"one@lists.org"});
    // The server that is fooled most easily: any line end ends a line.
    SmtpOptions options;
    options.lineEnds = test::SmtpLineEnds::kAny;
    Serve(options);
  }

  // Every mail has the one sender and recipient, and no command came from a text.
  void ExpectOnly(std::size_t mails) {
    EXPECT_EQ(Mails().size(), mails);
    for (const SmtpMail& mail : Mails()) {
      EXPECT_EQ(mail.sender.find("evil"), std::string::npos);
      EXPECT_EQ(Joined(mail.recipients), "one@lists.org;");
    }
    for (const std::string& command : server_->Commands()) {
      EXPECT_EQ(command.find("victim"), std::string::npos) << command;
    }
  }
  // The header of a mail, without its last line end.
  static std::string Header(const SmtpMail& mail) {
    return "\n" + mail.content.substr(0, mail.content.find("\r\n\r\n"));
  }
};

TEST_P(Smuggling, BodiesWithEndMarksOfEveryKind) {
  const char* ends[] = {"\r\n.\r\n", "\n.\n", "\r.\r", "\r\n.\n",   "\n.\r\n",  "\r.\r\n",
                        "\r\n.\r",   "\r.\n", "\n.\r", "\n\n.\n\n", "\r\r.\r\r"};
  std::size_t count = 0;
  for (const char* end : ends) {
    Post("General", "m", std::string("text") + end + kSmuggled + "more");
    Post("General", "m", std::string(end).substr(std::string(end).find('.')) + kSmuggled);
    // Around the ends of the pieces in which a body is sent.
    for (std::size_t length = 252; length <= 257; ++length) {
      Post("General", "m", std::string(length, 'x') + end + kSmuggled);
      ++count;
    }
    count += 2;
  }
  EXPECT_EQ(Run(), 1);
  ExpectOnly(count);
}

TEST_P(Smuggling, BodiesThatEndWithAMarkOrAPartOfOne) {
  std::size_t count = 0;
  for (const char* end : {"\r\n.", "\n.", "\r.", ".", "\r", "\n", "\r\n", "\r\n.\r", "\n.\n"}) {
    Post("General", "m", std::string("text") + end);
    Post("General", "next", "untouched\r\n");
    count += 2;
  }
  EXPECT_EQ(Run(), 1);
  ExpectOnly(count);
  for (const SmtpMail& mail : Mails()) {
    EXPECT_EQ(Body(mail).find("Mail From"), std::string::npos);
    EXPECT_EQ(Body(mail).find("MAIL FROM"), std::string::npos);
  }
}

TEST_P(Smuggling, HtmlThatTurnsIntoAnEndMark) {
  const TValues html = {{"Document type", "text/html"}};
  Post("General", "m", std::string("a<br>.<br>") + kSmuggled, html);
  Post("General", "m", std::string("a<br>&#46;<br>b<p>.<p>") + kSmuggled, html);
  EXPECT_EQ(Run(), 1);
  ExpectOnly(2);
}

TEST_P(Smuggling, SubjectsAndBoardNamesWithLineEnds) {
  const std::string injected =
      "x\r\nBcc: victim@example.org\r\n\r\n.\r\n" + std::string("QUIT\r\n");
  Post("General", injected);
  Post("General", "a\nBcc: v@x\rBcc: w@x");
  Set("BBS Name", "My Board");
  setup_->SetString("BBS Name", "My\r\nBcc: victim@example.org");
  EXPECT_EQ(Run(), 1);
  ExpectOnly(2);
  for (const SmtpMail& mail : Mails()) {
    EXPECT_EQ(Header(mail).find("\nBcc"), std::string::npos) << mail.content;
    EXPECT_EQ(Header(mail).find("\rBcc"), std::string::npos) << mail.content;
  }
}

TEST_P(Smuggling, SendersWithLineEnds) {
  Post("General", "one", "x",
       {{"FROM", "\"A\r\nRCPT TO:<victim@example.org>\r\n\" <ann@example.org>"}});
  Post("General", "two", "x", {{"FROM", "\"A\" <ann@example.org>\r\nRCPT TO:<victim@x>"}});
  Post("General", "three", "x", {{"FROM", "<ann@example.org\r\nBcc: victim@example.org>"}});
  EXPECT_EQ(Run(), 1);
  // Without standard mode the sender is an argument of a command: one with a line end is refused,
  // and the message stays.
  const std::size_t sent = GetParam() ? 3 : 1;
  ExpectOnly(sent);
  EXPECT_EQ(Marks("General"), GetParam() ? "111" : "010");
  for (const SmtpMail& mail : Mails()) {
    EXPECT_EQ(Header(mail).find("\nBcc"), std::string::npos) << mail.content;
  }
}

TEST_P(Smuggling, ListEntriesWithLineEndsReachNobody) {
  AddForum("Other", {});
  TForum* forum = OpenForum("Other", data_.c_str());
  const char* entries[] = {"a@x\r\nRCPT TO:<victim@example.org>", "b@x\nDATA", "c@x\rDATA"};
  for (const char* entry : entries) EXPECT_EQ(AddMailingList(entry, "", forum), 1);
  AddMailingList("one@lists.org", "", forum);
  CloseForum(forum);
  Post("Other", "m");
  EXPECT_EQ(Run(), 1);
  ExpectOnly(1);
  EXPECT_EQ(Times("Cannot send mail to b@x\nDATA"), 1);
}

TEST_P(Smuggling, ACharsetLabelIsNoHeader) {
  Post("General", "m", "text", {{"CHARSET", "utf-8\r\nBcc: victim@example.org"}});
  Post("General", "m", "text", {{"CHARSET", "\"; name=\"evil.exe"}});
  EXPECT_EQ(Run(), 1);
  ExpectOnly(2);
  for (const SmtpMail& mail : Mails()) {
    EXPECT_EQ(Header(mail).find("\nBcc"), std::string::npos) << mail.content;
    EXPECT_EQ(Header(mail).find("evil.exe"), std::string::npos) << mail.content;
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, Smuggling, ::testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Standard" : "Plain"; });

}  // namespace
