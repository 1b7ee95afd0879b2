#include "support/process_facts.h"

#include <filesystem>
#include <fstream>
#include <limits>
#include <malloc.h>
#include <stdexcept>
#include <string>

namespace test {
namespace {

long FromStatus(const std::string& wanted) {
  std::ifstream status("/proc/self/status");
  std::string name;
  while (status >> name) {
    long value = 0;
    if (name == wanted && status >> value) return value;
    status.clear();
    status.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
  }
  throw std::runtime_error("/proc/self/status has no " + wanted);
}

}  // namespace

long ResidentMemory() { return FromStatus("VmRSS:"); }

long PeakMemory() { return FromStatus("VmHWM:"); }

void ForgetPeak() {
  if (!(std::ofstream("/proc/self/clear_refs") << '5')) {
    throw std::runtime_error("the peak of memory cannot be forgotten");
  }
}

std::size_t HeapInUse() {
  const struct mallinfo2 facts = mallinfo2();
  return facts.uordblks + facts.hblkhd;
}

std::size_t OpenDescriptors() {
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

int Threads() { return static_cast<int>(FromStatus("Threads:")); }

}  // namespace test
