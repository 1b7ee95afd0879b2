// The settings store: a profile section with a cache.
#include "frame/library.h"
#include "frame/reporting.h"
#include "frame/settings_cache.h"
#include "platform/win32.h"
#include "store/ascii.h"
#include "store/guard.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>

namespace {

constexpr char kSection[] = "Tavernix";
constexpr DWORD kTextSize = 256;
constexpr DWORD kNumberSize = 33;
// 22 seconds short of the distance from 30 December 1899 to 1 January 1970; stored dates rely on
// it.
constexpr double kDateOffset = 2209161578.0;
constexpr double kSecondsPerDay = 86400.0;

std::string_view TextOf(const char* text) { return text == nullptr ? "" : text; }
const char* KeyOf(const char* key) { return key == nullptr ? "" : key; }

bool IsPasswordKey(const char* key) { return brevant::ContainsWordStartingWith(key, "password"); }

// Whether the file is there and would have told more another time. A file that is missing, or
// closed to this user, holds no settings.
bool IsPassing(DWORD error) {
  constexpr DWORD kPassing[] = {ERROR_NOT_ENOUGH_MEMORY, ERROR_TOO_MANY_OPEN_FILES,
                                ERROR_GEN_FAILURE, ERROR_READ_FAULT, ERROR_SHARING_VIOLATION};
  return std::find(std::begin(kPassing), std::end(kPassing), error) != std::end(kPassing);
}

std::string ReadValue(const char* path, const char* key, DWORD size) {
  char buffer[kTextSize] = "";
  SetLastError(ERROR_SUCCESS);
  GetPrivateProfileStringA(kSection, KeyOf(key), "", buffer, size, path);
  if (buffer[0] == '\0' && IsPassing(GetLastError()))
    throw std::runtime_error("unreadable settings");
  return buffer;
}

// The double as an integer by truncation, of which the low 32 bits are kept.
DWORD Truncate(double value) {
  constexpr double kLimit = 9.0e18;
  if (!(std::fabs(value) < kLimit)) return 0;
  return static_cast<DWORD>(static_cast<std::int64_t>(value));
}

}  // namespace

template <typename Value>
std::string brevant::TKeyedValues<Value>::Fold(std::string_view key) {
  std::string folded(key);
  std::transform(folded.begin(), folded.end(), folded.begin(), ToLowerAscii);
  return folded;
}

std::string brevant::Scramble(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto raised = static_cast<unsigned char>(static_cast<unsigned char>(text[i]) + i);
    if (raised == 0) break;
    result += static_cast<char>(raised);
  }
  return result;
}

std::string brevant::Unscramble(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto lowered = static_cast<unsigned char>(static_cast<unsigned char>(text[i]) - i);
    if (lowered == 0) break;
    result += static_cast<char>(lowered);
  }
  return result;
}

