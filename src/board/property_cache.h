// The properties of an item or a container: the two caches, and the info records behind them.
#pragma once

#include "store/records.h"

#include <brevant/store.h>

#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace brevant {

class TPropertyCache {
 public:
  // Boards have a few dozen properties of 128 bytes; anything longer than this is read in place.
  static constexpr DWORD kLongestCopied = 1024 * 1024;

  explicit TPropertyCache(KeyMatch rule) : rule_(rule) {}

  // The cached value, or else the recorded one, which is cached then; nothing when there is
  // neither. A number needs no memory once the records are loaded.
  const char* String(TStream& info, std::string_view key);
  std::optional<LONG> Number(TStream& info, std::string_view key);
  // Sees to the copy of the records. False when they cannot be read, or are too long for one.
  bool LoadInfo(TStream& info);
  // Put a value into a cache without recording it; the entry's index.
  int PutString(std::string_view key, std::string_view value);
  int PutNumber(std::string_view key, LONG value);

  // The record operations on the info stream, served from a copy of its bytes where it is not
  // uncommonly long. They leave the caches alone.
  int ReadInfo(TStream& info, std::string_view key, char* value, int valueSize);
  int WriteInfo(TStream& info, std::string_view key, std::string_view value);

  // Forgets the copy: the info stream was changed or closed.
  void ForgetInfo();
  // Moves the info stream to where it would stand had every record been read from it.
  void SettleInfoPosition(TStream& info) const;
  // Empties both caches and forgets the copy.
  void Clear();

 private:
  struct StringEntry {
    std::string key;
    std::string value;
  };
  struct NumberEntry {
    std::string key;
    LONG value;
  };

  // The byte offset of the first matching record in the copy, or npos.
  std::size_t FindInfo(std::string_view key) const;
  // The recorded value of key into value; it holds until the copy changes.
  bool RecordedValue(TStream& info, std::string_view key, std::string_view& value);

  KeyMatch rule_;
  // Entries never move, so a text handed out holds until its key gets another value.
  std::deque<StringEntry> strings_;
  std::deque<NumberEntry> numbers_;
  bool infoLoaded_ = false;
  std::string info_;
  DWORD infoPosition_ = 0;
  // A value read past the copy.
  char read_[kInfoRecordSize] = {};
};

}  // namespace brevant
