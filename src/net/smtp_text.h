// Texts of outgoing mail.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brevant {

// Each CR and LF becomes a blank.
void BlankLineEnds(std::string& text);
// The same, but a CR LF stays before a line that begins with a blank or tab and holds more than
// those.
void BlankLineEndsExceptFolds(std::string& text);

// Whether the text can name a header field: letters, digits, "-" and "_".
bool IsFieldName(std::string_view text);

// The path of RFC 5321 without its angle brackets; of `"Name" <address>` the address. Empty for no
// address, nothing when the text is no path and could hold more than one in a command line.
std::optional<std::string> PathOf(std::string_view text);

// Appends a piece of a body as it goes out: every line end (CR LF, LF or CR) as CR LF, a dot that
// begins a line doubled. The two states carry on from piece to piece; at first they are true and
// false.
void AppendBody(std::string_view piece, bool* atLineStart, bool* afterReturn, std::string* out);

}  // namespace brevant
