// The FTP client's session and the commands that move no data.
#include "net/ftp_private.h"
#include "net/guarded.h"
#include "platform/win32.h"
#include "store/ascii.h"

#include <array>
#include <utility>

using brevant::Guarded;

namespace {

// Servers that let anybody in like to be told who comes.
constexpr char kAnybody[] = "anonymous";
constexpr char kAnybodysAddress[] = "anonymous@example.com";

constexpr LONG kPasswordWanted = 331;
constexpr LONG kNoSuchFileFirst = 550;
constexpr LONG kNoSuchFileLast = 559;

bool IsEmpty(const char* text) { return text == nullptr || text[0] == '\0'; }

}  // namespace

TFTP::TFTP() = default;

TFTP::~TFTP() = default;

const char* TFTP::ProtocolName() { return "FTP"; }

WORD TFTP::DefaultPort() { return 21; }

int TFTP::Connect(const char* host, const TSecurityInfos& security, WORD port) {
  const bool sameHost =
      connectedHost_ && host != nullptr && brevant::EqualsIgnoreCase(*connectedHost_, host);
  if (Connected() && !sameHost) Disconnect();
  lastReply_ = 0;
  if (TProtocol::Connect(host, security, port) != 0) {
    const Reply greeting = ReceiveReply();
    if (greeting.Begins('2')) {
      if (Login(security) != 0 && KeepHost(host) != 0) return 1;
    } else {
      lastReply_ = greeting.Number();
    }
  }
  const LONG reply = lastReply_;
  Disconnect();
  lastReply_ = reply;
  return 0;
}

int TFTP::KeepHost(const char* host) {
  return Guarded(0, [&] {
    connectedHost_ = host;
    return 1;
  });
}

int TFTP::Login(const TSecurityInfo& security) {
  Reply reply = Command("USER", IsEmpty(security.account) ? kAnybody : security.account);
  if (reply.Number() == kPasswordWanted)
    reply = Command("PASS", IsEmpty(security.password) ? kAnybodysAddress : security.password);
  if (reply.Begins('2')) return 1;
  lastReply_ = reply.Number();
  return 0;
}

int TFTP::Disconnect() {
  DisconnectDataStream();
  // The server closes by itself after "QUIT"; nothing of what was sent before it depends on that.
  if (connection_ != nullptr && (connection_->Flags() & kPeerConnected) != 0)
    SendCommandLine("QUIT", nullptr);
  finalRepliesOwed_ = 0;
  abortRepliesOwed_ = 0;
  connectedHost_.reset();
  ForgetDirectory();
  return TProtocol::Disconnect();
}

int TFTP::SetType(const char* type) { return Succeeds("TYPE", type); }

int TFTP::DeleteResource(const char* name) {
  const Reply reply = Command("DELE", name);
  const LONG code = reply.Number();
  if (reply.Begins('2') || (code >= kNoSuchFileFirst && code <= kNoSuchFileLast)) return 1;
  lastReply_ = code;
  return 0;
}

int TFTP::RenameResource(const char* from, const char* to) {
  // A name that cannot be sent must not leave the server waiting for it.
  if (to != nullptr && !IsOneLine(to)) return 0;
  const Reply reply = Command("RNFR", from);
  if (reply.Begins('3')) return Succeeds("RNTO", to);
  lastReply_ = reply.Number();
  return 0;
}

int TFTP::ExecuteCommand(const char* text) { return Succeeds("SITE", text); }

int TFTP::Read(char* buffer, int size) {
  return CountTransfer(dataConnection_ == nullptr ? -1 : Guarded(-1, [&] {
    return dataConnection_->Receive(buffer, size);
  }));
}

int TFTP::Write(const char* buffer, int size) {
  return CountTransfer(dataConnection_ == nullptr ? -1 : Guarded(-1, [&] {
    return dataConnection_->Send(buffer, size);
  }));
}

// The control connection is none the worse for a data connection that has ended.
int TFTP::CountTransfer(int result) {
  if (result < 1) {
    status_ &= ~(DWORD{kStatusResourceOpen} | kStatusDataStream);
  } else {
    transferred_ += static_cast<DWORD>(result);
  }
  return result;
}

int TFTP::Close() {
  if (finalRepliesOwed_ == 0) return DisconnectDataStream();
  const LONG code = FinishTransfer();
  return StandardMode() && (code < 200 || code > 299) ? 0 : 1;
}

int TFTP::Interrupt() {
  {
    // While a transfer goes on, its own thread neither replaces the control connection nor sends
    // anything on it.
    const std::lock_guard lock(dataConnectionChange_);
    if (dataConnection_ != nullptr && finalRepliesOwed_ != 0) {
      constexpr std::string_view kAbort = "ABOR\r\n";
      brevant::InterruptWaits();
      if (connection_ != nullptr &&
          connection_->SendAtOnce(kAbort.data(), static_cast<int>(kAbort.size())) > 0)
        ++abortRepliesOwed_;
    }
  }
  return TProtocol::Interrupt();
}
