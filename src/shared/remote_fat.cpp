#include "platform/win32.h"
#include "shared/fat_journal.h"
#include "shared/fat_text.h"
#include "shared/page_store.h"
#include "store/guard.h"

#include <brevant/remote_fat.h>

#include <utility>

namespace {

bool WriteTable(const std::string& path, const std::string& bytes) {
  const std::string unfinished = path + ".new~";
  // Always a new file: what stands there, a killed run left or somebody else put there.
  DeleteFileA(unfinished.c_str());
  brevant::UniqueFile file(CreateFileA(unfinished.c_str(), GENERIC_WRITE, 0, brevant::OwnerOnly(),
                                       CREATE_NEW, 0, nullptr));
  if (!file) return false;
  DWORD written = 0;
  const bool whole = WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                               nullptr) != 0 &&
                     written == bytes.size() && FlushFileBuffers(file.Get()) != 0;
  if (file.Close() && whole &&
      MoveFileExA(unfinished.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0) {
    return true;
  }
  DeleteFileA(unfinished.c_str());
  return false;
}

// Makes the platform forget what it keeps of profile files: the table is read and written as a
// whole, beside its functions.
void FlushProfileCache(const std::string& path) {
  WritePrivateProfileStringA(nullptr, nullptr, nullptr, path.c_str());
}

// The table's text; false when the file is there and cannot be read.
bool ReadTable(const std::string& path, std::string* bytes) {
  FlushProfileCache(path);
  if (brevant::LeadsOut(path.c_str(), nullptr)) return false;
  return brevant::ReadWholeFile(path, bytes) ||
         GetFileAttributesA(path.c_str()) == INVALID_FILE_ATTRIBUTES;
}

}  // namespace

TRemoteDirectoryRecord::TRemoteDirectoryRecord(std::string name) : name_(std::move(name)) {}

TRemoteDirectoryRecord::~TRemoteDirectoryRecord() = default;

const TRemoteFileRecord* TRemoteDirectoryRecord::Find(std::string_view name) const {
  const auto found = byName_.find(name);
  return found == byName_.end() ? nullptr : &*found->second;
}

int TRemoteDirectoryRecord::Put(const TRemoteFileRecord& file) {
  return brevant::Guarded(0, [&] {
    const auto found = byName_.find(file.name);
    if (found != byName_.end()) {
      found->second->checksum = file.checksum;
      found->second->size = file.size;
    } else {
      std::list<TRemoteFileRecord> added{file};
      byName_.emplace(added.front().name, added.begin());
      files_.splice(files_.end(), added);
    }
    changed_ = kept_ = true;
    return 1;
  });
}

int TRemoteDirectoryRecord::Remove(std::string_view name) {
  const auto found = byName_.find(name);
  if (found == byName_.end()) return 0;
  const auto file = found->second;
  byName_.erase(found);
  files_.erase(file);
  changed_ = true;
  return 1;
}

void TRemoteDirectoryRecord::Keep() {
  changed_ = changed_ || !kept_;
  kept_ = true;
}

TRemoteFAT::TRemoteFAT(const char* path) {
  loaded_ = brevant::Guarded(false, [&] {
    path_ = path == nullptr ? "" : path;
    journal_ = std::make_unique<brevant::TFatJournal>(path_);
    return Load();
  });
  if (loaded_) return;
  byName_.clear();
  directories_.clear();
}

TRemoteFAT::~TRemoteFAT() {
  if (Save() == 0) return;
  brevant::Guarded(false, [&] {
    if (cutShort_ && (wasCutShort_ || journal_->Started())) return journal_->Clear();
    return !journal_->Started() || journal_->Delete();
  });
}

bool TRemoteFAT::Load() {
  loaded_ = true;  // for the saving in between
  return LoadTable() && Replay();
}

bool TRemoteFAT::LoadTable() {
  std::string bytes;
  if (!ReadTable(path_, &bytes)) return false;
  TRemoteDirectoryRecord* directory = nullptr;
  brevant::ForEachFatLine(bytes, [&](const brevant::TFatLine& line) {
    if (line.kind == brevant::TFatLine::TKind::kSection) {
      const std::string name = brevant::DecodeFatName(line.name);
      // Of equal sections the first counts.
      const bool known = name.empty() || byName_.contains(name);
      directory = known ? nullptr : &Record(name);
      if (directory != nullptr) directory->kept_ = true;
    } else if (line.kind == brevant::TFatLine::TKind::kFile && directory != nullptr) {
      const TRemoteFileRecord file =
          brevant::FileOfFatValue(brevant::DecodeFatName(line.name), line.value);
      if (directory->Find(file.name) == nullptr && directory->Put(file) == 0) {
        throw std::bad_alloc();
      }
    }
  });
  for (TRemoteDirectoryRecord& loaded : directories_) loaded.changed_ = false;
  return true;
}

