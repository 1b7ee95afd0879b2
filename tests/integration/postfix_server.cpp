#include "postfix_server.h"

#include "net/connection.h"
#include "support/server.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace test {

namespace fs = std::filesystem;

namespace {

constexpr auto kPatience = std::chrono::seconds(20);
constexpr auto kPause = std::chrono::milliseconds(20);
// A mail is in none of the looked-at directories while it moves from one to the next.
constexpr int kEmptyLooks = 5;

void Run(const std::vector<std::string>& command) {
  const ProgramResult result = RunProgram(command);
  if (result.exitCode != 0) throw std::runtime_error(command[0] + ": " + result.output);
}

void Own(const std::string& owner, const std::string& mode, const std::string& path) {
  fs::create_directories(path);
  Run({"/bin/chown", owner, path});
  Run({"/bin/chmod", mode, path});
}

// Waits until the condition holds; false when that takes too long.
template <class Condition>
bool WaitFor(Condition condition) {
  const auto start = std::chrono::steady_clock::now();
  while (!condition()) {
    if (std::chrono::steady_clock::now() - start > kPatience) return false;
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

// Whether a server greets at the port.
bool Greets(WORD port) {
  TConnection connection(2000);
  std::array<char, 4> greeting;
  return connection.Connect(htonl(INADDR_LOOPBACK), port) == 1 &&
         connection.PeekAhead(greeting.data(), 4) == 4 && greeting[0] == '2';
}

bool IsRoot() { return RunProgram({"/usr/bin/id", "-u"}).output == "0\n"; }

std::vector<std::string> FilesIn(const std::string& directory) {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(directory)) {
    if (entry.is_regular_file()) files.push_back(entry.path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

// The content of the field of that name, without angle brackets.
std::string Field(const std::string& mail, const std::string& name) {
  const std::string start = name + ": ";
  std::size_t at = 0;
  while (at < mail.size() && mail.compare(at, start.size(), start) != 0) {
    const std::size_t end = mail.find('\n', at);
    if (end == std::string::npos || end == at) return {};
    at = end + 1;
  }
  if (at >= mail.size()) return {};
  at += start.size();
  std::string text = mail.substr(at, mail.find('\n', at) - at);
  if (text.starts_with('<') && text.ends_with('>')) text = text.substr(1, text.size() - 2);
  return text;
}

// Nothing but example.org has a destination.
constexpr std::string_view kMain =
    "compatibility_level = 3.6\n"
    "command_directory = /usr/sbin\n"
    "myhostname = mail.example.org\n"
    "mydestination =\n"
    "mynetworks = 127.0.0.2/32\n"
    "inet_interfaces = 127.0.0.1\n"
    "inet_protocols = ipv4\n"
    "local_recipient_maps =\n"
    "alias_maps =\n"
    "local_transport = error:no local mail\n"
    "default_transport = error:no mail for other places\n"
    "virtual_mailbox_domains = example.org\n"
    "virtual_mailbox_maps = static:Maildir/\n"
    "virtual_minimum_uid = 1\n"
    "smtpd_relay_restrictions = reject_unauth_destination\n"
    // No field is added to a header that lacks it.
    "local_header_rewrite_clients =\n"
    "smtpd_peername_lookup = no\n"
    "in_flow_delay = 0\n"
    "smtpd_client_connection_count_limit = 0\n"
    "smtpd_error_sleep_time = 0\n"
    "notify_classes =\n";

constexpr std::string_view kStrict =
    "smtpd_helo_required = yes\n"
    "strict_rfc821_envelopes = yes\n"
    "smtpd_helo_restrictions = reject_invalid_helo_hostname, reject_non_fqdn_helo_hostname\n"
    "smtpd_sender_restrictions = reject_non_fqdn_sender\n"
    "smtpd_recipient_restrictions = reject_non_fqdn_recipient\n"
    "smtpd_data_restrictions = reject_unauth_pipelining\n"
    "strict_7bit_headers = yes\n"
    "strict_8bitmime_body = yes\n"
    "strict_mime_encoding_domain = yes\n"
    // Unknown to older releases, which ignore them.
    "smtpd_forbid_bare_newline = yes\n"
    "smtpd_forbid_unauth_pipelining = yes\n";

constexpr std::string_view kServices =
    " inet n - n - - smtpd\n"
    "cleanup unix n - n - 0 cleanup\n"
    "qmgr unix n - n 300 1 qmgr\n"
    "rewrite unix - - n - - trivial-rewrite\n"
    "bounce unix - - n - 0 bounce\n"
    "defer unix - - n - 0 bounce\n"
    "trace unix - - n - 0 bounce\n"
    "error unix - - n - - error\n"
    "retry unix - - n - - error\n"
    "virtual unix - n n - - virtual\n"
    "anvil unix - - n - 1 anvil\n";

constexpr std::array<const char*, 11> kQueues = {"active",   "bounce", "corrupt", "defer",
                                                 "deferred", "flush",  "hold",    "incoming",
                                                 "private",  "saved",  "trace"};

}  // namespace

std::string PostfixServer::Hindrance() {
  if (!fs::exists(std::string(BREVANT_POSTFIX_DAEMONS) + "/master")) {
    return "Postfix is not installed (postfix)";
  }
  if (!IsRoot()) {
    return "a private Postfix needs to be started by root, since it changes to its own users";
  }
  return {};
}

PostfixServer::PostfixServer(PostfixOptions options) : port_(UnusedPort()) {
  Run({"/bin/chmod", "755", directory_.Path()});
  MakeQueue();
  WriteConfiguration(options);
  program_ = std::make_unique<Program>(std::vector<std::string>{
      std::string(BREVANT_POSTFIX_DAEMONS) + "/master", "-c", directory_ / "conf"});
  if (!WaitFor([this] { return Greets(port_); })) {
    program_->Interrupt();
    throw std::runtime_error("Postfix does not answer: " + program_->Wait().output);
  }
}

PostfixServer::~PostfixServer() {
  program_->Interrupt();
  program_->Wait();
}

void PostfixServer::MakeQueue() const {
  for (const char* queue : kQueues) Own("postfix", "700", directory_ / "queue/" + queue);
  Own("postfix:postdrop", "710", directory_ / "queue/public");
  Own("postfix:postdrop", "730", directory_ / "queue/maildrop");
  Own("root", "755", directory_ / "queue/pid");
  Own("postfix", "755", directory_ / "data");
  for (const char* part : {"", "/cur", "/new", "/tmp"}) {
    Own("nobody:nogroup", "755", directory_ / "home/Maildir" + part);
  }
  fs::create_directory(directory_ / "conf");
}

void PostfixServer::WriteConfiguration(const PostfixOptions& options) const {
  const std::string uid = RunProgram({"/usr/bin/id", "-u", "nobody"}).output;
  const std::string gid = RunProgram({"/usr/bin/id", "-g", "nobody"}).output;
  WriteFileBytes(directory_ / "conf/main.cf",
                 std::string(kMain) + "queue_directory = " + directory_.Path() +
                     "queue\ndata_directory = " + directory_.Path() +
                     "data\nvirtual_mailbox_base = " + directory_.Path() +
                     "home\ndaemon_directory = " + BREVANT_POSTFIX_DAEMONS +
                     "\nvirtual_uid_maps = static:" + uid + "virtual_gid_maps = static:" + gid +
                     std::string(options.strict ? kStrict : ""));
  WriteFileBytes(directory_ / "conf/master.cf",
                 "127.0.0.1:" + std::to_string(port_) + std::string(kServices));
}

bool PostfixServer::QueueIsEmpty() const {
  for (const char* queue : {"maildrop", "incoming", "active", "deferred"}) {
    for (const auto& entry : fs::recursive_directory_iterator(directory_ / "queue/" + queue)) {
      if (entry.is_regular_file()) return false;
    }
  }
  return true;
}

std::vector<PostfixMail> PostfixServer::Delivered() const {
  int looks = 0;
  const bool settled = WaitFor([&] {
    try {
      looks = QueueIsEmpty() ? looks + 1 : 0;
    } catch (const fs::filesystem_error&) {
      looks = 0;  // a directory changed under the walk
    }
    return looks == kEmptyLooks;
  });
  if (!settled) throw std::runtime_error("mail stays in the queue of Postfix");
  std::vector<PostfixMail> mails;
  for (const std::string& file : FilesIn(directory_ / "home/Maildir/new")) {
    PostfixMail mail;
    mail.text = ReadFileBytes(file);
    mail.sender = Field(mail.text, "Return-Path");
    mail.recipient = Field(mail.text, "Delivered-To");
    mails.push_back(std::move(mail));
  }
  return mails;
}

std::string SmtpSink::Hindrance() {
  return std::string_view(BREVANT_SMTP_SINK).ends_with("NOTFOUND")
             ? "smtp-sink is not installed (postfix)"
             : "";
}

SmtpSink::SmtpSink() : port_(UnusedPort()) {
  std::vector<std::string> command = {BREVANT_SMTP_SINK, "-d", directory_ / "mail."};
  if (IsRoot()) {
    Own("nobody", "755", directory_.Path());
    command.insert(command.end(), {"-u", "nobody"});
  }
  command.insert(command.end(), {"127.0.0.1:" + std::to_string(port_), "100"});
  program_ = std::make_unique<Program>(command);
  if (!WaitFor([this] { return Greets(port_); })) {
    throw std::runtime_error("smtp-sink does not answer");
  }
}

SmtpSink::~SmtpSink() {
  program_->Interrupt();
  program_->Wait();
}

std::vector<std::string> SmtpSink::Mails() const {
  std::vector<std::string> mails;
  for (const std::string& file : FilesIn(directory_.Path())) mails.push_back(ReadFileBytes(file));
  return mails;
}

}  // namespace test
