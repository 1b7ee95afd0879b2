#include "frame/reporting.h"

#include "platform/win32.h"
#include "store/ascii.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t kTextSize = 512;

// The host may switch a display off while another thread ends its look-up and reports.
std::atomic<StatusFunction> statusFunction{nullptr};
std::atomic<HistoryFunction> historyFunction{nullptr};
std::atomic<ProgressFunction> progressFunction{nullptr};

void Format(char (&text)[kTextSize], const char* format, va_list arguments) BREVANT_PRINTF(2, 0);
void Format(char (&text)[kTextSize], const char* format, va_list arguments) {
  if (std::vsnprintf(text, kTextSize, format, arguments) < 0) text[0] = '\0';
}

void ShowHistory(const char* text) {
  if (const HistoryFunction show = historyFunction) show(text);
}

}  // namespace

void DisplayStatus(const char* format, ...) {
  const StatusFunction show = statusFunction;
  if (show == nullptr) return;
  char text[kTextSize];
  va_list arguments;
  va_start(arguments, format);
  Format(text, format, arguments);
  va_end(arguments);
  show(text);
}

void DisplayHistory(const char* format, ...) {
  char text[kTextSize];
  va_list arguments;
  va_start(arguments, format);
  Format(text, format, arguments);
  va_end(arguments);
  ShowHistory(text);
  if (brevant::ContainsWordStartingWith(text, "Cannot")) LogError(text);
}

void DisplayError(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  DisplayErrorV(format, arguments);
  va_end(arguments);
}

void DisplayErrorV(const char* format, va_list arguments) {
  char text[kTextSize];
  Format(text, format, arguments);
  ShowHistory(text);
  LogError(text);
}

void DisplayProgress(int done, int total) {
  if (const ProgressFunction show = progressFunction) show(done, total);
}

void SetVisualFunctions(const char* which, void* function) {
  const std::string_view word = which == nullptr ? "" : which;
  if (brevant::EqualsIgnoreCase(word, "STATUS")) {
    statusFunction = reinterpret_cast<StatusFunction>(function);
  } else if (brevant::EqualsIgnoreCase(word, "HISTORY")) {
    historyFunction = reinterpret_cast<HistoryFunction>(function);
  } else if (brevant::EqualsIgnoreCase(word, "PROGRESS")) {
    progressFunction = reinterpret_cast<ProgressFunction>(function);
  }
}

bool brevant::ContainsWordStartingWith(const char* text, const char* word) {
  const std::string_view wanted = word;
  std::string_view rest = text == nullptr ? "" : text;
  for (;;) {
    if (EqualsIgnoreCase(rest.substr(0, wanted.size()), wanted)) return true;
    const std::size_t blank = rest.find(' ');
    if (blank == std::string_view::npos) return false;
    rest.remove_prefix(blank + 1);
  }
}

void brevant::Trace(TPersistentState* state, const char* module, int line) {
  if (state == nullptr) return;
  state->String("Last module executed", module);
  state->Number("Last line executed", static_cast<DWORD>(line));
}
