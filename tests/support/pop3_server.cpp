#include "support/pop3_server.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <mutex>
#include <numeric>
#include <set>
#include <utility>

namespace test {
namespace {

// With CR LF line ends; the last line ends, too.
std::string WithNetworkLineEnds(const std::string& text) {
  std::string result;
  result.reserve(text.size() + text.size() / 16 + 2);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r')) result += '\r';
    result += text[i];
  }
  if (!result.empty() && !result.ends_with('\n')) result += "\r\n";
  return result;
}

// With every dot at the start of a line doubled.
std::string Stuffed(const std::string& text) {
  std::string result;
  result.reserve(text.size() + 16);
  bool lineStart = true;
  for (const char c : text) {
    if (lineStart && c == '.') result += '.';
    result += c;
    lineStart = c == '\n';
  }
  return result;
}

// The header, the empty line and a number of body lines.
std::string Top(const std::string& text, long lines) {
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    const bool blank = text[at] == '\r' || text[at] == '\n';
    at = end;
    if (blank) break;
  }
  for (; lines > 0 && at < text.size(); --lines) {
    at = std::min(text.find('\n', at), text.size() - 1) + 1;
  }
  return text.substr(0, at);
}

std::string UniqueId(const std::string& text) {
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  return std::to_string(hash);
}

}  // namespace

struct Pop3Server::Mailbox {
  struct Message {
    std::string given;
    std::string served;
  };
  mutable std::mutex mutex;
  std::vector<std::shared_ptr<const Message>> messages;
  Pop3Options options;

  void Add(std::string message) {
    auto added = std::make_shared<Message>();
    added->served = WithNetworkLineEnds(message);
    added->given = std::move(message);
    const std::lock_guard lock(mutex);
    messages.push_back(std::move(added));
  }
};

class Pop3Server::Session : public ServerSession {
 public:
  explicit Session(std::shared_ptr<Mailbox> mailbox) : mailbox_(std::move(mailbox)) {
    const std::lock_guard lock(mailbox_->mutex);
    messages_ = mailbox_->messages;
    deleted_.assign(messages_.size(), false);
  }

  std::string Greeting() override { return "+OK ready\r\n"; }

  ServerAnswer OnLine(const std::string& line) override {
    const std::size_t blank = std::min(line.find(' '), line.size());
    ServerAnswer answer;
    answer.command = line.substr(0, blank);
    std::transform(answer.command.begin(), answer.command.end(), answer.command.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const std::string argument = blank < line.size() ? line.substr(blank + 1) : "";
    answer.bytes = Reply(answer.command, argument);
    if (answer.command == "QUIT") {
      if (loggedIn_) CommitDeletions();
      answer.close = true;
    }
    return answer;
  }

 private:
  std::string Reply(const std::string& command, const std::string& argument) {
    if (command == "QUIT") return "+OK bye\r\n";
    if (command == "CAPA") return "+OK\r\nTOP\r\nUSER\r\nUIDL\r\n.\r\n";
    if (command == "NOOP") return "+OK\r\n";
    if (command == "USER") {
      account_ = argument;
      return "+OK\r\n";
    }
    if (command == "PASS") return LogIn(argument);
    if (!loggedIn_) return "-ERR log in first\r\n";
    if (command == "STAT") return "+OK " + Totals() + "\r\n";
    if (command == "RSET") {
      deleted_.assign(messages_.size(), false);
      return "+OK\r\n";
    }
    if (command == "LAST") {
      const int last = mailbox_->options.lastRead;
      return last < 0 ? "-ERR unknown command\r\n" : "+OK " + std::to_string(last) + "\r\n";
    }
    if ((command == "LIST" || command == "UIDL") && argument.empty()) return Listing(command);
    return OfMessage(command, argument);
  }

  std::string LogIn(const std::string& password) {
    const Pop3Options& options = mailbox_->options;
    loggedIn_ = (options.account.empty() || options.account == account_) &&
                (options.password.empty() || options.password == password);
    return loggedIn_ ? "+OK logged in\r\n" : "-ERR wrong account or password\r\n";
  }

  std::string OfMessage(const std::string& command, const std::string& argument) {
    constexpr std::string_view kKnown[] = {"LIST", "UIDL", "TOP", "RETR", "DELE"};
    if (std::find(std::begin(kKnown), std::end(kKnown), command) == std::end(kKnown))
      return "-ERR unknown command\r\n";
    std::size_t number = 0;
    const char* end = argument.data() + argument.size();
    const auto parsed = std::from_chars(argument.data(), end, number);
    if (number < 1 || number > messages_.size() || deleted_[number - 1])
      return "-ERR no such message\r\n";
    const Mailbox::Message& message = *messages_[number - 1];
    if (command == "DELE") {
      deleted_[number - 1] = true;
      return "+OK deleted\r\n";
    }
    const std::string prefix = "+OK " + std::to_string(number) + " ";
    if (command == "LIST") return prefix + std::to_string(message.served.size()) + "\r\n";
    if (command == "UIDL") return prefix + UniqueId(message.served) + "\r\n";
    if (command == "RETR") return Multiline(message.served);
    long lines = 0;
    if (parsed.ptr != end) std::from_chars(parsed.ptr + 1, end, lines);
    return Multiline(Top(message.served, lines));
  }

  std::string Multiline(const std::string& text) const {
    return "+OK\r\n" + Stuffed(text) +
           (mailbox_->options.emptyLineBeforeDot ? "\r\n.\r\n" : ".\r\n");
  }

  std::string Totals() const {
    std::size_t count = 0;
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < messages_.size(); ++i) {
      if (deleted_[i]) continue;
      ++count;
      bytes += messages_[i]->served.size();
    }
    return std::to_string(count) + " " + std::to_string(bytes);
  }

