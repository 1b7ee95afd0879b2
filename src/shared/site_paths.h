// Names and paths of the site that more than one task goes by.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace brevant {

// The attributes of a page's tags that name other files, in the order in which they are followed.
inline constexpr std::array<std::string_view, 4> kLinkAttributes = {"HREF", "SRC", "BACKGROUND",
                                                                    "CODEBASE"};

// The settings that name the templates of the site's main pages.
inline constexpr std::array<const char*, 5> kMainPageSettings = {
    "HTML File - Forum list", "HTML File - Message list", "HTML File - Resource list",
    "HTML File - Question list", "HTML File - Answer list"};

inline constexpr bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// What stands behind the last separator.
std::string FileNameOf(const std::string& path);

// The full path of a directory, with a final separator; empty for an empty one.
std::string RootOf(const std::string& directory);

// Whether there is a directory at root, a path with its final separator, whose files can be looked
// at. An empty path is none.
bool CanEnter(const std::string& root);

// Whether path lies below root, both being full paths, root with its final separator. An empty root
// holds nothing.
bool IsBelow(std::string_view path, std::string_view root);

// Whether the name is that of a data file's journal or of the journal of a remote file table.
bool IsJournalName(std::string_view name);

}  // namespace brevant
