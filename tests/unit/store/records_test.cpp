#include "store/records.h"

#include "store/ascii.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using brevant::KeyMatch;

constexpr int kDeleteOnRelease = 0x04000000;

std::string Bytes(const std::string& key, const std::string& value, int size) {
  std::string bytes = key + '\0' + value;
  bytes.resize(static_cast<std::size_t>(size), '\0');
  return bytes;
}

class Records : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(storage_.OpenTemporary(kDeleteOnRelease), 1);
    ASSERT_EQ(stream_.Open(storage_.Interface(), "S", 2, 4096, 16), 1);
  }

  void Raw(const std::string& bytes) {
    ASSERT_EQ(stream_.Write(bytes.data(), static_cast<int>(bytes.size())),
              static_cast<int>(bytes.size()));
  }

  std::string All() {
    stream_.Seek(0, 0);
    std::string bytes(stream_.Size(), '\0');
    EXPECT_EQ(stream_.Read(bytes.data(), static_cast<int>(bytes.size())),
              static_cast<int>(bytes.size()));
    return bytes;
  }

  std::string Value(const char* key, KeyMatch rule = KeyMatch::kWhole, int size = 128) {
    char value[512];
    return brevant::ReadRecord(stream_, rule, key, value, sizeof value, size) ? value : "<none>";
  }

  int Write(const char* key, const char* value, KeyMatch rule = KeyMatch::kWhole, int size = 128) {
    return brevant::WriteRecord(stream_, rule, key, key, value, size);
  }

  TStorage storage_;
  TStream stream_;
};

TEST_F(Records, FirstRecordByteForByte) {
  EXPECT_EQ(Write("Name", "abc"), 1);
  EXPECT_EQ(All(), std::string("Name\0abc", 8) + std::string(120, '\0'));
}

TEST_F(Records, RecordsFollowWithoutHeaderOrSeparator) {
  Write("a", "1");
  Write("b", "2");
  EXPECT_EQ(All(), Bytes("a", "1", 128) + Bytes("b", "2", 128));
}

TEST_F(Records, AnotherLetterCaseOverwritesAndStoresTheNewSpelling) {
  Write("Name", "abc");
  Write("Other", "x");
  EXPECT_EQ(Write("NAME", "d"), 1);
  EXPECT_EQ(All(), Bytes("NAME", "d", 128) + Bytes("Other", "x", 128));
}

TEST_F(Records, OnlyAsciiLettersIgnoreCase) {
  EXPECT_FALSE(brevant::KeyMatches(KeyMatch::kWhole, "\xE4", "\xC4"));
  EXPECT_FALSE(brevant::KeyMatches(KeyMatch::kWhole, "[", "{"));
  EXPECT_TRUE(brevant::KeyMatches(KeyMatch::kWhole, "AbZ", "aBz"));
}

TEST_F(Records, ValueIsCutToItsRoom) {
  const std::string value(200, 'v');
  EXPECT_EQ(Write("key", value.c_str()), 1);
  EXPECT_EQ(Value("key"), std::string(123, 'v'));
  EXPECT_EQ(stream_.Size(), 128U);
  EXPECT_EQ(All().back(), '\0') << "the last byte stays zero";
}

TEST_F(Records, LongestValueThatFits) {
  Write("key", std::string(123, 'v').c_str());
  EXPECT_EQ(Value("key"), std::string(123, 'v'));
}

TEST_F(Records, KeyThatLeavesNoRoomDropsTheValue) {
  for (const std::size_t length : {31U, 32U, 40U}) {
    std::vector<char> bytes(32, '?');
    brevant::EncodeRecord(bytes, std::string(length, 'k'), "value");
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), std::string(31, 'k') + '\0');
  }
}

TEST_F(Records, KeyOneShorterHasAnEmptyValue) {
  std::vector<char> bytes(32, '?');
  brevant::EncodeRecord(bytes, std::string(30, 'k'), "value");
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()), std::string(30, 'k') + std::string(2, '\0'));
}

TEST_F(Records, DecodeOfARecordWithoutZero) {
  const brevant::Record record = brevant::DecodeRecord("aaaa");
  EXPECT_EQ(record.key, "aaaa");
  EXPECT_EQ(record.value, "");
}

