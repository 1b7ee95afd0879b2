#include "support/fault_layer.h"
#include "support/temporary_directory.h"

#include <cstdlib>
#include <cstring>

namespace test {

std::vector<std::string> WithFaults(const FaultPlan& plan, const std::vector<std::string>& command,
                                    const std::string& trace, const std::string& calls) {
  // A sanitized program would mind that something else comes first.
  const char* known = std::getenv("ASAN_OPTIONS");
  const std::string options =
      std::string(known == nullptr ? "" : known) + ":verify_asan_link_order=0";
  std::vector<std::string> whole = {
      "/usr/bin/env",
      "ASAN_OPTIONS=" + options,
      std::string("LD_PRELOAD=") + FAULT_LIBRARY,
      "BREVANT_FAULTS_DIRECTORY=" + plan.directory,
      "BREVANT_FAULTS_KIND=" + std::to_string(static_cast<int>(plan.fault)),
      "BREVANT_FAULTS_AT=" + std::to_string(plan.at),
      std::string("BREVANT_FAULTS_FOR_GOOD=") + (plan.forGood ? "1" : "0"),
      std::string("BREVANT_FAULTS_SKIP_SYNCS=") + (plan.skipSyncs ? "1" : "0"),
      "BREVANT_FAULTS_TRACE=" + trace,
      "BREVANT_FAULTS_CALLS=" + calls,
  };
  whole.insert(whole.end(), command.begin(), command.end());
  return whole;
}

std::vector<FileOperation> ReadTrace(const std::string& file) {
  return ParseOperations(ReadFileBytes(file));
}

std::uint64_t ReadCalls(const std::string& file) {
  const std::string bytes = ReadFileBytes(file);
  std::uint64_t calls = 0;
  if (bytes.size() >= sizeof calls) std::memcpy(&calls, bytes.data(), sizeof calls);
  return calls;
}

}  // namespace test
