#include "shared/site_paths.h"

#include "shared/page_store.h"
#include "store/ascii.h"

#include <algorithm>

namespace brevant {
namespace {

constexpr std::array<std::string_view, 5> kJournaled = {".mwd", ".mwe", ".mwf", ".mwg", ".fat"};

// With its dot; empty when the name has none.
std::string_view ExtensionOf(std::string_view name) {
  return name.substr(std::min(name.rfind('.'), name.size()));
}

}  // namespace

std::string FileNameOf(const std::string& path) {
  return path.substr(path.find_last_of("/\\") + 1);
}

std::string RootOf(const std::string& directory) {
  std::string root = FullPath(directory);
  if (!root.empty() && !IsSeparator(root.back())) root += '/';
  return root;
}

bool CanEnter(const std::string& root) {
  if (root.empty()) return false;
  // Through the directory, not just to it: that takes the right to search it.
  const DWORD attributes = GetFileAttributesA((root + ".").c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsBelow(std::string_view path, std::string_view root) {
  if (root.empty() || path.size() <= root.size()) return false;
  for (std::size_t i = 0; i < root.size(); ++i) {
    const bool separators = IsSeparator(path[i]) && IsSeparator(root[i]);
    if (!separators && ToLowerAscii(path[i]) != ToLowerAscii(root[i])) return false;
  }
  return true;
}

bool IsJournalName(std::string_view name) {
  const std::string_view extension = ExtensionOf(name);
  if (!EqualsIgnoreCase(extension, ".jnl")) return false;
  name.remove_suffix(extension.size());
  const std::string_view journaled = ExtensionOf(name);
  return std::any_of(kJournaled.begin(), kJournaled.end(),
                     [&](std::string_view known) { return EqualsIgnoreCase(journaled, known); });
}

}  // namespace brevant
