// Boards, forums, posts and settings by the host's commands.
#include "host_fixture.h"

using namespace host_test;

namespace {

using Commands = Host;

TEST_F(Commands, InitMakesABoardWithSettingsDirectoriesAndTemplates) {
  Init();
  for (const char* part : {"Data", "Site", "Templates"}) {
    EXPECT_TRUE(fs::is_directory(InBoard(part))) << part;
  }
  EXPECT_TRUE(test::FileExists(InBoard("Templates/index.htm")));
  std::string settings = test::ReadFileBytes(InBoard("brevant.ini"));
  EXPECT_THAT(settings, HasSubstr("[Tavernix]"));
  EXPECT_THAT(settings, HasSubstr("BBS Name=Test Board"));
  for (const char* extra :
       {"Standard POP3 Mode=1", "Standard SMTP Mode=1", "Standard FTP Mode=1",
        "Keep Unsaved Mail=1", "Safe HTML=1", "Decode Mail Text=1", "Deliver Every Folder=1",
        "Keep File Name Case=1", "Passive FTP Data Mode=1"}) {
    EXPECT_THAT(settings, HasSubstr(extra));
  }
}

TEST_F(Commands, InitCopiesTheDefaultTemplatesWhenNoneAreNamed) {
  test::ProgramResult result = RunHost({"init", Board()});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  const std::string settings = test::ReadFileBytes(InBoard("brevant.ini"));
  for (const char* page : {"index", "messages", "links", "questions", "answers"}) {
    EXPECT_TRUE(test::FileExists(InBoard("Templates/" + std::string(page) + ".htm"))) << page;
    EXPECT_THAT(settings, HasSubstr(std::string("=") + page + "\r\n"));
  }
  // Survey pages are put together from these; they are looked for in the program directory.
  for (const char* piece : {"graph.htf", "radio.htf", "combobox.htf"}) {
    EXPECT_TRUE(test::FileExists(InBoard(piece))) << piece;
  }
}

TEST_F(Commands, InitPutsTheBoardsNameIntoThePages) {
  ASSERT_EQ(RunHost({"init", Board(), "--name", "Tom's & Co $5 <b>"}).exitCode, 0);
  for (const char* page : {"index", "message", "answers"}) {
    const std::string text =
        test::ReadFileBytes(InBoard("Templates/" + std::string(page) + ".htm"));
    EXPECT_THAT(text, HasSubstr("Tom&#39;s &#38; Co &#36;5 &#60;b&#62;")) << page;
    EXPECT_THAT(text, Not(HasSubstr("My Board"))) << page;
  }
}

TEST_F(Commands, InitNamesOnlyTemplatesThatAreThere) {
  Init();
  const std::string settings = test::ReadFileBytes(InBoard("brevant.ini"));
  EXPECT_THAT(settings, HasSubstr("HTML File - Message list=messages"));
  EXPECT_THAT(settings, Not(HasSubstr("HTML File - Answer list")));
}

TEST_F(Commands, InitTakesAnEmptyDirectory) {
  fs::create_directory(Board());
  EXPECT_EQ(RunHost({"init", Board()}).exitCode, 0);
}

TEST_F(Commands, InitRefusesADirectoryThatIsNotEmptyAndNoBoard) {
  fs::create_directory(Board());
  test::WriteFileBytes(InBoard("letter.txt"), "mine");
  test::ProgramResult result = RunHost({"init", Board()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("not empty and is not a board"));
  EXPECT_EQ(Snapshot().size(), 1u);
  EXPECT_EQ(test::ReadFileBytes(InBoard("letter.txt")), "mine");
}

TEST_F(Commands, InitRefusesAFile) {
  test::WriteFileBytes(Board(), "mine");
  EXPECT_EQ(RunHost({"init", Board()}).exitCode, 1);
  EXPECT_EQ(test::ReadFileBytes(Board()), "mine");
}

TEST_F(Commands, InitOnABoardOverwritesNothing) {
  Init();
  test::WriteFileBytes(InBoard("Templates/index.htm"), "changed by the owner");
  std::map<std::string, std::string> before = Snapshot();
  test::ProgramResult result =
      RunHost({"init", Board(), "--name", "Other", "--templates", directory_ / "templates"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("is a board already"));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(Commands, ForumsAreMadeListedRenamedAndDeleted) {
  Init();
  EXPECT_EQ(RunHost({"forum", "create", Board(), "General Talk", "--description", "About all",
                     "--prefix", "gt-", "--maximum", "3"})
                .exitCode,
            0);
  test::ProgramResult shown = RunHost({"forum", "show", Board(), "general talk"});
  EXPECT_EQ(shown.exitCode, 0) << shown.output;
  EXPECT_THAT(shown.output, HasSubstr("About all"));
  EXPECT_THAT(shown.output, HasSubstr("gt-"));
  EXPECT_THAT(shown.output, HasSubstr("3 messages"));
  EXPECT_EQ(RunHost({"forum", "rename", Board(), "General Talk", "Chat"}).exitCode, 0);
  test::ProgramResult listed = RunHost({"forum", "list", Board()});
  EXPECT_THAT(listed.output, HasSubstr("Chat  (0 messages)"));
  EXPECT_THAT(listed.output, Not(HasSubstr("General")));
  EXPECT_EQ(RunHost({"forum", "delete", Board(), "Chat"}).exitCode, 0);
  EXPECT_FALSE(test::FileExists(InBoard("Data/Chat.mwd")));
}

TEST_F(Commands, CreatingAForumTwiceKeepsTheFirst) {
  InitWithForum();
  EXPECT_EQ(RunHost({"post", Board(), "General Talk", "--from", "a@b.example", "--subject", "s"})
                .exitCode,
            0);
  std::map<std::string, std::string> before = Snapshot();
  test::ProgramResult result = RunHost({"forum", "create", Board(), "general TALK"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("there is one already"));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(Commands, ForumNamesThatLeaveTheDirectoryOrBreakAddressesAreRefused) {
  Init();
  for (const char* name : {"../escape", "a/b", "a\\b", "x:y", "[x]", "a_b", "", ".hidden", "end.",
                           " x", "a\nb", "what?", "a*"}) {
    EXPECT_EQ(RunHost({"forum", "create", Board(), name}).exitCode, 1) << name;
  }
  EXPECT_TRUE(fs::is_empty(InBoard("Data")));
  EXPECT_FALSE(test::FileExists(InBoard("escape.mwd")));
}

TEST_F(Commands, ADescriptionThatDoesNotFitMakesNoForum) {
  Init();
  EXPECT_EQ(RunHost({"forum", "create", Board(), "Talk", "--description", std::string(200, 'x')})
                .exitCode,
            1);
  EXPECT_TRUE(fs::is_empty(InBoard("Data")));
}

TEST_F(Commands, PostsAreFiledWithTheirValues) {
  InitWithForum();
  test::ProgramResult first = RunHost({"post", Board(), "General Talk", "--from",
                                       "Ann <ann@example.org>", "--subject", "Hello there"},
                                      "line one\nline two\n");
  EXPECT_EQ(first.exitCode, 0) << first.output;
  EXPECT_THAT(first.output, HasSubstr("message 1"));
  test::WriteFileBytes(directory_ / "answer.htm", "<p>yes</p>");
  EXPECT_EQ(RunHost({"post", Board(), "General Talk", "--from", "bob@example.org", "--subject",
                     "Re:Hello", "--reply-to", "1", "--html", "--file", directory_ / "answer.htm"})
                .exitCode,
            0);
  test::ProgramResult shown = RunHost({"forum", "show", Board(), "General Talk"});
  EXPECT_THAT(shown.output, HasSubstr("1  Hello there"));
  EXPECT_THAT(shown.output, HasSubstr("Ann <ann@example.org>"));
  EXPECT_THAT(shown.output, HasSubstr("2  Re:Hello  (answers 1)"));
  std::string file = test::ReadFileBytes(InBoard("Data/General Talk.mwd"));
  EXPECT_NE(file.find(std::string("Document Type\0text/html", 23)), std::string::npos);
  EXPECT_NE(file.find(std::string("E-Mail Address\0ann@example.org", 30)), std::string::npos);
  EXPECT_NE(file.find("line one\nline two\n"), std::string::npos);
}

TEST_F(Commands, PostsThatCannotBeFiledAreRefused) {
  InitWithForum();
  std::map<std::string, std::string> before = Snapshot();
  const std::vector<std::string> start = {"post", Board(), "General Talk"};
  auto refused = [&](std::vector<std::string> rest) {
    rest.insert(rest.begin(), start.begin(), start.end());
    return RunHost(rest).exitCode != 0;
  };
  EXPECT_TRUE(refused({"--from", "nobody", "--subject", "s"}));
  EXPECT_TRUE(refused({"--from", "a@b.example", "--subject", ""}));
  EXPECT_TRUE(refused({"--from", "a@b.example", "--subject", "two\nlines"}));
  EXPECT_TRUE(refused({"--from", "a@b.example", "--subject", "s", "--reply-to", "7"}));
  EXPECT_TRUE(refused({"--from", "a@b.example", "--subject", "s", "--file", Board() + "/none"}));
  EXPECT_EQ(
      RunHost({"post", Board(), "No Such", "--from", "a@b.example", "--subject", "s"}).exitCode, 1);
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(Commands, SettingsAreReadAndWritten) {
  Init();
  EXPECT_EQ(RunHost({"config", Board(), "set", "POP3 Server", "mail.example.org"}).exitCode, 0);
  test::ProgramResult got = RunHost({"config", Board(), "get", "pop3 server"});
  EXPECT_EQ(got.exitCode, 0);
  EXPECT_THAT(got.output, ::testing::StartsWith("mail.example.org"));
  test::ProgramResult all = RunHost({"config", Board(), "get"});
  EXPECT_THAT(all.output, HasSubstr("BBS Name = Test Board"));
}

TEST_F(Commands, APasswordIsScrambledAndNeverPrinted) {
  Init();
  test::ProgramResult set = RunHost({"config", Board(), "set", "POP3 Password", "-"}, "abc\n");
  EXPECT_EQ(set.exitCode, 0) << set.output;
  EXPECT_THAT(set.output, Not(HasSubstr("abc")));
  EXPECT_THAT(test::ReadFileBytes(InBoard("brevant.ini")), HasSubstr("POP3 Password=ace"));
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"config", Board(), "get"},
        std::vector<std::string>{"config", Board(), "get", "POP3 Password"}}) {
    std::string output = RunHost(command).output;
    EXPECT_THAT(output, HasSubstr("(set, not shown)"));
    EXPECT_THAT(output, Not(HasSubstr("abc")));
    EXPECT_THAT(output, Not(HasSubstr("ace")));
  }
}

TEST_F(Commands, UnknownSettingsAndValuesThatDoNotFitAreRefused) {
  Init();
  std::map<std::string, std::string> before = Snapshot();
  EXPECT_EQ(RunHost({"config", Board(), "set", "POP3 Sever", "x"}).exitCode, 1);
  EXPECT_EQ(RunHost({"config", Board(), "set", "BBS Name", std::string(256, 'x')}).exitCode, 1);
  EXPECT_EQ(RunHost({"config", Board(), "set", "BBS Name", "a\n[b]"}).exitCode, 1);
  EXPECT_EQ(Snapshot(), before);
}

}  // namespace
