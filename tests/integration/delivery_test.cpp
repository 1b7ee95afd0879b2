// A generated site delivered to real servers: vsftpd, pure-ftpd and ProFTPD, over data connections
// of both kinds, directly and through a temporary name.
#include "frame/task_factory.h"
#include "ftp_servers.h"
#include "support/temporary_directory.h"

#include <brevant/brevant.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace {

namespace fs = std::filesystem;

using test::FtpMake;
using test::FtpServerOf;

std::vector<std::string> history;
std::function<void(const std::string&)> onHistory;

class DeliveryIntegration : public ::testing::Test {
 protected:
  void Prepare(FtpMake make) {
    const std::string hindrance = FtpServerOf::Hindrance(make);
    if (!hindrance.empty()) GTEST_SKIP() << hindrance;
    // The factory's table comes from above it; naming it here makes the linker bring it in.
    ASSERT_FALSE(brevant::TaskTable().empty());
    server_ = std::make_unique<FtpServerOf>(make);
    for (const std::string& part : {data_, site_}) fs::create_directory(part);
    SetProgramDirectory(directory_.Path().c_str());
    for (const char* piece : {"radio.htf", "combobox.htf", "graph.htf"}) {
      fs::copy(std::string(BREVANT_TEMPLATES) + "/" + piece, directory_ / piece);
    }
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
    SetVisualFunctions("HISTORY", reinterpret_cast<void*>(+[](const char* text) {
                         history.emplace_back(text);
                         if (onHistory) onHistory(text);
                       }));
    const std::pair<const char*, std::string> settings[] = {
        {"BBS Name", "My Board"},
        {"E-Mail Address", "board@example.org"},
        {"Data Directory", data_},
        {"Local Directory", site_},
        {"HTML Template Directory", BREVANT_TEMPLATES "/"},
        {"HTML File - Forum list", "index"},
        {"HTML File - Message list", "messages"},
        {"FTP Server", "127.0.0.1"},
        {"FTP Port", std::to_string(server_->Port())},
        {"FTP Account", server_->Account()},
        {"FTP Password", server_->Password()},
        {"Remote Directory", server_->RemoteDirectory()},
        {"Keep File Name Case", "1"},
        {"Passive FTP Data Mode", "1"},
        {"Standard FTP Mode", "1"}};
    for (const auto& [key, value] : settings) setup_->String(key, value.c_str());
  }

  void TearDown() override {
    onHistory = nullptr;
    SetVisualFunctions("HISTORY", nullptr);
    if (setup_ == nullptr) return;
    UninitializeBrevant();
    ClosePersistentState(state_);
    CloseSetup(setup_);
    SetProgramDirectory(nullptr);
  }

  void MakeSite() {
    TForum* forum = CreateForum("General Talk", data_.c_str());
    ASSERT_NE(forum, nullptr);
    for (int i = 0; i < 20; ++i) {
      TMail* message = OpenMessage(0, nullptr);
      message->String("SUBJECT", ("Message " + std::to_string(i)).c_str());
      message->String("FROM", "ann@example.org");
      message->String("Content", "Hello <b>all</b>");
      message->String("Document Type", "text/html");
      EXPECT_NE(InsertMessage(message, forum), 0u);
      CloseMessage(message);
    }
    CloseForum(forum);
    ASSERT_EQ(RunTask("HTML"), 1);
    ASSERT_TRUE(fs::exists(site_ + "index.htm"));
    // What an owner puts beside the pages.
    for (const char* name : {"with blank.html", "-leading.htm", "#hash.htm", "100%.htm", "a=b.htm",
                             "Mixed.Case", "pictures/a.gif", "pictures/More Here/[b].gif"}) {
      File(name, std::string("content of ") + name);
    }
    const std::string beyond = "gr\xC3\xBC\xC3\x9F";
    File(beyond + ".html", "1");
    if (fs::exists(site_ + beyond + ".html")) {
      File(beyond + "/page.htm", "2");
    } else {
      std::cout << "[          ] left out: names in UTF-8, since narrow names are not UTF-8 here\n";
      std::remove((site_ + beyond + ".html").c_str());
    }
    std::string bytes;
    for (int i = 0; i < 300000; ++i) bytes.push_back(static_cast<char>(i * 7 + i / 256));
    File("large.bin", bytes);
    File("empty.txt", "");
  }

