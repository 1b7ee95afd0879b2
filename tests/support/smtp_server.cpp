#include "support/smtp_server.h"

#include <algorithm>
#include <atomic>
#include <cctype>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

namespace test {
namespace {

bool IsLineEnd(char c) { return c == '\r' || c == '\n'; }

// Where the line "." begins that ends the data, or npos; any line end counts.
std::size_t FindEndMark(const std::string& data) {
  for (std::size_t at = data.find('.'); at != std::string::npos; at = data.find('.', at + 1)) {
    const bool first = at == 0 || IsLineEnd(data[at - 1]);
    if (first && at + 1 < data.size() && IsLineEnd(data[at + 1])) return at;
  }
  return std::string::npos;
}

std::string Undoubled(const std::string& raw, SmtpLineEnds lineEnds) {
  std::string result;
  bool lineStart = true;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (!lineStart || raw[i] != '.') result += raw[i];
    lineStart = lineEnds == SmtpLineEnds::kAny ? IsLineEnd(raw[i])
                                               : i > 0 && raw[i] == '\n' && raw[i - 1] == '\r';
  }
  return result;
}

// What stands behind the colon.
struct Path {
  std::string address;
  bool strict = false;  // in angle brackets, at once behind the colon, nothing after it
};

Path ParsePath(const std::string& line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string::npos) return {};
  const std::size_t start = std::min(line.find_first_not_of(' ', colon + 1), line.size());
  const std::string text = line.substr(start);
  if (text.size() < 2 || text.front() != '<' || text.back() != '>') return {text, false};
  const std::string address = text.substr(1, text.size() - 2);
  return {address, start == colon + 1 && address.find_first_of("<> ") == std::string::npos};
}

std::string VerbOf(const std::string& line) {
  std::string verb = line.substr(0, std::min(line.find_first_of(" :"), line.size()));
  std::transform(verb.begin(), verb.end(), verb.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return verb;
}

}  // namespace

struct SmtpServer::Mailbox {
  mutable std::mutex mutex;
  std::vector<SmtpMail> mails;
  std::vector<std::string> commands;
  std::atomic<bool> stopping{false};
  SmtpOptions options;
};

class SmtpServer::Session : public ServerSession {
 public:
  explicit Session(std::shared_ptr<Mailbox> mailbox) : mailbox_(std::move(mailbox)) {}

  std::string Greeting() override { return "220 ready\r\n"; }

  ServerAnswer OnRawLine(const std::string& line) override {
    return inData_ ? OnData(line) : ServerSession::OnRawLine(line);
  }

  ServerAnswer OnLine(const std::string& line) override {
    {
      const std::lock_guard lock(mailbox_->mutex);
      mailbox_->commands.push_back(line);
    }
    ServerAnswer answer;
    answer.command = VerbOf(line);
    answer.bytes = Reply(answer.command, line) + "\r\n";
    answer.close = answer.command == "QUIT";
    if (answer.command == "DATA" && mailbox_->options.pauseInData > 0) {
      answer.afterwards = [this] { return Pause(); };
    }
    return answer;
  }

  void OnAnswer(const ServerAnswer& answer, const std::string& sent) override {
    const bool done = sent.starts_with('2');
    if (answer.command == "MAIL" && done) {
      mail_.sender = path_.address;
      hasSender_ = true;
    } else if (answer.command == "RCPT" && done) {
      mail_.recipients.push_back(path_.address);
    } else if (answer.command == "DATA") {
      inData_ = sent.starts_with("354");
    } else if (answer.command == "END") {
      if (done) {
        const std::lock_guard lock(mailbox_->mutex);
        mailbox_->mails.push_back(std::move(mail_));
      }
      Forget();
    } else if ((answer.command == "RSET" || answer.command == "HELO" || answer.command == "EHLO") &&
               done) {
      Forget();
    }
  }

