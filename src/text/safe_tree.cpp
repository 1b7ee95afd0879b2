#include "text/safe_tree.h"

#include "platform/win32.h"

#include <algorithm>

namespace brevant {
namespace {

// As many formatting elements go on at a time.
constexpr std::size_t kMostPending = 8;

bool IsBlock(const TElementRule* rule) {
  return rule != nullptr && (rule->flags & TElementRule::kBlock) != 0;
}

bool IsTablePart(const TElementRule* rule) {
  return rule != nullptr && (rule->flags & TElementRule::kTablePart) != 0;
}

// Tables and their cells: most end tags do not reach out of them.
bool IsWall(const TElementRule* rule) {
  return rule != nullptr && (rule->flags & TElementRule::kWall) != 0;
}

bool IsCell(std::string_view name) { return name == "td" || name == "th" || name == "caption"; }

bool IsRowGroup(std::string_view name) {
  return name == "tbody" || name == "thead" || name == "tfoot";
}

bool IsHeading(std::string_view name) {
  return name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6';
}

bool IsList(std::string_view name) { return name == "ul" || name == "ol"; }

bool IsTerm(std::string_view name) { return name == "dt" || name == "dd"; }

bool IsRubyText(std::string_view name) { return name == "rt" || name == "rp"; }

}  // namespace

void TSafeTree::Start(const TSafeElement& element, std::string_view tag) {
  const TElementRule* rule = RuleOf(element);
  if (!Prepare(element, rule)) return;
  if (!IsBlock(rule) && !IsTablePart(rule)) BeforeText();
  if ((element.flags & TSafeElement::kVoid) != 0) {
    html_.append(tag);
    return;
  }
  if (!HasRoom()) {
    const auto known = std::find_if(leftOut_.begin(), leftOut_.end(), [&](const auto& left) {
      return left.first == element.shownAs;
    });
    if (known == leftOut_.end()) {
      leftOut_.emplace_back(element.shownAs, 1);
    } else {
      ++known->second;
    }
    return;
  }
  const bool isFormatting = (element.flags & TSafeElement::kFormatting) != 0;
  Push({element.shownAs, rule, std::string(isFormatting ? tag : std::string_view()), false});
  html_.append(tag);
}

void TSafeTree::Push(TOpen&& open) {
  if (open.rule != nullptr && open.rule->scope != kNoScope) ++scopes_[open.rule->scope];
  stack_.push_back(std::move(open));
}

void TSafeTree::Pop() {
  const TElementRule* rule = stack_.back().rule;
  if (rule != nullptr && rule->scope != kNoScope) --scopes_[rule->scope];
  stack_.pop_back();
}

void TSafeTree::PushImplied(std::string_view name) {
  if (!HasRoom()) return;
  html_.append("<").append(name).append(1, '>');
  Push({name, FindElementRule(name), {}, false});
}

bool TSafeTree::IsOpen(std::string_view shownAs) const { return Innermost(shownAs) != kNone; }

int TSafeTree::Innermost(std::string_view name) const {
  int position = Top();
  while (position >= 0 && At(position).name != name) --position;
  return position;
}

// Closes the elements from a position on. The formatting of those inside it goes on where wanted.
void TSafeTree::CloseTo(int position, bool goesOn) {
  std::vector<TOpen> reopened;
  while (Top() >= position) {
    const TOpen& open = stack_.back();
    html_.append("</").append(open.name).append(1, '>');
    if (goesOn && Top() > position && !open.tag.empty() && !open.ended) {
      reopened.push_back(open);
    }
    Pop();
  }
  for (auto one = reopened.rbegin(); one != reopened.rend() && pending_.size() < kMostPending;
       ++one) {
    pending_.push_back(std::move(*one));
  }
  while (!stack_.empty() && stack_.back().ended) {
    html_.append("</").append(stack_.back().name).append(1, '>');
    Pop();
  }
}

void TSafeTree::Reopen() {
  for (TOpen& open : pending_) {
    if (!HasRoom()) break;
    html_.append(open.tag);
    Push(std::move(open));
  }
  pending_.clear();
}

// Closes the open elements of these scopes, as a start tag does that implies their ends.
void TSafeTree::CloseScopes(std::uint16_t scopes) {
  for (unsigned scope = 0; scope < kScopes; ++scope) {
    if (scopes_[scope] == 0) scopes &= static_cast<std::uint16_t>(~(1U << scope));
  }
  for (int position = Top(); position >= 0 && scopes != 0; --position) {
    const TElementRule* rule = At(position).rule;
    if (rule == nullptr) continue;
    const std::uint16_t hides = rule->hides;
    if (rule->scope != kNoScope && (scopes & ScopeBit(rule->scope)) != 0) {
      CloseTo(position, !IsTablePart(rule));
      position = std::min(position, Top() + 1);
    }
    scopes = static_cast<std::uint16_t>(scopes & ~hides);
  }
}

int TSafeTree::InnermostTablePart() const {
  int position = Top();
  while (position >= 0 && At(position).name != "table" && !IsTablePart(At(position).rule)) {
    --position;
  }
  return position;
}

// A table directly inside another one, in no cell, ends that one.
void TSafeTree::PrepareTable() {
  const int around = InnermostTablePart();
  pending_.clear();
  if (around == kNone || IsCell(At(around).name)) return;
  CloseTo(Innermost("table"), false);
}

// Goes out to what a part of a table may stand in directly. False outside tables.
bool TSafeTree::PrepareTablePart(std::string_view name) {
  const bool isCell = name == "td" || name == "th";
  for (;;) {
    const int around = InnermostTablePart();
    if (around == kNone) return false;
    const std::string_view outer = At(around).name;
    const bool fits = outer == "table" || (outer == "tr" && isCell) ||
                      (IsRowGroup(outer) && (isCell || name == "tr")) ||
                      (outer == "colgroup" && name == "col");
    if (!fits) {
      CloseTo(around, false);
      continue;
    }
    if (Top() > around) CloseTo(around + 1, false);
    if (isCell && outer != "tr") PushImplied("tr");
    pending_.clear();
    return true;
  }
}

// An item needs a list of the visitor's own: it would end one of the page's around it.
void TSafeTree::PrepareItem(std::string_view name) {
  for (int position = Top(); position >= 0; --position) {
    const TOpen& open = At(position);
    if (name == "li" ? IsList(open.name) : open.name == "dl") return;
    if (open.rule != nullptr && open.rule->hides != 0) break;
  }
  CloseScopes(ScopeBit(kScopeParagraph));
  PushImplied(name == "li" ? "ul" : "dl");
}

// A link ends the one that it would stand in.
bool TSafeTree::PrepareLink() {
  bool inTable = false;
  for (int position = Top(); position >= 0; --position) {
    if (const TElementRule* rule = At(position).rule) {
      if (!IsWall(rule)) continue;
      if (IsTablePart(rule)) break;  // a cell
      inTable = true;
    }
    if (At(position).name != "a") continue;
    if (inTable) return false;
    CloseTo(position, true);
    return true;
  }
  return true;
}

bool TSafeTree::Prepare(const TSafeElement& element, const TElementRule* rule) {
  const std::string_view name = element.shownAs;
  if (IsTablePart(rule)) return PrepareTablePart(name);
  if (name == "a") return PrepareLink();
  if (rule != nullptr) CloseScopes(rule->closes);
  if (name == "table") {
    PrepareTable();
  } else if (name == "li" || IsTerm(name)) {
    PrepareItem(name);
  } else if (!stack_.empty() && ((IsHeading(name) && IsHeading(stack_.back().name)) ||
                                 (IsRubyText(name) && IsRubyText(stack_.back().name)))) {
    CloseTo(Top(), true);
  }
  return true;
}

// The element that an end tag ends; none when it stands outside of what the tag can reach.
int TSafeTree::FindEnded(const TSafeElement& element) const {
  const std::string_view name = element.shownAs;
  const TElementRule* rule = RuleOf(element);
  const bool isTables = IsTablePart(rule) || name == "table";
  for (int position = Top(); position >= 0; --position) {
    const TOpen& open = At(position);
    if ((open.name == name || (IsHeading(name) && IsHeading(open.name))) && !open.ended) {
      return position;
    }
    const bool isWall = isTables
                            ? open.name == "table"
                            : open.rule != nullptr && (open.rule->flags & TElementRule::kWall) != 0;
    if (isWall || (name == "li" && IsList(open.name))) return kNone;
  }
  return kNone;
}

bool TSafeTree::EndsPending(std::string_view name) {
  for (std::size_t i = pending_.size(); i > 0; --i) {
    if (pending_[i - 1].name != name) continue;
    pending_.erase(pending_.begin() + static_cast<std::ptrdiff_t>(i - 1));
    return true;
  }
  return false;
}

bool TSafeTree::EndsLeftOut(std::string_view name) {
  const auto known = std::find_if(leftOut_.begin(), leftOut_.end(), [&](const auto& left) {
    return left.first == name && left.second > 0;
  });
  if (known == leftOut_.end()) return false;
  --known->second;
  return true;
}

void TSafeTree::End(const TSafeElement& element) {
  const std::string_view name = element.shownAs;
  if (EndsLeftOut(name) || EndsPending(name)) return;
  const int position = FindEnded(element);
  if (position == kNone) return;
  const TElementRule* rule = RuleOf(element);
  const bool isInline = !IsBlock(rule) && !IsTablePart(rule);
  const bool holdsBlock =
      isInline && std::any_of(stack_.begin() + position + 1, stack_.end(),
                              [](const TOpen& open) { return IsBlock(open.rule); });
  if (holdsBlock) {
    stack_[static_cast<std::size_t>(position)].ended = true;
  } else {
    CloseTo(position, !IsTablePart(rule) && name != "table");
  }
}

void TSafeTree::Finish() {
  pending_.clear();
  if (!stack_.empty()) CloseTo(0, false);
  leftOut_.clear();
}

}  // namespace brevant
