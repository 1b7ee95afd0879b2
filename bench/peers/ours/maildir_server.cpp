// peer-maildir-server MAILDIR COMMAND: serves the mails of MAILDIR/new over POP3 on this machine
// while COMMAND, a shell command that finds the port in POP3_PORT, runs. Ends as the command does,
// and with a failure when it left mail in the mailbox.
#include "support/pop3_server.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<std::string> Mails(const fs::path& directory) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<std::string> mails;
  mails.reserve(files.size());
  for (const fs::path& file : files) mails.push_back(test::ReadFileBytes(file.string()));
  return mails;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: peer-maildir-server MAILDIR COMMAND\n", stderr);
    return 2;
  }
  try {
    const test::Pop3Server server(Mails(fs::path(argv[1]) / "new"));
    const std::string command =
        "POP3_PORT=" + std::to_string(server.Port()) + "; export POP3_PORT; " + argv[2];
    if (std::system(command.c_str()) != 0) return 1;
    const std::size_t left = server.Messages().size();
    if (left != 0) std::fprintf(stderr, "%zu mails left\n", left);
    return left == 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
  }
  return 1;
}