 private:
  std::string Reply(const std::string& verb, const std::string& line) {
    const SmtpOptions& options = mailbox_->options;
    if (verb == "HELO") return "250 loopback";
    if (verb == "EHLO") {
      return options.extended ? "250-loopback\r\n250-8BITMIME\r\n250 HELP" : "500 what?";
    }
    if (verb == "MAIL" || verb == "RCPT") return ReplyToPath(verb == "MAIL", line);
    if (verb == "DATA") {
      if (mail_.recipients.empty()) return "503 no recipient";
      return "354 go on";
    }
    if (verb == "RSET" || verb == "NOOP") return "250 ok";
    if (verb == "QUIT") return "221 bye";
    return "500 what?";
  }

  std::string ReplyToPath(bool sender, const std::string& line) {
    const SmtpOptions& options = mailbox_->options;
    path_ = ParsePath(line);
    if (sender == hasSender_) return sender ? "503 nested mail" : "503 no sender";
    if (options.strictPaths && !path_.strict) return "501 no path";
    const auto& replies = sender ? options.senderReplies : options.recipientReplies;
    const auto found = replies.find(path_.address);
    return found != replies.end() ? found->second : "250 ok";
  }

  ServerAnswer OnData(const std::string& line) {
    std::string& data = mail_.raw;
    if (mailbox_->options.lineEnds == SmtpLineEnds::kCrLf) {
      const bool ends = line == ".\r\n" && (data.empty() || data.ends_with("\r\n"));
      if (!ends) data += line;
      return ends ? EndOfData() : ServerAnswer{};
    }
    data += line;
    const std::size_t end = FindEndMark(data);
    if (end == std::string::npos) return {};
    const std::string rest = data.substr(end + 1);
    data.resize(end);
    ServerAnswer answer = EndOfData();
    return rest == "\r\n" || rest == "\n" ? answer : Smuggled(answer, rest);
  }

  // What stands in one line behind the end of a mail are commands.
  ServerAnswer Smuggled(ServerAnswer answer, const std::string& rest) {
    OnAnswer(answer, answer.bytes);
    answer.command.clear();
    for (std::size_t at = 0; at < rest.size();) {
      const std::size_t end = std::min(rest.find_first_of("\r\n", at), rest.size());
      if (end > at) {
        const ServerAnswer next = OnLine(rest.substr(at, end - at));
        OnAnswer(next, next.bytes);
        answer.bytes += next.bytes;
        answer.close = answer.close || next.close;
      }
      at = end + 1;
    }
    return answer;
  }

  ServerAnswer EndOfData() {
    inData_ = false;
    mail_.content = Undoubled(mail_.raw, mailbox_->options.lineEnds);
    return {"END", "250 accepted\r\n", false, nullptr};
  }

  void Forget() {
    mail_ = {};
    hasSender_ = false;
  }

  std::string Pause() {
    for (int left = mailbox_->options.pauseInData; left > 0 && !mailbox_->stopping; left -= 10) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return {};
  }

  std::shared_ptr<Mailbox> mailbox_;
  SmtpMail mail_;
  Path path_;
  bool hasSender_ = false;
  bool inData_ = false;
};

SmtpServer::SmtpServer(SmtpOptions options) : mailbox_(std::make_shared<Mailbox>()) {
  std::vector<Deviation> deviations = options.deviations;
  const WORD port = options.port;
  mailbox_->options = std::move(options);
  server_ = std::make_unique<LoopbackServer>(
      [mailbox = mailbox_] { return std::make_unique<Session>(mailbox); }, std::move(deviations),
      port);
}

SmtpServer::~SmtpServer() { mailbox_->stopping = true; }

WORD SmtpServer::Port() const { return server_->Port(); }

std::vector<SmtpMail> SmtpServer::Mails() const {
  const std::lock_guard lock(mailbox_->mutex);
  return mailbox_->mails;
}

std::vector<std::string> SmtpServer::Commands() const {
  const std::lock_guard lock(mailbox_->mutex);
  return mailbox_->commands;
}

std::string SmtpServer::Transcript() const { return server_->Transcript(); }

LoopbackServer& SmtpServer::Server() { return *server_; }

}  // namespace test
