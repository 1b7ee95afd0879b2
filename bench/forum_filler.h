// Fills a data directory with forums, for measuring and for tests of load.
#pragma once

#include <string>

namespace bench {

// Makes so many forums ("Forum 1" and so on) in the directory, which ends with "/", each with so
// many messages of a mail's usual size. Throws std::runtime_error when one cannot be made.
void FillForums(const std::string& directory, long forums, long messages);

}  // namespace bench
