// Mail dispatch through a real Postfix, and back through a real Dovecot.
#include "dovecot_server.h"
#include "frame/task_factory.h"
#include "postfix_server.h"
#include "unit/shared/dispatch_fixture.h"

#include <algorithm>
#include <map>

namespace {

using test::PostfixMail;
using test::PostfixOptions;
using test::PostfixServer;
using test::Shown;

constexpr const char* kFirst = "one@example.org";
constexpr const char* kSecond = "two@example.org";

class DispatchThroughPostfix : public test::DispatchFixture,
                               public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    const std::string hindrance = PostfixServer::Hindrance();
    if (!hindrance.empty()) GTEST_SKIP() << hindrance;
    // The factory's table comes from above it; naming it here makes the linker bring it in.
    ASSERT_FALSE(brevant::TaskTable().empty());
    DispatchFixture::SetUp();
    if (GetParam()) UseStandardMode();
    // Only standard mode satisfies a strict server: the plain commands are those of old.
    PostfixOptions options;
    options.strict = GetParam();
    postfix_ = std::make_unique<PostfixServer>(options);
    setup_->Number("SMTP Port", postfix_->Port());
  }
  void TearDown() override {
    postfix_.reset();
    if (setup_ != nullptr) DispatchFixture::TearDown();
  }

  static int RunTask(const char* name) {
    TTask* task = CreateTask(name);
    if (task == nullptr) return -1;
    const int result = task->Execute();
    DestroyTask(task);
    return result;
  }

  void ExpectNothingFailed() {
    for (const std::string& line : Shown::History()) {
      EXPECT_EQ(line.find("Cannot"), std::string::npos) << line;
    }
  }

  std::unique_ptr<PostfixServer> postfix_;
};

// How many mails each address got.
std::map<std::string, int> Counted(const std::vector<PostfixMail>& mails) {
  std::map<std::string, int> counts;
  for (const PostfixMail& mail : mails) ++counts[mail.recipient];
  return counts;
}

TEST_P(DispatchThroughPostfix, EverySubscriberGetsEveryPostOnce) {
  AddForum("General", {kFirst, kSecond});
  AddForum("Other", {kFirst});
  for (int i = 0; i < 20; ++i) Post("General", "General " + std::to_string(i));
  for (int i = 0; i < 10; ++i) {
    Post("Other", "Other " + std::to_string(i),
         "<p>Gr\xFC\xDF"
         "e</p>",
         {{"Document type", "text/html"}});
  }
  EXPECT_EQ(RunTask("MAIL DISPATCH"), 1);
  MakeDue();
  EXPECT_EQ(RunTask("MAIL DISPATCH"), 1);
  ExpectNothingFailed();
  const auto mails = postfix_->Delivered();
  EXPECT_EQ(Counted(mails), (std::map<std::string, int>{{kFirst, 30}, {kSecond, 20}}));
  for (const PostfixMail& mail : mails) {
    EXPECT_EQ(mail.sender, GetParam() ? "board@example.org" : "ann@example.org");
    EXPECT_NE(mail.text.find("\nBBS: My Board\n"), std::string::npos);
  }
}

TEST_P(DispatchThroughPostfix, NothingIsSmuggledIn) {
  AddForum("General", {kFirst});
  int posts = 0;
  for (const std::string before : {"\r\n", "\n", "\r"}) {
    for (const std::string after : {"\r\n", "\n", "\r"}) {
      const std::string mark = before + "." + after;
      const std::string envelope = "MAIL FROM:<evil@example.org>" + after +
                                   "RCPT TO:<victim@example.org>" + after + "DATA" + after +
                                   "Subject: smuggled" + after + after + "x" + mark;
      Post("General", "m", "text" + mark + envelope);
      Post("General", "m", mark + envelope);
      for (const std::size_t length : {254u, 255u, 256u}) {
        Post("General", "m", std::string(length, 'x') + mark + envelope);
      }
      Post("General", "m", "text" + before + ".");
      posts += 6;
    }
  }
  Post("General", "m\r\nBcc: victim@example.org\r\n\r\n.\r\nMAIL FROM:<evil@example.org>");
  Post("General", "m", "text", {{"FROM", "\"A\nBcc: victim@example.org\" <ann@example.org>"}});
  Post("General", "m", "text", {{"CHARSET", "x\r\nBcc: victim@example.org"}});
  // Without standard mode a line end in the sender is refused.
  posts += GetParam() ? 3 : 2;
  EXPECT_EQ(RunTask("MAIL DISPATCH"), 1);
  const auto mails = postfix_->Delivered();
  EXPECT_EQ(Counted(mails), (std::map<std::string, int>{{kFirst, posts}}));
  for (const PostfixMail& mail : mails) {
    EXPECT_NE(mail.sender, "evil@example.org");
    const std::string header = mail.text.substr(0, mail.text.find("\n\n"));
    EXPECT_EQ(header.find("\nBcc"), std::string::npos) << header;
  }
}

