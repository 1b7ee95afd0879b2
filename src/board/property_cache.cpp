#include "board/property_cache.h"

#include "platform/win32.h"
#include "store/ascii.h"

#include <algorithm>
#include <array>
#include <exception>

namespace brevant {

namespace {

constexpr std::size_t kRecord = kInfoRecordSize;

template <typename Entries>
auto FindEntry(Entries& entries, std::string_view key) {
  return std::find_if(entries.begin(), entries.end(),
                      [&](const auto& entry) { return EqualsIgnoreCase(entry.key, key); });
}

template <typename Entries, typename Value>
int PutEntry(Entries& entries, std::string_view key, Value value) {
  using Entry = typename Entries::value_type;
  auto entry = FindEntry(entries, key);
  if (entry != entries.end()) {
    entry->value = value;
    return static_cast<int>(entry - entries.begin());
  }
  entries.push_back({std::string(key), decltype(Entry::value)(value)});
  return static_cast<int>(entries.size()) - 1;
}

}  // namespace

const char* TPropertyCache::String(TStream& info, std::string_view key) {
  auto entry = FindEntry(strings_, key);
  if (entry == strings_.end()) {
    std::string_view value;
    if (!RecordedValue(info, key, value)) return nullptr;
    entry = strings_.begin() + PutString(key, value);
  }
  return entry->value.c_str();
}

std::optional<LONG> TPropertyCache::Number(TStream& info, std::string_view key) {
  const auto entry = FindEntry(numbers_, key);
  if (entry != numbers_.end()) return entry->value;
  std::string_view value;
  if (!RecordedValue(info, key, value)) return std::nullopt;
  const LONG number = LeadingNumber(value);
  try {
    PutNumber(key, number);
  } catch (const std::exception&) {
    // It is looked up again the next time: a default in its place would be another number.
  }
  return number;
}

int TPropertyCache::PutString(std::string_view key, std::string_view value) {
  return PutEntry(strings_, key, value);
}

int TPropertyCache::PutNumber(std::string_view key, LONG value) {
  return PutEntry(numbers_, key, value);
}

int TPropertyCache::ReadInfo(TStream& info, std::string_view key, char* value, int valueSize) {
  std::string_view recorded;
  const bool found = RecordedValue(info, key, recorded);
  CopyText(value, valueSize, recorded);
  return found ? 1 : 0;
}

int TPropertyCache::WriteInfo(TStream& info, std::string_view key, std::string_view value) {
  if (!LoadInfo(info)) return WriteRecord(info, rule_, key, key, value, kInfoRecordSize);
  const std::size_t at = std::min(FindInfo(key), info_.size());
  std::array<char, kRecord> bytes;
  EncodeRecord(bytes, key, value);
  // Taken before the stream changes: without memory neither of the two does.
  info_.reserve(std::max(info_.size(), at + kRecord));
  info.Seek(static_cast<LONG>(at), STREAM_SEEK_SET);
  if (info.Write(bytes.data(), kInfoRecordSize) != kInfoRecordSize) {
    ForgetInfo();
    return 0;
  }
  info_.resize(std::max(info_.size(), at + kRecord));
  std::copy(bytes.begin(), bytes.end(), info_.begin() + static_cast<std::ptrdiff_t>(at));
  infoPosition_ = static_cast<DWORD>(at + kRecord);
  return 1;
}

void TPropertyCache::ForgetInfo() {
  infoLoaded_ = false;
  info_.clear();
}

void TPropertyCache::SettleInfoPosition(TStream& info) const {
  if (infoLoaded_) info.Seek(static_cast<LONG>(infoPosition_), STREAM_SEEK_SET);
}

void TPropertyCache::Clear() {
  strings_.clear();
  numbers_.clear();
  ForgetInfo();
}

bool TPropertyCache::LoadInfo(TStream& info) {
  if (infoLoaded_) return true;
  if (!info.IsOpen() || info.Size() > kLongestCopied) return false;
  info_.resize(info.Size());
  if (!info_.empty()) {
    info.Seek(0, STREAM_SEEK_SET);
    const int size = static_cast<int>(info_.size());
    if (info.Read(info_.data(), size) != size) {
      info_.clear();
      return false;
    }
  }
  infoLoaded_ = true;
  infoPosition_ = info.Position();
  return true;
}

std::size_t TPropertyCache::FindInfo(std::string_view key) const {
  const std::string_view all(info_);
  for (std::size_t at = 0; all.size() - at >= kRecord; at += kRecord) {
    if (KeyMatches(rule_, DecodeRecord(all.substr(at, kRecord)).key, key)) return at;
  }
  return all.npos;
}

bool TPropertyCache::RecordedValue(TStream& info, std::string_view key, std::string_view& value) {
  if (!LoadInfo(info)) {
    if (ReadRecord(info, rule_, key, read_, kInfoRecordSize, kInfoRecordSize) == 0) return false;
    value = read_;
    return true;
  }
  const std::size_t at = FindInfo(key);
  infoPosition_ = static_cast<DWORD>(at == std::string::npos ? info_.size() : at + kRecord);
  if (at == std::string::npos) return false;
  value = DecodeRecord(std::string_view(info_).substr(at, kRecord)).value;
  return true;
}

}  // namespace brevant
