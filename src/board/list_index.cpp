#include "board/list_index.h"

#include "platform/win32.h"
#include "store/ascii.h"
#include "store/guard.h"

#include <algorithm>
#include <charconv>

namespace brevant {

namespace {

constexpr std::size_t kRecord = kMessageRecordSize;
constexpr std::size_t kBlock = 512 * kRecord;
constexpr std::size_t kLongestKeyRead = 64;
// Room taken at once for what a list says its length is; a damaged file can say anything.
constexpr std::size_t kMostReserved = std::size_t{64} * 1024;
// Below this many dropped entries or bytes tidying up is not worth it.
constexpr std::size_t kTidyEntries = 64;
constexpr std::size_t kTidyBytes = 4096;

// The same for texts that differ in letter case only: FNV-1a over the lower-cased bytes.
std::uint64_t SubjectHash(std::string_view subject) {
  std::uint64_t hash = 0xCBF29CE484222325U;
  for (const char c : subject) {
    hash ^= static_cast<unsigned char>(ToLowerAscii(c));
    hash *= 0x100000001B3U;
  }
  return hash;
}

}  // namespace

MessageKey::MessageKey(DWORD index, DWORD linkId) {
  char* const end = text_.data() + text_.size();
  char* next = std::to_chars(text_.data(), end, index).ptr;
  *next++ = ':';
  next = std::to_chars(next, end, linkId).ptr;
  length_ = static_cast<std::size_t>(next - text_.data());
}

MessageKey::MessageKey(DWORD index) {
  char* const next = std::to_chars(text_.data(), text_.data() + text_.size(), index).ptr;
  length_ = static_cast<std::size_t>(next - text_.data());
}

MessageEntry ParseMessageKey(std::string_view key) {
  TextScanner scan(key.substr(0, kLongestKeyRead));
  std::uint32_t index = 0;
  std::uint32_t linkId = 0;
  if (scan.Number(index) && scan.Literal(':')) scan.Number(linkId);
  return {index, linkId};
}

bool TListIndex::Load(TStream& list) {
  *this = TListIndex();
  list.Seek(0, STREAM_SEEK_SET);
  std::string block(std::clamp<std::size_t>(list.Size(), kRecord, kBlock), '\0');
  block.resize(block.size() - block.size() % kRecord);
  const std::size_t expected = std::min<std::size_t>(list.Size() / kRecord, kMostReserved);
  entries_.reserve(expected);
  while (true) {
    const int got = list.Read(block.data(), static_cast<int>(block.size()));
    if (got < 0) return false;
    std::string_view rest(block.data(), static_cast<std::size_t>(got));
    for (; rest.size() >= kRecord; rest.remove_prefix(kRecord)) {
      const Record record = DecodeRecord(rest.substr(0, kRecord));
      const MessageEntry numbers = ParseMessageKey(record.key);
      if (record.key != MessageKey(numbers.index, numbers.linkId).Text()) regular_ = false;
      Append(numbers, record.value);
    }
    if (!rest.empty()) regular_ = false;
    if (static_cast<std::size_t>(got) < block.size()) return true;
  }
}

std::string_view TListIndex::SubjectAt(std::size_t slot) const {
  const Entry& entry = entries_[slot];
  return std::string_view(subjects_).substr(entry.subjectAt, entry.subjectLength);
}

std::optional<std::size_t> TListIndex::Find(DWORD index) const {
  if (!ascending_) {
    const auto found = slots_.find(index);
    if (found == slots_.end()) return std::nullopt;
    return found->second - head_;
  }
  const auto first = entries_.begin() + static_cast<std::ptrdiff_t>(head_);
  const auto found = std::lower_bound(
      first, entries_.end(), index,
      [](const Entry& entry, DWORD wanted) { return entry.numbers.index < wanted; });
  if (found == entries_.end() || found->numbers.index != index) return std::nullopt;
  return static_cast<std::size_t>(found - first);
}

std::optional<std::size_t> TListIndex::Find(DWORD index, DWORD linkId) const {
  const auto first = Find(index);
  if (!first || At(*first).linkId == linkId || !duplicates_) {
    return first && At(*first).linkId == linkId ? first : std::nullopt;
  }
  for (std::size_t position = *first + 1; position < Size(); ++position) {
    if (At(position).index == index && At(position).linkId == linkId) return position;
  }
  return std::nullopt;
}

std::optional<std::size_t> TListIndex::FindSubject(std::string_view subject) const {
  std::size_t first = entries_.size();
  const auto look = [&](std::size_t slot) {
    if (slot < first && EqualsIgnoreCase(SubjectAt(slot), subject)) first = slot;
  };
  if (IndexSubjects()) {
    const auto [begin, end] = subjectSlots_.equal_range(SubjectHash(subject));
    for (auto candidate = begin; candidate != end; ++candidate) look(candidate->second);
  } else {
    for (std::size_t slot = head_; slot < first; ++slot) look(slot);
  }
  if (first == entries_.size()) return std::nullopt;
  return first - head_;
}

DWORD TListIndex::Next(DWORD index) const {
  const auto position = Find(index);
  return position && *position + 1 < Size() ? At(*position + 1).index : kNoMessage;
}

DWORD TListIndex::Previous(DWORD index) const {
  const auto position = Find(index);
  return position && *position > 0 ? At(*position - 1).index : kNoMessage;
}

void TListIndex::Append(MessageEntry numbers, std::string_view subject) {
  entries_.push_back(MakeEntry(numbers, subject));
  IndexEntry(entries_.size() - 1);
}

void TListIndex::Replace(std::size_t position, MessageEntry numbers, std::string_view subject) {
  Entry& entry = entries_[head_ + position];
  const bool sameIndex = entry.numbers.index == numbers.index;
  if (sameIndex && Subject(position) == subject) {
    entry.numbers = numbers;
    return;
  }
  DropSubject(head_ + position);
  unusedSubjectBytes_ += entry.subjectLength;
  entry = MakeEntry(numbers, subject);
  EnterSubject(head_ + position);
  if (!sameIndex) Reindex();
  Compact();
}

void TListIndex::Remove(std::size_t position) {
  const std::size_t slot = head_ + position;
  const DWORD index = entries_[slot].numbers.index;
  unusedSubjectBytes_ += entries_[slot].subjectLength;
  if (position == 0 && !duplicates_) {
    DropSubject(slot);
    if (!ascending_) slots_.erase(index);
    ++head_;
  } else {
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(slot));
    Reindex();
  }
  Compact();
}

