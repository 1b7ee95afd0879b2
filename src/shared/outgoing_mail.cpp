#include "shared/outgoing_mail.h"

#include "platform/win32.h"
#include "shared/mail_encoding.h"
#include "shared/mail_header.h"
#include "shared/page_names.h"
#include "store/ascii.h"
#include "text/charset.h"
#include "text/encoded_words.h"
#include "text/plain_text.h"
#include "text/posting_address.h"

#include <algorithm>
#include <cstdint>

namespace brevant {

namespace {

// Whom a mail is from when neither the board nor the author has a usable address. The domain is one
// that never exists.
constexpr const char* kNobody = "nobody@board.invalid";
// The domain of what has no name in the network.
constexpr const char* kNoDomain = "localhost";
constexpr std::size_t kLongestLabel = 100;
// Of a list's identifier, and of a URL that has to stand on one line with its field's name.
constexpr std::size_t kLongestListId = 255;
constexpr std::size_t kLongestUrl = 900;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr int kFirstYear = 1971;
constexpr int kLastYear = 9999;

// A text of the item: with a "Header Charset" it was decoded when it was filed; without one it is
// as the mail had it.
std::string ItemText(const TMail& message, const char* key) {
  const std::string text = message.String(key);
  const std::string charset = message.String("Header Charset");
  if (!charset.empty()) return DecodeText(text, charset);
  TUtf8Check check;
  check.Add(text);
  return check.Ascii() ? DecodeHeader(text) : DecodeText(text, TCharset::kIso8859Part1);
}

// The owner's own texts.
std::string OwnersText(const char* text) { return DecodeText(text, TCharset::kUnknown); }

// A label of the dotted names that mark a list and its messages; one too long ends in a hash.
std::string Label(std::string_view text) {
  std::string label = PageNamePart(text);
  if (label.size() <= kLongestLabel) return label;
  std::uint32_t hash = 2166136261U;
  for (const char c : label) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  label.resize(kLongestLabel);
  return label + "-h" + std::to_string(hash);
}

// The names of list and board, "general_talk.my_board".
std::string ListLabels(const TBoardIdentity& board, const std::string& forum) {
  std::string labels = forum.empty() ? "-" : Label(forum);
  if (!board.shortName.empty()) labels += "." + Label(board.shortName);
  return labels;
}

// The same message has the same identifier whenever it is sent, so that a reader who gets it twice
// sees it once.
std::string MessageId(const TBoardIdentity& board, const std::string& forum, const TMail& message) {
  const std::string domain = board.address.empty() ? kNoDomain : AddressDomain(board.address);
  return "<" + std::string(message.String("Name")) + "." +
         std::to_string(message.Storage().CreationTime().Ticks()) + "." + ListLabels(board, forum) +
         "@" + domain + ">";
}

std::string ListId(const TBoardIdentity& board, const std::string& forum) {
  std::string domain = board.address.empty() ? kNoDomain : AddressDomain(board.address);
  if (domain.starts_with('[')) domain = kNoDomain;
  const std::string id = ListLabels(board, forum) + "." + domain;
  return id.size() <= kLongestListId ? Mailbox(forum, id) : std::string();
}

TTime DateOf(const TMail& message) {
  const TTime& created = message.Storage().CreationTime();
  return created.Year() >= kFirstYear && created.Year() <= kLastYear ? created : TTime::Now();
}

void AddBoardFields(const TBoardIdentity& board, const std::string& forum, TStandardMail& mail) {
  const std::string id = ListId(board, forum);
  if (!id.empty()) mail.fields.emplace_back("List-Id", id.ends_with('>') ? id : "<" + id + ">");
  if (board.address.empty()) return;
  // As on the pages, the tag is the name before the address.
  const std::string tag = SubjectTag(board.shortName, forum);
  const std::string post = "mailto:" + EncodeForUrl("\"" + tag + "\"<" + board.address + ">");
  if (post.size() > kLongestUrl) return;
  mail.fields.emplace_back("List-Post", "<" + post + ">");
  mail.fields.emplace_back("List-Unsubscribe", "<" + post + "?subject=Unsubscribe>");
}

bool IsCharsetLabel(std::string_view label) {
  constexpr std::size_t kLongest = 40;
  const auto isToken = [](char c) {
    return IsAlphanumeric(c) || std::string_view("-_.+").find(c) != std::string_view::npos;
  };
  return !label.empty() && label.size() <= kLongest &&
         std::all_of(label.begin(), label.end(), isToken);
}

bool StartsWithIgnoreCase(std::string_view text, std::string_view start) {
  return EqualsIgnoreCase(text.substr(0, start.size()), start);
}

// Whether one character takes more than one byte even where it is ASCII.
bool IsWideCharset(std::string_view label) {
  const auto starts = [label](std::string_view start) {
    return StartsWithIgnoreCase(label, start);
  };
  return starts("utf-16") || starts("utf-32") || starts("utf16") || starts("utf32") ||
         starts("iso-10646") || starts("ucs");
}

bool IsAsciiLabel(std::string_view label) {
  return EqualsIgnoreCase(label, "us-ascii") || EqualsIgnoreCase(label, "ascii") ||
         StartsWithIgnoreCase(label, "ansi_x3.4");
}

// Bytes between ASCII and the characters of ISO 8859, where only windows-1252 has any.
bool HasWindowsCharacters(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 && byte < 0xA0;
  });
}

}  // namespace

