// A board in a temporary directory and an SMTP server on the loopback interface.
#pragma once

#include "board_reading.h"
#include "net/waiting.h"
#include "retrieval_fixture.h"
#include "shared/dispatchtask.h"
#include "support/smtp_server.h"
#include "support/temporary_directory.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace test {

class DispatchFixture : public ::testing::Test {
 protected:
  static constexpr const char* kScanTime = "Last Mailing List Scan Time";

  void SetUp() override {
    // The deadline is shared by the process and only rises; a long one of another test goes.
    brevant::ResetDeadline();
    std::filesystem::create_directory(directory_ / "data");
    SetProgramDirectory(directory_.Path().c_str());
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
    Shown::Clear();
    Shown::Connect();
    Set("BBS Name", "My Board");
    Set("E-Mail Address", "board@example.org");
    Set("SMTP Server", "127.0.0.1");
    Set("Data Directory", data_);
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
  void UseStandardMode() { setup_->Number("Standard SMTP Mode", 1); }

  void Serve(SmtpOptions options = {}) {
    server_ = std::make_unique<SmtpServer>(std::move(options));
    setup_->Number("SMTP Port", server_->Port());
  }
  void Serve(std::vector<Deviation> deviations) {
    SmtpOptions options;
    options.deviations = std::move(deviations);
    Serve(std::move(options));
  }

  // A forum with these addresses as the keys of its list.
  void AddForum(const std::string& name, const std::vector<std::string>& addresses) {
    TForum* forum = CreateForum(name.c_str(), data_.c_str());
    ASSERT_NE(forum, nullptr);
    forum->Number("Max Message Count", 100000);
    for (const std::string& address : addresses) {
      EXPECT_EQ(AddMailingList(address.c_str(), "A list", forum), 1);
    }
    CloseForum(forum);
  }

  // One message more, with these values beside its subject and sender.
  using TValues = std::vector<std::pair<const char*, std::string>>;
  void Post(const std::string& forumName, const std::string& subject,
            const std::string& content = "Hello\r\n", const TValues& values = {}) {
    TForum* forum = OpenForum(forumName.c_str(), data_.c_str());
    TMail* mail = OpenMessage(0, nullptr);
    ASSERT_TRUE(forum != nullptr && mail != nullptr);
    mail->String("SUBJECT", subject.c_str());
    mail->String("FROM", "\"Ann Smith\" <ann@example.org>");
    mail->String("TO", "\"[My_Board:General]\" <board@example.org>");
    for (const auto& [key, value] : values) mail->String(key, value.c_str());
    mail->Content().Write(content.data(), static_cast<int>(content.size()));
    EXPECT_NE(InsertMessage(mail, forum), 0u);
    CloseMessage(mail);
    CloseForum(forum);
  }

  // "1", "0" for every message of the forum in its order: whether it is marked.
  std::string Marks(const std::string& forumName) const {
    std::string marks;
    TForum forum;
    if (forum.Open(forumName.c_str(), data_.c_str(), 2, 0, 16) == 0) return "not there";
    for (const Item& item : ItemsOf(forum)) {
      TMail mail;
      forum.OpenMessage(item.index, &mail);
      marks += std::to_string(mail.Number("Sent to mailing list"));
    }
    return marks;
  }

  // One run of a new task; timeout in milliseconds.
  int Run(DWORD timeout = 5000) {
    TMailDispatchTask task(setup_, state_);
    task.Client().SetTimeout(timeout);
    return Run(task);
  }
  int Run(TMailDispatchTask& task) {
    const int result = task.Execute();
    if (server_) server_->Server().WaitUntilFinished(server_->Server().Accepted(), 500);
    return result;
  }
  // The next run is due whatever has changed.
  void MakeDue() { state_->Number(kScanTime, 0); }

  // A run that is aborted once the server has got the n-th command that starts so.
  int RunAbortedAt(const std::string& command, std::size_t n = 1) {
    TMailDispatchTask task(setup_, state_);
    task.Client().SetTimeout(kLongerThanAnyTest);
    std::thread aborter([&] {
      WaitForCommand(command, n);
      task.Abort();
    });
    const int result = Run(task);
    aborter.join();
    return result;
  }
  void WaitForCommand(const std::string& start, std::size_t n) const {
    for (;;) {
      std::size_t count = 0;
      for (const std::string& command : server_->Commands()) count += command.starts_with(start);
      if (count >= n) return;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  // What the server was told, "a|b|c", without the log-on and "QUIT".
  std::string Commands() const {
    std::string text;
    for (const std::string& command : server_->Commands()) {
      if (!command.starts_with("Helo ") && command != "QUIT") text += command + "|";
    }
    return text;
  }
  std::vector<SmtpMail> Mails() const { return server_->Mails(); }
  // The subjects of the mails that arrived, "a;b;".
  std::string Subjects() const {
    std::string subjects;
    for (const SmtpMail& mail : Mails()) {
      const std::size_t start = std::string_view("Subject: ").size();
      subjects += mail.content.substr(start, mail.content.find('\r') - start) + ";";
    }
    return subjects;
  }
  static std::string Body(const SmtpMail& mail) {
    return mail.content.substr(mail.content.find("\r\n\r\n") + 4);
  }
  static std::string Joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) joined += text + ";";
    return joined;
  }

  static bool HistoryHas(const std::string& line) { return Times(line) > 0; }
  static std::ptrdiff_t Times(const std::string& line) {
    return std::count(Shown::History().begin(), Shown::History().end(), line);
  }
  std::string ErrorLog() const { return ReadFileBytes(directory_ / "error.log"); }
  bool ScanTimeStored() const { return state_->Number(kScanTime) != 0; }

  // Milliseconds; a wait that only this ended would fail the whole program.
  static constexpr DWORD kLongerThanAnyTest = 1'200'000;

  TemporaryDirectory directory_;
  std::string data_ = directory_ / "data/";
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
  std::unique_ptr<SmtpServer> server_;
};

}  // namespace test
