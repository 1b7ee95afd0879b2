#include "support/process.h"

#include "support/temporary_directory.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

struct Program::Impl {
  TemporaryDirectory directory;
  pid_t process = -1;
};

namespace {

// Runs in the child, where only the simplest calls are safe.
[[noreturn]] void Become(char* const* arguments, const char* in, const char* out, const char* err) {
  // A shell has what it starts in the background ignore this one, and Interrupt would do nothing.
  std::signal(SIGINT, SIG_DFL);
  int input = open(in, O_RDONLY);
  int output = open(out, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  int error = open(err, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (dup2(input, 0) < 0 || dup2(output, 1) < 0 || dup2(error, 2) < 0) _exit(126);
  execv(arguments[0], arguments);
  _exit(127);
}

}  // namespace

Program::Program(const std::vector<std::string>& command, const std::string& input)
    : impl_(std::make_unique<Impl>()) {
  const TemporaryDirectory& directory = impl_->directory;
  const std::string in = directory / "in";
  const std::string out = directory / "out";
  const std::string err = directory / "err";
  WriteFileBytes(in, input);
  std::vector<std::string> copies = command;
  std::vector<char*> arguments;
  for (std::string& copy : copies) arguments.push_back(copy.data());
  arguments.push_back(nullptr);
  impl_->process = fork();
  if (impl_->process < 0) throw std::runtime_error("fork failed");
  if (impl_->process == 0) Become(arguments.data(), in.c_str(), out.c_str(), err.c_str());
}

Program::~Program() {
  if (impl_->process <= 0) return;
  kill(impl_->process, SIGKILL);
  waitpid(impl_->process, nullptr, 0);
}

ProgramResult Program::Wait() {
  int status = 0;
  while (waitpid(impl_->process, &status, 0) < 0 && errno == EINTR) {
  }
  impl_->process = -1;
  ProgramResult result;
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.output = ReadFileBytes(impl_->directory / "out") + ReadFileBytes(impl_->directory / "err");
  return result;
}

bool Program::Interrupt() { return kill(impl_->process, SIGINT) == 0; }

ProgramResult RunProgram(const std::vector<std::string>& command, const std::string& input) {
  return Program(command, input).Wait();
}

}  // namespace test