TEST_P(DispatchThroughPostfix, ARefusedAddressDoesNotHinderTheOthers) {
  AddForum("General", {"nobody@elsewhere.example.com", kFirst});
  Post("General", "First");
  Post("General", "Second");
  EXPECT_EQ(RunTask("MAIL DISPATCH"), 1);
  EXPECT_EQ(Times("Cannot send mail to nobody@elsewhere.example.com"), 1);
  EXPECT_EQ(Counted(postfix_->Delivered()), (std::map<std::string, int>{{kFirst, 2}}));
  EXPECT_EQ(Marks("General"), "11");
}

// A list that the board's own mailbox is on sends every post back.
TEST_P(DispatchThroughPostfix, WhatComesBackIsKnownAsTheBoardsOwn) {
  const std::string hindrance = test::DovecotServer::Hindrance();
  if (!hindrance.empty()) GTEST_SKIP() << hindrance;
  const std::string name = GetParam() ? "Caf\xC3\xA9 Board" : "My Board";
  Set("BBS Name", name);
  AddForum("General", {"board@example.org"});
  for (int i = 0; i < 5; ++i) {
    Post("General", "Post " + std::to_string(i), "text", {{"TO", "somebody@example.org"}});
  }
  EXPECT_EQ(RunTask("MAIL DISPATCH"), 1);
  std::vector<std::string> texts;
  for (const PostfixMail& mail : postfix_->Delivered()) texts.push_back(mail.text);
  ASSERT_EQ(texts.size(), 5u);
  std::string tag = "[" + name + ":General]";
  std::replace(tag.begin(), tag.end(), ' ', '_');
  texts.push_back("From: visitor@example.org\nTo: \"" + tag +
                  "\" <board@example.org>\nSubject: From a visitor\n\nHello\n");

  const test::DovecotServer dovecot(texts);
  for (const auto& [key, value] :
       std::map<std::string, std::string>{{"POP3 Server", "127.0.0.1"},
                                          {"POP3 Account", test::DovecotServer::kAccount},
                                          {"POP3 Password", test::DovecotServer::kPassword},
                                          {"POP3 Port", std::to_string(dovecot.Port())},
                                          {"Standard POP3 Mode", "1"},
                                          {"Local Directory", directory_ / "site/"}}) {
    Set(key.c_str(), value);
  }
  EXPECT_EQ(RunTask("MAIL RETRIEVAL"), 1);
  ExpectNothingFailed();
  EXPECT_TRUE(dovecot.Left().empty());
  EXPECT_EQ(test::SubjectsOf("General", data_),
            "Post 0;Post 1;Post 2;Post 3;Post 4;From a visitor;");
  EXPECT_EQ(Marks("General"), "111110");
}

INSTANTIATE_TEST_SUITE_P(Modes, DispatchThroughPostfix, ::testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Standard" : "Plain"; });

class DispatchIntoSink : public test::DispatchFixture {};

TEST_F(DispatchIntoSink, MailOfEveryForumArrives) {
  const std::string hindrance = test::SmtpSink::Hindrance();
  if (!hindrance.empty()) GTEST_SKIP() << hindrance;
  const test::SmtpSink sink;
  setup_->Number("SMTP Port", sink.Port());
  for (const char* forum : {"A", "B", "C"}) {
    AddForum(forum, {kFirst, kSecond});
    for (int i = 0; i < 10; ++i) Post(forum, forum + std::to_string(i));
  }
  EXPECT_EQ(Run(), 1);
  const auto mails = sink.Mails();
  EXPECT_EQ(mails.size(), 30u);
  for (const std::string& mail : mails) {
    EXPECT_NE(mail.find("X-Rcpt-Args: one@example.org\n"), std::string::npos) << mail;
    EXPECT_NE(mail.find("X-Rcpt-Args: two@example.org\n"), std::string::npos) << mail;
  }
}

}  // namespace
