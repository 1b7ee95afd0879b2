#include "text/section_expander.h"

#include "platform/win32.h"

#include <algorithm>

namespace brevant {
namespace {

// A walk over the objects of one class; no objects where nobody knows any.
class TObjectWalk {
 public:
  TObjectWalk(TSectionObjects* objects, const TSectionClass& walked)
      : objects_(objects), walked_(walked) {
    if (objects_ != nullptr) count_ = objects_->Begin(walked_.kind, walked_.level);
  }
  ~TObjectWalk() {
    if (objects_ != nullptr) objects_->End(walked_.kind, walked_.level);
  }
  TObjectWalk(const TObjectWalk&) = delete;
  TObjectWalk& operator=(const TObjectWalk&) = delete;

  // Goes on to the next object that can be opened.
  bool Next() {
    while (next_ < count_) {
      if (objects_->Select(walked_.kind, walked_.level, next_++)) return true;
    }
    return false;
  }

 private:
  TSectionObjects* objects_;
  TSectionClass walked_;
  std::size_t count_ = 0;
  std::size_t next_ = 0;
};

template <typename T>
std::size_t FirstNotBelow(const std::vector<T>& sorted, std::size_t item) {
  const auto at = std::lower_bound(sorted.begin(), sorted.end(), item);
  return static_cast<std::size_t>(at - sorted.begin());
}

}  // namespace

void TSectionExpander::ExpandFrom(std::size_t item, bool fragment) {
  if (!page_.HasMarkersFrom(item)) return;
  items_ = page_.items_.TakeFrom(item);
  page_.tokenBegin_ = page_.items_.text.size();
  plan_ = PlanSections(items_, page_.sections_, fragment);
  walked_.assign(plan_.classes.size(), 0);
  Write({0, items_.entries.size()}, 0, plan_.parts.size());
}

void TSectionExpander::WriteForAll(const TSectionRequest& request) {
  TObjectWalk walk(Objects(), {request.kind, request.level});
  while (walk.Next()) page_.Dispatcher()->ExpandRequest(page_, request);
}

// Writes a range of the items, of which the parts [part, endPart) are inside.
void TSectionExpander::Write(const TItemRange& range, std::size_t part, std::size_t endPart) {
  std::size_t at = range.begin;
  while (at < range.end) {
    const std::size_t mark = FirstMark(at);
    const std::size_t comment = FirstNotBelow(plan_.comments, at);
    std::size_t next = range.end;
    if (part < endPart) next = std::min(next, plan_.parts[part].items.begin);
    if (mark < plan_.marked.size()) next = std::min(next, plan_.marked[mark].item);
    if (comment < plan_.comments.size()) next = std::min(next, plan_.comments[comment]);
    Copy(at, next);
    if (next == range.end) return;
    if (part < endPart && plan_.parts[part].items.begin == next) {
      at = plan_.parts[part].items.end;
      WritePart(part, 0);
      part = plan_.parts[part].behind;
    } else {
      at = next + 1;
      if (mark < plan_.marked.size() && plan_.marked[mark].item == next) Rewrite(mark);
    }
  }
}

std::size_t TSectionExpander::FirstMark(std::size_t item) const {
  const auto at = std::lower_bound(
      plan_.marked.begin(), plan_.marked.end(), item,
      [](const TMarkedItem& marked, std::size_t wanted) { return marked.item < wanted; });
  return static_cast<std::size_t>(at - plan_.marked.begin());
}

// One loop for each class of the part; depth is that of the loop.
void TSectionExpander::WritePart(std::size_t part, std::size_t depth) {
  const TSectionPart& repeated = plan_.parts[part];
  if (depth == repeated.classes.size()) {
    Write(repeated.body, part + 1, repeated.behind);
    return;
  }
  const auto walked = static_cast<std::size_t>(repeated.classes[depth]);
  ++walked_[walked];
  TObjectWalk walk(Objects(), plan_.classes[walked]);
  while (walk.Next()) WritePart(part, depth + 1);
  --walked_[walked];
}

void TSectionExpander::Copy(std::size_t begin, std::size_t end) {
  page_.items_.Append(items_, begin, end);
  page_.tokenBegin_ = page_.items_.text.size();
}

// Writes an item with markers anew: what stands around them as it is, the values through the
// tokenizer, so that they may end the item and begin others.
void TSectionExpander::Rewrite(std::size_t mark) {
  const TItemKind kind = items_.Kind(plan_.marked[mark].item);
  TPageWriter::TMode mode(page_, true, false);
  if (kind == TItemKind::kWord) {
    RewritePieces(mark);
  } else {
    page_.OpenTag();
    page_.tagOpenedByField_ = items_.Has(plan_.marked[mark].item, TPageItems::kOpenedByField);
    if (kind == TItemKind::kEndTag) page_.AppendToToken("/");
    RewritePieces(mark);
    if (page_.inTag_) {
      page_.CloseTag();
    } else {
      page_.Feed(">");
    }
  }
  if (page_.inTag_) page_.TagToWord();
  const bool goesOn = items_.Has(plan_.marked[mark].item, TPageItems::kGoesOn);
  page_.ProduceWord(goesOn ? TPageItems::kGoesOn : TPageItems::kNoFlags);
}

void TSectionExpander::RewritePieces(std::size_t mark) {
  const std::size_t item = plan_.marked[mark].item;
  const std::string_view text = items_.Text(item);
  std::size_t at = 0;
  for (std::size_t i = items_.FirstSpan(item);
       i < items_.spans.size() && items_.spans[i].item == item; ++i) {
    const TPageItems::Span& span = items_.spans[i];
    RewritePiece(text.substr(at, span.begin - at), false);
    if (span.section >= 0) {
      WriteMarker(span.section, plan_.partOfMark[mark] == TElement::kHead);
    } else {
      RewritePiece(text.substr(span.begin, span.end - span.begin), true);
    }
    at = span.end;
  }
  RewritePiece(text.substr(at), false);
}

void TSectionExpander::RewritePiece(std::string_view piece, bool fromField) {
  TPageWriter::TMode mode(page_, true, fromField);
  page_.AppendToToken(piece);
}

void TSectionExpander::WriteMarker(std::int32_t section, bool firstOnly) {
  const auto number = static_cast<std::size_t>(section);
  const TSectionRequest& request = page_.sections_[number];
  const auto objects = static_cast<std::size_t>(plan_.classOfSection[number]);
  page_.previous_ = '$';
  if (walked_[objects] != 0) {
    page_.Dispatcher()->ExpandRequest(page_, request);
    return;
  }
  TObjectWalk walk(Objects(), plan_.classes[objects]);
  while (walk.Next()) {
    page_.Dispatcher()->ExpandRequest(page_, request);
    if (firstOnly) return;
  }
}

}  // namespace brevant
