// Files sent and fetched by the FTP client, over data connections of both kinds.
#include "ftp_fixture.h"

#include <algorithm>
#include <filesystem>

namespace {

using test::Deviating;
using test::FtpSite;
using test::History;
using test::Lines;

using FtpTransferTest = test::FtpTest;

class FtpTransferBothWays : public test::FtpBothWays {};

INSTANTIATE_TEST_SUITE_P(, FtpTransferBothWays, ::testing::Values(0U, DWORD{kStatusPassive}),
                         [](const auto& kind) { return kind.param != 0 ? "Passive" : "Active"; });

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

TEST_P(FtpTransferBothWays, AFileArrivesByteForByte) {
  FtpSite site(GetParam());
  EXPECT_EQ(site.client.SetType("I"), 1);
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, std::size_t{4096}, std::size_t{3000000}}) {
    EXPECT_EQ(site.Store("f", Pattern(size)), 1) << size;
    EXPECT_EQ(site.Stored("f"), Pattern(size)) << size;
    EXPECT_TRUE(test::FileExists(site.root / "f"));
  }
  EXPECT_TRUE(History::Lines().empty());
}

TEST_P(FtpTransferBothWays, AFileComesByteForByte) {
  FtpSite site(GetParam());
  EXPECT_EQ(site.client.SetType("I"), 1);
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{2000000}}) {
    test::WriteFileBytes(site.root / "f", Pattern(size));
    ASSERT_EQ(site.client.OpenResource("f", kOpenForReading), 1) << size;
    EXPECT_EQ(site.client.Status() & 7U, 7U);
    // The line's largest number; a small file has its count of links there.
    EXPECT_EQ(site.client.GetSize(), std::max(size, std::size_t{1}));
    EXPECT_EQ(test::ReadAll(site.client, 65536), Pattern(size)) << size;
    EXPECT_EQ(site.client.Status() & kStatusResourceOpen, 0U);
    EXPECT_EQ(site.client.Close(), 1);
    EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
  }
}

TEST_P(FtpTransferBothWays, AFileTakesTwoCommands) {
  FtpSite site(GetParam());
  site.server.ForgetCommands();
  EXPECT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(site.server.Verbs(), (Lines{GetParam() != 0 ? "PASV" : "PORT", "STOR"}));
}

TEST_P(FtpTransferBothWays, StoringSetsBitsOneAndFour) {
  FtpSite site(GetParam());
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  EXPECT_EQ(site.client.Status() & 63U,
            DWORD{kStatusConnected} | kStatusResourceOpen | kStatusMayTransfer);
  EXPECT_EQ(site.client.Write("abc", 3), 3);
  EXPECT_EQ(site.client.GetTransferred(), 3U);
  EXPECT_EQ(site.client.Close(), 1);
  EXPECT_EQ(site.client.Status() & (kStatusResourceOpen | kStatusDataStream), 0U);
  EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
}

TEST_P(FtpTransferBothWays, NamesArriveAsTheyAre) {
  FtpSite site(GetParam());
  const Lines names = {
      "a b",   " leading",       "-dash",      "#hash", "%41", "100%", "\xc3\xa4\xe2\x82\xac",
      "a;b=c", "name.with.dots", "UPPER.Html", "~home", "(x)", "it's", "&amp;"};
  for (const std::string& name : names) {
    EXPECT_EQ(site.Store(name, name), 1) << name;
  }
  EXPECT_EQ(site.client.GetDirectoryList(), 1);
  EXPECT_EQ(site.client.DirectoryList().size(), names.size());
  for (const TFindData& entry : site.client.DirectoryList()) {
    EXPECT_NE(std::find(names.begin(), names.end(), entry.name), names.end()) << entry.name;
    EXPECT_EQ(entry.sizeLow, std::max<std::size_t>(entry.name.size(), 1)) << entry.name;
  }
  for (const std::string& name : names) EXPECT_EQ(site.client.DeleteResource(name.c_str()), 1);
  EXPECT_TRUE(std::filesystem::is_empty(std::filesystem::path(site.root.Path())));
}

