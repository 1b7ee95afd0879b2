// The files of a site, here and on the server.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace demo {

// Every file below a directory with its bytes, by its path there.
using SiteTree = std::map<std::string, std::string>;
SiteTree TreeOf(const std::filesystem::path& directory);

// The paths that are in one tree and not in the other.
std::vector<std::string> Missing(const SiteTree& from, const SiteTree& in);

// Says how many files are equal. Throws std::runtime_error when the trees differ.
void CheckEqual(const SiteTree& local, const SiteTree& remote);

}  // namespace demo
