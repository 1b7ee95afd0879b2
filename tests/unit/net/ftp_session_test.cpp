// The FTP client's session: log-on, replies, commands that move no data.
#include "ftp_fixture.h"

#include <array>

namespace {

using test::FtpSite;
using test::History;
using test::Lines;

using FtpSessionTest = test::FtpTest;

TEST_F(FtpSessionTest, NewObjectIsEmpty) {
  TFTP client;
  EXPECT_EQ(client.Status(), 0U);
  EXPECT_EQ(client.ConnectedHost(), nullptr);
  EXPECT_EQ(client.LastReplyCode(), 0);
  EXPECT_TRUE(client.DirectoryList().empty());
  EXPECT_STREQ(client.ProtocolName(), "FTP");
  EXPECT_STREQ(client.GetDescription(), "FTP");
  EXPECT_EQ(client.DefaultPort(), 21);
  EXPECT_EQ(client.Close(), 1);
  EXPECT_EQ(client.Disconnect(), 1);
  EXPECT_EQ(client.Interrupt(), 1);
  char byte = 'x';
  EXPECT_LT(client.Read(&byte, 1), 1);
  EXPECT_LT(client.Write(&byte, 1), 1);
}

TEST_F(FtpSessionTest, ConnectReadsTheGreetingAndLogsOn) {
  FtpSite site;
  EXPECT_EQ(site.connected, 1);
  EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
  EXPECT_STREQ(site.client.ConnectedHost(), "127.0.0.1");
  site.Finish();
  EXPECT_EQ(site.server.Transcript(), "USER board\r\nPASS secret\r\nQUIT\r\n");
  EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
  EXPECT_EQ(site.client.ConnectedHost(), nullptr);
  EXPECT_TRUE(History::Lines().empty());
}

TEST_F(FtpSessionTest, WithoutAnAccountItIsAnonymousWithAnAddress) {
  for (const char* nobody : {static_cast<const char*>(nullptr), ""}) {
    FtpSite site;
    site.Finish();
    site.server.ForgetCommands();
    EXPECT_EQ(site.client.Connect("127.0.0.1", TSecurityInfos(nobody, nobody), site.server.Port()),
              1);
    ASSERT_EQ(site.server.Commands().size(), 2U);
    EXPECT_EQ(site.server.Commands()[0], "USER anonymous");
    EXPECT_TRUE(site.server.Commands()[1].starts_with("PASS ")) << site.server.Commands()[1];
    EXPECT_NE(site.server.Commands()[1].find('@'), std::string::npos);
  }
}

TEST_F(FtpSessionTest, AnAccountThatNeedsNoPasswordIsAskedForNone) {
  FtpSite site(Lines{"USER * reply \"230 welcome\\r\\n\""});
  EXPECT_EQ(site.connected, 1);
  EXPECT_EQ(site.server.Verbs(), Lines{"USER"});
}

TEST_F(FtpSessionTest, EveryRefusalOfALogOnIsReportedAndNothingStaysConnected) {
  struct Case {
    const char* deviation;
    int code;
    const char* history;
  };
  for (const Case& c : {Case{"GREETING * reply \"421 full\\r\\n\"", 421, "full (FTP:421)"},
                        Case{"GREETING * reply \"120 later\\r\\n\"", 120, ""},
                        Case{"USER * reply \"530 who?\\r\\n\"", 530, "who? (FTP:530)"},
                        Case{"USER * reply \"332 account\\r\\n\"", 332, ""},
                        Case{"PASS * reply \"530 no\\r\\n\"", 530, "no (FTP:530)"},
                        Case{"PASS * reply \"332 account\\r\\n\"", 332, ""}}) {
    History::Lines().clear();
    FtpSite site(Lines{c.deviation});
    EXPECT_EQ(site.connected, 0) << c.deviation;
    EXPECT_EQ(site.client.LastReplyCode(), c.code) << c.deviation;
    EXPECT_EQ(site.client.Status() & kStatusConnected, 0U) << c.deviation;
    EXPECT_EQ(site.client.ConnectedHost(), nullptr) << c.deviation;
    EXPECT_EQ(History::Lines(), *c.history == '\0' ? Lines{} : Lines{c.history}) << c.deviation;
    EXPECT_TRUE(site.server.Server().WaitUntilFinished(1));
    EXPECT_EQ(site.server.Verbs().back(), "QUIT");
  }
}

TEST_F(FtpSessionTest, NobodyThereFailsWithoutAReplyCode) {
  TFTP client;
  client.SetTimeout(test::kPatience);
  EXPECT_EQ(client.Connect("127.0.0.1", TSecurityInfos("a", "b"), test::UnusedPort()), 0);
  EXPECT_EQ(client.LastReplyCode(), 0);
  EXPECT_EQ(client.Connect(nullptr, TSecurityInfos("a", "b"), 1), 0);
}

TEST_F(FtpSessionTest, ASecondConnectSaysGoodByeFirst) {
  FtpSite site;
  for (const char* host : {"127.0.0.1", "LOCALHOST"}) {
    EXPECT_EQ(site.client.Connect(host, TSecurityInfos("board", "x"), site.server.Port()), 1);
    EXPECT_STREQ(site.client.ConnectedHost(), host);
  }
  site.Finish();
  EXPECT_EQ(site.server.Verbs(),
            (Lines{"USER", "PASS", "QUIT", "USER", "PASS", "QUIT", "USER", "PASS", "QUIT"}));
}

TEST_F(FtpSessionTest, CommandsAreTheWordOneBlankAndTheArgument) {
  FtpSite site;
  EXPECT_EQ(site.client.SetType("I"), 1);
  EXPECT_EQ(site.client.ExecuteCommand("chmod 644 a b"), 1);
  EXPECT_EQ(site.client.SendCommand("NOOP", nullptr), 6);
  std::array<char, 4> code;
  std::array<char, 5> text;
  EXPECT_EQ(site.client.GetStatus(code.data(), text.data(), 5, 1), 1);
  EXPECT_STREQ(code.data(), "200");
  EXPECT_STREQ(text.data(), "Done");  // cut to its room
  EXPECT_EQ(site.client.SendCommand("NOOP", ""), 6);
  EXPECT_EQ(site.client.GetStatus(code.data(), nullptr, 0, 1), 1);
  site.Finish();
  EXPECT_EQ(site.server.Transcript(),
            "USER board\r\nPASS secret\r\nTYPE I\r\nSITE chmod 644 a b\r\nNOOP\r\nNOOP\r\n"
            "QUIT\r\n");
}

TEST_F(FtpSessionTest, RefusedCommandsKeepTheCodeAndAreReported) {
  FtpSite site(Lines{"TYPE * reply \"504 type?\\r\\n\"", "SITE * reply \"500 what?\\r\\n\""});
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 504);
  EXPECT_EQ(site.client.ExecuteCommand("x"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 500);
  EXPECT_EQ(History::Lines(), (Lines{"type? (FTP:504)", "what? (FTP:500)"}));
}

TEST_F(FtpSessionTest, DeletingWhatIsNotThereSucceeds) {
  FtpSite site;
  test::WriteFileBytes(site.root / "a", "1");
  EXPECT_EQ(site.client.DeleteResource("a"), 1);
  EXPECT_FALSE(test::FileExists(site.root / "a"));
  EXPECT_EQ(site.client.DeleteResource("a"), 1);
  EXPECT_EQ(site.client.LastReplyCode(), 0);
}

TEST_F(FtpSessionTest, DeletingFailsOnlyOutsideTheReplies55x) {
  FtpSite site(Lines{"DELE 1 reply \"559 x\\r\\n\"", "DELE 2 reply \"553 x\\r\\n\"",
                     "DELE 3 reply \"450 busy\\r\\n\"", "DELE 4 reply \"530 x\\r\\n\"",
                     "DELE 5 reply \"560 x\\r\\n\"", "DELE 6 reply \"350 x\\r\\n\""});
  EXPECT_EQ(site.client.DeleteResource("a"), 1);
  EXPECT_EQ(site.client.DeleteResource("a"), 1);
  for (const int code : {450, 530, 560, 350}) {
    EXPECT_EQ(site.client.DeleteResource("a"), 0);
    EXPECT_EQ(site.client.LastReplyCode(), code);
  }
}

TEST_F(FtpSessionTest, RenamingTakesTwoCommands) {
  FtpSite site;
  test::WriteFileBytes(site.root / "a", "1");
  EXPECT_EQ(site.client.RenameResource("a", "b c"), 1);
  EXPECT_EQ(site.Stored("b c"), "1");
  EXPECT_EQ(site.client.RenameResource("a", "d"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  EXPECT_EQ(site.Commands(), (Lines{"RNFR a", "RNTO b c", "RNFR a"}));
}

TEST_F(FtpSessionTest, ARefusedSecondHalfOfARenamingFails) {
  FtpSite site(Lines{"RNFR * reply \"350 go on\\r\\n\"", "RNTO * reply \"553 no\\r\\n\""});
  EXPECT_EQ(site.client.RenameResource("a", "b"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 553);
}

TEST_F(FtpSessionTest, AnArgumentWithALineEndIsRefusedBeforeAnythingIsSent) {
  FtpSite site;
  for (const char* bad : {"a\r\nDELE b", "a\nb", "a\rb", "\n"}) {
    EXPECT_EQ(site.client.SendCommand("DELE", bad), 0);
    EXPECT_EQ(site.client.SetType(bad), 0);
    EXPECT_EQ(site.client.DeleteResource(bad), 0);
    EXPECT_EQ(site.client.RenameResource("a", bad), 0);
    EXPECT_EQ(site.client.RenameResource(bad, "a"), 0);
    EXPECT_EQ(site.client.ExecuteCommand(bad), 0);
    EXPECT_EQ(site.client.MakeDirectory(bad), 0);
    EXPECT_EQ(site.client.ChangeDirectory(bad), 0);
    EXPECT_EQ(site.client.DeleteDirectory(bad, 0), 0);
    EXPECT_EQ(site.client.DeleteDirectory(bad, 1), 0);
    EXPECT_EQ(site.client.OpenResource(bad, kOpenForWriting), 0);
    EXPECT_EQ(site.client.OpenResource((std::string("dir/") + bad).c_str(), kOpenForReading), 0);
    EXPECT_EQ(site.client.OpenResourceIfNewer(bad, kOpenForReading, TTime()), 0);
    EXPECT_EQ(site.client.GetFileInfo(bad), 0);
  }
  EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
  EXPECT_EQ(site.server.Verbs(), (Lines{"USER", "PASS"}));
  EXPECT_EQ(site.client.SetType("I"), 1);  // and no reply was waited for
  FtpSite other;
  other.Finish();
  EXPECT_EQ(other.client.Connect("127.0.0.1", TSecurityInfos("a\r\nb", "c"), other.server.Port()),
            0);
  EXPECT_EQ(other.client.Connect("127.0.0.1", TSecurityInfos("a", "c\n"), other.server.Port()), 0);
  other.Finish();
  EXPECT_EQ(other.server.Verbs(), (Lines{"USER", "PASS", "QUIT", "QUIT", "USER", "QUIT"}));
}

TEST_F(FtpSessionTest, PasswordsAreNeverReported) {
  FtpSite site(Lines{"PASS * reply \"530 Login incorrect.\\r\\n\""});
  for (const std::string& line : History::Lines()) {
    EXPECT_EQ(line.find("secret"), std::string::npos) << line;
  }
  EXPECT_EQ(History::Lines().size(), 1U);
}

// Replies of one line and of several, without standard mode.

TEST_F(FtpSessionTest, AReplyNeedsFourCharactersAndABlankOrDash) {
  for (const char* reply : {"\\r\\n", "200\\r\\n", "200_ok\\r\\n", "ok\\r\\n", "2000 ok\\r\\n"}) {
    FtpSite site(Lines{std::string("TYPE 1 reply \"") + reply + "\""});
    EXPECT_EQ(site.client.SetType("I"), 0) << reply;
    EXPECT_EQ(site.client.LastReplyCode(), 0) << reply;
    EXPECT_EQ(site.client.SetType("I"), 1) << reply;
  }
  FtpSite site(Lines{"TYPE 1 reply \"200 \\r\\n\""});
  EXPECT_EQ(site.client.SetType("I"), 1);
}

TEST_F(FtpSessionTest, AReplyOfSeveralLinesIsItsFirstLine) {
  FtpSite site(Lines{"TYPE 1 reply \"550-first\\r\\n200-second\\r\\n200 third\\r\\n\"",
                     "TYPE 2 reply \"200-a\\r\\n200-b\\r\\n\\r\\n\"",
                     "TYPE 3 reply \"200-a\\r\\n123 b\\r\\n\"",
                     "TYPE 4 reply \"200-a\\r\\nabc-d\\r\\nx\\r\\n\""});
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  EXPECT_EQ(History::Lines(), Lines{"first (FTP:550)"});
  for (int i = 2; i <= 5; ++i) EXPECT_EQ(site.client.SetType("I"), 1) << i;
}

TEST_F(FtpSessionTest, OnlyRepliesThatBeginWith4Or5AreReported) {
  FtpSite site(Lines{"TYPE 1 reply \"350 x\\r\\n\"", "TYPE 2 reply \"150 x\\r\\n\"",
                     "TYPE 3 reply \"450 busy %s%n\\r\\n\"", "TYPE 4 reply \"5xy odd\\r\\n\"",
                     "TYPE 5 reply \"999 odd\\r\\n\""});
  for (int i = 1; i <= 5; ++i) EXPECT_EQ(site.client.SetType("I"), 0) << i;
  EXPECT_EQ(History::Lines(), (Lines{"busy %s%n (FTP:450)", "odd (FTP:5)"}));
}

TEST_F(FtpSessionTest, ALongReplyLineIsCutAndItsRestIsTheNextLine) {
  const std::string longText(255 - 4, 'x');  // the character behind it is lost
  FtpSite site(Lines{"TYPE 1 reply \"200 " + longText + "y200-\\r\\n200 end\\r\\n\""});
  EXPECT_EQ(site.client.SetType("I"), 1);
  EXPECT_EQ(site.client.SetType("I"), 1);  // what was left of the first reply
  std::array<char, 4> code;
  EXPECT_EQ(site.client.GetStatus(code.data(), nullptr, 0, 1), 1);
}

TEST_F(FtpSessionTest, ServerThatClosesIsNotUsedAnyMore) {
  FtpSite site(Lines{"TYPE * reply \"421 Timeout.\\r\\n\" drop 99"});
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 421);
  EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_LT(site.client.SendCommand("NOOP", nullptr), 1);
  EXPECT_EQ(site.Commands(), Lines{"TYPE I"});
  EXPECT_EQ(site.client.Connect("127.0.0.1", TSecurityInfos("a", "b"), site.server.Port()), 1);
}

TEST_F(FtpSessionTest, AReplyThatDoesNotComeEndsTheUseOfTheConnection) {
  FtpSite site(Lines{"TYPE 1 silent"});
  site.ExpectSilence();
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 0);
  EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
  // Its reply, should it still come, is nobody's.
  EXPECT_EQ(site.client.DeleteResource("a"), 0);
  EXPECT_EQ(site.Commands(), Lines{"TYPE I"});
}

TEST_F(FtpSessionTest, AConnectionThatBreaksIsNoticed) {
  FtpSite site(Lines{"TYPE * drop 0"});
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
}

TEST_F(FtpSessionTest, AReplyWithoutEndIsGivenUp) {
  FtpSite site(Lines{"TYPE * flood 300000 \"200-more\\r\\n\""});
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
}

TEST_F(FtpSessionTest, SetPortNeedsAConnection) {
  TFTP client;
  TDestination destination{};
  EXPECT_EQ(client.SetPort(destination), 0);
  EXPECT_EQ(client.GetDataStreamAddress(&destination), 0);
}

TEST_F(FtpSessionTest, SetPortWritesSixNumbers) {
  FtpSite site;
  TDestination destination{};
  destination.sin_addr.s_addr = test::kLoopback;
  destination.sin_port = htons(258);
  EXPECT_EQ(site.client.SetPort(destination), 1);
  EXPECT_EQ(site.server.Commands().back(), "PORT 127,0,0,1,1,2");
}

}  // namespace
