// The plain-text view of HTML content.
#include "text/plain_text.h"

#include "platform/win32.h"
#include "store/ascii.h"
#include "text/charset.h"
#include "text/filters.h"
#include "text/page_writer.h"

#include <array>

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

class TTextRenderer {
 public:
  TTextRenderer(const TPageWriter& page, bool dropsScripts)
      : page_(page), dropsScripts_(dropsScripts) {}

  std::string Render(std::size_t expected) {
    text_.reserve(expected);
    bool afterWord = false;
    for (std::size_t at = 0; at < page_.ItemCount(); ++at) {
      const TItem item = page_.Item(at);
      const bool isWord = item.kind == TItemKind::kWord;
      if (isWord) {
        if (afterWord) Blank();
        text_.append(item.text);
      } else if (item.kind == TItemKind::kStartTag) {
        at = Element(at, item.text);
      } else if (item.kind != TItemKind::kEndTag) {
        Blank();
      }
      afterWord = isWord;
    }
    return std::move(text_);
  }

 private:
  void Blank() {
    if (!text_.empty() && !IsSpaceAscii(text_.back())) text_ += ' ';
  }

  // Writes the text of an element; the last item that belongs to it.
  std::size_t Element(std::size_t at, std::string_view tag) {
    const TElementText* element = FindElement(tag);
    if (element == nullptr) return at;
    text_.append(element->text);
    if (element->content == TElementText::kKept) return at;
    if (element->content == TElementText::kDroppedScript && !dropsScripts_) return at;
    const std::size_t end = EndOf(*element, at + 1);
    return end == page_.ItemCount() ? at : end;
  }

  // The item that ends the element; the number of items when none does. Looked for once only where
  // there is none: what nothing ends is shown.
  std::size_t EndOf(const TElementText& element, std::size_t at) {
    const auto number = static_cast<std::size_t>(&element - kElements.data());
    if (endless_[number]) return page_.ItemCount();
    while (at < page_.ItemCount() && !EndsElement(page_.Item(at), element.name)) ++at;
    endless_[number] = at == page_.ItemCount();
    return at;
  }

  const TPageWriter& page_;
  bool dropsScripts_;
  std::string text_;
  std::array<bool, kElements.size()> endless_{};
};

}  // namespace

std::string HtmlToPlainText(std::string_view html, TPlainTextRules rules) {
  TPageWriter page;
  page.Feed(html);
  page.Flush();
  std::string text = TTextRenderer(page, rules.dropsScripts).Render(html.size());
  std::erase(text, '\0');
  if (rules.isUtf8) {
    HtmlDecodeToUtf8(text);
  } else {
    HtmlDecode(text);
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
