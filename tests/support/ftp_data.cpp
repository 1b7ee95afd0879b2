#include "support/ftp_data.h"

#include "platform/network.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstring>
#include <stdexcept>

namespace test {

namespace platform = brevant::platform;
using platform::Readiness;

namespace {

constexpr DWORD kPoll = 10;              // milliseconds between looks at the stop flag
constexpr DWORD kStranger = 0x0200007F;  // 127.0.0.2 in network order

sockaddr_in LoopbackAddress(WORD port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A connection to the client's port, from the address given when it is not 0.
SOCKET ConnectToClient(WORD port, DWORD from, int wait) {
  const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, 0);
  if (socket == INVALID_SOCKET || !platform::MakeNonBlocking(socket)) return INVALID_SOCKET;
  if (from != 0) {
    sockaddr_in own = LoopbackAddress(0);
    own.sin_addr.s_addr = from;
    if (bind(socket, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0)
      throw std::runtime_error("no second loopback address");
  }
  int result = platform::ConnectNow(socket, LoopbackAddress(port));
  if (result == platform::kWouldBlock) {
    platform::WaitForReadiness(socket, Readiness::kWritable, static_cast<DWORD>(wait));
    result = platform::ConnectResult(socket);
  }
  if (result == 1) return socket;
  closesocket(socket);
  return INVALID_SOCKET;
}

}  // namespace

DataFault ParseDataFault(std::string_view text) {
  DataFault fault;
  const auto next = [&text] {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    const std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    return word;
  };
  const auto number = [&next] {
    const std::string_view word = next();
    long value = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
    if (result.ec != std::errc() || result.ptr != word.data() + word.size())
      throw std::runtime_error("no number: " + std::string(word));
    return value;
  };
  if (text.starts_with('*')) {
    next();
  } else {
    fault.transfer = static_cast<int>(number());
  }
  for (std::string_view word = next(); !word.empty(); word = next()) {
    if (word == "refused") {
      fault.refused = true;
    } else if (word == "cut") {
      fault.cutAfter = number();
    } else if (word == "reset") {
      fault.reset = true;
    } else if (word == "stall") {
      fault.stallAfter = number();
    } else if (word == "stranger") {
      fault.stranger = true;
    } else {
      throw std::runtime_error("no data fault: " + std::string(word));
    }
  }
  return fault;
}

WORD DataPort::Listen(bool refused) {
  Forget();
  listener_ = std::make_unique<LoopbackListener>(WORD{0}, 4);
  const WORD port = listener_->Port();
  if (refused) listener_.reset();
  return port;
}

bool DataPort::Remember(const std::string& address) {
  Forget();
  std::array<unsigned, 6> numbers{};
  const char* at = address.data();
  const char* end = at + address.size();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto result = std::from_chars(at, end, numbers[i]);
    if (result.ec != std::errc() || numbers[i] > 255) return false;
    at = result.ptr;
    if (i + 1 < numbers.size() && (at == end || *at++ != ',')) return false;
  }
  if (at != end || numbers[0] != 127) return false;
  activePort_ = static_cast<WORD>(numbers[4] * 256 + numbers[5]);
  return activePort_ != 0;
}

void DataPort::Forget() {
  listener_.reset();
  activePort_ = 0;
}

SOCKET DataPort::Open(const DataTerms& terms) {
  SOCKET socket = INVALID_SOCKET;
  if (listener_ != nullptr) {
    socket = Accept(terms);
  } else if (activePort_ != 0 && !terms.fault.refused) {
    const SOCKET stranger = terms.fault.stranger
                                ? ConnectToClient(activePort_, kStranger, terms.connectionWait)
                                : INVALID_SOCKET;
    socket = ConnectToClient(activePort_, 0, terms.connectionWait);
    if (stranger != INVALID_SOCKET) closesocket(stranger);
  }
  Forget();
  return socket;
}

SOCKET DataPort::Accept(const DataTerms& terms) {
  for (int waited = 0; waited < terms.connectionWait && !*terms.stopping;
       waited += static_cast<int>(kPoll)) {
    bool wouldBlock = false;
    const SOCKET socket = platform::AcceptNow(listener_->Socket(), nullptr, &wouldBlock);
    if (socket != INVALID_SOCKET || !wouldBlock) return socket;
    platform::WaitForReadiness(listener_->Socket(), Readiness::kReadable, kPoll);
  }
  return INVALID_SOCKET;
}

DataConnection::~DataConnection() { closesocket(socket_); }

std::size_t DataConnection::Pass(std::size_t count) {
  std::size_t pass = count;
  for (const long limit : {terms_.fault.cutAfter, terms_.fault.stallAfter}) {
    if (limit >= 0) pass = std::min(pass, static_cast<std::size_t>(limit - moved_));
  }
  return pass;
}

// Until the server is stopped, or the client of a download has gone. (That of an upload cannot be
// seen to go while its bytes are not taken.)
void DataConnection::Stall() {
  char byte = '\0';
  const int limit = terms_.fault.stallTime;
  for (int waited = 0; !*terms_.stopping && (limit < 0 || waited < limit);
       waited += static_cast<int>(kPoll)) {
    const auto seen = recv(socket_, &byte, 1, MSG_PEEK);
    if (seen == 0) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(kPoll));
  }
}

// What ends the transfer at the byte it has reached; false: it goes on.
bool DataConnection::Cut() {
  if (terms_.fault.stallAfter >= 0 && moved_ == terms_.fault.stallAfter) {
    Stall();
    return true;
  }
  if (terms_.fault.cutAfter < 0 || moved_ != terms_.fault.cutAfter) return false;
  if (terms_.fault.reset) {
    linger option{};
    option.l_onoff = 1;
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&option),
               sizeof option);
  }
  return true;
}

bool DataConnection::SendAll(std::string_view bytes) {
  bool sent = Send(bytes);
  while (sent && !bytes.empty() && moved_ < terms_.fault.flood) sent = Send(bytes);
  return sent;
}

bool DataConnection::Send(std::string_view bytes) {
  while (!Cut()) {
    if (bytes.empty()) return true;
    const std::size_t count = Pass(std::min<std::size_t>(bytes.size(), 1 << 18));
    const int sent = platform::SendNow(socket_, bytes.data(), static_cast<int>(count));
    if (sent == platform::kWouldBlock) {
      if (*terms_.stopping) return false;
      platform::WaitForReadiness(socket_, Readiness::kWritable, kPoll);
      continue;
    }
    if (sent < 0) return false;
    moved_ += sent;
    if (*terms_.onData) (*terms_.onData)(moved_);
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return false;
}

bool DataConnection::Receive(const std::function<void(std::string_view)>& take) {
  std::vector<char> block(1 << 18);
  while (!Cut()) {
    const int size = static_cast<int>(Pass(block.size()));
    const int count = platform::ReceiveNow(socket_, block.data(), size);
    if (count == platform::kWouldBlock) {
      if (*terms_.stopping) return false;
      platform::WaitForReadiness(socket_, Readiness::kReadable, kPoll);
      continue;
    }
    if (count < 1) return count == 0;
    moved_ += count;
    take({block.data(), static_cast<std::size_t>(count)});
    if (*terms_.onData) (*terms_.onData)(moved_);
  }
  return false;
}

}  // namespace test
