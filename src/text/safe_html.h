// What visitors wrote in HTML, reduced to what can do no harm ("Safe HTML").
#pragma once

#include "text/page_writer.h"
#include "text/safe_tree.h"

#include <string>
#include <string_view>
#include <vector>

namespace brevant {

// Takes HTML in pieces and gives safe HTML: elements and attributes of the allow-list, closed and
// nested as they should be, with their values between double quotation marks; links by http, https,
// ftp and mailto and to the message's own files; of images only those files, others become their
// text or a link. Scripts and style sheets go with what they hold, comments and declarations too;
// of all other elements only what they hold is left. Memory is bounded, time linear.
//
// The text is bytes of any character set that holds ASCII.
class TSafeHtml {
 public:
  // ownFiles: the names of the files that came with the message, relative to its page.
  explicit TSafeHtml(std::vector<std::string> ownFiles = {});

  // The next piece, cut anywhere.
  void Take(std::string_view html);
  // Ends the text: closes what is open. A tag that is cut off becomes text.
  void Finish();
  // What is ready; the caller may take it away.
  std::string& Html() { return html_; }

 private:
  enum class TState { kText, kTag, kComment, kDropped };

  std::string_view TakeText(std::string_view html);
  std::string_view TakeLess(std::string_view html);
  std::string_view TakeTag(std::string_view html);
  std::string_view TakeQuoted(std::string_view html);
  std::string_view TakeComment(std::string_view html);
  std::string_view TakeDropped(std::string_view html);
  void FeedTag(std::string_view bytes);
  bool IsTagFull() const { return tokens_.OpenTagText().size() >= TPageWriter::kTokenLimit; }
  bool IsOpenQuote();
  void EndTag();
  void TakeItems();
  void WriteText(std::string_view text);
  void StartElement(std::string_view tag);
  void EndElement(std::string_view tag);
  std::string Attributes(const TSafeElement& element, std::string_view tag) const;
  void WriteLink(const TSafeElement& element, std::string_view tag);
  void WriteImage(const TSafeElement& element, std::string_view tag);
  bool IsOwnFile(std::string_view address) const;
  bool EndsComment(std::string_view html, std::size_t greater) const;

  std::vector<std::string> ownFiles_;
  TPageWriter tokens_;
  std::string html_;
  TSafeTree tree_;
  TState state_ = TState::kText;
  bool afterWord_ = false;        // a word was written last, and the next one is not its rest
  bool less_ = false;             // a "<" whose next character is not there yet
  char quote_ = 0;                // the tag is inside a value with a ">" in it
  std::size_t attributesTo_ = 0;  // the tag's attributes before this are whole
  std::string tail_;              // last bytes of the tag or of what is dropped
  std::string_view dropped_;      // the element whose text is dropped
};

}  // namespace brevant
