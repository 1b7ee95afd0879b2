#include "net/ftp_listing.h"

#include "net/date_words.h"
#include "net/guarded.h"
#include "store/ascii.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace brevant {
namespace {

// The next line without its end; false when the text is used up.
bool NextLine(std::string_view& text, std::string_view& line) {
  if (text.empty()) return false;
  const std::size_t end = std::min(text.find('\n'), text.size());
  line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return true;
}

// Whether a file in a directory may be called this, here and on the server.
bool IsEntryName(std::string_view name) {
  const auto forbidden = [](char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f' || c == '\\';
  };
  return !name.empty() && name != "." && name != ".." &&
         std::none_of(name.begin(), name.end(), forbidden);
}

int ListingYear(int number) {
  if (number >= 71 && number <= 98) return number + 1900;
  return number >= 1971 && number <= 2029 ? number : 0;
}

bool MayBeDay(std::string_view word) {
  return IsNumber(word) && LeadingNumber(word) >= 1 && LeadingNumber(word) <= 31;
}

// The last month that stands beside something like a day, else the last: people and files are
// called Jan and May, too, and the date stands behind those and before these.
void FindMonth(const std::vector<std::string_view>& words, WordDate& date) {
  bool besideDay = false;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const int month = MonthOf(words[i]);
    const bool beside =
        (i > 0 && MayBeDay(words[i - 1])) || (i + 1 < words.size() && MayBeDay(words[i + 1]));
    if (month == 0 || (besideDay && !beside)) continue;
    besideDay = beside;
    date.month = month;
    date.monthWord = static_cast<int>(i) + 1;
  }
}

TTime TimeOf(const WordDate& date) {
  if (date.month != 0 && date.day != 0 && date.year != 0 && date.time) {
    return TTime(date.year, date.month, date.day, date.time->hour, date.time->minute,
                 date.time->second);
  }
  const TTime now = TTime::Now();
  const TimeOfDay time = date.time.value_or(TimeOfDay{now.Hour(), now.Minute(), 0});
  TTime result(date.year != 0 ? date.year : now.Year(), date.month != 0 ? date.month : now.Month(),
               date.day != 0 ? date.day : now.Day(), time.hour, time.minute, now.Second());
  return result;
}

// The largest number that is neither the word behind the month nor followed by year or time.
std::optional<DWORD> SizeAmong(const std::vector<std::string_view>& words, const WordDate& date) {
  std::optional<DWORD> size;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const int word = static_cast<int>(i) + 1;
    const int next = word + 1;
    if (!IsNumber(words[i]) || (date.monthWord != 0 && word == date.monthWord + 1) ||
        next == date.yearWord || next == date.timeWord)
      continue;
    const auto number = static_cast<DWORD>(LeadingNumber(words[i]));
    size = std::max(size.value_or(0), number);
  }
  return size;
}

void ReadLine(std::string_view line, TFindData& entry) {
  const std::vector<std::string_view> words = SplitWords(line);
  WordDate date;
  FindTimeOfDay(words, date);
  FindMonth(words, date);
  FindDayAndYear(words, ListingYear, date);
  const TTime time = TimeOf(date);
  entry.creationTime = entry.lastAccessTime = entry.lastWriteTime = time.FileTime();
  const std::optional<DWORD> size = SizeAmong(words, date);
  if (!size) return;
  entry.sizeHigh = 0;
  entry.sizeLow = *size;
}

// Of "drwxr-xr-x ..." and "d [RWCE] ...", and of lines with the word <DIR>.
bool IsDirectoryLine(std::string_view line) {
  constexpr std::string_view kAfterD = "r-w? [";
  if (line.size() > 1 && line[0] == 'd' && kAfterD.find(line[1]) != std::string_view::npos)
    return true;
  const std::vector<std::string_view> words = SplitWords(line);
  return std::find(words.begin(), words.end(), "<DIR>") != words.end();
}

// The entries by their names.
struct NameIndex {
  std::unordered_map<std::string_view, std::size_t> places;
  std::size_t longest = 0;
};

// The place of the entry whose name the line ends with, of several the one with the longest name;
// *prefix is the line before it.
std::optional<std::size_t> PlaceOf(const NameIndex& index, std::string_view line,
                                   std::string_view* prefix) {
  constexpr int kMostAttempts = 64;  // names of more blanks are not found: hostile lines stay cheap
  if (line.starts_with('l')) line = line.substr(0, line.find(" -> "));
  int attempts = 0;
  for (std::size_t at = 1; at < line.size() && attempts < kMostAttempts; ++at) {
    if (line[at - 1] != ' ' || line.size() - at > index.longest) continue;
    ++attempts;
    const auto found = index.places.find(line.substr(at));
    if (found == index.places.end()) continue;
    *prefix = line.substr(0, at);
    return found->second;
  }
  return std::nullopt;
}

}  // namespace

std::vector<TFindData> ListedNames(std::string_view text) {
  std::vector<TFindData> entries;
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  entries.reserve(std::min(lines, kMostListedNames + 1));
  std::string_view line;
  while (entries.size() <= kMostListedNames && NextLine(text, line)) {
    if (line.ends_with('/')) line.remove_suffix(1);
    line.remove_prefix(line.rfind('/') + 1);
    if (!IsEntryName(line)) continue;
    entries.emplace_back().name = line;
  }
  return entries;
}

void AddDetails(std::string_view text, std::vector<TFindData>& entries) {
  NameIndex index;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    index.places.emplace(entries[i].name, i);
    index.longest = std::max(index.longest, entries[i].name.size());
  }
  std::string_view line;
  while (NextLine(text, line)) {
    std::string_view prefix;
    const std::optional<std::size_t> place = PlaceOf(index, line, &prefix);
    if (!place) continue;
    ReadLine(prefix, entries[*place]);
    if (IsDirectoryLine(prefix)) entries[*place].attributes = FILE_ATTRIBUTE_DIRECTORY;
  }
}

}  // namespace brevant

int TFTP::ProcessFileInfo(const char* line, TFindData* findData) {
  return brevant::Guarded(0, [&] {
    brevant::ReadLine(line, *findData);
    return 1;
  });
}
