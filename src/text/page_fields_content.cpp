// Page fields that write an item's content and its attachments.
#include "store/ascii.h"
#include "text/charset.h"
#include "text/field_words.h"
#include "text/filters.h"
#include "text/page_field_functions.h"
#include "text/plain_text_page.h"
#include "text/unique_file.h"

#include <algorithm>
#include <string>
#include <vector>

namespace brevant {
namespace {

constexpr int kRecordBytes = 128;
constexpr int kBlockBytes = 4096;
// Attachments are stored under their name behind this many characters, which make it unique.
constexpr std::size_t kUniqueCharacters = 4;

// --- Content -------------------------------------------------------------------------------------

// Hands out the content in pieces: as it is stored, or as UTF-8 where the site decodes texts.
// Pieces of UTF-8 hold whole characters.
template <typename TTake>
void ReadContent(const TPageSite& site, TMail& item, TTake take) {
  TStream& content = item.Content();
  TTextDecoder decoder(FindCharset(site.DecodesText() ? item.String("Charset") : ""));
  char block[kBlockBytes];
  std::string decoded;
  content.Seek(0, 0);
  for (int read = content.Read(block, kBlockBytes); read > 0;
       read = content.Read(block, kBlockBytes)) {
    std::string_view piece(block, static_cast<std::size_t>(read));
    if (site.DecodesText()) {
      decoded.clear();
      decoder.Decode(piece, decoded);
      piece = decoded;
    }
    take(piece);
  }
  decoded.clear();
  decoder.Finish(decoded);
  if (!decoded.empty()) take(std::string_view(decoded));
}

void WriteHtml(const TFieldCall& call, TMail& item) {
  ReadContent(call.site, item, [&](std::string_view piece) {
    if (!call.site.DecodesText()) {
      call.page.Feed(piece);
      return;
    }
    // Markup stays; every other character is one that any page may hold.
    std::string text(piece);
    ReferUtf8(text);
    call.page.Feed(text);
  });
}

void WritePlainText(const TFieldCall& call, TMail& item) {
  TPlainTextPage html(call.site.DecodesText());
  std::string line;
  const auto end = [&] {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    call.page.Feed(html.Line(line));
    line.clear();
  };
  ReadContent(call.site, item, [&](std::string_view block) {
    for (std::size_t feed; (feed = block.find('\n')) != std::string_view::npos;) {
      line.append(block.substr(0, feed));
      end();
      block.remove_prefix(feed + 1);
    }
    line.append(block);
  });
  if (!line.empty()) end();
}

bool IsHtml(TMail& item) {
  char type[kRecordBytes];
  return item.ReadInfo("Document Type", type, kRecordBytes) == 0 || type[0] == '\0' ||
         EqualsIgnoreCase(type, "text/html");
}

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

// Stored names come out of a data file; only a plain file name may be opened.
bool IsPlainFileName(std::string_view name) {
  return name.find_first_of("/\\:") == std::string_view::npos && name != "." && name != "..";
}

bool WriteFileTo(TPageWriter& page, const std::string& path) {
  const UniqueFile file = UniqueFile::OpenToRead(path);
  if (!file) return false;
  char block[kBlockBytes];
  DWORD read = 0;
  while (ReadFile(file.Get(), block, kBlockBytes, &read, nullptr) != 0 && read > 0) {
    page.Feed(std::string_view(block, read));
  }
  return true;
}

}  // namespace

int ExpandContent(const TFieldCall& call) {
  TFieldError error;
  TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  if (item->Content().Size() == 0) return 1;
  call.page.Feed("\r\n");
  if (IsHtml(*item)) {
    WriteHtml(call, *item);
  } else {
    WritePlainText(call, *item);
  }
  if (!HasOptionWord(call.Argument(0), "Attachment")) return 1;
  const std::vector<TAttachment> attachments = Attachments(*item);
  if (!attachments.empty()) WriteAttachmentList(call, attachments);
  return 1;
}

int ExpandAttachmentFileName(const TFieldCall& call) {
  if (!call.HasArgument(0)) return 1;
  TFieldError error;
  TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  const std::vector<TAttachment> attachments = Attachments(*item);
  const TAttachment* found = FindAttachment(attachments, call.Argument(0));
  if (found != nullptr) call.page.Feed(found->stored);
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
  const std::string path = call.site.Setup().String("Local Directory") + found->stored;
  if (!IsPlainFileName(found->stored) || !WriteFileTo(call.page, path)) {
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
