// The demonstration's site in a real browser.
#include "look.h"
#include "support/pop3_server.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

using test::Look;
using test::RunHost;

// The demonstration's board, made once.
const std::string& Board() {
  static const test::TemporaryDirectory directory;
  static const std::string board = [] {
    std::string path = directory / "board";
    const test::ProgramResult made = test::RunProgram({DEMO_PROGRAM, path});
    if (made.exitCode != 0) throw std::runtime_error(made.output);
    return path;
  }();
  return board;
}

class Site : public ::testing::Test {
 protected:
  static std::string Pages() { return Board() + "/Site"; }

  static void ExpectNothingWrong(const std::string& check, const std::string& out = {}) {
    const test::ProgramResult result = Look(check, Pages(), out);
    EXPECT_EQ(result.exitCode, 0) << result.output;
  }
};

TEST_F(Site, NoPageScrollsSidewaysOnAPhoneOrADesktop) { ExpectNothingWrong("scroll"); }

TEST_F(Site, EveryLinkOfEveryPageLeadsToAFile) { ExpectNothingWrong("links"); }

TEST_F(Site, AxeFindsNoViolationInEitherScheme) { ExpectNothingWrong("axe"); }

TEST_F(Site, NoFieldFailedAndNoScriptIsNeeded) { ExpectNothingWrong("content"); }

TEST_F(Site, AKeyboardReachesEverything) { ExpectNothingWrong("keyboard"); }

// For people to look at.
TEST_F(Site, ScreenshotsAreTaken) {
  const std::string out = SOURCE_DIRECTORY "/out/browser";
  fs::remove_all(out);
  ExpectNothingWrong("screenshots", out);
  EXPECT_TRUE(test::FileExists(out + "/index.phone-dark.png"));
  EXPECT_TRUE(test::FileExists(out + "/index.desktop-light.png"));
}

// --- Votes
// ----------------------------------------------------------------------------------------

struct Choice {
  std::string question;
  std::string answer;
};

// What a browser sent for one form, and what for.
struct SentForm {
  std::string mail;
  std::vector<Choice> choices;
};

class Voting : public Site {
 protected:
  // The votes for each answer of a question, as the host shows them.
  static std::map<std::string, int> Votes(const std::string& question) {
    static const std::regex kLine("  [0-9]+  (.*)  - ([0-9]+) votes?(, [0-9]+%)?");
    std::map<std::string, int> votes;
    std::istringstream shown(RunHost({"question", "show", Board(), question}).output);
    std::smatch match;
    for (std::string line; std::getline(shown, line);) {
      if (std::regex_match(line, match, kLine)) votes[match[1]] = std::stoi(match[2]);
    }
    return votes;
  }

  // Lets a browser fill in every form of the site; each becomes the mail that its target asks for.
  static std::vector<SentForm> SendForms() {
    const test::TemporaryDirectory directory;
    const std::string out = directory / "forms";
    const test::ProgramResult result = Look("forms", Pages(), out);
    EXPECT_EQ(result.exitCode, 0) << result.output;
    std::vector<SentForm> forms;
    for (int number = 1; test::FileExists(out + "/" + std::to_string(number) + ".body"); ++number) {
      const auto read = [&](const char* part) {
        return test::ReadFileBytes(out + "/" + std::to_string(number) + part);
      };
      SentForm form;
      form.mail = "From: Voter <voter@example.org>\r\nTo: " + read(".to") +
                  "\r\nSubject: " + read(".subject") +
                  "\r\nMIME-Version: 1.0\r\nContent-Type: " + read(".type") + "\r\n\r\n" +
                  read(".body");
      std::istringstream chosen(read(".chosen"));
      for (std::string line; std::getline(chosen, line);) {
        const std::size_t tab = line.find('\t');
        form.choices.push_back({line.substr(0, tab), line.substr(tab + 1)});
      }
      forms.push_back(form);
    }
    return forms;
  }
};

