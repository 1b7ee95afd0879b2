#include "shared/fat_text.h"

#include "store/ascii.h"

#include <brevant/remote_fat.h>

#include <algorithm>

namespace brevant {
namespace {

constexpr std::string_view kEncoded = "%%";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kLongestValue = 48;

// As the profile functions have it: what they cut off around a name.
bool IsBlank(char c) { return IsSpaceAscii(c); }

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view Unquoted(std::string_view value) {
  const bool quoted = value.size() > 1 && (value.front() == '"' || value.front() == '\'') &&
                      value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

// Whether the byte at this place of a name would be lost or mean something else.
bool IsUnfit(std::string_view name, std::size_t at, TFatName kind) {
  const char c = name[at];
  return c == '=' || c == '\r' || c == '\n' || (at == 0 && (c == ';' || c == '[')) ||
         ((at == 0 || at + 1 == name.size()) && IsBlank(c)) ||
         (kind == TFatName::kDirectory && c == ']');
}

void AppendHexadecimal(std::string& text, char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  text += '%';
  text += kDigits[byte >> 4];
  text += kDigits[byte & 15];
}

int HexadecimalDigit(char c) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const std::size_t at = kDigits.find(ToLowerAscii(c));
  return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

TFatLine LineOf(std::string_view text) {
  TFatLine line;
  line.text = text;
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  text = Trimmed(text);
  const std::size_t bracket = text.rfind(']');
  const std::size_t equals = text.find('=');
  if (text.empty()) {
    line.kind = TFatLine::TKind::kBlank;
  } else if (text.front() == '[' && bracket != std::string_view::npos) {
    line.kind = TFatLine::TKind::kSection;
    line.name = Trimmed(text.substr(1, bracket - 1));
  } else if (text.front() != ';' && equals != std::string_view::npos) {
    line.kind = TFatLine::TKind::kFile;
    line.name = Trimmed(text.substr(0, equals));
    line.value = Unquoted(Trimmed(text.substr(equals + 1)));
  }
  return line;
}

// Writes the new text line by line.
class Updater {
 public:
  explicit Updater(TFatChanges changes) : changes_(std::move(changes)) {}

  void Take(const TFatLine& line) {
    if (line.kind == TFatLine::TKind::kSection) EnterSection(line);
    if (dropping_) return;
    if (line.kind != TFatLine::TKind::kFile || directory_ == nullptr) {
      text_.append(line.text);
    } else {
      TakeFile(line);
    }
    if (line.kind != TFatLine::TKind::kBlank) sectionEnd_ = text_.size();
  }

  std::string Finish() {
    EndSection();
    for (const auto& [name, directory] : changes_.changed) added_.emplace_back(directory);
    std::sort(added_.begin(), added_.end(),
              [](const auto* a, const auto* b) { return a->Name() < b->Name(); });
    for (const TRemoteDirectoryRecord* directory : added_) AppendSection(*directory);
    return std::move(text_);
  }

 private:
  void EnterSection(const TFatLine& line) {
    EndSection();
    const std::string name = DecodeFatName(line.name);
    dropping_ = changes_.removed.contains(name);
    const auto changed = changes_.changed.find(name);
    if (dropping_ || changed == changes_.changed.end()) return;
    directory_ = changed->second;
    changes_.changed.erase(changed);  // of equal sections the first counts
  }

  void TakeFile(const TFatLine& line) {
    const TRemoteFileRecord* file = directory_->Find(DecodeFatName(line.name));
    if (file != nullptr && written_.insert(file).second) AppendFile(*file);
  }

  // Files that are new go behind the section's last line that is not blank.
  void EndSection() {
    if (directory_ != nullptr && directory_->Files().size() > written_.size()) {
      const std::string behind = text_.substr(sectionEnd_);
      text_.resize(sectionEnd_);
      EndLine();
      for (const TRemoteFileRecord& file : directory_->Files()) {
        if (!written_.contains(&file)) AppendFile(file);
      }
      text_ += behind;
    }
    directory_ = nullptr;
    dropping_ = false;
    written_.clear();
  }

  void AppendSection(const TRemoteDirectoryRecord& directory) {
    if (directory.Files().empty() && !directory.Kept()) return;
    EndLine();
    text_ += '[' + EncodeFatName(directory.Name(), TFatName::kDirectory) + "]\r\n";
    for (const TRemoteFileRecord& file : directory.Files()) AppendFile(file);
  }

  void AppendFile(const TRemoteFileRecord& file) {
    text_.append(EncodeFatName(file.name, TFatName::kFile)).append("=");
    text_.append(FatValue(file)).append("\r\n");
  }

  // The last line of a file may lack its end.
  void EndLine() {
    if (!text_.empty() && text_.back() != '\n' && text_.back() != '\r') text_ += "\r\n";
  }

  TFatChanges changes_;
  std::string text_;
  const TRemoteDirectoryRecord* directory_ = nullptr;  // of the section at hand, when it changes
  bool dropping_ = false;
  std::size_t sectionEnd_ = 0;  // behind the last line that is not blank
  std::unordered_set<const TRemoteFileRecord*> written_;
  std::vector<const TRemoteDirectoryRecord*> added_;
};

}  // namespace

std::string EncodeFatName(std::string_view name, TFatName kind) {
  bool fits = !name.starts_with(kEncoded);
  for (std::size_t i = 0; i < name.size() && fits; ++i) fits = !IsUnfit(name, i, kind);
  if (fits) return std::string(name);
  std::string text(kEncoded);
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] == '%' || IsUnfit(name, i, kind)) {
      AppendHexadecimal(text, name[i]);
    } else {
      text += name[i];
    }
  }
  return text;
}

std::string DecodeFatName(std::string_view text) {
  if (!text.starts_with(kEncoded)) return std::string(text);
  text.remove_prefix(kEncoded.size());
  std::string name;
  while (!text.empty()) {
    const int high = text.front() == '%' && text.size() > 2 ? HexadecimalDigit(text[1]) : -1;
    const int low = high < 0 ? -1 : HexadecimalDigit(text[2]);
    name += low < 0 ? text.front() : static_cast<char>(high * 16 + low);
    text.remove_prefix(low < 0 ? 1 : 3);
  }
  return name;
}

std::string FatValue(const TRemoteFileRecord& file) {
  return std::to_string(file.size) + "," + std::to_string(file.checksum);
}

TRemoteFileRecord FileOfFatValue(std::string name, std::string_view value) {
  std::uint32_t size = 0;
  std::uint32_t checksum = 0;
  TextScanner numbers(value.substr(0, kLongestValue));
  if (numbers.Number(size) && numbers.Literal(',')) numbers.Number(checksum);
  return {std::move(name), checksum, size};
}

void ForEachFatLine(std::string_view bytes, const std::function<void(const TFatLine&)>& take) {
  while (!bytes.empty()) {
    std::size_t end = std::min(bytes.find_first_of("\r\n"), bytes.size());
    if (end < bytes.size() && bytes[end] == '\r') ++end;
    if (end < bytes.size() && bytes[end] == '\n') ++end;
    take(LineOf(bytes.substr(0, end)));
    bytes.remove_prefix(end);
  }
}

std::string UpdatedFatText(std::string_view bytes, TFatChanges changes) {
  Updater updater(std::move(changes));
  ForEachFatLine(bytes, [&](const TFatLine& line) { updater.Take(line); });
  return updater.Finish();
}

}  // namespace brevant
