#include "net/address.h"
#include "net/connection.h"
#include "net/guarded.h"
#include "net/smtp_text.h"
#include "platform/win32.h"

#include <brevant/smtp.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

using brevant::Guarded;

namespace {

constexpr int kReplySize = 256;
constexpr int kStandardReplySize = 1024;
constexpr int kCodeLength = 3;
constexpr std::size_t kPacket = 16384;  // bytes that do not wait for more
constexpr DWORD kFarewell = 50;         // milliseconds for what the server still sends after "QUIT"

constexpr int kReady = 220;
constexpr int kDone = 250;
constexpr int kWillForward = 251;
constexpr int kStartInput = 354;
constexpr int kClosing = 421;
constexpr int kNoCode = -1;  // 000 is one

bool IsPermanentRefusal(int code) { return code >= 500 && code <= 599; }

// The code that a line begins with, or kNoCode.
int CodeOf(std::string_view line) {
  if (line.size() < kCodeLength) return kNoCode;
  int code = 0;
  for (const char c : line.substr(0, kCodeLength)) {
    if (c < '0' || c > '9') return kNoCode;
    code = code * 10 + (c - '0');
  }
  return code;
}

// What follows the first blank, cut to the buffer.
void CopyText(std::string_view line, char* buffer, int size) {
  if (buffer == nullptr || size < 1) return;
  const std::size_t blank = line.find(' ');
  const std::string_view text =
      blank == std::string_view::npos ? std::string_view() : line.substr(blank + 1);
  const std::size_t count = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  std::copy_n(text.data(), count, buffer);
  buffer[count] = '\0';
}

int Store(std::optional<std::string>& field, const char* text) {
  return Guarded(0, [&] {
    if (text == nullptr) {
      field.reset();
    } else {
      field = text;
    }
    return 1;
  });
}

int StoreHeaderText(std::optional<std::string>& field, const char* text) {
  if (Store(field, text) == 0) return 0;
  if (field) brevant::BlankLineEnds(*field);
  return 1;
}

}  // namespace

TSMTP::TSMTP() = default;

TSMTP::~TSMTP() = default;

const char* TSMTP::ProtocolName() { return "SMTP"; }

WORD TSMTP::DefaultPort() { return 25; }

int TSMTP::Connect(const char* host, short port) {
  // A message that a lost connection left behind is not continued on a new one.
  if (toldServer_ || dataStarted_ != 0) ForgetMessage();
  const TSecurityInfos security(nullptr, nullptr);
  if (Connect(host, security, static_cast<WORD>(port)) == 0) return 0;
  return GetResponse(nullptr, 0) == kReady ? Login() : 0;
}

int TSMTP::Login() {
  TDestination own{};
  if (connection_ == nullptr || connection_->OwnAddress(&own) == 0) return 0;
  std::array<char, 16> address;
  brevant::FormatDottedAddress(own.sin_addr.s_addr, address.data(),
                               static_cast<int>(address.size()));
  if (!StandardMode())
    return SendCommand("Helo", address.data()) > 0 && GetResponse(nullptr, 0) == kDone ? 1 : 0;
  return Guarded(0, [&] {
    const std::string literal = std::string("[") + address.data() + "]";
    if (SendCommand("EHLO", literal.c_str()) < 1) return 0;
    const int code = GetResponse(nullptr, 0);
    if (!IsPermanentRefusal(code)) return code == kDone ? 1 : 0;
    if (SendCommand("HELO", literal.c_str()) < 1) return 0;
    return GetResponse(nullptr, 0) == kDone ? 1 : 0;
  });
}

int TSMTP::From(const char* text) {
  if (senderAccepted_ != 0 && !recipientAccepted_) resetFirst_ = true;
  return Store(sender_, text);
}

int TSMTP::Subject(const char* text) { return StoreHeaderText(subject_, text); }

int TSMTP::ReplyTo(const char* text) { return StoreHeaderText(replyTo_, text); }

int TSMTP::BBS(const char* text) { return StoreHeaderText(bbs_, text); }

int TSMTP::AddHeader(const char* name, const char* value) {
  if (name == nullptr || value == nullptr || !brevant::IsFieldName(name)) return 0;
  return Guarded(0, [&] {
    std::string line = std::string(name) + ": " + value;
    brevant::BlankLineEndsExceptFolds(line);
    moreHeader_ += line + "\r\n";
    return 1;
  });
}

