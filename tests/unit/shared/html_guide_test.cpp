// The guide for authors of templates: it names every field, and its examples are true.
#include "html_board.h"
#include "support/element_times.h"
#include "text/page_fields.h"

#include <set>

namespace test {
namespace {

using brevant::TBoardKind;

std::string Guide() { return ReadFileBytes(BREVANT_TEMPLATE_GUIDE); }

// One example: where it is expanded, the template and the page.
struct Example {
  std::string where;
  std::string text;
  std::string page;
};

// The lines of a fenced block, which begins at *at; *at ends behind it. Line ends are not kept.
std::string TakeBlock(const std::string& guide, std::size_t* at, bool keepsLines) {
  constexpr std::string_view kFence = "```html\n";
  const std::size_t begin = guide.find(kFence, *at) + kFence.size();
  const std::size_t end = guide.find("```\n", begin);
  *at = end + 4;
  std::string block = guide.substr(begin, end - begin);
  if (!keepsLines) std::erase(block, '\n');
  return block;
}

std::vector<Example> Examples() {
  constexpr std::string_view kMark = "<!-- example";
  std::vector<Example> examples;
  std::string guide = Guide();
  std::erase(guide, '\r');
  for (std::size_t at = 0; (at = guide.find(kMark, at)) != std::string::npos;) {
    at += kMark.size();
    Example example;
    const std::size_t end = guide.find(" -->", at);
    if (guide[at] == ':') example.where = guide.substr(at + 2, end - at - 2);
    at = end;
    example.text = TakeBlock(guide, &at, true);
    example.page = TakeBlock(guide, &at, false);
    examples.push_back(example);
  }
  return examples;
}

class HtmlGuide : public HtmlBoard {
 protected:
  void SetUp() override {
    MakeForum("General Talk", "Everything else");
    MakeForum("Music");
    Add("General Talk", {.subject = "Hello", .time = TTime(2000, 1, 5, 22, 30, 45)});
    Add("General Talk", {.subject = "Re: Hello", .from = "\"Bob\" <bob@example.org>", .linkId = 1});
    Add("General Talk", {.subject = "Photos",
                         .from = "\"Zo\xEB\" <zoe@example.org>",
                         .content = "Look!",
                         .attachments = {{"k3x9photo.jpg", "photo.jpg"}}});
    MakeContainer(TBoardKind::kLinkList, "Web sites");
    AddLink("Example", "http://example.org/a b", "1500");
    AddLink("Manual", "http://example.org/manual", "100");
    MakeContainer(TBoardKind::kQuestion, "Best colour", {{"Total Vote Count", "4"}});
    AddAnswer("Red", "1", "255");
    AddAnswer("Blue", "3", "16711680");
    for (const char* name : {"messages.htm", "message.htm"}) Template(name, "x");
    WriteFileBytes(root_ / "combobox.htf", "<option>$ANSWER$");
  }
  void AddLink(const std::string& name, const std::string& address, const std::string& size) {
    AddTo(TBoardKind::kLinkList, "Web sites",
          {.subject = name, .values = {{"Address", address}, {"SIZE", size}}});
  }
  void AddAnswer(const std::string& answer, const std::string& votes, const std::string& color) {
    AddTo(TBoardKind::kQuestion, "Best colour",
          {.subject = answer, .values = {{"Vote Count", votes}, {"Color", color}}});
  }
  // The page with its lines joined: between words a line end is a blank.
  static std::string InOneLine(const std::string& page) {
    std::string line;
    for (std::size_t i = 0; i < page.size(); ++i) {
      if (page.compare(i, 2, "\r\n") != 0) {
        line += page[i];
      } else {
        const bool atTag = line.empty() || line.back() == '>' || page[i + 2] == '<';
        if (!atTag) line += ' ';
        ++i;
      }
    }
    return line;
  }
  // "forum General Talk, message 2"
  std::string ExpandAt(const std::string& where, const std::string& text) {
    if (where.empty()) return InOneLine(Expand(text));
    const std::size_t blank = where.find(' ');
    const std::size_t comma = where.find(", message ");
    const std::string word = where.substr(0, blank);
    const std::string name = where.substr(blank + 1, comma - blank - 1);
    const int kind = word == "forum"      ? brevant::kForumKind
                     : word == "list"     ? brevant::kListKind
                     : word == "question" ? brevant::kQuestionKind
                                          : brevant::kNoKind;
    EXPECT_NE(kind, brevant::kNoKind) << where;
    const DWORD item =
        comma == where.npos ? 0 : static_cast<DWORD>(std::stoul(where.substr(comma + 10)));
    return InOneLine(ExpandIn(kind, text, name, item));
  }
};

TEST_F(HtmlGuide, EveryExampleExpandsAsPrinted) {
  const std::vector<Example> examples = Examples();
  EXPECT_GE(examples.size(), 15U);
  for (const Example& example : examples) {
    if (example.text.find("_DATE") != std::string::npos && !PlatformKeepsElementTimes()) continue;
    EXPECT_EQ(ExpandAt(example.where, example.text), example.page) << example.text;
  }
}

TEST_F(HtmlGuide, EveryFieldIsInATable) {
  const std::string guide = Guide();
  std::set<std::string> documented;
  for (std::size_t line = 0; line != std::string::npos; line = guide.find('\n', line + 1)) {
    const std::size_t begin = line == 0 ? 0 : line + 1;
    if (guide.compare(begin, 3, "| `") != 0) continue;
    const std::string cell = guide.substr(begin, guide.find(" |", begin + 2) - begin);
    for (std::size_t at = 0; (at = cell.find('`', at)) != std::string::npos;) {
      const std::size_t end = cell.find('`', at + 1);
      const std::string name = cell.substr(at + 1, end - at - 1);
      documented.insert(name.substr(0, name.find('(')));
      at = end + 1;
    }
  }
  std::set<std::string> fields;
  for (const brevant::TFieldRow& row : brevant::FieldTable()) fields.emplace(row.name);
  EXPECT_EQ(documented, fields);
}

}  // namespace
}  // namespace test
