#include "store/records.h"

#include "platform/win32.h"
#include "store/ascii.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace brevant {

namespace {

// Records are read in blocks of about this many bytes, always whole records.
constexpr int kBlockSize = 16 * 1024;

bool ValidRecordSize(int recordSize) { return recordSize >= 1 && recordSize <= kMaxRecordSize; }

std::size_t Bytes(int count) { return static_cast<std::size_t>(count); }

void SeekTo(TStream& stream, DWORD position) {
  stream.Seek(static_cast<LONG>(position), STREAM_SEEK_SET);
}

// Room for a block of whole records; small for a small stream.
std::vector<char> Block(const TStream& stream, int recordSize) {
  const DWORD wanted = std::clamp<DWORD>(stream.Size(), static_cast<DWORD>(recordSize), kBlockSize);
  const DWORD records =
      (wanted + static_cast<DWORD>(recordSize) - 1) / static_cast<DWORD>(recordSize);
  return std::vector<char>(std::size_t{records} * Bytes(recordSize));
}

enum class Scan { kFound, kNone, kFailed };

struct ScanResult {
  Scan outcome;
  DWORD slot;  // of the record found
};

// Looks for the first match from the stream's start. Afterwards the stream stands behind the record
// found, or where the last read ended. Found receives the record's value while it is at hand.
template <typename Found>
ScanResult ScanRecords(TStream& stream, KeyMatch rule, std::string_view key, int recordSize,
                       Found&& found) {
  SeekTo(stream, 0);
  std::vector<char> block = Block(stream, recordSize);
  DWORD slot = 0;
  while (true) {
    const int got = stream.Read(block.data(), static_cast<int>(block.size()));
    if (got < 0) return {Scan::kFailed, 0};
    for (int at = 0; got - at >= recordSize; at += recordSize, ++slot) {
      const Record record = DecodeRecord({block.data() + at, Bytes(recordSize)});
      if (!KeyMatches(rule, record.key, key)) continue;
      found(record.value);
      SeekTo(stream, (slot + 1) * static_cast<DWORD>(recordSize));
      return {Scan::kFound, slot};
    }
    if (got < static_cast<int>(block.size())) return {Scan::kNone, 0};
  }
}

ScanResult ScanRecords(TStream& stream, KeyMatch rule, std::string_view key, int recordSize) {
  return ScanRecords(stream, rule, key, recordSize, [](std::string_view) {});
}

}  // namespace

bool KeyMatches(KeyMatch rule, std::string_view recordKey, std::string_view wanted) {
  if (EqualsIgnoreCase(recordKey, wanted)) return true;
  if (rule != KeyMatch::kTrailingStar || wanted.empty() || wanted.back() != '*') return false;
  const std::string_view prefix = wanted.substr(0, wanted.size() - 1);
  return EqualsIgnoreCase(recordKey.substr(0, prefix.size()), prefix);
}

Record DecodeRecord(std::string_view bytes) {
  const std::size_t keyEnd = bytes.find('\0');
  if (keyEnd == bytes.npos) return {bytes, {}};
  const std::string_view rest = bytes.substr(keyEnd + 1);
  return {bytes.substr(0, keyEnd), rest.substr(0, rest.find('\0'))};
}

void EncodeRecord(std::span<char> bytes, std::string_view key, std::string_view value) {
  std::fill(bytes.begin(), bytes.end(), '\0');
  if (bytes.empty()) return;
  key = key.substr(0, bytes.size() - 1);
  std::copy(key.begin(), key.end(), bytes.begin());
  const std::span<char> rest = bytes.subspan(key.size() + 1);
  if (rest.empty()) return;
  value = value.substr(0, rest.size() - 1);
  std::copy(value.begin(), value.end(), rest.begin());
}

std::string_view ValueText(const char* value, int length) {
  if (value == nullptr) return {};
  return length < 0 ? std::string_view(value) : std::string_view(value, Bytes(length));
}

void CopyText(char* buffer, int size, std::string_view text) {
  if (buffer == nullptr || size <= 0) return;
  const std::size_t count = std::min(text.size(), Bytes(size - 1));
  std::copy_n(text.begin(), count, buffer);
  buffer[count] = '\0';
}

