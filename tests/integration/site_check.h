// Looks at a generated site as a visitor's browser would.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace test {

// Every page of the directory by its file name.
std::map<std::string, std::string> PagesOf(const std::string& directory);

// The local link targets of a page (attributes href, src and background): entities and URL encoding
// undone, fragments and queries cut off; links with a scheme are left out.
std::vector<std::string> LocalLinks(const std::string& page);

// "page -> target" for every local link whose target does not exist.
std::vector<std::string> DeadLinks(const std::string& directory);

}  // namespace test
