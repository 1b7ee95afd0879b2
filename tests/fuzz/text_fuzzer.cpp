// Visitors' text: filters, character sets, encoded words, HTML to plain text.
#include "fuzzed_input.h"
#include "text/charset.h"
#include "text/encoded_words.h"
#include "text/filters.h"
#include "text/plain_text.h"

using test::Require;

namespace {

bool IsUtf8(std::string_view text) {
  brevant::TUtf8Check check;
  check.Add(text);
  return check.Valid();
}

bool HasLineEnd(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

void Filter(const std::string& text) {
  using TFilter = void (*)(std::string&);
  for (const TFilter filter :
       {TFilter{brevant::HtmlEscape}, TFilter{brevant::HtmlDecode}, TFilter{brevant::UrlEncode},
        TFilter{brevant::UrlDecode}, TFilter{brevant::HtmlDecodeToUtf8},
        TFilter{brevant::UrlEncodeUtf8}, TFilter{brevant::ReferUtf8}}) {
    std::string copy = text;
    filter(copy);
  }
  for (const TFilter escape : {TFilter{brevant::HtmlEscape}, TFilter{brevant::HtmlEscapeUtf8}}) {
    std::string escaped = text;
    escape(escaped);
    Require(escaped.find_first_of("<>\"") == std::string::npos, "escaped text has no markup");
  }
}

void Decode(const std::string& text, unsigned charset, std::size_t cut) {
  const auto kind = static_cast<brevant::TCharset>(charset < 17 ? charset : 101 + charset % 2);
  const std::string whole = brevant::DecodeText(text, kind);
  Require(IsUtf8(whole), "decoded text is UTF-8");
  brevant::TTextDecoder decoder(kind);
  std::string pieces;
  decoder.Decode(std::string_view(text).substr(0, cut), pieces);
  decoder.Decode(std::string_view(text).substr(std::min(cut, text.size())), pieces);
  decoder.Finish(pieces);
  Require(pieces == whole, "pieces decode like the whole");
  Require(IsUtf8(brevant::CutAtCharacter(whole, cut)), "cut at a whole character");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const unsigned charset = input.Byte();
  const unsigned cut = input.Byte();
  const std::string label = input.Part();
  const std::string text = input.Rest();
  Filter(text);
  Decode(text, charset, cut);
  Require(IsUtf8(brevant::DecodeText(text, label)), "any label gives UTF-8");
  const std::string header = brevant::DecodeHeader(text);
  Require(IsUtf8(header) && !HasLineEnd(header), "a header is one line of UTF-8");
  Require(!HasLineEnd(brevant::DecodeAddressHeader(text)), "an address header is one line");
  brevant::DecodeEncodedWords(text);
  for (unsigned rules = 0; rules < 8; ++rules) {
    const std::string plain =
        brevant::HtmlToPlainText(text, {(rules & 1) != 0, (rules & 2) != 0, (rules & 4) != 0});
    Require(plain.find('\0') == std::string::npos, "plain text has no zero bytes");
  }
  return 0;
}
