// Programs run by tests. The build picks posix/ or windows/.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace test {

struct ProgramResult {
  int exitCode = -1;   // 128 + signal when a signal ended it
  std::string output;  // what it wrote to standard output and standard error, in that order
};

// A program that runs beside the test. Its output goes to files, so it never waits for a reader.
class Program {
 public:
  // command[0] is the program's path; input is what it reads from standard input.
  explicit Program(const std::vector<std::string>& command, const std::string& input = {});
  // Ends the program if it still runs.
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  ProgramResult Wait();
  // As Ctrl-C does. POSIX only: elsewhere a console is needed, and false is returned.
  bool Interrupt();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

ProgramResult RunProgram(const std::vector<std::string>& command, const std::string& input = {});

}  // namespace test