int ReadNextRecord(TStream& stream, char* key, int keySize, char* value, int valueSize,
                   int recordSize) {
  std::array<char, kMaxRecordSize> bytes;
  if (!ValidRecordSize(recordSize) || stream.Read(bytes.data(), recordSize) != recordSize) {
    CopyText(key, keySize, {});
    CopyText(value, valueSize, {});
    return 0;
  }
  const Record record = DecodeRecord({bytes.data(), Bytes(recordSize)});
  CopyText(key, keySize, record.key);
  CopyText(value, valueSize, record.value);
  return 1;
}

int ReadRecord(TStream& stream, KeyMatch rule, std::string_view key, char* value, int valueSize,
               int recordSize) {
  CopyText(value, valueSize, {});
  if (!ValidRecordSize(recordSize) || !stream.IsOpen()) return 0;
  const auto copy = [&](std::string_view found) { CopyText(value, valueSize, found); };
  const ScanResult scan = ScanRecords(stream, rule, key, recordSize, copy);
  return scan.outcome == Scan::kFound ? 1 : 0;
}

int WriteRecord(TStream& stream, KeyMatch rule, std::string_view pattern, std::string_view key,
                std::string_view value, int recordSize) {
  if (!ValidRecordSize(recordSize) || !stream.IsOpen()) return 0;
  const ScanResult scan = ScanRecords(stream, rule, pattern, recordSize);
  // What could not be read must not be taken for the end and written over.
  if (scan.outcome == Scan::kFailed) return 0;
  if (scan.outcome == Scan::kFound) SeekTo(stream, scan.slot * static_cast<DWORD>(recordSize));
  std::array<char, kMaxRecordSize> bytes;
  EncodeRecord(std::span(bytes).first(Bytes(recordSize)), key, value);
  return stream.Write(bytes.data(), recordSize) == recordSize ? 1 : 0;
}

int RemoveRecord(TStream& stream, KeyMatch rule, std::string_view key, int recordSize) {
  if (!ValidRecordSize(recordSize) || !stream.IsOpen()) return 0;
  const ScanResult scan = ScanRecords(stream, rule, key, recordSize);
  return scan.outcome == Scan::kFound ? RemoveRecordAt(stream, scan.slot, recordSize) : 0;
}

int RemoveRecordAt(TStream& stream, DWORD slot, int recordSize) {
  const DWORD size = static_cast<DWORD>(recordSize);
  std::vector<char> block = Block(stream, recordSize);
  DWORD target = slot * size;
  while (true) {
    SeekTo(stream, target + size);
    const int got = stream.Read(block.data(), static_cast<int>(block.size()));
    if (got < 0) return 0;
    // Only whole records move; a rest at the end stays where it is.
    const int whole = got - got % recordSize;
    if (whole > 0) {
      SeekTo(stream, target);
      if (stream.Write(block.data(), whole) != whole) return 0;
    }
    target += static_cast<DWORD>(whole);
    if (got < static_cast<int>(block.size())) {
      const DWORD end = target + size + static_cast<DWORD>(got - whole);
      SeekTo(stream, end);
      return stream.SetSize(end - size);
    }
  }
}

int ShiftRecords(TStream& target, TStream& source, std::string_view key, int recordSize) {
  if (!ValidRecordSize(recordSize)) return 0;
  const DWORD size = static_cast<DWORD>(recordSize);
  std::array<char, kMaxRecordSize> bytes;
  SeekTo(target, 0);
  DWORD slot = 0;
  int got = 0;
  while (true) {
    got = source.Read(bytes.data(), recordSize);
    if (got != recordSize) return std::max(got, 0);
    if (EqualsIgnoreCase(DecodeRecord({bytes.data(), Bytes(recordSize)}).key, key)) break;
    ++slot;
  }
  while ((got = source.Read(bytes.data(), recordSize)) == recordSize) {
    SeekTo(target, slot * size);
    target.Write(bytes.data(), recordSize);
    SeekTo(target, (slot + 2) * size);
    ++slot;
  }
  return std::max(got, 0);
}

}  // namespace brevant
