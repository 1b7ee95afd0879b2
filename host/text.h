// Small text helpers of the host.
#pragma once

#include <string>
#include <string_view>

namespace host {

// ASCII letters only; other bytes are left alone.
std::string LowerCase(std::string_view text);
bool EqualIgnoringCase(std::string_view a, std::string_view b);

// Text that a mail, a server or a file may have supplied, made safe to show: control characters,
// among them those that steer a terminal, become "?".
std::string Printable(std::string_view text);

// The longest leading piece of UTF-8 text of at most size bytes that ends at a whole character.
std::string CutUtf8(const std::string& text, std::size_t size);

// UTF-8 text as it stands in a page or a template: ASCII, everything else as references. Bytes that
// are no UTF-8 count as ISO-8859-1.
std::string HtmlText(std::string_view text);

bool HasControlCharacter(std::string_view text);

}  // namespace host
