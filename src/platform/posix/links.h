// Symbolic links of files, followed only as far as their own directory reaches. Below the seam
// only.
#pragma once

#include <string>

namespace brevant::posix {

// Opens a file; -1 with errno. Where the path's last component is a symbolic link, that is followed
// only to a file in the link's own directory or below it; one that leads elsewhere or nowhere is
// refused with EACCES, and nothing is made where it leads.
int OpenWithoutLeaving(const std::string& path, int mode, unsigned permissions = 0);

// Where a path leads that is a symbolic link; empty when it leads out of the link's own directory,
// or nowhere.
std::string TargetWithoutLeaving(const std::string& link);

bool IsLink(const std::string& path);

}  // namespace brevant::posix
