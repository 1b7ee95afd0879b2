// Addresses in what visitors wrote, as a browser reads them.
#pragma once

#include <string>
#include <string_view>

namespace brevant {

// The value of an attribute as it stands in HTML, brought into the one form that no browser reads
// otherwise: what references stand for instead of them, without control characters and without
// blanks at its ends, ready to stand between double quotation marks. References to characters of
// 128 or more stay references.
std::string CanonicalAddress(std::string_view value);

// Whether an address, of either form, begins with "http://", "https://", "ftp://" or "mailto:" as a
// browser reads it.
bool IsSafeAddress(std::string_view address);

// Whether an address has no scheme, so that nothing but a file of the same site can be meant: no
// "scheme:", no two slashes of either kind at its beginning.
bool IsRelativeAddress(std::string_view address);

}  // namespace brevant
