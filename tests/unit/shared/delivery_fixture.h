// A site in a temporary directory and an FTP server on the loopback interface.
#pragma once

#include "net/waiting.h"
#include "retrieval_fixture.h"
#include "shared/filetask.h"
#include "support/ftp_server.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test {

class Delivery : public ::testing::Test {
 protected:
  using Names = std::vector<std::string>;

  void SetUp() override {
    // The deadline is shared by the process and only rises; a long one of another test goes.
    brevant::ResetDeadline();
    for (const char* part : {"site", "remote", "remote/www"}) {
      std::filesystem::create_directory(directory_ / part);
    }
    SetProgramDirectory(directory_.Path().c_str());
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
    Set("FTP Server", "127.0.0.1");
    Set("FTP Account", "me");
    Set("FTP Password", "secret");
    Set("Local Directory", site_);
    Set("Remote Directory", "www/");
    setup_->Number("Passive FTP Data Mode", DWORD{1});
    Shown::Clear();
    Shown::Connect();
  }

  void TearDown() override {
    Shown::Disconnect();
    server_.reset();
    UninitializeBrevant();
    ClosePersistentState(state_);
    CloseSetup(setup_);
    SetProgramDirectory(nullptr);
  }

  void Set(const char* key, const std::string& value) { setup_->String(key, value.c_str()); }
  void Switch(const char* key, bool on = true) { setup_->Number(key, DWORD{on ? 1U : 0U}); }

  void Serve(FtpOptions options = {}) {
    options.account = "me";
    options.password = "secret";
    server_ = std::make_unique<FtpServer>(directory_ / "remote", std::move(options));
    setup_->Number("FTP Port", server_->Port());
  }
  void Serve(const char* deviation) {
    FtpOptions options;
    options.deviations.push_back(ParseDeviation(deviation));
    Serve(std::move(options));
  }

  void Local(const std::string& name, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(site_ + name).parent_path());
    WriteFileBytes(site_ + name, bytes);
  }
  void RemoveLocal(const std::string& name) { std::filesystem::remove_all(site_ + name); }
  std::string Remote(const std::string& name) const { return ReadFileBytes(remote_ + name); }

  // One run of a new task that is due; timeout in milliseconds.
  int Run(DWORD timeout = 5000) {
    TFileDeliveryTask task(setup_, state_);
    task.Client().SetTimeout(timeout);
    return Run(task);
  }
  int Run(TFileDeliveryTask& task) {
    MakeDue();
    return RunAsIs(task);
  }
  int RunAsIs(TFileDeliveryTask& task) {
    Shown::Clear();
    if (server_) server_->ForgetCommands();
    const int result = task.Execute();
    if (server_) server_->Server().WaitUntilFinished(server_->Server().Accepted(), 300);
    return result;
  }
  void MakeDue() {
    state_->Number("Last Site Transfer Time", DWORD{0});
    state_->Time("Last Site Update Time", TTime::Now());
  }
  DWORD TransferTime() const { return state_->Number("Last Site Transfer Time"); }

  // Path and content of every file below a directory; a directory's path ends in "/".
  static std::map<std::string, std::string> Tree(const std::string& root) {
    std::map<std::string, std::string> tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const std::string path =
          entry.path().lexically_relative(std::filesystem::path(root)).generic_string();
      if (entry.is_directory()) {
        tree[path + "/"];
      } else {
        tree[path] = ReadFileBytes(entry.path().string());
      }
    }
    return tree;
  }
  void ExpectSameTrees() const { EXPECT_EQ(Tree(remote_), Tree(site_)); }

  std::string TablePath() const { return directory_ / "127.0.0.1.fat"; }
  std::string Table() const { return ReadFileBytes(TablePath()); }
  bool HasJournal() const { return FileExists(TablePath() + ".jnl"); }
  // The table's value for a file, "none" without one.
  std::string Recorded(const std::string& name, const char* section = "~me/www/") const {
    TRemoteFAT table(TablePath().c_str());
    const TRemoteFileRecord* file = table.RemoteDirectoryRecord(section)->Find(name);
    return file == nullptr ? "none" : std::to_string(file->size);
  }

  // The commands of the run, without those of log-on and data connections.
  Names Commands() const {
    Names commands;
    for (const std::string& line : server_->Commands()) {
      const std::string verb = line.substr(0, line.find(' '));
      const bool plumbing =
          verb == "USER" || verb == "PASS" || verb == "PASV" || verb == "PORT" || verb == "QUIT";
      if (!plumbing) commands.push_back(line);
    }
    return commands;
  }
  // What was stored in this run, in order.
  Names Stored() const {
    Names names;
    for (const std::string& line : server_->Commands()) {
      if (line.starts_with("STOR ")) names.push_back(line.substr(5));
    }
    return names;
  }
  int Connections() const { return server_->Server().Accepted(); }
  static const Names& History() { return Shown::History(); }
  static bool HistoryHas(const std::string& line) {
    return std::count(Shown::History().begin(), Shown::History().end(), line) > 0;
  }
  static bool StatusHas(const std::string& line) {
    return std::count(Shown::Status().begin(), Shown::Status().end(), line) > 0;
  }
  std::string ErrorLog() const { return ReadFileBytes(directory_ / "error.log"); }

  TemporaryDirectory directory_;
  std::string site_ = directory_ / "site/";
  std::string remote_ = directory_ / "remote/www/";
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
  std::unique_ptr<FtpServer> server_;
};

}  // namespace test
