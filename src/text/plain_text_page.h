// Plain text as the HTML of a page: paragraphs, short lines and rules.
#pragma once

#include <string>
#include <string_view>

namespace brevant {

// Turns the lines of one text into HTML, one line after the other.
class TPlainTextPage {
 public:
  // isUtf8: the lines are UTF-8 and become ASCII; else bytes mean themselves.
  explicit TPlainTextPage(bool isUtf8 = false) : isUtf8_(isUtf8) {}
  // The HTML that line adds. line is one whole line of the text without its line end.
  std::string Line(std::string_view line);

 private:
  std::string Escaped(std::string_view line) const;
  std::size_t Length(std::string_view line) const;
  std::string BlankLine();
  void ShortLine(std::string_view line, std::string& html);
  void ParagraphLine(std::string_view line, std::string& html);
  std::string_view EndOfParagraph();

  bool isUtf8_;
  bool inParagraph_ = false;
  bool firstLine_ = true;
  bool textSeen_ = false;
  // Set when the first line began a paragraph without a tag, and never cleared: every later
  // paragraph of such a text ends with a line break although it begins with a tag.
  bool untaggedStart_ = false;
  int blankLines_ = 0;
};

}  // namespace brevant
