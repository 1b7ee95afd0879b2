// The page writer: an HTML tokenizer that is fed a template, hands the template tags in it to a
// dispatcher and keeps everything else as a list of items, from which the page is rendered.
#pragma once

#include "text/page_field.h"
#include "text/page_items.h"
#include "text/sections.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace brevant {

// One item as callers see it. The text of a start tag stands between "<" and ">", that of an end
// tag between "</" and ">"; words may hold blanks that came out of fields. Valid until the writer
// is fed or changed.
struct TItem {
  TItemKind kind = TItemKind::kWord;
  bool fromField = false;  // tags: the "<" came out of a field
  std::string_view text;
  bool goesOn = false;  // words: the next one is the rest of it, no blank stands between them
};

// One attribute of a start tag. The value is as written, without its quotes (entities and URL
// encoding undecoded), empty when there is none. Valid until the writer is fed or changed.
struct TAttribute {
  std::size_t item = 0;
  std::string_view name;
  std::string_view value;
  bool fromField = false;  // at least one byte of the value came out of a field
  // Where it stands in the item's text; for SetAttributeValue and for going on after it.
  std::size_t nameBegin = 0;
  std::size_t valueBegin = 0;  // behind an opening quote
  std::size_t end = 0;         // behind the value and its closing quote
  char quote = 0;              // '"', '\'' or 0
  bool hasValue = false;       // there was a "="
};

// Behind the element name of a start tag's text; the end of the text for what is no element.
std::size_t BehindElementName(std::string_view tag);
// The attribute of a start tag's text at or behind an offset, without item and fromField; false
// when there are no more. Go on at its end, but always behind the last offset.
bool ReadAttribute(std::string_view tag, std::size_t at, TAttribute* attribute);

// What the writer wants of whoever expands tags.
class TTagDispatcher {
 public:
  virtual ~TTagDispatcher() = default;

  // Expands the text between the two marks of a tag into the page.
  virtual void Dispatch(TPageWriter& page, std::string_view tag) = 0;
  // Writes a registered request for the object that is current.
  virtual void ExpandRequest(TPageWriter& page, const TSectionRequest& request) = 0;
  // The objects that sections walk; null: every section has none.
  virtual TSectionObjects* SectionObjects() = 0;
  // The message of the last failure, written into the page and cleared by the dispatcher when a
  // field fails.
  virtual void SetLastError(std::string_view message) = 0;
};

class TPageWriter {
 public:
  static constexpr std::size_t kTokenLimit = 4096;
  static constexpr std::size_t kTagLimit = 256;

  // Switches that page fields consult before they filter a value; both are on at first.
  enum TFilterFlags : unsigned { kFilterEscape = 1, kFilterUrl = 2 };

  // Without a dispatcher no template tag is recognised. It is not owned.
  explicit TPageWriter(TTagDispatcher* dispatcher = nullptr);
  TPageWriter(const TPageWriter&) = delete;
  TPageWriter& operator=(const TPageWriter&) = delete;

  // --- Feeding -----------------------------------------------------------------------------------
  // Takes the next bytes, of a template or of a field's value; they may be cut anywhere.
  void Feed(std::string_view bytes);
  // Ends the page: a template tag or HTML tag still open becomes text, the last word is produced.
  void Flush();
  // Repeats the parts of the registered sections. After Flush; without a dispatcher nothing.
  void ExpandSections();
  // Feeds a whole template file; neither flushes nor reports. 0 when it cannot be read.
  int FeedFile(const char* path);
  // For fields: feeds a sub-template as template text inside a value. Tags in it are recognised and
  // its sections are repeated at once, while the field's object is current. 0 when the file cannot
  // be read ("Cannot open template %s" is the dispatcher's last error) or is being fed already.
  int FeedSubTemplate(const char* path);
  // The same with the bytes at hand; name tells sub-templates apart.
  int FeedSubTemplate(std::string_view name, std::string_view bytes);

