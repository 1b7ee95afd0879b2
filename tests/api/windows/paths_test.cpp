// The library with a board's directory spelled in the ways that Windows knows.
#include "support/temporary_directory.h"

#include <brevant/brevant.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace {

namespace fs = std::filesystem;

class WindowsPaths : public ::testing::Test {
 protected:
  WindowsPaths() {
    root_ = fs::path(directory_.Path()).make_preferred().string();
    root_.pop_back();
    const std::string longName =
        "A directory with a long name, blanks and 8.3 is far away (" + std::string(60, 'n') + ")";
    board_ = root_ + "\\" + longName;
    for (const char* part : {"", "\\Data", "\\Site", "\\Templates"}) {
      fs::create_directory(board_ + part);
    }
    // Pages break their lines where these are long.
    const std::string longLine =
        "<p>" + std::string(50, 'a') + ' ' + std::string(50, 'b') + "</p>\n";
    test::WriteFileBytes(board_ + "\\Templates\\index.htm",
                         "<ul><li><a href=\"$FORUM_FILENAME$\">$FORUM_NAME$</a></ul>\n" + longLine);
    test::WriteFileBytes(
        board_ + "\\Templates\\messages.htm",
        "<h1>$FORUM_NAME$</h1>\n<p>$MESSAGE_SUBJECT$: $MESSAGE_CONTENT$</p>\n" + longLine);
  }

  static void AddPost(const std::string& data) {
    TForum* forum = CreateForum("General Talk", data.c_str());
    ASSERT_NE(forum, nullptr) << data;
    TMail* mail = OpenMessage(0, nullptr);
    mail->String("SUBJECT", "Hello");
    mail->Content().Write("one\r\ntwo\r\n", 10);
    EXPECT_EQ(InsertMessage(mail, forum), 1u);
    CloseMessage(mail);
    CloseForum(forum);
  }

  // A whole run with the board called so; what lies where is checked by another spelling of it.
  void Run(const std::string& board, const std::string& separator) {
    SCOPED_TRACE(board);
    ASSERT_EQ(SetProgramDirectory(board.c_str()), 1);
    TSetup* setup = OpenSetup("board settings.ini");
    TPersistentState* state = OpenPersistentState("state.ini");
    ASSERT_EQ(InitializeBrevant(setup, state), 1);
    setup->String("Data Directory", (board + separator + "Data").c_str());
    setup->String("Local Directory", (board + separator + "Site").c_str());
    setup->String("HTML Template Directory", (board + separator + "Templates").c_str());
    setup->String("HTML File - Forum list", "index");
    setup->String("HTML File - Message list", "messages");
    AddPost(setup->String("Data Directory"));
    TTask* task = CreateTask("HTML");
    EXPECT_EQ(task->Execute(), 1);
    DestroyTask(task);
    LogError("The last line");
    UninitializeBrevant();
    ClosePersistentState(state);
    CloseSetup(setup);
    SetProgramDirectory(nullptr);
    CheckFiles();
  }

  void CheckFiles() const {
    EXPECT_TRUE(test::FileExists(board_ + "\\Data\\General Talk.mwd"));
    const std::string page = test::ReadFileBytes(board_ + "\\Site\\messages--f--general_talk.htm");
    EXPECT_NE(page.find("<h1>General Talk</h1>"), std::string::npos);
    EXPECT_NE(page.find("Hello"), std::string::npos);
    for (const char* file : {"board settings.ini", "state.ini", "error.log", "Site\\index.htm",
                             "Site\\messages--f--general_talk.htm"}) {
      ExpectWindowsLineEnds(file);
    }
    EXPECT_NE(test::ReadFileBytes(board_ + "\\error.log").find("] The last line\r\n"),
              std::string::npos);
  }

  // Every line feed follows a carriage return, and there is one at all.
  void ExpectWindowsLineEnds(const std::string& file) const {
    const std::string text = test::ReadFileBytes(board_ + "\\" + file);
    EXPECT_NE(text.find("\r\n"), std::string::npos) << file << ": " << text;
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
      EXPECT_TRUE(at > 0 && text[at - 1] == '\r') << file << ", byte " << at;
    }
  }

  test::TemporaryDirectory directory_;
  std::string root_;
  std::string board_;
};

TEST_F(WindowsPaths, DriveLetterAndBackslashes) { Run(board_, "\\"); }

TEST_F(WindowsPaths, DriveLetterAndSlashes) {
  std::string board = board_;
  std::replace(board.begin(), board.end(), '\\', '/');
  Run(board, "/");
}

TEST_F(WindowsPaths, BothSeparatorsMixed) {
  std::string board = board_;
  board[board.rfind('\\')] = '/';
  Run(board, "\\");
}

TEST_F(WindowsPaths, OtherLetterCase) {
  std::string board = board_;
  std::transform(board.begin(), board.end(), board.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  Run(board, "\\");
}

TEST_F(WindowsPaths, RelativeToTheCurrentDirectory) {
  const fs::path before = fs::current_path();
  fs::current_path(root_);
  Run(board_.substr(root_.size() + 1), "\\");
  fs::current_path(before);
}

TEST_F(WindowsPaths, NetworkShare) {
  // The machine's own share of the drive; where it has none, a share that Wine is told about.
  std::string share = "\\\\localhost\\" + root_.substr(0, 1) + "$";
  std::string place;
  if (!fs::exists(share + board_.substr(2))) {
    const char* prefix = std::getenv("WINEPREFIX");
    if (prefix == nullptr) GTEST_SKIP() << "this machine shares no drive with itself";
    place = std::string("Z:") + prefix + "\\dosdevices\\unc\\brevant-test";
    fs::create_directories(place + "\\share");
    share = "\\\\brevant-test\\share";
    fs::remove_all(share + "\\board");
    fs::copy(board_, share + "\\board", fs::copy_options::recursive);
    board_ = share + "\\board";
    Run(board_, "\\");
    std::error_code ignored;
    fs::remove_all(place, ignored);
    return;
  }
  Run(share + board_.substr(2), "\\");
}

TEST_F(WindowsPaths, APathBeyondAsciiIsWidenedByteByByte) {
  // The letter is one byte here; widened with its sign it is another name than the file system's.
  const std::string data = board_ + "\\Data\\";
  TForum* forum = CreateForum(
      "Gr\xFC\xDF"
      "e",
      data.c_str());
  ASSERT_NE(forum, nullptr);
  CloseForum(forum);
  EXPECT_TRUE(fs::exists(fs::path(data) / fs::path(L"Gr\xFFFC\xFFDF"
                                                   L"e.mwd")));
  forum = OpenForum(
      "Gr\xFC\xDF"
      "e",
      data.c_str());
  EXPECT_NE(forum, nullptr);
  CloseForum(forum);
}

}  // namespace