void TSMTP::ForgetTransaction() {
  senderAccepted_ = 0;
  dataStarted_ = 0;
  recipientAccepted_ = false;
  toldServer_ = false;
  resetFirst_ = false;
  held_.clear();
  status_ &= ~DWORD{kStatusResourceOpen};
}

void TSMTP::ForgetMessage() {
  ForgetTransaction();
  subject_.reset();
  replyTo_.reset();
  bbs_.reset();
  moreHeader_.clear();
}

// After a failure nobody knows where in a piece the server stands: whatever came next could be
// taken for its rest, or end a message that is not whole.
bool TSMTP::MaySend() {
  if (Connected()) sendingFailed_ = false;
  return !sendingFailed_;
}

int TSMTP::SendCommand(const char* command, const char* argument) {
  if (!MaySend()) return -1;
  const int sent = SendCommandLine(command, argument);
  sendingFailed_ = sent < 0;
  return sent;
}

int TSMTP::SendBytes(const char* buffer, int size) {
  if (!MaySend()) return -1;
  const int sent =
      connection_ == nullptr ? -1 : Guarded(-1, [&] { return connection_->Send(buffer, size); });
  sendingFailed_ = sent < 0;
  if (sendingFailed_) TransferFailed();
  return sent;
}

bool TSMTP::SendHeld() {
  const bool sent = held_.empty() || SendBytes(held_.data(), static_cast<int>(held_.size())) > 0;
  held_.clear();
  return sent;
}

// Bytes of a message. Those of standard mode wait for company: a mail in pieces takes several times
// as long as one in few packets.
bool TSMTP::SendText(std::string_view text) {
  if (!StandardMode()) return SendBytes(text.data(), static_cast<int>(text.size())) > 0;
  return Guarded(false,
                 [&] {
                   held_ += text;
                   return held_.size() < kPacket || SendHeld();
                 }) ||
         CutOff();
}

// A message of which something is missing must not be ended.
bool TSMTP::CutOff() {
  sendingFailed_ = true;
  TransferFailed();
  return false;
}

int TSMTP::GetResponse(char* buffer, int size) {
  if (!Connected()) return 0;
  std::array<char, kStandardReplySize> line;
  const int code = StandardMode() ? ReceiveReplyStandard(line.data(), kStandardReplySize)
                                  : ReceiveReply(line.data(), kReplySize);
  if (code == kNoCode) return 0;
  CopyText(line.data(), buffer, size);
  if (code == kClosing) TransferFailed();
  return code;
}

int TSMTP::ReceiveReply(char* line, int size) {
  const int length = connection_ == nullptr
                         ? -1
                         : Guarded(-1, [&] { return connection_->ReceiveLine(line, size, false); });
  if (length < 0) TransferFailed();
  // The bare code is no reply.
  return length > kCodeLength ? CodeOf(line) : kNoCode;
}

int TSMTP::ReceiveReplyStandard(char* line, int size) {
  int budget = kLongestReply;
  const DWORD start = GetTickCount();
  while (ReceiveReplyLine(line, size, &budget)) {
    const int code = CodeOf(line);
    const char next = code != kNoCode ? line[kCodeLength] : '\0';
    if (code != kNoCode && (next == ' ' || next == '\0')) return code;
    // A server that sends line after line must not stretch the time-out.
    if (code == kNoCode || next != '-' || GetTickCount() - start > timeout_) break;
  }
  TransferFailed();
  return kNoCode;
}

int TSMTP::OpenResource(const char* recipient, int mode) {
  recipientReply_ = 0;
  if (mode != kOpenForWriting || recipient == nullptr) return 0;
  return Guarded(0, [&] {
    if (resetFirst_ && ResetTransaction() == 0) {
      // The former sender may still stand there, and this message must not go out under it.
      ForgetTransaction();
      TProtocol::Disconnect();
    }
    if (!Connected() || (senderAccepted_ == 0 && !SendMailFrom())) return 0;
    return SendRecipient(recipient);
  });
}

