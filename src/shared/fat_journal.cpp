#include "shared/fat_journal.h"

#include "shared/fat_text.h"
#include "shared/page_store.h"

#include <algorithm>
#include <array>
#include <optional>

namespace brevant {
namespace {

using TKind = TFatJournal::TEntry::TKind;

constexpr std::string_view kHeader = "Brevant remote file table journal 1\n";
// What each kind of line begins with, in the order of TKind; a directory's name has a line of its
// own before the first line about it.
constexpr std::array<char, 6> kLetters = {'>', '+', '-', '!', 'm', 'g'};
constexpr char kDirectoryLetter = 'd';

char LetterOf(TKind kind) { return kLetters[static_cast<std::size_t>(kind)]; }

std::string Line(TKind kind, const std::string& text) {
  return std::string(1, LetterOf(kind)) + ' ' + text + '\n';
}

std::string FileLine(TKind kind, const std::string& name) {
  return Line(kind, EncodeFatName(name, TFatName::kFile));
}

// What the line says, or nothing. text stands behind the letter and the blank.
std::optional<TFatJournal::TEntry> EntryOf(char letter, std::string_view text,
                                           const std::string& directory) {
  const auto* const found = std::find(kLetters.begin(), kLetters.end(), letter);
  if (found == kLetters.end() || directory.empty()) return std::nullopt;
  TFatJournal::TEntry entry;
  entry.kind = static_cast<TKind>(found - kLetters.begin());
  entry.directory = directory;
  if (entry.kind == TKind::kMade || entry.kind == TKind::kGone) return entry;
  std::string_view value;
  if (entry.kind == TKind::kArrived) {
    const std::size_t blank = text.find(' ');
    if (blank == std::string_view::npos) return std::nullopt;
    value = text.substr(0, blank);
    text.remove_prefix(blank + 1);
  }
  if (text.empty()) return std::nullopt;
  entry.file = FileOfFatValue(DecodeFatName(text), value);
  return entry;
}

}  // namespace

TFatJournal::TFound TFatJournal::Read(const std::function<void(const TEntry&)>& take) const {
  if (LeadsOut(path_.c_str(), nullptr)) return TFound::kUnreadable;
  std::string bytes;
  if (!ReadWholeFile(path_, &bytes)) {
    const bool there = GetFileAttributesA(path_.c_str()) != INVALID_FILE_ATTRIBUTES;
    return there ? TFound::kUnreadable : TFound::kNothing;
  }
  std::string_view rest = bytes;
  if (!rest.starts_with(kHeader)) return TFound::kJournal;
  rest.remove_prefix(kHeader.size());
  std::string directory;
  for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    if (line.size() < 2 || line[1] != ' ') break;
    if (line[0] == kDirectoryLetter) {
      directory = DecodeFatName(line.substr(2));
    } else if (const auto entry = EntryOf(line[0], line.substr(2), directory)) {
      take(*entry);
    } else {
      break;
    }
  }
  return TFound::kJournal;
}

bool TFatJournal::InFlight(const std::string& directory, const std::string& name) {
  return Write(directory, FileLine(TKind::kInFlight, name));
}

bool TFatJournal::Arrived(const std::string& directory, const TRemoteFileRecord& file) {
  return Write(directory, Line(TKind::kArrived,
                               FatValue(file) + ' ' + EncodeFatName(file.name, TFatName::kFile)));
}

bool TFatJournal::Removed(const std::string& directory, const std::string& name) {
  return Write(directory, FileLine(TKind::kRemoved, name));
}

bool TFatJournal::Failed(const std::string& directory, const std::string& name) {
  return Write(directory, FileLine(TKind::kFailed, name));
}

bool TFatJournal::Made(const std::string& directory) {
  return Write(directory, Line(TKind::kMade, ""));
}

bool TFatJournal::Gone(const std::string& directory) {
  return Write(directory, Line(TKind::kGone, ""));
}

bool TFatJournal::Clear() {
  file_ = UniqueFile();
  directory_.clear();
  file_ = UniqueFile(CreateFileA(path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, OwnerOnly(),
                                 CREATE_ALWAYS, 0, nullptr));
  DWORD written = 0;
  return file_ && WriteFile(file_.Get(), kHeader.data(), static_cast<DWORD>(kHeader.size()),
                            &written, nullptr) != 0;
}

bool TFatJournal::Delete() {
  file_ = UniqueFile();
  return DeleteFileA(path_.c_str()) != 0;
}

bool TFatJournal::Write(const std::string& directory, const std::string& line) {
  if (!file_ && !Clear()) return false;
  std::string text;
  if (directory != directory_) {
    text = std::string(1, kDirectoryLetter) + ' ' + EncodeFatName(directory, TFatName::kDirectory) +
           '\n';
    directory_ = directory;
  }
  text += line;
  DWORD written = 0;
  return WriteFile(file_.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) !=
         0;
}

}  // namespace brevant
