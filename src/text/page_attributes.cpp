// The attributes of the page's start tags: finding them and giving them new values.
#include "platform/win32.h"
#include "store/ascii.h"
#include "text/page_writer.h"

#include <algorithm>

namespace brevant {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

std::size_t SkipBlanks(std::string_view text, std::size_t at) {
  while (at < text.size() && IsBlank(text[at])) ++at;
  return at;
}

void ReadValue(std::string_view text, std::size_t at, TAttribute* attribute) {
  attribute->hasValue = true;
  at = SkipBlanks(text, at);
  std::size_t end = at;
  if (at < text.size() && (text[at] == '"' || text[at] == '\'')) {
    attribute->quote = text[at];
    attribute->valueBegin = at + 1;
    end = std::min(text.find(text[at], at + 1), text.size());
    attribute->end = std::min(end + 1, text.size());
  } else {
    while (end < text.size() && !IsBlank(text[end])) ++end;
    attribute->valueBegin = at;
    attribute->end = end;
  }
  attribute->value = text.substr(attribute->valueBegin, end - attribute->valueBegin);
}

bool NeedsQuotes(std::string_view value) {
  return value.empty() || std::any_of(value.begin(), value.end(), [](char c) {
           return IsBlank(c) || c == '"' || c == '\'' || c == '=' || c == '`' || c == '>';
         });
}

// The value between quotes of its sort, without ">" which would end the tag.
std::string Quoted(std::string_view value, char quote) {
  std::string text;
  text += quote;
  for (char c : value) {
    if (c == quote) {
      text += quote == '"' ? "&quot;" : "&#39;";
    } else if (c == '>') {
      text += "&gt;";
    } else {
      text += c;
    }
  }
  return text + quote;
}

}  // namespace

std::size_t BehindElementName(std::string_view text) {
  if (!text.empty() && (text[0] == '!' || text[0] == '?')) return text.size();
  std::size_t at = SkipBlanks(text, 0);
  while (at < text.size() && !IsBlank(text[at]) && text[at] != '/') ++at;
  return at;
}

bool ReadAttribute(std::string_view text, std::size_t at, TAttribute* attribute) {
  while (at < text.size() && (IsBlank(text[at]) || text[at] == '/')) ++at;
  if (at >= text.size()) return false;
  *attribute = TAttribute();
  attribute->nameBegin = at;
  // A "=" at the very beginning belongs to the name, so that every step gets on.
  do {
    ++at;
  } while (at < text.size() && !IsBlank(text[at]) && text[at] != '/' && text[at] != '=');
  attribute->name = text.substr(attribute->nameBegin, at - attribute->nameBegin);
  attribute->valueBegin = attribute->end = at;
  const std::size_t equals = SkipBlanks(text, at);
  if (equals < text.size() && text[equals] == '=') ReadValue(text, equals + 1, attribute);
  return true;
}

bool TPageWriter::FindAttribute(std::string_view name, TAttribute* attribute, std::size_t from,
                                std::size_t offset) const {
  for (std::size_t item = from; item < items_.entries.size(); ++item, offset = 0) {
    if (items_.Kind(item) != TItemKind::kStartTag) continue;
    const std::string_view text = items_.Text(item);
    if (text.size() < name.size()) continue;
    std::size_t at = std::max(offset, BehindElementName(text));
    TAttribute found;
    while (ReadAttribute(text, at, &found)) {
      if (EqualsIgnoreCase(found.name, name)) {
        found.item = item;
        found.fromField =
            items_.OutOfField(item, found.valueBegin, found.valueBegin + found.value.size());
        *attribute = found;
        return true;
      }
      at = std::max(found.end, at + 1);
    }
  }
  return false;
}

bool TPageWriter::SetAttributeValue(TAttribute* attribute, std::string_view value) {
  const std::string_view text = items_.Text(attribute->item);
  char quote = attribute->quote;
  if (quote == 0 && (!attribute->hasValue || NeedsQuotes(value))) quote = '"';
  std::string changed(text.substr(0, attribute->nameBegin + attribute->name.size()));
  changed += '=';
  if (quote != 0) {
    changed += Quoted(value, quote);
  } else {
    changed += value;
  }
  if (attribute->end < text.size() && !IsBlank(text[attribute->end])) changed += ' ';
  const std::size_t behind = changed.size();
  changed += text.substr(attribute->end);
  if (changed.size() > TPageItems::kLongest) return false;
  items_.MoveSpans(attribute->item, attribute->valueBegin, attribute->end, behind);
  ReplaceItemText(attribute->item, changed);
  const std::size_t item = attribute->item;
  const bool fromField = items_.Has(item, TPageItems::kAllField);
  ReadAttribute(items_.Text(item), attribute->nameBegin, attribute);
  attribute->item = item;
  attribute->fromField = fromField;
  return true;
}

// The token stands at the end of the buffer and stays there.
void TPageWriter::ReplaceItemText(std::size_t item, std::string_view text) {
  const std::string token = items_.text.substr(tokenBegin_);
  items_.text.resize(tokenBegin_);
  items_.Replace(item, text);
  tokenBegin_ = items_.text.size();
  items_.text += token;
}

}  // namespace brevant
