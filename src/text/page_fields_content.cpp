// Page fields that write an item's content and its attachments.
#include "store/ascii.h"
#include "text/charset.h"
#include "text/field_words.h"
#include "text/filters.h"
#include "text/page_field_functions.h"
#include "text/plain_text.h"
#include "text/plain_text_page.h"
#include "text/safe_html.h"
#include "text/unique_file.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace brevant {
namespace {

constexpr int kRecordBytes = 128;
constexpr int kBlockBytes = 4096;
// Attachments are stored under their name behind this many characters, which make it unique.
constexpr std::size_t kUniqueCharacters = 4;

// --- Attachments ---------------------------------------------------------------------------------

struct TAttachment {
  std::string stored;    // the file's name in the site
  std::string original;  // how the mail called it
};

std::vector<TAttachment> Attachments(TMail& item) {
  std::vector<TAttachment> list;
  if (item.OpenList("ATTACHMENT", kRecordBytes) == 0) return list;
  char stored[kRecordBytes + 1];
  char original[kRecordBytes + 1];
  while (item.ReadNextListItem(stored, sizeof stored, original, sizeof original) != 0) {
    if (stored[0] != '\0') list.push_back({stored, original});
  }
  item.CloseList();
  return list;
}

// What Windows opens as a device in every directory and with any extension. A read of one may never
// come back.
bool IsDeviceName(std::string_view name) {
  name = name.substr(0, name.find('.'));
  while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
  for (const char* device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
    if (EqualsIgnoreCase(name, device)) return true;
  }
  if (name.size() != 4) return false;
  const std::string_view port = name.substr(0, 3);
  // Superscript digits are port numbers too.
  return (EqualsIgnoreCase(port, "COM") || EqualsIgnoreCase(port, "LPT")) &&
         std::string_view("0123456789\xB9\xB2\xB3").find(name[3]) != std::string_view::npos;
}

// Stored names come out of a data file; only a plain file name may be opened.
bool IsPlainFileName(std::string_view name) {
  return name.find_first_of("/\\:") == std::string_view::npos && name != "." && name != ".." &&
         !IsDeviceName(name);
}

// --- Content -------------------------------------------------------------------------------------

// Feeds HTML that arrives in pieces: as it is, or where the site decodes texts with every character
// of 128 or more as one that any page may hold. Markup stays, or where the site shows safe HTML
// what of it can do no harm.
class TContentFeed {
 public:
  TContentFeed(const TFieldCall& call, TCharset charset, const std::vector<TAttachment>& files)
      : page_(call.page), decodes_(call.site.DecodesText()), decoder_(charset) {
    if (!call.site.ShowsSafeHtml()) return;
    std::vector<std::string> names;
    for (const TAttachment& file : files) {
      if (IsPlainFileName(file.stored)) names.push_back(file.stored);
    }
    safe_.emplace(std::move(names));
  }
  void Take(std::string_view piece) {
    if (!decodes_) {
      FeedPage(piece);
      return;
    }
    decoder_.Decode(piece, text_);
    FeedDecoded();
  }
  void Finish() {
    decoder_.Finish(text_);
    FeedDecoded();
    if (!safe_) return;
    safe_->Finish();
    page_.Feed(safe_->Html());
  }

 private:
  void FeedDecoded() {
    ReferUtf8(text_);
    FeedPage(text_);
    text_.clear();
  }
  void FeedPage(std::string_view html) {
    if (!safe_) {
      page_.Feed(html);
      return;
    }
    safe_->Take(html);
    page_.Feed(safe_->Html());
    safe_->Html().clear();
  }