TBoardIdentity::TBoardIdentity(const TSetup& setup)
    : name(setup.String("BBS Name")),
      shortName(OwnersText(setup.String("BBS Short Name"))),
      address(AddressSpec(setup.String("E-Mail Address"))) {}

TMailText StandardHtmlText(std::string_view content, std::string_view label, bool dropsScripts) {
  TPlainTextRules rules;
  rules.isUtf8 = true;
  rules.dropsScripts = dropsScripts;
  return {WithCrLf(HtmlToPlainText(DecodeText(content, label), rules)), "utf-8"};
}

TMailText StandardPlainText(std::string_view content, std::string_view label) {
  if (IsCharsetLabel(label) && IsWideCharset(label)) {
    return {std::string(content), std::string(label), true};
  }
  std::string text = WithCrLf(content);
  TUtf8Check check;
  check.Add(text);
  if (!IsCharsetLabel(label) || (IsAsciiLabel(label) && !check.Ascii())) {
    return check.Ascii() ? TMailText{std::move(text), "us-ascii"}
                         : TMailText{DecodeText(text, TCharset::kUnknown), "utf-8"};
  }
  const TCharset charset = FindCharset(label);
  if (charset != TCharset::kUnknown) {
    std::string decoded = DecodeText(text, charset);
    // Readers differ in what they make of bytes that are no text of their character set.
    if (decoded.find(kReplacement) != std::string::npos) return {std::move(decoded), "utf-8"};
  }
  const bool windows = charset == TCharset::kIso8859Part1 && HasWindowsCharacters(text);
  return {std::move(text), windows ? "windows-1252" : std::string(label)};
}

std::string StandardSubject(const TMail& message) {
  return HeaderText(ItemText(message, "Subject"));
}

TStandardMail ComposeStandardMail(const TBoardIdentity& board, const TForum& forum,
                                  const TMail& message, const TMailText& text) {
  TStandardMail mail;
  const std::string author = ItemText(message, "From Name");
  const std::string authorAddress = AddressSpec(ItemText(message, "From Email Address"));
  const std::string forumName = OwnersText(forum.String("Name"));
  const std::string from = !board.address.empty() ? board.address : authorAddress;
  mail.fields.emplace_back("From", Mailbox(author, from.empty() ? kNobody : from));
  if (!authorAddress.empty()) {
    // Who gave no name has the address for one.
    const bool named = !EqualsIgnoreCase(author, authorAddress);
    mail.fields.emplace_back("Reply-To", Mailbox(named ? author : "", authorAddress));
  }
  if (!board.address.empty()) {
    mail.fields.emplace_back("To", Mailbox(SubjectTag(board.shortName, forumName), board.address));
  }
  mail.fields.emplace_back("Date", HeaderDate(DateOf(message)));
  mail.fields.emplace_back("Message-ID", MessageId(board, forumName, message));
  TEncodedBody body = text.isBytes ? EncodeBytes(text.text) : EncodeText(text.text);
  mail.fields.emplace_back("MIME-Version", "1.0");
  mail.fields.emplace_back("Content-Type", "text/plain; charset=" + text.charset);
  mail.fields.emplace_back("Content-Transfer-Encoding", body.encoding);
  AddBoardFields(board, forumName, mail);
  mail.fields.emplace_back("Auto-Submitted", "auto-generated");
  mail.body = std::move(body.body);
  return mail;
}

}  // namespace brevant
