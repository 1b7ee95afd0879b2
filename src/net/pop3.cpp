#include "net/connection.h"
#include "net/guarded.h"
#include "platform/win32.h"
#include "store/ascii.h"

#include <brevant/net.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

using brevant::Guarded;
using brevant::WaitEnd;

namespace {

constexpr int kReplySize = 256;
constexpr int kStandardReplySize = 1024;
constexpr DWORD kFarewell = 50;  // milliseconds for what the server still sends after "QUIT"
// Some servers send the body with a header, too. A server that never ends must not hold the reader
// for ever.
constexpr DWORD kMostSkipped = 32U << 20;
constexpr DWORD kLargestMessage = 1U << 30;

// The text after the first space; null when there is none.
const char* AfterSpace(const char* line) {
  const char* space = std::strchr(line, ' ');
  return space != nullptr ? space + 1 : nullptr;
}

// Copies what fits, with the terminator.
void CopyCut(std::string_view text, char* buffer, int size) {
  if (size < 1) return;
  const std::size_t count = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  std::copy_n(text.data(), count, buffer);
  buffer[count] = '\0';
}

LONG Successor(LONG number) { return static_cast<LONG>(static_cast<DWORD>(number) + 1U); }

}  // namespace

TPOP3::TPOP3() = default;

TPOP3::~TPOP3() = default;

const char* TPOP3::GetDescription() { return contentType_ ? contentType_->c_str() : ""; }

const char* TPOP3::ProtocolName() { return "POP3"; }

WORD TPOP3::DefaultPort() { return 110; }

int TPOP3::Connect(const char* host, const TSecurityInfos& security, WORD port) {
  if (TProtocol::Connect(host, security, port) == 0) return 0;
  if (GetResponse(nullptr, 0, 1) == 0) return 0;
  return Login(security);
}

int TPOP3::Login(const TSecurityInfo& security) {
  if (security.account == nullptr) return 0;
  if (SendCommand("USER", security.account) < 1 || GetResponse(nullptr, 0, 1) == 0) return 0;
  if (SendCommand("PASS", security.password) < 1 || GetResponse(nullptr, 0, 1) == 0) return 0;
  // Many servers know no "LAST"; neither refusal is worth a line, nor does it hinder the work.
  std::array<char, kReplySize> text;
  const auto askNumber = [&](const char* command, LONG& number) {
    if (SendCommand(command, nullptr) < 1 || GetResponse(text.data(), kReplySize, 0) == 0) return;
    int value = number;
    brevant::TextScanner(text.data()).Number(value);
    number = value;
  };
  askNumber("STAT", count_);
  askNumber("LAST", lastRead_);
  return 1;
}

int TPOP3::Disconnect() {
  if (connection_ != nullptr && (connection_->Flags() & kPeerConnected) != 0) {
    SendCommand("QUIT", nullptr);
    connection_->FinishSending(kFarewell);
  }
  atEnd_ = false;
  afterDot_ = false;
  return TProtocol::Disconnect();
}

int TPOP3::SendCommand(const char* command, const char* argument) {
  afterDot_ = false;
  if (brevant::EqualsIgnoreCase(command, "TOP") || brevant::EqualsIgnoreCase(command, "RETR"))
    atEnd_ = false;
  return SendCommandLine(command, argument);
}

int TPOP3::GetResponse(char* buffer, int size, int report) {
  std::array<char, kStandardReplySize> line;
  int budget = kLongestReply;
  const bool received =
      StandardMode() ? ReceiveReplyLine(line.data(), kStandardReplySize, &budget) && line[0] != '\0'
                     : ReceiveText(line.data(), kReplySize, false) > 0;
  if (!received) return 0;
  afterDot_ = false;
  atLineStart_ = true;
  const char* text = AfterSpace(line.data());
  if (line[0] == '+') {
    if (buffer != nullptr) CopyCut(text != nullptr ? text : "", buffer, size);
    return 1;
  }
  if (line[0] == '-' && report != 0)
    DisplayHistory("%s (POP3)", text != nullptr ? text : line.data());
  return 0;
}

int TPOP3::GetFirst() {
  current_ = 1;
  return GetInfo(current_);
}

int TPOP3::GetFirstNew() {
  current_ = Successor(lastRead_);
  return GetInfo(current_);
}

int TPOP3::GetNext() {
  current_ = Successor(current_);
  return GetInfo(current_);
}

int TPOP3::SendNumbered(const char* command, LONG number) {
  return Guarded(-1, [&] { return SendCommand(command, std::to_string(number).c_str()); });
}

int TPOP3::GetInfo(LONG number) {
  ClearInfo();
  return Guarded(0, [&] {
    resourceTime_ = TTime::Now();  // a mail without a date must not keep that of the one before
    const std::string argument = std::to_string(number) + " 0";
    if (SendCommand("TOP", argument.c_str()) < 1) return 0;
    if (GetResponse(nullptr, 0, number <= count_ ? 1 : 0) == 0) return NothingOpened();
    const HeaderEnd end = ReadHeader();
    if (end == HeaderEnd::kBlankLine) SkipReply();
    const bool failed = end == HeaderEnd::kFailed || (status_ & kStatusConnected) == 0;
    atEnd_ = true;  // no message is open
    return failed && StandardMode() ? 0 : 1;
  });
}

// Without a message nothing is left to read: no read may wait for one.
int TPOP3::NothingOpened() {
  atEnd_ = true;
  return 0;
}