TEST_P(FtpTransferBothWays, ARefusedTransferOpensNothing) {
  FtpSite site(Deviating({"STOR * reply \"553 no\\r\\n\"", "RETR * reply \"550 none\\r\\n\"",
                          "LIST * reply \"550 none\\r\\n\""}),
               GetParam());
  EXPECT_EQ(site.client.OpenResource("f", kOpenForWriting), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 553);
  EXPECT_EQ(site.client.OpenResource("f", kOpenForReading), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  EXPECT_EQ(site.client.Status() & (kStatusResourceOpen | kStatusConnected),
            DWORD{kStatusConnected});
  EXPECT_EQ(site.client.Close(), 1);  // no reply is due
  EXPECT_EQ(site.client.SetType("I"), 1);
}

TEST_P(FtpTransferBothWays, StoreRefusedWith550DeletesAndTriesOnceMore) {
  FtpSite site(Deviating({"STOR 1 reply \"550 exists\\r\\n\""}), GetParam());
  test::WriteFileBytes(site.root / "f", "old");
  EXPECT_EQ(site.Store("f", "new"), 1);
  EXPECT_EQ(site.Stored("f"), "new");
  EXPECT_EQ(site.Commands(), (Lines{"STOR f", "DELE f", "STOR f"}));
}

TEST_P(FtpTransferBothWays, ASecondRefusalWith550IsFinal) {
  FtpSite site(Deviating({"STOR * reply \"550 no\\r\\n\""}), GetParam());
  EXPECT_EQ(site.client.OpenResource("f", kOpenForWriting), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  EXPECT_EQ(site.Commands(), (Lines{"STOR f", "DELE f", "STOR f"}));
}

TEST_F(FtpTransferTest, OnlyARefusalOfTheStoreItselfDeletes) {
  FtpSite refused(Deviating({"PASV * reply \"550 no\\r\\n\""}));
  EXPECT_EQ(refused.client.OpenResource("f", kOpenForWriting), 0);
  EXPECT_EQ(refused.client.LastReplyCode(), 550);
  EXPECT_EQ(refused.Commands(), Lines{});
  // A 550 of long ago is not this one's.
  FtpSite unreachable(Deviating({"TYPE * reply \"550 no\\r\\n\""}, {"* refused"}));
  EXPECT_EQ(unreachable.client.SetType("I"), 0);
  EXPECT_EQ(unreachable.client.OpenResource("f", kOpenForWriting), 0);
  EXPECT_EQ(unreachable.Commands(), Lines{"TYPE I"});
}

TEST_P(FtpTransferBothWays, APathChangesTheDirectoryAndStaysThere) {
  FtpSite site(GetParam());
  std::filesystem::create_directories(site.root / "a/b");
  EXPECT_EQ(site.Store("a/b/f", "1"), 1);
  EXPECT_EQ(site.Stored("a/b/f"), "1");
  EXPECT_EQ(site.Store("g", "2"), 1);
  EXPECT_EQ(site.Stored("a/b/g"), "2");
  EXPECT_EQ(site.Store("/h", "3"), 1);
  EXPECT_EQ(site.Stored("h"), "3");
  EXPECT_EQ(site.Commands(), (Lines{"CWD a/b", "STOR f", "STOR g", "CWD /", "STOR h"}));
}

TEST_P(FtpTransferBothWays, ABackslashSeparatesOnlyWithoutASlash) {
  test::FtpOptions options;
  options.refusedSeparator = '\1';  // a server for which backslashes separate
  FtpSite site(options, GetParam());
  std::filesystem::create_directories(site.root / "a/b");
  EXPECT_EQ(site.client.OpenResource("a\\b\\f", kOpenForWriting), 1);
  site.client.Close();
  EXPECT_EQ(site.client.OpenResource("/a/b\\f", kOpenForWriting), 1);
  site.client.Close();
  EXPECT_EQ(site.Commands(), (Lines{"CWD a\\b", "STOR f", "CWD /a", "STOR b\\f"}));
}

TEST_P(FtpTransferBothWays, AFailedChangeOfDirectoryFailsTheOpening) {
  FtpSite site(GetParam());
  EXPECT_EQ(site.client.OpenResource("nowhere/f", kOpenForWriting), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  EXPECT_EQ(site.Commands(), Lines{"CWD nowhere"});
}

TEST_F(FtpTransferTest, OtherModesAndNoNameOpenNothing) {
  FtpSite site;
  for (const int mode : {0, 3, -1}) EXPECT_EQ(site.client.OpenResource("f", mode), 0);
  EXPECT_EQ(site.client.OpenResource(nullptr, kOpenForWriting), 0);
  EXPECT_EQ(site.Commands(), Lines{});
}

TEST_F(FtpTransferTest, OpenUrlLogsOnAndOpens) {
  test::TemporaryDirectory root;
  test::WriteFileBytes(root / "f", "abc");
  test::FtpServer server(root.Path());
  TFTP client;
  client.Status() |= kStatusPassive;
  TURL url;
  url.account = "me";
  url.password = "x";
  url.host = "127.0.0.1";
  url.path = "f";
  url.port = server.Port();
  ASSERT_EQ(client.OpenURL(url, kOpenForReading), 1);
  EXPECT_EQ(test::ReadAll(client), "abc");
  EXPECT_EQ(client.GetTransferred(), 3U);
  EXPECT_EQ(client.GetRemaining(), 0U);
}

TEST_F(FtpTransferTest, PutAndGetCopyLocalFiles) {
  FtpSite site;
  test::TemporaryDirectory local;
  test::WriteFileBytes(local / "a", Pattern(1000));
  test::WriteFileBytes(local / "b", "");
  site.client.SetType("I");
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  EXPECT_EQ(site.client.Put((local / "a").c_str()), 1);
  EXPECT_EQ(site.client.Close(), 1);
  EXPECT_EQ(site.Stored("f"), Pattern(1000));
  ASSERT_EQ(site.client.OpenResource("f", kOpenForReading), 1);
  EXPECT_EQ(site.client.Get((local / "b").c_str()), 1);
  EXPECT_EQ(site.client.Close(), 1);
  EXPECT_EQ(test::ReadFileBytes(local / "b"), Pattern(1000));
}

// What Close waits for.

TEST_P(FtpTransferBothWays, CloseTakesTheFinalReplyAndSucceedsWhateverItIs) {
  FtpSite site(Deviating({"STOR-END 1 reply \"451 disk full\\r\\n\"",
                          "STOR-END 2 reply \"552-quota\\r\\n552 exceeded\\r\\n\""}),
               GetParam());
  EXPECT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(site.client.LastReplyCode(), 451);
  EXPECT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(site.client.LastReplyCode(), 552);
  EXPECT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(History::Lines(), (Lines{"disk full (FTP:451)", "quota (FTP:552)"}));
}

TEST_P(FtpTransferBothWays, InStandardModeCloseTellsWhetherItSucceeded) {
  FtpSite site(
      Deviating({"STOR-END 1 reply \"451 disk full\\r\\n\"", "STOR-END 2 reply \"426 cut\\r\\n\"",
                 "STOR-END 3 reply \"150 what?\\r\\n\"", "STOR-END 4 reply \"250 done\\r\\n\""}),
      GetParam() | kStatusStandardMode);
  EXPECT_EQ(site.Store("f", "abc"), 0);
  EXPECT_EQ(site.Store("f", "abc"), 0);
  EXPECT_EQ(site.Store("f", "abc"), 0);
  EXPECT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(site.Store("f", "abc"), 1);
  EXPECT_EQ(site.client.Close(), 1);  // without a transfer
}

TEST_P(FtpTransferBothWays, AMissingFinalReplyEndsTheUseOfTheConnection) {
  for (const DWORD mode : {DWORD{0}, DWORD{kStatusStandardMode}}) {
    FtpSite site(Deviating({"STOR-END * silent"}), GetParam() | mode);
    ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
    site.ExpectSilence();
    EXPECT_EQ(site.client.Close(), mode == 0 ? 1 : 0);
    EXPECT_EQ(site.client.Status() & (DWORD{kStatusConnected} | kStatusResourceOpen), 0U);
    EXPECT_EQ(site.client.OpenResource("g", kOpenForWriting), 0);
    EXPECT_EQ(site.Commands(), Lines{"STOR f"});
  }
}

TEST_P(FtpTransferBothWays, AFileThatNobodyClosedIsClosedByTheNextOne) {
  FtpSite site(GetParam());
  site.client.SetType("I");
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  EXPECT_EQ(site.client.Write("abc", 3), 3);
  ASSERT_EQ(site.client.OpenResource("g", kOpenForWriting), 1);
  EXPECT_EQ(site.client.Write("def", 3), 3);
  EXPECT_EQ(site.client.Close(), 1);
  // The replies are still those of their own commands.
  EXPECT_EQ(site.client.ChangeDirectory("nowhere"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
  EXPECT_EQ(site.Stored("f"), "abc");
  EXPECT_EQ(site.Stored("g"), "def");
}

TEST_P(FtpTransferBothWays, AFileThatNobodyClosedIsClosedByTheNextCommand) {
  FtpSite site(GetParam());
  std::filesystem::create_directory(site.root / "d");
  site.client.SetType("I");
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  EXPECT_EQ(site.client.Write("abc", 3), 3);
  EXPECT_EQ(site.Store("d/g", "def"), 1);
  EXPECT_EQ(site.Stored("f"), "abc");
  EXPECT_EQ(site.Stored("d/g"), "def");
  // Of one that is being fetched the rest is dropped.
  test::WriteFileBytes(site.root / "d/h", Pattern(8 << 20));
  ASSERT_EQ(site.client.OpenResource("h", kOpenForReading), 1);
  EXPECT_EQ(site.client.ChangeDirectory(".."), 1);
  EXPECT_EQ(site.client.Status() & kStatusResourceOpen, 0U);
}

// Data connections that fail.

TEST_P(FtpTransferBothWays, ADataConnectionThatIsRefusedFailsTheOpening) {
  FtpSite site(Deviating({}, {"1 refused"}), GetParam());
  EXPECT_EQ(site.client.OpenResource("f", kOpenForWriting), 0);
  EXPECT_EQ(site.client.LastReplyCode(), GetParam() != 0 ? 0 : 425);
  EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
  EXPECT_EQ(site.client.ChangeDirectory("nowhere"), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 550);
}

TEST_F(FtpTransferTest, AServerThatNeverConnectsIsWaitedForUntilTheTimeOut) {
  FtpSite site(
      Deviating({"STOR * reply \"150 soon\\r\\n\"", "STOR-END * delay 3000"}, {"* refused"}), 0);
  site.ExpectSilence();
  EXPECT_EQ(site.client.OpenResource("f", kOpenForWriting), 0);
  EXPECT_EQ(site.client.Status() & kStatusResourceOpen, 0U);
}

TEST_F(FtpTransferTest, ARefusedPortFailsTheOpening) {
  FtpSite site(Deviating({"PORT * reply \"500 no\\r\\n\""}), 0);
  EXPECT_EQ(site.client.OpenResource("f", kOpenForWriting), 0);
  EXPECT_EQ(site.client.LastReplyCode(), 500);
  EXPECT_EQ(site.Commands(), Lines{});
}

TEST_P(FtpTransferBothWays, AFetchThatIsCutOffEndsThere) {
  for (const char* fault : {"1 cut 70000", "1 cut 70000 reset"}) {
    FtpSite site(Deviating({}, {"1 cut 0", std::string("2") + (fault + 1)}),
                 GetParam() | kStatusStandardMode);
    test::WriteFileBytes(site.root / "f", Pattern(200000));
    site.client.SetType("I");
    const int opened = site.client.OpenResource("f", kOpenForReading);
    // A connection that is reset before it was taken may count as never made.
    if (opened == 0 && GetParam() == 0 && std::string(fault).ends_with("reset")) continue;
    ASSERT_EQ(opened, 1);
    EXPECT_LE(test::ReadAll(site.client).size(), 70000U);
    EXPECT_EQ(site.client.Status() & kStatusResourceOpen, 0U);
    EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
    EXPECT_EQ(site.client.Close(), 0);
    EXPECT_EQ(site.client.LastReplyCode(), 426);
    EXPECT_EQ(site.client.SetType("I"), 1);
  }
}

TEST_P(FtpTransferBothWays, AStoreThatIsCutOffFailsAndTheConnectionGoesOn) {
  FtpSite site(Deviating({}, {"1 cut 1000"}), GetParam() | kStatusStandardMode);
  site.client.SetType("I");
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  const std::string bytes = Pattern(1 << 20);
  int written = 0;
  for (int i = 0; i < 64; ++i) {
    written = site.client.Write(bytes.data(), static_cast<int>(bytes.size()));
    if (written < 1) break;
  }
  EXPECT_LT(written, 1);
  EXPECT_EQ(site.client.Status() & kStatusResourceOpen, 0U);
  EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
  EXPECT_EQ(site.client.Close(), 0);
  EXPECT_EQ(site.Stored("f").size(), 1000U);
  EXPECT_EQ(site.Store("g", "abc"), 1);
}

TEST_P(FtpTransferBothWays, AServerThatStallsIsGivenUpAfterTheTimeOut) {
  FtpSite site(Deviating({}, {"* stall 1000"}), GetParam());
  site.client.SetTimeout(test::kShortTimeout);
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  brevant::ResetDeadline();
  const std::string bytes = Pattern(16 << 20);
  EXPECT_LT(site.client.Write(bytes.data(), static_cast<int>(bytes.size())), 1);
  EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
  EXPECT_EQ(site.client.Close(), 1);
  EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
}

TEST_P(FtpTransferBothWays, AFailedDataConnectionLeavesTheControlConnectionAlone) {
  FtpSite site(GetParam());
  char byte = 'x';
  EXPECT_EQ(site.client.Read(&byte, 1), -1);
  EXPECT_EQ(site.client.Write(&byte, 1), -1);
  EXPECT_EQ(site.client.Status() & kStatusConnected, DWORD{kStatusConnected});
}

TEST_P(FtpTransferBothWays, TheControlConnectionLostDuringATransferIsNoticedAtItsEnd) {
  FtpSite site(Deviating({"STOR-END * drop 0"}), GetParam());
  ASSERT_EQ(site.client.OpenResource("f", kOpenForWriting), 1);
  EXPECT_EQ(site.client.Write("abc", 3), 3);
  EXPECT_EQ(site.client.Close(), 1);
  EXPECT_EQ(site.client.Status() & kStatusConnected, 0U);
}

}  // namespace
