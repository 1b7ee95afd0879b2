// Commands of brevant-host, shown as a user would type them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace demo {

void Print(const std::string& text);

// The host that stands beside the demonstration's own program.
std::filesystem::path HostProgram();
// Where the sample mails are: installed with the demonstration, or in the sources it was built
// from.
std::filesystem::path SamplesDirectory();

// Shows a command, runs it and shows what it prints; of many files that are uploaded in a row only
// the first few. Throws std::runtime_error when the command fails.
void RunHost(const std::vector<std::string>& arguments, const std::string& input = {});

}  // namespace demo
