// What the system knows about this process. POSIX only: it comes from /proc and
// the C library.
#pragma once

#include <cstddef>

namespace test {

// Memory in KiB: now, and at the most since the start of the process or since ForgetPeak.
long ResidentMemory();
long PeakMemory();
void ForgetPeak();
// Bytes that were allocated and not freed.
std::size_t HeapInUse();

std::size_t OpenDescriptors();
int Threads();

}  // namespace test
