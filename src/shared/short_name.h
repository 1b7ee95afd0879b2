// Names of the old form.
#pragma once

#include <string_view>

namespace brevant {

// Whether the name as a whole is one of eight characters, a dot and three more at most, without
// blanks and what such names cannot hold. Letter case does not matter.
bool FitsShortName(std::string_view name);

}  // namespace brevant
