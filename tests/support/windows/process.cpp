#include "support/process.h"

#include "support/temporary_directory.h"

#include <stdexcept>
#include <windows.h>

namespace test {

struct Program::Impl {
  TemporaryDirectory directory;
  HANDLE process = nullptr;
};

namespace {

// Each argument in quotes; backslashes before a quote are doubled, as the runtime reads them.
std::string CommandLine(const std::vector<std::string>& command) {
  std::string line;
  for (const std::string& argument : command) {
    if (!line.empty()) line += ' ';
    line += '"';
    std::size_t backslashes = 0;
    for (char c : argument) {
      if (c == '"') line.append(backslashes + 1, '\\');
      backslashes = c == '\\' ? backslashes + 1 : 0;
      line += c;
    }
    line.append(backslashes, '\\');
    line += '"';
  }
  return line;
}

HANDLE OpenInheritable(const std::string& path, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  return CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                     disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Under Wine one start in some hundreds fails for no reason of the program's, and the next
// succeeds.
BOOL Start(std::string line, STARTUPINFOA* startup, PROCESS_INFORMATION* information) {
  constexpr int kTries = 5;
  constexpr DWORD kPauseMilliseconds = 200;
  for (int tries = 1;; ++tries) {
    if (CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, startup,
                       information)) {
      return TRUE;
    }
    if (tries == kTries) return FALSE;
    Sleep(kPauseMilliseconds);
  }
}

}  // namespace

Program::Program(const std::vector<std::string>& command, const std::string& input)
    : impl_(std::make_unique<Impl>()) {
  const TemporaryDirectory& directory = impl_->directory;
  WriteFileBytes(directory / "in", input);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = OpenInheritable(directory / "in", GENERIC_READ, OPEN_EXISTING);
  startup.hStdOutput = OpenInheritable(directory / "out", GENERIC_WRITE, CREATE_ALWAYS);
  startup.hStdError = OpenInheritable(directory / "err", GENERIC_WRITE, CREATE_ALWAYS);
  PROCESS_INFORMATION information{};
  const std::string line = CommandLine(command);
  const BOOL started = Start(line, &startup, &information);
  const DWORD error = GetLastError();
  CloseHandle(startup.hStdInput);
  CloseHandle(startup.hStdOutput);
  CloseHandle(startup.hStdError);
  if (!started) {
    throw std::runtime_error("cannot start " + line + ": error " + std::to_string(error));
  }
  CloseHandle(information.hThread);
  impl_->process = information.hProcess;
}

Program::~Program() {
  if (impl_->process == nullptr) return;
  TerminateProcess(impl_->process, 1);
  WaitForSingleObject(impl_->process, INFINITE);
  CloseHandle(impl_->process);
}

ProgramResult Program::Wait() {
  WaitForSingleObject(impl_->process, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(impl_->process, &code);
  CloseHandle(impl_->process);
  impl_->process = nullptr;
  ProgramResult result;
  result.exitCode = static_cast<int>(code);
  // Lines as every program prints them, whatever its platform ends them with in a file.
  result.output = ReadFileBytes(impl_->directory / "out") + ReadFileBytes(impl_->directory / "err");
  std::size_t at = 0;
  while ((at = result.output.find("\r\n", at)) != std::string::npos) result.output.erase(at, 1);
  return result;
}

bool Program::Interrupt() { return false; }

ProgramResult RunProgram(const std::vector<std::string>& command, const std::string& input) {
  return Program(command, input).Wait();
}

}  // namespace test
