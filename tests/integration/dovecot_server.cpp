#include "dovecot_server.h"

#include "support/server.h"

#include <brevant/net.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace test {

namespace fs = std::filesystem;

namespace {

// Maildir names are served in the order of the time they begin with.
constexpr int kFirstDelivery = 1000000000;
constexpr auto kPatience = std::chrono::seconds(20);

std::string Configuration(const std::string& directory, WORD port) {
  return "base_dir = " + directory + "run\nstate_dir = " + directory +
         "state\nlog_path = " + directory +
         "dovecot.log\nprotocols = pop3\nlisten = 127.0.0.1\nssl = no\n"
         "disable_plaintext_auth = no\nfirst_valid_uid = 1\nmail_fsync = never\n"
         "mail_location = maildir:" +
         directory + "home/Maildir\npassdb {\n  driver = static\n  args = password=" +
         DovecotServer::kPassword + "\n}\nuserdb {\n  driver = static\n  args = uid=nobody " +
         "gid=nogroup home=" + directory +
         "home\n}\nservice pop3-login {\n  inet_listener pop3 {\n    port = " +
         std::to_string(port) +
         "\n  }\n  inet_listener pop3s {\n    port = 0\n  }\n}\nservice anvil {\n  chroot =\n}\n";
}

}  // namespace

std::string DovecotServer::Hindrance() {
  if (std::string_view(BREVANT_DOVECOT).find("NOTFOUND") != std::string_view::npos)
    return "Dovecot is not installed (dovecot-pop3d)";
  if (RunProgram({"/usr/bin/id", "-u"}).output != "0\n") {
    return "a private Dovecot needs to be started by root, since it changes to its own users";
  }
  return {};
}

DovecotServer::DovecotServer(const std::vector<std::string>& mails) : port_(UnusedPort()) {
  WriteMailbox(mails);
  WriteConfiguration();
  program_ = std::make_unique<Program>(
      std::vector<std::string>{BREVANT_DOVECOT, "-F", "-c", directory_ / "dovecot.conf"});
  const auto start = std::chrono::steady_clock::now();
  while (!Answers()) {
    if (std::chrono::steady_clock::now() - start > kPatience) {
      throw std::runtime_error("Dovecot does not answer: " +
                               ReadFileBytes(directory_ / "dovecot.log"));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

DovecotServer::~DovecotServer() {
  program_->Interrupt();
  program_->Wait();
}

bool DovecotServer::Answers() const {
  TPOP3 client;
  client.SetTimeout(2000);
  const bool answers = client.Connect("127.0.0.1", TSecurityInfos(kAccount, kPassword), port_) == 1;
  client.Disconnect();
  return answers;
}

void DovecotServer::WriteMailbox(const std::vector<std::string>& mails) {
  for (const char* part : {"cur", "new", "tmp"}) {
    fs::create_directories(directory_ / "home/Maildir/" + part);
  }
  for (std::size_t i = 0; i < mails.size(); ++i) {
    const std::string name =
        std::to_string(kFirstDelivery + static_cast<int>(i)) + ".M1P1.localhost";
    WriteFileBytes(directory_ / "home/Maildir/new/" + name, mails[i]);
  }
  const ProgramResult owned =
      RunProgram({"/bin/chown", "-R", "nobody:nogroup", directory_ / "home"});
  if (owned.exitCode != 0) throw std::runtime_error("chown: " + owned.output);
}

void DovecotServer::Refill(const std::vector<std::string>& mails) {
  fs::remove_all(directory_ / "home/Maildir");
  WriteMailbox(mails);
}

void DovecotServer::WriteConfiguration() {
  fs::create_directory(directory_ / "run");
  fs::create_directory(directory_ / "state");
  WriteFileBytes(directory_ / "dovecot.conf", Configuration(directory_.Path(), port_));
}

std::vector<std::string> DovecotServer::Left() const {
  std::vector<std::string> mails;
  for (const char* part : {"cur", "new"}) {
    for (const auto& entry : fs::directory_iterator(directory_ / "home/Maildir/" + part)) {
      mails.push_back(ReadFileBytes(entry.path().string()));
    }
  }
  return mails;
}

}  // namespace test
