// Field bodies of mail headers (RFC 5322). Texts are UTF-8; control characters in them become
// blanks.
#pragma once

#include <brevant/store.h>

#include <string>
#include <string_view>

namespace brevant {

// A text on one line: as it is where a reader will see just that, else as encoded words.
std::string HeaderText(std::string_view text);
// The same of bytes that must come back as exactly these when encoded words are decoded.
std::string HeaderBytes(std::string_view bytes);

// An address as headers and paths take it: its local part quoted where it must be, a dotted IPv4
// address behind the "@" in brackets. Empty when it is no address that every server takes.
std::string AddressSpec(std::string_view address);
// What stands behind the "@" of an AddressSpec.
std::string AddressDomain(std::string_view spec);

// A name, which may be empty, and an AddressSpec; folded where it gets long.
std::string Mailbox(std::string_view name, const std::string& spec);

// A local time with the zone of today.
std::string HeaderDate(const TTime& local);

// The text as part of a URL, "@" left alone.
std::string EncodeForUrl(std::string_view text);

}  // namespace brevant