TListIndex::Entry TListIndex::MakeEntry(MessageEntry numbers, std::string_view subject) {
  const Entry entry{numbers, static_cast<std::uint32_t>(subjects_.size()),
                    static_cast<std::uint32_t>(subject.size())};
  subjects_.append(subject);
  return entry;
}

void TListIndex::IndexEntry(std::size_t slot) {
  EnterSubject(slot);
  if (ascending_) {
    if (slot == head_ || entries_[slot - 1].numbers.index < entries_[slot].numbers.index) return;
    ascending_ = false;
    for (std::size_t before = head_; before < slot; ++before) {
      slots_.emplace(entries_[before].numbers.index, before);
    }
  }
  if (!slots_.try_emplace(entries_[slot].numbers.index, slot).second) duplicates_ = true;
}

void TListIndex::Reindex() {
  subjectsIndexed_ = false;
  subjectSlots_.clear();
  slots_.clear();
  ascending_ = true;
  duplicates_ = false;
  for (std::size_t slot = head_; slot < entries_.size(); ++slot) IndexEntry(slot);
}

bool TListIndex::IndexSubjects() const {
  if (subjectsIndexed_) return true;
  subjectsIndexed_ = Guarded(false, [&] {
    subjectSlots_.clear();
    subjectSlots_.reserve(Size());
    for (std::size_t slot = head_; slot < entries_.size(); ++slot) {
      subjectSlots_.emplace(SubjectHash(SubjectAt(slot)), slot);
    }
    return true;
  });
  return subjectsIndexed_;
}

void TListIndex::EnterSubject(std::size_t slot) {
  if (subjectsIndexed_) subjectSlots_.emplace(SubjectHash(SubjectAt(slot)), slot);
}

void TListIndex::DropSubject(std::size_t slot) {
  if (!subjectsIndexed_) return;
  const auto [begin, end] = subjectSlots_.equal_range(SubjectHash(SubjectAt(slot)));
  const auto entry =
      std::find_if(begin, end, [&](const auto& candidate) { return candidate.second == slot; });
  if (entry != end) subjectSlots_.erase(entry);
}

void TListIndex::Compact() {
  const bool manyEntries = head_ > kTidyEntries && head_ > Size();
  const bool manyBytes =
      unusedSubjectBytes_ > kTidyBytes && unusedSubjectBytes_ > subjects_.size() / 2;
  if (!manyEntries && !manyBytes) return;
  std::string used;
  used.reserve(subjects_.size() - unusedSubjectBytes_);
  entries_.erase(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(head_));
  head_ = 0;
  for (std::size_t position = 0; position < Size(); ++position) {
    const std::string_view subject = Subject(position);
    entries_[position].subjectAt = static_cast<std::uint32_t>(used.size());
    used.append(subject);
  }
  subjects_ = std::move(used);
  unusedSubjectBytes_ = 0;
  Reindex();
}

}  // namespace brevant
