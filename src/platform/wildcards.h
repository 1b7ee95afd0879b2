// Wildcards as file searches on Windows understand them.
#pragma once

#include <string_view>

namespace brevant::platform {

bool HasWildcards(std::string_view pattern);

// Whether the name matches, ignoring the case of ASCII letters. "*.*" matches every name, "x.*"
// also "x", "x.*." and "x." only names without an extension, and "?" also nothing at the end of the
// name or before a dot.
bool MatchesPattern(std::string_view name, std::string_view pattern);

}  // namespace brevant::platform
