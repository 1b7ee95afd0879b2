// The settings and the persistent state as a host uses them.
#include "board_fixture.h"

using api_test::Board;

namespace {

class Settings : public Board {
 protected:
  std::string File() const { return test::ReadFileBytes(directory_ / "settings.ini"); }
};

TEST_F(Settings, ATextIsInTheFileWhenTheCallReturns) {
  EXPECT_NE(setup_->String("BBS Name", "My Board"), 0);
  EXPECT_STREQ(setup_->String("bbs name"), "My Board");
  EXPECT_NE(File().find("[Tavernix]"), std::string::npos);
  EXPECT_NE(File().find("BBS Name=My Board"), std::string::npos);
}

TEST_F(Settings, APasswordIsScrambledInTheFileAndPlainForTheHost) {
  setup_->String("POP3 Password", "abc");
  EXPECT_NE(File().find("POP3 Password=ace"), std::string::npos);
  EXPECT_EQ(File().find("abc"), std::string::npos);
  TSetup* other = OpenSetup("settings.ini");
  EXPECT_STREQ(other->String("POP3 Password"), "abc");
  CloseSetup(other);
}

TEST_F(Settings, DirectoriesGainASeparatorWhenRead) {
  setup_->String("Local Directory", "a/b");
  EXPECT_STREQ(setup_->String("Local Directory"), "a/b/");
  setup_->String("Remote Directory", "a\\b");
  EXPECT_STREQ(setup_->String("Remote Directory"), "a\\b\\");
  EXPECT_NE(File().find("Local Directory=a/b\r\n"), std::string::npos);
}

TEST_F(Settings, DefaultsFollowOtherSettings) {
  EXPECT_STREQ(setup_->String("BBS Short Name"), "Tavernix");
  EXPECT_STREQ(setup_->String("E-Mail Address"), "@");
  setup_->String("POP3 Account", "ann");
  setup_->String("POP3 Server", "mail.example.org");
  EXPECT_STREQ(setup_->String("E-Mail Address"), "ann@mail.example.org");
  EXPECT_STREQ(setup_->String("SMTP Server"), "mail.example.org");
}

TEST_F(Settings, TheProgramDirectoryIsTheOneThatWasSet) {
  std::string path = setup_->DefaultString("Program Directory");
  for (char& c : path) c = c == '\\' ? '/' : c;
  EXPECT_EQ(path, directory_.Path());
}

TEST_F(Settings, NumbersAndTimesReadBack) {
  setup_->Number("Count", 4294967295u);
  EXPECT_EQ(setup_->Number("Count"), 4294967295u);
  EXPECT_EQ(setup_->Integer("Count"), -1);
  TTime time(2000, 1, 5, 10, 30, 45);
  setup_->Time("Then", time);
  EXPECT_EQ(setup_->Time("Then").Ticks(), time.Ticks());
  TSetup* other = OpenSetup("settings.ini");
  EXPECT_EQ(other->Time("Then").Ticks(), time.Ticks());
  EXPECT_EQ(other->Time("Never").UnixSeconds(), 0);
  CloseSetup(other);
}

TEST_F(Settings, CachedValuesDoNotReachTheFile) {
  EXPECT_GE(setup_->SetString("Only Here", "x"), 0);
  EXPECT_STREQ(setup_->String("Only Here"), "x");
  EXPECT_EQ(File().find("Only Here"), std::string::npos);
}

TEST_F(Settings, LastModifyTimeIsTheFileTime) {
  setup_->String("BBS Name", "x");
  EXPECT_FALSE(setup_->LastModifyTime().IsZero());
}

TEST_F(Settings, ErrorAndResultAreFormattedIntoTheState) {
  EXPECT_NE(state_->Error("Cannot log onto %s", "mail.example.org"), 0);
  EXPECT_NE(state_->Result("%d new", 3), 0);
  std::string file = test::ReadFileBytes(directory_ / "state.ini");
  EXPECT_NE(file.find("Error=Cannot log onto mail.example.org"), std::string::npos);
  EXPECT_NE(file.find("Result=3 new"), std::string::npos);
}

TEST_F(Settings, ClosingANullStateIsIgnored) { ClosePersistentState(nullptr); }

}  // namespace
