#include "text/page_writer.h"

#include "platform/win32.h"
#include "text/section_expander.h"

#include <algorithm>
#include <array>
#include <utility>

namespace brevant {
namespace {

// What ends a run of plain characters, a bit for each state of the writer.
enum TRunEnd : unsigned char {
  kEndsText = 1,
  kEndsTextWithTags = 2,
  kEndsLiteral = 4,
  kEndsHtmlTag = 8,
  kEndsHtmlTagWithTags = 16,
  kEndsTagText = 32,
};

// Inside HTML tags a pair of guillemets encloses a template tag too.
constexpr char kOpenMark = '\xBB';
constexpr char kCloseMark = '\xAB';

constexpr std::array<unsigned char, 256> RunEnds() {
  constexpr unsigned char kTexts = kEndsText | kEndsTextWithTags;
  constexpr unsigned char kHtmlTags = kEndsHtmlTag | kEndsHtmlTagWithTags;
  std::array<unsigned char, 256> ends{};
  ends['\r'] = ends['\n'] = kTexts | kEndsLiteral | kHtmlTags | kEndsTagText;
  ends[' '] = kTexts | kEndsTagText;
  ends['<'] = kTexts | kEndsLiteral;
  ends['>'] = kHtmlTags;
  ends['$'] = kEndsTextWithTags | kEndsHtmlTagWithTags | kEndsTagText;
  ends[static_cast<unsigned char>(kOpenMark)] = kEndsHtmlTagWithTags;
  ends[static_cast<unsigned char>(kCloseMark)] = kEndsTagText;
  return ends;
}
constexpr std::array<unsigned char, 256> kRunEnds = RunEnds();

const char* EndOfRun(const char* at, const char* end, unsigned char state) {
  while (at != end && (kRunEnds[static_cast<unsigned char>(*at)] & state) == 0) ++at;
  return at;
}

std::string_view Between(const char* begin, const char* end) {
  return {begin, static_cast<std::size_t>(end - begin)};
}

}  // namespace

TPageWriter::TPageWriter(TTagDispatcher* dispatcher) : dispatcher_(dispatcher) {}

void TPageWriter::Feed(std::string_view bytes) {
  const char* at = bytes.data();
  const char* const end = at + bytes.size();
  while (at != end) {
    if (collecting_) {
      at = FeedTagText(at, end);
    } else if (inTag_) {
      at = FeedHtmlTag(at, end);
    } else {
      at = FeedPlainText(at, end);
    }
    previous_ = at[-1];
  }
}

const char* TPageWriter::FeedPlainText(const char* at, const char* end) {
  const unsigned char state =
      literal_ ? kEndsLiteral : (dispatcher_ != nullptr ? kEndsTextWithTags : kEndsText);
  for (const char* stop; (stop = EndOfRun(at, end, state)) != at;) {
    AppendToToken(Between(at, stop));
    if (stop == end || *stop != ' ') return stop;
    ProduceWord();
    at = stop + 1;
    previous_ = ' ';
    if (at == end) return at;
  }
  switch (*at) {
    case '$':
      StartCollecting('$');
      break;
    case '<':
      if (TokenLength() != 0) {
        ProduceWord();
      } else if (previous_ == ' ') {
        items_.Add(TItemKind::kSpace, items_.text.size(), 0, 0);
      }
      OpenTag();
      break;
    case ' ':
      if (TokenLength() != 0) {
        ProduceWord();
      } else {
        items_.Add(TItemKind::kSpace, items_.text.size(), 0, 0);
      }
      break;
    case '\n':
      ProduceWord();
      items_.Add(TItemKind::kLineBreak, items_.text.size(), 0, 0);
      lineBreakSeen_ = true;
      break;
    default:  // a carriage return
      break;
  }
  return at + 1;
}

const char* TPageWriter::FeedHtmlTag(const char* at, const char* end) {
  const char* const stop = EndOfRun(at, end, TakesTags() ? kEndsHtmlTagWithTags : kEndsHtmlTag);
  if (stop != at) {
    AppendToToken(Between(at, stop));
    return stop;
  }
  if (*at == '>') {
    CloseTag();
  } else if (*at == '\r' || *at == '\n') {
    const bool comment = TokenLength() != 0 && items_.text[tokenBegin_] == '!';
    AppendToToken(comment ? Between(at, at + 1) : std::string_view(" "));
  } else {
    StartCollecting(*at);
  }
  return at + 1;
}

const char* TPageWriter::FeedTagText(const char* at, const char* end) {
  const char* const stop = EndOfRun(at, end, kEndsTagText);
  if (stop != at) {
    const std::size_t room = kTagLimit - tag_.size();
    const std::string_view run = Between(at, stop);
    tag_.append(run.substr(0, room));
    if (run.size() <= room) return stop;
    Abandon(run[room]);
    return at + room + 1;
  }
  if (*at == '$' || *at == kCloseMark) {
    EndCollecting();
  } else if (*at != '\r' && !tag_.empty() && tag_.back() != ' ') {
    if (tag_.size() == kTagLimit) {
      Abandon(*at);
    } else {
      tag_ += ' ';
    }
  }
  return at + 1;
}

void TPageWriter::StartCollecting(char mark) {
  collecting_ = true;
  mark_ = mark;
  tag_.clear();
}

// The tag is too long to be one: it is ordinary text after all.
void TPageWriter::Abandon(char current) {
  collecting_ = false;
  WriteLiteral("$" + tag_ + current);
}

void TPageWriter::EndCollecting() {
  collecting_ = false;
  // A sub-template that the tag expands to collects tags of its own.
  const std::string tag = std::move(tag_);
  tag_.clear();
  dispatcher_->Dispatch(*this, tag);
}

void TPageWriter::WriteBackOpenTag() {
  if (!collecting_) return;
  collecting_ = false;
  WriteLiteral(mark_ + tag_);
}

void TPageWriter::Flush() {
  WriteBackOpenTag();
  if (inTag_) TagToWord();
  ProduceWord();
}

// Text out of fields is not cut: a word of it ends at a blank and goes on as the next word. Without
// a blank it goes on too where long words are kept.
void TPageWriter::AppendBeyondLimit(std::string_view run) {
  const bool splits = literal_ && !inTag_;
  for (;;) {
    const std::string_view fitting = run.substr(0, kTokenLimit - TokenLength());
    items_.text.append(fitting);
    if (inTag_ && fromField_) MarkFieldBytes(fitting.size());
    run.remove_prefix(fitting.size());
    if (run.empty()) return;
    if (splits && run.front() == ' ') {
      ProduceWord();
      run.remove_prefix(1);
    } else if (splits && SplitAtBlank()) {
      continue;
    } else if (keepsLongWords_ && !inTag_) {
      ProduceWord(TPageItems::kGoesOn);
    } else {
      const std::size_t lost = splits ? std::min(run.find(' '), run.size()) : run.size();
      Drop(lost);
      run.remove_prefix(lost);
      if (!splits) return;
    }
  }
}

// The last count bytes of the token came out of a field.
void TPageWriter::MarkFieldBytes(std::size_t count) {
  if (count == 0) return;
  const auto end = static_cast<std::uint32_t>(TokenLength());
  const auto begin = static_cast<std::uint32_t>(end - count);
  if (TokenHasSpans()) {
    TPageItems::Span& last = items_.spans.back();
    if (last.section == TPageItems::kFieldBytes && last.end == begin) {
      last.end = end;
      return;
    }
  }
  items_.spans.push_back({items_.entries.size(), begin, end, TPageItems::kFieldBytes});
}

// Ends the word at its last blank; what stood behind becomes the token. A marker is not torn apart.
bool TPageWriter::SplitAtBlank() {
  std::vector<TPageItems::Span>& spans = items_.spans;
  const std::size_t item = items_.entries.size();
  const std::string_view token = std::string_view(items_.text).substr(tokenBegin_);
  std::size_t blank = token.rfind(' ');
  std::size_t behind = spans.size();  // the spans from here on stand behind the blank
  while (blank != std::string_view::npos && behind > 0 && spans[behind - 1].item == item) {
    const TPageItems::Span& span = spans[behind - 1];
    if (blank >= span.end) break;
    if (blank >= span.begin) {
      blank = span.begin == 0 ? std::string_view::npos : token.rfind(' ', span.begin - 1);
    }
    --behind;
  }
  if (blank == std::string_view::npos) return false;
  if (blank > 0) {
    const bool marked = behind > 0 && spans[behind - 1].item == item;
    items_.Add(TItemKind::kWord, tokenBegin_, blank, WordFlags(marked));
  }
  for (std::size_t i = behind; i < spans.size(); ++i) {
    spans[i].item = items_.entries.size();
    spans[i].begin -= static_cast<std::uint32_t>(blank + 1);
    spans[i].end -= static_cast<std::uint32_t>(blank + 1);
  }
  tokenBegin_ += blank + 1;
  return true;
}

void TPageWriter::Drop(std::size_t count) {
  dropped_ += count;
  const std::size_t token = items_.entries.size() + 1;
  if (std::exchange(cutToken_, token) != token) MessageBeep(0xFFFFFFFF);
}

void TPageWriter::OpenTag() {
  inTag_ = true;
  tagOpenedByField_ = fromField_;
  tokenBegin_ = items_.text.size();
}

void TPageWriter::CloseTag() {
  inTag_ = false;
  const std::size_t length = TokenLength();
  const std::size_t slash = length != 0 && items_.text[tokenBegin_] == '/' ? 1 : 0;
  unsigned flags = tagOpenedByField_ ? TPageItems::kOpenedByField : TPageItems::kNoFlags;
  if (TokenHasSpans()) flags |= CloseSpans(length, slash);
  items_.Add(slash != 0 ? TItemKind::kEndTag : TItemKind::kStartTag, tokenBegin_ + slash,
             length - slash, flags);
  tokenBegin_ = items_.text.size();
}

// Most tags with spans come out of a field as a whole; a flag says that in less space.
unsigned TPageWriter::CloseSpans(std::size_t length, std::size_t slash) {
  std::vector<TPageItems::Span>& spans = items_.spans;
  const TPageItems::Span& last = spans.back();
  if (last.section == TPageItems::kFieldBytes && last.begin == 0 && last.end == length) {
    spans.pop_back();
    return TPageItems::kAllField;
  }
  if (slash == 0) return TPageItems::kSpans;
  const std::size_t item = items_.entries.size();
  for (std::size_t i = spans.size(); i > 0 && spans[i - 1].item == item; --i) {
    spans[i - 1].begin -= std::min(spans[i - 1].begin, 1U);
    spans[i - 1].end -= 1;
    if (spans[i - 1].end == 0) spans.erase(spans.begin() + static_cast<std::ptrdiff_t>(i - 1));
  }
  return TokenHasSpans() ? TPageItems::kSpans : TPageItems::kNoFlags;
}

// A tag that nothing closes is text: its "<" and what was read of it.
void TPageWriter::TagToWord() {
  inTag_ = false;
  tokenOfField_ = tagOpenedByField_ && (tokenOfField_ || TokenLength() == 0);
  items_.text.insert(tokenBegin_, 1, '<');
  std::vector<TPageItems::Span>& spans = items_.spans;
  const std::size_t item = items_.entries.size();
  for (std::size_t i = spans.size(); i > 0 && spans[i - 1].item == item; --i) {
    ++spans[i - 1].begin;
    ++spans[i - 1].end;
    if (spans[i - 1].section == TPageItems::kFieldBytes) {
      spans.erase(spans.begin() + static_cast<std::ptrdiff_t>(i - 1));
    }
  }
  ProduceWord();
}

void TPageWriter::AddSourceTime(const TTime& time) {
  if (time > sourceTime_) sourceTime_ = time;
}

void TPageWriter::WriteLiteral(std::string_view text, bool fromField) {
  TMode mode(*this, true, fromField || fromField_);
  Feed(text);
}

int TPageWriter::WriteField(TPageField& field, TFieldArguments arguments) {
  TMode mode(*this, true, true);
  return field.Expand(*this, arguments);
}

void TPageWriter::AddSection(TSectionRequest&& request) {
  if (sectionsAtOnce_) {
    TSectionExpander(*this).WriteForAll(request);
    return;
  }
  const auto [known, isNew] =
      sectionNumbers_.try_emplace(request.text, static_cast<std::int32_t>(sections_.size()));
  if (isNew) sections_.push_back(std::move(request));
  const std::int32_t section = known->second;
  WriteMarker("$" + sections_[static_cast<std::size_t>(section)].text + "$", section);
}

// The marker goes into the token as it is: arguments may hold "<", blanks or line ends.
void TPageWriter::WriteMarker(std::string_view text, std::int32_t section) {
  if (!inTag_ && TokenLength() + text.size() > kTokenLimit) ProduceWord();
  const std::size_t begin = TokenLength();
  if (begin + text.size() > kTokenLimit) {
    Drop(text.size());
    return;
  }
  items_.text.append(text);
  tokenOfField_ = false;
  items_.spans.push_back({items_.entries.size(), static_cast<std::uint32_t>(begin),
                          static_cast<std::uint32_t>(begin + text.size()), section});
}

int TPageWriter::FeedSubTemplate(const char* path) { return FeedNested(path, {}, path); }

int TPageWriter::FeedSubTemplate(std::string_view name, std::string_view bytes) {
  return FeedNested(name, bytes, nullptr);
}

int TPageWriter::FeedNested(std::string_view name, std::string_view bytes, const char* path) {
  const std::string file(name.substr(name.find_last_of("/\\") + 1));
  if (std::find(subTemplates_.begin(), subTemplates_.end(), name) != subTemplates_.end()) {
    if (dispatcher_ != nullptr) {
      dispatcher_->SetLastError("Cannot open template " + file + " inside itself");
    }
    return 0;
  }
  // A marker of the page around must not be taken for one of the sub-template.
  if (!inTag_ && TokenHasSpans()) ProduceWord();
  const bool atOnce = inTag_;
  const std::size_t first = items_.entries.size();
  TMode mode(*this, false, false);
  const bool outerAtOnce = std::exchange(sectionsAtOnce_, atOnce);
  subTemplates_.emplace_back(name);
  int result = 1;
  if (path != nullptr) {
    result = FeedFile(path);
  } else {
    Feed(bytes);
  }
  WriteBackOpenTag();
  subTemplates_.pop_back();
  sectionsAtOnce_ = outerAtOnce;
  if (!atOnce && HasMarkersFrom(first)) {
    if (inTag_) TagToWord();
    ProduceWord();
    TSectionExpander(*this).ExpandFrom(first, true);
  }
  if (result == 0 && dispatcher_ != nullptr) {
    dispatcher_->SetLastError("Cannot open template " + file);
  }
  return result;
}

bool TPageWriter::HasMarkersFrom(std::size_t item) const {
  const std::vector<TPageItems::Span>& spans = items_.spans;
  return std::any_of(spans.begin() + static_cast<std::ptrdiff_t>(items_.FirstSpan(item)),
                     spans.end(), [](const TPageItems::Span& span) { return span.section >= 0; });
}

void TPageWriter::ForgetItems() {
  items_.entries.clear();
  items_.spans.clear();
  items_.text.erase(0, tokenBegin_);
  cutToken_ = 0;
  tokenBegin_ = 0;
}

void TPageWriter::ExpandSections() {
  if (dispatcher_ == nullptr) return;
  TSectionExpander(*this).ExpandFrom(0, false);
}

}  // namespace brevant