int brevant::WriteProfileValue(const char* path, const char* key, std::string value) {
  if (path[0] == '\0') return 0;
  // A line end in a value would make a line of its own, which another key could read.
  std::replace_if(
      value.begin(), value.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  return WritePrivateProfileStringA(kSection, KeyOf(key), value.c_str(), path);
}

TSetup::TSetup(const char* fileName) {
  try {
    cache_ = std::make_unique<brevant::TSettingsCache>(std::string(brevant::ProgramDirectory()) +
                                                       std::string(TextOf(fileName)));
  } catch (const std::exception&) {
    // Without a cache every operation gives its failure result or the default.
  }
}

TSetup::~TSetup() = default;

const char* TSetup::Path() const { return cache_ == nullptr ? "" : cache_->path.c_str(); }

const char* TSetup::String(const char* key) const {
  if (cache_ == nullptr) return DefaultString(key);
  try {
    if (const std::string* cached = cache_->texts.Find(TextOf(key))) return cached->c_str();
    std::string text = ReadValue(Path(), key, kTextSize);
    if (text.empty()) return DefaultString(key);
    if (IsPasswordKey(key)) text = brevant::Unscramble(text);
    // Reading fills the cache through the virtual operation, so that a derived store sees it.
    if (const_cast<TSetup*>(this)->SetString(key, text.c_str()) >= 0) {
      if (const std::string* cached = cache_->texts.Find(TextOf(key))) return cached->c_str();
    }
  } catch (const std::exception&) {
    ++brevant::silentFailures;
  }
  return DefaultString(key);
}

LONG TSetup::Integer(const char* key) const { return static_cast<LONG>(Number(key)); }

DWORD TSetup::Number(const char* key) const {
  if (cache_ == nullptr) return DefaultNumber(key);
  try {
    if (const DWORD* cached = cache_->numbers.Find(TextOf(key))) return *cached;
    const std::string text = ReadValue(Path(), key, kNumberSize);
    if (text.empty()) return DefaultNumber(key);
    if (const_cast<TSetup*>(this)->SetNumber(key, brevant::LeadingNumber(text)) >= 0) {
      if (const DWORD* cached = cache_->numbers.Find(TextOf(key))) return *cached;
    }
  } catch (const std::exception&) {
    ++brevant::silentFailures;
  }
  return DefaultNumber(key);
}

int TSetup::String(const char* key, const char* value) {
  try {
    std::string text(TextOf(value));  // the caller's may be the cached one that goes now
    if (SetString(key, text.c_str()) < 0) return 0;
    if (IsPasswordKey(key)) text = brevant::Scramble(text);
    return brevant::WriteProfileValue(Path(), key, std::move(text));
  } catch (const std::exception&) {
    return 0;
  }
}

int TSetup::Integer(const char* key, LONG value) { return Number(key, static_cast<DWORD>(value)); }

int TSetup::Number(const char* key, DWORD value) {
  if (SetNumber(key, static_cast<LONG>(value)) < 0) return -1;
  try {
    return brevant::WriteProfileValue(Path(), key, std::to_string(value));
  } catch (const std::exception&) {
    return 0;
  }
}

double TSetup::Date(const char* key) const { return (Number(key) + kDateOffset) / kSecondsPerDay; }

int TSetup::Date(const char* key, double value) {
  // The small addition makes up for what the division above lost, so that round trips are exact.
  return Number(key, Truncate(value * kSecondsPerDay - kDateOffset + 1e-5));
}

TTime TSetup::Time(const char* key) const { return TTime::FromUnixSeconds(Number(key)); }

int TSetup::Time(const char* key, const TTime& value) {
  return Number(key, static_cast<DWORD>(value.UnixSeconds()));
}

int TSetup::SetString(const char* key, const char* value) {
  if (cache_ == nullptr) return -1;
  try {
    std::string text(TextOf(value));
    if (brevant::ContainsWordStartingWith(key, "directory")) {
      text = brevant::WithFinalSeparator(std::move(text));
    }
    return cache_->texts.Set(TextOf(key), std::move(text));
  } catch (const std::exception&) {
    ++brevant::silentFailures;
    return -1;
  }
}

int TSetup::SetNumber(const char* key, LONG value) {
  if (cache_ == nullptr) return -1;
  try {
    return cache_->numbers.Set(TextOf(key), static_cast<DWORD>(value));
  } catch (const std::exception&) {
    ++brevant::silentFailures;
    return -1;
  }
}

const char* TSetup::DefaultString(const char* key) const {
  const std::string_view name = TextOf(key);
  try {
    if (brevant::EqualsIgnoreCase(name, "Program directory")) return brevant::ProgramDirectory();
    if (brevant::EqualsIgnoreCase(name, "E-Mail Address") && cache_ != nullptr) {
      cache_->address = std::string(String("POP3 Account")) + "@" + String("POP3 Server");
      return cache_->address.c_str();
    }
  } catch (const std::exception&) {
    return "";
  }
  if (brevant::EqualsIgnoreCase(name, "SMTP Server")) return String("POP3 Server");
  if (brevant::EqualsIgnoreCase(name, "BBS Short Name")) return String("BBS Name");
  if (brevant::EqualsIgnoreCase(name, "BBS Name")) return "Tavernix";
  return "";
}

DWORD TSetup::DefaultNumber(const char*) const { return 0; }

TTime TSetup::LastModifyTime() const {
  WIN32_FIND_DATAA data{};
  HANDLE search = FindFirstFileA(Path(), &data);
  if (search == INVALID_HANDLE_VALUE) return TTime();
  FindClose(search);
  FILETIME local{};
  if (!FileTimeToLocalFileTime(&data.ftLastWriteTime, &local)) return TTime();
  return TTime(local);
}

TSetup* OpenSetup(const char* fileName) {
  std::unique_ptr<TSetup> setup(new (std::nothrow) TSetup(fileName));
  return setup == nullptr || setup->Path()[0] == '\0' ? nullptr : setup.release();
}

void CloseSetup(TSetup* setup) { const std::unique_ptr<TSetup> closed(setup); }
