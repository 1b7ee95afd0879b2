// The document store: time values, compound-document storages and their streams.
#pragma once

#include <brevant/platform_types.h>

#include <compare>
#include <cstdint>
#include <memory>

namespace brevant {
class WriteCounter;
}

// A point in time: 100-nanosecond units since 1601-01-01 00:00, two unsigned 32-bit halves, low
// half first. The board keeps local clock times in it. A span of time is 1601-01-01 plus the span,
// so that spans add and subtract. Values compare as unsigned 64-bit numbers; sums wrap.
class BREVANT_API TTime {
 public:
  // Zero: 1601-01-01 00:00, which also stands for "no time".
  constexpr TTime() = default;
  constexpr explicit TTime(const FILETIME& time) : time_(time) {}
  // From calendar parts (year 1601 to 30827, month and day from 1, hour 0 to 23, milliseconds 0);
  // parts that are no date or no time of day give a zero time.
  TTime(int year, int month, int day, int hour, int minute, int second);
  static constexpr TTime FromTicks(std::uint64_t ticks) {
    return TTime(FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)});
  }
  // From whole seconds since 1970-01-01 00:00.
  static TTime FromUnixSeconds(std::int64_t seconds);
  // The current local time, to the millisecond, and the current Greenwich time.
  static TTime Now();
  static TTime NowGreenwich();

  constexpr std::uint64_t Ticks() const {
    return (static_cast<std::uint64_t>(time_.dwHighDateTime) << 32) | time_.dwLowDateTime;
  }
  const FILETIME& FileTime() const { return time_; }
  FILETIME& FileTime() { return time_; }
  bool IsZero() const { return Ticks() == 0; }
  // Whole seconds since 1970-01-01 00:00, rounded down; negative before that day.
  std::int64_t UnixSeconds() const;

  // Calendar parts; day of week 0 is Sunday, months and days count from 1. A value of 2^63 units or
  // more has no calendar parts: all are 0.
  SYSTEMTIME Parts() const;
  int Year() const;
  int Month() const;
  int DayOfWeek() const;
  int Day() const;
  int Hour() const;
  int Minute() const;
  int Second() const;
  int Milliseconds() const;
  // Each replaces one part; a result that is no date gives a zero time.
  void SetYear(int year);
  void SetMonth(int month);
  void SetDay(int day);
  void SetHour(int hour);
  void SetMinute(int minute);
  void SetSecond(int second);
  void SetMilliseconds(int milliseconds);

  TTime& operator+=(const TTime& span);
  TTime& operator-=(const TTime& span);
  friend TTime operator+(TTime time, const TTime& span) { return time += span; }
  friend TTime operator-(TTime time, const TTime& span) { return time -= span; }
  friend bool operator==(const TTime& a, const TTime& b) { return a.Ticks() == b.Ticks(); }
  friend auto operator<=>(const TTime& a, const TTime& b) { return a.Ticks() <=> b.Ticks(); }

 private:
  void ReplacePart(WORD SYSTEMTIME::*part, int value);

  FILETIME time_{};
};
static_assert(sizeof(TTime) == 8);

// Option bits of FormatTime.
enum TTimeFormat : unsigned {
  kFormatDate = 0x0001,       // date: month/day
  kFormatTime = 0x0002,       // time of day: hour:minute
  kFormatWeekday = 0x0004,    // three-letter weekday name in front; Thursday is "Thr"
  kFormatZone = 0x0008,       // time zone text at the end
  kFormatYear = 0x0010,       // year, with the date
  kFormatSeconds = 0x0020,    // seconds, with the time of day
  kFormatGreenwich = 0x0100,  // shift from local to Greenwich time, zone text " GMT"
  kFormat24Hour = 0x0200,     // 24-hour clock; without it " AM" or " PM" follows
  kFormatMonthName = 0x0400,  // month by name, day first, year in full
  kFormatReverse = 0x0800,    // day first; with the month's name: month first
  kFormatDash = 0x1000,       // "-" instead of "/" between numeric date parts
  kFormatDot = 0x2000,        // "." instead of ":" between time parts
};

// Renders time as text into buffer (bufferSize bytes, always terminated when bufferSize is
// positive) under the option bits above; a piece that does not fit is left out. Numeric years are
// modulo 100 without a leading zero, noon is 0:00 PM. The shift to Greenwich uses the zone's
// standard bias all the year.
BREVANT_API void FormatTime(const TTime& time, char* buffer, int bufferSize, unsigned options);
// Reads a date from text: month-day-year, day-Mon-year or Mon-day-year joined by "-",
// month/day/year joined by "/", each of the first two orders and Mon/day also without the year,
// which is then the current one. A first number above 12 before one below 12 is the day. Years
// below 100 count from 1900. Gives 1 when a date was read, else 0 and the outputs, which may not
// be null, are unchanged. Numbers are not checked against the calendar.
BREVANT_API int ParseDate(const char* text, int* month, int* day, int* year);
// Reads a time of day, hour:minute or hour:minute:second (second 0 when missing); 1 or 0 as
// ParseDate. No range checks are made.
BREVANT_API int ParseTime(const char* text, int* hour, int* minute, int* second);

