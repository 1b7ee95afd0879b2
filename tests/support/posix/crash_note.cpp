#include "support/crash_note.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstring>
#include <unistd.h>

// Of the sanitizers, which end the program themselves.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

namespace test {
namespace {

const char* noteText = "";
const std::atomic<unsigned>* noteNumber = nullptr;

// Calls nothing that is not safe wherever the program has crashed.
void Note() {
  std::array<char, 128> line{};
  std::size_t size = std::min(std::strlen(noteText), line.size() - 16);
  std::memcpy(line.data(), noteText, size);
  line[size++] = ':';
  line[size++] = ' ';
  const auto result =
      std::to_chars(line.data() + size, line.data() + line.size() - 1, noteNumber->load());
  *result.ptr = '\n';
  size = static_cast<std::size_t>(result.ptr + 1 - line.data());
  if (write(STDERR_FILENO, line.data(), size) < 0) _exit(1);
}

void OnSignal(int signal) {
  Note();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

void NameOnCrash(const char* text, const std::atomic<unsigned>& number) {
  noteText = text;
  noteNumber = &number;
  std::signal(SIGABRT, OnSignal);
  if (__sanitizer_set_death_callback != nullptr) {
    __sanitizer_set_death_callback(Note);
    return;
  }
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) std::signal(signal, OnSignal);
}

}  // namespace test
