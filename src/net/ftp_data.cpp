// The data connection of the FTP client.
#include "net/ftp_private.h"
#include "net/guarded.h"
#include "platform/win32.h"

#include <array>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

using brevant::Guarded;
using brevant::platform::Readiness;

namespace {

constexpr LONG kEnteringPassiveMode = 227;
constexpr std::size_t kLongestAddress = 23;  // six numbers of three digits and five commas
// Strangers that may connect before the server does.
constexpr int kMostStrangers = 16;

// Six numbers of one byte each at the start of the text, with commas between them: four of the
// address, two of the port. *length is what they take.
std::optional<TDestination> ReadAddress(std::string_view text, std::size_t* length) {
  std::array<unsigned char, 6> bytes{};
  std::size_t at = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0 && (at == text.size() || text[at++] != ',')) return std::nullopt;
    while (at < text.size() && text[at] == ' ') ++at;
    unsigned value = 0;
    const std::size_t start = at;
    for (; at < text.size() && at - start < 3 && brevant::IsDigitAscii(text[at]); ++at) {
      value = value * 10 + static_cast<unsigned>(text[at] - '0');
    }
    if (at == start || value > 255) return std::nullopt;
    bytes[i] = static_cast<unsigned char>(value);
  }
  TDestination address{};
  address.sin_family = AF_INET;
  std::memcpy(&address.sin_addr.s_addr, bytes.data(), 4);
  std::memcpy(&address.sin_port, bytes.data() + 4, 2);
  *length = at;
  return address.sin_port == 0 ? std::nullopt : std::make_optional(address);
}

// The address between the first pair of parentheses, which do not begin the text.
std::optional<TDestination> AddressInParentheses(std::string_view text) {
  const std::size_t open = text.find('(');
  const std::size_t close = text.find(')');
  if (open == std::string_view::npos || close == std::string_view::npos || open == 0 ||
      close < open || close - open - 1 > kLongestAddress)
    return std::nullopt;
  const std::string_view part = text.substr(open + 1, close - open - 1);
  std::size_t length = 0;
  const std::optional<TDestination> address = ReadAddress(part, &length);
  return length == part.size() ? address : std::nullopt;
}

// The first address in the text, wherever it stands.
std::optional<TDestination> AddressAnywhere(std::string_view text) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool numberStarts =
        brevant::IsDigitAscii(text[at]) && (at == 0 || !brevant::IsDigitAscii(text[at - 1]));
    std::size_t length = 0;
    if (!numberStarts) continue;
    const std::optional<TDestination> address = ReadAddress(text.substr(at), &length);
    if (address) return address;
  }
  return std::nullopt;
}

}  // namespace

int TFTP::SetPort(const TDestination& destination) {
  if (connection_ == nullptr) return 0;
  std::array<unsigned char, 6> bytes{};
  std::memcpy(bytes.data(), &destination.sin_addr.s_addr, 4);
  std::memcpy(bytes.data() + 4, &destination.sin_port, 2);
  return Guarded(0, [&] {
    std::string text;
    for (const unsigned char part : bytes) (text += std::to_string(part)) += ',';
    text.pop_back();
    return Succeeds("PORT", text.c_str());
  });
}

int TFTP::GetDataStreamAddress(TDestination* destination) {
  const Reply reply = Command("PASV", nullptr);
  const bool entering = reply.Number() == kEnteringPassiveMode;
  const std::optional<TDestination> address = !entering ? std::nullopt
                                              : StandardMode()
                                                  ? AddressAnywhere(reply.text.data())
                                                  : AddressInParentheses(reply.text.data());
  if (!address) {
    lastReply_ = reply.Number();
    return 0;
  }
  *destination = *address;
  // A server does not send us elsewhere; behind a translating router it would not even mean to.
  if (StandardMode()) destination->sin_addr = connection_->Peer().sin_addr;
  return 1;
}

void TFTP::SetDataConnection(std::unique_ptr<TConnection> connection) {
  const std::lock_guard lock(dataConnectionChange_);
  dataConnection_.swap(connection);
}

int TFTP::InitiateDataStream(const char* command, const char* argument) {
  DisconnectDataStream();
  transferReply_ = 0;
  // Neither a port nor an address is asked for in vain.
  if (argument != nullptr && !IsOneLine(argument)) return 0;
  return Guarded(0, [&] {
    const bool passive = (status_ & kStatusPassive) != 0;
    const int opened = passive ? OpenPassive(command, argument) : OpenActive(command, argument);
    if (opened == 0) DisconnectDataStream();
    return opened;
  });
}

bool TFTP::BeginTransfer(const char* command, const char* argument) {
  const Reply reply = Command(command, argument);
  transferReply_ = reply.Number();
  if (reply.Begins('1')) {
    finalRepliesOwed_ = 1;
    return true;
  }
  lastReply_ = transferReply_;
  return false;
}

int TFTP::OpenPassive(const char* command, const char* argument) {
  TDestination address{};
  if (GetDataStreamAddress(&address) == 0) return 0;
  SetDataConnection(brevant::ConnectTo(address, timeout_, continueFlag_));
  return dataConnection_ != nullptr && BeginTransfer(command, argument) ? 1 : 0;
}

int TFTP::OpenActive(const char* command, const char* argument) {
  TDestination own{};
  if (connection_ == nullptr || connection_->OwnAddress(&own) == 0) return 0;
  TConnection listener(timeout_);
  listener.SetContinueFlag(continueFlag_);
  own.sin_port = 0;
  if (listener.Bind(&own) == 0 || listener.Listen(kMostStrangers) == 0) return 0;
  if (SetPort(own) == 0 || !BeginTransfer(command, argument)) return 0;
  SetDataConnection(AcceptServer(listener));
  if (dataConnection_ != nullptr) return 1;
  // Why the server could not connect is what it says instead.
  if (Connected() && connection_->HasInput()) lastReply_ = FinishTransfer();
  return 0;
}

// The server's connection; null when there is none in time, or when the server has something else
// to say instead.
std::unique_ptr<TConnection> TFTP::AcceptServer(TConnection& listener) {
  const DWORD peer = connection_->Peer().sin_addr.s_addr;
  const auto connecting = [&](DWORD milliseconds) {
    return brevant::platform::WaitForReadiness(listener.Socket(), Readiness::kReadable,
                                               milliseconds);
  };
  for (int strangers = 0; strangers < kMostStrangers; ++strangers) {
    bool spoke = false;
    brevant::WaitUntil(
        [&](DWORD slice) {
          spoke = connection_->HasInput();
          return connecting(spoke ? 0 : slice) || spoke;
        },
        brevant::ArmDeadline(timeout_), continueFlag_);
    if (!connecting(0)) return nullptr;
    TDestination from{};
    std::unique_ptr<TConnection> accepted = listener.Accept(&from);
    if (accepted == nullptr || !StandardMode() || from.sin_addr.s_addr == peer) return accepted;
  }
  return nullptr;
}

int TFTP::DisconnectDataStream() {
  SetDataConnection(nullptr);
  status_ &= ~(DWORD{kStatusResourceOpen} | kStatusDataStream);
  return 1;
}

// Closes the data connection and takes the transfer's final reply: its code, 0 when none came.
LONG TFTP::FinishTransfer() {
  DisconnectDataStream();
  const Reply reply = ReceiveReply();
  finalRepliesOwed_ = 0;
  if (!reply.Begins('2')) lastReply_ = reply.Number();
  return reply.Number();
}
