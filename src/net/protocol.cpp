#include "net/connection.h"
#include "net/guarded.h"
#include "platform/win32.h"

#include <brevant/net.h>

#include <array>
#include <cstring>

using brevant::Guarded;

namespace {

constexpr int kCopyStep = 128;

// A file handle with an owner.
class LocalFile {
 public:
  LocalFile(const char* name, DWORD access)
      : handle_(name == nullptr ? INVALID_HANDLE_VALUE
                                : CreateFileA(name, access, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                              FILE_FLAG_SEQUENTIAL_SCAN, nullptr)) {}
  ~LocalFile() {
    if (IsOpen()) CloseHandle(handle_);
  }
  LocalFile(const LocalFile&) = delete;
  LocalFile& operator=(const LocalFile&) = delete;

  bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }

  // The count of bytes; 0 at the end and on failure.
  int Read(char* buffer, int size) {
    DWORD count = 0;
    return ReadFile(handle_, buffer, static_cast<DWORD>(size), &count, nullptr)
               ? static_cast<int>(count)
               : 0;
  }
  int Write(const char* buffer, int size) {
    DWORD count = 0;
    return WriteFile(handle_, buffer, static_cast<DWORD>(size), &count, nullptr)
               ? static_cast<int>(count)
               : 0;
  }

 private:
  HANDLE handle_;
};

// Credentials live in memory that the caller may read through a plain pointer.
char* CopyText(const char* text, std::string& copy) {
  if (text == nullptr) return nullptr;
  return Guarded<>(static_cast<char*>(nullptr), [&] {
    copy = text;
    return copy.data();
  });
}

}  // namespace

TSecurityInfos::TSecurityInfos(const char* accountText, const char* passwordText) {
  account = CopyText(accountText, accountCopy_);
  password = CopyText(passwordText, passwordCopy_);
}

TSecurityInfos::~TSecurityInfos() = default;

TProtocol::HistoryHook TProtocol::myHistoryFunction = nullptr;

TProtocol::TProtocol() : resourceTime_(TTime::Now()) {}

TProtocol::~TProtocol() = default;

int TProtocol::Connect(const char* host, const TSecurityInfos&, WORD port) {
  if (port == kDefaultProtocolPort) port = DefaultPort();
  if (connection_ != nullptr) Disconnect();
  return Guarded(0, [&] {
    connection_ = std::make_unique<TConnection>(timeout_);
    hasConnection_ = true;
    connection_->SetContinueFlag(continueFlag_);
    if ((connection_->Flags() & kSocketOpen) == 0 || connection_->Resolve(host) == 0) return 0;
    connection_->SendWithoutDelay();
    if (connection_->Connect(connection_->HostAddress(), port) == 0) return 0;
    status_ |= kStatusConnected;
    return 1;
  });
}

int TProtocol::Disconnect() {
  hasConnection_ = false;
  connection_.reset();
  TransferFailed();
  return 1;
}

int TProtocol::OpenResource(const char*, int) { return 0; }

int TProtocol::OpenResourceIfNewer(const char* name, int mode, const TTime&) {
  return OpenResource(name, mode);
}

int TProtocol::OpenResourceIfOlder(const char* name, int mode, const TTime&) {
  return OpenResource(name, mode);
}

int TProtocol::OpenIgnoringTime(const char* name, int mode, const TTime&) {
  return OpenResource(name, mode);
}

int TProtocol::OpenUrlWith(const TURL& url, int mode, const TTime& time, Opener open) {
  size_ = 0;
  transferred_ = 0;
  const TSecurityInfos security(url.account, url.password);
  if (Connect(url.host, security, url.port == 0 ? DefaultPort() : url.port) == 0) return 0;
  return (this->*open)(url.path, mode, time);
}

int TProtocol::OpenURL(const TURL& url, int mode) {
  return OpenUrlWith(url, mode, TTime(), &TProtocol::OpenIgnoringTime);
}

int TProtocol::OpenURLIfNewer(const TURL& url, int mode, const TTime& time) {
  return OpenUrlWith(url, mode, time, &TProtocol::OpenResourceIfNewer);
}

int TProtocol::OpenURLIfOlder(const TURL& url, int mode, const TTime& time) {
  return OpenUrlWith(url, mode, time, &TProtocol::OpenResourceIfOlder);
}

