// The message list in memory, beside the stream that holds it.
#pragma once

#include "store/records.h"

#include <brevant/store.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace brevant {

inline constexpr int kMessageRecordSize = 128;
// "No message" of the neighbour look-ups.
inline constexpr DWORD kNoMessage = 0xFFFFFFFF;

// The key of a message's record, "%lu:%lu", and the name of its element, "%lu".
class MessageKey {
 public:
  MessageKey(DWORD index, DWORD linkId);
  explicit MessageKey(DWORD index);

  std::string_view Text() const { return {text_.data(), length_}; }
  const char* Terminated() const { return text_.data(); }

 private:
  std::array<char, 24> text_{};
  std::size_t length_ = 0;
};

struct MessageEntry {
  DWORD index = 0;
  DWORD linkId = 0;
};
// The numbers in a record's key; what is no number reads as 0.
MessageEntry ParseMessageKey(std::string_view key);

// Message records in the order of the list. Positions count from 0 and are those of the records in
// the stream. Looking a message up costs the same in a list of any length.
class TListIndex {
 public:
  // Reads the whole list, in big blocks; false when it could not be read.
  bool Load(TStream& list);

  std::size_t Size() const { return entries_.size() - head_; }
  const MessageEntry& At(std::size_t position) const { return entries_[head_ + position].numbers; }
  // Holds until the list changes.
  std::string_view Subject(std::size_t position) const { return SubjectAt(head_ + position); }

  // The first record of a message; of two with one number a list has the second only by accident.
  std::optional<std::size_t> Find(DWORD index) const;
  std::optional<std::size_t> Find(DWORD index, DWORD linkId) const;
  // The first record with this subject, compared ignoring case.
  std::optional<std::size_t> FindSubject(std::string_view subject) const;
  // The message after or before the first record of index; kNoMessage at the ends and when index is
  // not listed.
  DWORD Next(DWORD index) const;
  DWORD Previous(DWORD index) const;

  // True when every record's key is written as this library writes it and no rest follows them, so
  // that records may be found by number instead of by the text of their keys.
  bool Regular() const { return regular_; }

  // Follow what was written to the stream.
  void Append(MessageEntry numbers, std::string_view subject);
  void Replace(std::size_t position, MessageEntry numbers, std::string_view subject);
  void Remove(std::size_t position);

 private:
  struct Entry {
    MessageEntry numbers;
    std::uint32_t subjectAt;
    std::uint32_t subjectLength;
  };

  std::string_view SubjectAt(std::size_t slot) const;
  Entry MakeEntry(MessageEntry numbers, std::string_view subject);
  void IndexEntry(std::size_t slot);
  void Reindex();
  // Collects the subjects, for the first look-up; false when there is no memory for that.
  bool IndexSubjects() const;
  // Follow a change of one entry once the subjects are collected.
  void EnterSubject(std::size_t slot);
  void DropSubject(std::size_t slot);
  // Drops removed entries and the subjects nothing refers to.
  void Compact();

  std::vector<Entry> entries_;
  // Removing the oldest message only moves the head.
  std::size_t head_ = 0;
  std::string subjects_;
  std::size_t unusedSubjectBytes_ = 0;
  // A list is in the order of its numbers unless somebody wrote to it by hand.
  bool ascending_ = true;
  // Without that order: the slot in entries_ of each message's first record.
  std::unordered_map<DWORD, std::size_t> slots_;
  bool duplicates_ = false;
  // The slots by their subjects' hashes, kept only where subjects are looked for.
  mutable std::unordered_multimap<std::uint64_t, std::size_t> subjectSlots_;
  mutable bool subjectsIndexed_ = false;
  bool regular_ = true;
};

}  // namespace brevant
