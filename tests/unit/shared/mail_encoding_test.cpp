// Headers and encodings of outgoing mail.
#include "shared/mail_encoding.h"

#include "shared/mail_header.h"
#include "text/encoded_words.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using brevant::AddressSpec;
using brevant::EncodedWords;
using brevant::EncodeText;

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

TEST(Base64, HasTheKnownForms) {
  const std::pair<const char*, const char*> rows[] = {
      {"", ""},        {"f", "Zg=="},        {"fo", "Zm8="},
      {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xFF\xEE\xDD", "/+7d"}};
  for (const auto& [bytes, text] : rows) EXPECT_EQ(brevant::EncodeBase64(bytes), text);
}

TEST(EncodedWords, TakeTheShorterForm) {
  EXPECT_EQ(Joined(EncodedWords("Caf\xC3\xA9 und mehr", "utf-8")),
            "=?utf-8?Q?Caf=C3=A9_und_mehr?=");
  EXPECT_EQ(Joined(EncodedWords("\xC3\xA4\xC3\xB6\xC3\xBC", "utf-8")), "=?utf-8?B?w6TDtsO8?=");
  EXPECT_TRUE(EncodedWords("", "utf-8").empty());
}

TEST(EncodedWords, ComeBackWholeWhateverTheirLength) {
  for (const char* unit : {"a", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "a \xC3\xA4?_= "}) {
    std::string text;
    for (int i = 0; i < 60; ++i) {
      text += unit;
      const auto words = EncodedWords(text, "utf-8");
      EXPECT_EQ(brevant::DecodeEncodedWords(Joined(words)), text);
      for (const std::string& word : words) {
        EXPECT_LE(word.size(), 64u);
        // Each word holds whole characters.
        EXPECT_EQ(brevant::DecodeHeader(word).find("\xEF\xBF\xBD"), std::string::npos) << word;
      }
    }
  }
}

TEST(EncodedWords, TakeAnyBytes) {
  std::string bytes;
  for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
  EXPECT_EQ(brevant::DecodeEncodedWords(Joined(EncodedWords(bytes, "windows-1252"))), bytes);
}

TEST(HeaderText, StaysWhereAReaderSeesJustThat) {
  for (const char* text : {"", "Plain text", "a=?b", "Re: [x] \"y\" <z>"}) {
    EXPECT_EQ(brevant::DecodeHeader(brevant::HeaderText(text)), text);
  }
  EXPECT_EQ(brevant::HeaderText("Re: [x] \"y\" <z>"), "Re: [x] \"y\" <z>");
}

TEST(HeaderText, HasNoControlCharacters) {
  EXPECT_EQ(brevant::HeaderText("a\r\nb\tc\x7F"
                                "d"),
            "a  b c d");
  EXPECT_EQ(brevant::DecodeHeader(brevant::HeaderText(" a\xC2\x85z ")), " a z ");
}

TEST(AddressSpec, QuotesWhatNeedsQuotes) {
  const std::pair<const char*, const char*> rows[] = {
      {"a@example.org", "a@example.org"},
      {"a.b+c@sub.example.org", "a.b+c@sub.example.org"},
      {"board@example.org@pop.example.org", "\"board@example.org\"@pop.example.org"},
      {"a b@example.org", "\"a b\"@example.org"},
      {".a@example.org", "\".a\"@example.org"},
      {"a\"b@example.org", "\"a\\\"b\"@example.org"},
      {"\"a b\"@example.org", "\"a b\"@example.org"},
      {"a@127.0.0.1", "a@[127.0.0.1]"},
      {"a@[127.0.0.1]", "a@[127.0.0.1]"},
      {"a@[IPv6:::1]", "a@[IPv6:::1]"}};
  for (const auto& [address, spec] : rows) EXPECT_EQ(AddressSpec(address), spec);
}

TEST(AddressSpec, RefusesWhatIsNoAddress) {
  const char* texts[] = {"",           "a",       "@",    "a@",    "@b",
                         "a@b..c",     "a@.b",    "a@b.", "a@b c", "a@b\r\nc",
                         "a\r\n@b",    "a@b>,<c", "a@[b", "a@[]",  "a@\xC3\xA4.org",
                         "\xC3\xA4@b", "a@b;c",   "a@(b)"};
  for (const char* text : texts) EXPECT_EQ(AddressSpec(text), "") << text;
  EXPECT_EQ(AddressSpec("a@" + std::string(300, 'x')), "");
}

TEST(Mailbox, IsFoldedWhereItGetsLong) {
  EXPECT_EQ(brevant::Mailbox("", "a@b"), "a@b");
  EXPECT_EQ(brevant::Mailbox("  ", "a@b"), "a@b");
  EXPECT_EQ(brevant::Mailbox("Ann B", "a@b"), "Ann B <a@b>");
  EXPECT_EQ(brevant::Mailbox("Ann  B", "a@b"), "\"Ann  B\" <a@b>");
  EXPECT_EQ(brevant::Mailbox("Dr. B", "a@b"), "\"Dr. B\" <a@b>");
  std::string name;
  for (int i = 0; i < 60; ++i)
    name +=
        "\xC3\xA4"
        "b ";
  const std::string folded = "Reply-To: " + brevant::Mailbox(name, "ann@example.org");
  for (std::size_t at = 0; at < folded.size();) {
    const std::size_t end = std::min(folded.find("\r\n", at), folded.size());
    EXPECT_LE(end - at, 76u) << folded;
    at = end + 2;
  }
  EXPECT_NE(folded.find("\r\n =?"), std::string::npos);
}

TEST(HeaderDate, IsWrittenInFull) {
  const std::string date = brevant::HeaderDate(TTime(2024, 2, 29, 23, 5, 9));
  EXPECT_TRUE(date.starts_with("Thu, 29 Feb 2024 23:05:09 ")) << date;
  ASSERT_EQ(date.size(), 31u);
  EXPECT_TRUE(date[26] == '+' || date[26] == '-');
  const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  for (int day = 1; day <= 7; ++day) {
    EXPECT_TRUE(brevant::HeaderDate(TTime(2023, 10, day, 0, 0, 0)).starts_with(days[day - 1]));
  }
}

TEST(EncodeForUrl, LeavesTheAtSign) {
  EXPECT_EQ(brevant::EncodeForUrl("a.B-1_~@x"), "a.B-1_~@x");
  EXPECT_EQ(brevant::EncodeForUrl("\"[x:y z]\"<?&\xFF"), "%22%5Bx%3Ay%20z%5D%22%3C%3F%26%FF");
}

TEST(WithCrLf, TakesEveryLineEnd) {
  EXPECT_EQ(brevant::WithCrLf("a\nb\rc\r\nd\n\re\r\r\n"), "a\r\nb\r\nc\r\nd\r\n\r\ne\r\n\r\n");
}

// The text that a quoted-printable body stands for.
std::string Unquoted(const std::string& body) {
  std::string text;
  for (std::size_t i = 0; i < body.size(); ++i) {
    if (body[i] != '=') {
      text += body[i];
    } else if (body.compare(i, 3, "=\r\n") == 0) {
      i += 2;
    } else {
      text += static_cast<char>(std::stoi(body.substr(i + 1, 2), nullptr, 16));
      i += 2;
    }
  }
  return text;
}

TEST(QuotedPrintable, ComesBackWhole) {
  std::string all = "\xFC";
  for (int i = 0; i < 300; ++i) all += "word" + std::to_string(i) + (i % 7 == 0 ? "\r\n" : " ");
  const std::string texts[] = {all,
                               all + "end",
                               std::string(999, 'x'),
                               std::string(999, 'x') + "\r\n",
                               "tail \t" + std::string(1000, 'y') + " \r\n \r\n\t\r\n ",
                               std::string(75, 'a') + "=" + std::string(990, 'b'),
                               std::string("=\0.\r\n.\r\n", 8) + std::string(60, 'c')};
  for (const std::string& text : texts) {
    const brevant::TEncodedBody body = EncodeText(text);
    EXPECT_STREQ(body.encoding, "quoted-printable");
    EXPECT_EQ(Unquoted(body.body), text);
    for (std::size_t at = 0; at < body.body.size();) {
      const std::size_t end = body.body.find("\r\n", at);
      ASSERT_NE(end, std::string::npos);
      EXPECT_LE(end - at, 76u);
      // Blanks at the end of a line get lost on the way.
      EXPECT_TRUE(end == at || (body.body[end - 1] != ' ' && body.body[end - 1] != '\t'));
      at = end + 2;
    }
  }
}

TEST(QuotedPrintable, ALineOf76CharactersNeedsNoSecondOne) {
  const std::string text = "\xFC" + std::string(73, 'x') + "\r\n";
  EXPECT_EQ(EncodeText(text).body, "=FC" + std::string(73, 'x') + "\r\n");
}

TEST(EncodeBytes, HasLinesOf76Characters) {
  const brevant::TEncodedBody body = brevant::EncodeBytes(std::string(58, 'x'));
  EXPECT_STREQ(body.encoding, "base64");
  EXPECT_EQ(body.body.find("\r\n"), 76u);
  EXPECT_TRUE(body.body.ends_with("eA==\r\n")) << body.body;
}

}  // namespace
