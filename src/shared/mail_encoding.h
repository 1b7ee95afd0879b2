// The encodings of outgoing mail (RFC 2045 to 2047).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brevant {

// Letters and digits of ASCII.
bool IsAlphanumeric(char c);

// Base64 on one line.
std::string EncodeBase64(std::string_view bytes);

// Encoded words of at most 64 characters that together stand for the bytes of a text in that
// charset; none for an empty text. Where the charset is utf-8 no character is divided.
std::vector<std::string> EncodedWords(std::string_view bytes, std::string_view charset);

// Every line end of text (CR LF, LF or CR) as CR LF.
std::string WithCrLf(std::string_view text);

// A body as mail transports it whole: lines of at most 998 bytes, no zero bytes, nothing but ASCII.
struct TEncodedBody {
  const char* encoding = "7bit";  // the value of "Content-Transfer-Encoding"
  std::string body;
};
// Of a text whose lines end in CR LF: as it is where that will do, else quoted-printable or base64,
// whichever is shorter.
TEncodedBody EncodeText(std::string_view text);
// Of any bytes: base64.
TEncodedBody EncodeBytes(std::string_view bytes);

}  // namespace brevant
