#include "support/server.h"

#include "platform/network.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>

namespace test {

namespace platform = brevant::platform;
using platform::Readiness;

namespace {

constexpr DWORD kPoll = 10;  // milliseconds between looks at the stop flag

void SleepMilliseconds(int milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// The process's use of the network, started on first need.
void NeedNetwork() {
  static const int result = [] {
    WSADATA data;
    return WSAStartup(0x0202, &data);
  }();
  if (result != 0) throw std::runtime_error("the network cannot be used");
}

sockaddr_in Loopback(WORD port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

}  // namespace

ServerAnswer ServerSession::OnRawLine(const std::string& line) {
  const std::size_t end = line.ends_with("\r\n") ? line.size() - 2 : line.size() - 1;
  return OnLine(line.substr(0, end));
}

void ServerSession::OnAnswer(const ServerAnswer&, const std::string&) {}

LoopbackListener::LoopbackListener(WORD port, int backlog) {
  NeedNetwork();
  socket_ = socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in wanted = Loopback(port);
  sockaddr_in bound{};
  if (socket_ == INVALID_SOCKET || !platform::MakeNonBlocking(socket_) ||
      bind(socket_, reinterpret_cast<const sockaddr*>(&wanted), sizeof wanted) != 0 ||
      listen(socket_, backlog) != 0 || !platform::OwnAddress(socket_, &bound))
    throw std::runtime_error("cannot listen on the loopback interface");
  port_ = ntohs(bound.sin_port);
}

LoopbackListener::~LoopbackListener() { closesocket(socket_); }

WORD UnusedPort() { return LoopbackListener().Port(); }

BlackHole::BlackHole() : listener_(0, 0) {
  // The system completes as many attempts as the queue holds, whatever was asked for.
  constexpr std::size_t kMost = 64;
  while (queue_.size() < kMost) {
    const SOCKET filler = socket(AF_INET, SOCK_STREAM, 0);
    if (filler == INVALID_SOCKET || !platform::MakeNonBlocking(filler)) break;
    queue_.push_back(filler);
    const int result = platform::ConnectNow(filler, Loopback(listener_.Port()));
    if (result == platform::kWouldBlock &&
        !platform::WaitForReadiness(filler, Readiness::kWritable, 100))
      return;
  }
  throw std::runtime_error("the queue of a listener cannot be filled");
}

BlackHole::~BlackHole() {
  for (const SOCKET filler : queue_) closesocket(filler);
}

// One client from its greeting to its end.
class LoopbackServer::Conversation {
 public:
  Conversation(LoopbackServer& server, SOCKET socket, std::size_t index)
      : server_(server), socket_(socket), index_(index) {}
  ~Conversation() { closesocket(socket_); }
  Conversation(const Conversation&) = delete;
  Conversation& operator=(const Conversation&) = delete;

  void Run() {
    const std::unique_ptr<ServerSession> session = server_.maker_();
    saboteur_ = server_.MakeSaboteur();
    if (!Answer(*session, {"GREETING", session->Greeting(), false, nullptr})) return;
    std::string line;
    while (ReadLine(&line)) {
      if (saboteur_) saboteur_->OnLine(line);
      if (!Answer(*session, session->OnRawLine(line))) return;
    }
  }

 private:
  // Whether the conversation goes on.
  bool Answer(ServerSession& session, const ServerAnswer& answer) {
    const Deviation deviation = DeviationOf(answer);
    if (deviation.delay > 0) Pause(deviation.delay);
    if (deviation.flood > 0 && !Flood(deviation)) return false;
    std::string bytes = deviation.replaced ? deviation.reply : answer.bytes;
    if (deviation.endless) bytes.erase(bytes.find_last_not_of("\r\n") + 1);
    if (deviation.silent) bytes.clear();
    const bool drop = deviation.dropAfter >= 0;
    if (drop) bytes.resize(std::min(bytes.size(), static_cast<std::size_t>(deviation.dropAfter)));
    session.OnAnswer(answer, bytes);
    const std::string_view all = bytes;
    const std::size_t burst = std::min(all.size(), static_cast<std::size_t>(deviation.burst));
    if (!Send(all.substr(0, burst), -1)) return false;
    if (!Send(all.substr(burst), deviation.dribble)) return false;
    if (drop) {
      if (deviation.reset) ResetOnClose();
      return false;
    }
    if (answer.close) shutdown(socket_, SD_SEND);
    if (answer.close || !answer.afterwards) return !answer.close;
    // A reply of another kind takes the place of all that would have followed.
    if (deviation.replaced && bytes.substr(0, 1) != answer.bytes.substr(0, 1)) return true;
    return Answer(session, {answer.command + "-END", answer.afterwards(), false, nullptr});
  }

  Deviation DeviationOf(const ServerAnswer& answer) {
    if (answer.command.empty()) return {};
    if (saboteur_) return saboteur_->OnAnswer(answer.command, answer.bytes);
    const Deviation* found = server_.DeviationFor(answer.command);
    return found != nullptr ? *found : Deviation();
  }

  bool Flood(const Deviation& deviation) {
    std::string block;
    while (block.size() < 4096) block += deviation.reply;
    for (long sent = 0; sent < deviation.flood; sent += static_cast<long>(block.size())) {
      if (!Send(block, -1)) return false;
    }
    return true;
  }

  void Pause(int milliseconds) {
    for (; milliseconds > 0 && !server_.stopping_; milliseconds -= static_cast<int>(kPoll)) {
      SleepMilliseconds(std::min(milliseconds, static_cast<int>(kPoll)));
    }
  }

  bool Send(std::string_view bytes, int dribble) {
    while (!bytes.empty()) {
      if (server_.stopping_) return false;
      const std::size_t count = dribble >= 0 ? 1 : std::min<std::size_t>(bytes.size(), 1 << 20);
      const int result = platform::SendNow(socket_, bytes.data(), static_cast<int>(count));
      if (result == platform::kWouldBlock) {
        platform::WaitForReadiness(socket_, Readiness::kWritable, kPoll);
        continue;
      }
      if (result < 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(result));
      if (dribble > 0) Pause(dribble);
    }
    return true;
  }

  bool ReadLine(std::string* line) {
    for (;;) {
      const std::size_t end = received_.find('\n');
      if (end != std::string::npos) {
        *line = received_.substr(0, end + 1);
        received_.erase(0, end + 1);
        return true;
      }
      if (!Receive()) return false;
    }
  }

  // Clients on this machine send the next command within microseconds; benchmarks must not time the
  // server's waking up.
  int ReceiveSoon(char* buffer, int size) {
    constexpr std::chrono::microseconds kSoon(60);
    const auto start = std::chrono::steady_clock::now();
    int result = platform::ReceiveNow(socket_, buffer, size);
    while (result == platform::kWouldBlock && std::chrono::steady_clock::now() - start < kSoon) {
      result = platform::ReceiveNow(socket_, buffer, size);
    }
    return result;
  }

  bool Receive() {
    while (!server_.stopping_) {
      std::array<char, 16384> block;
      const int result = ReceiveSoon(block.data(), static_cast<int>(block.size()));
      if (result == platform::kWouldBlock) {
        platform::WaitForReadiness(socket_, Readiness::kReadable, kPoll);
        continue;
      }
      if (result < 1) return false;
      const std::string_view bytes(block.data(), static_cast<std::size_t>(result));
      received_ += bytes;
      const std::lock_guard lock(server_.mutex_);
      server_.transcripts_[index_] += bytes;
      return true;
    }
    return false;
  }

  void ResetOnClose() {
    linger option{};
    option.l_onoff = 1;
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&option),
               sizeof option);
  }

