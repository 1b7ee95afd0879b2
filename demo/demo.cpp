// brevant-demo [DIRECTORY]: makes a board and takes it through its whole round, with the commands
// that a user would type: mail in, mail out, pages, tidy-up, upload. The three servers that it
// needs run inside the demonstration, on this machine.
#include "host_commands.h"
#include "sent_mail.h"
#include "site_tree.h"
#include "support/file_attributes.h"
#include "support/ftp_server.h"
#include "support/pop3_server.h"
#include "support/smtp_server.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;
using demo::Print;
using demo::RunHost;

namespace {

std::vector<fs::path> Files(const fs::path& directory, const std::string& extension) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    if (entry.is_regular_file() && entry.path().extension() == extension) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> MailsIn(const fs::path& directory) {
  std::vector<std::string> mails;
  for (const fs::path& file : Files(directory, ".eml")) {
    mails.push_back(test::ReadFileBytes(file.string()));
  }
  return mails;
}

// out/demo-1, out/demo-2, ...: each demonstration leaves its board to look at.
fs::path NewDirectory() {
  for (int number = 1;; ++number) {
    fs::path path = fs::current_path() / "out" / ("demo-" + std::to_string(number));
    if (!fs::exists(path)) return path;
  }
}

template <typename Options>
Options WithAccount(const char* account) {
  Options options;
  options.account = account;
  options.password = "secret";
  return options;
}

class Demonstration {
 public:
  explicit Demonstration(const fs::path& board)
      : board_(board),
        web_(MakeWebServer(board.string() + "-web")),
        mailbox_(MailsIn(demo::SamplesDirectory() / "mail"),
                 WithAccount<test::Pop3Options>("board")),
        ftp_(web_.string(), WithAccount<test::FtpOptions>("garden")) {}

  void Run() {
    ShowServers();
    MakeBoard();
    NameServers();
    FirstRound();
    ShowResults();
    NextDay();
    NothingNew();
    ShowHowToGoOn();
  }

 private:
  static fs::path MakeWebServer(const fs::path& path) {
    fs::create_directories(path / "www");
    return path;
  }
  fs::path Site() const { return board_ / "Site"; }
  demo::SiteTree Remote() const { return demo::TreeOf(web_ / "www"); }

  void Host(std::vector<std::string> arguments, const std::string& input = {}) const {
    // The board's directory stands for itself in the steps below.
    for (std::string& argument : arguments) {
      if (argument == "BOARD") argument = board_.string();
    }
    RunHost(arguments, input);
  }
  void Set(const std::string& key, const std::string& value, const std::string& input = {}) const {
    Host({"config", "BOARD", "set", key, value}, input);
  }

  void ShowServers() const {
    Print("Three servers listen on 127.0.0.1 while this runs:");
    Print("  POP3  port " + std::to_string(mailbox_.Port()) + "  the board's mailbox, with " +
          std::to_string(mailbox_.Messages().size()) + " mails");
    Print("  SMTP  port " + std::to_string(smtp_.Port()) + "  takes the mails for subscribers");
    Print("  FTP   port " + std::to_string(ftp_.Port()) + "  the web server, its directory is " +
          web_.string());
  }

  void MakeBoard() const {
    Print("\n--- A board ---");
    Host({"init", "BOARD", "--name", "Garden Club"});
    Host({"forum", "create", "BOARD", "General Talk", "--description", "Everything that grows",
          "--maximum", "100"});
    Host({"forum", "create", "BOARD", "Seed Swap", "--description", "Give some, take some"});
    Host({"subscribe", "BOARD", "Seed Swap", "paul@shed.example", "--name", "Paul"});
    Host({"links", "create", "BOARD", "Good Sites", "--description", "Where we look things up"});
    Host({"question", "create", "BOARD", "What do you do with slugs", "--answer",
          "Collect them by hand", "--answer", "Beer traps", "--answer", "Copper tape", "--answer",
          "Nothing, hedgehogs do it"});
    Host({"question", "create", "BOARD", "Should we meet on Sundays", "--answer", "Yes", "--answer",
          "No"});
  }

  void NameServers() const {
    Print("\n--- Its servers ---");
    Set("POP3 Server", "127.0.0.1");
    Set("POP3 Port", std::to_string(mailbox_.Port()));
    Set("POP3 Account", "board");
    Set("POP3 Password", "-", "secret");
    Set("E-Mail Address", "board@garden.example");
    Set("SMTP Server", "127.0.0.1");
    Set("SMTP Port", std::to_string(smtp_.Port()));
    Set("FTP Server", "127.0.0.1");
    Set("FTP Port", std::to_string(ftp_.Port()));
    Set("FTP Account", "garden");
    Set("FTP Password", "-", "secret");
    Set("Remote Directory", "www");
  }

  void FirstRound() const {
    Print("\n--- The whole round: mail in, mail out, pages, tidy-up, upload ---");
    Host({"run", "BOARD"});
  }

