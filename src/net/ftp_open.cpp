// Opening files on the server.
#include "net/ftp_private.h"
#include "net/guarded.h"
#include "platform/win32.h"

#include <array>
#include <cstring>
#include <string_view>

using brevant::Guarded;

namespace {

constexpr LONG kCannotStore = 550;
constexpr int kListingLineSize = 256;

}  // namespace

// Changes to the directory of the path, if it has one, and gives the name in it.
bool TFTP::EnterDirectoryOf(const char* path, const char** name) {
  if (path == nullptr || !IsOneLine(path)) return false;
  const char* separator = std::strrchr(path, '/');
  if (separator == nullptr) separator = std::strrchr(path, '\\');
  *name = separator == nullptr ? path : separator + 1;
  if (separator == nullptr) return true;
  // Of "/name" the directory is the separator itself.
  const char* end = separator == path ? separator + 1 : separator;
  return ChangeDirectory(std::string(path, end).c_str()) != 0;
}

int TFTP::OpenResource(const char* path, int mode) {
  const int opened = Guarded(0, [&] {
    const char* name = nullptr;
    return EnterDirectoryOf(path, &name) ? OpenHere(name, mode) : 0;
  });
  status_ &= ~DWORD{kStatusTimeChecked};
  return opened;
}

// Opens a file of the current directory.
int TFTP::OpenHere(const char* name, int mode) {
  if (mode == kOpenForReading) {
    if ((status_ & kStatusTimeChecked) == 0) GetFileInfo(name);
    if (InitiateDataStream("RETR", name) == 0) return 0;
    status_ |= DWORD{kStatusResourceOpen} | kStatusRetrieving | kStatusMayTransfer;
    return 1;
  }
  if (mode != kOpenForWriting) return 0;
  int opened = InitiateDataStream("STOR", name);
  if (opened == 0 && transferReply_ == kCannotStore) {
    // Some servers replace no file, or none that somebody else has stored.
    DeleteResource(name);
    opened = InitiateDataStream("STOR", name);
  }
  if (opened != 0) status_ |= DWORD{kStatusResourceOpen} | kStatusMayTransfer;
  return opened;
}

int TFTP::OpenIf(const char* path, int mode, const TTime& time, Wanted wanted) {
  status_ |= DWORD{kStatusTimeChecked} | kStatusRetrieving;
  const int opened = Guarded(0, [&] {
    const char* name = nullptr;
    if (!EnterDirectoryOf(path, &name)) return 0;
    const bool known = GetFileInfo(name) != 0;
    const bool meets = wanted == Wanted::kNewer ? resourceTime_ > time : resourceTime_ < time;
    if (!known || meets) return OpenHere(name, mode);
    status_ &= ~DWORD{kStatusMayTransfer};
    return 0;
  });
  status_ &= ~DWORD{kStatusTimeChecked};
  return opened;
}

int TFTP::OpenResourceIfNewer(const char* name, int mode, const TTime& time) {
  return OpenIf(name, mode, time, Wanted::kNewer);
}

int TFTP::OpenResourceIfOlder(const char* name, int mode, const TTime& time) {
  return OpenIf(name, mode, time, Wanted::kOlder);
}

int TFTP::GetFileInfo(const char* name) {
  return Guarded(0, [&] {
    if (InitiateDataStream("LIST", name) == 0) return 0;
    std::array<char, kListingLineSize> line;
    const int length = dataConnection_->ReceiveLine(line.data(), kListingLineSize, false);
    FinishTransfer();
    if (length < 1) return 0;
    TFindData found;
    found.sizeLow = size_;
    ProcessFileInfo(line.data(), &found);
    size_ = found.sizeLow;
    resourceTime_ = TTime(found.lastWriteTime);
    return 1;
  });
}