  LoopbackServer& server_;
  SOCKET socket_;
  std::size_t index_;
  std::string received_;
  std::unique_ptr<Saboteur> saboteur_;
};

LoopbackServer::LoopbackServer(SessionMaker maker, std::vector<Deviation> deviations, WORD port)
    : maker_(std::move(maker)), deviations_(std::move(deviations)), listener_(port) {
  acceptor_ = std::thread([this] { AcceptClients(); });
}

LoopbackServer::~LoopbackServer() { Stop(); }

void LoopbackServer::SabotageBy(SaboteurMaker maker) {
  const std::lock_guard lock(mutex_);
  saboteurMaker_ = std::move(maker);
}

std::unique_ptr<Saboteur> LoopbackServer::MakeSaboteur() {
  const std::lock_guard lock(mutex_);
  return saboteurMaker_ ? saboteurMaker_() : nullptr;
}

void LoopbackServer::Stop() {
  stopping_ = true;
  // Wakes the acceptor, which would else sleep for the rest of its interval.
  const SOCKET waker = acceptor_.joinable() ? socket(AF_INET, SOCK_STREAM, 0) : INVALID_SOCKET;
  if (waker != INVALID_SOCKET && platform::MakeNonBlocking(waker))
    platform::ConnectNow(waker, Loopback(Port()));
  if (acceptor_.joinable()) acceptor_.join();
  for (std::thread& conversation : conversations_) {
    if (conversation.joinable()) conversation.join();
  }
  if (waker != INVALID_SOCKET) closesocket(waker);
}

void LoopbackServer::AcceptClients() {
  while (!stopping_) {
    if (!platform::WaitForReadiness(listener_.Socket(), Readiness::kReadable, kPoll)) continue;
    if (stopping_) return;
    bool wouldBlock = false;
    const SOCKET client = platform::AcceptNow(listener_.Socket(), nullptr, &wouldBlock);
    if (client == INVALID_SOCKET) continue;
    platform::SendWithoutDelay(client);
    std::size_t index;
    {
      const std::lock_guard lock(mutex_);
      index = transcripts_.size();
      transcripts_.emplace_back();
    }
    ++accepted_;
    conversations_.emplace_back([this, client, index] {
      Conversation(*this, client, index).Run();
      ++finished_;
    });
  }
}

const Deviation* LoopbackServer::DeviationFor(const std::string& command) {
  if (command.empty()) return nullptr;
  const std::lock_guard lock(mutex_);
  auto seen = std::find_if(occurrences_.begin(), occurrences_.end(),
                           [&](const auto& pair) { return pair.first == command; });
  if (seen == occurrences_.end()) seen = occurrences_.emplace(seen, command, 0);
  const int occurrence = ++seen->second;
  for (const Deviation& deviation : deviations_) {
    if (deviation.command == command &&
        (deviation.occurrence == 0 || deviation.occurrence == occurrence))
      return &deviation;
  }
  return nullptr;
}

std::string LoopbackServer::Transcript() const {
  const std::lock_guard lock(mutex_);
  std::string all;
  for (const std::string& one : transcripts_) all += one;
  return all;
}

bool LoopbackServer::WaitUntilFinished(int clients, int milliseconds) const {
  for (int waited = 0; finished_ < clients; ++waited) {
    if (waited == milliseconds) return false;
    SleepMilliseconds(1);
  }
  return true;
}

}  // namespace test