TEST_F(Records, DecodeOfAValueWithoutZero) {
  const brevant::Record record = brevant::DecodeRecord({"a\0bc", 4});
  EXPECT_EQ(record.key, "a");
  EXPECT_EQ(record.value, "bc");
}

TEST_F(Records, LookUpOfAMissingKeyEmptiesTheBuffer) {
  Write("a", "1");
  char value[8] = "old";
  EXPECT_EQ(brevant::ReadRecord(stream_, KeyMatch::kWhole, "b", value, sizeof value, 128), 0);
  EXPECT_STREQ(value, "");
}

TEST_F(Records, LookUpLeavesTheStreamBehindTheRecord) {
  Write("a", "1");
  Write("b", "2");
  Write("c", "3");
  EXPECT_EQ(Value("b"), "2");
  EXPECT_EQ(stream_.Position(), 256U);
  EXPECT_EQ(Value("z"), "<none>");
  EXPECT_EQ(stream_.Position(), 384U);
}

TEST_F(Records, FirstOfSeveralMatchesCounts) {
  Raw(Bytes("k", "first", 128) + Bytes("K", "second", 128));
  EXPECT_EQ(Value("k"), "first");
  Write("k", "new");
  EXPECT_EQ(All(), Bytes("k", "new", 128) + Bytes("K", "second", 128));
}

TEST_F(Records, StarMatchesAPrefixInContainersOnly) {
  Raw(Bytes("12:0", "a", 128) + Bytes("120:3", "b", 128) + Bytes("12:7", "c", 128));
  EXPECT_EQ(Value("12:*", KeyMatch::kTrailingStar), "a");
  EXPECT_EQ(Value("12:*", KeyMatch::kWhole), "<none>");
  EXPECT_EQ(Value("120:*", KeyMatch::kTrailingStar), "b");
  EXPECT_EQ(Value("12", KeyMatch::kTrailingStar), "<none>");
}

TEST_F(Records, PrefixMatchIgnoresCase) {
  EXPECT_TRUE(brevant::KeyMatches(KeyMatch::kTrailingStar, "HELLO", "hel*"));
  EXPECT_TRUE(brevant::KeyMatches(KeyMatch::kTrailingStar, "anything", "*"));
  EXPECT_TRUE(brevant::KeyMatches(KeyMatch::kTrailingStar, "", "*"));
  EXPECT_TRUE(brevant::KeyMatches(KeyMatch::kTrailingStar, "12:", "12:*"));
  EXPECT_FALSE(brevant::KeyMatches(KeyMatch::kTrailingStar, "1", "12*"));
}

TEST_F(Records, StarElsewhereIsAnOrdinaryCharacter) {
  EXPECT_FALSE(brevant::KeyMatches(KeyMatch::kTrailingStar, "abc", "a*c"));
  EXPECT_TRUE(brevant::KeyMatches(KeyMatch::kTrailingStar, "a*c", "A*C"));
  EXPECT_FALSE(brevant::KeyMatches(KeyMatch::kTrailingStar, "abc", ""));
  EXPECT_TRUE(brevant::KeyMatches(KeyMatch::kTrailingStar, "", ""));
}

TEST_F(Records, WritingAPatternStoresItAsTheKey) {
  Raw(Bytes("12:0", "a", 128) + Bytes("13:0", "b", 128));
  EXPECT_EQ(Write("12:*", "x", KeyMatch::kTrailingStar), 1);
  EXPECT_EQ(All(), Bytes("12:*", "x", 128) + Bytes("13:0", "b", 128));
}

TEST_F(Records, ReadNextGivesRecordsInOrderAndThenEmptyTexts) {
  Write("a", "1");
  Write("b", "2");
  stream_.Seek(0, 0);
  char key[8];
  char value[8];
  EXPECT_EQ(brevant::ReadNextRecord(stream_, key, 8, value, 8, 128), 1);
  EXPECT_STREQ(key, "a");
  EXPECT_STREQ(value, "1");
  EXPECT_EQ(brevant::ReadNextRecord(stream_, key, 8, value, 8, 128), 1);
  EXPECT_STREQ(key, "b");
  EXPECT_EQ(brevant::ReadNextRecord(stream_, key, 8, value, 8, 128), 0);
  EXPECT_STREQ(key, "");
  EXPECT_STREQ(value, "");
}

