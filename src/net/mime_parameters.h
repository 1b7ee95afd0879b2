// Values and parameters of header fields such as
//   multipart/mixed; boundary="x"
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brevant {

// The parameter as written name="...": the name in just these letters, quotes required, up to the
// next quote or the end. Nothing when it is not there in this form.
std::optional<std::string> FindQuotedParameter(std::string_view value, std::string_view name);

// The parameter as RFC 2045 and RFC 2231 have it: names in any letter case, blanks around "=",
// values quoted or not, continuations (name*0, name*1), percent-encoded bytes (name*). The
// character set that an encoded value names is dropped, its bytes stay.
std::optional<std::string> FindParameter(std::string_view value, std::string_view name);

// What stands before the parameters, without blanks and comments: "text/html".
std::string MainValue(std::string_view value);

}  // namespace brevant
