// A visitor's text in a tag that the template's author wrote ("Safe HTML").
#pragma once

#include <string>
#include <string_view>

namespace brevant {

// Whether a visitor's text may be written at the end of a tag that is being written, of which
// openTag is what stands behind the "<": only into values of attributes, not into scripts and style
// sheets, and into an address only when that leads, or with its beginning in the template leads, to
// nothing that runs. An address that is loaded with the page has to be a file of the site, unless
// the template names the server.
bool MayStandInTag(std::string_view openTag, std::string_view text);

// For text that is escaped already: escapes what the quotation marks of the value, or their want,
// make special, and takes control characters out.
void GuardInTag(std::string_view openTag, std::string& text);

// Takes control characters other than tabs and line ends out.
void DropControls(std::string& text);

// Has the text of a "mailto:" query stay one field of it.
void KeepInQuery(std::string& text);

}  // namespace brevant