  void ShowResults() const {
    Print("\n--- What came of it ---");
    Host({"forum", "show", "BOARD", "General Talk"});
    Host({"links", "show", "BOARD", "Good Sites"});
    Host({"question", "show", "BOARD", "What do you do with slugs"});
    const std::vector<std::string> left = mailbox_.Messages();
    Print("\nLeft in the mailbox, since it names nothing of the board:");
    for (const std::string& mail : left) Print("  \"" + demo::HeaderOf(mail, "Subject") + "\"");
    const std::vector<test::SmtpMail> mails = smtp_.Mails();
    if (mails.empty()) throw std::runtime_error("nothing was sent to the subscribers");
    Print("\nSent to subscribers (Carla subscribed by mail just now):");
    demo::ListMails(mails, 0);
    Print("\nThe first of these mails, as it arrived:");
    demo::ShowMail(mails.front());
    Print("\nUploaded:");
    demo::CheckEqual(demo::TreeOf(Site()), Remote());
  }

  // What happens next: an answer comes, a mailing list sends a mail of the board back to it, and
  // the owner takes an advertisement out.
  void NextDay() {
    Print("\n--- The next day ---");
    Print("An answer arrives; a mailing list sends the board its own mail back; an advertisement");
    Print("has to go.");
    const std::size_t sent = smtp_.Mails().size();
    const demo::SiteTree before = Remote();
    for (const std::string& mail : MailsIn(demo::SamplesDirectory() / "later")) mailbox_.Add(mail);
    mailbox_.Add(smtp_.Mails().front().content);
    // Runs remember their times in whole seconds.
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    Host({"forum", "remove", "BOARD", "Seed Swap", "3"});
    Host({"run", "BOARD"});
    Print("\nSent to subscribers:");
    demo::ListMails(smtp_.Mails(), sent);
    ShowTidiedUp(demo::Missing(before, Remote()));
    demo::CheckEqual(demo::TreeOf(Site()), Remote());
  }

  // What nobody can tell from the owner's own files stays.
  void ShowTidiedUp(const std::vector<std::string>& gone) const {
    if (!test::KeepsFileAttributes(board_.string() + "/")) {
      if (!gone.empty()) throw std::runtime_error("a file that may be the owner's was deleted");
      Print(
          "\nLEFT OUT: files that no page names any longer stay. This file system keeps no "
          "archive");
      Print("attribute, so that every file here counts as the owner's.\n");
      return;
    }
    Print("\nNo page names these any longer, so they are gone here and on the server:");
    if (gone.empty()) throw std::runtime_error("nothing was tidied up");
    for (const std::string& path : gone) Print("  " + path);
    Print("");
  }

  void NothingNew() {
    Print("\n--- And when nothing has happened ---");
    const int connections = smtp_.Server().Accepted() + ftp_.Server().Accepted();
    Host({"run", "BOARD"});
    if (smtp_.Server().Accepted() + ftp_.Server().Accepted() != connections) {
      throw std::runtime_error("a server was called for nothing");
    }
    Print("\nOnly the mailbox was looked into; the SMTP and the FTP server had no visitor.");
  }

  void ShowHowToGoOn() const {
    Print("\nThe board, its site and what is on the web server are still there to look at:");
    Print("  " + board_.string());
    Print("  " + (web_ / "www").string());
    const std::string page = (Site() / "index.htm").generic_string();
    Print("Open this in a browser:\n  file://" + std::string(page[0] == '/' ? "" : "/") + page);
    Print("\n--- With a mailbox and a web server of your own ---");
    Print(
        "The same commands, with the names of your servers and without the ports; brevant-host is");
    Print("  " + demo::HostProgram().string() + "\n");
    for (const char* line :
         {"brevant-host init myboard --name \"My Board\"",
          "brevant-host forum create myboard \"General Talk\"",
          "brevant-host config myboard set \"POP3 Server\" mail.example.org",
          "brevant-host config myboard set \"POP3 Account\" board",
          "brevant-host config myboard set \"POP3 Password\" -",
          "brevant-host config myboard set \"E-Mail Address\" board@example.org",
          "brevant-host config myboard set \"SMTP Server\" mail.example.org",
          "brevant-host config myboard set \"FTP Server\" www.example.org",
          "brevant-host config myboard set \"FTP Account\" me",
          "brevant-host config myboard set \"FTP Password\" -",
          "brevant-host config myboard set \"Remote Directory\" public_html",
          "brevant-host run myboard          # now and then, best from a scheduler"}) {
      Print("  " + std::string(line));
    }
    Print("\nLeave out the servers that you do not have: what needs them is left out as well.");
    Print("Give the board a mailbox of its own: what it files is deleted there.");
  }

  const fs::path board_;
  const fs::path web_;
  test::Pop3Server mailbox_;
  test::SmtpServer smtp_;
  test::FtpServer ftp_;
};

}  // namespace

int main(int argc, char** argv) {
  try {
    Demonstration(argc > 1 ? fs::absolute(argv[1]) : NewDirectory()).Run();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "demo: %s\n", error.what());
  }
  return 1;
}
