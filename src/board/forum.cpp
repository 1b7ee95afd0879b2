// A forum's opening and closing, its properties and its records.
#include "board/access.h"
#include "board/list_index.h"
#include "board/property_cache.h"
#include "platform/win32.h"
#include "store/ascii.h"
#include "store/elements.h"
#include "store/guard.h"
#include "store/records.h"

#include <brevant/board.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

using brevant::Guarded;
using brevant::kCreate;
using brevant::kExclusive;
using brevant::KeyMatch;
using brevant::kOpenExisting;
using brevant::kReadWrite;

namespace {

constexpr LONG kCurrentVersion = 3;

bool Creates(int create) { return (create & kCreate) != 0; }

struct DefaultNumberEntry {
  std::string_view key;
  LONG value;
};
constexpr std::array<DefaultNumberEntry, 3> kDefaultNumbers = {{
    {"Version", 1},
    {"First Message Index", 1},
    {"Max Message Count", 16},
}};

}  // namespace

TForum::TForum() = default;

TForum::~TForum() {
  if (IsOpen()) Close();
}

const char* TForum::Extension() const { return ".mwd"; }

brevant::TPropertyCache& TForum::Properties() const {
  if (cache_ == nullptr)
    cache_ = std::make_unique<brevant::TPropertyCache>(KeyMatch::kTrailingStar);
  return *cache_;
}

int TForum::Open(const char* name, const char* directory, int access, int create, int share) {
  if (IsOpen()) Close();
  if (name == nullptr || directory == nullptr) return 0;
  return Guarded(0, [&] {
    const std::string path = std::string(directory) + name + Extension();
    return storage_.Open(path.c_str(), access, create, share) != 0 ? OpenStreams(name, create) : 0;
  });
}

int TForum::Open(TStorage& parent, const char* name, int access, int create, int share) {
  if (IsOpen()) Close();
  if (!storage_.Open(parent.Interface(), name, access, create, share)) return 0;
  return Guarded(0, [&] { return OpenStreams(name, create); });
}

// The message list is what callers need: a forum without its properties opens all the same. One
// whose properties are there and cannot be read does not: its numbers would be taken for those of
// an empty forum of the oldest layout.
int TForum::OpenStreams(const char* name, int create) {
  if (info_.Open(storage_.Interface(), "INFO", kReadWrite, create, kExclusive)) {
    Properties().PutString("Name", name);
    if (Creates(create)) {
      if (Number("Version", kCurrentVersion) != 1) return 0;
    } else {
      if (!KnowsProperties()) return 0;
      if (Number("Version") == 1) Upgrade1To3();
      if (Number("Version") == 2) Upgrade1To3();
    }
  } else if (Creates(create) || brevant::HasStream(storage_.Interface(), "INFO")) {
    return 0;
  }
  return messageList_.Open(storage_.Interface(), "MESSAGE LIST", kReadWrite, create, kExclusive);
}

int TForum::OpenTemporary(int extra) {
  if (IsOpen()) Close();
  if (!storage_.OpenTemporary(extra)) return 0;
  const int info = info_.Open(storage_.Interface(), "INFO", kReadWrite, kCreate, kExclusive);
  const bool isCurrent = info != 0 && Number("Version", kCurrentVersion) == 1;
  const int list =
      messageList_.Open(storage_.Interface(), "MESSAGE LIST", kReadWrite, kCreate, kExclusive);
  return isCurrent && list != 0 ? 1 : 0;
}

bool TForum::KnowsProperties() {
  return Guarded(false, [&] { return info_.IsOpen() && Properties().LoadInfo(info_); }) ||
         (info_.IsOpen() && info_.Size() > brevant::TPropertyCache::kLongestCopied);
}

int TForum::Close() {
  if (cache_ != nullptr) cache_->Clear();
  index_.reset();
  info_.Close();
  list_.Close();
  messageList_.Close();
  return storage_.Close();
}

int TForum::Copy(TForum& source) {
  if (!IsOpen() || !source.IsOpen() || &source == this) return 0;
  // Its streams are replaced by the copy.
  info_.Close();
  messageList_.Close();
  ForgetCopies();
  const int copied = storage_.Copy(source.storage_.Interface());
  const int info = info_.Open(storage_.Interface(), "INFO", kReadWrite, kOpenExisting, kExclusive);
  const int list = messageList_.Open(storage_.Interface(), "MESSAGE LIST", kReadWrite,
                                     kOpenExisting, kExclusive);
  return copied != 0 && info != 0 && list != 0 ? 1 : 0;
}

void TForum::ForgetCopies() {
  if (cache_ != nullptr) cache_->ForgetInfo();
  index_.reset();
}

// What is written or replaced past the message and property operations is read again.
void TForum::ForgetCopyOf(const TStream& stream) {
  if (&stream == &info_ && cache_ != nullptr) cache_->ForgetInfo();
  if (&stream == &messageList_) index_.reset();
}

const char* TForum::String(const char* key) const {
  if (key == nullptr) return "";
  const char* value =
      Guarded<const char*>(nullptr, [&] { return Properties().String(info_, key); });
  return value != nullptr ? value : DefaultString(key);
}

LONG TForum::Number(const char* key) const {
  if (key == nullptr) return 0;
  const std::optional<LONG> value =
      Guarded(std::optional<LONG>(), [&] { return Properties().Number(info_, key); });
  return value ? *value : DefaultNumber(key);
}

