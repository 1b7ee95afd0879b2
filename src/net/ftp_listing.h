// Listings of directories as servers send them.
#pragma once

#include "platform/win32.h"

#include <brevant/ftp.h>

#include <string_view>
#include <vector>

namespace brevant {

// A list of more names than this is no directory's.
inline constexpr std::size_t kMostListedNames = 200000;

// The entries that the lines of a list of names stand for, in its order, with nothing but a name.
// A path before a name goes; what could not be a name in one directory is left out.
// Of a list that is too long so many entries that this shows.
std::vector<TFindData> ListedNames(std::string_view text);

// Size, times and attributes from those lines of a detailed listing that end with an entry's name.
void AddDetails(std::string_view text, std::vector<TFindData>& entries);

}  // namespace brevant
