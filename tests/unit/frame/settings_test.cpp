#include "board_fixture.h"
#include "platform/win32.h"

#include <cstring>
#include <limits>
#include <string>

namespace {

class Settings : public test::ProgramDirectoryTest {
 protected:
  ~Settings() override { CloseSetup(setup_); }
  TSetup& Open() {
    CloseSetup(setup_);
    setup_ = OpenSetup("settings.ini");
    return *setup_;
  }
  TSetup& OpenWith(const std::string& lines) {
    WriteSettings(lines);
    return Open();
  }
  std::string Line(const std::string& key) {
    const std::string bytes = Bytes("settings.ini");
    const std::size_t at = bytes.find("\r\n" + key + "=");
    if (at == std::string::npos) return "(none)";
    const std::size_t value = at + 3 + key.size();
    return bytes.substr(value, bytes.find("\r\n", value) - value);
  }

  TSetup* setup_ = nullptr;
};

TEST_F(Settings, TextOfTheFile) {
  EXPECT_STREQ(OpenWith("POP3 Server=mail.example\r\n").String("POP3 Server"), "mail.example");
}

TEST_F(Settings, KeysIgnoreLetterCase) {
  TSetup& setup = OpenWith("pop3 SERVER=mail.example\r\n");
  EXPECT_STREQ(setup.String("POP3 Server"), "mail.example");
  EXPECT_EQ(setup.String("POP3 Server"), setup.String("Pop3 sERVER"));
}

TEST_F(Settings, OnlyTheSectionTavernixCounts) {
  test::WriteFileBytes(File("settings.ini"), "[Other]\r\nPOP3 Server=x\r\n[TAVERNIX]\r\nA=1\r\n");
  EXPECT_STREQ(Open().String("POP3 Server"), "");
  EXPECT_EQ(setup_->Number("A"), 1U);
}

TEST_F(Settings, MissingFileReadsAsEmptyAndIsNotMade) {
  EXPECT_STREQ(Open().String("POP3 Server"), "");
  EXPECT_EQ(setup_->Number("Save Voter Address"), 0U);
  EXPECT_FALSE(test::FileExists(File("settings.ini")));
}

TEST_F(Settings, FirstWriteMakesTheFile) {
  EXPECT_NE(Open().String("BBS Name", "Tavern"), 0);
  EXPECT_EQ(Bytes("settings.ini"), "[Tavernix]\r\nBBS Name=Tavern\r\n");
}

TEST_F(Settings, ValueReadOnceStaysCached) {
  EXPECT_STREQ(OpenWith("A=1\r\n").String("A"), "1");
  WriteSettings("A=other\r\n");
  EXPECT_STREQ(setup_->String("A"), "1");
  EXPECT_STREQ(Open().String("A"), "other");
}

TEST_F(Settings, EmptyValueBehavesAsMissingAndIsNotCached) {
  EXPECT_STREQ(OpenWith("BBS Name=\r\n").String("BBS Name"), "Tavernix");
  WriteSettings("BBS Name=Inn\r\n");
  EXPECT_STREQ(setup_->String("BBS Name"), "Inn");
}

TEST_F(Settings, ValueIsCutAt255Bytes) {
  EXPECT_EQ(std::strlen(OpenWith("A=" + std::string(300, 'x') + "\r\n").String("A")), 255U);
}

TEST_F(Settings, WrittenValueIsCachedInFull) {
  const std::string value(300, 'x');
  EXPECT_NE(Open().String("A", value.c_str()), 0);
  EXPECT_EQ(setup_->String("A"), value);
  EXPECT_EQ(Line("A"), value);
}

TEST_F(Settings, ReturnedTextStaysWhileOtherKeysCome) {
  TSetup& setup = OpenWith("A=stays\r\n");
  const char* text = setup.String("A");
  for (int i = 0; i < 1000; ++i) setup.SetString(("Key" + std::to_string(i)).c_str(), "v");
  EXPECT_STREQ(text, "stays");
  EXPECT_EQ(setup.String("A"), text);
}

TEST_F(Settings, OwnTextMayBeWrittenBack) {
  TSetup& setup = OpenWith("A=value of some length, more than fits in place\r\n");
  EXPECT_NE(setup.String("A", setup.String("A")), 0);
  EXPECT_STREQ(setup.String("A"), "value of some length, more than fits in place");
}

TEST_F(Settings, SetStringChangesTheCacheOnly) {
  TSetup& setup = OpenWith("A=file\r\n");
  EXPECT_EQ(setup.SetString("A", "cache"), 0);
  EXPECT_EQ(setup.SetString("B", "second"), 1);
  EXPECT_EQ(setup.SetString("a", "again"), 0);
  EXPECT_STREQ(setup.String("A"), "again");
  EXPECT_EQ(Line("A"), "file");
}

TEST_F(Settings, SetNumberChangesTheCacheOnly) {
  TSetup& setup = OpenWith("A=5\r\n");
  EXPECT_EQ(setup.SetNumber("A", 7), 0);
  EXPECT_EQ(setup.SetNumber("B", 8), 1);
  EXPECT_EQ(setup.Number("a"), 7U);
  EXPECT_EQ(Line("A"), "5");
}

TEST_F(Settings, TextAndNumberCachesAreSeparate) {
  TSetup& setup = OpenWith("A=12 apples\r\n");
  EXPECT_EQ(setup.Number("A"), 12U);
  EXPECT_STREQ(setup.String("A"), "12 apples");
}

TEST_F(Settings, NullAndEmptyArgumentsAreHarmless) {
  TSetup& setup = Open();
  EXPECT_STREQ(setup.String(nullptr), "");
  EXPECT_EQ(setup.Number(nullptr), 0U);
  EXPECT_NE(setup.String("A", static_cast<const char*>(nullptr)), 0);
  EXPECT_STREQ(setup.String("A"), "");
}

// Numbers.

TEST_F(Settings, NumberSkipsBlanksTakesSignAndStopsAtLetters) {
  EXPECT_EQ(OpenWith("A=\" -12abc\"\r\n").Number("A"), static_cast<DWORD>(-12));
  EXPECT_EQ(setup_->Integer("A"), -12);
}

TEST_F(Settings, NumberOfTextWithoutDigitsIsZero) {
  EXPECT_EQ(OpenWith("A=none\r\nB=+\r\n").Number("A"), 0U);
  EXPECT_EQ(setup_->Number("B"), 0U);
}

TEST_F(Settings, NumbersWrapAt32Bits) {
  EXPECT_EQ(OpenWith("A=99999999999\r\n").Number("A"), 1215752191U);
}

TEST_F(Settings, NumberReadsAtMost32Bytes) {
  EXPECT_EQ(OpenWith("A=" + std::string(30, '0') + "1234\r\n").Number("A"), 12U);
}

TEST_F(Settings, NumberIsWrittenUnsigned) {
  EXPECT_NE(Open().Integer("A", -1), 0);
  EXPECT_EQ(Line("A"), "4294967295");
  EXPECT_EQ(Open().Integer("A"), -1);
}

TEST_F(Settings, NumberReadStaysCached) {
  EXPECT_EQ(OpenWith("A=1\r\n").Number("A"), 1U);
  WriteSettings("A=2\r\n");
  EXPECT_EQ(setup_->Number("A"), 1U);
}

TEST_F(Settings, MissingNumberIsNotCached) {
  EXPECT_EQ(Open().Number("A"), 0U);
  WriteSettings("A=2\r\n");
  EXPECT_EQ(setup_->Number("A"), 2U);
}

// Directories.

TEST_F(Settings, DirectoryWithBackslashesGainsOne) {
  EXPECT_STREQ(OpenWith("Data Directory=C:\\board\\data\r\n").String("Data Directory"),
               "C:\\board\\data\\");
}

TEST_F(Settings, DirectoryWithASlashAnywhereGainsASlash) {
  EXPECT_STREQ(OpenWith("Local Directory=C:\\board/site\r\n").String("Local Directory"),
               "C:\\board/site/");
}

TEST_F(Settings, DirectoryWithoutSeparatorsGainsABackslash) {
  EXPECT_STREQ(OpenWith("Remote Directory=www\r\n").String("Remote Directory"), "www\\");
}

TEST_F(Settings, DirectoryThatEndsInEitherSeparatorIsUnchanged) {
  EXPECT_STREQ(OpenWith("A Directory=a\\\r\nB Directory=a\\b/\r\n").String("A Directory"), "a\\");
  EXPECT_STREQ(setup_->String("B Directory"), "a\\b/");
}

TEST_F(Settings, DirectoryOfAnyWordOfTheKey) {
  TSetup& setup = OpenWith("");
  setup.SetString("directoryname of x", "a");
  setup.SetString("the DIRECTORY", "a");
  setup.SetString("mydirectory", "a");
  EXPECT_STREQ(setup.String("directoryname of x"), "a\\");
  EXPECT_STREQ(setup.String("the DIRECTORY"), "a\\");
  EXPECT_STREQ(setup.String("mydirectory"), "a");
}

TEST_F(Settings, EmptyDirectoryStaysEmpty) {
  EXPECT_GE(Open().SetString("Data Directory", ""), 0);
  EXPECT_STREQ(setup_->String("Data Directory"), "");
}

TEST_F(Settings, WrittenDirectoryKeepsItsSpellingInTheFile) {
  EXPECT_NE(Open().String("Data Directory", "/srv/board"), 0);
  EXPECT_EQ(Line("Data Directory"), "/srv/board");
  EXPECT_STREQ(setup_->String("Data Directory"), "/srv/board/");
  EXPECT_STREQ(Open().String("Data Directory"), "/srv/board/");
}

// Passwords.

TEST_F(Settings, PasswordIsStoredScrambled) {
  EXPECT_NE(Open().String("POP3 Password", "abc"), 0);
  EXPECT_EQ(Line("POP3 Password"), "ace");
  EXPECT_STREQ(setup_->String("POP3 Password"), "abc");
  EXPECT_STREQ(Open().String("POP3 Password"), "abc");
}

TEST_F(Settings, PasswordOfAnyWordOfTheKey) {
  TSetup& setup = Open();
  setup.String("The Passwords of all", "aaa");
  setup.String("password", "aaa");
  setup.String("mypassword", "aaa");
  EXPECT_EQ(Line("The Passwords of all"), "abc");
  EXPECT_EQ(Line("password"), "abc");
  EXPECT_EQ(Line("mypassword"), "aaa");
}

TEST_F(Settings, SetStringOfAPasswordIsPlain) {
  TSetup& setup = Open();
  setup.SetString("FTP Password", "abc");
  EXPECT_STREQ(setup.String("FTP Password"), "abc");
}

TEST_F(Settings, PasswordWhoseScrambledByteIsZeroEndsThere) {
  // The second byte, 0xFF, becomes zero.
  EXPECT_NE(Open().String("FTP Password",
                          "a\xFF"
                          "bc"),
            0);
  EXPECT_EQ(Line("FTP Password"), "a");
  EXPECT_STREQ(setup_->String("FTP Password"),
               "a\xFF"
               "bc");
  EXPECT_STREQ(Open().String("FTP Password"), "a");
}

TEST_F(Settings, PasswordBytesWrapModulo256) {
  EXPECT_NE(Open().String("FTP Password",
                          "abc\xFE"
                          "d"),
            0);
  EXPECT_EQ(Line("FTP Password"),
            "ace\x01"
            "h");
  EXPECT_STREQ(Open().String("FTP Password"),
               "abc\xFE"
               "d");
}

// Defaults.

TEST_F(Settings, BoardNameDefaultsToTavernix) {
  EXPECT_STREQ(Open().String("BBS Name"), "Tavernix");
  EXPECT_STREQ(setup_->String("bbs SHORT name"), "Tavernix");
}

TEST_F(Settings, ShortNameDefaultsToTheName) {
  EXPECT_STREQ(OpenWith("BBS Name=Inn\r\n").String("BBS Short Name"), "Inn");
}

TEST_F(Settings, ShortNameOfItsOwn) {
  EXPECT_STREQ(OpenWith("BBS Name=Inn\r\nBBS Short Name=I\r\n").String("BBS Short Name"), "I");
}

TEST_F(Settings, AddressDefaultsToAccountAtServer) {
  EXPECT_STREQ(
      OpenWith("POP3 Account=board\r\nPOP3 Server=mail.example\r\n").String("E-Mail Address"),
      "board@mail.example");
}

TEST_F(Settings, AddressWithNothingSetIsTheAtSign) {
  EXPECT_STREQ(Open().String("E-Mail Address"), "@");
}

TEST_F(Settings, AddressOfItsOwn) {
  EXPECT_STREQ(OpenWith("E-Mail Address=me@x\r\nPOP3 Account=b\r\n").String("E-Mail Address"),
               "me@x");
}

TEST_F(Settings, DefaultAddressIsNotCached) {
  EXPECT_STREQ(Open().String("E-Mail Address"), "@");
  setup_->SetString("POP3 Account", "b");
  EXPECT_STREQ(setup_->String("E-Mail Address"), "b@");
}

TEST_F(Settings, SmtpServerDefaultsToThePop3Server) {
  EXPECT_STREQ(OpenWith("POP3 Server=mail.example\r\n").String("SMTP Server"), "mail.example");
}

TEST_F(Settings, ProgramDirectoryIsADefault) {
  const std::string directory = Open().String("Program Directory");
  EXPECT_EQ(directory + "settings.ini", setup_->Path());
  WriteSettings("Program Directory=/elsewhere\r\n");
  EXPECT_STREQ(Open().String("Program Directory"), "/elsewhere/");
}

TEST_F(Settings, OtherKeysDefaultToEmptyAndZero) {
  EXPECT_STREQ(Open().DefaultString("anything"), "");
  EXPECT_EQ(setup_->DefaultNumber("anything"), 0U);
  EXPECT_STREQ(setup_->DefaultString("BBS Name"), "Tavernix");
}

// Dates and times.

TEST_F(Settings, DateUsesTheStatedOffset) {
  EXPECT_DOUBLE_EQ(OpenWith("A=0\r\n").Date("A"), 2209161578.0 / 86400);
  EXPECT_DOUBLE_EQ(OpenWith("A=86400\r\n").Date("A"), (2209161578.0 + 86400) / 86400);
}

TEST_F(Settings, DateRoundTripsAreExact) {
  TSetup& setup = Open();
  for (DWORD number = 0; number < 4'200'000'000U; number += 19'999'983U) {
    setup.SetNumber("A", static_cast<LONG>(number));
    ASSERT_NE(setup.Date("B", setup.Date("A")), 0);
    ASSERT_EQ(setup.Number("B"), number);
  }
}

TEST_F(Settings, DateBeyondAllNumbersIsHarmless) {
  TSetup& setup = Open();
  EXPECT_NE(setup.Date("A", 1e300), 0);
  EXPECT_NE(setup.Date("A", std::numeric_limits<double>::quiet_NaN()), 0);
  EXPECT_EQ(setup.Number("A"), 0U);
}

TEST_F(Settings, MissingTimeIsTheFirstSecondOf1970) {
  EXPECT_EQ(Open().Time("Last Site Update Time"), TTime(1970, 1, 1, 0, 0, 0));
}

TEST_F(Settings, TimeIsSecondsSince1970RoundedDown) {
  TTime time(2001, 2, 3, 4, 5, 6);
  const TTime withFraction = time + TTime::FromTicks(9'999'999);
  EXPECT_NE(Open().Time("A", withFraction), 0);
  EXPECT_EQ(Line("A"), "981173106");
  EXPECT_EQ(Open().Time("A"), time);
}

TEST_F(Settings, TimesBeyond2038AreUnsigned) {
  const TTime time(2100, 1, 1, 0, 0, 0);
  EXPECT_NE(Open().Time("A", time), 0);
  EXPECT_EQ(Open().Time("A"), time);
}

TEST_F(Settings, LastModifyTimeIsLocal) {
  TSetup& setup = OpenWith("A=1\r\n");
  const TTime now = TTime::Now();
  const TTime time = setup.LastModifyTime();
  EXPECT_LT((time > now ? time - now : now - time).Ticks(), 100'000'000U);
}

TEST_F(Settings, LastModifyTimeOfAMissingFileIsZero) {
  EXPECT_TRUE(Open().LastModifyTime().IsZero());
}

// The file.

TEST_F(Settings, NameIsAlwaysRelativeToTheProgramDirectory) {
  TSetup* setup = OpenSetup("sub/settings.ini");
  ASSERT_NE(setup, nullptr);
  EXPECT_EQ(std::string(setup->Path()),
            std::string(Open().String("Program Directory")) + "sub/settings.ini");
  CloseSetup(setup);
}

TEST_F(Settings, WriteToAFileThatCannotBeMadeFails) {
  TSetup* setup = OpenSetup("no such directory/settings.ini");
  EXPECT_EQ(setup->String("A", "1"), 0);
  EXPECT_EQ(setup->Number("B", DWORD{1}), 0);
  EXPECT_STREQ(setup->String("A"), "1");
  CloseSetup(setup);
}

TEST_F(Settings, LineEndsInAValueBecomeBlanks) {
  EXPECT_NE(Open().String("A", "one\r\nPOP3 Server=evil"), 0);
  EXPECT_EQ(Line("A"), "one  POP3 Server=evil");
  EXPECT_STREQ(Open().String("POP3 Server"), "");
}

TEST_F(Settings, Utf8PassesThrough) {
  EXPECT_NE(Open().String("BBS Name",
                          "Gr\xC3\xBC\xC3\x9F"
                          "e"),
            0);
  EXPECT_STREQ(Open().String("BBS Name"),
               "Gr\xC3\xBC\xC3\x9F"
               "e");
}

TEST_F(Settings, GarbageIsSurvived) {
  const char bytes[] = "\0\xFF[\r]=\n\n;[x\0]=y\x1A";
  std::string garbage(bytes, sizeof bytes - 1);
  for (int i = 0; i < 12; ++i) garbage += garbage;
  test::WriteFileBytes(File("settings.ini"), garbage);
  EXPECT_STREQ(Open().String("POP3 Server"), "");
  EXPECT_NE(setup_->String("POP3 Server", "x"), 0);
  EXPECT_STREQ(Open().String("POP3 Server"), "x");
}

#pragma GCC diagnostic push
// The base has no virtual destructor on purpose; this one lives on the stack.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class Overriding : public TSetup {
 public:
  Overriding() : TSetup("settings.ini") {}
  using TSetup::String;
  const char* DefaultString(const char* key) const override {
    return std::string(key) == "Own" ? "mine" : TSetup::DefaultString(key);
  }
};
#pragma GCC diagnostic pop

TEST_F(Settings, DerivedStoreIsAskedForDefaults) {
  const Overriding store;
  EXPECT_STREQ(store.String("Own"), "mine");
  EXPECT_STREQ(store.String("BBS Name"), "Tavernix");
}

TEST_F(Settings, ClosingNothingIsHarmless) { CloseSetup(nullptr); }

}  // namespace
