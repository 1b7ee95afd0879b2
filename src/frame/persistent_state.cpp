// The store of what a run leaves behind.
#include "frame/settings_cache.h"
#include "platform/win32.h"

#include <brevant/frame.h>

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <string>

namespace {

constexpr std::size_t kTextSize = 512;

int WriteFormatted(const char* path, const char* key, const char* format, va_list arguments)
    BREVANT_PRINTF(3, 0);
int WriteFormatted(const char* path, const char* key, const char* format, va_list arguments) {
  char text[kTextSize];
  if (std::vsnprintf(text, sizeof text, format, arguments) < 0) text[0] = '\0';
  try {
    return brevant::WriteProfileValue(path, key, text);
  } catch (const std::exception&) {
    return 0;
  }
}

}  // namespace

TPersistentState::TPersistentState(const char* fileName) : TSetup(fileName) {
  // Trace points write often, and what a power failure takes of them nobody misses.
  try {
    brevant::SetProfileSync(Path(), false);
  } catch (const std::exception&) {
    // Then it is slower.
  }
}

int TPersistentState::Error(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = WriteFormatted(Path(), "Error", format, arguments);
  va_end(arguments);
  return result;
}

int TPersistentState::Result(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = WriteFormatted(Path(), "Result", format, arguments);
  va_end(arguments);
  return result;
}

TPersistentState* OpenPersistentState(const char* fileName) {
  std::unique_ptr<TPersistentState> state(new (std::nothrow) TPersistentState(fileName));
  return state == nullptr || state->Path()[0] == '\0' ? nullptr : state.release();
}

void ClosePersistentState(TPersistentState* state) {
  const std::unique_ptr<TPersistentState> closed(state);
}
