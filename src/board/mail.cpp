#include "board/access.h"
#include "board/property_cache.h"
#include "platform/win32.h"
#include "store/ascii.h"
#include "store/guard.h"
#include "store/records.h"

#include <brevant/board.h>

#include <array>
#include <charconv>
#include <string>
#include <string_view>

using brevant::Guarded;
using brevant::kCreate;
using brevant::kExclusive;
using brevant::KeyMatch;
using brevant::kOpenExisting;
using brevant::kReadWrite;

namespace {

// The buffers of the derived defaults, shared by all items.
using SharedText = std::array<char, 512>;

const char* Keep(SharedText& buffer, std::string_view text) {
  brevant::CopyText(buffer.data(), static_cast<int>(buffer.size()), text);
  return buffer.data();
}

// The quoted part of a sender, else what stands before its bracketed address, else all of it.
std::string_view SenderName(std::string_view from) {
  const std::size_t quote = from.find('"');
  const std::size_t second = quote == from.npos ? from.npos : from.find('"', quote + 1);
  if (second != from.npos) return from.substr(quote + 1, second - quote - 1);
  const std::size_t open = from.find('<');
  const std::size_t close = from.find('>');
  // A blank before the bracket stays: the stored names have always had it.
  if (open != from.npos && close != from.npos && open < close) return from.substr(0, open);
  return from;
}

std::string_view SenderAddress(std::string_view from) {
  const std::size_t open = from.find('<');
  const std::size_t close = from.find('>');
  if (open != from.npos && close != from.npos && open < close) {
    return from.substr(open + 1, close - open - 1);
  }
  return from.find('@') != from.npos ? from : std::string_view();
}

bool NamesInfo(const char* name) { return brevant::EqualsIgnoreCase(name, "INFO"); }

}  // namespace

TMail::TMail() = default;

TMail::~TMail() {
  // Before the storage, whose times can only be set when nothing in it is open any longer.
  list_.Close();
  if (IsOpen()) Close();
}

brevant::TPropertyCache& TMail::Properties() const {
  if (cache_ == nullptr) cache_ = std::make_unique<brevant::TPropertyCache>(KeyMatch::kWhole);
  return *cache_;
}

const char* TMail::String(const char* key) const {
  if (key == nullptr) return "";
  const char* value =
      Guarded<const char*>(nullptr, [&] { return Properties().String(info_, key); });
  return value != nullptr ? value : DefaultString(key);
}

int TMail::SetString(const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return -1;
  return Guarded(-1, [&] { return Properties().PutString(key, value); });
}

int TMail::SetNumber(const char* key, LONG value) {
  if (key == nullptr) return -1;
  return Guarded(-1, [&] { return Properties().PutNumber(key, value); });
}

const char* TMail::DefaultString(const char* key) const {
  thread_local SharedText name;
  thread_local SharedText address;
  if (key == nullptr) return "";
  if (brevant::EqualsIgnoreCase(key, "From Name")) return Keep(name, SenderName(String("FROM")));
  if (brevant::EqualsIgnoreCase(key, "From Email Address")) {
    return Keep(address, SenderAddress(String("FROM")));
  }
  if (brevant::EqualsIgnoreCase(key, "Charset")) return "iso-8859-1";
  if (brevant::EqualsIgnoreCase(key, "Document Type")) return "text/plain";
  return "";
}

LONG TMail::DefaultNumber(const char* key) const {
  if (key == nullptr) return 0;
  if (brevant::EqualsIgnoreCase(key, "Creation time")) {
    return static_cast<LONG>(storage_.CreationTime().UnixSeconds());
  }
  if (brevant::EqualsIgnoreCase(key, "Last Modify Time")) {
    return static_cast<LONG>(storage_.ModificationTime().UnixSeconds());
  }
  return 0;
}

int TMail::Open(TStorage& parent, const char* name, int access, int create, int share) {
  if (IsOpen()) Close();
  if (!storage_.Open(parent.Interface(), name, access, create, share)) return 0;
  if (Guarded(-1, [&] { return Properties().PutString("Name", name); }) < 0) return 0;
  const int info = info_.Open(storage_.Interface(), "INFO", access, create, kExclusive);
  const int content = content_.Open(storage_.Interface(), "CONTENT", access, create, kExclusive);
  return info != 0 && content != 0 ? 1 : 0;
}

int TMail::OpenTemporary(int extra) {
  if (IsOpen()) Close();
  if (!storage_.OpenTemporary(extra)) return 0;
  return OpenStreams(kCreate);
}

int TMail::OpenStreams(int create) {
  const int info = info_.Open(storage_.Interface(), "INFO", kReadWrite, create, kExclusive);
  const int content =
      content_.Open(storage_.Interface(), "CONTENT", kReadWrite, create, kExclusive);
  return info != 0 && content != 0 ? 1 : 0;
}

bool TMail::CanTell(const char* key) {
  if (key == nullptr) return false;
  return Guarded(false, [&] {
    if (!info_.IsOpen()) return true;
    Properties().String(info_, key);
    return Properties().LoadInfo(info_) || info_.Size() > brevant::TPropertyCache::kLongestCopied;
  });
}

int TMail::Close() {
  if (cache_ != nullptr) cache_->Clear();
  info_.Close();
  content_.Close();
  return storage_.Close();
}

