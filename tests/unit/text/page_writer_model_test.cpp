// The writer beside a model that takes one character at a time and follows the rules as they are
// told, without runs, spans or buffers.
#include "template_board.h"
#include "text/filters.h"

#include <gtest/gtest.h>
#include <random>

namespace brevant {
namespace {

const char kValue[] = "v <i \n>$V$ w\r\nx\xBB \xAB<!-- \n ";

class Model {
 public:
  std::string items;  // as test::Dump has them
  std::size_t dropped = 0;

  void Feed(std::string_view text) {
    for (char c : text) FeedOne(c);
  }
  void Flush() {
    if (collecting_) {
      collecting_ = false;
      Literal(mark_ + tag_);
    }
    if (inTag_) token_.insert(0, 1, '<');
    inTag_ = false;
    Word();
  }

 private:
  void FeedOne(char c) {
    if (collecting_) {
      Collect(c);
    } else if (inTag_) {
      InsideTag(c);
    } else {
      InText(c);
    }
    previous_ = c;
  }

  void Collect(char c) {
    if (c == '$' || c == '\xAB') {
      collecting_ = false;
      Dispatch(tag_);
      return;
    }
    if (c == '\r') return;
    const char added = c == '\n' ? ' ' : c;
    if (added == ' ' && (tag_.empty() || tag_.back() == ' ')) return;
    if (tag_.size() == 256) {
      collecting_ = false;
      Literal("$" + tag_ + c);
      return;
    }
    tag_ += added;
  }

  void InsideTag(char c) {
    if ((c == '$' || c == '\xBB') && !literal_) {
      Start(c);
    } else if (c == '>') {
      inTag_ = false;
      items += token_.starts_with('/') ? token_ : "<" + token_;
      items += '\n';
      token_.clear();
    } else if ((c == '\r' || c == '\n') && !token_.starts_with('!')) {
      Append(' ');
    } else {
      Append(c);
    }
  }

  void InText(char c) {
    if (c == '$' && !literal_) {
      Start(c);
    } else if (c == '<') {
      if (!token_.empty()) {
        Word();
      } else if (previous_ == ' ') {
        items += "S\n";
      }
      inTag_ = true;
    } else if (c == ' ' && !literal_) {
      if (token_.empty()) items += "S\n";
      Word();
    } else if (c == '\n') {
      Word();
      items += "L\n";
    } else if (c != '\r') {
      Append(c);
    }
  }

  void Start(char mark) {
    collecting_ = true;
    mark_ = mark;
    tag_.clear();
  }

  void Dispatch(const std::string& tag) {
    std::string name = tag;
    if (inTag_) UrlDecode(name);
    HtmlDecode(name);
    if (name == "V") {
      Literal(kValue);
    } else if (name == "BAD") {
      Literal("***ERROR***");
    } else if (name != "EMPTY") {
      Literal("$" + tag + "$");
    }
  }

  void Literal(const std::string& text) {
    literal_ = true;
    Feed(text);
    literal_ = false;
  }

  // A full word of a value ends at its last blank; all else beyond 4096 characters is dropped.
  void Append(char c) {
    if (token_.size() == 4096) {
      const bool splits = literal_ && !inTag_;
      const std::size_t blank = token_.rfind(' ');
      if (splits && c == ' ') {
        Word();
        return;
      }
      if (!splits || blank == std::string::npos) {
        ++dropped;
        return;
      }
      const std::string rest = token_.substr(blank + 1);
      token_.resize(blank);
      Word();
      token_ = rest;
    }
    token_ += c;
  }

  void Word() {
    if (!token_.empty()) items += "W" + token_ + "\n";
    token_.clear();
  }

  std::string token_;
  std::string tag_;
  char previous_ = 0;
  char mark_ = 0;
  bool collecting_ = false;
  bool inTag_ = false;
  bool literal_ = false;
};

std::string RandomTemplate(std::mt19937& random) {
  static const char* const kPieces[] = {
      "<",    ">",      " ",    " ",       "\r",       "\n",     "$",    "\xBB", "\xAB",
      "/",    "!",      "a",    "bc",      "$V$",      "$BAD$",  "<p>",  "</p>", "<!-- ",
      "$NO$", "\xBBV$", "$&V$", "$EMPTY$", "\xBB%56$", "&amp;?", "\t\f", "V",    "\n\n"};
  std::string text;
  const auto pick = [&](std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
  };
  for (std::size_t left = pick(80); left > 0; --left) text += kPieces[pick(std::size(kPieces))];
  switch (pick(8)) {
    case 0:  // about as long as a tag may be
      text += '$' + std::string(252 + pick(8), 'x') + kPieces[pick(std::size(kPieces))];
      break;
    case 1:  // about as long as a token may be
      text += std::string(4090 + pick(8), 'x') + kPieces[pick(std::size(kPieces))];
      break;
    default:
      break;
  }
  for (std::size_t left = pick(40); left > 0; --left) text += kPieces[pick(std::size(kPieces))];
  return text;
}

TEST(PageWriterModel, TheWriterDoesWhatTheRulesSayCharacterByCharacter) {
  std::mt19937 random(2024);
  for (int round = 0; round < 6000; ++round) {
    const std::string text = RandomTemplate(random);
    Model model;
    model.Feed(text);
    model.Flush();
    test::Page page;
    page.Add("V", kValue);
    page.Add("EMPTY", "");
    page.Add("BAD", [](TPageWriter&, TFieldArguments) { return 0; });
    page.writer.Feed(text);
    page.writer.Flush();
    ASSERT_EQ(test::Dump(page.writer), model.items) << text;
    ASSERT_EQ(page.writer.Dropped(), model.dropped) << text;
  }
}

}  // namespace
}  // namespace brevant
