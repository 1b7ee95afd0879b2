// Header fields of mail.
#include "net/connection.h"
#include "net/guarded.h"
#include "net/header_date.h"
#include "platform/win32.h"
#include "store/ascii.h"

#include <brevant/net.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

using brevant::EqualsIgnoreCase;
using brevant::Guarded;

namespace {

constexpr int kLineSize = 1024;
constexpr int kValueSize = 1023;
// A header beyond this is no mail's: a server that never ends it must not hold the reader forever.
constexpr DWORD kLargestHeader = 4U << 20;
// What is kept of a folded line in standard mode; values are cut to less than that.
constexpr std::size_t kLongestLogicalLine = 16384;

constexpr std::string_view kBlanks = " \t";

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

void CopyCut(std::string_view text, char* buffer, int size) {
  if (size < 1) return;
  text = text.substr(0, std::min(text.find('\0'), static_cast<std::size_t>(size) - 1));
  std::copy(text.begin(), text.end(), buffer);
  buffer[text.size()] = '\0';
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t start = std::min(text.find_first_not_of(kBlanks), text.size());
  const std::size_t last = text.find_last_not_of(kBlanks);
  return last == std::string_view::npos ? std::string_view() : text.substr(start, last + 1 - start);
}

}  // namespace

void TPOP3::ClearInfo() {
  for (OwnedText* text :
       {&from_, &to_, &replyTo_, &cc_, &subject_, &contentType_, &messageId_, &bbs_}) {
    text->reset();
  }
}

int TPOP3::ProcessObjectInfo(char* name, char* value) {
  struct Field {
    std::string_view name;
    OwnedText TPOP3::*text;
  };
  static constexpr Field kFields[] = {{"From", &TPOP3::from_},
                                      {"To", &TPOP3::to_},
                                      {"Reply-to", &TPOP3::replyTo_},
                                      {"Cc", &TPOP3::cc_},
                                      {"Subject", &TPOP3::subject_},
                                      {"Content-Type", &TPOP3::contentType_},
                                      {"Message-Id", &TPOP3::messageId_},
                                      {"BBS", &TPOP3::bbs_}};
  const int known = Guarded(-1, [&] {
    for (const Field& field : kFields) {
      if (!EqualsIgnoreCase(name, field.name)) continue;
      this->*field.text = value;
      return 1;
    }
    if (!EqualsIgnoreCase(name, "Date")) return 0;
    resourceTime_ =
        StandardMode() ? brevant::ParseHeaderDateStandard(value) : brevant::ParseHeaderDate(value);
    return 1;
  });
  // A field that was lost for want of memory would make another mail of this one.
  if (known < 0) TransferFailed();
  return known > 0 ? 1 : 0;
}

int TPOP3::GetObjectInfo(char* name, char* value, int size) {
  if (connection_ == nullptr || name == nullptr || value == nullptr || size < 1) {
    headerEnd_ = HeaderEnd::kFailed;
    return 0;
  }
  bool hadMemory = false;
  headerEnd_ = Guarded(HeaderEnd::kFailed, [&] {
    const HeaderEnd end = atEnd_           ? HeaderEnd::kMessageEnd
                          : StandardMode() ? ReadFieldStandard(name, value, size)
                                           : ReadFieldPlain(name, value, size);
    hadMemory = true;
    return end;
  });
  // Half a header would make another mail of this one.
  if (!hadMemory) TransferFailed();
  return headerEnd_ == HeaderEnd::kField ? 1 : 0;
}

TPOP3::HeaderEnd TPOP3::ReadHeader() {
  std::array<char, kNameSize> name;
  std::array<char, kValueSize> value;
  StartHeader();
  while (GetObjectInfo(name.data(), value.data(), kValueSize) != 0) {
    ProcessObjectInfo(name.data(), value.data());
  }
  return headerEnd_;
}

bool TPOP3::CountHeaderBytes(int count) {
  headerBytes_ += static_cast<DWORD>(count) + 2;
  if (headerBytes_ <= kLargestHeader && !Stopped()) return true;
  TransferFailed();
  return false;
}

TPOP3::HeaderEnd TPOP3::ReadFieldPlain(char* name, char* value, int size) {
  std::array<char, kLineSize> buffer;
  for (;;) {
    const int length = ReceiveText(buffer.data(), kLineSize, false);
    if (length < 0) return atEnd_ ? HeaderEnd::kMessageEnd : HeaderEnd::kFailed;
    if (length == 0) return HeaderEnd::kBlankLine;
    if (!CountHeaderBytes(length)) return HeaderEnd::kFailed;
    const std::string_view line(buffer.data());
    const std::size_t colon = line.find(':');
    std::size_t separator = line.find(' ');
    // A tab separates only in a line that holds a space, too.
    if (separator != std::string_view::npos) separator = line.find_first_of(kBlanks);
    if (colon == std::string_view::npos || colon == 0 || separator == std::string_view::npos ||
        colon > separator)
      continue;
    CopyCut(colon < kNameSize ? line.substr(0, colon) : std::string_view(), name, kNameSize);
    // The value begins after the first blank, wherever the colon is.
    CopyCut(line.substr(separator + 1), value, size);
    break;
  }
  char next = '\0';
  while (connection_->Peek(&next, 1) == 1 && next == '\t') {
    const int length = ReceiveText(buffer.data(), kLineSize, false);
    if (length < 1 || !CountHeaderBytes(length)) break;
    buffer[0] = ' ';
    const std::size_t stored = std::strlen(value);
    CopyCut(buffer.data(), value + stored, size - static_cast<int>(stored));
  }
  return HeaderEnd::kField;
}

// One line of the message, of whatever length, without its line end.
TPOP3::HeaderEnd TPOP3::ReadHeaderLine(std::string& line) {
  std::array<char, kLineSize> piece;
  line.clear();
  do {
    const int count = ReadStandard(piece.data(), kLineSize);
    if (count < 1) return atEnd_ ? HeaderEnd::kMessageEnd : HeaderEnd::kFailed;
    if (!CountHeaderBytes(count)) return HeaderEnd::kFailed;
    if (!AtLineStart() && count < kLineSize - 1) {
      TransferFailed();  // cut off: waiting on would let a slow server stretch the time-out
      return HeaderEnd::kFailed;
    }
    if (line.size() < kLongestLogicalLine)
      line.append(piece.data(), static_cast<std::size_t>(count));
  } while (!AtLineStart());
  while (line.ends_with('\n') || line.ends_with('\r')) line.pop_back();
  return line.empty() ? HeaderEnd::kBlankLine : HeaderEnd::kField;
}

TPOP3::HeaderEnd TPOP3::ReadFieldStandard(char* name, char* value, int size) {
  std::string line;
  std::string more;
  for (;;) {
    const HeaderEnd end = ReadHeaderLine(line);
    if (end != HeaderEnd::kField) return end;
    char next = '\0';
    while (connection_->PeekAhead(&next, 1) == 1 && IsBlank(next)) {
      const HeaderEnd folded = ReadHeaderLine(more);
      if (folded == HeaderEnd::kFailed || folded == HeaderEnd::kMessageEnd) return folded;
      more[0] = ' ';
      if (line.size() < kLongestLogicalLine) line += more;
    }
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    const std::string_view field = Trimmed(std::string_view(line).substr(0, colon));
    if (field.empty() || field.find_first_of(kBlanks) != std::string_view::npos) continue;
    CopyCut(field.size() < kNameSize ? field : std::string_view(), name, kNameSize);
    CopyCut(Trimmed(std::string_view(line).substr(colon + 1)), value, size);
    return HeaderEnd::kField;
  }
}
