// How the text parts of one mail become one item's content.
#pragma once

#include "text/charset.h"

#include <brevant/board.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brevant {

// An image that a mail brought: its stored name, the name that is shown where it cannot be, and the
// identifier ("cid:...") by which the mail's HTML refers to it, or an empty text.
struct TInlineImage {
  std::string storedName;
  std::string shownName;
  std::string contentId;
};

// Writes an item's content as its parts are read. An HTML part replaces plain text; a further part
// of the same type is appended; plain text after HTML (the footer of a mailing list) is appended
// escaped, its lines ended with <br>.
//
// With decodeText the texts of images are UTF-8, parts of different character sets become UTF-8
// together, and text that is UTF-8 without saying so gets that label. The bytes of a single part
// stay as they are in any case.
class TMessageText {
 public:
  TMessageText(TMail& mail, bool decodeText) : mail_(mail), decodeText_(decodeText) {}

  // Starts a part; charset null or empty counts as iso-8859-1.
  void BeginPart(bool html, const char* charset);
  void Append(std::string_view text);
  void EndPart();
  // Writes what is still buffered, the references of the images (into HTML only), "Document Type"
  // and, when there was a text part, "CHARSET". False when something could not be written whole.
  bool Finish(const std::vector<TInlineImage>& images);

  // Whether no part has given any text but white space.
  bool Empty() const { return empty_; }
  // False from the first failed write on.
  bool Good() const { return good_; }

 private:
  enum class TMode { kCopy, kEscape };

  void JoinCharset(const std::string& added, bool named);
  bool BecomeUtf8(TCharset present);
  void PutText(std::string_view text);
  void Put(std::string_view text);
  void PutEscaped(std::string_view text);
  void Flush();
  void Restart();
  std::optional<std::string> WrittenSoFar();
  std::vector<TInlineImage> ShowImages(const std::vector<TInlineImage>& images);
  std::string ImageReference(const TInlineImage& image) const;

  TMail& mail_;
  bool decodeText_;
  std::string buffer_;
  std::string charset_;
  bool charsetNamed_ = false;            // by the part that the text began with
  std::optional<TTextDecoder> decoder_;  // of a part that joins text of another character set
  TUtf8Check check_;
  TMode mode_ = TMode::kCopy;
  bool html_ = false;
  bool started_ = false;
  bool empty_ = true;
  bool good_ = true;
  char last_ = '\n';  // of the content so far
  bool carriageReturn_ = false;
};

// The text with the characters that mean something in HTML as entities.
std::string EscapeHtml(std::string_view text);
// The same of UTF-8, with numeric references for what is not ASCII: it fits into a page of any
// character set.
std::string EscapeHtmlToAscii(std::string_view utf8);

// html with every "cid:" reference to one of the images replaced by its stored name; seen says for
// each image whether there was one. Of two images with one identifier the first is meant.
std::string ReplaceContentIds(std::string_view html, const std::vector<TInlineImage>& images,
                              std::vector<bool>& seen);

}  // namespace brevant
