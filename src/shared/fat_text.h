// The text of a remote file table. Knows no files.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

class TRemoteDirectoryRecord;
struct TRemoteFileRecord;

namespace brevant {

enum class TFatName { kFile, kDirectory };

// A name as the table spells it. One that could not be read back from a key or a section ("=", a
// first ";" or "[", a blank at an end, a line end, "]" in a directory's) or that begins with "%%"
// becomes "%%" and the name with these bytes and "%" as % and two hexadecimal digits.
std::string EncodeFatName(std::string_view name, TFatName kind);
std::string DecodeFatName(std::string_view text);

// "%lu,%lu" of size and checksum, and back: what is no number there is 0.
std::string FatValue(const TRemoteFileRecord& file);
TRemoteFileRecord FileOfFatValue(std::string name, std::string_view value);

struct TFatLine {
  enum class TKind { kSection, kFile, kBlank, kOther };
  TKind kind = TKind::kOther;
  std::string_view text;   // with its line end
  std::string_view name;   // of the section or the file, as the table spells it
  std::string_view value;  // of a file, without quotes around it
};

// The lines of a table, read as profile files are.
void ForEachFatLine(std::string_view bytes, const std::function<void(const TFatLine&)>& take);

// What a table's text becomes.
struct TFatChanges {
  std::unordered_map<std::string, const TRemoteDirectoryRecord*> changed;  // by name
  std::unordered_set<std::string> removed;
};

// The text with the sections of changed directories as their records say, those of removed ones
// gone, and every other line byte for byte as it was. Linear in its length.
std::string UpdatedFatText(std::string_view bytes, TFatChanges changes);

}  // namespace brevant
