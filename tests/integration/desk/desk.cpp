// server_desk FILE: starts and holds real servers for tests that cannot, see message.h. Listens on
// the loopback interface and writes its port to FILE. Ends with standard input.
#include "integration/desk/message.h"
#include "integration/dovecot_server.h"
#include "integration/ftp_servers.h"
#include "integration/postfix_server.h"
#include "platform/network.h"
#include "support/server.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using test::desk::Line;
using test::desk::Message;

// What the desk holds: a server of some kind.
class Held {
 public:
  virtual ~Held() = default;
  virtual WORD Port() const = 0;
  virtual Message Ask(const std::string& what, const Message& arguments) = 0;
};

[[noreturn]] void Unknown(const std::string& what) { throw std::runtime_error("unknown: " + what); }

class Dovecot final : public Held {
 public:
  explicit Dovecot(const Message& mails) : server_(mails) {}
  WORD Port() const override { return server_.Port(); }
  Message Ask(const std::string& what, const Message& arguments) override {
    if (what == "left") return server_.Left();
    if (what != "refill") Unknown(what);
    server_.Refill(arguments);
    return {};
  }

 private:
  test::DovecotServer server_;
};

class Postfix final : public Held {
 public:
  explicit Postfix(const Message& arguments) : server_(Options(arguments)) {}
  WORD Port() const override { return server_.Port(); }
  Message Ask(const std::string& what, const Message&) override {
    if (what != "delivered") Unknown(what);
    Message texts;
    for (const test::PostfixMail& mail : server_.Delivered()) {
      texts.insert(texts.end(), {mail.sender, mail.recipient, mail.text});
    }
    return texts;
  }

 private:
  static test::PostfixOptions Options(const Message& arguments) {
    test::PostfixOptions options;
    options.strict = arguments.at(0) == "strict";
    return options;
  }
  test::PostfixServer server_;
};

class Sink final : public Held {
 public:
  WORD Port() const override { return server_.Port(); }
  Message Ask(const std::string& what, const Message&) override {
    if (what != "mails") Unknown(what);
    return server_.Mails();
  }

 private:
  test::SmtpSink server_;
};

template <test::FtpMake make>
class Ftp final : public Held {
 public:
  Ftp() : server_(make) {}
  WORD Port() const override { return server_.Port(); }
  Message Ask(const std::string& what, const Message& arguments) override {
    if (what == "commands") return server_.Commands();
    if (what == "tree") return Tree();
    if (what == "exists") return {server_.Exists(arguments.at(0)) ? "1" : "0"};
    if (what == "bytes") return {server_.Bytes(arguments.at(0))};
    if (what == "permissions") return {std::to_string(server_.Permissions(arguments.at(0)))};
    if (what == "clear") {
      server_.Clear();
    } else if (what == "fill") {
      server_.Fill(std::stoi(arguments.at(0)), arguments.at(1), arguments.at(2));
    } else if (what == "stop") {
      server_.Stop();
    } else if (what == "start") {
      server_.Start();
    } else {
      Unknown(what);
    }
    return {};
  }

 private:
  Message Tree() const {
    Message texts;
    for (const auto& [path, bytes] : server_.Tree()) texts.insert(texts.end(), {path, bytes});
    return texts;
  }
  test::FtpServerOf server_;
};

struct Kind {
  const char* name;
  std::string (*hindrance)();
  std::unique_ptr<Held> (*open)(const Message& arguments);
};

template <test::FtpMake make>
Kind KindOfMake() {
  return {test::NameOf(make), [] { return test::FtpServerOf::Hindrance(make); },
          [](const Message&) -> std::unique_ptr<Held> { return std::make_unique<Ftp<make>>(); }};
}

const Kind kKinds[] = {
    {"dovecot", &test::DovecotServer::Hindrance,
     [](const Message& a) -> std::unique_ptr<Held> { return std::make_unique<Dovecot>(a); }},
    {"postfix", &test::PostfixServer::Hindrance,
     [](const Message& a) -> std::unique_ptr<Held> { return std::make_unique<Postfix>(a); }},
    KindOfMake<test::FtpMake::kVsftpd>(),
    KindOfMake<test::FtpMake::kPureFtpd>(),
    KindOfMake<test::FtpMake::kProftpd>(),
    {"sink", &test::SmtpSink::Hindrance,
     [](const Message&) -> std::unique_ptr<Held> { return std::make_unique<Sink>(); }},
};

const Kind& KindOf(const std::string& name) {
  for (const Kind& kind : kKinds) {
    if (name == kind.name) return kind;
  }
  Unknown(name);
}

// One test program. What it opened ends with it.
class Client {
 public:
  explicit Client(SOCKET socket) : line_(socket) {}

  void Serve() {
    Message question;
    while (line_.Receive(&question)) {
      Message answer;
      try {
        answer = Answer(question);
        answer.insert(answer.begin(), "ok");
      } catch (const std::exception& error) {
        answer = {error.what()};
      }
      if (!line_.Send(answer)) break;
    }
  }

 private:
  Message Answer(const Message& question) {
    const std::string& command = question.at(0);
    if (command == "hindrance") return {KindOf(question.at(1)).hindrance()};
    if (command == "open") {
      auto held = KindOf(question.at(1)).open({question.begin() + 2, question.end()});
      const std::string port = std::to_string(held->Port());
      const std::string number = std::to_string(++last_);
      held_[number] = std::move(held);
      return {number, port};
    }
    if (command == "ask")
      return held_.at(question.at(1))->Ask(question.at(2), {question.begin() + 3, question.end()});
    if (command != "close") Unknown(command);
    held_.erase(question.at(1));
    return {};
  }

  Line line_;
  std::map<std::string, std::unique_ptr<Held>> held_;
  int last_ = 0;
};

std::atomic<int> clients{0};

void Pause() { std::this_thread::sleep_for(std::chrono::milliseconds(100)); }

void AcceptForEver(const test::LoopbackListener& listener) {
  for (;;) {
    bool wouldBlock = false;
    brevant::platform::WaitForReadiness(listener.Socket(), brevant::platform::Readiness::kReadable,
                                        1000);
    const SOCKET accepted = brevant::platform::AcceptNow(listener.Socket(), nullptr, &wouldBlock);
    if (accepted == INVALID_SOCKET) continue;
    ++clients;
    std::thread([accepted] {
      Client(accepted).Serve();
      --clients;
    }).detach();
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const test::LoopbackListener listener;
  test::WriteFileBytes(arguments[1], std::to_string(listener.Port()) + "\n");
  std::thread([&listener] { AcceptForEver(listener); }).detach();
  while (test::FileExists(arguments[1])) Pause();
  // The servers of programs that have just ended are still being stopped.
  constexpr int kPatience = 300;
  for (int i = 0; i < kPatience && clients > 0; ++i) Pause();
  // The listening thread uses the listener to the very end.
  std::_Exit(clients > 0 ? 1 : 0);
}