LONG TMail::Number(const char* key) const {
  if (key == nullptr) return 0;
  const std::optional<LONG> value =
      Guarded(std::optional<LONG>(), [&] { return Properties().Number(info_, key); });
  return value ? *value : DefaultNumber(key);
}

int TMail::String(const char* key, const char* value) {
  if (key == nullptr || value == nullptr) return -1;
  return Guarded(-1, [&] {
    // The value may be part of the text that it replaces in the cache.
    const std::string kept(value);
    return SetString(key, kept.c_str()) < 0 ? -1 : WriteInfo(key, kept.c_str(), -1);
  });
}

int TMail::Number(const char* key, LONG value) {
  if (SetNumber(key, value) < 0) return -1;
  std::array<char, 12> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  return WriteInfo(key, digits.data(), static_cast<int>(end - digits.data()));
}

int TMail::Copy(TMail& source) {
  if (!IsOpen() || !source.IsOpen() || &source == this) return 0;
  // Its streams are replaced by the copy.
  info_.Close();
  content_.Close();
  if (cache_ != nullptr) cache_->ForgetInfo();
  const int copied = storage_.Copy(source.storage_.Interface());
  const int reopened = OpenStreams(kOpenExisting);
  if (copied == 0 || reopened == 0) return 0;
  // The times belong to the element, not to its content: they are handed on by hand.
  const TTime& created = source.storage_.CreationTime();
  const TTime& modified = source.storage_.ModificationTime();
  if (!created.IsZero() || !modified.IsZero()) {
    storage_.SetTimes(created.IsZero() ? nullptr : &created, nullptr,
                      modified.IsZero() ? nullptr : &modified);
  }
  return 1;
}

int TMail::SetTime(const TTime& time) {
  storage_.SetTimes(nullptr, nullptr, &time);
  storage_.SetTimes(&time, nullptr, nullptr);
  return 1;
}

int TMail::ContentTruncate() {
  content_.SetSize(content_.Position());
  return 1;
}

int TMail::ReadNextListItem(TStream& stream, char* key, int keySize, char* value, int valueSize,
                            int recordSize) {
  return brevant::ReadNextRecord(stream, key, keySize, value, valueSize, recordSize);
}

int TMail::ReadListItem(TStream& stream, const char* key, char* value, int valueSize,
                        int recordSize) {
  brevant::CopyText(value, valueSize, {});
  if (key == nullptr) return 0;
  return Guarded(0, [&] {
    return brevant::ReadRecord(stream, KeyMatch::kWhole, key, value, valueSize, recordSize);
  });
}

int TMail::WriteListItem(TStream& stream, const char* key, const char* value, int valueLength,
                         int recordSize) {
  if (key == nullptr) return 0;
  return Guarded(0, [&] {
    return brevant::WriteRecord(stream, KeyMatch::kWhole, key, key,
                                brevant::ValueText(value, valueLength), recordSize);
  });
}

int TMail::RemoveListItem(TStream& stream, const char* key, int recordSize) {
  if (key == nullptr) return 0;
  return Guarded(0, [&] {
    brevant::TPropertyCache& properties = Properties();
    properties.SettleInfoPosition(info_);
    properties.ForgetInfo();
    return brevant::ShiftRecords(stream, info_, key, recordSize);
  });
}

int TMail::ReadInfo(const char* key, char* value, int valueSize) {
  brevant::CopyText(value, valueSize, {});
  if (key == nullptr) return 0;
  return Guarded(0, [&] { return Properties().ReadInfo(info_, key, value, valueSize); });
}

int TMail::WriteInfo(const char* key, const char* value, int valueLength) {
  if (key == nullptr) return 0;
  return Guarded(0, [&] {
    return Properties().WriteInfo(info_, key, brevant::ValueText(value, valueLength));
  });
}

int TMail::RemoveInfo(const char* key) {
  return RemoveListItem(info_, key, brevant::kInfoRecordSize);
}

int TMail::OpenList(const char* name, int recordSize) {
  if (list_.IsOpen() ||
      !list_.Open(storage_.Interface(), name, kReadWrite, kOpenExisting, kExclusive))
    return 0;
  listRecordSize_ = recordSize;
  return 1;
}

int TMail::CreateList(const char* name, int recordSize) {
  if (list_.IsOpen() || !list_.Open(storage_.Interface(), name, kReadWrite, kCreate, kExclusive)) {
    return 0;
  }
  if (NamesInfo(name) && cache_ != nullptr) cache_->ForgetInfo();
  listRecordSize_ = recordSize;
  return 1;
}

int TMail::CloseList() {
  list_.Close();
  return 1;
}

int TMail::ReadNextListItem(char* key, int keySize, char* value, int valueSize) {
  return ReadNextListItem(list_, key, keySize, value, valueSize, listRecordSize_);
}

int TMail::ReadListItem(const char* key, char* value, int valueSize) {
  return ReadListItem(list_, key, value, valueSize, listRecordSize_);
}

int TMail::WriteListItem(const char* key, const char* value, int valueLength) {
  return WriteListItem(list_, key, value, valueLength, listRecordSize_);
}

int TMail::RemoveListItem(const char* key) { return RemoveListItem(list_, key, listRecordSize_); }
