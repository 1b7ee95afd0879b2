// A page's links to files: what a visitor wrote never leads out of the directory of the templates,
// and nothing leads to the board's own files.
#include "fuzzed_input.h"
#include "shared/link_follower.h"
#include "support/temporary_directory.h"
#include "unit/text/template_board.h"

#include <atomic>
#include <filesystem>
#include <set>
#include <string>

using test::Require;

namespace {

namespace fs = std::filesystem;

// A program directory with templates and a site in it, made once.
class Board : public brevant::TLinkFollower::TLinkedPages {
 public:
  Board() {
    for (const char* directory : {"Templates/sub", "Data", "Site/down"})
      fs::create_directories(root_ / directory);
    for (const char* file : {"outside.txt", "outside.htm", "brevant.ini", "Data/forum.mwd",
                             "Templates/a.gif", "Templates/page.htm", "Templates/sub/b.gif",
                             "Templates/sub/page2.html", "Templates/brevant.ini", "Templates/x.fat",
                             "Templates/talk.mwd.jnl", "Site/own.gif", "Site/down/file.zip"})
      test::WriteFileBytes(root_ / file, "content");
  }

  void RequestLinkedPage(const std::string& path, const brevant::TFileFacts&,
                         const std::string& base) override {
    Require(!visitor || path.starts_with(Base()), "a visitor's page is one of the templates");
    Require(base == Base(), "the page that has the link");
  }

  std::string Base() const { return root_ / "Templates/"; }
  std::string Site() const { return root_ / "Site/"; }
  // The files that a page may bring into the site, and those that stand there. An author may link
  // to any file that is not the board's own.
  void CheckSite() const {
    static const std::set<std::string> kTemplates = {"own.gif", "down", "a.gif", "b.gif"};
    static const std::set<std::string> kOwn = {"brevant.ini", "state.ini", "forum.mwd", "x.fat",
                                               "talk.mwd.jnl"};
    for (const auto& entry : fs::directory_iterator(Site())) {
      const std::string name = entry.path().filename().string();
      Require(!kOwn.contains(name), "the board's own files are not shown");
      if (kTemplates.contains(name)) continue;
      Require(!visitor, "no other file gets into the site");
      // The next input may be a visitor's.
      fs::remove(entry.path());
    }
  }

  bool visitor = false;

 private:
  test::TemporaryDirectory root_;
};

std::string Follow(Board& board, const std::string& html) {
  test::SectionPage page;
  page.Add("VALUE", html);
  page.writer.Feed(board.visitor ? "$VALUE$" : std::string_view(html));
  page.writer.Flush();
  const std::atomic<int> goOn{1};
  brevant::TPageStore store(board.Site());
  brevant::TLinkFollower follower({board.Base(), {"brevant.ini", "state.ini"}}, store, board);
  Require(follower.Follow(page.writer, board.Base(), goOn), "files can be written");
  return test::OneLine(page.writer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Board board;
  test::FuzzedInput input(data, size);
  board.visitor = input.Byte() % 4 != 0;
  const std::string html = input.Rest();
  if (html.size() > 4096) return 0;
  Follow(board, html);
  board.CheckSite();
  return 0;
}
