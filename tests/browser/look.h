// Runs the checks of look.js and the host, for tests of sites in a browser.
#pragma once

#include "support/process.h"

#include <string>
#include <vector>

namespace test {

// Runs one check; BROWSER_PROGRAM and NODE_PATH come from the test's environment.
inline ProgramResult Look(const std::string& check, const std::string& site,
                          const std::string& out = {}) {
  return RunProgram({NODE_PROGRAM, SOURCE_DIRECTORY "/tests/browser/look.js", check, site, out});
}

inline ProgramResult RunHost(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), HOST_PROGRAM);
  return RunProgram(arguments);
}

}  // namespace test
