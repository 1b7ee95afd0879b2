// A board's file that another program has open is reported and left alone; the run goes on with the
// rest. The other program is the test itself.
#include "host_fixture.h"
#include "support/pop3_server.h"
#include "unit/platform/file_handle.h"

namespace {

using namespace host_test;
using test::FileHandle;

class HeldOpen : public Host {
 protected:
  void SetUp() override {
    InitWithForum();
    ASSERT_EQ(RunHost({"forum", "create", Board(), "Other Talk"}).exitCode, 0);
    for (const char* forum : {"General Talk", "Other Talk"}) Post(forum, "First words");
  }
  void Post(const std::string& forum, const std::string& text) const {
    test::WriteFileBytes(directory_ / "post.txt", text + " in " + forum + "\n");
    const test::ProgramResult posted =
        RunHost({"post", Board(), forum, "--from", "ann@example.org", "--subject", text, "--file",
                 directory_ / "post.txt"});
    ASSERT_EQ(posted.exitCode, 0) << posted.output;
  }
  bool SiteHas(const std::string& text) const {
    for (const fs::directory_entry& entry : fs::directory_iterator(InBoard("Site"))) {
      if (test::ReadFileBytes(entry.path().string()).find(text) != std::string::npos) return true;
    }
    return false;
  }

  std::string file_ = InBoard("Data/General Talk.mwd");
};

TEST_F(HeldOpen, AForumIsReportedAndThePagesOfTheRestAreMade) {
  const std::string before = test::ReadFileBytes(file_);
  FileHandle other(file_, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING);
  ASSERT_TRUE(other.IsOpen());
  const test::ProgramResult held = RunHost({"run", Board(), "html"});
  EXPECT_EQ(held.exitCode, 1);
  EXPECT_THAT(held.output, HasSubstr("Cannot open data file of message forum General Talk"));
  EXPECT_THAT(test::ReadFileBytes(InBoard("error.log")),
              HasSubstr("Cannot open data file of message forum General Talk\r\n"));
  EXPECT_TRUE(SiteHas("First words in Other Talk"));
  EXPECT_FALSE(SiteHas("First words in General Talk"));
  other.Close();
  EXPECT_TRUE(test::ReadFileBytes(file_) == before) << "the file was changed";
  const test::ProgramResult freed = RunHost({"run", Board(), "html"});
  EXPECT_EQ(freed.exitCode, 0) << freed.output;
  EXPECT_TRUE(SiteHas("First words in General Talk"));
}

TEST_F(HeldOpen, AForumIsReportedAndTheMailOfTheRestIsFiled) {
  const auto mail = [](const std::string& forum) {
    return "From: Bob <bob@example.org>\nTo: \"[Test_Board:" + forum +
           "]\" <board@example.org>\nSubject: By mail\nMessage-ID: <" + forum +
           "@example.org>\nDate: Mon, 2 Nov 2026 09:12:40 +0000\n\nthe mailed text\n";
  };
  test::Pop3Server server({mail("General_Talk"), mail("Other_Talk")});
  for (const auto& [key, value] :
       std::map<std::string, std::string>{{"POP3 Server", "127.0.0.1"},
                                          {"POP3 Port", std::to_string(server.Port())},
                                          {"POP3 Account", "board"},
                                          {"POP3 Password", "secret"}}) {
    ASSERT_EQ(RunHost({"config", Board(), "set", key, value}).exitCode, 0);
  }
  const std::string before = test::ReadFileBytes(file_);
  FileHandle other(file_, GENERIC_READ | GENERIC_WRITE, 0, OPEN_EXISTING);
  ASSERT_TRUE(other.IsOpen());
  const test::ProgramResult held = RunHost({"run", Board(), "retrieve"});
  EXPECT_EQ(held.exitCode, 1) << held.output;
  EXPECT_THAT(held.output, HasSubstr("Cannot save message to [General Talk]"));
  EXPECT_THAT(held.output, HasSubstr("Retrieved \"By mail\" successfully"));
  other.Close();
  EXPECT_TRUE(test::ReadFileBytes(file_) == before) << "the file was changed";
  const test::ProgramResult filed = RunHost({"forum", "show", Board(), "Other Talk"});
  EXPECT_THAT(filed.output, HasSubstr("By mail"));
  const test::ProgramResult unfiled = RunHost({"forum", "show", Board(), "General Talk"});
  EXPECT_THAT(unfiled.output, Not(HasSubstr("By mail")));
}

}  // namespace
