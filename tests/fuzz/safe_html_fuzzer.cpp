// Visitors' HTML made safe: judged by a reader of its own, which takes the result as strictly as a
// browser never would.
#include "fuzzed_input.h"
#include "store/ascii.h"
#include "text/safe_html.h"

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using test::Require;
using test::RequireEqual;

namespace {

const std::vector<std::string> kOwnFiles = {"k3x9photo.png", "k3x9a&b.txt"};

std::string Safe(std::string_view html, std::size_t step) {
  brevant::TSafeHtml safe(kOwnFiles);
  std::string result;
  for (std::size_t at = 0; at < html.size(); at += step) {
    safe.Take(html.substr(at, step));
    result += std::exchange(safe.Html(), {});
  }
  safe.Finish();
  return result + safe.Html();
}

constexpr std::size_t kShortTag = 1000;

std::size_t LongestTag(std::string_view html) {
  std::size_t longest = 0;
  for (std::size_t at = 0; (at = html.find('<', at)) != std::string_view::npos; ++at) {
    longest = std::max(longest, std::min(html.find('>', at), html.size()) - at);
  }
  return longest;
}

bool IsName(std::string_view text) {
  return !text.empty() && text[0] >= 'a' && text[0] <= 'z' &&
         std::all_of(text.begin(), text.end(),
                     [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); });
}

// Reads the safe HTML: text without "<" and ">", and tags of exactly this form:
// <name attribute attribute="value">.
class Judge {
 public:
  explicit Judge(std::string_view html) : rest_(html) {}

  void Run() {
    while (!rest_.empty()) {
      if (rest_[0] != '<') {
        Require(rest_[0] != '>', "no tag ends in text");
        rest_.remove_prefix(1);
        continue;
      }
      const std::size_t end = rest_.find('>');
      Require(end != std::string_view::npos, "every tag ends");
      Tag(rest_.substr(1, end - 1));
      rest_.remove_prefix(end + 1);
    }
    Require(open_.empty(), "every element is closed");
  }

 private:
  void Tag(std::string_view tag) {
    Require(tag.find('<') == std::string_view::npos, "no tag in a tag");
    if (tag.starts_with('/')) {
      Require(!open_.empty() && open_.back() == tag.substr(1), "elements end in order");
      open_.pop_back();
      return;
    }
    const std::string_view name = tag.substr(0, tag.find(' '));
    static const std::set<std::string_view> kForbidden = {
        "script",   "style",    "link",      "meta",     "base",     "form",   "input",  "button",
        "select",   "option",   "iframe",    "frame",    "object",   "embed",  "svg",    "math",
        "html",     "head",     "body",      "title",    "textarea", "xmp",    "applet", "param",
        "noscript", "template", "plaintext", "frameset", "noembed",  "video",  "audio",  "source",
        "track",    "area",     "map",       "canvas",   "dialog",   "portal", "slot",   "isindex",
        "keygen",   "layer",    "bgsound",   "marquee"};
    Require(IsName(name) && !kForbidden.contains(name), "an element of the list");
    static const std::set<std::string_view> kVoid = {"br", "hr", "img", "col", "wbr"};
    if (!kVoid.contains(name)) open_.push_back(name);
    Attributes(name, tag.substr(name.size()));
  }

  void Attributes(std::string_view element, std::string_view text) {
    std::set<std::string_view> seen;
    while (!text.empty()) {
      Require(text[0] == ' ', "a blank before an attribute");
      text.remove_prefix(1);
      const std::size_t nameEnd = std::min(text.find_first_of(" ="), text.size());
      const std::string_view name = text.substr(0, nameEnd);
      Require(IsName(name) && !name.starts_with("on") && seen.insert(name).second,
              "an attribute of the list");
      text.remove_prefix(nameEnd);
      if (!text.starts_with('=')) {
        Value(element, name, {});
        continue;
      }
      Require(text.starts_with("=\""), "values stand in quotation marks");
      const std::size_t end = text.find('"', 2);
      Require(end != std::string_view::npos, "every value ends");
      Value(element, name, text.substr(2, end - 2));
      text.remove_prefix(end + 1);
    }
  }

  static void Value(std::string_view element, std::string_view name, std::string_view value) {
    static const std::set<std::string_view> kForbidden = {
        "style", "id",     "class",  "name",    "background", "action",   "formaction", "srcset",
        "data",  "code",   "target", "usemap",  "ping",       "lowsrc",   "dynsrc",     "longdesc",
        "cite",  "poster", "form",   "profile", "manifest",   "codebase", "classid",    "srcdoc"};
    Require(!kForbidden.contains(name), "an attribute of the list");
    const bool isOwn = value == "k3x9photo.png" || value == "k3x9a&amp;b.txt";
    if (name == "src") Require(element == "img" && isOwn, "only the message's files are loaded");
    if (name != "href") return;
    constexpr std::string_view kSchemes[] = {"http://", "https://", "ftp://", "mailto:"};
    Require(element == "a" && (isOwn || std::any_of(std::begin(kSchemes), std::end(kSchemes),
                                                    [&](std::string_view scheme) {
                                                      return brevant::EqualsIgnoreCase(
                                                          value.substr(0, scheme.size()), scheme);
                                                    })),
            "links lead to the four schemes");
    Require(std::none_of(value.begin(), value.end(),
                         [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; }),
            "no control characters in an address");
  }

  std::string_view rest_;
  std::vector<std::string_view> open_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const std::size_t step = input.Byte() + 1;
  const std::string html = input.Rest();
  const std::string safe = Safe(html, html.size() + 1);
  Judge(safe).Run();
  Require(safe.size() <= html.size() * 600 + 600, "safe HTML is no bomb");
  RequireEqual(Safe(html, step), safe, "pieces give the same");
  // Escaped, an address may grow beyond what an address may have.
  if (LongestTag(safe) < kShortTag)
    RequireEqual(Safe(safe, step), safe, "what is safe stays as it is");
  return 0;
}
