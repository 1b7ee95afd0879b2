#include "shared/kept_files.h"

#include "shared/page_names.h"
#include "store/ascii.h"
#include "text/filters.h"

#include <algorithm>
#include <utility>

namespace brevant {
namespace {

constexpr std::size_t kLongestValue = 1024;

}  // namespace

void TKeptFiles::Add(std::string name) {
  // No file has a NUL in its name, and a path would end there.
  if (name.empty() || name.find('\0') != std::string::npos) return;
  std::replace(name.begin(), name.end(), '/', '\\');
  if (names_.insert(LowerCased(name)).second && IsPageFile(name)) pages_.push_back(std::move(name));
}

void TKeptFiles::AddLink(std::string_view value) {
  value = value.substr(0, kLongestValue);
  if (value.find(':') != std::string_view::npos) return;
  const auto addBoth = [this](std::string text) {
    Add(text);
    UrlDecode(text);
    Add(std::move(text));
  };
  addBoth(std::string(value));
  if (value.find('&') == std::string_view::npos) return;
  // A browser decodes references first. What they stand for depends on the page's character set.
  for (const auto decode : {HtmlDecode, HtmlDecodeToUtf8}) {
    std::string text(value);
    decode(text);
    addBoth(std::move(text));
  }
}

bool TKeptFiles::Holds(std::string_view name) const { return names_.contains(LowerCased(name)); }

bool TKeptFiles::NextPage(std::string* name) {
  if (next_ == pages_.size()) return false;
  *name = std::move(pages_[next_++]);
  return true;
}

}  // namespace brevant
