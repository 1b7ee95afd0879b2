// Fixed-size records, each one key and one value, in a stream without header or separators.
//
// A record of R bytes holds the key, a zero byte, the value, and zeros to its end. Messages and
// containers differ in how a key matches and in how a record is removed; both are parameters here.
#pragma once

#include <brevant/store.h>

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace brevant {

inline constexpr int kMaxRecordSize = 512;
inline constexpr int kInfoRecordSize = 128;

enum class KeyMatch {
  kWhole,         // equality ignoring case
  kTrailingStar,  // the same, or a prefix ignoring case when the key asked for ends in "*"
};

struct Record {
  std::string_view key;
  std::string_view value;
};

bool KeyMatches(KeyMatch rule, std::string_view recordKey, std::string_view wanted);

// The key ends at the first zero byte, the value at the next or with the record.
Record DecodeRecord(std::string_view bytes);
// Fills all of bytes. Key and value are cut to what fits; a key that leaves no room for a value
// drops it.
void EncodeRecord(std::span<char> bytes, std::string_view key, std::string_view value);

// A value handed over with its length; a negative length means that of the zero-terminated text.
std::string_view ValueText(const char* value, int length);
// Copies text, cut to size - 1 bytes and terminated; a null buffer or one without room is skipped.
void CopyText(char* buffer, int size, std::string_view text);

// Reads the record at the stream's position. 1, or 0 with empty texts when no whole record is left.
int ReadNextRecord(TStream& stream, char* key, int keySize, char* value, int valueSize,
                   int recordSize);
// Copies the value of the first record that matches key: 1, or 0 with an empty value.
int ReadRecord(TStream& stream, KeyMatch rule, std::string_view key, char* value, int valueSize,
               int recordSize);
// Replaces the first record that matches pattern, or appends one. 1 when it was written.
int WriteRecord(TStream& stream, KeyMatch rule, std::string_view pattern, std::string_view key,
                std::string_view value, int recordSize);
// Removes the first record that matches key and shortens the stream. 1 when there was one.
int RemoveRecord(TStream& stream, KeyMatch rule, std::string_view key, int recordSize);
// Removes the record at a known slot.
int RemoveRecordAt(TStream& stream, DWORD slot, int recordSize);
// The removal of messages: the records are looked for and read in source at its current position,
// the shifted ones written to target, which keeps its length. Gives the byte count of the last
// read.
int ShiftRecords(TStream& target, TStream& source, std::string_view key, int recordSize);

}  // namespace brevant
