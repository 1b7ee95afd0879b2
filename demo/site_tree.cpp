#include "site_tree.h"

#include "host_commands.h"
#include "support/temporary_directory.h"

#include <stdexcept>

namespace demo {

namespace fs = std::filesystem;

SiteTree TreeOf(const fs::path& directory) {
  SiteTree tree;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
    if (!entry.is_regular_file()) continue;
    tree[entry.path().lexically_relative(directory).generic_string()] =
        test::ReadFileBytes(entry.path().string());
  }
  return tree;
}

std::vector<std::string> Missing(const SiteTree& from, const SiteTree& in) {
  std::vector<std::string> missing;
  for (const auto& [path, bytes] : from) {
    if (!in.contains(path)) missing.push_back(path);
  }
  return missing;
}

void CheckEqual(const SiteTree& local, const SiteTree& remote) {
  for (const std::string& path : Missing(local, remote)) {
    throw std::runtime_error(path + " is not on the server");
  }
  for (const std::string& path : Missing(remote, local)) {
    throw std::runtime_error(path + " should be gone from the server");
  }
  std::size_t bytes = 0;
  for (const auto& [path, content] : local) {
    if (remote.at(path) != content) throw std::runtime_error(path + " differs on the server");
    bytes += content.size();
  }
  Print("The server's directory equals the site, byte for byte: " + std::to_string(local.size()) +
        " files, " + std::to_string(bytes) + " bytes.");
}

}  // namespace demo
