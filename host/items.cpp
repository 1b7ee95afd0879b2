#include "items.h"

#include "board_directory.h"
#include "text.h"

#include <fstream>
#include <iostream>
#include <iterator>

namespace host {

namespace {

constexpr std::size_t kMaximumContent = 64u << 20;

std::string ReadAll(std::istream& in) {
  std::string content(std::istreambuf_iterator<char>(in), {});
  if (content.size() > kMaximumContent) throw UserError("Cannot store more than 64 MB");
  return content;
}

void Require(bool saved) {
  if (!saved) throw UserError("Cannot save the item");
}

}  // namespace

void CheckSubject(const std::string& subject) {
  if (subject.empty()) throw UserError("Cannot store an item without a subject");
  if (HasControlCharacter(subject)) throw UserError("Cannot store a subject of several lines");
}

void CheckSender(const std::string& from) {
  if (HasControlCharacter(from)) throw UserError("Cannot store: control characters in --from");
  if (AddressOf(from).find('@') == std::string::npos) {
    throw UserError("Cannot store what comes from \"" + from +
                    "\": give an address, as in --from \"Ann Example <ann@example.org>\"");
  }
}

std::string AddressOf(const std::string& from) {
  const std::size_t start = from.find('<');
  const std::size_t end = from.find('>', start == std::string::npos ? 0 : start);
  if (start == std::string::npos || end == std::string::npos) return from;
  return from.substr(start + 1, end - start - 1);
}

std::string ReadContent(const std::string& file) {
  if (file == "-") {
    SetBinaryStandardStreams();
    return ReadAll(std::cin);
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) throw UserError("Cannot open " + file);
  std::string content = ReadAll(in);
  if (in.bad()) throw UserError("Cannot read " + file);
  return content;
}

ItemPointer NewItem(const ContainerKind& kind, const std::string& subject) {
  ItemPointer item(kind.openItem(0, nullptr));
  if (!item) throw UserError("Cannot make a temporary " + std::string(kind.item));
  WriteText(*item, "SUBJECT", subject);
  WriteText(*item, "CHARSET", "utf-8");
  WriteText(*item, "Header Charset", "utf-8");
  return item;
}

void WriteText(TMail& item, const char* key, const std::string& value) {
  const std::size_t room = 126 - std::string(key).size();
  Require(item.String(key, CutUtf8(value, room).c_str()) == 1);
}

void WriteItemNumber(TMail& item, const char* key, LONG value) {
  Require(item.Number(key, value) == 1);
}

void WriteSender(TMail& item, const std::string& from) {
  WriteText(item, "FROM", from);
  WriteText(item, "E-Mail Address", AddressOf(from));
}

void WriteContent(TMail& item, const std::string& content, bool isHtml) {
  WriteText(item, "Document Type", isHtml ? "text/html" : "text/plain");
  const int size = static_cast<int>(content.size());
  Require(size == 0 || item.Content().Write(content.data(), size) == size);
}

DWORD FileItem(const ContainerKind& kind, TMail& item, TForum& container, const std::string& name) {
  const DWORD index = kind.insertItem(&item, &container);
  if (index == 0 || container.Storage().Commit() == 0) {
    throw UserError("Cannot save message to [" + Printable(name) + "]");
  }
  return index;
}

}  // namespace host
