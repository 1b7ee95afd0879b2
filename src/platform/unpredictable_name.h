// Names for files that nobody else may know before they are there.
#pragma once

#include <string>

namespace brevant::platform {

// 24 lower-case letters and digits that nobody can foresee: about 124 bits.
std::string UnpredictableName();

}  // namespace brevant::platform
