// The plain-text view of HTML content.
#pragma once

#include <brevant/board.h>
#include <brevant/frame.h>

#include <string>
#include <string_view>

namespace brevant {

struct TPlainTextRules {
  // The HTML is UTF-8, and references become UTF-8 characters; else both mean ISO-8859-1 bytes.
  bool isUtf8 = false;
  // Scripts and style sheets are left out.
  bool dropsScripts = false;
  // The text is a form's lines: every block stands on lines of its own and nothing is written for
  // an element, and a "?" ends no decoding.
  bool isForm = false;
};

// The words of the HTML with a blank between them, and a text for each start tag that has one: line
// ends for blocks and rows, "* " for list items, a line of hyphens for a rule, "[IMAGE]". The title
// is left out. References up to the first "?" of the text become characters. Zero bytes go.
std::string HtmlToPlainText(std::string_view html, TPlainTextRules rules = {});

// That of an item's content, as the settings "Decode Mail Text" and "Safe HTML" want it; setup may
// be null.
std::string PlainTextContent(TMail& item, const TSetup* setup);

}  // namespace brevant
