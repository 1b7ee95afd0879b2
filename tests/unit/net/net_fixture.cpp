#include "net_fixture.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace test {
namespace {

[[gnu::format(printf, 1, 0)]] void Remember(const char* format, va_list arguments) {
  std::array<char, 2048> line;
  std::vsnprintf(line.data(), line.size(), format, arguments);
  History::Lines().emplace_back(line.data());
}

class TalkingSession : public ServerSession {
 public:
  TalkingSession(std::string greeting, bool close)
      : greeting_(std::move(greeting)), close_(close) {}
  std::string Greeting() override { return greeting_; }
  ServerAnswer OnLine(const std::string&) override { return {"LINE", "", close_, nullptr}; }

 private:
  std::string greeting_;
  bool close_;
};

std::vector<Deviation> ParseAll(const std::vector<std::string>& texts) {
  std::vector<Deviation> result;
  for (const std::string& text : texts) result.push_back(ParseDeviation(text));
  return result;
}

}  // namespace

History::History() {
  Lines().clear();
  TProtocol::myHistoryFunction = &Remember;
}

History::~History() { TProtocol::myHistoryFunction = nullptr; }

std::vector<std::string>& History::Lines() {
  static std::vector<std::string> lines;
  return lines;
}

TalkingServer::TalkingServer(std::string greeting, std::vector<std::string> deviations, bool close)
    : server_([greeting = std::move(greeting),
               close] { return std::make_unique<TalkingSession>(greeting, close); },
              ParseAll(deviations)) {}

std::unique_ptr<TConnection> ConnectToPort(WORD port, DWORD timeout) {
  auto connection = std::make_unique<TConnection>(timeout);
  if (connection->Connect(kLoopback, port) == 0) ADD_FAILURE() << "cannot connect";
  return connection;
}

Pop3Options RawMessage(const std::string& raw) {
  Pop3Options options;
  Deviation deviation;
  deviation.command = "RETR";
  deviation.replaced = true;
  deviation.reply = "+OK\r\n" + raw;
  options.deviations.push_back(deviation);
  return options;
}

std::string ReadAll(TProtocol& client, int size) {
  std::string all;
  std::vector<char> buffer(static_cast<std::size_t>(size));
  for (int count = client.Read(buffer.data(), size); count > 0;
       count = client.Read(buffer.data(), size)) {
    all.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return all;
}

}  // namespace test
