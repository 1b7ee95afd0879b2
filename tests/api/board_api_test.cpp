// The exported classes used directly: storages, streams, times, items and containers, clients.
#include "board_fixture.h"

using api_test::Board;

namespace {

class Classes : public Board {};

TEST_F(Classes, AStorageHoldsAStreamAcrossClosing) {
  const std::string path = directory_ / "own.mwd";
  {
    TStorage storage(path.c_str(), 2, 4096, 16);
    ASSERT_TRUE(storage.IsOpen());
    TStream stream(storage.Interface(), "NOTES", 2, 4096, 16);
    EXPECT_EQ(stream.Write("ab\r\ncd", 6), 6);
    EXPECT_EQ(stream.Close(), 1);
    EXPECT_EQ(storage.Commit(), 1);
    EXPECT_EQ(storage.Close(), 1);
  }
  TStorage storage;
  ASSERT_EQ(storage.Open(path.c_str(), 2, 0, 16), 1);
  TStream stream;
  ASSERT_EQ(stream.Open(storage.Interface(), "NOTES", 2, 0, 16), 1);
  char line[10];
  EXPECT_EQ(stream.ReadLine(line, sizeof line), 2);
  EXPECT_STREQ(line, "ab");
  EXPECT_EQ(stream.ReadLine(line, sizeof line), 2);
  EXPECT_STREQ(line, "cd");
  EXPECT_EQ(stream.ReadLine(line, sizeof line), -1);
}

TEST_F(Classes, TimesAreWrittenAndReadAsText) {
  char text[64];
  FormatTime(TTime(2000, 1, 5, 10, 30, 45), text, sizeof text,
             kFormatDate | kFormatTime | kFormatYear | kFormatSeconds);
  EXPECT_STREQ(text, "1/5/0 10:30:45 AM");
  int month = 0;
  int day = 0;
  int year = 0;
  EXPECT_EQ(ParseDate("25/3/99", &month, &day, &year), 1);
  EXPECT_EQ(month * 1000000 + day * 10000 + year, 3251999);
  int hour = 0;
  int minute = 0;
  int second = 7;
  EXPECT_EQ(ParseTime("12:30", &hour, &minute, &second), 1);
  EXPECT_EQ(hour * 10000 + minute * 100 + second, 123000);
  EXPECT_EQ(ParseTime("1230", &hour, &minute, &second), 0);
}

// A host's own kind of container: another extension and a default of its own.
class NoteBook : public TForum {
 public:
  const char* Extension() const override { return ".note"; }
  LONG DefaultNumber(const char* key) const override {
    return std::string(key) == "Max Message Count" ? 2 : TForum::DefaultNumber(key);
  }
};

TEST_F(Classes, AContainerDerivedByTheHostKeepsItsOwnRules) {
  NoteBook book;
  ASSERT_EQ(book.Open("mine", Data().c_str(), 2, 4096, 16), 1);
  for (int i = 0; i < 3; ++i) {
    TMail item;
    ASSERT_EQ(item.OpenTemporary(0x04000000), 1);
    EXPECT_NE(book.InsertMessage(item), 0u);
  }
  EXPECT_EQ(book.Number("Message Count"), 2);
  EXPECT_EQ(book.Close(), 1);
  EXPECT_TRUE(test::FileExists(Data() + "mine.note"));
}

TEST_F(Classes, RecordsKeepTheirSlots) {
  TForum* forum = CreateForum("Talk", Data().c_str());
  ASSERT_EQ(forum->CreateList("THINGS", 64), 1);
  EXPECT_EQ(forum->WriteListItem("a", "1", -1), 1);
  EXPECT_EQ(forum->WriteListItem("b", "2", -1), 1);
  EXPECT_EQ(forum->WriteListItem("A", "3", -1), 1);
  char value[16];
  EXPECT_EQ(forum->ReadListItem("a", value, sizeof value), 1);
  EXPECT_STREQ(value, "3");
  EXPECT_EQ(forum->CloseList(), 1);
  CloseForum(forum);
}

TEST_F(Classes, ClientsKnowTheirNamesAndPorts) {
  TMIMEEnabledPOP3 client;
  EXPECT_STREQ(client.ProtocolName(), "POP3");
  EXPECT_EQ(client.DefaultPort(), 110);
  EXPECT_EQ(client.Status() & kStatusConnected, 0u);
  TSMTP sender;
  EXPECT_STREQ(sender.ProtocolName(), "SMTP");
  EXPECT_EQ(sender.DefaultPort(), 25);
  EXPECT_EQ(sender.Subject("hello"), 1);
  TSecurityInfos login("ann", "secret");
  EXPECT_STREQ(login.account, "ann");
  EXPECT_STREQ(login.password, "secret");
}

}  // namespace
