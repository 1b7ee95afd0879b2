// Random sites: what a model of their links leaves unlinked goes, and nothing else.
#include "site_scan.h"
#include "store/ascii.h"
#include "text/filters.h"

#include <random>
#include <set>

namespace test {
namespace {

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}
  unsigned Below(unsigned limit) {
    return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_);
  }
  bool OneIn(unsigned count) { return Below(count) == 0; }
  template <typename T, std::size_t N>
  const T& Of(const T (&choices)[N]) {
    return choices[Below(N)];
  }

  // A name that is unique by its number, in letters that need encoding.
  std::string Name(unsigned number) {
    static const char* const kPieces[] = {
        "a",   "Bild", " ", "\xC3\xBC",     "\xC3\x9F", "#", "%41", "&", "'",
        "(1)", "%",    "~", "\xE2\x82\xAC", "&auml;",   "Z", "--",  "_", "="};
    static const char* const kExtensions[] = {".gif", ".HTM", ".htm", ".html", ".txt", "", ".jnl"};
    std::string name = "n" + std::to_string(number);
    for (unsigned i = Below(6); i > 0; --i) name += Of(kPieces);
    return name + "x" + Of(kExtensions);
  }

  // The text of a link to path, in one of the ways in which pages are written.
  std::string Link(std::string path) {
    if (OneIn(3)) std::replace(path.begin(), path.end(), '/', '\\');
    if (OneIn(4)) path = Upper(path);
    switch (Below(4)) {
      case 0:
        return path;
      case 1:
        brevant::UrlEncode(path);
        return path;
      case 2:
        brevant::HtmlEscapeUtf8(path);
        return path;
      default:
        brevant::UrlEncode(path);
        brevant::HtmlEscape(path);
        return path;
    }
  }

 private:
  static std::string Upper(std::string text) {
    for (char& c : text) {
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
  }
  std::mt19937 random_;
};

struct ModelFile {
  std::string path;
  DWORD attributes;
  bool isPage;
  std::set<std::size_t> links;
};

bool IsPage(const std::string& name) {
  const std::string lower =
      brevant::LowerCased(name.substr(std::min(name.rfind('.'), name.size())));
  return lower == ".htm" || lower == ".html";
}

class FileManagementModel : public SiteScanErases, public ::testing::WithParamInterface<unsigned> {
 protected:
  std::string Tag(const std::string& value) {
    static const char* const kTags[] = {
        "<a class=\"c\" href=", "<img alt='' SRC=", "<body BACKGROUND = ", "<applet\r\ncodebase="};
    return generator_.Of(kTags) + ("\"" + value + "\"") + (generator_.OneIn(2) ? " id=i>" : ">");
  }
  void MakeModel() {
    static const char* const kFolders[] = {"", "", "", "images/", "Bilder \xC3\xA4/", "a/b#/"};
    static const DWORD kAttributes[] = {FILE_ATTRIBUTE_TEMPORARY, FILE_ATTRIBUTE_TEMPORARY,
                                        FILE_ATTRIBUTE_NORMAL,    FILE_ATTRIBUTE_ARCHIVE,
                                        FILE_ATTRIBUTE_HIDDEN,    FILE_ATTRIBUTE_READONLY};
    files_.push_back({"index.htm", FILE_ATTRIBUTE_TEMPORARY, true, {}});
    const unsigned count = 20 + generator_.Below(60);
    for (unsigned i = 1; i < count; ++i) {
      const std::string path = generator_.Of(kFolders) + generator_.Name(i);
      files_.push_back({path, generator_.Of(kAttributes), IsPage(path), {}});
    }
  }
  // Few enough links that some pages and files are left out of it.
  std::string TextOf(ModelFile& file) {
    std::string text = "<p>href=\"" + files_[generator_.Below(Count())].path + "\"</p>";
    for (unsigned i = generator_.Below(4); i > 0; --i) {
      const std::size_t target = generator_.Below(Count());
      text += Tag(generator_.Link(files_[target].path));
      file.links.insert(target);
    }
    // None of these protects anything.
    const std::string& other = files_[generator_.Below(Count())].path;
    text += Tag("http://example.org/" + other) + Tag("../" + other) + Tag("gone/" + other) +
            Tag(other + "#top") + "<!-- " + other + " -->";
    return text;
  }
  unsigned Count() const { return static_cast<unsigned>(files_.size()); }
  std::set<std::size_t> Reached() const {
    std::set<std::size_t> reached = {0};
    std::vector<std::size_t> waiting = {0};
    while (!waiting.empty()) {
      const ModelFile& file = files_[waiting.back()];
      waiting.pop_back();
      if (!file.isPage) continue;
      for (const std::size_t target : file.links) {
        if (reached.insert(target).second) waiting.push_back(target);
      }
    }
    return reached;
  }

  Generator generator_{GetParam()};
  std::vector<ModelFile> files_;
};

TEST_P(FileManagementModel, DeletesExactlyThePlainFilesWithoutALink) {
  MakeModel();
  for (ModelFile& file : files_) File(file.path, TextOf(file), file.attributes);
  const std::set<std::size_t> reached = Reached();
  Names expected;
  for (std::size_t i = 0; i < files_.size(); ++i) {
    const bool plain = files_[i].attributes == FILE_ATTRIBUTE_TEMPORARY ||
                       files_[i].attributes == FILE_ATTRIBUTE_NORMAL;
    if (!plain || reached.contains(i)) expected.push_back(files_[i].path);
  }
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), expected);
  EXPECT_EQ(Scan(), 1);
  EXPECT_EQ(Left(), expected) << "nothing is left to delete";
  for (const std::string& path : expected) {
    SetFileAttributesA(SitePath(path).c_str(), FILE_ATTRIBUTE_NORMAL);
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, FileManagementModel, ::testing::Range(1U, 121U));

}  // namespace
}  // namespace test