  // True between "<" and ">": a value is written into an attribute.
  bool InTag() const { return inTag_; }
  // What stands behind the "<" so far; empty outside HTML tags. Valid until the writer is fed.
  std::string_view OpenTagText() const {
    return inTag_ ? std::string_view(items_.text).substr(tokenBegin_) : std::string_view();
  }
  bool IsLiteral() const { return literal_; }
  bool LineBreakSeen() const { return lineBreakSeen_; }
  // Has words beyond the token limit go on in the next item instead of losing their rest. Tags keep
  // the limit.
  void KeepLongWords(bool on) { keepsLongWords_ = on; }
  // Characters that fell to the token limit.
  std::uint64_t Dropped() const { return dropped_; }
  unsigned Filters() const { return filters_; }
  void SetFilters(unsigned flags) { filters_ = flags; }
  TTagDispatcher* Dispatcher() const { return dispatcher_; }

  // The newest of the times added; zero at first.
  const TTime& SourceTime() const { return sourceTime_; }
  void AddSourceTime(const TTime& time);

  // --- For the dispatcher ------------------------------------------------------------------------
  // Writes text as ordinary text, in literal mode: an unknown tag, or an error message (which
  // counts as a field's bytes).
  void WriteLiteral(std::string_view text, bool fromField = false);
  // Has a selected field write its value: literal mode on, bytes marked as a field's. Its result.
  int WriteField(TPageField& field, TFieldArguments arguments);
  // Registers a request unless one with its text is known, and writes its marker.
  void AddSection(TSectionRequest&& request);
  const std::deque<TSectionRequest>& Sections() const { return sections_; }

  // --- The items ---------------------------------------------------------------------------------
  std::size_t ItemCount() const { return items_.entries.size(); }
  // Forgets the items produced so far, for a reader that has done with them. Without a dispatcher
  // only: sections refer to items.
  void ForgetItems();
  TItem Item(std::size_t index) const {
    const TItemKind kind = items_.Kind(index);
    if (kind == TItemKind::kSpace) return {kind, false, " ", false};
    return {kind, items_.Has(index, TPageItems::kOpenedByField), items_.Text(index),
            items_.Has(index, TPageItems::kGoesOn)};
  }
  // The next attribute of that name (over its full length, ignoring letter case) in any start tag,
  // at or behind item `from` and, in that item, behind `offset`. False when there is none.
  // Comments and declarations have no attributes. Successive finds:
  //   for (bool found = page.FindAttribute("HREF", &a); found; found = page.FindAttribute("HREF",
  //        &a, a.item, a.end))
  bool FindAttribute(std::string_view name, TAttribute* attribute, std::size_t from = 0,
                     std::size_t offset = 0) const;
  // Replaces the value of a found attribute; quotes are put around it where it needs them (a
  // quotation mark of the same sort in it becomes its entity). attribute is brought up to date, so
  // that a search goes on behind it. False when the tag would grow too long (65535 bytes).
  bool SetAttributeValue(TAttribute* attribute, std::string_view value);

  // --- The page ----------------------------------------------------------------------------------
  // In diagnostic mode the page is rendered as one numbered item a line.
  void SetDiagnosticMode(bool on) { diagnostic_ = on; }
  // Takes the next bytes of a page; false when no more are wanted.
  using TTakePiece = std::function<bool(std::string_view piece)>;
  // Hands the page on as it is saved: lines below 80 characters, ended by CR LF. The pieces are
  // small, so a long page is not in memory a second time. False when not all was wanted.
  bool RenderTo(const TTakePiece& take) const;
  // All of that at once.
  std::string Render() const;
  // Renders into a file, created anew. 1, or 0 when it cannot be written.
  int Save(const char* path) const;
  // Writes the part of the page around the first marker of a registered section to "section.htm"
  // in the current directory, for diagnosis; before ExpandSections. 1 or 0.
  int SaveSection(std::size_t section) const;

