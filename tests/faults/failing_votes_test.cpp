// Questions that cannot be written while votes for several at once are counted.
#include "environment.h"
#include "retrieval_fixture.h"
#include "unit/shared/board_reading.h"

#include <algorithm>
#include <iostream>

namespace {

namespace fs = std::filesystem;
using faults::MailBoard;
using test::ExpectedMail;
using test::Fault;
using test::FaultPlan;

constexpr const char* kColour = "Best colour";
constexpr const char* kAgain = "Again";

class FailingVotes : public faults::Retrieval {
 protected:
  using Answers = std::vector<std::string>;

  // One mail for one question alone, and two for both, in either order.
  void SetUp() override {
    ballots_ = {{"No"}, {"Red", "Yes"}, {"Yes", "Deep blue"}, {"Red"}};
    std::vector<ExpectedMail> mails;
    for (const Answers& answers : ballots_) {
      ExpectedMail mail;
      mail.text = "From: voter" + std::to_string(mails.size()) +
                  "@example.org\nTo: \"[My_Board:Survey]\" <board@example.org>\nSubject: Vote\n"
                  "Content-Type: application/x-www-form-urlencoded\n\n";
      for (const std::string& answer : answers) {
        std::string field = (IsColour(answer) ? "Best+colour=" : "Again=") + answer + "&";
        std::replace(field.begin(), field.end(), ' ', '+');
        mail.text += field;
      }
      mail.text += "\n";
      mails.push_back(mail);
    }
    Prepare(mails);
    // What cannot be committed stays whatever this says.
    fresh_.Set("Keep Unsaved Mail", "0");
    MailBoard::MakeQuestion(kAgain, {"Yes", "No"}, fresh_.Data());
  }

  static bool IsColour(const std::string& answer) { return answer != "Yes" && answer != "No"; }

  FaultPlan Plan(const MailBoard& board, Fault fault, std::uint64_t at, bool forGood) const {
    FaultPlan plan;
    plan.directory = board.Data();
    plan.fault = fault;
    plan.at = at;
    plan.forGood = forGood;
    plan.skipSyncs = true;
    return plan;
  }

  // How often each answer should have been given, counting the mails that are still there or not.
  std::map<std::string, LONG> Given(bool alsoThoseLeft) const {
    const std::vector<std::string> left = server_->Messages();
    std::map<std::string, LONG> given = {{"Red", 0}, {"Deep blue", 0}, {"Yes", 0}, {"No", 0}};
    for (std::size_t i = 0; i < mails_.size(); ++i) {
      const bool isLeft = std::find(left.begin(), left.end(), mails_[i].text) != left.end();
      if (isLeft && !alsoThoseLeft) continue;
      for (const std::string& answer : ballots_[i]) ++given[answer];
    }
    return given;
  }

  static std::map<std::string, LONG> Counted(const MailBoard& board) {
    std::map<std::string, LONG> counted;
    for (const char* name : {kColour, kAgain}) {
      TSurveyQuestion question;
      EXPECT_NE(question.Open(name, board.Data().c_str(), 2, 0, 16), 0) << name;
      LONG sum = 0;
      for (const test::Item& answer : test::ItemsOf(question)) {
        counted[answer.subject] = answer.votes;
        sum += answer.votes;
      }
      EXPECT_EQ(question.Number("Total Vote Count"), sum) << name;
    }
    return counted;
  }

  static bool IsReported(const test::ProgramResult& result, const char* question) {
    return result.output.find(std::string(kReport) + question + "]") != std::string::npos;
  }

  // The file that failed is as it was before, the other has every vote; who has not been counted
  // everywhere is still in the mailbox.
  void ExpectHonestCounts(const MailBoard& board, const test::ProgramResult& result) const {
    const auto counted = Counted(board);
    const auto gone = Given(false);
    for (const auto& [answer, all] : Given(true)) {
      const bool failed = IsReported(result, IsColour(answer) ? kColour : kAgain);
      EXPECT_EQ(counted.at(answer), failed ? 0 : all) << answer << '\n' << result.output;
      EXPECT_GE(counted.at(answer), gone.at(answer)) << answer << " was lost";
    }
    const bool reported = IsReported(result, kColour) || IsReported(result, kAgain);
    EXPECT_EQ(result.exitCode, reported ? 1 : 0) << result.output;
    EXPECT_EQ(server_->Messages().empty(), !reported) << result.output;
  }

  // What is still in the mailbox is counted by the next run: twice where it had been counted.
  void ExpectAllCounted(const MailBoard& board, const test::ProgramResult& hindered) {
    auto expected = Counted(board);
    const auto gone = Given(false);
    for (const auto& [answer, all] : Given(true)) expected[answer] += all - gone.at(answer);
    const test::ProgramResult result = test::RunProgram(board.QuickCommand("retrieve"));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    EXPECT_TRUE(server_->Messages().empty());
    EXPECT_EQ(Counted(board), expected) << hindered.output;
    for (const auto& [answer, all] : Given(true)) EXPECT_GE(expected[answer], all) << answer;
    EXPECT_TRUE(faults::Leftovers(board.Data()).empty());
  }

  std::vector<Answers> ballots_;
};

TEST_F(FailingVotes, AMailForTwoQuestionsStaysUntilBothAreSafe) {
  const MailBoard counted = StartAnew(directory_ / "counted/");
  const std::string calls = directory_ / "calls";
  const test::ProgramResult whole = test::RunProgram(test::WithFaults(
      Plan(counted, Fault::kNone, 0, false), counted.RunCommand("retrieve"), {}, calls));
  ASSERT_EQ(whole.exitCode, 0) << whole.output;
  ExpectHonestCounts(counted, whole);
  const std::uint64_t count = test::ReadCalls(calls);
  ASSERT_GT(count, 4u);

  const std::string path = directory_ / "board/";
  std::map<std::string, int> runs;
  for (std::uint64_t at = 1; at <= count && !HasFailure(); ++at) {
    for (const bool forGood : {false, true}) {
      SCOPED_TRACE((forGood ? "no room from call " : "call ") + std::to_string(at) + " of " +
                   std::to_string(count));
      fs::remove_all(path);
      const MailBoard board = StartAnew(path);
      const Fault fault = forGood ? Fault::kFull : Fault::kBroken;
      const test::ProgramResult result = test::RunProgram(
          test::WithFaults(Plan(board, fault, at, forGood), board.RunCommand("retrieve")));
      ExpectHonestCounts(board, result);
      ++runs[std::string(IsReported(result, kColour) ? kColour : "") +
             (IsReported(result, kAgain) ? kAgain : "")];
      ExpectAllCounted(board, result);
    }
  }
  // Each of the two failed alone, the other's votes standing.
  EXPECT_GT(runs[kColour], 0);
  EXPECT_GT(runs[kAgain], 0);
  for (const auto& [failed, number] : runs) {
    std::cout << "[          ] " << number << " runs, failed: " << failed << "\n";
  }
}

}  // namespace
