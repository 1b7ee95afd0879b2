// Running the tasks: order, lock, exit code, interruption.
#include "host_fixture.h"
#include "support/ftp_server.h"
#include "support/pop3_server.h"
#include "support/smtp_server.h"

#include <chrono>
#include <thread>

using namespace host_test;

namespace {

class Running : public Host {
 protected:
  void UseMailbox(WORD port) {
    for (const auto& [key, value] :
         std::map<std::string, std::string>{{"POP3 Server", "127.0.0.1"},
                                            {"POP3 Port", std::to_string(port)},
                                            {"POP3 Account", "board"},
                                            {"POP3 Password", "secret"}}) {
      ASSERT_EQ(RunHost({"config", Board(), "set", key, value}).exitCode, 0);
    }
  }
  void Configure(const std::map<std::string, std::string>& settings) {
    for (const auto& [key, value] : settings) {
      ASSERT_EQ(RunHost({"config", Board(), "set", key, value}).exitCode, 0) << key;
    }
  }
  // Times are kept in whole seconds, and two runs of a test may fall into one.
  void ForgetScanTime() {
    std::string state = test::ReadFileBytes(InBoard("state.ini"));
    const std::size_t at = state.find("Last Local Directory Scan Time=");
    ASSERT_NE(at, std::string::npos);
    state.erase(at, state.find('\n', at) + 1 - at);
    test::WriteFileBytes(InBoard("state.ini"), state);
  }
};

constexpr const char* kMail =
    "From: Ann <ann@example.org>\nTo: \"[Test_Board:General_Talk]\" <board@example.org>\n"
    "Subject: By mail\nDate: Mon, 2 Nov 2026 09:12:40 +0000\n\nthe mailed text\n";

TEST_F(Running, AMailedPostBecomesAPage) {
  InitWithForum();
  test::Pop3Server server({kMail, "Subject: stray\n\nnothing for the board\n"});
  UseMailbox(server.Port());
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("Retrieved \"By mail\" successfully"));
  EXPECT_THAT(result.output, HasSubstr("deliver: left out, the setting \"FTP Server\" is empty"));
  EXPECT_EQ(server.Messages().size(), 1u);
  EXPECT_THAT(test::ReadFileBytes(InBoard("Site/index.htm")), HasSubstr("General Talk"));
  bool found = false;
  for (const fs::directory_entry& entry : fs::directory_iterator(InBoard("Site"))) {
    found = found ||
            test::ReadFileBytes(entry.path().string()).find("the mailed text") != std::string::npos;
  }
  EXPECT_TRUE(found);
}

TEST_F(Running, AWholeRoundReachesTheSubscribersAndTheWebServer) {
  InitWithForum();
  ASSERT_EQ(RunHost({"subscribe", Board(), "General Talk", "ben@example.org"}).exitCode, 0);
  test::Pop3Server mailbox({kMail});
  test::SmtpServer smtp;
  fs::create_directory(directory_ / "web");
  test::FtpServer web(directory_ / "web");
  UseMailbox(mailbox.Port());
  Configure({{"SMTP Port", std::to_string(smtp.Port())},
             {"FTP Server", "127.0.0.1"},
             {"FTP Port", std::to_string(web.Port())},
             {"FTP Account", "board"},
             {"FTP Password", "secret"}});
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  std::size_t at = 0;
  for (const char* line : {"retrieve: done", "dispatch: done", "html: done", "files: done",
                           "Transferred index.htm successfully", "deliver: done"}) {
    at = result.output.find(line, at);
    ASSERT_NE(at, std::string::npos) << line << "\n" << result.output;
  }
  ASSERT_EQ(smtp.Mails().size(), 1u);
  EXPECT_EQ(smtp.Mails()[0].recipients, std::vector<std::string>{"ben@example.org"});
  EXPECT_THAT(smtp.Mails()[0].content, HasSubstr("the mailed text"));
  for (const fs::directory_entry& entry : fs::directory_iterator(InBoard("Site"))) {
    EXPECT_EQ(test::ReadFileBytes(directory_ / "web/" + entry.path().filename().string()),
              test::ReadFileBytes(entry.path().string()))
        << entry.path();
  }
  EXPECT_TRUE(test::FileExists(InBoard("127.0.0.1.fat")));
}

TEST_F(Running, AnOutgoingServerThatDoesNotAnswerFailsTheRunAndNothingElse) {
  InitWithForum();
  ASSERT_EQ(RunHost({"subscribe", Board(), "General Talk", "ben@example.org"}).exitCode, 0);
  const std::string closed = std::to_string(test::UnusedPort());
  test::Pop3Server mailbox({kMail});
  UseMailbox(mailbox.Port());
  Configure({{"SMTP Port", closed}, {"FTP Server", "127.0.0.1"}, {"FTP Port", closed}});
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 1);
  for (const char* line : {"dispatch: failed", "html: done", "files: done", "deliver: failed"}) {
    EXPECT_THAT(result.output, HasSubstr(line));
  }
  EXPECT_THAT(test::ReadFileBytes(InBoard("error.log")), HasSubstr("Cannot log onto 127.0.0.1"));
}

TEST_F(Running, WithoutServersTheSiteIsMadeAndTidied) {
  InitWithForum();
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_EQ(result.output,
            "retrieve: left out, the setting \"POP3 Server\" is empty\n"
            "dispatch: left out, the setting \"SMTP Server\" is empty\n"
            "html: Generating the site\n"
            "html: done\n"
            "files: Tidying the site\n"
            "files: done\n"
            "deliver: left out, the setting \"FTP Server\" is empty\n");
}

