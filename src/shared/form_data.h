// Web forms that arrive by mail: name=value pairs, URL-encoded.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brevant {

struct TFormField {
  std::string name;
  std::string value;
};

// The fields of a URL-encoded form in their order, at most kMostFormFields of them. Line breaks
// that mail put into the text are no part of it. A "%" that two hexadecimal digits do not follow
// stands for itself; a field without "=" has an empty value. Zero bytes become blanks.
inline constexpr std::size_t kMostFormFields = 256;
std::vector<TFormField> ParseUrlEncoded(std::string_view text);

// The fields of a form that a browser handed to a mail program as the text of a mail: lines
// "name=value" as they are, each of them also together with the lines that a mail program may have
// wrapped it into, and lines without a blank as URL-encoded text too. So a form gives fields that
// it never had, and a text that is none may give some. At most kMostFormFields.
std::vector<TFormField> ParsePlainForm(std::string_view text);

// Turns names and values into UTF-8, out of the character set of that label; without one out of the
// one that the form's field "_charset_" names.
void DecodeForm(std::vector<TFormField>& fields, const std::string& label);

// Whether a form may set an item's value of that name: not what the board itself relies on, and no
// name that is empty, too long for a record or holds a control character.
bool FormMaySet(std::string_view name);

}  // namespace brevant
