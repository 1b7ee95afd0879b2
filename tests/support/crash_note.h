// What a test that draws its work from a number says when the program crashes. POSIX only.
#pragma once

#include <atomic>

namespace test {

// Has a crash, one that a sanitizer ends the program for included, write "TEXT: NUMBER" with the
// number of that moment to standard error. Both must outlive the program's work; the last call
// counts.
void NameOnCrash(const char* text, const std::atomic<unsigned>& number);

}  // namespace test
