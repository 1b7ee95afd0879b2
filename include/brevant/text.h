// The plain-text view of messages whose content is HTML.
#pragma once

#include <brevant/board.h>

extern "C" {
// The content of an open message, taken as HTML, as plain text: its words in their order; an empty
// line for a paragraph, a new line for a line break, a quotation, a list, a table and its rows,
// "* " for a list item, hyphens for a rule, "[IMAGE]" for an image; nothing for other tags and for
// the title. References up to the first "?" of the text become characters. Zero bytes are left out.
// Characters are ISO-8859-1 bytes, and other bytes stay as they are stored; when "Decode Mail Text"
// is set in the settings given to InitializeBrevant, the text is UTF-8. With "Safe HTML" scripts
// and style sheets are left out. A zero-terminated text that the caller owns and gives to
// FreePlainTextContent; null for a null message or when memory runs out. The position in the
// content ends behind it.
BREVANT_API char* GetPlainTextContent(TMail* message) BREVANT_EXPORTED_AS(GetPlainTextContent);
// Frees such a text; null is ignored.
BREVANT_API void FreePlainTextContent(char* text) BREVANT_EXPORTED_AS(FreePlainTextContent);
}
