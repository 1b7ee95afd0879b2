// Board files that cannot be written while mail is retrieved.
#include "environment.h"
#include "retrieval_fixture.h"

#include <iostream>

namespace {

namespace fs = std::filesystem;
using faults::MailBoard;
using test::ExpectedMail;
using test::Fault;
using test::FaultPlan;

class FailingCommits : public faults::Retrieval {
 protected:
  // Every third mail for another forum, so that one file fails and the other does not.
  void SetUp() override {
    std::vector<ExpectedMail> mails = faults::KnownMail(1, 6);
    for (std::size_t i = 0; i < mails.size(); i += 3) {
      const std::string from = ":General_Talk";
      const std::size_t at = mails[i].text.find(from);
      if (at != std::string::npos) mails[i].text.replace(at, from.size(), ":Other_Talk");
    }
    Prepare(mails);
    MailBoard::MakeForum("Other Talk", fresh_.Data());
  }

  FaultPlan Plan(const MailBoard& board, Fault fault, std::uint64_t at, bool forGood) const {
    FaultPlan plan;
    plan.directory = board.Data();
    plan.fault = fault;
    plan.at = at;
    plan.forGood = forGood;
    plan.skipSyncs = true;
    return plan;
  }

  std::uint64_t CallsOfARun() {
    const MailBoard board = StartAnew(directory_ / "counted/");
    const std::string calls = directory_ / "calls";
    const test::ProgramResult result = test::RunProgram(test::WithFaults(
        Plan(board, Fault::kNone, 0, false), board.RunCommand("retrieve"), {}, calls));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    return test::ReadCalls(calls);
  }

  // The server hears of it: all deletions are taken back, those of safe mails repeated.
  void ExpectResetBefore(const test::ProgramResult& result) const {
    if (result.output.find(kReport) == std::string::npos) return;
    const std::string transcript = server_->Transcript();
    const std::size_t reset = transcript.find("RSET\r\n");
    ASSERT_NE(reset, std::string::npos) << transcript;
    const std::size_t quit = transcript.find("QUIT\r\n", reset);
    EXPECT_NE(quit, std::string::npos) << transcript;
  }
};

TEST_F(FailingCommits, TheMailStaysAndTheNextRunFilesIt) {
  const std::uint64_t calls = CallsOfARun();
  ASSERT_GT(calls, 4u);
  const bool all = faults::FromEnvironment("BREVANT_EVERY_CALL", 0) != 0;
  constexpr std::pair<Fault, bool> kKinds[] = {{Fault::kBroken, false},
                                               {Fault::kFull, false},
                                               {Fault::kShortThenFull, false},
                                               {Fault::kFull, true}};
  const std::string path = directory_ / "board/";
  int runs = 0;
  for (std::uint64_t at = 1; at <= calls && !HasFailure(); ++at) {
    for (std::size_t kind = 0; kind < std::size(kKinds); ++kind) {
      if (!all && kind % 2 != at % 2) continue;
      const auto [fault, forGood] = kKinds[kind];
      SCOPED_TRACE("fault " + std::to_string(static_cast<int>(fault)) +
                   (forGood ? " from" : " at") + " call " + std::to_string(at) + " of " +
                   std::to_string(calls));
      fs::remove_all(path);
      const MailBoard board = StartAnew(path);
      const test::ProgramResult result = test::RunProgram(
          test::WithFaults(Plan(board, fault, at, forGood), board.RunCommand("retrieve")));
      ++runs;
      ExpectHonest(board, result);
      ExpectResetBefore(result);
      ExpectCompleted(board);
    }
  }
  EXPECT_GT(hindered_, 0);
  std::cout << "[          ] " << runs << " runs over " << calls << " calls, " << hindered_
            << " of them could not save a forum; " << twice_
            << " mails were filed and in the mailbox all the same\n";
}

}  // namespace
