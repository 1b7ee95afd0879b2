#include "site_check.h"

#include "support/temporary_directory.h"
#include "text/filters.h"

#include <filesystem>
#include <regex>

namespace test {

namespace fs = std::filesystem;

namespace {

std::string WithoutUrlEncoding(const std::string& text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      decoded.push_back(static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)));
      i += 2;
    } else {
      decoded.push_back(text[i]);
    }
  }
  return decoded;
}

}  // namespace

std::map<std::string, std::string> PagesOf(const std::string& directory) {
  std::map<std::string, std::string> pages;
  for (const auto& entry : fs::directory_iterator(directory)) {
    if (entry.path().extension() == ".htm") {
      pages[entry.path().filename().string()] = ReadFileBytes(entry.path().string());
    }
  }
  return pages;
}

std::vector<std::string> LocalLinks(const std::string& page) {
  static const std::regex kLink(
      "<[^<>]*\\s(?:href|src|background)\\s*=\\s*(?:\"([^\"]*)\"|'([^']*)')", std::regex::icase);
  static const std::regex kScheme("^[A-Za-z][A-Za-z0-9+.-]*:.*");
  std::vector<std::string> links;
  for (std::sregex_iterator found(page.begin(), page.end(), kLink), end; found != end; ++found) {
    std::string link = (*found)[1].matched ? (*found)[1].str() : (*found)[2].str();
    brevant::HtmlDecodeToUtf8(link);
    if (std::regex_match(link, kScheme)) continue;
    link = WithoutUrlEncoding(link.substr(0, link.find_first_of("#?")));
    if (!link.empty()) links.push_back(link);
  }
  return links;
}

std::vector<std::string> DeadLinks(const std::string& directory) {
  std::vector<std::string> dead;
  for (const auto& [name, page] : PagesOf(directory)) {
    for (const std::string& link : LocalLinks(page)) {
      if (!FileExists(directory + link)) dead.push_back(name + " -> " + link);
    }
  }
  return dead;
}

}  // namespace test
