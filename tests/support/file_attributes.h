// What the file system keeps of the attributes by which generated files differ from the owner's.
#pragma once

#include <string>

namespace test {

// Tries it with a file that it makes and deletes in the directory (given with a final "/"). False
// where neither the archive nor the temporary attribute is kept, as under Wine: there every file
// counts as its owner's.
bool KeepsFileAttributes(const std::string& directory);

}  // namespace test
