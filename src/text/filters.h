// The text filters of page fields and tags, and the entity table behind two of them. All work in
// place, on bytes or on UTF-8; a "?" ends the work of all but the escaping filter, so that the
// query part of a link stays as it was written.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace brevant {

struct TEntity {
  std::string_view name;    // without "&" and ";"; letter case counts
  unsigned char character;  // ISO 8859-1
};

// All of them, sorted by name.
std::span<const TEntity> EntityTable();
// The character that a name stands for.
std::optional<unsigned char> EntityCharacter(std::string_view name);
// The name of a character, empty when it has none. Code points above 255 have none.
std::string_view EntityName(unsigned codePoint);

// Every quotation mark, "&", "<", ">" and byte of 128 or more becomes its entity; bytes of 128 or
// more without a name are copied as they are.
void HtmlEscape(std::string& text);
// Up to the first "?": every "&name" that ends at ";", a blank or the end of the text becomes its
// character; the ";" goes with it. Unknown names stay.
void HtmlDecode(std::string& text);
// Up to the first "?": every blank, "#", "%" and byte of 128 or more becomes "%" and two upper-case
// hexadecimal digits.
void UrlEncode(std::string& text);
// Up to the first "?": every "%" with two hexadecimal digits becomes that byte, NUL included;
// any other "%" stays.
void UrlDecode(std::string& text);

// The same for UTF-8 text, where pages may declare any character set: characters of 128 or more
// that have no name become numeric references, and broken sequences that of the replacement
// character.
void HtmlEscapeUtf8(std::string& text);
// The same for characters of 128 or more alone: markup stays what it is.
void ReferUtf8(std::string& text);
// Up to the first "?": names become UTF-8 characters, and numeric references too. A number that is
// no character, 0 among them, gives the replacement character; 128 to 159 mean windows-1252.
void HtmlDecodeToUtf8(std::string& text);
// For a text that HtmlEscapeUtf8 goes over afterwards: leaves it the characters of 128 or more that
// have a name, and encodes the bytes of all others.
void UrlEncodeUtf8(std::string& text);

}  // namespace brevant
