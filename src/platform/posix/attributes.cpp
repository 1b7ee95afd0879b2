#include "platform/posix/attributes.h"

#include "platform/posix/file_search.h"

#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace brevant::posix {
namespace {

constexpr char kAttributes[] = "user.brevant.attributes";
constexpr char kCreated[] = "user.brevant.created";
constexpr DWORD kKeptBits = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                            FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                            FILE_ATTRIBUTE_TEMPORARY;

timespec ToTimespec(const struct statx_timestamp& time) {
  return {static_cast<time_t>(time.tv_sec), static_cast<long>(time.tv_nsec)};
}

bool Equal(const timespec& a, const timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

std::string TimeText(const timespec& time) {
  std::string fraction = std::to_string(time.tv_nsec);
  return std::to_string(time.tv_sec) + "." + std::string(9 - fraction.size(), '0') + fraction;
}

template <typename Integer>
bool TakeNumber(std::string_view* text, Integer* value, int base = 10) {
  const auto [end, error] =
      std::from_chars(text->data(), text->data() + text->size(), *value, base);
  text->remove_prefix(static_cast<std::size_t>(end - text->data()));
  return error == std::errc();
}

bool TakeText(std::string_view* text, std::string_view expected) {
  if (!text->starts_with(expected)) return false;
  text->remove_prefix(expected.size());
  return true;
}

// "SECONDS.NANOSECONDS"; fewer than nine decimals are a fraction like any other.
bool TakeTime(std::string_view* text, timespec* time) {
  std::int64_t seconds = 0;
  if (!TakeNumber(text, &seconds) || !TakeText(text, ".")) return false;
  long nanoseconds = 0;
  int digits = 0;
  while (!text->empty() && text->front() >= '0' && text->front() <= '9') {
    if (digits++ < 9) nanoseconds = nanoseconds * 10 + (text->front() - '0');
    text->remove_prefix(1);
  }
  if (digits == 0) return false;
  for (; digits < 9; ++digits) nanoseconds *= 10;
  *time = {static_cast<time_t>(seconds), nanoseconds};
  return true;
}

struct AttributeRecord {
  DWORD bits = 0;
  std::uint64_t size = 0;
  timespec modified{};
};

bool ParseRecord(std::string_view text, AttributeRecord* record) {
  return TakeText(&text, "0x") && TakeNumber(&text, &record->bits, 16) && TakeText(&text, " ") &&
         TakeNumber(&text, &record->size) && TakeText(&text, " ") &&
         TakeTime(&text, &record->modified);
}

std::string FormatRecord(DWORD bits, const FileFacts& facts) {
  char digits[8];
  const auto end = std::to_chars(digits, digits + sizeof digits, bits, 16).ptr;
  return "0x" + std::string(digits, end) + " " + std::to_string(facts.size) + " " +
         TimeText(facts.modified);
}

}  // namespace

bool FileReference::ReadFacts(FileFacts* facts) const {
  constexpr unsigned kMask = STATX_BASIC_STATS | STATX_BTIME;
  struct statx raw {};
  *facts = {};
  if (path_ == nullptr) {
    if (::statx(descriptor_, "", AT_EMPTY_PATH, kMask, &raw) != 0) return false;
  } else {
    if (::statx(AT_FDCWD, path_, AT_SYMLINK_NOFOLLOW, kMask, &raw) != 0) return false;
    facts->isLink = S_ISLNK(raw.stx_mode);
    struct statx target {};
    if (facts->isLink && ::statx(AT_FDCWD, path_, 0, kMask, &target) == 0) raw = target;
  }
  facts->isRegular = S_ISREG(raw.stx_mode);
  facts->isDirectory = S_ISDIR(raw.stx_mode);
  facts->size = raw.stx_size;
  facts->modified = ToTimespec(raw.stx_mtime);
  facts->accessed = ToTimespec(raw.stx_atime);
  facts->born = (raw.stx_mask & STATX_BTIME) != 0 ? ToTimespec(raw.stx_btime) : facts->modified;
  facts->device = (static_cast<std::uint64_t>(raw.stx_dev_major) << 32) | raw.stx_dev_minor;
  facts->inode = raw.stx_ino;
  facts->mode = raw.stx_mode & 07777U;
  return true;
}

DWORD FileReference::Attributes(const FileFacts& facts) const {
  DWORD bits = facts.isDirectory ? 0 : FILE_ATTRIBUTE_ARCHIVE;
  AttributeRecord record;
  if (ParseRecord(ReadRecord(kAttributes), &record)) {
    bits = record.bits & kKeptBits;
    // A directory changes with every entry; what was set for it stays.
    const bool unchanged =
        facts.isDirectory || (record.size == facts.size && Equal(record.modified, facts.modified));
    if (!unchanged) bits |= FILE_ATTRIBUTE_ARCHIVE;
  }
  if (facts.isDirectory) bits |= FILE_ATTRIBUTE_DIRECTORY;
  if (facts.isLink) bits |= FILE_ATTRIBUTE_REPARSE_POINT;
  return bits != 0 ? bits : FILE_ATTRIBUTE_NORMAL;
}

bool FileReference::SetAttributes(const FileFacts& facts, DWORD bits) const {
  bits &= kKeptBits;
  const DWORD withoutRecord = facts.isDirectory ? 0 : FILE_ATTRIBUTE_ARCHIVE;
  if (bits == withoutRecord) return RemoveRecord(kAttributes);
  return WriteRecord(kAttributes, FormatRecord(bits, facts));
}

timespec FileReference::CreationTime(const FileFacts& facts) const {
  timespec time{};
  const std::string text = ReadRecord(kCreated);
  std::string_view rest = text;
  return TakeTime(&rest, &time) ? time : facts.born;
}

bool FileReference::SetCreationTime(const timespec& time) const {
  return WriteRecord(kCreated, TimeText(time));
}

std::string FileReference::ReadRecord(const char* name) const {
  char text[96];
  const ssize_t length = path_ != nullptr ? ::getxattr(path_, name, text, sizeof text)
                                          : ::fgetxattr(descriptor_, name, text, sizeof text);
  return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

bool FileReference::WriteRecord(const char* name, const std::string& text) const {
  return (path_ != nullptr ? ::setxattr(path_, name, text.data(), text.size(), 0)
                           : ::fsetxattr(descriptor_, name, text.data(), text.size(), 0)) == 0;
}

bool FileReference::RemoveRecord(const char* name) const {
  const int result =
      path_ != nullptr ? ::removexattr(path_, name) : ::fremovexattr(descriptor_, name);
  // No record, or a file system that keeps none: the file is plain already.
  return result == 0 || errno == ENODATA || errno == EOPNOTSUPP;
}

}  // namespace brevant::posix
