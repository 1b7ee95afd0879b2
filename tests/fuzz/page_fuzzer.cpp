// Templates over a board with something of every kind in it: every page field, sections, and the
// page that comes of it.
#include "fuzzed_input.h"
#include "shared/html_site.h"
#include "text/page_fields.h"
#include "text/tag_dispatcher.h"
#include "unit/shared/html_board.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

using brevant::TBoardKind;
using test::Require;

namespace {

// Made once; no template changes it.
class Board : public test::HtmlBoard {
 public:
  Board() {
    Set("Safe HTML", "1");
    Template("message.htm", "$MESSAGE_SUBJECT$");
    Template("part.htm", "<p>$*.MESSAGE_FROM$ $FORUM_NAME$</p>");
    MakeForum("Talk", "About <everything>", "t_");
    const std::string html = "<p>one <b onclick=x>two</b><script>x</script><a href='k3x9a.gif'>";
    Add("Talk", {.subject = "A <b> & \"c\"", .content = html, .type = "text/html"});
    Add("Talk", {.subject = "Re: A", .content = "plain\r\n> text <i>", .linkId = 1});
    Add("Talk", {.subject = "$FORUM_NAME$ \xBBX\xAB",
                 .from = "x@example.org",
                 .linkId = 2,
                 .attachments = {{"k3x9a.gif", "a.gif"}, {"k3xareadme.txt", ""}},
                 .values = {{"CHARSET", "utf-8"}, {"Colour", "\" onload=\"x"}}});
    MakeContainer(TBoardKind::kContributor, "Articles", {{"Description", "x"}});
    AddTo(TBoardKind::kContributor, "Articles", {.subject = "An article"});
    MakeContainer(TBoardKind::kLinkList, "Links");
    AddTo(TBoardKind::kLinkList, "Links", {.subject = "A link", .content = "http://example.org/"});
    MakeContainer(TBoardKind::kQuestion, "Which?", {{"VOTE COUNT", "3"}});
    AddTo(TBoardKind::kQuestion, "Which?", {.subject = "This", .values = {{"VOTES", "2"}}});
    setup_->String("HTML File - Message", "message.htm");
  }
  void TestBody() override {}

  const TSetup& Settings() const { return *setup_; }
  std::string Templates() const { return root_ / "Templates/"; }
};

// What makes pages. Opening the data files takes longer than a page, so it serves many inputs.
class Maker {
 public:
  static constexpr unsigned kPlaces = 16;

  explicit Maker(const Board& board) : site_(board.Settings(), goOn_) {
    for (unsigned place = 0; place < kPlaces; ++place) AddPage(board, place);
    for (auto& field : brevant::MakePageFields(site_)) dispatcher_.AddField(std::move(field));
  }

  std::string Make(std::string_view text, std::size_t step, unsigned place) {
    brevant::TPageWriter writer(&dispatcher_);
    if (!site_.BeginPage(place % kPlaces, writer)) return {};
    for (std::size_t at = 0; at < text.size(); at += step) writer.Feed(text.substr(at, step));
    writer.Flush();
    writer.ExpandSections();
    site_.EndPage();
    for (; checked_ < site_.Pages().Count(); ++checked_) {
      const std::string name = site_.Pages().FileName(checked_);
      Require(name.find_first_of("/\\") == std::string::npos && !name.starts_with('.'),
              "pages lie in the site");
    }
    return writer.Render();
  }

 private:
  // A main page, or one of a container of each kind or of its first item.
  void AddPage(const Board& board, unsigned place) {
    constexpr brevant::TObjectKind kKinds[] = {brevant::kForumKind, brevant::kListKind,
                                               brevant::kQuestionKind, brevant::kNoKind};
    brevant::TPage page;
    page.templateNumber = site_.Templates().Intern(board.Templates(), "page.htm");
    page.kind = static_cast<std::int16_t>(kKinds[place % 4]);
    page.container = kKinds[place % 4] != brevant::kNoKind && place / 4 % 2 == 0 ? 0 : -1;
    page.hasItem = page.container == 0 && place / 8 == 0;
    page.item = page.hasItem ? 1 : 0;
    site_.Pages().Add("page" + std::to_string(place) + ".htm", page);
  }

  const std::atomic<int> goOn_{1};
  brevant::THtmlSite site_;
  brevant::TFieldDispatcher dispatcher_{&site_};
  std::size_t checked_ = 0;
};

// Lines end in CR LF, but for those in comments, which stay as they are.
void CheckLines(std::string_view page) {
  while (!page.empty()) {
    const std::size_t end = std::min(page.find("\r\n"), page.size());
    Require(page.substr(0, end).find('\n') == std::string_view::npos, "lines end in CR LF");
    page.remove_prefix(std::min(end + 2, page.size()));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Board board;
  static std::unique_ptr<Maker> maker;
  static unsigned uses = 0;
  // It remembers every page that it was asked for.
  if (uses++ % 512 == 0) maker = std::make_unique<Maker>(board);
  test::FuzzedInput input(data, size);
  const unsigned place = input.Byte();
  const std::size_t step = input.Byte() + 1;
  const std::string text = input.Rest();
  // Sections inside sections multiply; the fuzzer is after crashes, not after large pages.
  if (text.size() > 2048) return 0;
  const std::string page = maker->Make(text, text.size() + 1, place);
  if (page.find("<!") == std::string::npos) CheckLines(page);
  // The clock may go on between two pages.
  if (text.find("TIME") == std::string::npos && text.find("DATE") == std::string::npos)
    test::RequireEqual(maker->Make(text, step, place), page, "pieces give the same page");
  return 0;
}
