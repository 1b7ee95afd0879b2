// HTML from mail, reduced to an allow-list.
//
// The page writer's tokenizer finds the words and tags. It ends every tag at the first ">", so what
// browsers read otherwise is looked after here: a "<" that begins no tag, a ">" in quotation marks,
// comments, and elements whose text is no markup. Nothing is copied: tags are written anew from the
// rows of the list, so a tag that a browser would read otherwise does no harm either.
#include "text/safe_html.h"

#include "platform/win32.h"
#include "store/ascii.h"
#include "text/safe_link.h"

#include <algorithm>
#include <array>
#include <bitset>

namespace brevant {
namespace {

// The longest tag that is written; the page writer would cut one beyond its token limit.
constexpr std::size_t kLongestTag = 3072;
constexpr std::size_t kLongestAddress = 2048;
constexpr std::size_t kTailBytes = 16;

bool IsLetter(char c) {
  const char lower = ToLowerAscii(c);
  return lower >= 'a' && lower <= 'z';
}

// The characters of text that are not shown as they are. Browsers drop or replace control
// characters, each in its own way.
constexpr std::array<bool, 256> SpecialBytes() {
  std::array<bool, 256> special{};
  for (unsigned c = 0; c < 32; ++c) special[c] = c != '\t' && c != '\n' && c != '\r';
  special[127] = special['<'] = special['>'] = special['"'] = true;
  return special;
}
constexpr std::array<bool, 256> kSpecial = SpecialBytes();

// Appends text in which references stay what they are.
void AppendText(std::string& html, std::string_view text, bool inQuotes) {
  while (!text.empty()) {
    const auto special = std::find_if(
        text.begin(), text.end(), [](char c) { return kSpecial[static_cast<unsigned char>(c)]; });
    const auto plain = static_cast<std::size_t>(special - text.begin());
    html.append(text.substr(0, plain));
    if (plain == text.size()) return;
    if (*special == '<') {
      html += "&lt;";
    } else if (*special == '>') {
      html += "&gt;";
    } else if (*special == '"') {
      html += inQuotes ? "&quot;" : "\"";
    }
    text.remove_prefix(plain + 1);
  }
}

// The last bytes of what has been taken so far.
void KeepTail(std::string& tail, std::string_view bytes) {
  tail.append(bytes.substr(bytes.size() - std::min(bytes.size(), kTailBytes)));
  tail.erase(0, tail.size() - std::min(tail.size(), kTailBytes));
}

// Where the end tag of an element begins; npos when there is none, or when what follows its name
// is still to come.
std::size_t FindEndTag(std::string_view text, std::string_view name) {
  for (std::size_t at = text.find("</"); at != std::string_view::npos;
       at = text.find("</", at + 2)) {
    const std::string_view behind = text.substr(at + 2);
    if (behind.size() <= name.size()) return std::string_view::npos;
    const char next = behind[name.size()];
    if (EqualsIgnoreCase(behind.substr(0, name.size()), name) &&
        (IsSpaceAscii(next) || next == '/' || next == '>')) {
      return at;
    }
  }
  return std::string_view::npos;
}

std::string_view TagName(std::string_view tag) { return tag.substr(0, BehindElementName(tag)); }

// Calls take with every attribute of a tag. What the tokenizer cut off at its limit is left out.
template <typename TTake>
void ForEachAttribute(std::string_view tag, TTake take) {
  TAttribute attribute;
  std::size_t at = BehindElementName(tag);
  while (ReadAttribute(tag, at, &attribute)) {
    if (attribute.end == tag.size() && tag.size() >= TPageWriter::kTokenLimit) return;
    take(attribute);
    at = std::max(attribute.end, at + 1);
  }
}

// The value of the first attribute of that name.
std::string_view ValueOf(std::string_view tag, std::string_view name) {
  std::string_view value;
  bool found = false;
  ForEachAttribute(tag, [&](const TAttribute& attribute) {
    if (found || !EqualsIgnoreCase(attribute.name, name)) return;
    found = true;
    value = attribute.value;
  });
  return value;
}

// Images of one pixel only tell their sender that they were looked at.
bool IsPixel(std::string_view tag) {
  for (const char* name : {"width", "height"}) {
    const std::string_view size = ValueOf(tag, name);
    if (size == "0" || size == "1") return true;
  }
  return false;
}

bool IsBlankText(std::string_view text) {
  return std::all_of(text.begin(), text.end(), IsSpaceAscii);
}

bool IsMailAddress(std::string_view address) {
  constexpr std::string_view kScheme = "mailto:";
  return EqualsIgnoreCase(address.substr(0, kScheme.size()), kScheme);
}

std::string LinkTag(const std::string& address) {
  std::string tag = "<a href=\"" + address + "\"";
  // Nobody gets a better place in a search engine by what visitors write.
  if (IsSafeAddress(address) && !IsMailAddress(address)) tag += " rel=\"nofollow ugc\"";
  return tag;
}

}  // namespace

TSafeHtml::TSafeHtml(std::vector<std::string> ownFiles)
    : ownFiles_(std::move(ownFiles)), tree_(html_) {
  tokens_.KeepLongWords(true);
}

void TSafeHtml::Take(std::string_view html) {
  while (!html.empty()) {
    switch (state_) {
      case TState::kText:
        html = less_ ? TakeLess(html) : TakeText(html);
        break;
      case TState::kTag:
        html = quote_ != 0 ? TakeQuoted(html) : TakeTag(html);
        break;
      case TState::kComment:
        html = TakeComment(html);
        break;
      case TState::kDropped:
        html = TakeDropped(html);
        break;
    }
  }
}

void TSafeHtml::Finish() {
  if (less_) tokens_.WriteLiteral("&lt;");
  less_ = false;
  tokens_.Flush();
  TakeItems();
  tree_.Finish();
  state_ = TState::kText;
  quote_ = 0;
}

std::string_view TSafeHtml::TakeText(std::string_view html) {
  const std::size_t less = html.find('<');
  tokens_.WriteLiteral(html.substr(0, less));
  if (less == std::string_view::npos) {
    TakeItems();
    return {};
  }
  less_ = true;
  return html.substr(less + 1);
}

// Only these begin a tag behind a "<".
std::string_view TSafeHtml::TakeLess(std::string_view html) {
  less_ = false;
  const char next = html.front();
  if (!IsLetter(next) && next != '/' && next != '!' && next != '?') {
    tokens_.WriteLiteral("&lt;");
    return html;
  }
  tokens_.WriteLiteral("<");
  TakeItems();
  afterWord_ = false;
  state_ = TState::kTag;
  attributesTo_ = 0;
  tail_.clear();
  return html;
}

void TSafeHtml::FeedTag(std::string_view bytes) {
  tokens_.WriteLiteral(bytes);
  KeepTail(tail_, bytes);
}

// A value goes on behind a ">" when its quotation mark is still to come.
bool TSafeHtml::IsOpenQuote() {
  const std::string_view tag = tokens_.OpenTagText();
  const std::size_t name = tag.starts_with('/') ? 1 : 0;
  if (name >= tag.size() || !IsLetter(tag[name])) return false;
  std::size_t at = std::max(attributesTo_, name + BehindElementName(tag.substr(name)));
  TAttribute attribute;
  while (ReadAttribute(tag, at, &attribute)) {
    const std::size_t valueEnd = attribute.valueBegin + attribute.value.size();
    attributesTo_ = attribute.nameBegin;
    if (attribute.quote != 0 && valueEnd == tag.size()) {
      quote_ = attribute.quote;
      return true;
    }
    at = std::max(attribute.end, at + 1);
  }
  return false;
}

std::string_view TSafeHtml::TakeTag(std::string_view html) {
  const std::size_t end = html.find('>');
  FeedTag(html.substr(0, end));
  if (end == std::string_view::npos) return {};
  if (!IsTagFull() && IsOpenQuote()) {
    tokens_.WriteLiteral("&gt;");
  } else {
    EndTag();
  }
  return html.substr(end + 1);
}

std::string_view TSafeHtml::TakeQuoted(std::string_view html) {
  const std::size_t end = html.find(quote_);
  std::string_view inside = html.substr(0, end);
  while (!inside.empty() && !IsTagFull()) {
    const std::size_t room = TPageWriter::kTokenLimit - tokens_.OpenTagText().size();
    const std::string_view run = inside.substr(0, std::min(inside.find('>'), room));
    FeedTag(run);
    inside.remove_prefix(run.size());
    if (!inside.starts_with('>')) continue;
    FeedTag("&gt;");
    inside.remove_prefix(1);
  }
  // A quotation mark that never comes back must not swallow the whole mail.
  if (IsTagFull()) {
    quote_ = 0;
    EndTag();
    return html.substr(static_cast<std::size_t>(inside.data() - html.data()));
  }
  if (end == std::string_view::npos) return {};
  FeedTag({&quote_, 1});
  quote_ = 0;
  return html.substr(end + 1);
}

void TSafeHtml::EndTag() {
  const std::string_view tag = tokens_.OpenTagText();
  const bool isComment = tag.starts_with("!--");
  const bool isEnded = tail_.ends_with("--") || tail_.ends_with("--!");
  state_ = isComment && !isEnded ? TState::kComment : TState::kText;
  tail_.clear();
  tokens_.WriteLiteral(">");
  TakeItems();
}

// Whether a comment ends at the ">" at that place of the piece.
bool TSafeHtml::EndsComment(std::string_view html, std::size_t greater) const {
  constexpr std::size_t kLongestEnd = 3;
  std::string before(html.substr(0, greater));
  if (greater < kLongestEnd) before.insert(0, tail_);
  return before.ends_with("--") || before.ends_with("--!");
}

std::string_view TSafeHtml::TakeComment(std::string_view html) {
  for (std::size_t at = 0, end; (end = html.find('>', at)) != std::string_view::npos;
       at = end + 1) {
    const std::size_t from = end - std::min(end, kTailBytes);
    if (!EndsComment(html.substr(from), end - from)) continue;
    tail_.clear();
    state_ = TState::kText;
    return html.substr(end + 1);
  }
  KeepTail(tail_, html);
  return {};
}

// The end tag itself is left to the tokenizer.
std::string_view TSafeHtml::TakeDropped(std::string_view html) {
  if (const std::size_t seam = tail_.size(); seam != 0) {
    const std::string joined = tail_ + std::string(html.substr(0, kTailBytes));
    const std::size_t begun = FindEndTag(joined, dropped_);
    if (begun < seam) {
      tail_.clear();
      state_ = TState::kText;
      Take(std::string_view(joined).substr(begun, seam - begun));
      return html;
    }
  }
  const std::size_t end = FindEndTag(html, dropped_);
  if (end == std::string_view::npos) {
    KeepTail(tail_, html);
    return {};
  }
  tail_.clear();
  state_ = TState::kText;
  return html.substr(end);
}

void TSafeHtml::TakeItems() {
  for (std::size_t at = 0; at < tokens_.ItemCount(); ++at) {
    const TItem item = tokens_.Item(at);
    const bool isWord = item.kind == TItemKind::kWord;
    if (isWord) {
      if (afterWord_) html_ += ' ';
      WriteText(item.text);
    } else if (item.kind == TItemKind::kSpace) {
      html_ += ' ';
    } else if (item.kind == TItemKind::kLineBreak) {
      html_ += '\n';
    } else if (item.kind == TItemKind::kStartTag) {
      StartElement(item.text);
    } else {
      EndElement(item.text);
    }
    afterWord_ = isWord && !item.goesOn;
  }
  tokens_.ForgetItems();
}

void TSafeHtml::WriteText(std::string_view text) {
  if (!IsBlankText(text)) tree_.BeforeText();
  AppendText(html_, text, false);
}

void TSafeHtml::StartElement(std::string_view tag) {
  const TSafeElement* element = FindSafeElement(TagName(tag));
  if (element == nullptr) return;
  if ((element->flags & TSafeElement::kTextToo) != 0) {
    if ((element->flags & TSafeElement::kForeign) != 0 && tag.ends_with('/')) return;
    state_ = TState::kDropped;
    dropped_ = element->name;
  } else if (element->name == "a") {
    WriteLink(*element, tag);
  } else if (element->name == "img") {
    WriteImage(*element, tag);
  } else {
    tree_.Start(*element, "<" + std::string(element->shownAs) + Attributes(*element, tag) + ">");
  }
}

void TSafeHtml::EndElement(std::string_view tag) {
  if (tag.empty() || !IsLetter(tag[0])) return;
  const TSafeElement* element = FindSafeElement(TagName(tag));
  if (element == nullptr || element->shownAs.empty()) return;
  if (element->name == "br") {
    tree_.Start(*element, "<br>");
  } else if ((element->flags & TSafeElement::kVoid) == 0) {
    tree_.End(*element);
  }
}

std::string TSafeHtml::Attributes(const TSafeElement& element, std::string_view tag) const {
  std::string text;
  std::bitset<64> seen;
  ForEachAttribute(tag, [&](const TAttribute& attribute) {
    const TSafeAttribute* row = FindSafeAttribute(element, attribute.name, attribute.value);
    if (row == nullptr) return;
    const auto number = static_cast<std::size_t>(row - SafeAttributes().data());
    if (seen[number]) return;
    seen[number] = true;
    std::string written = " " + std::string(row->name);
    if (row->value != TSafeValue::kFlag) {
      written += "=\"";
      AppendText(written, attribute.value, true);
      written += '"';
    }
    if (text.size() + written.size() <= kLongestTag) text += written;
  });
  return text;
}

bool TSafeHtml::IsOwnFile(std::string_view address) const {
  return std::find(ownFiles_.begin(), ownFiles_.end(), address) != ownFiles_.end();
}

void TSafeHtml::WriteLink(const TSafeElement& element, std::string_view tag) {
  const std::string_view value = ValueOf(tag, "href");
  if (value.size() > kLongestAddress) return;
  const std::string address = CanonicalAddress(value);
  const std::string attributes = Attributes(element, tag);
  const bool fits = address.size() + attributes.size() <= kLongestTag;
  if (!fits || (!IsSafeAddress(address) && !IsOwnFile(address))) return;
  tree_.Start(element, LinkTag(address) + attributes + ">");
}

// The files that came with the message are shown; no other image is loaded.
void TSafeHtml::WriteImage(const TSafeElement& element, std::string_view tag) {
  const std::string_view value = ValueOf(tag, "src");
  const std::string address =
      value.size() <= kLongestAddress ? CanonicalAddress(value) : std::string();
  if (IsOwnFile(address)) {
    std::string attributes = Attributes(element, tag);
    if (attributes.find(" alt=\"") == std::string::npos) attributes += " alt=\"\"";
    tree_.Start(element, "<img src=\"" + address + "\"" + attributes + ">");
    return;
  }
  if (IsPixel(tag)) return;
  const bool isRemote =
      IsSafeAddress(address) && address.size() <= kLongestTag && !IsMailAddress(address);
  std::string_view shown = ValueOf(tag, "alt");
  if (IsBlankText(shown)) shown = isRemote ? "[IMAGE]" : "";
  if (shown.empty()) return;
  const TSafeElement& link = *FindSafeElement("a");
  const bool isLink = isRemote && !tree_.IsOpen("a");
  if (isLink) tree_.Start(link, LinkTag(address) + ">");
  WriteText(shown);
  if (isLink) tree_.End(link);
}

}  // namespace brevant