// One storage: a compound file, or a sub-storage inside another storage. Operations give 1 for
// success and 0 for failure unless they say otherwise; a failed call leaves the object as it was.
//
// Access, create and share are STGM_ values, combined into one mode: the board passes 2
// (STGM_READWRITE), 0 or 4096 (STGM_CREATE: makes the element anew, replacing one of that name),
// and 16 (STGM_SHARE_EXCLUSIVE). Names are narrow texts; each byte is widened by sign extension.
// An object that is open is closed before it is opened again.
class BREVANT_API TStorage {
 public:
  TStorage();
  // Open at once; IsOpen tells the outcome.
  TStorage(const char* name, int access, int create, int share);
  TStorage(IStorage* parent, const char* name, int access, int create, int share);
  // Closes.
  ~TStorage();
  TStorage(const TStorage&) = delete;
  TStorage& operator=(const TStorage&) = delete;

  // Opens or creates the compound file name (a path) and reads its times.
  int Open(const char* name, int access, int create, int share);
  // Opens or creates the sub-storage name (at most 31 characters) of parent, which is held with a
  // reference of its own until Close, and reads its times.
  int Open(IStorage* parent, const char* name, int access, int create, int share);
  // Creates a temporary file for reading and writing. With STGM_DELETEONRELEASE (0x04000000) in
  // extra it vanishes with Close. The object's times are zero.
  int OpenTemporary(int extra);
  // Releases the storage, which makes its changes since the last commit durable, then applies the
  // times given to SetTimes: the element must not be open any longer in another object or stream.
  // 0 when nothing was open.
  int Close();
  // Makes what was changed so far durable, as far as the platform's structured storage promises it.
  // After a failure the file is given up: Close then drops the changes since the last commit.
  // For a sub-storage its changes join those of the file, which its root commits.
  int Commit();
  // The bytes written since the last commit through this compound file: into its streams and those
  // of its sub-storages, the same place of an open stream once, and by Copy; a change of an
  // element's name or times, or its deletion, counts 128. At most 2^32 - 1.
  DWORD BytesSinceCommit() const;
  // Copies the whole content of source into this storage: streams of equal names are replaced,
  // storages of equal names merged. 0 when source is null.
  int Copy(IStorage* source);
  // Deletes or renames a stream or a storage with all that is in it.
  int DeleteElement(const char* name);
  int RenameElement(const char* oldName, const char* newName);
  // The times of a sub-storage that is not open, into the pointers that are not null. 0 when it
  // cannot be opened as a storage, for example because it is a stream.
  int GetElementTimes(const char* name, TTime* created, TTime* accessed, TTime* modified);
  // Sets the times of a sub-storage that is not open; a null pointer leaves that time as it is.
  int SetElementTimes(const char* name, const TTime* created, const TTime* accessed,
                      const TTime* modified);
  // Replaces the object's times by those that are not null; Close applies all three. Always 1.
  int SetTimes(const TTime* created, const TTime* accessed, const TTime* modified);
  // Reads the three times from the open storage into the object.
  void GetInfo();

  // The platform interface, still owned by this object; null when nothing is open.
  IStorage* Interface() const { return storage_; }
  bool IsOpen() const { return (flags_ & 1) != 0; }
  const TTime& CreationTime() const { return created_; }
  const TTime& AccessTime() const { return accessed_; }
  const TTime& ModificationTime() const { return modified_; }

 private:
  int Adopt(IStorage* storage, IStorage* parent);

  IStorage* storage_ = nullptr;
  IStorage* parent_ = nullptr;
  DWORD flags_ = 0;
  TTime created_;
  TTime accessed_;
  TTime modified_;
  std::shared_ptr<brevant::WriteCounter> counter_;
};

// One stream inside a storage, with a tracked size and position (32 bits each) and an end-of-stream
// flag. Transfers give byte counts, -1 on failure; a failed one leaves the position as it was.
class BREVANT_API TStream {
 public:
  TStream();
  // Opens at once; IsOpen tells the outcome.
  TStream(IStorage* parent, const char* name, int access, int create, int share);
  // Closes.
  ~TStream();
  TStream(const TStream&) = delete;
  TStream& operator=(const TStream&) = delete;

  // Opens the stream name of parent, or creates it empty when create holds STGM_CREATE; the parent
  // is held with a reference of its own until Close. 1 or 0.
  int Open(IStorage* parent, const char* name, int access, int create, int share);
  // 1, or 0 when nothing was open.
  int Close();
  // Reads up to count bytes; fewer at the end of the stream, where AtEnd becomes true.
  int Read(char* buffer, int count);
  // Reads one text line without its line end into buffer (bufferSize bytes, always terminated):
  // what does not fit is skipped, as is one carriage return at the end. Gives the number of bytes
  // in buffer, 0 for an empty line and -1 at the end of the stream. The stream is left after the
  // line feed. A last line needs none.
  int ReadLine(char* buffer, int bufferSize);
  // Writes count bytes, growing the stream where needed.
  int Write(const char* buffer, int count);
  // Moves to offset, an unsigned 32-bit distance from the start (origin 0), the current position
  // (1) or the end (2). Gives the position then, unchanged on failure; -1 when nothing is open.
  LONG Seek(LONG offset, int origin);
  // Cuts or grows the stream to size bytes; the position stays.
  int SetSize(DWORD size);
  // Reads the stream's size, its low 32 bits.
  void GetInfo();

  bool IsOpen() const { return (flags_ & 1) != 0; }
  bool AtEnd() const { return (flags_ & 2) != 0; }
  DWORD Size() const { return size_; }
  DWORD Position() const { return position_; }

 private:
  void RestorePosition();

  IStream* stream_ = nullptr;
  IStorage* parent_ = nullptr;
  DWORD flags_ = 0;
  DWORD size_ = 0;
  DWORD position_ = 0;
  std::shared_ptr<brevant::WriteCounter> counter_;
};
