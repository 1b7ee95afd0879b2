// The document store: time values, compound-document storages and their streams.
#pragma once

#include <brevant/platform_types.h>

#include <compare>
#include <cstdint>

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
class BREVANT_API TStorage {
 public:
  TStorage() = default;
  TStorage(const char* name, int access, int create, int share);
  TStorage(IStorage* parent, const char* name, int access, int create, int share);
  ~TStorage();
  TStorage(const TStorage&) = delete;
  TStorage& operator=(const TStorage&) = delete;

  int Open(const char* name, int access, int create, int share);
  int Open(IStorage* parent, const char* name, int access, int create, int share);
  int OpenTemporary(int extra);
  int Close();
  // Makes what was changed so far durable, as far as the platform's structured storage promises it.
  int Commit();
  int Copy(IStorage* source);
  int DeleteElement(const char* name);
  int RenameElement(const char* oldName, const char* newName);
  int GetElementTimes(const char* name, TTime* created, TTime* accessed, TTime* modified);
  int SetTimes(const TTime* created, const TTime* accessed, const TTime* modified);
  void GetInfo();

  // The platform interface, still owned by this object; null when nothing is open.
  IStorage* Interface() const { return storage_; }
  bool IsOpen() const { return (flags_ & 1) != 0; }
  const TTime& CreationTime() const { return created_; }
  const TTime& AccessTime() const { return accessed_; }
  const TTime& ModificationTime() const { return modified_; }

 private:
  IStorage* storage_ = nullptr;
  IStorage* parent_ = nullptr;
  DWORD flags_ = 0;
  TTime created_;
  TTime accessed_;
  TTime modified_;
};

// One stream inside a storage, with a tracked size and position. Transfers give byte counts, -1 on
// failure.
class BREVANT_API TStream {
 public:
  TStream() = default;
  TStream(IStorage* parent, const char* name, int access, int create, int share);
  ~TStream();
  TStream(const TStream&) = delete;
  TStream& operator=(const TStream&) = delete;

  int Open(IStorage* parent, const char* name, int access, int create, int share);
  int Close();
  int Read(char* buffer, int count);
  int ReadLine(char* buffer, int bufferSize);
  int Write(const char* buffer, int count);
  LONG Seek(LONG offset, int origin);
  int SetSize(DWORD size);
  void GetInfo();

  bool IsOpen() const { return (flags_ & 1) != 0; }
  bool AtEnd() const { return (flags_ & 2) != 0; }
  DWORD Size() const { return size_; }
  DWORD Position() const { return position_; }

 private:
  IStream* stream_ = nullptr;
  IStorage* parent_ = nullptr;
  DWORD flags_ = 0;
  DWORD size_ = 0;
  DWORD position_ = 0;
};
