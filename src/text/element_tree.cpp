#include "text/element_tree.h"

#include "platform/win32.h"
#include "store/ascii.h"
#include "text/html_elements.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>

namespace brevant {
namespace {

constexpr std::string_view kRepeat = "!--repeat--";
constexpr std::string_view kEndRepeat = "!--/repeat--";

// The items with markers, in order.
std::vector<std::size_t> MarkedItems(const TPageItems& items) {
  std::vector<std::size_t> marked;
  for (const TPageItems::Span& span : items.spans) {
    if (span.section >= 0 && (marked.empty() || marked.back() != span.item)) {
      marked.push_back(span.item);
    }
  }
  return marked;
}

// A start tag as the template's author wrote it.
bool IsAuthorsTag(const TPageItems& items, std::size_t item, std::string_view text) {
  return items.Kind(item) == TItemKind::kStartTag &&
         items.entries[item].Flags() == TPageItems::kNoFlags && items.Text(item) == text;
}

// Pairs the repeat comments: for each item that opens or closes a pair, the item that its partner
// is. Pairs without a marker between them are left out.
std::unordered_map<std::size_t, std::size_t> PairRepeats(const TPageItems& items,
                                                         const std::vector<std::size_t>& marked) {
  std::unordered_map<std::size_t, std::size_t> pairs;
  std::vector<std::size_t> open;
  for (std::size_t item = 0; item < items.entries.size(); ++item) {
    if (IsAuthorsTag(items, item, kRepeat)) {
      open.push_back(item);
    } else if (!open.empty() && IsAuthorsTag(items, item, kEndRepeat)) {
      auto inside = std::lower_bound(marked.begin(), marked.end(), open.back());
      if (inside != marked.end() && *inside < item) {
        pairs.emplace(open.back(), item);
        pairs.emplace(item, open.back());
      }
      open.pop_back();
    }
  }
  return pairs;
}

// The lower-case name of the element that a tag belongs to; empty for comments and the like.
std::string ElementName(std::string_view tag) {
  std::size_t end = 0;
  while (end < tag.size() && !IsSpaceAscii(tag[end]) && tag[end] != '/') ++end;
  std::string name(tag.substr(0, end));
  std::transform(name.begin(), name.end(), name.begin(), ToLowerAscii);
  if (name.empty() || name[0] < 'a' || name[0] > 'z') name.clear();
  return name;
}

// Whether the template itself wrote that text, in any letter case, into a tag.
bool AuthorWrote(const TPageItems& items, std::size_t item, std::string_view wanted) {
  const std::string_view text = items.Text(item);
  for (std::size_t at = 0; at + wanted.size() <= text.size(); ++at) {
    const std::size_t end = at + wanted.size();
    if (EqualsIgnoreCase(text.substr(at, wanted.size()), wanted) &&
        !items.OutOfField(item, at, end)) {
      return true;
    }
  }
  return false;
}

// Follows the tags with a stack of open elements. Every step is paid for by the items read: what an
// end tag or an implied end looks for is known by its position in the stack.
class TTreeBuilder {
 public:
  TTreeBuilder(const TPageItems& items, bool fragment) : items_(items), bodySeen_(fragment) {}

  TElementTree Build();

 private:
  // Positions in the stack that the next element sees; number 0 is the page, -1 nothing.
  struct TView {
    std::array<int, kScopes> innermost;  // by scope
    int block = 0;
    int wall = 0;
    int table = -1;
    int repeat = 0;
  };
  struct TOpen {
    std::int32_t element;
    int name;
    int outerSameName;  // position of the next outer element of that name
    TView outerView;    // the view from its parent
    bool isTermGroup = false;
    bool lastWasTerm = false;
  };

  int NameNumber(const std::string& name);
  int Innermost(int name) const { return lastOpen_[static_cast<std::size_t>(name)]; }
  TElement& ElementOf(const TOpen& open) {
    return tree_.elements[static_cast<std::size_t>(open.element)];
  }
  int Top() const { return static_cast<int>(stack_.size()) - 1; }

  std::int32_t AddElement(std::size_t item, const TElementRule& rule);
  void Push(std::size_t item, const TElementRule& rule, int name);
  void PushRepeat(std::size_t item);
  void PopTo(int position, std::size_t end, std::size_t endOfLowest);
  void Close(std::uint16_t scopes, std::size_t item);

