// The plain-text view of HTML content.
#include "text/plain_text.h"

#include "platform/win32.h"
#include "store/ascii.h"
#include "text/charset.h"
#include "text/filters.h"
#include "text/html_elements.h"
#include "text/page_writer.h"

#include <algorithm>
#include <array>
#include <utility>

namespace brevant {
namespace {

constexpr int kBlockBytes = 32768;

// What becomes of an element.
struct TElementText {
  std::string_view name;
  std::string_view text;  // for its start tag
  enum { kKept, kDropped, kDroppedScript } content = kKept;
};

constexpr std::array<TElementText, 13> kElements = {{
    {"p", "\r\n\r\n"},
    {"br", "\r\n"},
    {"blockquote", "\r\n"},
    {"ul", "\r\n"},
    {"ol", "\r\n"},
    {"table", "\r\n"},
    {"tr", "\r\n"},
    {"li", "\r\n* "},
    {"hr", "\r\n---------------------------------------------------"},
    {"img", "[IMAGE]"},
    {"title", "", TElementText::kDropped},
    {"script", "", TElementText::kDroppedScript},
    {"style", "", TElementText::kDroppedScript},
}};

// The first word of a tag. The "/" of "<br/>" is no part of it.
std::string_view TagName(std::string_view tag) {
  std::size_t begin = 0;
  while (begin < tag.size() && IsSpaceAscii(tag[begin])) ++begin;
  std::size_t end = begin;
  while (end < tag.size() && !IsSpaceAscii(tag[end]) && tag[end] != '/') ++end;
  return tag.substr(begin, end - begin);
}

const TElementText* FindElement(std::string_view tag) {
  const std::string_view name = TagName(tag);
  for (const TElementText& element : kElements) {
    if (EqualsIgnoreCase(element.name, name)) return &element;
  }
  return nullptr;
}

// Whether a tag ends the line of a form.
bool BreaksLine(std::string_view tag) {
  std::string name(TagName(tag));
  for (char& c : name) c = ToLowerAscii(c);
  if (name == "br" || name == "hr") return true;
  const TElementRule* rule = FindElementRule(name);
  return rule != nullptr && (rule->flags & (TElementRule::kBlock | TElementRule::kTablePart)) != 0;
}

// Whether the item ends an element of that name. In text that is no markup a "<" may have swallowed
// the end tag behind it.
bool EndsElement(const TItem& item, std::string_view name) {
  if (item.kind == TItemKind::kEndTag) return EqualsIgnoreCase(TagName(item.text), name);
  if (item.kind != TItemKind::kStartTag) return false;
  for (std::size_t at = item.text.find("</"); at != std::string_view::npos;
       at = item.text.find("</", at + 1)) {
    if (EqualsIgnoreCase(item.text.substr(at + 2, name.size()), name)) return true;
  }
  return false;
}

// Takes the items of a text one after the other.
class TTextRenderer {
 public:
  explicit TTextRenderer(TPlainTextRules rules) : rules_(rules) {}

  void Take(const TPageWriter& page) {
    for (std::size_t at = 0; at < page.ItemCount(); ++at) {
      const TItem item = page.Item(at);
      const bool isWord = item.kind == TItemKind::kWord;
      if (isWord) {
        if (afterWord_) Blank();
        text_.append(item.text);
      } else if (item.kind == TItemKind::kSpace || item.kind == TItemKind::kLineBreak) {
        Blank();
      } else {
        if (dropping_ != nullptr && EndsElement(item, dropping_->name)) EndDropping();
        if (rules_.isForm && BreaksLine(item.text)) text_.append("\r\n");
        if (item.kind == TItemKind::kStartTag) StartElement(item.text);
      }
      afterWord_ = isWord && !item.goesOn;
    }
  }
  std::string& Text() { return text_; }

 private:
  void Blank() {
    if (!text_.empty() && !IsSpaceAscii(text_.back())) text_ += ' ';
  }

  void StartElement(std::string_view tag) {
    const TElementText* element = FindElement(tag);
    if (element == nullptr) return;
    if (!rules_.isForm) text_.append(element->text);
    const bool drops = element->content == TElementText::kDropped ||
                       (element->content == TElementText::kDroppedScript && rules_.dropsScripts);
    if (!drops || dropping_ != nullptr) return;
    dropping_ = element;
    droppedFrom_ = text_.size();
  }

  // What the element holds goes when its end comes: without one nothing is lost.
  void EndDropping() {
    text_.resize(droppedFrom_);
    dropping_ = nullptr;
  }

  TPlainTextRules rules_;
  std::string text_;
  bool afterWord_ = false;
  const TElementText* dropping_ = nullptr;
  std::size_t droppedFrom_ = 0;
};

void DecodeBetweenQuestionMarks(std::string& text, void (*decode)(std::string&)) {
  std::string decoded;
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t end = std::min(rest.find('?'), rest.size());
    std::string piece(rest.substr(0, end));
    decode(piece);
    decoded.append(piece);
    if (end < rest.size()) decoded += '?';
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  text = std::move(decoded);
}

}  // namespace

std::string HtmlToPlainText(std::string_view html, TPlainTextRules rules) {
  TPageWriter page;
  page.KeepLongWords(true);
  TTextRenderer renderer(rules);
  renderer.Text().reserve(html.size());
  // Piece by piece, so that the items never leave the processor's cache.
  for (; !html.empty(); html.remove_prefix(std::min<std::size_t>(html.size(), kBlockBytes))) {
    page.Feed(html.substr(0, kBlockBytes));
    renderer.Take(page);
    page.ForgetItems();
  }
  page.Flush();
  renderer.Take(page);
  std::string text = std::move(renderer.Text());
  if (text.find('\0') != std::string::npos) std::erase(text, '\0');
  const auto decode = rules.isUtf8 ? HtmlDecodeToUtf8 : HtmlDecode;
  if (rules.isForm) {
    DecodeBetweenQuestionMarks(text, decode);
  } else {
    decode(text);
  }
  return text;
}

std::string PlainTextContent(TMail& item, const TSetup* setup) {
  TPlainTextRules rules;
  rules.isUtf8 = setup != nullptr && setup->Number("Decode Mail Text") != 0;
  rules.dropsScripts = setup != nullptr && setup->Number("Safe HTML") != 0;
  TStream& content = item.Content();
  std::string html;
  std::array<char, kBlockBytes> block;
  content.Seek(0, 0);
  for (int read = content.Read(block.data(), kBlockBytes); read > 0;
       read = content.Read(block.data(), kBlockBytes)) {
    html.append(block.data(), static_cast<std::size_t>(read));
  }
  if (rules.isUtf8) html = DecodeText(html, item.String("Charset"));
  return HtmlToPlainText(html, rules);
}

}  // namespace brevant