TEST_F(Records, ReadNextCutsToItsBuffersAndSkipsNullOnes) {
  Write("abcdef", "123456");
  stream_.Seek(0, 0);
  char key[4] = {'?', '?', '?', '?'};
  EXPECT_EQ(brevant::ReadNextRecord(stream_, key, 3, nullptr, 10, 128), 1);
  EXPECT_STREQ(key, "ab");
  EXPECT_EQ(key[3], '?');
  stream_.Seek(0, 0);
  EXPECT_EQ(brevant::ReadNextRecord(stream_, key, 0, nullptr, 0, 128), 1);
  EXPECT_STREQ(key, "ab");
}

TEST_F(Records, ShortFinalRecordIsNeverReturned) {
  Raw(Bytes("a", "1", 128) + std::string("b\0"
                                         "2",
                                         3));
  EXPECT_EQ(Value("b"), "<none>");
  stream_.Seek(128, 0);
  char key[8];
  EXPECT_EQ(brevant::ReadNextRecord(stream_, key, 8, nullptr, 0, 128), 0);
}

TEST_F(Records, WriteAppendsAfterAShortFinalRecord) {
  Raw(Bytes("a", "1", 128) + "xyz");
  EXPECT_EQ(Write("b", "2"), 1);
  EXPECT_EQ(All(), Bytes("a", "1", 128) + "xyz" + Bytes("b", "2", 128));
}

TEST_F(Records, RecordSizesOfTheBoard) {
  for (const int size : {32, 128, 256, 512}) {
    stream_.Seek(0, 0);
    stream_.SetSize(0);
    EXPECT_EQ(Write("k", "v", KeyMatch::kWhole, size), 1);
    EXPECT_EQ(Write("l", "w", KeyMatch::kWhole, size), 1);
    EXPECT_EQ(All(), Bytes("k", "v", size) + Bytes("l", "w", size));
    EXPECT_EQ(Value("l", KeyMatch::kWhole, size), "w");
  }
}

TEST_F(Records, ImpossibleRecordSizesFail) {
  for (const int size : {-1, 0, 513, 1 << 30}) {
    EXPECT_EQ(Write("k", "v", KeyMatch::kWhole, size), 0);
    EXPECT_EQ(Value("k", KeyMatch::kWhole, size), "<none>");
    char key[8] = "x";
    EXPECT_EQ(brevant::ReadNextRecord(stream_, key, 8, nullptr, 0, size), 0);
    EXPECT_STREQ(key, "");
    EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kWhole, "k", size), 0);
    EXPECT_EQ(brevant::ShiftRecords(stream_, stream_, "k", size), 0);
  }
  EXPECT_EQ(stream_.Size(), 0U);
}

TEST_F(Records, ClosedStreamReadsNothingAndWritesNothing) {
  stream_.Close();
  EXPECT_EQ(Write("k", "v"), 0);
  EXPECT_EQ(Value("k"), "<none>");
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kWhole, "k", 128), 0);
}

TEST_F(Records, RemovalShortensTheStream) {
  Raw(Bytes("a", "1", 128) + Bytes("b", "2", 128) + Bytes("c", "3", 128));
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "B", 128), 1);
  EXPECT_EQ(All(), Bytes("a", "1", 128) + Bytes("c", "3", 128));
}

TEST_F(Records, RemovalOfFirstLastAndOnly) {
  Raw(Bytes("a", "1", 32) + Bytes("b", "2", 32) + Bytes("c", "3", 32));
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "a", 32), 1);
  EXPECT_EQ(All(), Bytes("b", "2", 32) + Bytes("c", "3", 32));
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "c", 32), 1);
  EXPECT_EQ(All(), Bytes("b", "2", 32));
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "*", 32), 1);
  EXPECT_EQ(All(), "");
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "*", 32), 0);
}

