// A board in a temporary directory and a mailbox on the loopback interface.
#pragma once

#include "net/waiting.h"
#include "shared/mailtask.h"
#include "support/pop3_server.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace test {

// What the host was shown, process-wide as the callbacks are.
struct Shown {
  static std::vector<std::string>& History() {
    static std::vector<std::string> lines;
    return lines;
  }
  static std::vector<std::string>& Status() {
    static std::vector<std::string> lines;
    return lines;
  }
  static std::vector<std::pair<int, int>>& Progress() {
    static std::vector<std::pair<int, int>> calls;
    return calls;
  }
  static void Clear() {
    History().clear();
    Status().clear();
    Progress().clear();
  }
  static void Connect() {
    const auto history = +[](const char* text) { History().emplace_back(text); };
    const auto status = +[](const char* text) { Status().emplace_back(text); };
    const auto progress = +[](int done, int total) { Progress().emplace_back(done, total); };
    SetVisualFunctions("HISTORY", reinterpret_cast<void*>(history));
    SetVisualFunctions("STATUS", reinterpret_cast<void*>(status));
    SetVisualFunctions("PROGRESS", reinterpret_cast<void*>(progress));
  }
  static void Disconnect() {
    for (const char* which : {"HISTORY", "STATUS", "PROGRESS"}) SetVisualFunctions(which, nullptr);
  }
};

class RetrievalFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    // The deadline is shared by the process and only rises; a long one of another test goes.
    brevant::ResetDeadline();
    std::filesystem::create_directory(directory_ / "data");
    std::filesystem::create_directory(directory_ / "site");
    SetProgramDirectory(directory_.Path().c_str());
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
    Shown::Clear();
    Shown::Connect();
    Set("BBS Name", "My Board");
    Set("POP3 Server", "127.0.0.1");
    Set("POP3 Account", "board");
    Set("POP3 Password", "secret");
    Set("Data Directory", data_);
    Set("Local Directory", site_);
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

  // Serves the mails with an empty line before the end mark, as plain retrieval expects it.
  void Serve(std::vector<std::string> messages, std::vector<Deviation> deviations = {}) {
    Pop3Options options;
    options.account = "board";
    options.password = "secret";
    options.emptyLineBeforeDot = true;
    options.deviations = std::move(deviations);
    server_ = std::make_unique<Pop3Server>(std::move(messages), std::move(options));
    setup_->Number("POP3 Port", server_->Port());
  }

  // One run of a new task; timeout in milliseconds.
  int Run(DWORD timeout = 5000) {
    TMailRetrievalTask task(setup_, state_);
    task.Client().SetTimeout(timeout);
    return Run(task);
  }
  int Run(TMailRetrievalTask& task) {
    const int result = task.Execute();
    if (server_) server_->Server().WaitUntilFinished(server_->Server().Accepted(), 500);
    return result;
  }

  // A mail to a forum of the board by its tag; body lines as given.
  static std::string Post(const std::string& forum, const std::string& subject,
                          const std::string& body = "Hello\n") {
    return "From: \"Ann Smith\" <ann@example.org>\nTo: \"[My_Board:" + forum +
           "]\" <board@example.org>\nSubject: " + subject + "\nMessage-Id: <" + subject +
           "@example.org>\nDate: Tue, 2 Jun 1998 10:20:30 GMT\n\n" + body;
  }

  static bool HistoryHas(const std::string& line) {
    return std::count(Shown::History().begin(), Shown::History().end(), line) > 0;
  }
  static std::string History() {
    std::string text;
    for (const std::string& line : Shown::History()) text += line + "|";
    return text;
  }
  std::string ErrorLog() const { return ReadFileBytes(directory_ / "error.log"); }
  std::string StateText(const char* key) const {
    TPersistentState* state = OpenPersistentState("state.ini");
    const std::string text = state->String(key);
    ClosePersistentState(state);
    return text;
  }
  std::size_t Left() const { return server_->Messages().size(); }
  bool Sent(const std::string& command) const {
    return ("\r\n" + server_->Transcript()).find("\r\n" + command + "\r\n") != std::string::npos;
  }
  std::vector<std::string> SiteFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(site_)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  TemporaryDirectory directory_;
  std::string data_ = directory_ / "data/";
  std::string site_ = directory_ / "site/";
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
  std::unique_ptr<Pop3Server> server_;
};

}  // namespace test
