#include "shared/message_text.h"

#include "platform/win32.h"
#include "store/ascii.h"

#include <algorithm>
#include <unordered_map>

namespace brevant {

namespace {

constexpr std::size_t kBufferSize = 65536;
// Content beyond this is stored as it came: its "cid:" references are not replaced, and parts of
// different character sets keep theirs.
constexpr DWORD kMostInMemory = 32u * 1024 * 1024;
constexpr const char* kDefaultCharset = "iso-8859-1";
constexpr std::string_view kAscii = "us-ascii";
constexpr const char* kUtf8 = "utf-8";

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

// Finds the next character of a set; the places asked for only grow, so that all questions together
// pass over the text once.
class TNextOf {
 public:
  TNextOf(std::string_view text, std::string_view set) : text_(text), set_(set) { Find(0); }
  // The first place at or behind at, or the text's length.
  std::size_t From(std::size_t at) {
    if (next_ < at) Find(at);
    return next_;
  }

 private:
  void Find(std::size_t at) { next_ = std::min(text_.find_first_of(set_, at), text_.size()); }

  std::string_view text_;
  std::string_view set_;
  std::size_t next_ = 0;
};

bool IsBlankText(std::string_view text) {
  return std::all_of(text.begin(), text.end(), IsSpaceAscii);
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

std::string EscapeHtmlToAscii(std::string_view utf8) {
  std::string ascii;
  std::string escaped = EscapeHtml(utf8);
  for (std::string_view rest = escaped; !rest.empty();) {
    const char32_t character = TakeCharacter(rest);
    if (character < 128) {
      ascii.push_back(static_cast<char>(character));
    } else {
      ascii += "&#" + std::to_string(static_cast<DWORD>(character)) + ";";
    }
  }
  return ascii;
}

std::string ReplaceContentIds(std::string_view html, const std::vector<TInlineImage>& images,
                              std::vector<bool>& seen) {
  constexpr std::string_view kScheme = "cid:";  // in any letter case; the identifier as it stands
  std::unordered_map<std::string_view, std::size_t> byIdentifier;
  std::size_t longest = 0;
  for (std::size_t i = 0; i < images.size(); ++i) {
    const std::string_view contentId = images[i].contentId;
    if (contentId.size() <= kScheme.size()) continue;
    byIdentifier.emplace(contentId.substr(kScheme.size()), i);
    longest = std::max(longest, contentId.size() - kScheme.size());
  }
  seen.assign(images.size(), false);
  // An identifier may hold what also ends a reference, so the longer reading is tried too.
  TNextOf ends[] = {{html, " \t\r\n\v\f\"'<>)"}, {html, " \t\r\n\v\f\"<>"}};
  std::string replaced;
  std::size_t copied = 0;
  for (std::size_t at = html.find(':'); at != std::string_view::npos; at = html.find(':', at + 1)) {
    const std::size_t identifier = at + 1;
    if (identifier < copied + kScheme.size()) continue;
    const std::size_t start = identifier - kScheme.size();
    if (!EqualsIgnoreCase(html.substr(start, kScheme.size()), kScheme)) continue;
    for (TNextOf& next : ends) {
      const std::size_t end = next.From(identifier);
      if (end - identifier > longest) break;
      const auto image = byIdentifier.find(html.substr(identifier, end - identifier));
      if (image == byIdentifier.end()) continue;
      replaced += html.substr(copied, start - copied);
      replaced += images[image->second].storedName;
      seen[image->second] = true;
      copied = end;
      break;
    }
  }
  replaced += html.substr(copied);
  return replaced;
}

void TMessageText::BeginPart(bool html, const char* charset) {
  const bool named = charset != nullptr && *charset != '\0';
  const std::string name = named ? charset : kDefaultCharset;
  mode_ = TMode::kCopy;
  decoder_.reset();
  carriageReturn_ = false;
  if (!started_ || (html && !html_)) {
    if (started_) Restart();
    html_ = html;
    charset_ = name;
    charsetNamed_ = named;
  } else {
    JoinCharset(name, named);
    if (html_ && !html) mode_ = TMode::kEscape;
    if (!html_ && last_ != '\n') Put("\r\n");
  }
  started_ = true;
}

// A part of this character set is going to be appended.
void TMessageText::JoinCharset(const std::string& added, bool named) {
  if (EqualsIgnoreCase(charset_, kAscii)) {
    // Text that needs more may follow.
    charset_ = added;
    charsetNamed_ = named;
    return;
  }
  const TCharset present = FindCharset(charset_);
  if (!decodeText_ || EqualsIgnoreCase(added, kAscii) || present == TCharset::kUnknown ||
      present == FindCharset(added)) {
    return;
  }
  if (present != TCharset::kUtf8 && !BecomeUtf8(charsetNamed_ ? present : TCharset::kUnknown)) {
    return;
  }
  decoder_.emplace(named ? FindCharset(added) : TCharset::kUnknown);
}

// Rewrites what is there; false, and nothing is changed, when it is too much or cannot be read.
bool TMessageText::BecomeUtf8(TCharset present) {
  const std::optional<std::string> written = WrittenSoFar();
  if (!written) return false;
  const bool empty = empty_;
  Restart();
  Put(DecodeText(*written, present));
  empty_ = empty;
  charset_ = kUtf8;
  charsetNamed_ = true;
  return true;
}

void TMessageText::Append(std::string_view text) {
  if (!decoder_) {
    PutText(text);
    return;
  }
  std::string utf8;
  decoder_->Decode(text, utf8);
  PutText(utf8);
}

void TMessageText::PutText(std::string_view text) {
  empty_ = empty_ && IsBlankText(text);
  if (mode_ == TMode::kEscape) {
    PutEscaped(text);
  } else {
    Put(text);
  }
}

void TMessageText::EndPart() {
  if (decoder_) {
    std::string rest;
    decoder_->Finish(rest);
    PutText(rest);
    decoder_.reset();
  }
  if (mode_ == TMode::kEscape && last_ != '\n') Put("<br>\r\n");
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
  if (decodeText_) check_.Add(text);
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
  check_ = {};
}

// The content; none when it is more than memory should hold, or cannot be read. Writing goes on
// behind it.
std::optional<std::string> TMessageText::WrittenSoFar() {
  Flush();
  TStream& content = mail_.Content();
  const DWORD size = content.Position();
  if (!good_ || size > kMostInMemory) return std::nullopt;
  std::string text(size, '\0');
  content.Seek(0, 0);
  if (size > 0 && content.Read(text.data(), static_cast<int>(size)) != static_cast<int>(size)) {
    good_ = false;
    return std::nullopt;
  }
  return text;
}

// Gives back the images to which no reference was found.
std::vector<TInlineImage> TMessageText::ShowImages(const std::vector<TInlineImage>& images) {
  const std::optional<std::string> written = WrittenSoFar();
  if (!written) return images;
  std::vector<bool> seen;
  const std::string html = ReplaceContentIds(*written, images, seen);
  std::vector<TInlineImage> unseen;
  for (std::size_t i = 0; i < images.size(); ++i) {
    if (!seen[i]) unseen.push_back(images[i]);
  }
  Restart();
  Put(html);
  return unseen;
}

std::string TMessageText::ImageReference(const TInlineImage& image) const {
  const std::string shown =
      decodeText_ ? EscapeHtmlToAscii(image.shownName) : EscapeHtml(image.shownName);
  return "<img src=\"" + EscapeHtml(image.storedName) + "\" alt=\"" + shown + "\">";
}

bool TMessageText::Finish(const std::vector<TInlineImage>& images) {
  if (html_ && !images.empty()) {
    for (const TInlineImage& image : ShowImages(images)) Put(ImageReference(image));
  }
  if (decodeText_ && !check_.Ascii() && check_.Valid() &&
      (!charsetNamed_ || EqualsIgnoreCase(charset_, kAscii))) {
    charset_ = kUtf8;
  }
  Flush();
  if (mail_.ContentTruncate() == 0) good_ = false;
  if (mail_.String("Document Type", html_ ? "text/html" : "text/plain") != 1) good_ = false;
  if (started_ && mail_.String("CHARSET", charset_.c_str()) != 1) good_ = false;
  return good_;
}

}  // namespace brevant