TEST_F(Running, TheTasksRunInOneOrderHoweverTheyAreNamed) {
  InitWithForum();
  test::ProgramResult result = RunHost({"run", Board(), "files", "dispatch", "html"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_EQ(result.output,
            "dispatch: Passing posts on to mailing lists\n"
            "dispatch: done\n"
            "html: Generating the site\n"
            "html: done\n"
            "files: Tidying the site\n"
            "files: done\n");
}

TEST_F(Running, ADeliveryAskedForByNameNeedsAServer) {
  InitWithForum();
  test::ProgramResult result = RunHost({"run", Board(), "deliver"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.output, "deliver: left out, the setting \"FTP Server\" is empty\n");
}

TEST_F(Running, TidyingNeedsPagesMadeInTheSameRun) {
  InitWithForum();
  ASSERT_EQ(RunHost({"run", Board(), "html"}).exitCode, 0);
  const std::string orphan = InBoard("Site/orphan.gif");
  test::WriteFileBytes(orphan, "x");
  SetFileAttributesA(orphan.c_str(), FILE_ATTRIBUTE_TEMPORARY);
  test::ProgramResult result = RunHost({"run", Board(), "files"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output,
              HasSubstr("files: left out, it needs pages generated in the same run"));
  EXPECT_TRUE(test::FileExists(orphan));
}

TEST_F(Running, TidyingIsLeftOutWhenThePagesFailed) {
  InitWithForum();
  fs::create_directory(InBoard("Site/index.htm"));
  const std::string orphan = InBoard("Site/orphan.gif");
  test::WriteFileBytes(orphan, "x");
  SetFileAttributesA(orphan.c_str(), FILE_ATTRIBUTE_TEMPORARY);
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("html: failed"));
  EXPECT_THAT(result.output, HasSubstr("files: left out"));
  EXPECT_TRUE(test::FileExists(orphan));
}

TEST_F(Running, PagesOfADeletedForumGo) {
  InitWithForum();
  ASSERT_EQ(RunHost({"forum", "create", Board(), "Short Lived"}).exitCode, 0);
  ASSERT_EQ(RunHost({"run", Board()}).exitCode, 0);
  const std::string page = InBoard("Site/messages--f--short_lived.htm");
  ASSERT_TRUE(test::FileExists(page));
  const bool plain = GetFileAttributesA(page.c_str()) == FILE_ATTRIBUTE_TEMPORARY;
  test::WriteFileBytes(InBoard("Site/robots.txt"), "the owner's");
  ASSERT_EQ(RunHost({"forum", "delete", Board(), "Short Lived"}).exitCode, 0);
  ForgetScanTime();
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_TRUE(test::FileExists(InBoard("Site/robots.txt")));
  EXPECT_TRUE(test::FileExists(InBoard("Site/messages--f--general_talk.htm")));
  if (!plain) GTEST_SKIP() << "this platform keeps no temporary attribute";
  EXPECT_THAT(test::ReadFileBytes(InBoard("Site/index.htm")), Not(HasSubstr("Short Lived")));
  EXPECT_FALSE(test::FileExists(page));
}

TEST_F(Running, ATaskThatIsNotNamedDoesNotRun) {
  InitWithForum();
  test::ProgramResult result = RunHost({"run", Board(), "html"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_EQ(result.output, "html: Generating the site\nhtml: done\n");
}

TEST_F(Running, AnUnknownTaskNameIsRefusedBeforeAnythingRuns) {
  InitWithForum();
  std::map<std::string, std::string> before = Snapshot();
  test::ProgramResult result = RunHost({"run", Board(), "html", "explode"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("Cannot run \"explode\""));
  EXPECT_THAT(result.output, HasSubstr("retrieve, dispatch, html, files, deliver"));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(Running, ARefusedLogOnFails) {
  InitWithForum();
  test::Pop3Options options;
  options.account = "board";
  options.password = "another";
  test::Pop3Server server({kMail}, options);
  UseMailbox(server.Port());
  test::ProgramResult result = RunHost({"run", Board(), "retrieve"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("Cannot log onto 127.0.0.1"));
  EXPECT_THAT(result.output, Not(HasSubstr("secret")));
  EXPECT_THAT(test::ReadFileBytes(InBoard("error.log")), Not(HasSubstr("secret")));
  EXPECT_EQ(server.Messages().size(), 1u);
}

TEST_F(Running, ASecondRunIsToldThatTheBoardIsInUse) {
  InitWithForum();
  test::Pop3Options options;
  options.deviations = {test::ParseDeviation("GREETING * silent")};
  test::Pop3Server server({kMail}, options);
  UseMailbox(server.Port());
  test::Program first(HostCommand({"run", Board(), "retrieve"}));
  for (int i = 0; i < 500 && server.Server().Accepted() == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_EQ(server.Server().Accepted(), 1);
  test::ProgramResult second = RunHost({"run", Board()});
  EXPECT_EQ(second.exitCode, 1);
  EXPECT_THAT(second.output, HasSubstr("another brevant-host is working on it"));
}

TEST_F(Running, ControlCharactersOfASubjectNeverReachTheTerminal) {
  InitWithForum();
  test::Pop3Server server(
      {"From: a@b.example\nTo: \"[Test_Board:General_Talk]\" <b@c.example>\n"
       "Subject: \x1b]0;owned\x07 %s%n\n\nx\n"});
  UseMailbox(server.Port());
  test::ProgramResult result = RunHost({"run", Board(), "retrieve", "--verbose"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
  EXPECT_THAT(result.output, HasSubstr("%s%n"));
}

}  // namespace
