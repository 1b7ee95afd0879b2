// Plain text as the HTML of a page.
#include "text/plain_text_page.h"

#include "platform/win32.h"
#include "text/filters.h"

#include <algorithm>

namespace brevant {
namespace {

constexpr std::size_t kShortLineLength = 41;
constexpr std::size_t kShortestRule = 11;

bool IsRule(std::string_view line) {
  return line.size() >= kShortestRule && line.find_first_not_of('-') == std::string_view::npos;
}

}  // namespace

std::string TPlainTextPage::Escaped(std::string_view line) const {
  std::string text(line);
  if (isUtf8_) {
    HtmlEscapeUtf8(text);
  } else {
    HtmlEscape(text);
  }
  return text;
}

// In characters.
std::size_t TPlainTextPage::Length(std::string_view line) const {
  if (!isUtf8_) return line.size();
  const auto starts = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  return static_cast<std::size_t>(std::count_if(line.begin(), line.end(), starts));
}

std::string_view TPlainTextPage::EndOfParagraph() {
  inParagraph_ = false;
  return untaggedStart_ ? "<br>" : "</p>\r\n";
}

std::string TPlainTextPage::BlankLine() {
  if (!textSeen_) return {};
  if (inParagraph_) return std::string(EndOfParagraph());
  ++blankLines_;
  return {};
}

void TPlainTextPage::ShortLine(std::string_view line, std::string& html) {
  if (inParagraph_) {
    html.append(EndOfParagraph()).append(Escaped(line));
  } else if (IsRule(line)) {
    if (!firstLine_) html.append("<hr width=\"90%\">\r\n");
  } else {
    if (!firstLine_) html.append("<br>");
    html.append(Escaped(line));
  }
}

void TPlainTextPage::ParagraphLine(std::string_view line, std::string& html) {
  if (!inParagraph_) {
    if (firstLine_) {
      untaggedStart_ = true;
    } else {
      html.append("<p>");
    }
    inParagraph_ = true;
  }
  html.append(Escaped(line));
}

std::string TPlainTextPage::Line(std::string_view line) {
  const std::size_t text = line.find_first_not_of(" \t");
  if (text == std::string_view::npos) return BlankLine();
  textSeen_ = true;
  std::string html;
  for (; blankLines_ > 0; --blankLines_) html.append("<br>\r\n");
  const char first = line[text];
  const bool isShort = first == '*' || first == '-' || first == '>' ||
                       (!inParagraph_ && Length(line) < kShortLineLength);
  if (isShort) {
    ShortLine(line, html);
  } else {
    ParagraphLine(line, html);
  }
  html.append("\r\n");
  firstLine_ = false;
  return html;
}

}  // namespace brevant
