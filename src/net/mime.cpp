// The walk through the parts of a message.
#include "net/connection.h"
#include "net/guarded.h"
#include "net/mime_parameters.h"
#include "platform/win32.h"
#include "store/ascii.h"

#include <brevant/net.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

using brevant::EqualsIgnoreCase;
using brevant::FindParameter;
using brevant::FindQuotedParameter;
using brevant::Guarded;
using brevant::MainValue;

namespace {

constexpr int kLineSize = 1024;
constexpr int kValueSize = 1024;
constexpr int kSkipSize = 256;
// No mail nests deeper; a header that repeats its content type must not fill the memory.
constexpr std::size_t kMostBoundaries = 1024;

std::string_view WithoutLineEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// "--", the boundary, and the suffix: "" or "--".
bool IsBoundaryLine(std::string_view line, std::string_view boundary, std::string_view suffix) {
  return line.size() == 2 + boundary.size() + suffix.size() && line.starts_with("--") &&
         line.substr(2, boundary.size()) == boundary && line.ends_with(suffix);
}

bool Contains(const char* text, const char* wanted) { return std::strstr(text, wanted) != nullptr; }

DWORD EncodingOf(std::string_view name, bool standard) {
  using Mime = TMIMEEnabledPOP3;
  struct Encoding {
    std::string_view name;
    DWORD value;
  };
  constexpr Encoding kEncodings[] = {{"7Bit", Mime::k7Bit},
                                     {"8Bit", Mime::k8Bit},
                                     {"Base64", Mime::kBase64},
                                     {"Binary", Mime::kBinary},
                                     {"Quoted-printable", Mime::kQuotedPrintable}};
  for (const Encoding& encoding : kEncodings) {
    if (EqualsIgnoreCase(name, encoding.name)) return encoding.value;
  }
  // An encoding that nobody knows is left as it is in standard mode only.
  return standard ? Mime::kBinary : Mime::kQuotedPrintable;
}

}  // namespace

TMIMEEnabledPOP3::TMIMEEnabledPOP3() = default;

TMIMEEnabledPOP3::~TMIMEEnabledPOP3() = default;

void TMIMEEnabledPOP3::ClearPartInfo() {
  for (OwnedText* text :
       {&partContentType_, &partCharset_, &partContentId_, &partDescription_, &partFileName_}) {
    text->reset();
  }
  partEncoding_ = kNone;
  fileNameFromDisposition_ = false;
  StartDecoding();
}

void TMIMEEnabledPOP3::ClearInfo() {
  ClearPartInfo();
  boundaries_.clear();
  partCount_ = 0;
}

int TMIMEEnabledPOP3::OpenResource(const char* name, int mode) {
  ClearInfo();
  return TPOP3::OpenResource(name, mode);
}

int TMIMEEnabledPOP3::OpenCurrent(int mode) {
  ClearInfo();
  return TPOP3::OpenCurrent(mode);
}

int TMIMEEnabledPOP3::ProcessObjectInfo(char* name, char* value) {
  const int known = Guarded(-1, [&] { return ProcessPartInfo(name, value); });
  // A field that was lost for want of memory would make another mail of this one.
  if (known < 0) TransferFailed();
  return known > 0 ? 1 : 0;
}

int TMIMEEnabledPOP3::ProcessPartInfo(char* name, char* value) {
  if (EqualsIgnoreCase(name, "Content-Type")) {
    ProcessContentType(value);
  } else if (EqualsIgnoreCase(name, "Content-Transfer-Encoding")) {
    partEncoding_ = StandardMode() ? EncodingOf(MainValue(value), true) : EncodingOf(value, false);
  } else if (EqualsIgnoreCase(name, "Content-Description")) {
    partDescription_ = value;
  } else if (EqualsIgnoreCase(name, "Content-Disposition")) {
    ProcessDisposition(value);
  } else if (EqualsIgnoreCase(name, "Content-ID")) {
    std::string_view identifier = value;
    if (identifier.starts_with('<')) identifier.remove_prefix(1);
    if (identifier.ends_with('>')) identifier.remove_suffix(1);
    partContentId_ = std::string("cid:").append(identifier);
  } else {
    return TPOP3::ProcessObjectInfo(name, value);
  }
  return 1;
}

void TMIMEEnabledPOP3::PushBoundary(OwnedText boundary) {
  if (boundary && boundaries_.size() < kMostBoundaries) boundaries_.push_back(std::move(*boundary));
}

void TMIMEEnabledPOP3::ProcessContentType(const char* value) {
  partContentType_ = value;
  if (!StandardMode()) {
    if (Contains(value, "multipart")) PushBoundary(FindQuotedParameter(value, "boundary"));
    if (Contains(value, "charset")) partCharset_ = FindQuotedParameter(value, "charset");
    return;
  }
  if (EqualsIgnoreCase(MainValue(value).substr(0, 10), "multipart/")) {
    OwnedText boundary = FindParameter(value, "boundary");
    if (boundary && !boundary->empty()) PushBoundary(std::move(boundary));
  }
  if (OwnedText charset = FindParameter(value, "charset")) partCharset_ = std::move(charset);
  if (fileNameFromDisposition_) return;
  if (OwnedText fileName = FindParameter(value, "name")) partFileName_ = std::move(fileName);
}

void TMIMEEnabledPOP3::ProcessDisposition(const char* value) {
  if (!StandardMode()) {
    if (Contains(value, "attachment") || Contains(value, "inline"))
      partFileName_ = FindQuotedParameter(value, "filename");
    return;
  }
  OwnedText fileName = FindParameter(value, "filename");
  if (!fileName || fileName->empty()) return;
  partFileName_ = std::move(fileName);
  fileNameFromDisposition_ = true;
}

