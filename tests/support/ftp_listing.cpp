#include "support/ftp_listing.h"

#include "store/ascii.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdarg>
#include <cstdio>

namespace test {

namespace fs = std::filesystem;

namespace {

struct Entry {
  std::string name;
  bool directory = false;
  unsigned long long size = 0;
  std::chrono::sys_seconds time;
};

std::string Bytes(const fs::path& name) {
  const std::u8string text = name.u8string();
  return {text.begin(), text.end()};
}

Entry Describe(const fs::path& path) {
  Entry entry;
  std::error_code failed;
  entry.name = Bytes(path.filename());
  entry.directory = fs::is_directory(path, failed);
  if (!entry.directory) entry.size = fs::file_size(path, failed);
  const auto time = fs::last_write_time(path, failed);
  entry.time = std::chrono::floor<std::chrono::seconds>(
      std::chrono::file_clock::to_sys(failed ? fs::file_time_type() : time));
  return entry;
}

std::optional<std::vector<Entry>> Entries(const fs::path& path) {
  std::error_code failed;
  const fs::file_status status = fs::status(path, failed);
  if (!fs::exists(status)) return std::nullopt;
  std::vector<Entry> entries;
  if (!fs::is_directory(status)) {
    entries.push_back(Describe(path));
    return entries;
  }
  for (const auto& entry : fs::directory_iterator(path, failed)) {
    entries.push_back(Describe(entry.path()));
  }
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  return entries;
}

std::string Print(const char* format, ...) BREVANT_PRINTF(1, 2);

// NOLINTNEXTLINE(cert-dcl50-cpp)
std::string Print(const char* format, ...) {
  std::array<char, 160> line;
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  return {line.data(), static_cast<std::size_t>(std::clamp(length, 0, 159))};
}

struct Calendar {
  explicit Calendar(std::chrono::sys_seconds time)
      : day(std::chrono::floor<std::chrono::days>(time)),
        minutes(
            static_cast<int>((time - std::chrono::floor<std::chrono::days>(time)).count() / 60)) {}
  int Year() const { return static_cast<int>(day.year()); }
  unsigned Month() const { return static_cast<unsigned>(day.month()); }
  unsigned Day() const { return static_cast<unsigned>(day.day()); }

  std::chrono::year_month_day day;
  int minutes;
};

std::string UnixTime(std::chrono::sys_seconds time) {
  constexpr std::array<const char*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  constexpr std::chrono::days kHalfAYear(182);
  const Calendar at(time);
  const auto now = std::chrono::system_clock::now();
  const std::string date = Print("%s %2u ", kMonths[at.Month() - 1], at.Day());
  if (time > now || now - time > kHalfAYear) return date + Print(" %d", at.Year());
  return date + Print("%02d:%02d", at.minutes / 60, at.minutes % 60);
}

std::string DosTime(std::chrono::sys_seconds time) {
  const Calendar at(time);
  const int hour = at.minutes / 60;
  return Print("%02u-%02u-%02d  %02d:%02d%s", at.Month(), at.Day(), at.Year() % 100,
               hour % 12 == 0 ? 12 : hour % 12, at.minutes % 60, hour < 12 ? "AM" : "PM");
}

std::string Line(const Entry& entry, ListingStyle style) {
  switch (style) {
    case ListingStyle::kDos:
      return DosTime(entry.time) +
             (entry.directory ? "       <DIR>          " : Print(" %20llu ", entry.size)) +
             entry.name;
    case ListingStyle::kNetWare:
      return Print("%s [RWCEAFMS] %-20s %14llu ", entry.directory ? "d" : "-", "ftp", entry.size) +
             UnixTime(entry.time) + " " + entry.name;
    case ListingStyle::kUnix:
      break;
  }
  return Print("%s    %d ftp      ftp      %12llu ", entry.directory ? "drwxr-xr-x" : "-rw-r--r--",
               entry.directory ? 2 : 1, entry.directory ? 4096ULL : entry.size) +
         UnixTime(entry.time) + " " + entry.name;
}

}  // namespace

std::string ResolveRemote(const std::string& current, const std::string& path, bool backslashes) {
  std::string all = path;
  if (backslashes) std::replace(all.begin(), all.end(), '\\', '/');
  if (!all.starts_with('/')) all = current + "/" + all;
  std::vector<std::string> parts;
  std::size_t at = 0;
  while (at < all.size()) {
    const std::size_t end = std::min(all.find('/', at), all.size());
    const std::string part = all.substr(at, end - at);
    at = end + 1;
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
  }
  std::string result;
  for (const std::string& part : parts) result += "/" + part;
  return result.empty() ? "/" : result;
}

std::optional<fs::path> LocalPath(const std::string& root, const std::string& remote) {
  try {
    const std::string all = root + remote;
    fs::path path(std::u8string(all.begin(), all.end()));
    return path;
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<std::string> List(const fs::path& path, ListingStyle style) {
  const auto entries = Entries(path);
  if (!entries) return std::nullopt;
  std::string text;
  for (const Entry& entry : *entries) text += Line(entry, style) + "\r\n";
  return text;
}

std::optional<std::string> ListNames(const fs::path& path) {
  const auto entries = Entries(path);
  if (!entries) return std::nullopt;
  std::string text;
  for (const Entry& entry : *entries) text += entry.name + "\r\n";
  return text;
}

fs::path FoldCase(const fs::path& path) {
  std::error_code failed;
  if (fs::exists(path, failed)) return path;
  for (const auto& entry : fs::directory_iterator(path.parent_path(), failed)) {
    if (brevant::EqualsIgnoreCase(Bytes(entry.path().filename()), Bytes(path.filename())))
      return entry.path();
  }
  return path;
}

}  // namespace test