int TProtocol::Close() { return 1; }

int TProtocol::OpenCurrent(int) { return 0; }

int TProtocol::Get(const char* localFile) {
  LocalFile file(localFile, GENERIC_WRITE);
  if (!file.IsOpen()) return 0;
  std::array<char, kCopyStep> step;
  for (;;) {
    const int count = Read(step.data(), kCopyStep);
    if (count <= 0 || file.Write(step.data(), count) <= 0) return 1;
  }
}

int TProtocol::Put(const char* localFile) {
  LocalFile file(localFile, GENERIC_READ);
  if (!file.IsOpen()) return 0;
  std::array<char, kCopyStep> step;
  for (;;) {
    const int count = file.Read(step.data(), kCopyStep);
    if (count <= 0 || Write(step.data(), count) <= 0) return 1;
  }
}

int TProtocol::Read(char* buffer, int size) {
  const int result =
      connection_ == nullptr ? -1 : Guarded(-1, [&] { return connection_->Receive(buffer, size); });
  if (result < 1) {
    TransferFailed();
  } else {
    transferred_ += static_cast<DWORD>(result);
  }
  return result;
}

int TProtocol::Write(const char* buffer, int size) {
  const int result =
      connection_ == nullptr ? -1 : Guarded(-1, [&] { return connection_->Send(buffer, size); });
  if (result < 1) {
    TransferFailed();
  } else {
    transferred_ += static_cast<DWORD>(result);
  }
  return result;
}

int TProtocol::Interrupt() {
  if (hasConnection_) brevant::InterruptWaits();
  return 1;
}

int TProtocol::GetFirst() { return 0; }

int TProtocol::GetNext() { return 0; }

DWORD TProtocol::GetSize() { return size_; }

void TProtocol::SetSize(DWORD size) { size_ = size; }

DWORD TProtocol::GetTransferred() { return transferred_; }

DWORD TProtocol::GetRemaining() { return size_ - transferred_; }

const TTime& TProtocol::ResourceTime() { return resourceTime_; }

const char* TProtocol::GetDescription() { return ProtocolName(); }

// Hosts and clients call it like printf.
// NOLINTNEXTLINE(cert-dcl50-cpp)
void TProtocol::DisplayHistory(const char* format, ...) {
  if (myHistoryFunction == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  myHistoryFunction(format, arguments);
  va_end(arguments);
}

void TProtocol::SetContinueFlag(const std::atomic<int>* flag) {
  continueFlag_ = flag;
  if (connection_ != nullptr) connection_->SetContinueFlag(flag);
}

void TProtocol::SetTimeout(DWORD milliseconds) {
  timeout_ = milliseconds;
  if (connection_ != nullptr) connection_->SetTimeout(milliseconds);
}

bool TProtocol::IsOneLine(const char* text) { return std::strpbrk(text, "\r\n") == nullptr; }

int TProtocol::SendCommandLine(const char* command, const char* argument) {
  if (!IsOneLine(command) || (argument != nullptr && !IsOneLine(argument))) return 0;
  const int sent = Guarded(-1, [&] {
    std::string line(command);
    if (argument != nullptr) line.append(" ").append(argument);
    line += "\r\n";
    return connection_ == nullptr ? -1
                                  : connection_->Send(line.data(), static_cast<int>(line.size()));
  });
  if (sent < 1) TransferFailed();
  return sent;
}

bool TProtocol::ReceiveReplyLine(char* buffer, int size, int* budget) {
  constexpr int kRestSize = 256;
  std::array<char, kRestSize> rest;
  const auto receive = [&](char* piece, int room) {
    const int count = connection_ == nullptr
                          ? -1
                          : Guarded(-1, [&] { return connection_->ReceivePiece(piece, room); });
    *budget -= count;
    return count;
  };
  int room = size;
  int count = receive(buffer, room);
  bool ended = count > 0 && buffer[count - 1] == '\n';
  while (!ended && count == room - 1 && *budget > 0 && !Stopped()) {
    room = kRestSize;
    count = receive(rest.data(), room);
    ended = count > 0 && rest[static_cast<std::size_t>(count) - 1] == '\n';
  }
  ended = ended && *budget >= 0;
  if (!ended) TransferFailed();
  if (ended) buffer[std::strcspn(buffer, "\r\n")] = '\0';
  return ended;
}
