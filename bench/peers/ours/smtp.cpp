// The job of bench_smtp.py: sends the mails of the directory MAILS from FROM to the addresses of
// the file RCPTS, one transaction a mail, in one session with the server at HOST:PORT. With an
// argument each body goes to the client in pieces of so many bytes, as the dispatch task hands them
// over.
#include "net/connection.h"
#include "support/temporary_directory.h"

#include <brevant/smtp.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is missing");
  return value;
}

std::vector<std::string> Lines(const std::string& file) {
  std::ifstream in(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

std::vector<fs::path> Mails(const std::string& directory) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

bool Send(TSMTP& client, const std::vector<std::string>& recipients, std::string_view mail,
          std::size_t piece) {
  for (const std::string& recipient : recipients) {
    if (client.OpenResource(recipient.c_str(), kOpenForWriting) == 0) return false;
  }
  if (client.StartData() == 0) return false;
  for (std::size_t at = 0; at < mail.size(); at += piece) {
    const std::string_view part = mail.substr(at, piece);
    if (client.Write(part.data(), static_cast<int>(part.size())) < 0) return false;
  }
  return client.Close() == 1;
}

int Run(std::size_t piece) {
  brevant::StartNetwork();
  const std::vector<std::string> recipients = Lines(Variable("RCPTS"));
  TSMTP client;
  client.Status() |= kStatusStandardMode;
  const auto port = static_cast<short>(std::stoi(Variable("PORT")));
  if (client.Connect(Variable("HOST").c_str(), port) == 0) {
    throw std::runtime_error("no connection");
  }
  client.From(Variable("FROM").c_str());
  for (const fs::path& file : Mails(Variable("MAILS"))) {
    if (!Send(client, recipients, test::ReadFileBytes(file.string()), piece)) {
      throw std::runtime_error(file.string() + " was not sent");
    }
  }
  client.Disconnect();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc > 1 ? std::stoul(argv[1]) : std::string::npos / 2);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