// Brings the table up to what a killed delivery had done. The journal's end is an empty journal:
// should this delivery be killed before its own first step, the next one still has to know.
bool TRemoteFAT::Replay() {
  using TEntry = brevant::TFatJournal::TEntry;
  TEntry inFlight;
  const auto arriveUnknown = [&] {
    if (inFlight.directory.empty()) return;
    TRemoteDirectoryRecord& directory = Record(inFlight.directory);
    if (directory.Find(inFlight.file.name) != nullptr) {
      directory.Put({inFlight.file.name, 0, 0});
    }
    inFlight.directory.clear();
  };
  const auto found = journal_->Read([&](const TEntry& entry) {
    if (entry.kind == TEntry::TKind::kInFlight) {
      arriveUnknown();
      inFlight = entry;
      return;
    }
    inFlight.directory.clear();
    switch (entry.kind) {
      case TEntry::TKind::kArrived:
        Record(entry.directory).Put(entry.file);
        break;
      case TEntry::TKind::kRemoved:
        Record(entry.directory).Remove(entry.file.name);
        break;
      case TEntry::TKind::kMade:
        Record(entry.directory).Keep();
        break;
      case TEntry::TKind::kGone:
        RemoveDirectoryRecord(entry.directory);
        break;
      default:
        break;
    }
  });
  arriveUnknown();
  wasCutShort_ = found != brevant::TFatJournal::TFound::kNothing;
  if (found == brevant::TFatJournal::TFound::kNothing) return true;
  return found == brevant::TFatJournal::TFound::kJournal && Save() != 0 && journal_->Clear();
}

TRemoteDirectoryRecord& TRemoteFAT::Record(const std::string& name) {
  const auto found = byName_.find(name);
  if (found != byName_.end()) return *found->second;
  std::list<TRemoteDirectoryRecord> added;
  added.emplace_back(name);
  byName_.emplace(name, added.begin());
  directories_.splice(directories_.end(), added);
  return directories_.back();
}

TRemoteDirectoryRecord* TRemoteFAT::RemoteDirectoryRecord(const char* name) {
  return brevant::Guarded<TRemoteDirectoryRecord*>(
      nullptr, [&] { return &Record(name == nullptr ? "" : name); });
}

void TRemoteFAT::RemoveDirectoryRecord(const std::string& name) {
  brevant::Guarded(false, [&] {
    const auto found = byName_.find(name);
    if (found == byName_.end()) return false;
    removed_.insert(name);
    directories_.erase(found->second);
    byName_.erase(found);
    return true;
  });
}

std::set<std::string> TRemoteFAT::NamesBelow(const std::string& name, char separator) const {
  std::set<std::string> names;
  brevant::Guarded(false, [&] {
    auto next = byName_.upper_bound(name);
    while (next != byName_.end() && next->first.starts_with(name)) {
      const std::size_t end = next->first.find(separator, name.size());
      if (end == std::string::npos || end == name.size() || !next->second->Kept()) {
        ++next;
        continue;
      }
      names.insert(next->first.substr(name.size(), end - name.size()));
      // Over everything below it at once.
      std::string behind = next->first.substr(0, end);
      behind += static_cast<char>(separator + 1);
      next = byName_.lower_bound(behind);
    }
    return true;
  });
  return names;
}

bool TRemoteFAT::AnyChanged() const {
  for (const TRemoteDirectoryRecord& directory : directories_) {
    if (directory.Changed()) return true;
  }
  return !removed_.empty();
}

int TRemoteFAT::Save() {
  return brevant::Guarded(0, [&] {
    if (!loaded_) return 0;
    if (!AnyChanged()) return 1;
    std::string bytes;
    if (!ReadTable(path_, &bytes)) return 0;
    brevant::TFatChanges changes;
    for (const std::string& name : removed_) changes.removed.insert(name);
    for (const TRemoteDirectoryRecord& directory : directories_) {
      if (directory.Changed()) changes.changed.emplace(directory.Name(), &directory);
    }
    if (!WriteTable(path_, brevant::UpdatedFatText(bytes, std::move(changes)))) return 0;
    FlushProfileCache(path_);
    removed_.clear();
    for (TRemoteDirectoryRecord& directory : directories_) directory.changed_ = false;
    return 1;
  });
}
