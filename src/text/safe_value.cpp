#include "text/safe_value.h"

#include "platform/win32.h"
#include "store/ascii.h"
#include "text/page_writer.h"
#include "text/safe_link.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace brevant {
namespace {

// The value that is being written.
struct TOpenValue {
  bool isOpen = false;
  std::string_view element;
  std::string_view name;
  std::string_view begun;  // what stands in it already
  char quote = 0;
};

TOpenValue FindOpenValue(std::string_view tag) {
  TOpenValue open;
  TAttribute attribute;
  std::size_t at = BehindElementName(tag);
  open.element = tag.substr(0, at);
  while (ReadAttribute(tag, at, &attribute)) {
    const std::size_t valueEnd = attribute.valueBegin + attribute.value.size();
    open.isOpen = attribute.hasValue && valueEnd == tag.size();
    open.name = attribute.name;
    open.begun = attribute.value;
    open.quote = attribute.quote;
    at = std::max(attribute.end, at + 1);
  }
  return open;
}

template <std::size_t N>
bool IsOneOf(std::string_view text, const std::array<std::string_view, N>& list) {
  return std::any_of(list.begin(), list.end(),
                     [text](std::string_view one) { return EqualsIgnoreCase(text, one); });
}

enum class TAddressUse { kNone, kFollowed, kLoaded };

TAddressUse AddressUse(const TOpenValue& value) {
  constexpr std::array<std::string_view, 4> kFollowed = {"action", "cite", "formaction",
                                                         "longdesc"};
  constexpr std::array<std::string_view, 14> kLoaded = {
      "archive", "background", "classid",  "code", "codebase", "data", "dynsrc",
      "icon",    "lowsrc",     "manifest", "ping", "poster",   "src",  "srcset"};
  if (EqualsIgnoreCase(value.name, "href")) {
    const bool isLink =
        EqualsIgnoreCase(value.element, "a") || EqualsIgnoreCase(value.element, "area");
    return isLink ? TAddressUse::kFollowed : TAddressUse::kLoaded;
  }
  if (IsOneOf(value.name, kFollowed)) return TAddressUse::kFollowed;
  const bool isLoaded = IsOneOf(value.name, kLoaded) || EqualsIgnoreCase(value.name, "xlink:href");
  return isLoaded ? TAddressUse::kLoaded : TAddressUse::kNone;
}

// What no filter can make safe: code.
bool IsCode(std::string_view name) {
  return EqualsIgnoreCase(name.substr(0, 2), "on") || EqualsIgnoreCase(name, "style") ||
         EqualsIgnoreCase(name, "srcdoc");
}

// The scheme that the template itself begins an address with, such as "tel"; empty without one.
std::string_view AuthorsScheme(std::string_view begun) {
  const std::size_t colon = begun.find(':');
  const bool isScheme = colon != std::string_view::npos && begun.find_first_of("/\\?#") > colon;
  return isScheme ? begun.substr(0, colon) : std::string_view();
}

bool NamesServer(std::string_view begun) {
  const std::size_t server = begun.find("//");
  return server != std::string_view::npos && begun.find('/', server + 2) != std::string_view::npos;
}

bool IsSafeIn(TAddressUse use, std::string_view begun, std::string_view text) {
  std::string whole(begun);
  whole.append(text);
  if (IsRelativeAddress(whole)) return true;
  if (use == TAddressUse::kLoaded) return NamesServer(begun);
  constexpr std::array<std::string_view, 3> kCode = {"data", "javascript", "vbscript"};
  const std::string_view scheme = AuthorsScheme(begun);
  return IsSafeAddress(whole) || NamesServer(begun) || (!scheme.empty() && !IsOneOf(scheme, kCode));
}

}  // namespace

bool MayStandInTag(std::string_view openTag, std::string_view text) {
  const TOpenValue value = FindOpenValue(openTag);
  if (!value.isOpen || IsCode(value.name)) return false;
  const TAddressUse use = AddressUse(value);
  return use == TAddressUse::kNone || IsSafeIn(use, value.begun, text);
}

void DropControls(std::string& text) {
  std::erase_if(text, [](char c) {
    return c == 127 || (static_cast<unsigned char>(c) < 32 && c != '\t' && c != '\r' && c != '\n');
  });
}

void GuardInTag(std::string_view openTag, std::string& text) {
  const TOpenValue value = FindOpenValue(openTag);
  std::string_view special;
  if (value.quote == '\'') special = "'";
  if (value.quote == 0) special = " \t\r\n\f\v'\"=<>`";
  if (text.find_first_of(special) == std::string::npos) return;
  std::string guarded;
  for (const char c : text) {
    if (special.find(c) == std::string_view::npos) {
      guarded += c;
    } else {
      guarded.append("&#").append(std::to_string(static_cast<int>(c))).append(1, ';');
    }
  }
  text.swap(guarded);
}

void KeepInQuery(std::string& text) {
  std::string kept;
  for (const char c : text) {
    switch (c) {
      case '%':
        kept += "%25";
        break;
      case '&':
        kept += "%26";
        break;
      case '#':
        kept += "%23";
        break;
      default:
        kept += c;
    }
  }
  text.swap(kept);
}

}  // namespace brevant
