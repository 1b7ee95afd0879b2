#include "ftp_servers.h"

#include "support/server.h"

#include <brevant/ftp.h>

#include <chrono>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace test {

namespace fs = std::filesystem;

namespace {

constexpr auto kPatience = std::chrono::seconds(20);
// Whom the servers work as: the user that vsftpd brings, since it wants one with a home directory.
constexpr const char* kUser = "ftp";
// "secret", as the servers' own lists of accounts have it.
constexpr const char* kPasswordHash = "$1$brevant$nTNNxuAVP1MEQUQWI1YLz/";

const std::string kUnpacked = BREVANT_SERVERS;

std::string ProgramOf(FtpMake make) {
  switch (make) {
    case FtpMake::kVsftpd:
      return BREVANT_VSFTPD;
    case FtpMake::kPureFtpd:
      return kUnpacked + "/usr/sbin/pure-ftpd";
    case FtpMake::kProftpd:
      return kUnpacked + "/usr/sbin/proftpd";
  }
  return {};
}

// Runs a server so that it ends with all the processes that it made, those too that serve a client
// and have made a session of their own.
std::vector<std::string> WithAllItsSessions(const std::vector<std::string>& command) {
  std::vector<std::string> whole = {
      "/usr/bin/setsid", "/bin/sh", "-c",
      "stop() {\n"
      "  for child in $(cat /proc/$server/task/$server/children); do\n"
      "    kill -KILL -- -$child; kill -KILL $child\n"
      "  done\n"
      "  trap '' TERM; kill -TERM 0; wait; exit 0\n"
      "}\n"
      "trap stop INT; \"$@\" & server=$!; wait",
      "sh"};
  whole.insert(whole.end(), command.begin(), command.end());
  return whole;
}

void RunOrThrow(const std::vector<std::string>& command) {
  const ProgramResult result = RunProgram(command);
  if (result.exitCode != 0) throw std::runtime_error(command[0] + ": " + result.output);
}

// What id(1) tells of that user.
std::string IdOf(const std::string& option) {
  std::string output = RunProgram({"/usr/bin/id", option, kUser}).output;
  while (!output.empty() && output.back() == '\n') output.pop_back();
  return output;
}

}  // namespace

std::string FtpServerOf::Hindrance(FtpMake make) {
  if (!fs::exists(ProgramOf(make)))
    return std::string(NameOf(make)) + " is not there: " + ProgramOf(make);
  if (RunProgram({"/usr/bin/id", "-u"}).output != "0\n")
    return "a private FTP server needs to be started by root, since it changes to another user";
  if (RunProgram({"/usr/bin/id", kUser}).exitCode != 0)
    return std::string("there is no user ") + kUser + " for the server to work as";
  return {};
}

FtpServerOf::FtpServerOf(FtpMake make) : make_(make), port_(UnusedPort()) {
  fs::create_directories(LocalDirectory());
  TakeOver();
  command_ = WithAllItsSessions(Configure());
  Start();
}

FtpServerOf::~FtpServerOf() { Stop(); }

std::string FtpServerOf::LocalDirectory() const { return directory_ / "root/site/"; }

std::map<std::string, std::string> FtpServerOf::Tree() const {
  std::map<std::string, std::string> tree;
  for (const auto& entry : fs::recursive_directory_iterator(LocalDirectory())) {
    const std::string path = entry.path().lexically_relative(LocalDirectory()).generic_string();
    tree[path] = entry.is_directory() ? "/" : ReadFileBytes(entry.path().string());
  }
  return tree;
}

bool FtpServerOf::Exists(const std::string& path) const {
  return fs::exists(LocalDirectory() + path);
}

std::string FtpServerOf::Bytes(const std::string& path) const {
  return ReadFileBytes(LocalDirectory() + path);
}

int FtpServerOf::Permissions(const std::string& path) const {
  return static_cast<int>(fs::status(LocalDirectory() + path).permissions());
}

void FtpServerOf::Clear() const {
  for (const auto& entry : fs::directory_iterator(LocalDirectory())) fs::remove_all(entry.path());
}

void FtpServerOf::Fill(int count, const std::string& prefix, const std::string& bytes) const {
  for (int i = 0; i < count; ++i) {
    WriteFileBytes(LocalDirectory() + prefix + std::to_string(i), bytes);
  }
  TakeOver();
}

void FtpServerOf::TakeOver() const {
  const std::string owner = IdOf("-u") + ":" + IdOf("-g");
  RunOrThrow({"/bin/chown", "-R", owner, LocalDirectory()});
}

void FtpServerOf::Stop() {
  if (program_ == nullptr) return;
  program_->Interrupt();
  program_->Wait();
  program_.reset();
}

