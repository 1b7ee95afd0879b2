// Encoded words of mail headers (RFC 2047).
#pragma once

#include <string>
#include <string_view>

namespace brevant {

// The text with its encoded words replaced by the bytes they stand for, whatever their charset;
// what is no well-formed encoded word stays. Blanks between two encoded words go.
std::string DecodeEncodedWords(std::string_view text);

}  // namespace brevant
