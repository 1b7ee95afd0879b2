// Encoded words of mail headers (RFC 2047).
#pragma once

#include <string>
#include <string_view>

namespace brevant {

// The text with its encoded words replaced by the bytes they stand for, whatever their charset;
// what is no well-formed encoded word stays. Blanks between two encoded words go.
std::string DecodeEncodedWords(std::string_view text);

// A header value as UTF-8: its encoded words by their charsets, all else as text without a label.
// A character may begin in one word and end in the next one of the same charset. Control characters
// become blanks, so that nothing encoded can begin a line of its own.
std::string DecodeHeader(std::string_view value);

// The same of a "From" or "To" value. Of its addresses nothing changes: quotation marks and angle
// brackets that encoded words bring in become "'", "(" and ")".
std::string DecodeAddressHeader(std::string_view value);

}  // namespace brevant
