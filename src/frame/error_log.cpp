// The error log beside the settings: "[5/1/98 0:07 PM   ] text" and CR LF a line.
#include "frame/library.h"
#include "platform/win32.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <string>

namespace {

constexpr std::size_t kStampWidth = 17;

std::string TimeStamp() {
  char stamp[256];
  FormatTime(TTime::Now(), stamp, sizeof stamp, kFormatDate | kFormatTime | kFormatYear);
  std::string text = stamp;
  if (text.size() < kStampWidth) text.resize(kStampWidth, ' ');
  return text;
}

std::string Line(const char* text) {
  std::string line = text == nullptr ? "" : text;
  // Mail and servers supply parts of these texts: none of them may begin a line of its own.
  std::replace_if(
      line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
  return "[" + TimeStamp() + "] " + line + "\r\n";
}

// Whether the file is empty or its last line has its end, which a kill inside a write may have cut
// off. Leaves the position anywhere.
bool EndsWithLine(HANDLE file) {
  LONG high = -1;
  const DWORD low = SetFilePointer(file, -1, &high, FILE_END);
  if (low == INVALID_SET_FILE_POINTER && GetLastError() != ERROR_SUCCESS) return true;
  char last = '\n';
  DWORD count = 0;
  return ReadFile(file, &last, 1, &count, nullptr) == 0 || count == 0 || last == '\n';
}

// A line of which a part only was written, for want of room, goes again.
void AppendWhole(HANDLE file, DWORD low, LONG high, const std::string& line) {
  const auto count = static_cast<DWORD>(line.size());
  DWORD written = 0;
  if (WriteFile(file, line.data(), count, &written, nullptr) != 0 && written == count) return;
  if (SetFilePointer(file, static_cast<LONG>(low), &high, FILE_BEGIN) != INVALID_SET_FILE_POINTER ||
      GetLastError() == ERROR_SUCCESS) {
    SetEndOfFile(file);
  }
}

}  // namespace

int LogError(const char* text) {
  try {
    const std::string path = std::string(brevant::ProgramDirectory()) + "error.log";
    const std::string line = Line(text);
    const std::string own = "\r\n" + line;
    HANDLE file = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, brevant::OwnerOnly(),
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return 1;
    const bool ended = EndsWithLine(file);
    LONG high = 0;  // without it a log of 4 GB could not be appended to
    const DWORD low = SetFilePointer(file, 0, &high, FILE_END);
    // Elsewhere than at the end it would go over other lines.
    if (low != INVALID_SET_FILE_POINTER || GetLastError() == ERROR_SUCCESS) {
      AppendWhole(file, low, high, ended ? line : own);
    }
    CloseHandle(file);
  } catch (const std::exception&) {
    // A line that cannot be logged is lost, as one whose file cannot be opened is.
  }
  return 1;
}
