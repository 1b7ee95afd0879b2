// Reading a part's content decoded.
#include "net/connection.h"
#include "net/guarded.h"
#include "platform/win32.h"

#include <brevant/net.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

using brevant::Guarded;

namespace {

constexpr int kBase64Line = 80;
constexpr int kPieceSize = 4096;
// A line of a part is decoded as a whole up to this length.
constexpr std::size_t kLongestLine = 65536;

// -1 for a character outside the alphabet.
int SextetOf(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  return c == '/' ? 63 : -1;
}

// -1 for anything else.
int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// A digit that is none counts as 0: nothing checks the encoded text.
char HexByte(char high, char low) {
  return static_cast<char>(std::max(HexDigit(high), 0) * 16 + std::max(HexDigit(low), 0));
}

std::string_view LineEndOf(std::string_view line) {
  if (line.ends_with("\r\n")) return line.substr(line.size() - 2);
  return line.ends_with('\n') ? line.substr(line.size() - 1) : std::string_view();
}

// Decodes a whole line: blanks before its end are not part of it, "=" before it joins it with the
// next, and "=" before anything but two digits stands for itself.
void DecodeQuotedPrintable(std::string_view line, std::string& decoded) {
  std::string_view end = LineEndOf(line);
  line.remove_suffix(end.size());
  line = line.substr(0, line.find_last_not_of(" \t") + 1);
  if (line.ends_with('=')) {
    line.remove_suffix(1);
    end = {};
  }
  for (std::size_t i = 0; i < line.size(); ++i) {
    const bool encoded = line[i] == '=' && i + 2 < line.size() && HexDigit(line[i + 1]) >= 0 &&
                         HexDigit(line[i + 2]) >= 0;
    decoded += encoded ? HexByte(line[i + 1], line[i + 2]) : line[i];
    if (encoded) i += 2;
  }
  decoded += end;
}

}  // namespace

int TMIMEEnabledPOP3::Read(char* buffer, int size) {
  if (StandardMode()) return ReadDecoded(buffer, size, partEncoding_);
  if (!partContentType_) return TPOP3::Read(buffer, size);
  if (partEncoding_ == kBase64) return ReadBase64(buffer, size);
  if (partEncoding_ == kQuotedPrintable) return ReadQuotedPrintable(buffer, size);
  return Read8Bit(buffer, size);
}

int TMIMEEnabledPOP3::Read8Bit(char* buffer, int size) {
  if (StandardMode()) return ReadDecoded(buffer, size, k8Bit);
  if (PeekAtBoundary() != 0) return 0;
  return std::max(TPOP3::Read(buffer, size), 0);
}

int TMIMEEnabledPOP3::ReadQuotedPrintable(char* buffer, int size) {
  if (StandardMode()) return ReadDecoded(buffer, size, kQuotedPrintable);
  if (PeekAtBoundary() != 0) return 0;
  int length = TPOP3::Read(buffer, size);
  if (length < 1) return length;
  int from = 0;
  int to = 0;
  while (from < length) {
    const int left = length - from;
    if (buffer[from] != '=' || left < 3) {
      buffer[to++] = buffer[from++];
      continue;
    }
    if (left == 3 && buffer[from + 1] == '\r' && buffer[from + 2] == '\n') break;
    buffer[to++] = HexByte(buffer[from + 1], buffer[from + 2]);
    from += 3;
  }
  buffer[to] = '\0';
  return to;
}

int TMIMEEnabledPOP3::ReadBase64(char* buffer, int size) {
  if (StandardMode()) return ReadDecoded(buffer, size, kBase64);
  if (PeekAtBoundary() != 0) return 0;
  std::array<char, kBase64Line> line;
  const int length = TPOP3::Read(line.data(), kBase64Line);
  if (length < 3) return 0;
  // The line end counts as the padding does: as characters of value 0.
  const int result = length / 4 * 3;
  for (int group = 0; group + 4 <= length; group += 4) {
    DWORD bits = 0;
    for (int i = group; i < group + 4; ++i) {
      const int sextet = SextetOf(line[static_cast<std::size_t>(i)]);
      bits = bits << 6 | static_cast<DWORD>(std::max(sextet, 0));
    }
    *buffer++ = static_cast<char>(bits >> 16);
    *buffer++ = static_cast<char>(bits >> 8);
    *buffer++ = static_cast<char>(bits);
  }
  return result;
}