// Whether the conversation can go on, which a refusal does not hinder.
bool TSMTP::SendMailFrom() {
  int sent = 0;
  if (StandardMode()) {
    const std::optional<std::string> path = brevant::PathOf(sender_ ? *sender_ : "");
    if (path) sent = SendCommand(("MAIL FROM:<" + *path + ">").c_str(), nullptr);
  } else {
    sent = SendCommand("Mail From:", sender_ ? sender_->c_str() : "anonymous");
  }
  if (sent < 1) return false;
  toldServer_ = true;
  senderAccepted_ = GetResponse(nullptr, 0) == kDone ? 1 : 0;
  recipientAccepted_ = false;
  return Connected();
}

int TSMTP::SendRecipient(const char* recipient) {
  int sent = 0;
  if (StandardMode()) {
    const std::optional<std::string> path = brevant::PathOf(recipient);
    if (path && !path->empty()) sent = SendCommand(("RCPT TO:<" + *path + ">").c_str(), nullptr);
  } else {
    sent = SendCommand("Rcpt To:", recipient);
  }
  if (sent < 1) return 0;
  recipientReply_ = GetResponse(nullptr, 0);
  if (recipientReply_ != kDone && recipientReply_ != kWillForward) return 0;
  recipientAccepted_ = true;
  status_ |= kStatusResourceOpen;
  return 1;
}

int TSMTP::StartData() {
  if (dataStarted_ != 0) return 1;
  if (SendCommand("Data", nullptr) < 1 || GetResponse(nullptr, 0) != kStartInput) return 0;
  // A header of a derived class may be written with Write.
  dataStarted_ = 1;
  atLineStart_ = true;
  afterReturn_ = false;
  if (SendHeader() != 0) SendText("\r\n");
  return Connected() ? 1 : 0;
}

int TSMTP::SendHeader() {
  const int sent = Guarded(-1, [&] {
    std::string lines;
    const auto add = [&lines](const char* name, const OwnedText& text) {
      if (text) lines.append(name).append(*text).append("\r\n");
    };
    add("Subject: ", subject_);
    add("Reply-to: ", replyTo_);
    add("BBS: ", bbs_);
    lines += moreHeader_;
    return !lines.empty() && SendText(lines) ? 1 : 0;
  });
  if (sent < 0) CutOff();
  return sent == 1 ? 1 : 0;
}

int TSMTP::Write(const char* buffer, int size) {
  if (StartData() == 0 && StandardMode()) return -1;
  if (size < 1 || buffer == nullptr) return size == 0 ? 0 : -1;
  const int sent = StandardMode() ? WriteStandard(buffer, size) : SendBytes(buffer, size);
  if (sent > 0) transferred_ += static_cast<DWORD>(sent);
  return sent;
}

int TSMTP::WriteStandard(const char* buffer, int size) {
  const bool kept = MaySend() && Guarded(false, [&] {
                      brevant::AppendBody(std::string_view(buffer, static_cast<std::size_t>(size)),
                                          &atLineStart_, &afterReturn_, &held_);
                      return held_.size() < kPacket || SendHeld();
                    });
  if (!kept) CutOff();
  return kept ? size : -1;
}

int TSMTP::WriteLine(const char* text, int count) {
  if (text == nullptr) count = 0;
  const int written = Write(text, count == -1 ? static_cast<int>(std::strlen(text)) : count);
  return written + Write("\r\n", 2);
}

int TSMTP::Close() {
  if (StandardMode() && dataStarted_ == 0) {
    Abort();
    return 0;
  }
  const bool sent =
      MaySend() && SendText(StandardMode() && atLineStart_ ? ".\r\n" : "\r\n.\r\n") && SendHeld();
  ForgetMessage();
  return sent && GetResponse(nullptr, 0) == kDone ? 1 : 0;
}

int TSMTP::ResetTransaction() {
  if (SendCommand("RSET", nullptr) < 1 || GetResponse(nullptr, 0) != kDone) return 0;
  ForgetTransaction();
  return 1;
}

int TSMTP::Abort() {
  if (dataStarted_ != 0 || ResetTransaction() == 0) return 0;
  ForgetMessage();
  return 1;
}

int TSMTP::Disconnect() {
  if (connection_ != nullptr && (connection_->Flags() & kPeerConnected) != 0) {
    SendCommand("QUIT", nullptr);
    connection_->FinishSending(kFarewell);
  }
  TProtocol::Disconnect();
  ForgetMessage();
  sender_.reset();
  sendingFailed_ = false;
  return 0;
}
