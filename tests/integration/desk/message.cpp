#include "integration/desk/message.h"

#include "platform/network.h"

#include <algorithm>

namespace test::desk {

namespace platform = brevant::platform;

namespace {

constexpr std::size_t kDigits = 10;  // of a number, filled up with zeros
constexpr std::size_t kMost = 1U << 28;
constexpr std::size_t kPiece = 65536;
constexpr DWORD kSlice = 1000;  // milliseconds of one wait

std::string Number(std::size_t value) {
  std::string digits = std::to_string(value);
  return std::string(kDigits - digits.size(), '0') + digits;
}

}  // namespace

Line::Line(SOCKET socket) : socket_(socket) { platform::MakeNonBlocking(socket_); }

bool Line::SendBytes(const std::string& bytes) {
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t wanted = std::min(bytes.size() - at, kPiece);
    const int sent = platform::SendNow(socket_, bytes.data() + at, static_cast<int>(wanted));
    if (sent == platform::kWouldBlock) {
      platform::WaitForReadiness(socket_, platform::Readiness::kWritable, kSlice);
      continue;
    }
    if (sent <= 0) return false;
    at += static_cast<std::size_t>(sent);
  }
  return true;
}

bool Line::ReceiveBytes(char* bytes, std::size_t size) {
  while (size > 0) {
    const std::size_t wanted = std::min(size, kPiece);
    const int received = platform::ReceiveNow(socket_, bytes, static_cast<int>(wanted));
    if (received == platform::kWouldBlock) {
      platform::WaitForReadiness(socket_, platform::Readiness::kReadable, kSlice);
      continue;
    }
    if (received <= 0) return false;
    bytes += received;
    size -= static_cast<std::size_t>(received);
  }
  return true;
}

bool Line::ReceiveNumber(std::size_t* number) {
  std::string digits(kDigits, '\0');
  if (!ReceiveBytes(digits.data(), kDigits)) return false;
  *number = 0;
  for (const char c : digits) *number = *number * 10 + static_cast<std::size_t>(c - '0');
  return *number <= kMost;
}

bool Line::Send(const Message& message) {
  std::string bytes = Number(message.size());
  for (const std::string& text : message) bytes += Number(text.size()) + text;
  return SendBytes(bytes);
}

bool Line::Receive(Message* message) {
  std::size_t count = 0;
  if (!ReceiveNumber(&count)) return false;
  message->assign(count, {});
  for (std::string& text : *message) {
    std::size_t size = 0;
    if (!ReceiveNumber(&size)) return false;
    text.resize(size);
    if (!ReceiveBytes(text.data(), size)) return false;
  }
  return true;
}

}  // namespace test::desk
