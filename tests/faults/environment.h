// Numbers from the environment, by which a run is made longer than usual or begins elsewhere.
#pragma once

#include <cstdlib>

namespace faults {

inline unsigned FromEnvironment(const char* name, unsigned otherwise) {
  const char* value = std::getenv(name);
  return value == nullptr || *value == '\0'
             ? otherwise
             : static_cast<unsigned>(std::strtoul(value, nullptr, 10));
}

}  // namespace faults
