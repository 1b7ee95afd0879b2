// Addresses of data connections: what servers write and who connects.
#include "ftp_fixture.h"

namespace {

using test::Deviating;
using test::FtpOptions;
using test::FtpSite;
using test::Lines;

using FtpPassiveTest = test::FtpTest;

FtpOptions Answering(const std::string& reply) {
  FtpOptions options;
  options.passiveReply = reply;
  return options;
}

// What a client makes of a reply to PASV: the address and port, or the reply code of its refusal.
std::string Understood(const std::string& reply, DWORD mode = 0) {
  FtpSite site(Answering(reply), kStatusPassive | mode);
  TDestination destination{};
  if (site.client.GetDataStreamAddress(&destination) == 0) {
    EXPECT_EQ(site.client.OpenResource("f", kOpenForWriting), 0);
    EXPECT_EQ(site.client.SetType("I"), 1) << reply;  // the connection is none the worse
    return std::to_string(site.client.LastReplyCode());
  }
  const DWORD address = ntohl(destination.sin_addr.s_addr);
  std::string text;
  for (const unsigned shift : {24U, 16U, 8U, 0U}) {
    text += std::to_string((address >> shift) & 255U) + ".";
  }
  text.back() = ':';
  return text + std::to_string(ntohs(destination.sin_port));
}

TEST_F(FtpPassiveTest, TheAddressStandsInParentheses) {
  EXPECT_EQ(Understood("227 Entering Passive Mode (10,0,0,1,4,5)\r\n"), "10.0.0.1:1029");
  EXPECT_EQ(Understood("227 x (255,255,255,255,255,255).\r\n"), "255.255.255.255:65535");
  EXPECT_EQ(Understood("227 x (1,2,3,4,5,6) (7,8,9,10,11,12)\r\n"), "1.2.3.4:1286");
  EXPECT_EQ(Understood("227 x ( 1, 2, 3, 4, 5, 6)\r\n"), "1.2.3.4:1286");
  EXPECT_EQ(Understood("227-x (1,2,3,4,5,6)\r\n227 end\r\n"), "1.2.3.4:1286");
}

TEST_F(FtpPassiveTest, EveryMalformedAddressFails) {
  for (const char* text : {"(1,2,3,4,5,6)",     "x",
                           "x (1,2,3,4,5)",     "x (1,2,3,4,5,6,7)",
                           "x (1,2,3,4,5,)",    "x (,2,3,4,5,6)",
                           "x 1,2,3,4,5,6",     "x (1,2,3,4,5,6",
                           "x ) (1,2,3,4,5,6)", "x ()",
                           "x (1.2.3.4.5.6)",   "x (256,2,3,4,5,6)",
                           "x (1,2,3,4,256,6)", "x (1,2,3,4,5,1000)",
                           "x (-1,2,3,4,5,6)",  "x (+1,2,3,4,5,6)",
                           "x (0x1,2,3,4,5,6)", "x (a,b,c,d,e,f)",
                           "x (1,2,3,4,5,6x)",  "x (=1,2,3,4,5,6)",
                           "x (1,2,3,4,0,0)",   "x (4294967297,2,3,4,5,6)"}) {
    EXPECT_EQ(Understood(std::string("227 ") + text + "\r\n"), "227") << text;
  }
}

TEST_F(FtpPassiveTest, AnAddressOfMoreThan23CharactersFails) {
  EXPECT_EQ(Understood("227 x (111,112,113,114,115,116)\r\n"), "111.112.113.114:29556");
  EXPECT_EQ(Understood("227 x ( 111,112,113,114,115,116)\r\n"), "227");
  EXPECT_EQ(Understood("227 x (" + std::string(200, '1') + ")\r\n"), "227");
}

TEST_F(FtpPassiveTest, OtherRepliesFail) {
  EXPECT_EQ(Understood("229 x (1,2,3,4,5,6)\r\n"), "229");
  EXPECT_EQ(Understood("500 what? (1,2,3,4,5,6)\r\n"), "500");
  EXPECT_EQ(Understood("127 x (1,2,3,4,5,6)\r\n"), "127");
}

TEST_F(FtpPassiveTest, InStandardModeTheAddressStandsAnywhereAndOnlyItsPortIsUsed) {
  for (const char* text :
       {"(10,0,0,1,4,5)", "Entering Passive Mode 10,0,0,1,4,5", "=10,0,0,1,4,5",
        "2 ways (10,0,0,1,4,5).", "Entering (1,2) Passive Mode (10,0,0,1,4,5)"}) {
    EXPECT_EQ(Understood(std::string("227 ") + text + "\r\n", kStatusStandardMode),
              "127.0.0.1:1029")
        << text;
  }
  for (const char* text : {"nothing", "(1,2,3,4,5)", "(256,1,1,1,1,300)", "(1,2,3,4,0,0)"}) {
    EXPECT_EQ(Understood(std::string("227 ") + text + "\r\n", kStatusStandardMode), "227") << text;
  }
}

TEST_F(FtpPassiveTest, WithoutStandardModeTheAddressIsUsedAsItIs) {
  // 127.0.0.2 is this machine, too, but nobody listens there.
  FtpSite site(Answering("227 x (127,0,0,2,%P)\r\n"));
  EXPECT_EQ(site.client.OpenResource("f", kOpenForWriting), 0);
  FtpSite standard(Answering("227 x (127,0,0,2,%P)\r\n"), kStatusPassive | kStatusStandardMode);
  EXPECT_EQ(standard.Store("f", "abc"), 1);
}

TEST_F(FtpPassiveTest, StandardModeWorksWithServersThatWriteNoParentheses) {
  FtpSite site(Answering("227 Entering Passive Mode %A,%P\r\n"),
               kStatusPassive | kStatusStandardMode);
  EXPECT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(site.Stored("f"), "abc");
}

TEST_F(FtpPassiveTest, InStandardModeAStrangersConnectionIsNotTaken) {
  FtpSite site(Deviating({}, {"* stranger"}), kStatusStandardMode);
  site.client.SetType("I");
  EXPECT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(site.Stored("f"), "abc");
}

TEST_F(FtpPassiveTest, WithoutStandardModeTheFirstConnectionIsTaken) {
  FtpSite site(Deviating({}, {"* stranger"}), 0);
  site.client.SetType("I");
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  site.client.Write("abc", 3);
  site.client.DisconnectDataStream();
  EXPECT_EQ(site.Stored("f"), "");
}

// Replies of several lines in standard mode.

TEST_F(FtpPassiveTest, InStandardModeAReplyEndsAtItsOwnCode) {
  FtpSite site(
      Deviating({"TYPE 1 reply \"200-a\\r\\n b\\r\\n123 c\\r\\n\\r\\n200-d\\r\\n200 e\\r\\n\"",
                 "TYPE 2 reply \"550-a\\r\\n550x\\r\\n 550 b\\r\\n550 c\\r\\n\"",
                 "TYPE 3 reply \"200 " + std::string(5000, 'x') + "\\r\\n\"",
                 "TYPE 4 reply \"200-" + std::string(5000, 'x') + "\\r\\n200 b\\r\\n\""}),
      kStatusPassive | kStatusStandardMode);
  EXPECT_EQ(site.client.SetType("I"), 1);
  EXPECT_EQ(site.client.SetType("I"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  for (int i = 3; i <= 5; ++i) EXPECT_EQ(site.client.SetType("I"), 1) << i;
}

TEST_F(FtpPassiveTest, InStandardModeAReplyThatBreaksOffIsNone) {
  for (const char* reply : {"TYPE 1 reply \"200-a\\r\\n200 b\" drop 12",
                            "TYPE 1 reply \"200-a\\r\\n\" drop 7", "TYPE 1 reply \"200\" drop 3"}) {
    FtpSite site(Deviating({reply}), kStatusPassive | kStatusStandardMode);
    EXPECT_EQ(site.client.SetType("I"), 0) << reply;
    EXPECT_EQ(site.client.Status() & kStatusConnected, 0U) << reply;
  }
}

TEST_F(FtpPassiveTest, InStandardModeAReplyWithoutEndIsGivenUp) {
  for (const char* line : {"200-more\\r\\n", "200-more and no line end "}) {
    FtpSite site(Deviating({std::string("TYPE * flood 300000 \"") + line + "\""}),
                 kStatusPassive | kStatusStandardMode);
    EXPECT_EQ(site.client.SetType("I"), 0);
    EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
  }
}

}  // namespace
