// The FTP client with real vsftpd, pure-ftpd and ProFTPD, over data connections of both kinds.
#include "ftp_servers.h"

#include <brevant/ftp.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace {

using test::FtpMake;
using test::FtpServerOf;

class FtpIntegration : public ::testing::TestWithParam<std::tuple<FtpMake, DWORD>> {
 protected:
  void SetUp() override {
    const std::string hindrance = FtpServerOf::Hindrance(Make());
    if (!hindrance.empty()) GTEST_SKIP() << hindrance;
    // A server's start takes longer than most tests: each serves all tests of its make.
    std::unique_ptr<FtpServerOf>& server = Servers()[Make()];
    if (server == nullptr) server = std::make_unique<FtpServerOf>(Make());
    server_ = server.get();
    server_->Clear();
    client_.Status() |= std::get<1>(GetParam());
    ASSERT_EQ(LogOn(), 1);
  }

  static void TearDownTestSuite() { Servers().clear(); }

  static std::map<FtpMake, std::unique_ptr<FtpServerOf>>& Servers() {
    static std::map<FtpMake, std::unique_ptr<FtpServerOf>> servers;
    return servers;
  }

  static FtpMake Make() { return std::get<0>(GetParam()); }

  // Into the directory that may be written to.
  int LogOn() {
    const TSecurityInfos security(server_->Account(), server_->Password());
    return client_.Connect("127.0.0.1", security, server_->Port()) != 0 &&
                   client_.SetType("I") != 0 &&
                   client_.ChangeDirectory(server_->RemoteDirectory()) != 0
               ? 1
               : 0;
  }

  int Store(const std::string& name, const std::string& bytes) {
    if (client_.OpenResource(name.c_str(), kOpenForWriting) == 0) return 0;
    if (!bytes.empty() && client_.Write(bytes.data(), static_cast<int>(bytes.size())) < 1) return 0;
    return client_.Close();
  }

  std::string Stored(const std::string& name) const { return server_->Bytes(name); }

  bool Exists(const std::string& name) const { return server_->Exists(name); }

  std::string Fetch(const std::string& name) {
    std::string bytes;
    if (client_.OpenResource(name.c_str(), kOpenForReading) == 0) return "cannot be opened";
    std::vector<char> block(65536);
    for (int count = client_.Read(block.data(), 65536); count > 0;
         count = client_.Read(block.data(), 65536)) {
      bytes.append(block.data(), static_cast<std::size_t>(count));
    }
    return client_.Close() != 0 ? bytes : "not closed";
  }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const TFindData& entry : client_.DirectoryList()) names.push_back(entry.name);
    std::sort(names.begin(), names.end());
    return names;
  }

  FtpServerOf* server_ = nullptr;
  TFTP client_;
};

INSTANTIATE_TEST_SUITE_P(
    , FtpIntegration,
    ::testing::Combine(::testing::ValuesIn(test::kFtpMakes),
                       ::testing::Values(0U, kStatusPassive, kStatusStandardMode,
                                         kStatusPassive | kStatusStandardMode)),
    [](const auto& kind) {
      const DWORD status = std::get<1>(kind.param);
      return std::string(test::NameOf(std::get<0>(kind.param))) +
             ((status & kStatusPassive) != 0 ? "Passive" : "Active") +
             ((status & kStatusStandardMode) != 0 ? "Standard" : "");
    });

std::string Pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31 + i / 253);
  return bytes;
}

TEST_P(FtpIntegration, FilesArriveAndComeBackByteForByte) {
  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, std::size_t{5000}, std::size_t{5000000}}) {
    EXPECT_EQ(Store("file", Pattern(size)), 1) << size;
    EXPECT_EQ(Stored("file"), Pattern(size)) << size;
    EXPECT_EQ(Fetch("file"), Pattern(size)) << size;
  }
}

TEST_P(FtpIntegration, ManyFilesOverOneConnection) {
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(Store("f" + std::to_string(i), Pattern(1000)), 1) << i;
  }
  EXPECT_EQ(server_->Tree().size(), 200U);
}

TEST_P(FtpIntegration, RenameAndDelete) {
  ASSERT_EQ(Store("a", "1"), 1);
  EXPECT_EQ(client_.RenameResource("a", "b"), 1);
  EXPECT_FALSE(Exists("a"));
  EXPECT_EQ(Stored("b"), "1");
  EXPECT_EQ(client_.RenameResource("a", "c"), 0);
  EXPECT_EQ(client_.DeleteResource("b"), 1);
  EXPECT_FALSE(Exists("b"));
  EXPECT_EQ(client_.DeleteResource("b"), 1);  // is gone already
}

TEST_P(FtpIntegration, Directories) {
  EXPECT_EQ(client_.MakeDirectory("sub/"), 1);
  EXPECT_TRUE(Exists("sub/"));
  EXPECT_EQ(client_.MakeDirectory("sub"), 0);
  EXPECT_EQ(client_.ChangeDirectory("nowhere"), 0);
  EXPECT_EQ(client_.ChangeDirectory("sub"), 1);
  EXPECT_EQ(Store("f", "1"), 1);
  EXPECT_EQ(Stored("sub/f"), "1");
  EXPECT_EQ(client_.ChangeDirectory(".."), 1);
  EXPECT_EQ(Store("sub/g", "2"), 1);  // and stays there
  EXPECT_EQ(Stored("sub/g"), "2");
  EXPECT_EQ(client_.ChangeDirectory(".."), 1);
  EXPECT_EQ(client_.DeleteDirectory("sub", 0), 0);
  EXPECT_EQ(client_.DeleteDirectory("sub", 1), 1);
  EXPECT_FALSE(Exists("sub"));
  EXPECT_EQ(client_.MakeDirectory("empty"), 1);
  EXPECT_EQ(client_.DeleteDirectory("empty", 1), 1);
  EXPECT_FALSE(Exists("empty"));
}

