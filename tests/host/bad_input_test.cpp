// What a host is given when things went wrong: a clear message, a non-zero code, nothing lost.
#include "host_fixture.h"

using namespace host_test;

namespace {

using BadInput = Host;

TEST_F(BadInput, ADirectoryThatDoesNotExist) {
  test::ProgramResult result = RunHost({"run", directory_ / "nowhere"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("there is no such directory"));
}

TEST_F(BadInput, ADirectoryThatIsNoBoard) {
  fs::create_directory(Board());
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("is not a board"));
  EXPECT_TRUE(fs::is_empty(Board()));
}

TEST_F(BadInput, ASettingsFileOfGarbage) {
  InitWithForum();
  std::string garbage(
      "\x7f"
      "ELF\0\0\xff\xfe[Taver",
      14);
  for (const std::string& content : {garbage, std::string("hello = world\n"), std::string()}) {
    test::WriteFileBytes(InBoard("brevant.ini"), content);
    std::map<std::string, std::string> before = Snapshot();
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"run", Board()},
          std::vector<std::string>{"config", Board(), "set", "BBS Name", "x"},
          std::vector<std::string>{"forum", "create", Board(), "More"},
          std::vector<std::string>{"init", Board()}}) {
      test::ProgramResult result = RunHost(command);
      EXPECT_EQ(result.exitCode, 1) << command[0] << result.output;
      EXPECT_THAT(result.output, HasSubstr("brevant.ini"));
    }
    EXPECT_EQ(Snapshot(), before);
  }
}

TEST_F(BadInput, ASettingsFileThatIsADirectory) {
  Init();
  fs::remove(InBoard("brevant.ini"));
  fs::create_directory(InBoard("brevant.ini"));
  EXPECT_EQ(RunHost({"run", Board()}).exitCode, 1);
}

TEST_F(BadInput, ADataFileThatIsNoCompoundDocument) {
  InitWithForum();
  test::WriteFileBytes(InBoard("Data/Broken.mwd"), "this is no compound document");
  test::ProgramResult html = RunHost({"run", Board(), "html"});
  EXPECT_EQ(html.exitCode, 1) << html.output;
  EXPECT_THAT(html.output, HasSubstr("Cannot"));
  test::ProgramResult list = RunHost({"forum", "list", Board()});
  EXPECT_EQ(list.exitCode, 1);
  EXPECT_THAT(list.output, HasSubstr("Broken.mwd"));
  EXPECT_THAT(list.output, HasSubstr("General Talk"));
  EXPECT_EQ(RunHost({"forum", "show", Board(), "Broken"}).exitCode, 1);
  EXPECT_EQ(
      RunHost({"post", Board(), "Broken", "--from", "a@b.example", "--subject", "s"}).exitCode, 1);
  EXPECT_EQ(RunHost({"forum", "create", Board(), "Broken"}).exitCode, 1);
  EXPECT_EQ(test::ReadFileBytes(InBoard("Data/Broken.mwd")), "this is no compound document");
}

TEST_F(BadInput, ADataFileCutShort) {
  InitWithForum();
  ASSERT_EQ(RunHost({"post", Board(), "General Talk", "--from", "a@b.example", "--subject", "s"},
                    std::string(9000, 'x'))
                .exitCode,
            0);
  std::string whole = test::ReadFileBytes(InBoard("Data/General Talk.mwd"));
  for (std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{511}, std::size_t{700},
                           whole.size() / 2, whole.size() - 600}) {
    test::WriteFileBytes(InBoard("Data/General Talk.mwd"), whole.substr(0, size));
    test::ProgramResult result = RunHost({"run", Board(), "html"});
    // Read as far as it is sound, or refused; never a crash.
    EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1) << size << ": " << result.exitCode;
    // What lacks even a header is refused by every structured storage, and left as it is.
    if (size < 512) {
      EXPECT_EQ(result.exitCode, 1) << size;
      EXPECT_TRUE(test::ReadFileBytes(InBoard("Data/General Talk.mwd")) == whole.substr(0, size));
    }
  }
}

TEST_F(BadInput, AMissingTemplate) {
  InitWithForum();
  fs::remove(InBoard("Templates/index.htm"));
  test::ProgramResult result = RunHost({"run", Board(), "html"});
  EXPECT_EQ(result.exitCode, 1) << result.output;
  EXPECT_THAT(result.output, HasSubstr("Cannot open"));
  EXPECT_THAT(result.output, HasSubstr("index.htm"));
}

TEST_F(BadInput, AFileInPlaceOfTheSiteDirectory) {
  InitWithForum();
  fs::remove_all(InBoard("Site"));
  test::WriteFileBytes(InBoard("Site"), "a file");
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("Site"));
  EXPECT_THAT(result.output, HasSubstr("it is no directory"));
  EXPECT_EQ(test::ReadFileBytes(InBoard("Site")), "a file");
}

TEST_F(BadInput, ADirectoryInPlaceOfAPage) {
  InitWithForum();
  fs::create_directory(InBoard("Site/index.htm"));
  test::WriteFileBytes(InBoard("Site/index.htm/inside.txt"), "mine");
  test::ProgramResult result = RunHost({"run", Board(), "html"});
  EXPECT_EQ(result.exitCode, 1) << result.output;
  EXPECT_THAT(result.output, HasSubstr("Cannot save"));
  EXPECT_EQ(test::ReadFileBytes(InBoard("Site/index.htm/inside.txt")), "mine");
}

TEST_F(BadInput, AMissingDataDirectory) {
  Init();
  fs::remove_all(InBoard("Data"));
  test::ProgramResult result = RunHost({"run", Board()});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("does not exist"));
}

TEST_F(BadInput, AServerThatIsNotThere) {
  Init();
  ASSERT_EQ(RunHost({"config", Board(), "set", "POP3 Server", "127.0.0.1"}).exitCode, 0);
  // Nobody listens on the discard port of a machine that runs tests.
  ASSERT_EQ(RunHost({"config", Board(), "set", "POP3 Port", "9"}).exitCode, 0);
  test::ProgramResult result = RunHost({"run", Board(), "retrieve"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_THAT(result.output, HasSubstr("Cannot log onto 127.0.0.1"));
}

}  // namespace
