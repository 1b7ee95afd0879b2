// Header fields: how they are read and what becomes of them.
#include "net_fixture.h"

#include <array>

namespace {

using test::Mailbox;
using test::RawMessage;

struct Field {
  std::string name;
  std::string value;
  bool operator==(const Field&) const = default;
};

void PrintTo(const Field& field, std::ostream* out) {
  *out << test::Quote(field.name) << ": " << test::Quote(field.value);
}

class HeaderTest : public test::NetTest {
 protected:
  // The fields of this header, whose lines end in CR LF; an empty line follows.
  static std::vector<Field> Fields(const std::string& header, DWORD mode = 0, int size = 256) {
    Mailbox<TPOP3> mailbox({}, mode, RawMessage(header + "\r\n\r\n.\r\n"));
    std::vector<Field> fields;
    EXPECT_GT(mailbox.client.SendCommand("RETR", "1"), 0);
    EXPECT_EQ(mailbox.client.GetResponse(nullptr, 0, 1), 1);
    std::array<char, TPOP3::kNameSize + 1> name;
    std::array<char, 2048> value;
    name.fill('#');
    value.fill('#');
    while (mailbox.client.GetObjectInfo(name.data(), value.data(), size) != 0) {
      EXPECT_EQ(name[TPOP3::kNameSize], '#');
      EXPECT_EQ(value[static_cast<std::size_t>(size)], '#');
      fields.push_back({name.data(), value.data()});
    }
    return fields;
  }
  static std::vector<Field> Standard(const std::string& header, int size = 256) {
    return Fields(header, kStatusStandardMode, size);
  }
  using List = std::vector<Field>;
};

TEST_F(HeaderTest, NameAndValue) {
  EXPECT_EQ(Fields("Subject: a b\r\nTo: c\r\n"), (List{{"Subject", "a b"}, {"To", "c"}}));
}

TEST_F(HeaderTest, TheEmptyLineEndsTheHeader) {
  EXPECT_EQ(Fields("A: 1\r\n\r\nB: 2\r\n"), (List{{"A", "1"}}));
}

TEST_F(HeaderTest, ALineWithoutAColonIsSkipped) {
  EXPECT_EQ(Fields("no colon here\r\nA: 1\r\n"), (List{{"A", "1"}}));
}

TEST_F(HeaderTest, ALineThatBeginsWithAColonIsSkipped) {
  EXPECT_EQ(Fields(": x\r\nA: 1\r\n"), (List{{"A", "1"}}));
}

TEST_F(HeaderTest, ALineWithoutAnyBlankIsSkipped) {
  EXPECT_EQ(Fields("From:someone\r\nA: 1\r\n"), (List{{"A", "1"}}));
}

TEST_F(HeaderTest, ALineWhoseColonComesAfterTheBlankIsSkipped) {
  EXPECT_EQ(Fields("From someone: x\r\nA: 1\r\n"), (List{{"A", "1"}}));
}

TEST_F(HeaderTest, TheValueBeginsAfterTheFirstBlankNotAfterTheColon) {
  EXPECT_EQ(Fields("Subject:lost kept\r\nB:  two\r\n"), (List{{"Subject", "kept"}, {"B", " two"}}));
}

TEST_F(HeaderTest, ATabSeparatesOnlyInALineThatHoldsASpaceToo) {
  EXPECT_EQ(Fields("A:\tone\r\nB:\ttwo words\r\nC: three\tx\r\n"),
            (List{{"B", "two words"}, {"C", "three\tx"}}));
}

TEST_F(HeaderTest, ANameOf47CharactersIsKeptOneOf48IsEmpty) {
  const std::string name(47, 'n');
  EXPECT_EQ(Fields(name + ": 1\r\n" + name + "n: 2\r\n"), (List{{name, "1"}, {"", "2"}}));
}

TEST_F(HeaderTest, TheValueIsCutToItsBuffer) {
  EXPECT_EQ(Fields("A: 123456789\r\n", 0, 6), (List{{"A", "12345"}}));
  EXPECT_EQ(Standard("A: 123456789\r\n", 6), (List{{"A", "12345"}}));
}

TEST_F(HeaderTest, ATabFoldsALineOntoTheOneBefore) {
  EXPECT_EQ(Fields("Subject: part one\r\n\tpart two\r\n\tthree\r\nB: x\r\n"),
            (List{{"Subject", "part one part two three"}, {"B", "x"}}));
}

TEST_F(HeaderTest, AFoldedLineIsAppendedWithinTheBuffer) {
  EXPECT_EQ(Fields("A: 1234\r\n\t5678\r\n\t9\r\n", 0, 8), (List{{"A", "1234 56"}}));
}

TEST_F(HeaderTest, ASpaceDoesNotFold) {
  EXPECT_EQ(Fields("Subject: part one\r\n part two\r\nB: x\r\n"),
            (List{{"Subject", "part one"}, {"B", "x"}}));
}

TEST_F(HeaderTest, ALongLineIsCutAt1023CharactersAndLosesOne) {
  const std::string start = "A: " + std::string(1020, 'a');
  const List fields = Fields(start + "xB: rest\r\n", 0, 1100);
  EXPECT_EQ(fields, (List{{"A", std::string(1020, 'a')}, {"B", "rest"}}));
}

TEST_F(HeaderTest, ALineOfExactly1023CharactersEndsTheHeader) {
  // Its carriage return is lost, and the line feed left over is an empty line.
  const std::string line = "A: " + std::string(1020, 'a');
  EXPECT_EQ(Fields(line + "\r\nB: x\r\n", 0, 1100), (List{{"A", std::string(1020, 'a')}}));
}

TEST_F(HeaderTest, NullBytesCutALine) {
  EXPECT_EQ(Fields(std::string("A: b\0c\r\nD: e\r\n", 14)), (List{{"A", "b"}, {"D", "e"}}));
}

TEST_F(HeaderTest, BadArgumentsGiveZero) {
  Mailbox<TPOP3> mailbox({});
  std::array<char, 64> buffer;
  EXPECT_EQ(mailbox.client.GetObjectInfo(nullptr, buffer.data(), 64), 0);
  EXPECT_EQ(mailbox.client.GetObjectInfo(buffer.data(), nullptr, 64), 0);
  EXPECT_EQ(mailbox.client.GetObjectInfo(buffer.data(), buffer.data(), 0), 0);
  TPOP3 unconnected;
  EXPECT_EQ(unconnected.GetObjectInfo(buffer.data(), buffer.data(), 64), 0);
}

TEST_F(HeaderTest, StandardModeFoldsWithBlanksAndTabs) {
  EXPECT_EQ(Standard("Subject: one\r\n two\r\n\tthree\r\nB: x\r\n"),
            (List{{"Subject", "one two three"}, {"B", "x"}}));
}

TEST_F(HeaderTest, StandardModeNeedsNoBlankAfterTheColon) {
  EXPECT_EQ(Standard("From:someone\r\nSubject:a b\r\nC:\td\r\nE :f\r\nG:\r\n"),
            (List{{"From", "someone"}, {"Subject", "a b"}, {"C", "d"}, {"E", "f"}, {"G", ""}}));
}

TEST_F(HeaderTest, StandardModeSkipsWhatIsNoField) {
  EXPECT_EQ(Standard("From someone Mon Jan 1 10:20:30\r\nno colon\r\n: x\r\nA: 1\r\n"),
            (List{{"A", "1"}}));
}

TEST_F(HeaderTest, StandardModeReadsLongLinesWhole) {
  const std::string text(5000, 'a');
  EXPECT_EQ(Standard("A: " + text + "\r\nB: x\r\n", 1000),
            (List{{"A", std::string(999, 'a')}, {"B", "x"}}));
}

TEST_F(HeaderTest, StandardModeAValueOnFoldedLinesOnly) {
  EXPECT_EQ(Standard("Subject:\r\n text\r\n"), (List{{"Subject", "text"}}));
}

TEST_F(HeaderTest, KnownFieldsAreComparedIgnoringCaseAndReplaced) {
  TPOP3 client;
  std::string name = "sUBJECT";
  std::string value = "one";
  EXPECT_EQ(client.ProcessObjectInfo(name.data(), value.data()), 1);
  value = "two";
  EXPECT_EQ(client.ProcessObjectInfo(name.data(), value.data()), 1);
  EXPECT_STREQ(client.Subject(), "two");
  name = "X-Subject";
  EXPECT_EQ(client.ProcessObjectInfo(name.data(), value.data()), 0);
  name = "";
  EXPECT_EQ(client.ProcessObjectInfo(name.data(), value.data()), 0);
  client.ClearInfo();
  EXPECT_EQ(client.Subject(), nullptr);
}

TEST_F(HeaderTest, DateSetsTheResourceTime) {
  TPOP3 client;
  std::string name = "DATE";
  std::string value = "Tue, 2 Jun 1998 10:20:30 +0200";
  EXPECT_EQ(client.ProcessObjectInfo(name.data(), value.data()), 1);
  EXPECT_EQ(client.ResourceTime(), TTime(1998, 6, 2, 10, 20, 30));
}

TEST_F(HeaderTest, ClearInfoLeavesTheNumbersAlone) {
  Mailbox<TPOP3> mailbox({"Subject: x\n\n"});
  mailbox.client.GetFirst();
  mailbox.client.ClearInfo();
  EXPECT_EQ(mailbox.client.CurrentMessage(), 1);
  EXPECT_EQ(mailbox.client.MessageCount(), 1);
}

}  // namespace
