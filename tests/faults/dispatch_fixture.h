// A board that dispatches mail through the host program to a loopback server, and what became of
// every message.
#pragma once

#include "document_tree.h"
#include "support/fault_layer.h"
#include "support/process.h"
#include "support/smtp_server.h"
#include "support/temporary_directory.h"
#include "unit/shared/board_reading.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace faults {

class Dispatch : public ::testing::Test {
 protected:
  static constexpr int kForums = 3;
  static constexpr int kMessages = 12;  // in each

  void SetUp() override {
    MustRun({HOST_PROGRAM, "init", fresh_, "--name", "My Board"});
    for (int forum = 0; forum < kForums; ++forum) FillForum("Forum " + std::to_string(forum));
  }

  // A board like the fresh one, and a server that has got nothing. In standard mode or without it.
  void StartAnew(bool standard = true) {
    namespace fs = std::filesystem;
    fs::remove_all(board_);
    fs::copy(fresh_, board_, fs::copy_options::recursive);
    server_ = std::make_unique<test::SmtpServer>();
    for (const auto& [key, value] :
         std::map<std::string, std::string>{{"SMTP Server", "127.0.0.1"},
                                            {"SMTP Port", std::to_string(server_->Port())},
                                            {"Standard SMTP Mode", standard ? "1" : "0"}}) {
      WritePrivateProfileStringA("Tavernix", key.c_str(), value.c_str(),
                                 (board_ + "brevant.ini").c_str());
    }
  }

  std::vector<std::string> Command() const { return {HOST_PROGRAM, "run", board_, "dispatch"}; }
  test::FaultPlan Plan(test::Fault fault, std::uint64_t at) const {
    test::FaultPlan plan;
    plan.directory = board_;
    plan.fault = fault;
    plan.at = at;
    // A kill leaves what was written, synced or not.
    plan.skipSyncs = true;
    return plan;
  }
  test::ProgramResult Run(test::Fault fault = test::Fault::kNone, std::uint64_t at = 0,
                          const std::string& calls = {}) {
    const test::ProgramResult result =
        test::RunProgram(test::WithFaults(Plan(fault, at), Command(), {}, calls));
    Settle();
    return result;
  }
  // Waits until the server has seen the end of every connection.
  void Settle() const { server_->Server().WaitUntilFinished(server_->Server().Accepted()); }

  // How often each message arrived.
  std::map<std::string, int> Arrived() const {
    std::map<std::string, int> times;
    for (const test::SmtpMail& mail : server_->Mails()) {
      const std::size_t start = std::string("Subject: ").size();
      ++times[mail.content.substr(start, mail.content.find('\r') - start)];
    }
    return times;
  }

  // Looks at a copy of the board, so that the next run meets what the last one left: every message
  // whose mark is on the disk has arrived, and of those that arrived at most one a forum that could
  // not be saved is without its mark. Gives the number of the latter.
  int ExpectHonestMarks() {
    namespace fs = std::filesystem;
    const std::string copy = directory_ / "copy/";
    fs::remove_all(copy);
    fs::copy(board_ + "Data/", copy, fs::copy_options::recursive);
    const std::map<std::string, int> arrived = Arrived();
    int unmarked = 0;
    for (int number = 0; number < kForums; ++number) {
      const std::string name = "Forum " + std::to_string(number);
      std::string problem;
      EXPECT_TRUE(ReadTree(copy + name + ".mwd", &problem)) << problem;
      TForum forum;
      EXPECT_NE(forum.Open(name.c_str(), copy.c_str(), 2, 0, 16), 0);
      EXPECT_EQ(test::ItemsOf(forum).size(), static_cast<std::size_t>(kMessages));
      int here = 0;
      for (const test::Item& item : test::ItemsOf(forum)) {
        TMail mail;
        forum.OpenMessage(item.index, &mail);
        const bool marked = mail.Number("Sent to mailing list") != 0;
        const bool sent = arrived.contains(item.subject);
        EXPECT_TRUE(sent || !marked) << item.subject << " is marked and was never sent";
        if (sent && !marked) ++here;
      }
      EXPECT_LE(here, 1) << name;
      unmarked += here;
    }
    return unmarked;
  }

  // Runs undisturbed until nothing is left to send; everything arrived, nothing more often than the
  // number of repetitions allows.
  void ExpectCompleted(int repetitions) {
    test::ProgramResult result = Run();
    EXPECT_EQ(result.exitCode, 0) << result.output;
    EXPECT_EQ(ExpectHonestMarks(), 0);
    int more = 0;
    const std::map<std::string, int> arrived = Arrived();
    EXPECT_EQ(arrived.size(), static_cast<std::size_t>(kForums * kMessages));
    for (const auto& [subject, times] : arrived) more += times - 1;
    EXPECT_LE(more, repetitions);
    const std::size_t before = server_->Mails().size();
    result = Run();
    EXPECT_EQ(result.exitCode, 0) << result.output;
    EXPECT_EQ(server_->Mails().size(), before);
  }

  test::TemporaryDirectory directory_;
  std::string fresh_ = directory_ / "fresh/";
  std::string board_ = directory_ / "board/";
  std::unique_ptr<test::SmtpServer> server_;

 private:
  static void MustRun(const std::vector<std::string>& command) {
    const test::ProgramResult result = test::RunProgram(command);
    ASSERT_EQ(result.exitCode, 0) << result.output;
  }

  void FillForum(const std::string& name) {
    TForum* forum = CreateForum(name.c_str(), (fresh_ + "Data/").c_str());
    ASSERT_NE(forum, nullptr);
    AddMailingList("list@lists.example.org", "The list", forum);
    for (int i = 0; i < kMessages; ++i) {
      TMail* mail = OpenMessage(0, nullptr);
      mail->String("SUBJECT", (name + ", message " + std::to_string(i)).c_str());
      mail->String("FROM", "Ann <ann@example.org>");
      const std::string text = "Text " + std::string(static_cast<std::size_t>(i) * 97, 'x');
      mail->Content().Write(text.data(), static_cast<int>(text.size()));
      EXPECT_NE(InsertMessage(mail, forum), 0u);
      CloseMessage(mail);
    }
    CloseForum(forum);
  }
};

}  // namespace faults
