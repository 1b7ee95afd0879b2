// Any bytes as a remote file table, and as the journal of one.
#include "fuzzed_input.h"
#include "shared/fat_text.h"
#include "support/temporary_directory.h"

#include <brevant/remote_fat.h>

#include <map>
#include <string>

using test::Require;

namespace {

using Files = std::map<std::string, std::pair<DWORD, DWORD>>;

// What the text says of each directory, read as the table's class reads it.
std::map<std::string, Files> Read(const std::string& text) {
  std::map<std::string, Files> directories;
  Files* files = nullptr;
  brevant::ForEachFatLine(text, [&](const brevant::TFatLine& line) {
    if (line.kind == brevant::TFatLine::TKind::kSection) {
      const std::string name = brevant::DecodeFatName(line.name);
      const bool first = !name.empty() && !directories.contains(name);
      files = first ? &directories[name] : nullptr;
    } else if (line.kind == brevant::TFatLine::TKind::kFile && files != nullptr) {
      const TRemoteFileRecord file =
          brevant::FileOfFatValue(brevant::DecodeFatName(line.name), line.value);
      files->try_emplace(file.name, file.size, file.checksum);
    }
  });
  return directories;
}

Files FilesOf(const TRemoteDirectoryRecord& directory) {
  Files files;
  for (const TRemoteFileRecord& file : directory.Files())
    files.try_emplace(file.name, file.size, file.checksum);
  return files;
}

// A name must come back as it was, whatever its bytes.
void CheckName(const std::string& name) {
  for (const auto kind : {brevant::TFatName::kFile, brevant::TFatName::kDirectory}) {
    const std::string encoded = brevant::EncodeFatName(name, kind);
    Require(brevant::DecodeFatName(encoded) == name, "a name comes back");
    Require(encoded.find_first_of("\r\n") == std::string::npos, "a name is one line");
  }
}

void CheckText(const std::string& text, const std::string& name) {
  const std::map<std::string, Files> before = Read(text);
  std::string joined;
  brevant::ForEachFatLine(text, [&](const brevant::TFatLine& line) { joined += line.text; });
  Require(joined == text, "the lines are the text");
  Require(brevant::UpdatedFatText(text, {}) == text, "without changes nothing changes");
  if (name.empty()) return;
  TRemoteDirectoryRecord directory(name);
  directory.Put({name, 1, 2});
  directory.Put({"index.htm", 4294967295U, 0});
  std::map<std::string, Files> wanted = before;
  wanted[name] = FilesOf(directory);
  brevant::TFatChanges changes;
  changes.changed.emplace(name, &directory);
  const std::string changed = brevant::UpdatedFatText(text, changes);
  Require(Read(changed) == wanted, "a change is read back, and nothing else changed");
  brevant::TFatChanges removal;
  removal.removed.insert(name);
  wanted.erase(name);
  Require(Read(brevant::UpdatedFatText(changed, removal)) == wanted, "what is removed is gone");
}

// Loaded with its journal, saved and loaded again.
void CheckTable(const std::string& text, const std::string& journal, const std::string& name) {
  static const test::TemporaryDirectory directory;
  const std::string path = directory / "table.fat";
  test::WriteFileBytes(path, text);
  test::WriteFileBytes(path + ".jnl", journal);
  Files files;
  {
    TRemoteFAT table(path.c_str());
    Require(table.Loaded() == 1 && table.WasCutShort() == 1, "any bytes are a table");
    table.NamesBelow(name, '/');
    TRemoteDirectoryRecord* record = table.RemoteDirectoryRecord(name.c_str());
    record->Put({name, 5, 6});
    record->Remove("index.htm");
    files = FilesOf(*record);
    Require(table.Save() == 1, "it is saved");
  }
  Require(!test::FileExists(path + ".jnl"), "the journal is used up");
  TRemoteFAT again(path.c_str());
  Require(again.WasCutShort() == 0, "the run was whole");
  // A section without a name is none; the table has no place for it.
  const std::string section = name.c_str();
  if (!section.empty())
    Require(FilesOf(*again.RemoteDirectoryRecord(section.c_str())) == files,
            "what was saved is loaded");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const unsigned options = input.Byte();
  const std::string name = input.Part();
  const std::string journal = input.Part();
  const std::string text = input.Rest();
  CheckName(name);
  CheckText(text, name);
  // Files cost a hundred times as much as texts.
  if (options % 4 == 0) CheckTable(text, "Brevant remote file table journal 1\n" + journal, name);
  if (options % 4 == 1) CheckTable(text, journal, name);
  return 0;
}
