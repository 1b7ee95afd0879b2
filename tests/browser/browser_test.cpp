// The demonstration's site in a real browser.
#include "support/process.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

namespace fs = std::filesystem;

// Runs one check of look.js; BROWSER_PROGRAM and NODE_PATH come from the test's environment.
test::ProgramResult Look(const std::string& check, const std::string& site,
                         const std::string& out = {}) {
  return test::RunProgram(
      {NODE_PROGRAM, SOURCE_DIRECTORY "/tests/browser/look.js", check, site, out});
}

class Site : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    directory_ = std::make_unique<test::TemporaryDirectory>();
    const test::ProgramResult made = test::RunProgram({DEMO_PROGRAM, Board()});
    ASSERT_EQ(made.exitCode, 0) << made.output;
    fs::remove_all(Out());
    fs::create_directories(Out());
  }
  static void TearDownTestSuite() { directory_.reset(); }

  static std::string Board() { return *directory_ / "board"; }
  static std::string Pages() { return Board() + "/Site"; }
  static std::string Out() { return SOURCE_DIRECTORY "/out/browser"; }

  static void ExpectNothingWrong(const std::string& check) {
    const test::ProgramResult result = Look(check, Pages(), Out());
    EXPECT_EQ(result.exitCode, 0) << result.output;
  }

  static std::unique_ptr<test::TemporaryDirectory> directory_;
};
std::unique_ptr<test::TemporaryDirectory> Site::directory_;

TEST_F(Site, NoPageScrollsSidewaysOnAPhoneOrADesktop) { ExpectNothingWrong("scroll"); }

TEST_F(Site, EveryLinkOfEveryPageLeadsToAFile) { ExpectNothingWrong("links"); }

TEST_F(Site, AxeFindsNoViolationInEitherScheme) { ExpectNothingWrong("axe"); }

TEST_F(Site, NoFieldFailedAndNoScriptIsNeeded) { ExpectNothingWrong("content"); }

TEST_F(Site, AKeyboardReachesEverything) { ExpectNothingWrong("keyboard"); }

TEST_F(Site, ScreenshotsAreTaken) {
  ExpectNothingWrong("screenshots");
  EXPECT_TRUE(test::FileExists(Out() + "/index.phone-dark.png"));
  EXPECT_TRUE(test::FileExists(Out() + "/index.desktop-light.png"));
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