  void File(const std::string& name, const std::string& bytes) {
    fs::create_directories(fs::path(site_ + name).parent_path());
    test::WriteFileBytes(site_ + name, bytes);
  }

  static int RunTask(const char* name) {
    TTask* task = CreateTask(name);
    if (task == nullptr) return -1;
    const int result = task->Execute();
    DestroyTask(task);
    return result;
  }
  int Deliver() {
    history.clear();
    state_->Number("Last Site Transfer Time", DWORD{0});
    state_->Time("Last Site Update Time", TTime::Now());
    return RunTask("FILE DELIVERY");
  }

  static std::map<std::string, std::string> TreeOf(const std::string& root) {
    std::map<std::string, std::string> tree;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      const std::string path = entry.path().lexically_relative(fs::path(root)).generic_string();
      tree[path] = entry.is_directory() ? "/" : test::ReadFileBytes(entry.path().string());
    }
    return tree;
  }
  void ExpectDelivered() {
    std::string text;
    for (const std::string& line : history) text += line + "\n";
    EXPECT_EQ(text.find("Cannot"), std::string::npos) << text;
    EXPECT_TRUE(server_->Tree() == TreeOf(site_)) << text;
  }

  test::TemporaryDirectory directory_;
  std::string data_ = directory_ / "data/";
  std::string site_ = directory_ / "www/";
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
  std::unique_ptr<FtpServerOf> server_;
};

// Make, passive, indirect.
class DeliveryModes : public DeliveryIntegration,
                      public ::testing::WithParamInterface<std::tuple<FtpMake, bool, bool>> {
 protected:
  void SetUp() override {
    Prepare(std::get<0>(GetParam()));
    if (IsSkipped() || HasFatalFailure()) return;
    setup_->Number("Passive FTP Data Mode", DWORD{std::get<1>(GetParam()) ? 1U : 0U});
    setup_->Number("Indirect FTP transfer", DWORD{std::get<2>(GetParam()) ? 1U : 0U});
    MakeSite();
  }
};

INSTANTIATE_TEST_SUITE_P(, DeliveryModes,
                         ::testing::Combine(::testing::ValuesIn(test::kFtpMakes), ::testing::Bool(),
                                            ::testing::Bool()),
                         [](const auto& names) {
                           return std::string(test::NameOf(std::get<0>(names.param))) +
                                  (std::get<1>(names.param) ? "Passive" : "Active") +
                                  (std::get<2>(names.param) ? "Indirect" : "Direct");
                         });

TEST_P(DeliveryModes, TheSiteArrivesAndTheSecondRunSendsNothing) {
  EXPECT_EQ(Deliver(), 1);
  ExpectDelivered();
  EXPECT_EQ(Deliver(), 1);
  EXPECT_TRUE(history.empty());
}

TEST_P(DeliveryModes, ChangedNewAndRemovedFilesOfEveryDirectory) {
  EXPECT_EQ(Deliver(), 1);
  File("index.htm", "changed");
  File("pictures/a.gif", "changed");
  File("pictures/new.gif", "new");
  File("new here/x.htm", "x");
  fs::remove(site_ + "large.bin");
  fs::remove(site_ + "pictures/More Here/[b].gif");
  EXPECT_EQ(Deliver(), 1);
  ExpectDelivered();
  const auto said = [](const char* line) {
    return std::count(history.begin(), history.end(), line) == 1;
  };
  EXPECT_TRUE(said("Removed large.bin successfully"));
  EXPECT_TRUE(said("Removed [b].gif successfully"));
  EXPECT_TRUE(said("Transferred new.gif successfully"));
  const auto sent = std::count_if(history.begin(), history.end(), [](const std::string& line) {
    return line.starts_with("Transferred") || line.starts_with("Updated");
  });
  EXPECT_EQ(sent, 4);
}

