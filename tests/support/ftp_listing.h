// Directories of the loopback FTP server: paths below its root, and listings.
#pragma once

#include "support/ftp_server.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace test {

// The path below root that a client in the directory `current` ("/a/b") means; ".." stays below
// the root. A backslash separates only where backslashes does.
std::string ResolveRemote(const std::string& current, const std::string& path, bool backslashes);

// A remote path as one of this machine; nothing when this machine cannot have such a name.
std::optional<std::filesystem::path> LocalPath(const std::string& root, const std::string& remote);

// The listing of a directory, or of one file, with CR LF line ends; nothing when there is none.
std::optional<std::string> List(const std::filesystem::path& path, ListingStyle style);
// The names alone.
std::optional<std::string> ListNames(const std::filesystem::path& path);

// The entry of that name ignoring letter case when there is none with exactly this spelling.
std::filesystem::path FoldCase(const std::filesystem::path& path);

}  // namespace test
