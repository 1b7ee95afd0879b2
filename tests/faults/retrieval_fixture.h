// Retrieval from a loopback server that is hindered and then run again.
#pragma once

#include "mail_board.h"
#include "support/fault_layer.h"
#include "support/pop3_server.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace faults {

class Retrieval : public ::testing::Test {
 protected:
  static constexpr const char* kReport = "Cannot save message to [";

  // The mails, and a fresh board beside them. Mails for "Other Talk" need that forum to be made.
  void Prepare(std::vector<test::ExpectedMail> mails) {
    mails_ = std::move(mails);
    texts_ = TextsOf(mails_);
    fresh_.Make(test::UnusedPort());
  }

  // A board like the fresh one at the path, and a mailbox with all mails.
  MailBoard StartAnew(const std::string& path) {
    std::filesystem::copy(fresh_.Path(), path, std::filesystem::copy_options::recursive);
    server_ = std::make_unique<test::Pop3Server>(texts_);
    MailBoard board(path);
    board.UsePort(server_->Port());
    return board;
  }

  // After a run that may have been hindered: whatever was not kept was reported, nothing is lost,
  // half written or left behind.
  void ExpectHonest(const MailBoard& board, const test::ProgramResult& result) {
    EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1) << result.exitCode;
    const Filed filed = FindFiled(mails_, board.Data(), board.Site());
    ExpectWhole(filed, board);
    const std::vector<std::string> left = server_->Messages();
    const std::set<std::string> there(left.begin(), left.end());
    std::size_t unsaved = 0;
    for (std::size_t i = 0; i < mails_.size(); ++i) {
      const bool isLeft = there.contains(mails_[i].text);
      if (mails_[i].fate != test::ExpectedMail::TFate::kStays) unsaved += isLeft ? 1 : 0;
      twice_ += isLeft && filed.times[i] > 0 ? 1 : 0;
    }
    const bool reported = result.output.find("Cannot save") != std::string::npos;
    EXPECT_EQ(result.exitCode != 0, reported) << result.output;
    if (unsaved > 0) {
      EXPECT_NE(result.exitCode, 0) << unsaved << " mails stayed, and nothing was said";
    }
    hindered_ += result.exitCode != 0 ? 1 : 0;
  }

  // Once nothing hinders it any more.
  void ExpectCompleted(const MailBoard& board) {
    const test::ProgramResult result = test::RunProgram(board.QuickCommand("retrieve"));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    const Filed filed = FindFiled(mails_, board.Data(), board.Site());
    ExpectWhole(filed, board);
    for (std::size_t i = 0; i < mails_.size(); ++i) {
      if (mails_[i].fate != test::ExpectedMail::TFate::kFiled) continue;
      EXPECT_GE(filed.times[i], 1) << mails_[i].subject;
    }
    EXPECT_TRUE(Leftovers(board.Data()).empty()) << Leftovers(board.Data()).front();
  }

  void ExpectWhole(const Filed& filed, const MailBoard& board) {
    const auto lost = FindLost(mails_, filed, server_->Messages());
    EXPECT_TRUE(lost.empty()) << lost.size() << " lost, the first: " << lost.front();
    EXPECT_TRUE(filed.problems.empty())
        << filed.problems.size() << " not whole, the first: " << filed.problems.front();
    for (const auto& entry : std::filesystem::directory_iterator(board.Site())) {
      const std::string name = entry.path().filename().string();
      EXPECT_TRUE(filed.attachments.contains(name)) << name << " belongs to no message";
    }
  }

  test::TemporaryDirectory directory_;
  MailBoard fresh_{directory_ / "fresh/"};
  std::vector<test::ExpectedMail> mails_;
  std::vector<std::string> texts_;
  std::unique_ptr<test::Pop3Server> server_;
  int hindered_ = 0;
  int twice_ = 0;
};

}  // namespace faults
