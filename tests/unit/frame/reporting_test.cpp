#include "frame/reporting.h"

#include "board_fixture.h"
#include "platform/win32.h"

#include <string>
#include <utility>
#include <vector>

namespace {

std::vector<std::string> statusTexts;
std::vector<std::string> historyTexts;
std::vector<std::pair<int, int>> progressSteps;

void OnStatus(const char* text) { statusTexts.emplace_back(text); }
void OnHistory(const char* text) { historyTexts.emplace_back(text); }
void OnProgress(int done, int total) { progressSteps.emplace_back(done, total); }

class Reporting : public test::ProgramDirectoryTest {
 protected:
  Reporting() {
    statusTexts.clear();
    historyTexts.clear();
    progressSteps.clear();
    SetVisualFunctions("STATUS", reinterpret_cast<void*>(&OnStatus));
    SetVisualFunctions("history", reinterpret_cast<void*>(&OnHistory));
    SetVisualFunctions("Progress", reinterpret_cast<void*>(&OnProgress));
  }
  ~Reporting() override {
    for (const char* which : {"STATUS", "HISTORY", "PROGRESS"}) SetVisualFunctions(which, nullptr);
  }
  bool IsLogged(const std::string& text) const {
    return Bytes("error.log").find("] " + text + "\r\n") != std::string::npos;
  }
};

using Texts = std::vector<std::string>;

TEST_F(Reporting, StatusIsFormattedAndShown) {
  DisplayStatus("Sending %s to %d", "x", 3);
  EXPECT_EQ(statusTexts, Texts{"Sending x to 3"});
  EXPECT_FALSE(test::FileExists(File("error.log")));
}

TEST_F(Reporting, StatusIsNeverLogged) {
  DisplayStatus("Cannot log onto %s", "x");
  EXPECT_EQ(statusTexts.size(), 1U);
  EXPECT_FALSE(test::FileExists(File("error.log")));
}

TEST_F(Reporting, StatusWithoutACallbackIsNothing) {
  SetVisualFunctions("STATUS", nullptr);
  DisplayStatus("%s", "x");
  EXPECT_TRUE(statusTexts.empty());
}

TEST_F(Reporting, HistoryLineWithoutCannotIsShownAndNotLogged) {
  DisplayHistory("Logged onto %s", "mail.example");
  EXPECT_EQ(historyTexts, Texts{"Logged onto mail.example"});
  EXPECT_FALSE(test::FileExists(File("error.log")));
}

TEST_F(Reporting, HistoryLineWhoseThirdWordIsCannotIsLogged) {
  DisplayHistory("POP3 client: Cannot log onto %s", "x");
  EXPECT_TRUE(IsLogged("POP3 client: Cannot log onto x"));
}

TEST_F(Reporting, WordThatMerelyBeginsWithCannotIsEnough) {
  DisplayHistory("we CANNOTs");
  EXPECT_TRUE(IsLogged("we CANNOTs"));
}

TEST_F(Reporting, CannotInsideAWordIsNotEnough) {
  DisplayHistory("I,Cannot and xcannot");
  EXPECT_FALSE(test::FileExists(File("error.log")));
}

TEST_F(Reporting, HistoryIsLoggedWithoutACallback) {
  SetVisualFunctions("HISTORY", nullptr);
  DisplayHistory("Cannot open %s", "x");
  EXPECT_TRUE(historyTexts.empty());
  EXPECT_TRUE(IsLogged("Cannot open x"));
}

TEST_F(Reporting, ErrorIsShownAsHistoryAndAlwaysLogged) {
  DisplayError("anything %d", 1);
  EXPECT_EQ(historyTexts, Texts{"anything 1"});
  EXPECT_TRUE(IsLogged("anything 1"));
}

TEST_F(Reporting, ErrorWithoutACallbackIsLogged) {
  SetVisualFunctions("HISTORY", nullptr);
  DisplayError("anything");
  EXPECT_TRUE(IsLogged("anything"));
}

TEST_F(Reporting, LongTextsAreCutAt511Bytes) {
  const std::string text(600, 'x');
  DisplayStatus("%s", text.c_str());
  DisplayError("%s", text.c_str());
  EXPECT_EQ(statusTexts, Texts{text.substr(0, 511)});
  EXPECT_EQ(historyTexts, Texts{text.substr(0, 511)});
  EXPECT_TRUE(IsLogged(text.substr(0, 511)));
}

TEST_F(Reporting, ArgumentsAreNoFormats) {
  DisplayError("%s", "%s%n%d");
  EXPECT_EQ(historyTexts, Texts{"%s%n%d"});
  EXPECT_TRUE(IsLogged("%s%n%d"));
}

TEST_F(Reporting, ProgressIsPassedOn) {
  DisplayProgress(0, 100);
  DisplayProgress(0, 0);
  EXPECT_EQ(progressSteps, (std::vector<std::pair<int, int>>{{0, 100}, {0, 0}}));
}

TEST_F(Reporting, NullSwitchesTheProgressOff) {
  SetVisualFunctions("progress", nullptr);
  DisplayProgress(1, 2);
  EXPECT_TRUE(progressSteps.empty());
}

TEST_F(Reporting, UnknownWordChangesNothing) {
  SetVisualFunctions("STAT", nullptr);
  SetVisualFunctions("", nullptr);
  SetVisualFunctions(nullptr, nullptr);
  DisplayStatus("x");
  DisplayHistory("y");
  DisplayProgress(1, 2);
  EXPECT_EQ(statusTexts.size() + historyTexts.size() + progressSteps.size(), 3U);
}

TEST(ContainsWordStartingWith, LooksAtTheStartOfEveryWord) {
  using brevant::ContainsWordStartingWith;
  EXPECT_TRUE(ContainsWordStartingWith("password", "password"));
  EXPECT_TRUE(ContainsWordStartingWith("POP3 Password", "password"));
  EXPECT_TRUE(ContainsWordStartingWith("a  b Passwords", "password"));
  EXPECT_TRUE(ContainsWordStartingWith(" x", "x"));
  EXPECT_FALSE(ContainsWordStartingWith("apassword", "password"));
  EXPECT_FALSE(ContainsWordStartingWith("passwor", "password"));
  EXPECT_FALSE(ContainsWordStartingWith("pass word", "password"));
  EXPECT_FALSE(ContainsWordStartingWith("a\tpassword", "password"));
  EXPECT_FALSE(ContainsWordStartingWith("", "password"));
  EXPECT_FALSE(ContainsWordStartingWith("ends in a blank ", "password"));
  EXPECT_FALSE(ContainsWordStartingWith(nullptr, "password"));
}

}  // namespace
