// Time, time zone, ticks and sleep.
#pragma once

#include <brevant/platform_types.h>

struct TIME_ZONE_INFORMATION {
  LONG Bias;  // minutes, Greenwich minus local
  OLECHAR StandardName[32];
  LONG StandardBias;
  OLECHAR DaylightName[32];
  LONG DaylightBias;
};

inline constexpr DWORD TIME_ZONE_ID_UNKNOWN = 0;
inline constexpr DWORD TIME_ZONE_ID_STANDARD = 1;
inline constexpr DWORD TIME_ZONE_ID_DAYLIGHT = 2;
inline constexpr DWORD TIME_ZONE_ID_INVALID = 0xFFFFFFFF;

void GetLocalTime(SYSTEMTIME* time);
void GetSystemTime(SYSTEMTIME* time);
void GetSystemTimeAsFileTime(FILETIME* time);
BOOL SystemTimeToFileTime(const SYSTEMTIME* parts, FILETIME* time);
BOOL FileTimeToSystemTime(const FILETIME* time, SYSTEMTIME* parts);
BOOL FileTimeToLocalFileTime(const FILETIME* time, FILETIME* local);
BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* time);
LONG CompareFileTime(const FILETIME* a, const FILETIME* b);
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone);
DWORD GetTickCount();
void Sleep(DWORD milliseconds);