TEST_P(DeliveryModes, DirectoriesComeChangeAndGo) {
  setup_->Number("Deliver Every Folder", DWORD{1});
  EXPECT_EQ(Deliver(), 1);
  ExpectDelivered();
  File("new/deep/x.htm", "x");
  fs::create_directories(site_ + "empty");
  File("pictures/a.gif", "changed");
  fs::remove_all(site_ + "pictures/More Here");
  EXPECT_EQ(Deliver(), 1);
  ExpectDelivered();
  fs::remove_all(site_ + "pictures");
  fs::remove_all(site_ + "new");
  fs::remove_all(site_ + "empty");
  EXPECT_EQ(Deliver(), 1);
  ExpectDelivered();
  EXPECT_EQ(Deliver(), 1);
  EXPECT_TRUE(history.empty());
}

TEST_P(DeliveryModes, AServerThatIsRestartedInTheMiddleGetsTheRestInTheNextRun) {
  int transferred = 0;
  onHistory = [&](const std::string& line) {
    if (!line.starts_with("Transferred") || ++transferred != 6) return;
    server_->Stop();
    server_->Start();
  };
  EXPECT_EQ(Deliver(), 0);
  EXPECT_LT(server_->Tree().size(), TreeOf(site_).size());
  onHistory = nullptr;
  const auto first = history;
  EXPECT_EQ(Deliver(), 1);
  ExpectDelivered();
  // What had arrived is not sent again.
  for (const std::string& line : first) {
    if (!line.starts_with("Transferred")) continue;
    EXPECT_EQ(std::count(history.begin(), history.end(), line), 0) << line;
  }
}

class DeliveryMakes : public DeliveryIntegration, public ::testing::WithParamInterface<FtpMake> {
 protected:
  void SetUp() override { Prepare(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(, DeliveryMakes, ::testing::ValuesIn(test::kFtpMakes),
                         [](const auto& names) { return test::NameOf(names.param); });

TEST_P(DeliveryMakes, WithoutStandardModeAndWithNamesInLowerCase) {
  setup_->Number("Standard FTP Mode", DWORD{0});
  setup_->Number("Keep File Name Case", DWORD{0});
  File("INDEX.HTM", "a");
  File("Long Name.html", "b");
  File("sub/LOGO.GIF", "c");
  EXPECT_EQ(Deliver(), 1);
  const std::map<std::string, std::string> expected = {
      {"index.htm", "a"}, {"Long Name.html", "b"}, {"sub", "/"}, {"sub/logo.gif", "c"}};
  EXPECT_EQ(server_->Tree(), expected);
  // An unchanged directory hides what changed below it.
  File("sub/LOGO.GIF", "changed");
  EXPECT_EQ(Deliver(), 1);
  EXPECT_EQ(server_->Tree(), expected);
}

TEST_P(DeliveryMakes, TenThousandFilesInADirectory) {
  // The other servers get a tenth: it is the library's side that is of interest.
  const int count = GetParam() == FtpMake::kVsftpd ? 10000 : 1000;
  for (int i = 0; i < count; ++i) {
    File("message--f--general_talk--" + std::to_string(i) + ".htm", std::to_string(i * i));
  }
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(Deliver(), 1);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  ExpectDelivered();
  std::cout << "[          ] " << count << " files in " << took.count() << " s\n";
  File("message--f--general_talk--77.htm", "changed");
  fs::remove(site_ + "message--f--general_talk--78.htm");
  EXPECT_EQ(Deliver(), 1);
  EXPECT_EQ(history.size(), 3U);
  ExpectDelivered();
}

}  // namespace
