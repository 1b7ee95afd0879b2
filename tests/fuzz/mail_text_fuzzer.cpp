// Texts of mail on their way in and out: tags and links in subjects, names of attachments, header
// fields, addresses and bodies that are written, dots that could end a message.
#include "fuzzed_input.h"
#include "net/smtp_text.h"
#include "shared/attachment_name.h"
#include "shared/dot_guard.h"
#include "shared/link_subject.h"
#include "shared/mail_encoding.h"
#include "shared/mail_header.h"
#include "shared/page_names.h"
#include "shared/recipients.h"
#include "shared/subject_tag.h"
#include "text/charset.h"
#include "text/encoded_words.h"

#include <algorithm>

using test::Require;

namespace {

bool IsInside(std::string_view part, std::string_view text) {
  return part.empty() ||
         (part.data() >= text.data() && part.data() + part.size() <= text.data() + text.size());
}

void CheckSubject(const std::string& text, const std::string& board) {
  const brevant::TSubjectTag tag = brevant::ParseSubjectTag(text);
  Require(tag.count >= 0 && tag.count <= brevant::TSubjectTag::kMaxParts, "bounded count of parts");
  for (int i = 0; i < tag.count; ++i) {
    Require(IsInside(tag.parts[i], text), "a part is part of the text");
    brevant::TagPartText(tag.parts[i]);
    brevant::TagNamesBoard(tag.parts[i], board);
  }
  Require(brevant::TagLinkId(tag) >= 0, "no message is numbered below zero");
  const brevant::TLinkSubject link = brevant::SplitLinkSubject(text);
  Require(IsInside(link.subject, text) && IsInside(link.address, text), "parts of the subject");
  brevant::ContainsWholeWord(text, board);
}

// The names of files that come by mail lie in one directory, and none is hidden or run.
void CheckFileNames(const std::string& text) {
  const std::string safe = brevant::SafeFileName(text);
  constexpr std::string_view kReserved = "<>:\"/\\|?*\r\n\t %#&=";
  Require(safe.size() <= 60 && safe.find_first_of(kReserved) == std::string::npos &&
              !safe.starts_with('.') && !safe.ends_with('.'),
          "a safe name is the name of one file");
  Require(std::all_of(safe.begin(), safe.end(), [](char c) { return c > ' ' && c < '\x7f'; }),
          "a safe name is plain ASCII");
  Require(brevant::SafeFileName(safe) == safe, "a safe name stays as it is");
  if (!safe.empty()) {
    const std::string harmless = brevant::HarmlessFileName(safe);
    Require(harmless.size() <= 60 && std::count(harmless.begin(), harmless.end(), '.') == 1,
            "one extension");
    Require(brevant::HarmlessFileName(harmless) == harmless, "a harmless name stays as it is");
    Require(!brevant::IsForbiddenAttachment(harmless), "nothing runs by its name");
    const std::string stored = brevant::StoredFileName("k3x9", safe);
    Require(stored.size() == safe.size() + 4, "prefix and name");
  }
  const std::string nameless = brevant::NamelessAttachment(text);
  Require(brevant::SafeFileName(nameless) == nameless, "what stands in for a name is a name");
}

void CheckPageNames(const std::string& text, const std::string& other, DWORD number) {
  for (const std::string& name : {brevant::ContainerPageName(text, "forum.htm", 'f', other),
                                  brevant::ItemPageName(other, "message.htm", 'f', text, number)}) {
    Require(name.size() <= brevant::kMaxPageNameBytes && brevant::IsPageFile(name),
            "a page's name");
    Require(name.find_first_of("/\\:*?\"<>|\r\n") == std::string::npos && !name.starts_with('.'),
            "a page lies in the site");
  }
}

bool IsHeaderValue(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n' || (text[i] == '\r' && text.substr(i, 2) != "\r\n")) return false;
    if (text[i] != '\r') continue;
    // A fold, and something on the line behind it.
    if (i + 3 >= text.size() || text[i + 2] != ' ' || text[i + 3] == '\r') return false;
    ++i;
  }
  return true;
}

void CheckHeaders(const std::string& text, const std::string& other) {
  for (const std::string& value : {brevant::HeaderText(text), brevant::HeaderBytes(text)}) {
    Require(IsHeaderValue(value), "a field ends where it should");
    Require(std::all_of(value.begin(), value.end(), [](char c) { return c > 0; }), "plain ASCII");
  }
  if (text.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos && !text.empty())
    Require(brevant::DecodeEncodedWords(brevant::HeaderBytes(text)) == text, "bytes come back");
  const std::string spec = brevant::AddressSpec(text);
  const std::string mailbox = brevant::Mailbox(other, spec.empty() ? "a@example.org" : spec);
  Require(IsHeaderValue(mailbox), "a mailbox is one field");
  if (spec.empty()) return;
  Require(spec.find('@') != std::string::npos && IsHeaderValue(spec) &&
              spec.find_first_of("\r\n") == std::string::npos,
          "an address is one");
  Require(brevant::PathOf(spec) == spec, "what headers take goes out as a path");
}

void CheckBody(const std::string& text, std::size_t step) {
  const std::string lines = brevant::WithCrLf(text);
  const brevant::TEncodedBody body = brevant::EncodeText(lines);
  for (const std::string& encoded : {body.body, brevant::EncodeBytes(text).body}) {
    std::size_t start = 0;
    while (start < encoded.size()) {
      const std::size_t end = std::min(encoded.find("\r\n", start), encoded.size());
      Require(end - start <= 998, "lines have a limit");
      start = end + 2;
    }
    Require(std::all_of(encoded.begin(), encoded.end(), [](char c) { return c > 0; }),
            "plain ASCII without zero bytes");
  }
  brevant::TDotGuard guard;
  std::string guarded;
  for (std::size_t at = 0; at < text.size(); at += step)
    guarded += guard.Take(std::string_view(text).substr(at, step));
  guarded += guard.Finish();
  const std::string framed = "\n" + brevant::WithCrLf(guarded) + "\r\n";
  Require(framed.find("\n.\r\n") == std::string::npos, "no line is a single dot");
  std::string whole;
  std::string pieces;
  bool lineStart = true;
  bool afterReturn = false;
  brevant::AppendBody(text, &lineStart, &afterReturn, &whole);
  lineStart = true;
  afterReturn = false;
  for (std::size_t at = 0; at < text.size(); at += step)
    brevant::AppendBody(std::string_view(text).substr(at, step), &lineStart, &afterReturn, &pieces);
  Require(whole == pieces, "pieces of a body give the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const unsigned step = input.Byte() + 1;
  const std::string other = input.Part();
  const std::string text = input.Rest();
  CheckSubject(text, other);
  CheckFileNames(text);
  CheckPageNames(text, other, step);
  CheckHeaders(text, other);
  CheckBody(text, step);
  return 0;
}