  std::string Listing(const std::string& command) const {
    std::string result = "+OK " + Totals() + "\r\n";
    for (std::size_t i = 0; i < messages_.size(); ++i) {
      if (deleted_[i]) continue;
      const std::string& served = messages_[i]->served;
      result += std::to_string(i + 1) + " " +
                (command == "LIST" ? std::to_string(served.size()) : UniqueId(served)) + "\r\n";
    }
    return result + ".\r\n";
  }

  void CommitDeletions() {
    std::set<const Mailbox::Message*> gone;
    for (std::size_t i = 0; i < messages_.size(); ++i) {
      if (deleted_[i]) gone.insert(messages_[i].get());
    }
    const std::lock_guard lock(mailbox_->mutex);
    std::erase_if(mailbox_->messages,
                  [&](const auto& message) { return gone.contains(message.get()); });
  }

  std::shared_ptr<Mailbox> mailbox_;
  std::vector<std::shared_ptr<const Mailbox::Message>> messages_;
  std::vector<bool> deleted_;
  std::string account_;
  bool loggedIn_ = false;
};

Pop3Server::Pop3Server(std::vector<std::string> messages, Pop3Options options)
    : mailbox_(std::make_shared<Mailbox>()) {
  for (std::string& message : messages) mailbox_->Add(std::move(message));
  std::vector<Deviation> deviations = options.deviations;
  const WORD port = options.port;
  mailbox_->options = std::move(options);
  server_ = std::make_unique<LoopbackServer>(
      [mailbox = mailbox_] { return std::make_unique<Session>(mailbox); }, std::move(deviations),
      port);
}

Pop3Server::~Pop3Server() = default;

WORD Pop3Server::Port() const { return server_->Port(); }

std::vector<std::string> Pop3Server::Messages() const {
  const std::lock_guard lock(mailbox_->mutex);
  std::vector<std::string> result;
  for (const auto& message : mailbox_->messages) result.push_back(message->given);
  return result;
}

void Pop3Server::Add(std::string message) { mailbox_->Add(std::move(message)); }

std::string Pop3Server::Transcript() const { return server_->Transcript(); }

LoopbackServer& Pop3Server::Server() { return *server_; }

}  // namespace test
