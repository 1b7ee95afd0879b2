// Directories of the server.
#include "net/ftp_listing.h"
#include "net/ftp_private.h"
#include "net/guarded.h"
#include "platform/wildcards.h"
#include "platform/win32.h"

#include <algorithm>
#include <string_view>
#include <utility>

using brevant::Guarded;

namespace {

constexpr LONG kBadParameter = 501;
// A listing beyond this is no directory's.
constexpr std::size_t kLongestListing = 12U << 20;
constexpr int kBlock = 16384;

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// Every separator of the kind that comes first becomes the other kind.
void SwapSeparators(std::string& path) {
  const auto first = std::find_if(path.begin(), path.end(), IsSeparator);
  if (first == path.end()) return;
  const char from = *first;
  std::replace(path.begin(), path.end(), from, from == '/' ? '\\' : '/');
}

}  // namespace

int TFTP::SendPath(const char* command, const char* path) {
  if (path == nullptr || path[0] == '\0') return 1;
  return Guarded(0, [&] {
    std::string sent(path);
    if (sent.size() > 1 && IsSeparator(sent.back())) sent.pop_back();
    Reply reply = Command(command, sent.c_str());
    if (reply.Number() == kBadParameter) {
      SwapSeparators(sent);
      reply = Command(command, sent.c_str());
    }
    lastReply_ = reply.Number();
    return reply.Begins('2') ? 1 : 0;
  });
}

int TFTP::MakeDirectory(const char* path) { return SendPath("MKD", path); }

int TFTP::ChangeDirectory(const char* path) {
  if (SendPath("CWD", path) == 0) return 0;
  if (path != nullptr && path[0] != '\0') ForgetDirectory();
  return 1;
}

void TFTP::ForgetDirectory() {
  directoryList_.clear();
  status_ &= ~DWORD{kStatusListComplete};
  ++directoryGeneration_;
}

int TFTP::DeleteDirectory(const char* path, int recursive) {
  // Without a path the current directory would be emptied.
  if (path == nullptr || path[0] == '\0') return 0;
  if (recursive == 0) return Succeeds("RMD", path);
  return Guarded(0, [&] {
    if (ChangeDirectory(path) == 0) return 0;
    // A directory that cannot be listed may still be empty.
    GetDirectoryList(0);
    const std::vector<TFindData> entries = std::exchange(directoryList_, {});
    ForgetDirectory();
    for (const TFindData& entry : entries) {
      if (Stopped() || !Connected()) return 0;
      DeleteResource(entry.name.c_str());
    }
    return ChangeDirectory("..") != 0 ? Succeeds("RMD", path) : 0;
  });
}

// Reads what a command sends over a data connection; 0 unless all of it came.
int TFTP::ReadListing(const char* command, std::string* text) {
  if (InitiateDataStream(command, nullptr) == 0) return 0;
  std::vector<char> block(kBlock);
  int count = 0;
  do {
    count = Stopped() ? -1 : dataConnection_->Receive(block.data(), kBlock);
    if (count > 0) text->append(block.data(), static_cast<std::size_t>(count));
  } while (count > 0 && text->size() <= kLongestListing);
  const LONG code = FinishTransfer();
  return count == 0 && code >= 200 && code <= 299 ? 1 : 0;
}

int TFTP::GetDirectoryList(int details) {
  ForgetDirectory();
  return Guarded(0, [&] {
    std::string text;
    if (SetType("A") == 0 || ReadListing("NLST", &text) == 0) return 0;
    std::vector<TFindData> entries = brevant::ListedNames(text);
    if (entries.size() > brevant::kMostListedNames) return 0;
    text.clear();
    if (details != 0 && ReadListing("LIST", &text) != 0) brevant::AddDetails(text, entries);
    directoryList_ = std::move(entries);
    status_ |= kStatusListComplete;
    return 1;
  });
}

HANDLE TFTP::FindFirstFileA(const char* pattern, TFindData* findData, int details) {
  if (pattern == nullptr || findData == nullptr) return nullptr;
  return Guarded<>(static_cast<HANDLE>(nullptr), [&]() -> HANDLE {
    if ((status_ & kStatusListComplete) == 0 && GetDirectoryList(details) == 0) return nullptr;
    auto search = std::make_unique<Search>();
    search->pattern = pattern;
    search->generation = directoryGeneration_;
    if (FindFrom(*search, findData) == 0) return nullptr;
    return searches_.emplace_back(std::move(search)).get();
  });
}

int TFTP::FindNextFileA(HANDLE handle, TFindData* findData) {
  const auto search = std::find_if(searches_.begin(), searches_.end(),
                                   [&](const auto& known) { return known.get() == handle; });
  if (search == searches_.end() || findData == nullptr) return 0;
  return Guarded(0, [&] { return FindFrom(**search, findData); });
}

int TFTP::FindFrom(Search& search, TFindData* findData) {
  if (search.generation != directoryGeneration_) return 0;
  while (search.next < directoryList_.size()) {
    const TFindData& entry = directoryList_[search.next++];
    if (!brevant::platform::MatchesPattern(entry.name, search.pattern)) continue;
    *findData = entry;
    return 1;
  }
  return 0;
}

void TFTP::FindClose(HANDLE handle) {
  std::erase_if(searches_, [&](const auto& known) { return known.get() == handle; });
}

TFTPSearcher::TFTPSearcher(TFTP* ftp, const char* pattern, int details) {
  Initialize(ftp, pattern, details);
}

TFTPSearcher::~TFTPSearcher() {
  if (ftp_ != nullptr) ftp_->FindClose(handle_);
}

int TFTPSearcher::Initialize(TFTP* ftp, const char* pattern, int details) {
  if (ftp_ != nullptr) ftp_->FindClose(handle_);
  ftp_ = ftp;
  handle_ = ftp == nullptr ? nullptr : ftp->FindFirstFileA(pattern, this, details);
  found_ = handle_ != nullptr ? 1 : 0;
  listComplete_ = ftp != nullptr && (ftp->Status() & kStatusListComplete) != 0 ? 1 : 0;
  return found_;
}

int TFTPSearcher::GetNext() { return ftp_ == nullptr ? 0 : ftp_->FindNextFileA(handle_, this); }
