// Commands and replies of the FTP client.
#include "net/ftp_private.h"
#include "net/guarded.h"
#include "platform/win32.h"

#include <algorithm>
#include <cstring>
#include <string_view>

using brevant::Guarded;

namespace {

// Without standard mode a line of a reply is cut here, and its rest is a line of its own.
constexpr int kPlainLineSize = 256;
constexpr int kStandardLineSize = 1024;
constexpr int kCodeLength = 3;
constexpr LONG kServerCloses = 421;

bool GoesOn(const char* line) {
  return std::strlen(line) > kCodeLength && line[kCodeLength] == '-';
}

}  // namespace

int TFTP::SendCommand(const char* command, const char* argument) {
  const bool none = argument == nullptr || argument[0] == '\0';
  if (!none && !IsOneLine(argument)) return 0;
  if (!Connected() || !SettleReplies()) return -1;
  return SendCommandLine(command, none ? nullptr : argument);
}

// Takes the replies that nobody has waited for, lest they be taken for those of the next command.
bool TFTP::SettleReplies() {
  // Of a transfer that nobody closed the final reply comes when it ends.
  if (finalRepliesOwed_ != 0) DisconnectDataStream();
  std::array<char, kCodeLength + 1> code;
  while (Connected() && (finalRepliesOwed_ != 0 || abortRepliesOwed_ != 0)) {
    GetStatus(code.data(), nullptr, 0, 0);
    --(finalRepliesOwed_ != 0 ? finalRepliesOwed_ : abortRepliesOwed_);
  }
  return Connected();
}

bool TFTP::ReceivePlainLine(char* buffer, int size, int* budget) {
  const int length = connection_ == nullptr ? -1 : Guarded(-1, [&] {
    return connection_->ReceiveLine(buffer, size, false);
  });
  *budget -= length;
  if (length < 0 || *budget < 0) TransferFailed();
  return length >= 0 && *budget >= 0;
}

// The length of the line, negative when none came.
int TFTP::ReceiveFirstLine(char* buffer, int size, int* budget) {
  const bool received = StandardMode() ? ReceiveReplyLine(buffer, size, budget)
                                       : ReceivePlainLine(buffer, kPlainLineSize, budget);
  return received ? static_cast<int>(std::strlen(buffer)) : -1;
}

// Reads the rest of a reply whose first line is in the buffer; false when it did not come.
bool TFTP::SkipFurtherLines(char* line, int size, int* budget) {
  const std::string end = std::string(line, kCodeLength) + ' ';
  const DWORD start = GetTickCount();
  bool goesOn = true;
  while (goesOn) {
    // A server that sends line after line must not stretch the time-out.
    if (Stopped() || GetTickCount() - start > timeout_) TransferFailed();
    if (!Connected() || ReceiveFirstLine(line, size, budget) < 0) return false;
    goesOn = StandardMode() ? !std::string_view(line).starts_with(end) : GoesOn(line);
  }
  return true;
}

int TFTP::GetStatus(char* code, char* text, int size, int report) {
  std::fill_n(code, kCodeLength + 1, '\0');
  if (text != nullptr && size > 0) text[0] = '\0';
  if (!Connected()) return 0;
  return Guarded(0, [&] {
    std::array<char, kStandardLineSize> line;
    int budget = kLongestReply;
    const int length = ReceiveFirstLine(line.data(), kStandardLineSize, &budget);
    if (length <= kCodeLength) return 0;
    const bool goesOn = line[kCodeLength] == '-';
    if (!goesOn && line[kCodeLength] != ' ') return 0;
    std::copy_n(line.data(), kCodeLength, code);
    std::string_view rest(line.data() + kCodeLength + 1);
    if (text != nullptr && size > 0) {
      rest = rest.substr(0, static_cast<std::size_t>(size) - 1);
      text[rest.copy(text, rest.size())] = '\0';
    }
    const LONG number = brevant::LeadingNumber(code);
    if (report != 0 && (code[0] == '4' || code[0] == '5'))
      DisplayHistory("%s (FTP:%d)", std::string(rest).c_str(), static_cast<int>(number));
    if (goesOn && !SkipFurtherLines(line.data(), kStandardLineSize, &budget)) return 0;
    if (number == kServerCloses) TransferFailed();
    return 1;
  });
}

TFTP::Reply TFTP::Command(const char* command, const char* argument) {
  return SendCommand(command, argument) > 0 ? ReceiveReply() : Reply();
}

// A reply that broke off is none.
TFTP::Reply TFTP::ReceiveReply() {
  Reply reply;
  return GetStatus(reply.code.data(), reply.text.data(), kFtpTextSize, 1) != 0 ? reply : Reply();
}

int TFTP::Succeeds(const char* command, const char* argument) {
  const Reply reply = Command(command, argument);
  if (reply.Begins('2')) return 1;
  lastReply_ = reply.Number();
  return 0;
}
