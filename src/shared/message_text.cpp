#include "shared/message_text.h"

#include "platform/win32.h"
#include "store/ascii.h"

namespace brevant {

namespace {

constexpr std::size_t kBufferSize = 65536;
// HTML beyond this is stored as it came, its "cid:" references included.
constexpr DWORD kMostHtmlInMemory = 32u * 1024 * 1024;
constexpr const char* kDefaultCharset = "iso-8859-1";

std::string_view Entity(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    default:
      return {};
  }
}

// Whether a reference may end before this character.
bool EndsReference(char c) {
  return IsSpaceAscii(c) || std::string_view("\"'<>)").find(c) != std::string_view::npos;
}

}  // namespace

std::string EscapeHtml(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    const std::string_view entity = Entity(c);
    if (entity.empty()) {
      escaped.push_back(c);
    } else {
      escaped += entity;
    }
  }
  return escaped;
}

std::string ReplaceContentId(std::string_view html, std::string_view contentId,
                             std::string_view name, int& count) {
  constexpr std::size_t kScheme = 4;  // "cid:", in any letter case; the identifier as it stands
  std::string replaced;
  count = 0;
  std::size_t copied = 0;
  for (std::size_t at = html.find(':'); at != std::string_view::npos; at = html.find(':', at + 1)) {
    if (at + 1 < kScheme) continue;
    const std::size_t start = at + 1 - kScheme;
    const std::size_t end = start + contentId.size();
    if (start < copied || end > html.size() ||
        !EqualsIgnoreCase(html.substr(start, kScheme), contentId.substr(0, kScheme)) ||
        html.substr(start + kScheme, contentId.size() - kScheme) != contentId.substr(kScheme) ||
        (end < html.size() && !EndsReference(html[end]))) {
      continue;
    }
    replaced += html.substr(copied, start - copied);
    replaced += name;
    copied = end;
    ++count;
  }
  replaced += html.substr(copied);
  return replaced;
}

void TMessageText::BeginPart(bool html, const char* charset) {
  const std::string name = charset != nullptr && *charset != '\0' ? charset : kDefaultCharset;
  mode_ = TMode::kCopy;
  carriageReturn_ = false;
  if (!started_ || (html && !html_)) {
    if (started_) Restart();
    html_ = html;
    charset_ = name;
  } else {
    // us-ascii text may be followed by text that needs more.
    if (EqualsIgnoreCase(charset_, "us-ascii")) charset_ = name;
    if (html_ && !html) mode_ = TMode::kEscape;
    if (!html_ && last_ != '\n') Put("\r\n");
  }
  started_ = true;
}

void TMessageText::Append(std::string_view text) {
  if (!text.empty()) empty_ = false;
  if (mode_ == TMode::kEscape) {
    PutEscaped(text);
  } else {
    Put(text);
  }
}

void TMessageText::EndPart() {
  if (mode_ == TMode::kEscape && last_ != '\n' && !empty_) Put("<br>\r\n");
  mode_ = TMode::kCopy;
}

void TMessageText::PutEscaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (carriageReturn_ && c != '\n') escaped.push_back('\r');
    carriageReturn_ = c == '\r';
    if (carriageReturn_) continue;
    const std::string_view entity = Entity(c);
    if (c == '\n') {
      escaped += "<br>\r\n";
    } else if (entity.empty()) {
      escaped.push_back(c);
    } else {
      escaped += entity;
    }
  }
  Put(escaped);
}

void TMessageText::Put(std::string_view text) {
  if (text.empty()) return;
  buffer_ += text;
  last_ = text.back();
  if (buffer_.size() >= kBufferSize) Flush();
}

void TMessageText::Flush() {
  const int size = static_cast<int>(buffer_.size());
  if (size > 0 && mail_.Content().Write(buffer_.data(), size) != size) good_ = false;
  buffer_.clear();
}

void TMessageText::Restart() {
  buffer_.clear();
  if (mail_.Content().Seek(0, 0) != 0) good_ = false;
  last_ = '\n';
  empty_ = true;
}

// Gives back the images to which no reference was found.
std::vector<TInlineImage> TMessageText::ReplaceContentIds(const std::vector<TInlineImage>& images) {
  std::vector<TInlineImage> unseen;
  Flush();
  TStream& content = mail_.Content();
  std::string html(content.Position(), '\0');
  content.Seek(0, 0);
  if (!html.empty() &&
      content.Read(html.data(), static_cast<int>(html.size())) != static_cast<int>(html.size())) {
    good_ = false;
    return images;
  }
  for (const TInlineImage& image : images) {
    int count = 0;
    if (image.contentId.size() > 4) {
      html = ReplaceContentId(html, image.contentId, image.storedName, count);
    }
    if (count == 0) unseen.push_back(image);
  }
  Restart();
  Put(html);
  return unseen;
}

bool TMessageText::Finish(const std::vector<TInlineImage>& images) {
  if (html_ && !images.empty()) {
    Flush();
    const bool small = mail_.Content().Position() <= kMostHtmlInMemory;
    for (const TInlineImage& image : small&& good_ ? ReplaceContentIds(images) : images) {
      Put("<img src=\"" + EscapeHtml(image.storedName) + "\" alt=\"" + EscapeHtml(image.shownName) +
          "\">");
    }
  }
  Flush();
  if (mail_.ContentTruncate() == 0) good_ = false;
  if (mail_.String("Document Type", html_ ? "text/html" : "text/plain") != 1) good_ = false;
  if (started_ && mail_.String("CHARSET", charset_.c_str()) != 1) good_ = false;
  return good_;
}

}  // namespace brevant