TEST_P(FtpIntegration, NamesArriveAsTheyAre) {
  const std::vector<std::string> names = {
      "-dash", "-la",        "a b c", "#hash", "%41",   "100%",       "\xc3\xa4\xe2\x82\xac",
      "a;b=c", "(x) [y]",    "it's",  "&amp;", "~home", "Upper.HTML", "x, y",
      "a=b",   "\"quoted\"",
  };
  for (const std::string& name : names) {
    EXPECT_EQ(Store(name, name), 1) << name;
    EXPECT_EQ(Stored(name), name) << name;
  }
  EXPECT_EQ(client_.GetDirectoryList(1), 1);
  std::vector<std::string> sorted = names;
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(Names(), sorted);
  for (const std::string& name : names) {
    EXPECT_EQ(client_.DeleteResource(name.c_str()), 1) << name;
    EXPECT_FALSE(Exists(name)) << name;
  }
}

TEST_P(FtpIntegration, ListingsTellSizesAndTimes) {
  ASSERT_EQ(Store("large.bin", Pattern(123456)), 1);
  ASSERT_EQ(client_.MakeDirectory("sub"), 1);
  ASSERT_EQ(client_.GetDirectoryList(1), 1);
  ASSERT_EQ(Names(), (std::vector<std::string>{"large.bin", "sub"}));
  for (const TFindData& entry : client_.DirectoryList()) {
    if (entry.name == "sub") {
      EXPECT_EQ(entry.attributes, 16U);
    } else {
      EXPECT_EQ(entry.attributes, 0U);
      EXPECT_EQ(entry.sizeLow, 123456U);
      EXPECT_EQ(TTime(entry.lastWriteTime).Year(), TTime::Now().Year());
    }
  }
  TFTPSearcher searcher(&client_, "*.bin");
  ASSERT_EQ(searcher.GetFirst(), 1);
  EXPECT_EQ(searcher.name, "large.bin");
  EXPECT_EQ(searcher.GetNext(), 0);
  ASSERT_EQ(client_.GetFileInfo("large.bin"), 1);
  EXPECT_EQ(client_.GetSize(), 123456U);
  EXPECT_EQ(client_.SetType("I"), 1);
}

TEST_P(FtpIntegration, AStoreThatIsInterruptedLeavesTheServerUsableAgain) {
  ASSERT_EQ(client_.OpenResource("half", kOpenForWriting), 1);
  const std::string bytes = Pattern(100000);
  ASSERT_GT(client_.Write(bytes.data(), static_cast<int>(bytes.size())), 0);
  EXPECT_EQ(client_.Interrupt(), 1);
  EXPECT_GE(client_.Close(), 0);
  EXPECT_EQ(Store("whole", bytes), 1);
  EXPECT_EQ(Stored("whole"), bytes);
}

// One way of opening data connections will do for what takes long.
class FtpListing : public FtpIntegration {};

INSTANTIATE_TEST_SUITE_P(, FtpListing,
                         ::testing::Combine(::testing::ValuesIn(test::kFtpMakes),
                                            ::testing::Values(kStatusPassive)),
                         [](const auto& kind) {
                           return std::string(test::NameOf(std::get<0>(kind.param)));
                         });

TEST_P(FtpListing, TenThousandFilesAreListed) {
  server_->Fill(10000, "file ", std::string(1000, 'x'));
  ASSERT_EQ(client_.GetDirectoryList(1), 1);
  EXPECT_EQ(client_.DirectoryList().size(), 10000U);
  EXPECT_EQ(std::count_if(client_.DirectoryList().begin(), client_.DirectoryList().end(),
                          [](const TFindData& entry) { return entry.sizeLow == 1000; }),
            10000);
}

TEST_P(FtpListing, AWrongPasswordIsRefused) {
  // vsftpd knows anonymous users only, which have none; any other account is refused.
  TFTP other;
  EXPECT_EQ(other.Connect("127.0.0.1", TSecurityInfos("board", "wrong"), server_->Port()), 0);
  EXPECT_EQ(other.LastReplyCode(), 530);
}

// Telnet would have this byte doubled; the servers store it as it comes.
TEST_P(FtpListing, AByteOf255IsPartOfTheName) {
  EXPECT_EQ(Store("a\xff"
                  "b",
                  "1"),
            1);
  EXPECT_TRUE(
      Exists("a\xff"
             "b"));
}

TEST_P(FtpIntegration, AfterARestartItConnectsAgain) {
  ASSERT_EQ(Store("a", "1"), 1);
  server_->Stop();
  EXPECT_EQ(Store("b", "2"), 0);
  client_.SetType("I");  // vsftpd still tells that a process of its died
  EXPECT_EQ(client_.Status() & kStatusConnected, 0U);
  server_->Start();
  ASSERT_EQ(LogOn(), 1);
  EXPECT_EQ(Store("b", "2"), 1);
  EXPECT_EQ(Stored("b"), "2");
}

TEST_P(FtpIntegration, SiteCommandsReachTheServer) {
  ASSERT_EQ(Store("a", "1"), 1);
  EXPECT_EQ(client_.ExecuteCommand("no such thing"), 0);
  // vsftpd lets no anonymous user do this.
  if (Make() == FtpMake::kVsftpd) return;
  EXPECT_EQ(client_.ExecuteCommand("CHMOD 600 a"), 1);
  EXPECT_EQ(server_->Permissions("a"), 0600);
}

}  // namespace