int TPOP3::SkipReply() {
  std::array<char, kReplySize> line;
  for (DWORD skipped = 0; skipped <= kMostSkipped && !Stopped();) {
    int length = 0;
    if (StandardMode()) {
      length = ReadStandard(line.data(), kReplySize);
      if (length < 1) return atEnd_ ? 1 : 0;
    } else {
      length = ReceiveText(line.data(), kReplySize, true);
      if (length < 1 || line[0] == '.') return length > 0 ? 1 : 0;
    }
    skipped += static_cast<DWORD>(length);
  }
  TransferFailed();
  return 0;
}

int TPOP3::VerifyMessageIndex(LONG number, const char* identifier) {
  if (GetInfo(number) == 0) return 0;
  return std::strcmp(messageId_ ? messageId_->c_str() : "",
                     identifier != nullptr ? identifier : "") == 0
             ? 1
             : 0;
}

int TPOP3::OpenResource(const char* name, int mode) {
  ClearInfo();
  if (mode != kOpenForReading || name == nullptr) return 0;
  return Retrieve(name);
}

int TPOP3::OpenCurrent(int mode) {
  ClearInfo();
  if (mode != kOpenForReading) return 0;
  return Guarded(0, [&] { return Retrieve(std::to_string(current_).c_str()); });
}

int TPOP3::Retrieve(const char* number) {
  return Guarded(0, [&] {
    resourceTime_ = TTime::Now();
    if (SendCommand("RETR", number) < 1) return 0;
    if (GetResponse(nullptr, 0, 1) == 0) return NothingOpened();
    messageBytes_ = 0;
    if (ReadHeader() == HeaderEnd::kFailed) return 0;
    status_ |= kStatusResourceOpen;
    return 1;
  });
}

int TPOP3::Close() { return 1; }

int TPOP3::DeleteCurrent() { return DeleteByNumber(current_); }

int TPOP3::DeleteByNumber(LONG number) {
  return SendNumbered("DELE", number) < 1 ? 0 : GetResponse(nullptr, 0, 1);
}

int TPOP3::ResetMarks() {
  return SendCommand("RSET", nullptr) < 1 ? 0 : GetResponse(nullptr, 0, 1);
}

int TPOP3::FinishMessage() {
  std::array<char, 4096> dropped;
  while (!atEnd_ && !Stopped()) {
    if (TPOP3::Read(dropped.data(), static_cast<int>(dropped.size())) < 1) break;
  }
  if (!atEnd_) TransferFailed();
  return atEnd_ ? 1 : 0;
}

void TPOP3::ReadFailed() {
  // Without a further look at it, a single dot is an ordinary line to the plain reader; when
  // nothing more comes it was the end.
  if (afterDot_ && connection_ != nullptr && connection_->LastWait() == WaitEnd::kTimedOut) {
    atEnd_ = true;
  } else {
    TransferFailed();
  }
}

int TPOP3::ReceiveText(char* buffer, int size, bool keepTerminator) {
  const int length = connection_ == nullptr ? -1 : Guarded(-1, [&] {
    return connection_->ReceiveLine(buffer, size, keepTerminator);
  });
  if (length < 0) {
    ReadFailed();
    return -1;
  }
  const std::string_view line(buffer, static_cast<std::size_t>(length));
  afterDot_ = atLineStart_ && (line == ".\r\n" || line == ".\n" || line == ".");
  atLineStart_ = !keepTerminator || line.ends_with('\n') || line.ends_with('\r');
  return length;
}

int TPOP3::Read(char* buffer, int size) {
  if (atEnd_ || size < 1) return 0;
  if (messageBytes_ > kLargestMessage) {
    TransferFailed();
    return 0;
  }
  const int count = StandardMode() ? ReadStandard(buffer, size) : ReadPlain(buffer, size);
  transferred_ += static_cast<DWORD>(count);
  messageBytes_ += static_cast<DWORD>(count);
  return count;
}

int TPOP3::ReadPlain(char* buffer, int size) {
  const int length = ReceiveText(buffer, size, true);
  if (length < 1) return 0;
  const std::string_view line(buffer, static_cast<std::size_t>(length));
  if (line == "\r\n") {
    char next = '\0';
    const int there = Guarded(-1, [&] { return connection_->Peek(&next, 1); });
    if (there == 1 && next == '.') {
      std::array<char, 8> mark;
      connection_->ReceiveLine(mark.data(), static_cast<int>(mark.size()), false);
      atEnd_ = true;
      return 0;
    }
  } else if (line == " \r\n") {
    std::memmove(buffer, buffer + 1, 3);
    return 2;
  }
  return length;
}

int TPOP3::ReadStandard(char* buffer, int size) {
  const int count = Guarded(-1, [&] {
    if (connection_ == nullptr) return -1;
    if (atLineStart_) {
      std::array<char, 3> start;
      if (connection_->PeekAhead(start.data(), 1) < 1) return -1;
      if (start[0] == '.') {
        const int there = connection_->PeekAhead(start.data(), static_cast<int>(start.size()));
        const std::string_view seen(start.data(), static_cast<std::size_t>(there));
        // What may stand behind the mark is the next reply's.
        const int mark = seen.starts_with(".\n") ? 2 : seen == ".\r\n" ? 3 : 0;
        if (there < 2) return -1;  // cut off: neither a mark nor a line
        connection_->Receive(start.data(), mark != 0 ? mark : 1);
        atEnd_ = mark != 0;
        if (atEnd_) return 0;
      }
    }
    return connection_->ReceivePiece(buffer, size);
  });
  if (count < 0) TransferFailed();
  if (count < 1) return 0;
  atLineStart_ = buffer[count - 1] == '\n';
  return count;
}