TEST_F(Voting, AVoteThatABrowserSendsIsCounted) {
  const std::vector<SentForm> forms = SendForms();
  ASSERT_FALSE(forms.empty());
  test::Pop3Options options;
  options.account = "board";
  options.password = "secret";
  test::Pop3Server server({}, options);
  ASSERT_EQ(
      RunHost({"config", Board(), "set", "POP3 Port", std::to_string(server.Port())}).exitCode, 0);
  for (const SentForm& form : forms) {
    std::map<std::string, std::map<std::string, int>> expected;
    for (const Choice& choice : form.choices) {
      if (expected.find(choice.question) == expected.end()) {
        expected[choice.question] = Votes(choice.question);
      }
      ASSERT_EQ(expected[choice.question].count(choice.answer), 1u) << choice.answer;
      ++expected[choice.question][choice.answer];
    }
    server.Add(form.mail);
    const test::ProgramResult run = RunHost({"run", Board(), "retrieve"});
    EXPECT_EQ(run.exitCode, 0) << run.output << form.mail;
    EXPECT_TRUE(server.Messages().empty());
    for (const auto& [question, votes] : expected) EXPECT_EQ(Votes(question), votes) << form.mail;
  }
  // And the pages show it.
  ASSERT_EQ(RunHost({"run", Board(), "html"}).exitCode, 0);
  const Choice& last = forms.back().choices.back();
  EXPECT_GT(Votes(last.question)[last.answer], 0);
  ExpectNothingWrong("content");
}

// Checks that find nothing on a bad page would find nothing anywhere.
class BadPage : public ::testing::Test {
 protected:
  void ExpectComplaint(const std::string& check, const std::string& body, const char* complaint) {
    test::WriteFileBytes(directory_ / "page.htm",
                         "<!DOCTYPE html><html lang=\"en\"><head><meta charset=\"utf-8\">"
                         "<title>Bad</title></head><body>" +
                             body + "</body></html>");
    const test::ProgramResult result = Look(check, directory_.Path());
    EXPECT_EQ(result.exitCode, 1) << result.output;
    EXPECT_THAT(result.output, ::testing::HasSubstr(complaint));
  }

  test::TemporaryDirectory directory_;
};

TEST_F(BadPage, ThatIsTooWideIsFound) {
  ExpectComplaint("scroll", "<div style=\"width:1500px\">wide</div>", "of 1280 pixels");
}

TEST_F(BadPage, WithADeadLinkIsFound) {
  ExpectComplaint("links", "<a href=\"gone.htm\">x</a>", "gone.htm: no such file");
  ExpectComplaint("links", "<a href=\"Page.htm\">x</a>", "Page.htm: no such file");
  ExpectComplaint("links", "<a href=\"#gone\">x</a>", "#gone: no such place");
  ExpectComplaint("links", "<a href=\"../../etc\">x</a>", "leads out of the site");
  ExpectComplaint("links", "<a href=\"\">x</a>", "href=\"\"");
  ExpectComplaint("links", "<a href=\"mailto:nobody\">x</a>", "an address without @");
}

TEST_F(BadPage, WithAPictureWithoutATextIsFound) {
  ExpectComplaint("axe", "<main><h1>x</h1><img src=\"page.htm\"></main>", "image-alt");
}

TEST_F(BadPage, WithAnErrorATagOrAScriptIsFound) {
  ExpectComplaint("content", "<h1>x</h1>***ERROR: no***", "***ERROR");
  ExpectComplaint("content", "<h1>x</h1>$FORUM_NAME$", "left over: $FORUM_NAME$");
  ExpectComplaint("content", "<h1 onclick=\"x()\">x</h1>", "holds a script");
  ExpectComplaint("content", "<h2>x</h2>", "has no heading");
}

TEST_F(BadPage, WithoutAVisibleFocusIsFound) {
  ExpectComplaint("keyboard", "<a href=\"page.htm\" style=\"outline:none\">x</a>",
                  "shows no focus");
  ExpectComplaint("keyboard", "<a href=\"#\">x</a><a href=\"page.htm\" tabindex=\"-1\">y</a>",
                  "a stop is missing");
}

}  // namespace
