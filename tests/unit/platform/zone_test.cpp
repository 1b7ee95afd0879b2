// Zones other than the machine's, which only the environment can set.
#include "platform/win32.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace {

class Zone : public testing::Test {
 protected:
  Zone() : before_(std::getenv("TZ") == nullptr ? "" : std::getenv("TZ")) {}
  ~Zone() override {
    if (before_.empty()) {
      ::unsetenv("TZ");
    } else {
      ::setenv("TZ", before_.c_str(), 1);
    }
  }
  static DWORD Use(const char* zone, TIME_ZONE_INFORMATION* information) {
    ::setenv("TZ", zone, 1);
    return GetTimeZoneInformation(information);
  }
  static std::string Narrow(const OLECHAR* text) {
    std::string result;
    while (*text != 0) result += static_cast<char>(*text++);
    return result;
  }

 private:
  std::string before_;
};

TEST_F(Zone, WithoutDaylightSaving) {
  TIME_ZONE_INFORMATION zone{};
  EXPECT_EQ(Use("JST-9", &zone), TIME_ZONE_ID_UNKNOWN);
  EXPECT_EQ(zone.Bias, -540);
  EXPECT_EQ(zone.StandardBias, 0);
  EXPECT_EQ(zone.DaylightBias, 0);
  EXPECT_EQ(Narrow(zone.StandardName), "JST");
}

TEST_F(Zone, HalfHoursWestOfGreenwich) {
  TIME_ZONE_INFORMATION zone{};
  EXPECT_EQ(Use("NST3:30", &zone), TIME_ZONE_ID_UNKNOWN);
  EXPECT_EQ(zone.Bias, 210);
}

TEST_F(Zone, BothHalvesOfTheYearGiveTheSameStandardTime) {
  // In one of the two it is summer now.
  TIME_ZONE_INFORMATION north{};
  TIME_ZONE_INFORMATION south{};
  const DWORD inNorth = Use("AAA-1BBB,M4.1.0,M10.1.0", &north);
  const DWORD inSouth = Use("AAA-1BBB,M10.1.0,M4.1.0", &south);
  EXPECT_NE(inNorth, inSouth);
  EXPECT_EQ(inNorth + inSouth, TIME_ZONE_ID_STANDARD + TIME_ZONE_ID_DAYLIGHT);
  for (const TIME_ZONE_INFORMATION& zone : {north, south}) {
    EXPECT_EQ(zone.Bias, -60);
    EXPECT_EQ(zone.DaylightBias, -60);
    EXPECT_EQ(Narrow(zone.StandardName), "AAA");
    EXPECT_EQ(Narrow(zone.DaylightName), "BBB");
  }
}

TEST_F(Zone, ChangeIsSeenAtOnce) {
  TIME_ZONE_INFORMATION zone{};
  Use("AAA-1", &zone);
  const FILETIME time{0, 0x01C00000};
  FILETIME first{};
  FILETIME second{};
  FileTimeToLocalFileTime(&time, &first);
  Use("AAA-2", &zone);
  FileTimeToLocalFileTime(&time, &second);
  EXPECT_EQ(CompareFileTime(&first, &second), -1);
}

}  // namespace
