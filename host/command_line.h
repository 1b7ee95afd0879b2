// The command line: which words lead to which command.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace host {

// What the command line asked for, to be done once it was understood as a whole.
using Action = std::function<int()>;

// The families of commands for forums, resource lists, link lists and questions, and those for the
// forums' mailing lists.
void AddContainerFamilies(CLI::App& app, Action& action);

}  // namespace host