int TMIMEEnabledPOP3::IsContent(const char* type) {
  if (type == nullptr) return 0;
  if (!StandardMode()) {
    if (partContentType_) return Contains(partContentType_->c_str(), type) ? 1 : 0;
    return EqualsIgnoreCase(type, "text/plain") ? 1 : 0;
  }
  return Guarded(0, [&] {
    std::string own = partContentType_ ? MainValue(*partContentType_) : "text/plain";
    if (own.find('/') == std::string::npos) own = "text/plain";  // no type at all
    const std::string_view wanted(type);
    const bool wholeType = wanted.find('/') != std::string_view::npos;
    return EqualsIgnoreCase(wholeType ? own : own.substr(0, own.find('/')), wanted) ? 1 : 0;
  });
}

int TMIMEEnabledPOP3::IsStartBoundary(const char* line) {
  if (boundaries_.empty() || line == nullptr) return 0;
  return IsBoundaryLine(WithoutLineEnd(line), boundaries_.back(), "") ? 1 : 0;
}

int TMIMEEnabledPOP3::IsEndBoundary(const char* line) {
  if (boundaries_.empty() || line == nullptr) return 0;
  return IsBoundaryLine(WithoutLineEnd(line), boundaries_.back(), "--") ? 1 : 0;
}

int TMIMEEnabledPOP3::PeekAtBoundary() {
  if (boundaries_.empty() || AtMessageEnd() || connection_ == nullptr) return 0;
  const int found = Guarded(-1, [&] {
    if (StandardMode()) return PeekAtBoundaryStandard();
    const std::string_view boundary = boundaries_.back();
    std::string seen(boundary.size() + 2, '\0');
    if (connection_->PeekAhead(seen.data(), 2) != 2 || !seen.starts_with("--")) return 0;
    const int wanted = static_cast<int>(seen.size());
    return connection_->PeekAhead(seen.data(), wanted) == wanted && seen.substr(2) == boundary ? 1
                                                                                               : 0;
  });
  // A boundary that was not recognised for want of memory would be read over.
  if (found < 0) TransferFailed();
  return found != 0 ? 1 : 0;
}

int TMIMEEnabledPOP3::PeekAtBoundaryStandard() {
  std::array<char, kLineSize> seen;
  if (!AtLineStart() || connection_->PeekAhead(seen.data(), 2) != 2 || seen[0] != '-' ||
      seen[1] != '-')
    return 0;
  const int there = connection_->PeekAhead(seen.data(), kLineSize);
  bool ends = false;
  return FindBoundary(std::string(seen.data(), static_cast<std::size_t>(there)), &ends) >= 0 ? 1
                                                                                             : 0;
}

int TMIMEEnabledPOP3::FindBoundary(const std::string& line, bool* ends) const {
  std::string_view text = line;
  text = text.substr(0, text.find('\n'));
  const std::size_t last = text.find_last_not_of(" \t\r");  // padding is no part of the line
  text = text.substr(0, last == std::string_view::npos ? 0 : last + 1);
  if (!text.starts_with("--")) return -1;
  for (std::size_t i = boundaries_.size(); i-- > 0;) {
    const std::string_view boundary = boundaries_[i];
    *ends = IsBoundaryLine(text, boundary, "--");
    if (*ends || IsBoundaryLine(text, boundary, "")) return static_cast<int>(i);
  }
  return -1;
}

int TMIMEEnabledPOP3::OpenPart() {
  return Guarded(0, [&] {
    if (StandardMode()) return OpenPartStandard();
    std::array<char, kLineSize> line;
    bool walking = false;
    for (;;) {
      if (boundaries_.empty() && !walking) return partCount_ == 0 ? ReadPartHeader() : 0;
      if (!walking) ClearPartInfo();
      walking = true;
      if (GaveUp() || TPOP3::Read(line.data(), kLineSize) < 1) return 0;
      if (IsStartBoundary(line.data()) != 0) return ReadPartHeader();
      if (IsEndBoundary(line.data()) == 0) continue;
      boundaries_.pop_back();
      walking = boundaries_.empty();
    }
  });
}

int TMIMEEnabledPOP3::OpenPartStandard() {
  if (boundaries_.empty()) return partCount_ == 0 ? ReadPartHeader() : 0;
  ClearPartInfo();
  std::array<char, kLineSize> line;
  for (;;) {
    const bool lineStart = AtLineStart();
    const int count = GaveUp() ? 0 : TPOP3::Read(line.data(), kLineSize);
    if (count < 1) return 0;
    bool ends = false;
    const int found =
        lineStart ? FindBoundary(std::string(line.data(), static_cast<std::size_t>(count)), &ends)
                  : -1;
    if (found < 0) continue;
    // A boundary of an outer multipart ends those inside it, too.
    boundaries_.resize(static_cast<std::size_t>(found) + (ends ? 0 : 1));
    if (!ends) return ReadPartHeader();
  }
}

// Counts the part; one of a multipart message has a header of its own.
int TMIMEEnabledPOP3::ReadPartHeader() {
  ++partCount_;
  if (boundaries_.empty()) return 1;
  std::array<char, kNameSize> name;
  std::array<char, kValueSize> value;
  StartHeader();
  while (GetObjectInfo(name.data(), value.data(), kValueSize) != 0) {
    // A part has no business with the message's own fields; only the plain reader lets it.
    const std::string_view prefix = std::string_view(name.data()).substr(0, 8);
    if (!StandardMode() || EqualsIgnoreCase(prefix, "Content-"))
      ProcessObjectInfo(name.data(), value.data());
  }
  return 1;
}

int TMIMEEnabledPOP3::SkipCurrentPart() {
  std::array<char, kSkipSize> dropped;
  while (!GaveUp() && Read(dropped.data(), kSkipSize) > 0) {
  }
  return 1;
}
