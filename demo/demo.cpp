// brevant-demo [DIRECTORY]: makes a board, fills it from a POP3 server on this machine and
// generates its site, with the commands that a user would type.
#include "support/pop3_server.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

void Print(const std::string& text) {
  std::fputs((text + "\n").c_str(), stdout);
  std::fflush(stdout);
}

// For the shell; the demo's own texts hold no single quotes.
std::string Quoted(const std::string& text) { return "'" + text + "'"; }

// Shows a command as a user would type it, and runs it.
void RunHost(const std::string& arguments, const std::string& input = {}) {
  Print("\n$ " + (input.empty() ? std::string() : "echo " + input + " | ") + "brevant-host " +
        arguments);
  const std::string command = (input.empty() ? std::string() : "echo " + input + " | ") +
                              Quoted(DEMO_HOST) + " " + arguments;
  if (std::system(command.c_str()) != 0) throw std::runtime_error("the command above failed");
}

std::vector<fs::path> Files(const fs::path& directory, const std::string& extension) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    if (entry.is_regular_file() && (extension.empty() || entry.path().extension() == extension)) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

// out/demo-1, out/demo-2, ...: each demonstration leaves its board to look at.
fs::path NewDirectory() {
  for (int number = 1;; ++number) {
    fs::path path = fs::current_path() / "out" / ("demo-" + std::to_string(number));
    if (!fs::exists(path)) return path;
  }
}

std::string HeaderLine(const std::string& message, const std::string& name) {
  std::size_t start = message.find("\n" + name + ": ");
  if (start == std::string::npos) return {};
  start += name.size() + 3;
  return message.substr(start, message.find_first_of("\r\n", start) - start);
}

void MakeBoard(const std::string& board, const test::Pop3Server& server) {
  Print("\n--- A board ---");
  RunHost("init " + board + " --name 'Garden Club'");
  RunHost("forum create " + board +
          " 'General Talk' --description 'Everything that grows' --maximum 100");
  RunHost("forum create " + board + " 'Seed Swap' --description 'Give some, take some'");
  RunHost("links create " + board + " 'Good Sites' --description 'Where we look things up'");
  RunHost("question create " + board +
          " 'What do you do with slugs' --answer 'Collect them by hand' --answer 'Beer traps'"
          " --answer 'Copper tape' --answer 'Nothing, hedgehogs do it'");
  RunHost("question create " + board + " 'Should we meet on Sundays' --answer Yes --answer No");
  Print("\n--- Its mailbox ---");
  RunHost("config " + board + " set 'POP3 Server' 127.0.0.1");
  RunHost("config " + board + " set 'POP3 Port' " + std::to_string(server.Port()));
  RunHost("config " + board + " set 'POP3 Account' board");
  RunHost("config " + board + " set 'POP3 Password' -", "secret");
  RunHost("config " + board + " set 'E-Mail Address' board@garden.example");
}

void ShowResults(const fs::path& board, const test::Pop3Server& server) {
  Print("\n--- What came of it ---");
  const std::string name = Quoted(board.string());
  RunHost("forum show " + name + " 'General Talk'");
  RunHost("links show " + name + " 'Good Sites'");
  RunHost("question show " + name + " 'What do you do with slugs'");
  const std::vector<std::string> left = server.Messages();
  Print("\nLeft in the mailbox, since they name nothing of the board: " +
        std::to_string(left.size()));
  for (const std::string& message : left) Print("  " + HeaderLine(message, "Subject"));
  Print("\nPages:");
  for (const fs::path& page : Files(board / "Site", ".htm")) Print("  " + page.string());
  Print("\nOpen this one in a browser:\n  file://" + (board / "Site" / "index.htm").string());
  Print("\n--- With a mailbox of your own ---");
  Print("The same commands, with the name of your mail server and no \"POP3 Port\":\n");
  const std::string host = fs::path(DEMO_HOST).string();
  Print("  alias brevant-host=" + host);
  Print("  brevant-host init myboard --name \"My Board\"");
  Print("  brevant-host forum create myboard \"General Talk\"");
  Print("  brevant-host config myboard set \"POP3 Server\" mail.example.org");
  Print("  brevant-host config myboard set \"POP3 Account\" board");
  Print("  brevant-host config myboard set \"POP3 Password\" -");
  Print("  brevant-host config myboard set \"E-Mail Address\" board@example.org");
  Print("  brevant-host run myboard          # now and then, for example from cron");
  Print("\nGive the board a mailbox of its own: what it files is deleted there.");
}

void Demonstrate(const fs::path& board) {
  std::vector<std::string> messages;
  for (const fs::path& file : Files(DEMO_MAIL_DIRECTORY, ".eml")) {
    messages.push_back(test::ReadFileBytes(file.string()));
  }
  test::Pop3Options options;
  options.account = "board";
  options.password = "secret";
  test::Pop3Server server(messages, options);
  Print("A POP3 server with " + std::to_string(messages.size()) +
        " mails listens on 127.0.0.1, port " + std::to_string(server.Port()) + ".");
  fs::create_directories(board.parent_path());
  MakeBoard(Quoted(board.string()), server);
  Print("\n--- Mail in, pages out ---");
  RunHost("run " + Quoted(board.string()));
  ShowResults(board, server);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    Demonstrate(argc > 1 ? fs::absolute(argv[1]) : NewDirectory());
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "demo: %s\n", error.what());
  }
  return 1;
}