TEST_F(Records, RemovalLeavesThePositionAtTheOldEnd) {
  Raw(Bytes("a", "1", 128) + Bytes("b", "2", 128));
  brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "a", 128);
  EXPECT_EQ(stream_.Position(), 256U);
  EXPECT_EQ(stream_.Size(), 128U);
}

TEST_F(Records, RemovalOfAMissingKeyChangesNothing) {
  const std::string bytes = Bytes("a", "1", 128) + Bytes("b", "2", 128);
  Raw(bytes);
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "z", 128), 0);
  EXPECT_EQ(All(), bytes);
}

TEST_F(Records, RemovalInAStreamWithARestCutsOneRecord) {
  Raw(Bytes("a", "1", 32) + Bytes("b", "2", 32) + "xyz");
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "a", 32), 1);
  EXPECT_EQ(stream_.Size(), 35U);
  EXPECT_EQ(All().substr(0, 32), Bytes("b", "2", 32));
}

TEST_F(Records, LongStreamsAreReadAndShiftedInBlocks) {
  std::string expected;
  for (int i = 0; i < 2000; ++i) {
    const std::string record = Bytes("key" + std::to_string(i), std::to_string(i * 7), 128);
    Raw(record);
    if (i != 3) expected += record;
  }
  EXPECT_EQ(Value("key1999"), "13993");
  EXPECT_EQ(stream_.Position(), 2000U * 128);
  EXPECT_EQ(Value("key127"), "889");
  EXPECT_EQ(stream_.Position(), 128U * 128);
  EXPECT_EQ(brevant::RemoveRecord(stream_, KeyMatch::kTrailingStar, "key3", 128), 1);
  EXPECT_EQ(All(), expected);
}

TEST_F(Records, ShiftOfMessagesKeepsTheLengthAndDoublesTheLast) {
  Raw(Bytes("a", "1", 128) + Bytes("b", "2", 128) + Bytes("c", "3", 128));
  stream_.Seek(0, 0);
  EXPECT_EQ(brevant::ShiftRecords(stream_, stream_, "B", 128), 0);
  EXPECT_EQ(All(), Bytes("a", "1", 128) + Bytes("c", "3", 128) + Bytes("c", "3", 128));
}

TEST_F(Records, ShiftGivesTheBytesOfTheLastShortRead) {
  Raw(Bytes("a", "1", 128) + Bytes("b", "2", 128) + "12345");
  stream_.Seek(0, 0);
  EXPECT_EQ(brevant::ShiftRecords(stream_, stream_, "a", 128), 5);
  stream_.Seek(0, 0);
  EXPECT_EQ(brevant::ShiftRecords(stream_, stream_, "z", 128), 5);
}

TEST_F(Records, ShiftReadsFromItsSource) {
  Raw(Bytes("a", "1", 128) + Bytes("b", "2", 128) + Bytes("c", "3", 128));
  stream_.Seek(128, 0);
  TStream target(storage_.Interface(), "T", 2, 4096, 16);
  EXPECT_EQ(brevant::ShiftRecords(target, stream_, "b", 128), 0);
  char bytes[128];
  target.Seek(0, 0);
  ASSERT_EQ(target.Read(bytes, 128), 128);
  EXPECT_EQ(std::string(bytes, 128), Bytes("c", "3", 128));
  EXPECT_EQ(target.Size(), 128U);
  EXPECT_EQ(All(), Bytes("a", "1", 128) + Bytes("b", "2", 128) + Bytes("c", "3", 128));
}

TEST(Numbers, LeadingNumberOfAText) {
  EXPECT_EQ(brevant::LeadingNumber("12"), 12);
  EXPECT_EQ(brevant::LeadingNumber("  -12abc"), -12);
  EXPECT_EQ(brevant::LeadingNumber("+7"), 7);
  EXPECT_EQ(brevant::LeadingNumber("abc"), 0);
  EXPECT_EQ(brevant::LeadingNumber(""), 0);
  EXPECT_EQ(brevant::LeadingNumber("-"), 0);
  EXPECT_EQ(brevant::LeadingNumber("99999999999"), 1215752191);
  EXPECT_EQ(brevant::LeadingNumber("4294967295"), -1);
}

}  // namespace