int TForum::SetString(const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return -1;
  return Guarded(-1, [&] { return Properties().PutString(key, value); });
}

int TForum::SetNumber(const char* key, LONG value) {
  if (key == nullptr) return -1;
  return Guarded(-1, [&] { return Properties().PutNumber(key, value); });
}

int TForum::String(const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return -1;
  return Guarded(-1, [&] {
    // The value may be part of the text that it replaces in the cache.
    const std::string kept(value);
    return SetString(key, kept.c_str()) < 0 ? -1 : WriteInfo(key, kept.c_str(), -1);
  });
}

int TForum::Number(const char* key, LONG value) {
  if (SetNumber(key, value) < 0) return -1;
  std::array<char, 12> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  return WriteInfo(key, digits.data(), static_cast<int>(end - digits.data()));
}

const char* TForum::DefaultString(const char* key) const {
  thread_local std::array<char, 512> htmlFile;
  if (key == nullptr || !brevant::EqualsIgnoreCase(key, "HTML Filename")) return "";
  return Guarded("", [&]() -> const char* {
    const std::string file = std::string(String("HTML Filename Prefix")) + "index.htm";
    brevant::CopyText(htmlFile.data(), static_cast<int>(htmlFile.size()), file);
    return htmlFile.data();
  });
}

LONG TForum::DefaultNumber(const char* key) const {
  if (key == nullptr) return 0;
  if (brevant::EqualsIgnoreCase(key, "Creation time")) {
    return static_cast<LONG>(storage_.CreationTime().UnixSeconds());
  }
  if (brevant::EqualsIgnoreCase(key, "Last Modify Time")) {
    return static_cast<LONG>(storage_.ModificationTime().UnixSeconds());
  }
  const auto entry = std::find_if(
      kDefaultNumbers.begin(), kDefaultNumbers.end(),
      [&](const auto& candidate) { return brevant::EqualsIgnoreCase(candidate.key, key); });
  return entry == kDefaultNumbers.end() ? 0 : entry->value;
}

int TForum::ReadNextListItem(TStream& stream, char* key, int keySize, char* value, int valueSize,
                             int recordSize) {
  return brevant::ReadNextRecord(stream, key, keySize, value, valueSize, recordSize);
}

int TForum::ReadListItem(TStream& stream, const char* key, char* value, int valueSize,
                         int recordSize) {
  brevant::CopyText(value, valueSize, {});
  if (key == nullptr) return 0;
  return Guarded(0, [&] {
    return brevant::ReadRecord(stream, KeyMatch::kTrailingStar, key, value, valueSize, recordSize);
  });
}

int TForum::WriteListItem(TStream& stream, const char* key, const char* value, int valueLength,
                          int recordSize) {
  return ChangeListItem(stream, key, key, value, valueLength, recordSize);
}

int TForum::ChangeListItem(TStream& stream, const char* pattern, const char* newKey,
                           const char* newValue, int valueLength, int recordSize) {
  if (pattern == nullptr || newKey == nullptr) return 0;
  ForgetCopyOf(stream);
  return Guarded(0, [&] {
    return brevant::WriteRecord(stream, KeyMatch::kTrailingStar, pattern, newKey,
                                brevant::ValueText(newValue, valueLength), recordSize);
  });
}

int TForum::RemoveListItem(TStream& stream, const char* key, int recordSize) {
  if (key == nullptr) return 0;
  ForgetCopyOf(stream);
  return Guarded(
      0, [&] { return brevant::RemoveRecord(stream, KeyMatch::kTrailingStar, key, recordSize); });
}

int TForum::ReadInfo(const char* key, char* value, int valueSize) {
  brevant::CopyText(value, valueSize, {});
  if (key == nullptr) return 0;
  return Guarded(0, [&] { return Properties().ReadInfo(info_, key, value, valueSize); });
}

int TForum::WriteInfo(const char* key, const char* value, int valueLength) {
  if (key == nullptr) return 0;
  return Guarded(0, [&] {
    return Properties().WriteInfo(info_, key, brevant::ValueText(value, valueLength));
  });
}

int TForum::RemoveInfo(const char* key) {
  return RemoveListItem(info_, key, brevant::kInfoRecordSize);
}

int TForum::OpenList(const char* name, int recordSize) {
  if (list_.IsOpen() ||
      !list_.Open(storage_.Interface(), name, kReadWrite, kOpenExisting, kExclusive)) {
    return 0;
  }
  listRecordSize_ = recordSize;
  return 1;
}

int TForum::CreateList(const char* name, int recordSize) {
  if (list_.IsOpen() || !list_.Open(storage_.Interface(), name, kReadWrite, kCreate, kExclusive)) {
    return 0;
  }
  // The new stream may have taken the place of one that is open here.
  ForgetCopies();
  listRecordSize_ = recordSize;
  return 1;
}

int TForum::CloseList() {
  list_.Close();
  return 1;
}

int TForum::ReadNextListItem(char* key, int keySize, char* value, int valueSize) {
  return ReadNextListItem(list_, key, keySize, value, valueSize, listRecordSize_);
}

int TForum::ReadListItem(const char* key, char* value, int valueSize) {
  return ReadListItem(list_, key, value, valueSize, listRecordSize_);
}

int TForum::WriteListItem(const char* key, const char* value, int valueLength) {
  return WriteListItem(list_, key, value, valueLength, listRecordSize_);
}

int TForum::RemoveListItem(const char* key) { return RemoveListItem(list_, key, listRecordSize_); }