void FtpServerOf::Start() {
  program_ = std::make_unique<Program>(command_);
  const auto start = std::chrono::steady_clock::now();
  while (!Answers()) {
    if (std::chrono::steady_clock::now() - start > kPatience) {
      program_->Interrupt();
      throw std::runtime_error(std::string(NameOf(make_)) + " does not answer: " +
                               program_->Wait().output + ReadFileBytes(directory_ / "log"));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

bool FtpServerOf::Answers() const {
  TFTP client;
  client.SetTimeout(5000);
  const bool answers = client.Connect("127.0.0.1", TSecurityInfos(Account(), "secret"), port_) == 1;
  client.Disconnect();
  return answers;
}

std::vector<std::string> FtpServerOf::Commands() const {
  std::vector<std::string> commands;
  std::istringstream log(ReadFileBytes(directory_ / "log"));
  for (std::string line; std::getline(log, line);) {
    if (make_ == FtpMake::kProftpd) commands.push_back(line);
    const std::size_t at = line.find("FTP command: Client \"127.0.0.1\", \"");
    if (make_ != FtpMake::kVsftpd || at == std::string::npos) continue;
    const std::size_t text = line.find(", \"", at) + 3;
    commands.push_back(line.substr(text, line.rfind('"') - text));
  }
  return commands;
}

std::vector<std::string> FtpServerOf::Configure() {
  switch (make_) {
    case FtpMake::kVsftpd:
      return ConfigureVsftpd();
    case FtpMake::kPureFtpd:
      return ConfigurePureFtpd();
    case FtpMake::kProftpd:
      return ConfigureProftpd();
  }
  return {};
}

// It lets nobody but anonymous users in without asking the system for their passwords.
std::vector<std::string> FtpServerOf::ConfigureVsftpd() {
  fs::create_directory(directory_ / "empty");
  const std::string configuration =
      "listen=YES\nlisten_address=127.0.0.1\nlisten_port=" + std::to_string(port_) +
      "\nbackground=NO\nanonymous_enable=YES\nlocal_enable=NO\nwrite_enable=YES\n"
      "anon_upload_enable=YES\nanon_mkdir_write_enable=YES\nanon_other_write_enable=YES\n"
      "anon_world_readable_only=NO\nanon_umask=022\nno_anon_password=YES\n"
      "seccomp_sandbox=NO\nisolate=NO\nisolate_network=NO\nport_enable=YES\n"
      "connect_from_port_20=NO\nxferlog_enable=YES\nxferlog_std_format=NO\n"
      "log_ftp_protocol=YES\nanon_root=" +
      directory_.Path() + "root\nftp_username=" + kUser +
      "\nsecure_chroot_dir=" + directory_.Path() + "empty\nvsftpd_log_file=" + directory_.Path() +
      "log\n";
  WriteFileBytes(directory_ / "vsftpd.conf", configuration);
  fs::permissions(directory_ / "vsftpd.conf", fs::perms::owner_read);
  return {ProgramOf(make_), directory_ / "vsftpd.conf"};
}

std::vector<std::string> FtpServerOf::ConfigurePureFtpd() {
  const std::string passwords = directory_ / "passwords";
  const std::string database = directory_ / "passwords.pdb";
  // A line as pure-pw would write it, but for the hash, whose making and checking takes seconds.
  WriteFileBytes(passwords, std::string(Account()) + ":" + kPasswordHash + ":" + IdOf("-u") + ":" +
                                IdOf("-g") + "::" + directory_.Path() + "root/./::::::::::::\n");
  RunOrThrow({kUnpacked + "/usr/bin/pure-pw", "mkdb", database, "-f", passwords});
  return {ProgramOf(make_),
          "--bind=127.0.0.1," + std::to_string(port_),
          "--login=puredb:" + database,
          "--pidfile=" + (directory_ / "pid"),
          "--ipv4only",
          "--dontresolve",
          "--noanonymous",
          "--chrooteveryone",
          "--minuid=1",
          "--displaydotfiles",
          "--limitrecursion=50000:10",
          "--umask=133:022"};
}

std::vector<std::string> FtpServerOf::ConfigureProftpd() {
  WriteFileBytes(directory_ / "passwords", std::string(Account()) + ":" + kPasswordHash + ":" +
                                               IdOf("-u") + ":" + IdOf("-g") +
                                               "::" + directory_.Path() + "root:/bin/sh\n");
  fs::permissions(directory_ / "passwords", fs::perms::owner_read | fs::perms::owner_write);
  const std::string path = directory_.Path();
  WriteFileBytes(directory_ / "proftpd.conf",
                 "ServerName test\nServerType standalone\nDefaultServer on\n"
                 "DefaultAddress 127.0.0.1\nSocketBindTight on\nUseIPv6 off\nUseReverseDNS off\n"
                 "Port " +
                     std::to_string(port_) + "\nUser " + kUser + "\nGroup " + IdOf("-gn") +
                     "\nAuthUserFile " + path +
                     "passwords\nAuthOrder mod_auth_file.c\n"
                     "RequireValidShell off\nDefaultRoot " +
                     path +
                     "root\nAllowOverwrite on\nUmask 022\nWtmpLog off\nTransferLog none\n"
                     "LogFormat command \"%r\"\nExtendedLog " +
                     path + "log ALL command\nSystemLog " + path + "system.log\nPidFile " + path +
                     "pid\nScoreboardFile " + path +
                     "scoreboard\nDelayEngine off\nControlsEngine off\nControlsSocket " + path +
                     "controls\nMaxInstances 50\nCapabilitiesEngine off\n");
  return {ProgramOf(make_), "--nodaemon", "--quiet", "--config", directory_ / "proftpd.conf"};
}

}  // namespace test