  TPageWriter& page_;
  bool decodes_;
  TTextDecoder decoder_;
  std::string text_;
  std::optional<TSafeHtml> safe_;
};

// Hands out the content in pieces.
template <typename TTake>
void ReadContent(TMail& item, TTake take) {
  TStream& content = item.Content();
  char block[kBlockBytes];
  content.Seek(0, 0);
  for (int read = content.Read(block, kBlockBytes); read > 0;
       read = content.Read(block, kBlockBytes)) {
    take(std::string_view(block, static_cast<std::size_t>(read)));
  }
}

void WriteHtml(const TFieldCall& call, TMail& item, const std::vector<TAttachment>& files) {
  TContentFeed feed(call, FindCharset(item.String("Charset")), files);
  ReadContent(item, [&feed](std::string_view piece) { feed.Take(piece); });
  feed.Finish();
}

void WritePlainText(const TFieldCall& call, TMail& item) {
  const bool decodes = call.site.DecodesText();
  TPlainTextPage html(decodes);
  TTextDecoder decoder(FindCharset(item.String("Charset")));
  std::string line;
  const auto end = [&] {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    call.page.Feed(html.Line(line));
    line.clear();
  };
  const auto take = [&](std::string_view block) {
    for (std::size_t feed; (feed = block.find('\n')) != std::string_view::npos;) {
      line.append(block.substr(0, feed));
      end();
      block.remove_prefix(feed + 1);
    }
    line.append(block);
  };
  std::string decoded;
  ReadContent(item, [&](std::string_view block) {
    if (!decodes) return take(block);
    decoded.clear();
    decoder.Decode(block, decoded);
    take(decoded);
  });
  decoded.clear();
  decoder.Finish(decoded);
  take(decoded);
  if (!line.empty()) end();
}

// In a tag only text can stand; where the site shows safe HTML that is what is written there.
int WriteValue(const TFieldCall& call, TMail& item, bool isHtml) {
  constexpr std::size_t kLongest = 512;
  std::string text;
  if (isHtml) {
    text = PlainTextContent(item, &call.site.Setup());
  } else {
    ReadContent(item, [&text](std::string_view piece) { text.append(piece); });
    if (call.site.DecodesText()) text = DecodeText(text, item.String("Charset"));
  }
  std::replace_if(text.begin(), text.end(), IsSpaceAscii, ' ');
  text.erase(0, text.find_first_not_of(' '));
  return call.WriteVisitors(std::string(CutAtCharacter(text, kLongest)), false);
}

bool IsHtml(TMail& item) {
  char type[kRecordBytes];
  return item.ReadInfo("Document Type", type, kRecordBytes) == 0 || type[0] == '\0' ||
         EqualsIgnoreCase(type, "text/html");
}

// --- The list of attachments ---------------------------------------------------------------------

// A name with "_" in it is shown without what is no part of the name itself, and with blanks.
std::string ShownName(const std::string& stored) {
  std::string shown = stored.substr(std::min(stored.size(), kUniqueCharacters));
  if (shown.find('_') == std::string::npos) return shown;
  const std::size_t folder = shown.find_last_of("/\\:");
  if (folder != std::string::npos) shown.erase(0, folder + 1);
  const std::size_t dot = shown.rfind('.');
  if (dot != std::string::npos) shown.erase(dot);
  std::replace(shown.begin(), shown.end(), '_', ' ');
  return shown;
}

std::string Escaped(const TPageSite& site, std::string text) {
  if (site.DecodesText()) {
    text = DecodeText(text, TCharset::kUnknown);
    HtmlEscapeUtf8(text);
  } else {
    HtmlEscape(text);
  }
  return text;
}

void WriteAttachmentList(const TFieldCall& call, const std::vector<TAttachment>& list) {
  std::string html = "<p><hr>";
  if (call.HasArgument(1)) {
    html.append(call.Argument(1));
  } else {
    html.append(list.size() == 1 ? "Attachment: " : "Attachments: ");
  }
  html.append("<p><blockquote>");
  for (std::size_t i = 0; i < list.size(); ++i) {
    html.append("<a href=\"").append(Escaped(call.site, list[i].stored)).append("\">");
    html.append(Escaped(call.site, ShownName(list[i].stored))).append("</a>");
    if (i + 1 < list.size()) html.append(", ");
    html.append("\r\n");
  }
  call.page.Feed(html.append("</blockquote></p>"));
}

// The attachment that a tag's first argument names.
const TAttachment* FindAttachment(const std::vector<TAttachment>& list, std::string_view name) {
  for (const TAttachment& attachment : list) {
    if (std::string_view(attachment.original).substr(0, name.size()) == name ||
        EqualsIgnoreCase(attachment.stored, name)) {
      return &attachment;
    }
  }
  return nullptr;
}

bool WriteFileTo(const TFieldCall& call, const std::string& path) {
  const UniqueFile file = UniqueFile::OpenToRead(path);
  if (!file) return false;
  TContentFeed feed(call, TCharset::kUnknown, {});
  char block[kBlockBytes];
  DWORD read = 0;
  while (ReadFile(file.Get(), block, kBlockBytes, &read, nullptr) != 0 && read > 0) {
    feed.Take(std::string_view(block, read));
  }
  feed.Finish();
  return true;
}

}  // namespace

int ExpandContent(const TFieldCall& call) {
  TFieldError error;
  TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  if (item->Content().Size() == 0) return 1;
  const bool isHtml = IsHtml(*item);
  if (call.site.ShowsSafeHtml() && call.page.InTag()) return WriteValue(call, *item, isHtml);
  const bool isListed = HasOptionWord(call.Argument(0), "Attachment");
  std::vector<TAttachment> attachments;
  if (isListed || (isHtml && call.site.ShowsSafeHtml())) attachments = Attachments(*item);
  call.page.Feed("\r\n");
  if (isHtml) {
    WriteHtml(call, *item, attachments);
  } else {
    WritePlainText(call, *item);
  }
  if (isListed && !attachments.empty()) WriteAttachmentList(call, attachments);
  return 1;
}

int ExpandAttachmentFileName(const TFieldCall& call) {
  if (!call.HasArgument(0)) return 1;
  TFieldError error;
  TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  const std::vector<TAttachment> attachments = Attachments(*item);
  const TAttachment* found = FindAttachment(attachments, call.Argument(0));
  if (found == nullptr) return 1;
  if (call.site.ShowsSafeHtml()) return call.WriteVisitors(found->stored, false);
  call.page.Feed(found->stored);
  return 1;
}

int ExpandAttachmentContent(const TFieldCall& call) {
  if (!call.HasArgument(0)) return 1;
  TFieldError error;
  TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  const std::vector<TAttachment> attachments = Attachments(*item);
  const TAttachment* found = FindAttachment(attachments, call.Argument(0));
  if (found == nullptr) return 1;
  // A file is no value of an attribute.
  if (call.site.ShowsSafeHtml() && call.page.InTag()) return 1;
  const std::string path = call.site.Setup().String("Local Directory") + found->stored;
  if (!IsPlainFileName(found->stored) || LeadsOut(path.c_str(), nullptr) ||
      !WriteFileTo(call, path)) {
    return call.Fail("Cannot open resource");
  }
  return 1;
}

int ExpandSubTemplate(const TFieldCall& call) {
  const auto found = call.site.SubTemplate(call.row.key);
  if (!found) return call.Fail("Cannot open template " + std::string(call.row.key));
  call.page.AddSourceTime(found->written);
  return call.page.FeedSubTemplate(found->path, found->bytes);
}

}  // namespace brevant
