// What the system knows about this process. POSIX only: it comes from /proc.
#pragma once

#include <cstddef>

namespace test {

// Memory in KiB: now, and at the most since the start of the process or since ForgetPeak.
long ResidentMemory();
long PeakMemory();
void ForgetPeak();

std::size_t OpenDescriptors();
int Threads();

}  // namespace test