void TMIMEEnabledPOP3::StartDecoding() {
  partEnded_ = false;
  rawLine_.clear();
  decoded_.clear();
  decodedAt_ = 0;
  sextets_ = 0;
  sextetCount_ = 0;
}

int TMIMEEnabledPOP3::ReadDecoded(char* buffer, int size, DWORD encoding) {
  if (size < 2) return 0;
  const int result = Guarded(-1, [&] {
    while (decodedAt_ == decoded_.size()) {
      decoded_.clear();
      decodedAt_ = 0;
      if (partEnded_ || !DecodeLine(encoding)) return 0;
    }
    const std::size_t count =
        std::min(decoded_.size() - decodedAt_, static_cast<std::size_t>(size) - 1);
    std::memcpy(buffer, decoded_.data() + decodedAt_, count);
    buffer[count] = '\0';
    decodedAt_ += count;
    return static_cast<int>(count);
  });
  if (result < 0) TransferFailed();
  return std::max(result, 0);
}

// Decodes the next line; false when there is nothing more to give.
bool TMIMEEnabledPOP3::DecodeLine(DWORD encoding) {
  if (GaveUp() || PeekAtBoundary() != 0 || !ReadWholeLine(encoding)) {
    partEnded_ = true;
    FlushBase64();
    return !decoded_.empty();
  }
  if (encoding == kBase64) {
    DecodeBase64Line();
    return true;
  }
  // The line end before a boundary belongs to the boundary.
  if (!boundaries_.empty() && AtLineStart() && PeekAtBoundary() != 0)
    rawLine_.resize(rawLine_.size() - LineEndOf(rawLine_).size());
  if (encoding == kQuotedPrintable) {
    DecodeQuotedPrintable(rawLine_, decoded_);
  } else {
    decoded_ = rawLine_;
  }
  return true;
}

// A quoted-printable line must be decoded as a whole; the others may come in pieces.
bool TMIMEEnabledPOP3::ReadWholeLine(DWORD encoding) {
  std::array<char, kPieceSize> piece;
  rawLine_.clear();
  do {
    const int count = TPOP3::Read(piece.data(), kPieceSize);
    if (count < 1) return !rawLine_.empty();
    rawLine_.append(piece.data(), static_cast<std::size_t>(count));
    if (count < kPieceSize - 1) break;  // the whole line, or all that came of it in time
  } while (encoding == kQuotedPrintable && !AtLineStart() && rawLine_.size() < kLongestLine);
  return true;
}

void TMIMEEnabledPOP3::DecodeBase64Line() {
  for (const char c : rawLine_) {
    if (c == '=') FlushBase64();  // the end of what was encoded in one go
    const int sextet = SextetOf(c);
    if (sextet < 0) continue;
    sextets_ = sextets_ << 6 | static_cast<DWORD>(sextet);
    if (++sextetCount_ < 4) continue;
    decoded_ += static_cast<char>(sextets_ >> 16);
    decoded_ += static_cast<char>(sextets_ >> 8);
    decoded_ += static_cast<char>(sextets_);
    sextets_ = 0;
    sextetCount_ = 0;
  }
}

// The bytes of an incomplete group: two characters hold one, three hold two.
void TMIMEEnabledPOP3::FlushBase64() {
  if (sextetCount_ >= 2) {
    const DWORD bits = sextets_ << (6 * (4 - sextetCount_));
    decoded_ += static_cast<char>(bits >> 16);
    if (sextetCount_ == 3) decoded_ += static_cast<char>(bits >> 8);
  }
  sextets_ = 0;
  sextetCount_ = 0;
}
