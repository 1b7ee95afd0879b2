// Puts the fault layer into a program through the loader: the plan comes in the environment.
#include "support/posix/fault_state.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::string Variable(const char* name) {
  const char* value = ::getenv(name);
  return value == nullptr ? std::string() : value;
}

int OpenOutput(const char* variable, int mode) {
  const std::string path = Variable(variable);
  if (path.empty()) return -1;
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
  return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path.c_str(), kFlags | mode, 0600));
}

__attribute__((constructor)) void StartFromEnvironment() {
  test::FaultPlan plan;
  plan.directory = Variable("BREVANT_FAULTS_DIRECTORY");
  if (plan.directory.empty()) return;
  plan.fault =
      static_cast<test::Fault>(std::strtol(Variable("BREVANT_FAULTS_KIND").c_str(), nullptr, 10));
  plan.at = std::strtoull(Variable("BREVANT_FAULTS_AT").c_str(), nullptr, 10);
  plan.forGood = Variable("BREVANT_FAULTS_FOR_GOOD") == "1";
  plan.skipSyncs = Variable("BREVANT_FAULTS_SKIP_SYNCS") == "1";
  const int trace = OpenOutput("BREVANT_FAULTS_TRACE", O_APPEND);
  const int calls = OpenOutput("BREVANT_FAULTS_CALLS", 0);
  test::FaultState::Instance().Start(plan, trace, calls);
  // Programs that this one starts are not meant.
  ::unsetenv("LD_PRELOAD");
  ::unsetenv("BREVANT_FAULTS_DIRECTORY");
}

}  // namespace