  void Take(std::size_t item);
  bool TakeRepeat(std::size_t item);
  bool InOpaqueText(std::size_t item);
  void TakeStartTag(std::size_t item);
  void LeaveHead(std::string_view name, const TElementRule& rule, std::size_t item);
  bool IsMarked(std::size_t item) const {
    return nextMarked_ < markedItems_.size() && markedItems_[nextMarked_] == item;
  }
  bool EndsComment(std::size_t item) const;
  bool EndsRawText(std::size_t item) const;
  void TakeTerm(std::size_t item, bool isTerm);
  void TakeEndTag(std::size_t item);
  void EndOfBody(std::size_t item);
  int FindOpen(int name, const TElementRule& rule) const;

  const TPageItems& items_;
  TElementTree tree_;
  std::vector<std::size_t> markedItems_;
  std::size_t nextMarked_ = 0;
  std::unordered_map<std::size_t, std::size_t> repeats_;
  std::unordered_map<std::string, int> names_;
  std::vector<int> lastOpen_;  // by name: position of the innermost open element
  std::vector<TOpen> stack_;
  TView view_;
  int rawText_ = -1;    // position of the open element without elements inside
  std::string rawEnd_;  // the beginning of its end tag
  bool inComment_ = false;
  bool bodySeen_;
  std::int32_t current_ = 0;  // the element that the markers of the item at hand belong to
};

constexpr TElementRule kPlainRule{};
constexpr TElementRule kTermGroupRule{"#terms", TElementRule::kUnit};

TElementTree TTreeBuilder::Build() {
  markedItems_ = MarkedItems(items_);
  repeats_ = PairRepeats(items_, markedItems_);
  view_.innermost.fill(-1);
  tree_.elements.push_back({{0, items_.entries.size()}, TElement::kAlone, TElement::kAlone});
  stack_.push_back({0, NameNumber("#page"), -1, view_});
  for (std::size_t item = 0; item < items_.entries.size(); ++item) {
    current_ = stack_.back().element;
    Take(item);
    if (IsMarked(item)) {
      tree_.marked.push_back({item, current_});
      ++nextMarked_;
    }
  }
  PopTo(1, items_.entries.size(), items_.entries.size());
  return std::move(tree_);
}

int TTreeBuilder::NameNumber(const std::string& name) {
  const auto [known, isNew] = names_.try_emplace(name, static_cast<int>(lastOpen_.size()));
  if (isNew) lastOpen_.push_back(-1);
  return known->second;
}

// An element inside the innermost open one.
std::int32_t TTreeBuilder::AddElement(std::size_t item, const TElementRule& rule) {
  const auto number = static_cast<std::int32_t>(tree_.elements.size());
  std::int32_t unit = ElementOf(stack_.back()).unit;
  const bool atTop = Top() == 0 || rule.name == "head" || Top() == Innermost(NameNumber("html"));
  const bool inHead =
      rule.name == "head" || ((rule.flags & TElementRule::kMetadata) != 0 && !bodySeen_ && atTop);
  if (inHead && unit == TElement::kAlone) {
    unit = TElement::kHead;
  } else if ((rule.flags & TElementRule::kUnit) != 0 && unit != TElement::kHead) {
    unit = number;
  }
  const bool isFrame = rule.name == "html" || rule.name == "body";
  const std::int32_t part = unit != TElement::kAlone || isFrame ? unit : number;
  tree_.elements.push_back({{item, item + 1}, unit, part});
  return number;
}

void TTreeBuilder::Push(std::size_t item, const TElementRule& rule, int name) {
  stack_.push_back({AddElement(item, rule), name, Innermost(name), view_});
  const int position = Top();
  lastOpen_[static_cast<std::size_t>(name)] = position;
  for (std::size_t scope = 0; scope < kScopes; ++scope) {
    if ((rule.hides & ScopeBit(static_cast<TScope>(scope))) != 0) view_.innermost[scope] = -1;
  }
  if (rule.scope != kNoScope) view_.innermost[rule.scope] = position;
  if ((rule.flags & TElementRule::kBlock) != 0) view_.block = position;
  if ((rule.flags & TElementRule::kWall) != 0) view_.wall = position;
  if (rule.name == "table") view_.table = position;
}

// Nothing inside closes what stands around, whatever tags the extent begins and ends with.
void TTreeBuilder::PushRepeat(std::size_t item) {
  const int name = NameNumber("#repeat");
  stack_.push_back({AddElement(item, kPlainRule), name, Innermost(name), view_});
  TElement& element = tree_.elements.back();
  element.isRepeat = true;
  element.unit = element.part = static_cast<std::int32_t>(tree_.elements.size()) - 1;
  const int position = Top();
  lastOpen_[static_cast<std::size_t>(name)] = position;
  view_.innermost.fill(-1);
  view_.table = -1;
  view_.block = view_.wall = view_.repeat = position;
}

// Closes the element at position and all inside it; those inside end before item end.
void TTreeBuilder::PopTo(int position, std::size_t end, std::size_t endOfLowest) {
  if (Top() < position) return;
  for (int at = Top(); at >= position; --at) {
    const TOpen& open = stack_[static_cast<std::size_t>(at)];
    ElementOf(open).items.end = at == position ? endOfLowest : end;
    lastOpen_[static_cast<std::size_t>(open.name)] = open.outerSameName;
  }
  view_ = stack_[static_cast<std::size_t>(position)].outerView;
  stack_.erase(stack_.begin() + position, stack_.end());
  if (rawText_ >= position) rawText_ = -1;
}

void TTreeBuilder::Close(std::uint16_t scopes, std::size_t item) {
  int lowest = Top() + 1;
  for (std::size_t scope = 0; scope < kScopes; ++scope) {
    if ((scopes & ScopeBit(static_cast<TScope>(scope))) == 0) continue;
    if (view_.innermost[scope] >= 0) lowest = std::min(lowest, view_.innermost[scope]);
  }
  PopTo(lowest, item, item);
}

void TTreeBuilder::Take(std::size_t item) {
  if (TakeRepeat(item) || InOpaqueText(item)) return;
  if (items_.Has(item, TPageItems::kOpenedByField)) return;
  if (items_.Kind(item) == TItemKind::kStartTag) TakeStartTag(item);
  if (items_.Kind(item) == TItemKind::kEndTag) TakeEndTag(item);
}

bool TTreeBuilder::TakeRepeat(std::size_t item) {
  const auto pair = repeats_.find(item);
  if (pair == repeats_.end()) return false;
  if (pair->second > item) {
    PushRepeat(item);
  } else {
    PopTo(view_.repeat, item, item + 1);
  }
  return true;
}

// Whether the item is inside a comment or inside an element that holds no others. Comments run to
// "-->", so the tags in one are items of the page without being elements. What came out of a field
// neither begins nor ends one.
bool TTreeBuilder::InOpaqueText(std::size_t item) {
  if (inComment_) {
    inComment_ = !EndsComment(item);
    return true;
  }
  if (rawText_ >= 0) {
    if (rawText_ > view_.repeat && EndsRawText(item)) {
      current_ = stack_[static_cast<std::size_t>(rawText_)].element;
      PopTo(rawText_, item, item + 1);
    }
    return true;
  }
  const bool begins =
      items_.Kind(item) == TItemKind::kStartTag && items_.Text(item).starts_with("!--");
  if (!begins) return false;
  const bool ofField =
      items_.Has(item, TPageItems::kOpenedByField) || items_.OutOfField(item, 0, 3);
  inComment_ = !ofField && !EndsComment(item);
  return true;
}

bool TTreeBuilder::EndsComment(std::size_t item) const {
  const std::string_view text = items_.Text(item);
  if (items_.Kind(item) == TItemKind::kWord) {
    return text.find("-->") != std::string_view::npos && !items_.Has(item, TPageItems::kAllField);
  }
  return text.ends_with("--") && !items_.OutOfField(item, text.size() - 2, text.size());
}

// "a<b" in a script swallows the end tag behind it.
bool TTreeBuilder::EndsRawText(std::size_t item) const {
  const TItemKind kind = items_.Kind(item);
  if (kind == TItemKind::kStartTag) return AuthorWrote(items_, item, rawEnd_);
  if (kind != TItemKind::kEndTag || items_.Has(item, TPageItems::kOpenedByField)) return false;
  return ElementName(items_.Text(item)) == rawEnd_.substr(2) &&
         !items_.OutOfField(item, 0, rawEnd_.size() - 2);
}

void TTreeBuilder::TakeStartTag(std::size_t item) {
  const std::string name = ElementName(items_.Text(item));
  if (name.empty()) return;
  const TElementRule* known = FindElementRule(name);
  const TElementRule& rule = known != nullptr ? *known : kPlainRule;
  const int number = NameNumber(name);
  if ((name == "body" || name == "html") && Innermost(number) >= 0) return;
  LeaveHead(name, rule, item);
  Close(rule.closes, item);
  if (rule.scope == kScopeTerm) TakeTerm(item, name == "dt");
  if (rule.scope == kScopeCell && view_.innermost[kScopeRow] < 0 && view_.table >= 0) {
    Push(item, *FindElementRule("tr"), NameNumber("tr"));
  }
  if ((rule.flags & TElementRule::kVoid) != 0) {
    if (IsMarked(item)) current_ = AddElement(item, rule);
    return;
  }
  Push(item, rule, number);
  current_ = stack_.back().element;
  if ((rule.flags & TElementRule::kRawText) != 0) {
    rawText_ = Top();
    rawEnd_ = "</" + name;
  }
}

// What cannot stand in a head ends it, and begins the body where that is not written.
void TTreeBuilder::LeaveHead(std::string_view name, const TElementRule& rule, std::size_t item) {
  if ((rule.flags & TElementRule::kMetadata) != 0 || name == "html" || name == "head") return;
  const int head = view_.innermost[kScopeHead];
  if (head >= 0 && head == Top()) PopTo(head, item, item);
  if (view_.innermost[kScopeHead] < 0) bodySeen_ = true;
}

// A term and its descriptions are one unit, which no tag encloses.
void TTreeBuilder::TakeTerm(std::size_t item, bool isTerm) {
  const bool goesOn = stack_.back().isTermGroup && (!isTerm || stack_.back().lastWasTerm);
  if (!goesOn) {
    if (stack_.back().isTermGroup) PopTo(Top(), item, item);
    Push(item, kTermGroupRule, NameNumber("#terms"));
    stack_.back().isTermGroup = true;
  }
  stack_.back().lastWasTerm = isTerm;
}

void TTreeBuilder::TakeEndTag(std::size_t item) {
  const std::string name = ElementName(items_.Text(item));
  if (name == "body" || name == "html") {
    EndOfBody(item);
    return;
  }
  const auto number = names_.find(name);
  if (number == names_.end()) return;
  const TElementRule* known = FindElementRule(name);
  const int position = FindOpen(number->second, known != nullptr ? *known : kPlainRule);
  if (position < 0) return;
  current_ = stack_[static_cast<std::size_t>(position)].element;
  PopTo(position, item, item + 1);
}

// Elements that were never closed end here. The body itself stays open: what follows belongs to it.
void TTreeBuilder::EndOfBody(std::size_t item) {
  const int frame = std::max(Innermost(NameNumber("html")), Innermost(NameNumber("body")));
  PopTo(std::max({frame, view_.repeat, 0}) + 1, item, item);
  current_ = stack_.back().element;
}

// The position of the open element that an end tag of that name closes, -1 when there is none.
int TTreeBuilder::FindOpen(int name, const TElementRule& rule) const {
  const int position = Innermost(name);
  int reach = view_.block + 1;
  if (rule.name == "table") {
    reach = 0;
  } else if ((rule.flags & TElementRule::kTablePart) != 0) {
    reach = view_.table + 1;
  } else if (rule.scope != kNoScope && rule.scope != kScopeHead) {
    reach = view_.innermost[rule.scope];
    if (reach < 0) return -1;
  } else if ((rule.flags & TElementRule::kBlock) != 0) {
    reach = view_.wall;
  }
  return position > view_.repeat && position >= reach ? position : -1;
}

}  // namespace

TElementTree BuildElementTree(const TPageItems& items, bool fragment) {
  return TTreeBuilder(items, fragment).Build();
}

TItemRange RepeatedPart(const TPageItems& items, std::size_t markedItem) {
  const TElementTree tree = BuildElementTree(items, false);
  for (const TMarkedItem& marked : tree.marked) {
    if (marked.item != markedItem) continue;
    const std::int32_t part = tree.elements[static_cast<std::size_t>(marked.element)].part;
    if (part < 0) break;
    return tree.elements[static_cast<std::size_t>(part)].items;
  }
  return {markedItem, markedItem + 1};
}

}  // namespace brevant
