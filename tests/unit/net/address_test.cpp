#include "net/address.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

using brevant::FormatDottedAddress;
using brevant::IsDottedAddress;
using brevant::ParseDottedAddress;

std::string Bytes(DWORD address) {
  char bytes[4];
  std::memcpy(bytes, &address, sizeof address);
  return std::string(bytes, sizeof bytes);
}

std::string Format(DWORD address, int size) {
  char buffer[32] = "untouched";
  FormatDottedAddress(address, buffer, size);
  return buffer;
}

TEST(DottedAddress, NeedsThreePointsAndDigitsOnly) {
  EXPECT_TRUE(IsDottedAddress("10.0.0.1"));
  EXPECT_TRUE(IsDottedAddress("..."));
  EXPECT_TRUE(IsDottedAddress("1.2.3.4.5"));
  EXPECT_FALSE(IsDottedAddress("10.0.1"));
  EXPECT_FALSE(IsDottedAddress("mail.example.org."));
  EXPECT_FALSE(IsDottedAddress("10.0.0.1 "));
  EXPECT_FALSE(IsDottedAddress(""));
  EXPECT_FALSE(IsDottedAddress(nullptr));
}

TEST(DottedAddress, ParsesFourPartsInOrder) {
  EXPECT_EQ(Bytes(ParseDottedAddress("10.20.30.40")), std::string("\x0A\x14\x1E\x28", 4));
}

TEST(DottedAddress, StopsBeforeAFifthPart) {
  EXPECT_EQ(ParseDottedAddress("10.20.30.40.50"), ParseDottedAddress("10.20.30.40"));
}

TEST(DottedAddress, MissingPartsAreZero) {
  EXPECT_EQ(Bytes(ParseDottedAddress("7...")), std::string("\x07\0\0\0", 4));
}

TEST(DottedAddress, PartsAreNotRangeChecked) {
  EXPECT_EQ(Bytes(ParseDottedAddress("257.0.0.256")), std::string("\x01\0\0\0", 4));
  EXPECT_EQ(Bytes(ParseDottedAddress("4294967297.0.0.0")), std::string("\x01\0\0\0", 4));
}

TEST(DottedAddress, FormatsIntoThirteenCharactersOrMore) {
  const DWORD address = ParseDottedAddress("10.0.0.1");
  EXPECT_EQ(Format(address, 16), "10.0.0.1");
  EXPECT_EQ(Format(address, 13), "10.0.0.1");
}

TEST(DottedAddress, FormatsNothingIntoTwelveCharacters) {
  EXPECT_EQ(Format(ParseDottedAddress("10.0.0.1"), 12), "");
  EXPECT_EQ(Format(ParseDottedAddress("10.0.0.1"), 1), "");
}

TEST(DottedAddress, LongAddressIsCutAtTheBuffer) {
  EXPECT_EQ(Format(ParseDottedAddress("255.255.255.255"), 13), "255.255.255.");
  EXPECT_EQ(Format(ParseDottedAddress("255.255.255.255"), 16), "255.255.255.255");
}

TEST(DottedAddress, NoRoomAtAllTouchesNothing) {
  EXPECT_EQ(Format(ParseDottedAddress("10.0.0.1"), 0), "untouched");
  FormatDottedAddress(0, nullptr, 16);
}

}  // namespace
