#include "platform/win32.h"
#include "text/element_tree.h"
#include "text/page_writer.h"
#include "text/unique_file.h"

#include <algorithm>
#include <array>
#include <memory>

namespace brevant {
namespace {

constexpr std::size_t kLineLength = 80;
// A page is handed on in pieces of this many bytes and the rest of an item.
constexpr std::size_t kPieceBytes = 65536;

bool WriteAll(HANDLE file, std::string_view bytes) {
  constexpr std::size_t kBlock = 1 << 20;
  while (!bytes.empty()) {
    DWORD written = 0;
    const auto count = static_cast<DWORD>(std::min(bytes.size(), kBlock));
    if (WriteFile(file, bytes.data(), count, &written, nullptr) == 0 || written == 0) return false;
    bytes.remove_prefix(written);
  }
  return true;
}

int SaveText(const char* path, std::string_view text) {
  UniqueFile file(
      CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return 0;
  const bool written = WriteAll(file.Get(), text);
  if (file.Close() && written) return 1;
  DeleteFileA(path);
  return 0;
}

std::size_t WrittenLength(TItemKind kind, std::size_t textLength) {
  switch (kind) {
    case TItemKind::kSpace:
      return 1;
    case TItemKind::kStartTag:
      return textLength + 2;
    case TItemKind::kEndTag:
      return textLength + 3;
    default:
      return textLength;
  }
}

void AppendItem(TItemKind kind, std::string_view text, std::string& page) {
  switch (kind) {
    case TItemKind::kSpace:
      page += ' ';
      break;
    case TItemKind::kStartTag:
      page.append(1, '<').append(text).append(1, '>');
      break;
    case TItemKind::kEndTag:
      page.append("</", 2).append(text).append(1, '>');
      break;
    default:
      page.append(text);
  }
}

bool HandOn(std::string& piece, const TPageWriter::TTakePiece& take) {
  const bool goOn = piece.empty() || take(piece);
  piece.clear();
  return goOn;
}

bool RenderLines(const TPageItems& items, std::size_t begin, std::size_t end,
                 const TPageWriter::TTakePiece& take) {
  std::string page;
  page.reserve(std::min(items.text.size() + items.text.size() / 4 + 64, kPieceBytes * 2));
  std::size_t lineLength = 0;
  bool afterWord = false;
  bool goesOn = false;  // the word before is not at its end
  for (std::size_t item = begin; item < end; ++item) {
    const TItemKind kind = items.Kind(item);
    if (kind == TItemKind::kLineBreak) continue;
    const std::string_view text = items.Text(item);
    const std::size_t length = WrittenLength(kind, text.size());
    const bool isWord = kind == TItemKind::kWord;
    // An item longer than a line goes behind a short beginning rather than below it.
    // What parted the pieces of a word would show.
    if (lineLength + length < kLineLength || (length > kLineLength - 2 && lineLength < 11) ||
        goesOn) {
      if (isWord && afterWord && lineLength != 0) {
        page += ' ';
        ++lineLength;
      }
    } else {
      page.append("\r\n", 2);
      lineLength = 0;
    }
    AppendItem(kind, text, page);
    lineLength += length;
    goesOn = items.Has(item, TPageItems::kGoesOn);
    afterWord = isWord && !goesOn;
    if (page.size() >= kPieceBytes && !HandOn(page, take)) return false;
  }
  return HandOn(page, take);
}

std::string ItemNumber(std::size_t item) {
  std::string digits = std::to_string(item);
  if (digits.size() < 3) digits.insert(0, 3 - digits.size(), ' ');
  return "[" + digits + "] ";
}

bool RenderNumbered(const TPageItems& items, const TPageWriter::TTakePiece& take) {
  std::string page;
  for (std::size_t item = 0; item < items.entries.size(); ++item) {
    page += ItemNumber(item);
    if (items.Kind(item) == TItemKind::kLineBreak) {
      page += "***LINEFEED***";
    } else {
      AppendItem(items.Kind(item), items.Text(item), page);
    }
    page += "\r\n";
    if (page.size() >= kPieceBytes && !HandOn(page, take)) return false;
  }
  return HandOn(page, take);
}

}  // namespace

int TPageWriter::FeedFile(const char* path) {
  const UniqueFile file = UniqueFile::OpenToRead(path);
  if (!file) return 0;
  constexpr DWORD kBlock = 32768;
  const auto block = std::make_unique<std::array<char, kBlock>>();
  for (;;) {
    DWORD count = 0;
    if (ReadFile(file.Get(), block->data(), kBlock, &count, nullptr) == 0) return 0;
    if (count == 0) return 1;
    Feed({block->data(), count});
  }
}

bool TPageWriter::RenderTo(const TTakePiece& take) const {
  return diagnostic_ ? RenderNumbered(items_, take) : RenderLines(items_, 0, ItemCount(), take);
}

std::string TPageWriter::Render() const {
  std::string page;
  RenderTo([&](std::string_view piece) { return page.append(piece), true; });
  return page;
}

int TPageWriter::Save(const char* path) const { return SaveText(path, Render()); }

int TPageWriter::SaveSection(std::size_t section) const {
  for (const TPageItems::Span& span : items_.spans) {
    if (span.section < 0 || static_cast<std::size_t>(span.section) != section) continue;
    const TItemRange part = RepeatedPart(items_, span.item);
    std::string text;
    RenderLines(items_, part.begin, part.end,
                [&](std::string_view piece) { return text.append(piece), true; });
    return SaveText("section.htm", text);
  }
  return 0;
}

}  // namespace brevant
