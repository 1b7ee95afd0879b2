// Runs every case file in cases/.
#include "dialogue.h"

#include "net/connection.h"
#include "support/temporary_directory.h"

#include <brevant/net.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

std::vector<std::string> history;

[[gnu::format(printf, 1, 0)]] void Remember(const char* format, va_list arguments) {
  std::array<char, 2048> line;
  std::vsnprintf(line.data(), line.size(), format, arguments);
  history.emplace_back(line.data());
}

std::unique_ptr<test::DialoguePlayer> MakePlayer(const test::DialogueCase& dialogue) {
  static const std::map<
      std::string, std::function<std::unique_ptr<test::DialoguePlayer>(const test::DialogueCase&)>>
      makers = {{"ftp", &test::MakeFtpPlayer},
                {"pop3", &test::MakePop3Player},
                {"retrieval", &test::MakeRetrievalPlayer},
                {"smtp", &test::MakeSmtpPlayer}};
  const auto found = makers.find(dialogue.protocol);
  if (found == makers.end()) throw std::runtime_error("unknown protocol " + dialogue.protocol);
  return found->second(dialogue);
}

class Dialogue : public ::testing::TestWithParam<std::string> {
 protected:
  Dialogue() {
    brevant::StartNetwork();
    brevant::ResetDeadline();
    history.clear();
    TProtocol::myHistoryFunction = &Remember;
  }
  ~Dialogue() override {
    TProtocol::myHistoryFunction = nullptr;
    brevant::StopNetwork();
  }
};

TEST_P(Dialogue, GoesAsWritten) {
  const std::string path = std::string(BREVANT_CASES) + "/" + GetParam() + ".txt";
  const test::DialogueCase dialogue = test::ParseDialogue(test::ReadFileBytes(path));
  ASSERT_FALSE(dialogue.steps.empty());
  const auto player = MakePlayer(dialogue);
  const auto start = std::chrono::steady_clock::now();
  for (const test::DialogueStep& step : dialogue.steps) {
    EXPECT_EQ(player->Run(step), step.expected)
        << path << ":" << step.line << ": " << step.operation << " " << step.arguments;
  }
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(taken).count(), dialogue.within);
  player->Finish();
  if (dialogue.checksClient) {
    EXPECT_EQ(test::Quote(player->ClientBytes()), test::Quote(dialogue.client));
  }
  const std::vector<std::string> shown = player->History();
  history.insert(history.end(), shown.begin(), shown.end());
  EXPECT_EQ(history, dialogue.history);
  if (dialogue.left >= 0) {
    EXPECT_EQ(player->Left(), dialogue.left);
  }
}

std::vector<std::string> AllCases() {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(BREVANT_CASES)) {
    if (entry.path().extension() == ".txt") names.push_back(entry.path().stem().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string TestName(const ::testing::TestParamInfo<std::string>& parameter) {
  std::string name = parameter.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, Dialogue, ::testing::ValuesIn(AllCases()), &TestName);

TEST(DialogueFiles, MistakesAreReportedWithTheirLine) {
  for (const char* text : {"protocol: pop3\nnonsense\n", "a: b\n", "| x\n", "run: Connect\n",
                           "deviate: X 1 dance\n", "client: x\n", "within: soon\n"}) {
    EXPECT_THROW(test::ParseDialogue(text), std::runtime_error) << text;
  }
}

}  // namespace