 private:
  friend class TSectionExpander;

  // How bytes are taken for the length of one value.
  class TMode {
   public:
    TMode(TPageWriter& page, bool literal, bool fromField)
        : page_(page), literal_(page.literal_), fromField_(page.fromField_) {
      page.literal_ = literal;
      page.fromField_ = fromField;
    }
    ~TMode() {
      page_.literal_ = literal_;
      page_.fromField_ = fromField_;
    }
    TMode(const TMode&) = delete;
    TMode& operator=(const TMode&) = delete;

   private:
    TPageWriter& page_;
    bool literal_;
    bool fromField_;
  };

  bool TakesTags() const { return dispatcher_ != nullptr && !literal_; }
  const char* FeedTagText(const char* at, const char* end);
  const char* FeedHtmlTag(const char* at, const char* end);
  const char* FeedPlainText(const char* at, const char* end);
  void StartCollecting(char mark);
  void Abandon(char current);
  void EndCollecting();
  void WriteBackOpenTag();

  std::size_t TokenLength() const { return items_.text.size() - tokenBegin_; }
  bool TokenHasSpans() const {
    return !items_.spans.empty() && items_.spans.back().item == items_.entries.size();
  }
  void AppendToToken(std::string_view run) {
    tokenOfField_ = fromField_ && (tokenOfField_ || TokenLength() == 0);
    if (TokenLength() + run.size() > kTokenLimit) {
      AppendBeyondLimit(run);
      return;
    }
    items_.text.append(run);
    if (inTag_ && fromField_) MarkFieldBytes(run.size());
  }
  void AppendBeyondLimit(std::string_view run);
  void MarkFieldBytes(std::size_t count);
  bool SplitAtBlank();
  unsigned WordFlags(bool marked) const {
    if (marked) return TPageItems::kSpans;
    return tokenOfField_ ? TPageItems::kAllField : TPageItems::kNoFlags;
  }
  void Drop(std::size_t count);
  void ProduceWord(unsigned flags = 0) {
    if (TokenLength() == 0) return;
    items_.Add(TItemKind::kWord, tokenBegin_, TokenLength(), WordFlags(TokenHasSpans()) | flags);
    tokenBegin_ = items_.text.size();
  }
  void OpenTag();
  void CloseTag();
  void TagToWord();
  unsigned CloseSpans(std::size_t length, std::size_t slash);
  void WriteMarker(std::string_view text, std::int32_t section);
  void ReplaceItemText(std::size_t item, std::string_view text);
  bool HasMarkersFrom(std::size_t item) const;
  int FeedNested(std::string_view name, std::string_view bytes, const char* path);

  TTagDispatcher* dispatcher_;
  TPageItems items_;
  std::size_t tokenBegin_ = 0;  // the token is the end of the items' text from here on
  std::string tag_;
  std::deque<TSectionRequest> sections_;  // requests stay where they are while others are added
  std::unordered_map<std::string, std::int32_t> sectionNumbers_;  // by text
  std::vector<std::string> subTemplates_;                         // being fed, outermost first
  TTime sourceTime_;
  std::uint64_t dropped_ = 0;
  std::size_t cutToken_ = 0;  // the items before the last token that was cut, and one
  unsigned filters_ = kFilterEscape | kFilterUrl;
  char previous_ = 0;
  char mark_ = 0;  // what the template tag being collected began with
  bool collecting_ = false;
  bool inTag_ = false;
  bool tagOpenedByField_ = false;
  bool tokenOfField_ = false;  // the whole token came out of a field
  bool literal_ = false;
  bool fromField_ = false;
  bool sectionsAtOnce_ = false;  // in a sub-template inside an HTML tag: there are no parts
  bool lineBreakSeen_ = false;
  bool keepsLongWords_ = false;
  bool diagnostic_ = false;
};

}  // namespace brevant
