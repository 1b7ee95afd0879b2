#include "host_commands.h"

#include "platform/win32.h"
#include "support/process.h"

#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace demo {
namespace {

constexpr int kUploadsShown = 3;

// As every shell wants it; the demonstration's own texts hold nothing that means something there.
std::string Quoted(const std::string& text) {
  const bool plain = !text.empty() && text.find_first_of(" <>&*?;()|,") == std::string::npos;
  return plain ? text : '"' + text + '"';
}

std::filesystem::path OwnProgram() {
  constexpr DWORD kMostCharacters = 32768;
  std::string path(kMostCharacters, '\0');
  path.resize(GetModuleFileNameA(nullptr, path.data(), kMostCharacters));
  return path;
}

std::string Skipped(int count) {
  return "  ... and " + std::to_string(count) + " more files in the same way";
}

void PrintOutput(const std::string& output) {
  std::istringstream lines(output);
  int uploads = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("  Transferred ")) {
      if (++uploads <= kUploadsShown) Print(line);
      continue;
    }
    if (uploads > kUploadsShown) Print(Skipped(uploads - kUploadsShown));
    uploads = 0;
    Print(line);
  }
  if (uploads > kUploadsShown) Print(Skipped(uploads - kUploadsShown));
}

}  // namespace

void Print(const std::string& text) {
  std::fputs((text + "\n").c_str(), stdout);
  std::fflush(stdout);
}

std::filesystem::path HostProgram() {
  const std::filesystem::path own = OwnProgram();
  return own.parent_path() / ("brevant-host" + own.extension().string());
}

std::filesystem::path SamplesDirectory() {
  const auto installed = OwnProgram().parent_path().parent_path() / "share/brevant/demo";
  return std::filesystem::is_directory(installed) ? installed : DEMO_SOURCES;
}

void RunHost(const std::vector<std::string>& arguments, const std::string& input) {
  std::string shown = input.empty() ? "\n$ brevant-host" : "\n$ echo " + input + " | brevant-host";
  std::vector<std::string> command = {HostProgram().string()};
  for (const std::string& argument : arguments) {
    shown += " " + Quoted(argument);
    command.push_back(argument);
  }
  Print(shown);
  const test::ProgramResult result =
      test::RunProgram(command, input.empty() ? input : input + "\n");
  PrintOutput(result.output);
  if (result.exitCode != 0) throw std::runtime_error("the command above failed");
}

}  // namespace demo
