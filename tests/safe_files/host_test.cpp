// What the host makes: modes, and links in the places of its files.
#include "host_fixture.h"
#include "support/posix/outside.h"
#include "support/posix/umask.h"

using namespace host_test;
using test::ModeOf;

namespace {

class HostFiles : public Host {
 protected:
  void MakeLink(const std::string& name, const std::string& target) const {
    test::MakeLink(InBoard(name), target);
  }

  test::Outside outside_;
};

TEST_F(HostFiles, ABoardsPrivateFilesAreItsOwnersAlone) {
  for (const unsigned mask : test::kUmasks) {
    const test::Umask umask(mask);
    fs::remove_all(Board());
    fs::remove_all(directory_ / "templates");
    InitWithForum();
    ASSERT_EQ(RunHost({"run", Board(), "html"}).exitCode, 0);
    for (const char* name : {"brevant.ini", "brevant.lock", "Data/General Talk.mwd"}) {
      EXPECT_EQ(ModeOf(InBoard(name)), "600") << name << " " << mask;
    }
    for (const auto& entry : fs::directory_iterator(Board())) {
      // The persistent state, too, whatever it is called; pieces of templates are public.
      if (entry.is_regular_file() && entry.path().extension() != ".htf") {
        EXPECT_EQ(ModeOf(entry.path().string()), "600") << entry.path();
      }
    }
    EXPECT_EQ(ModeOf(InBoard("Data")), "700");
    EXPECT_EQ(ModeOf(InBoard("Site/index.htm")), test::PublishedMode(mask));
    EXPECT_EQ(ModeOf(InBoard("Templates/index.htm")), test::PublishedMode(mask));
  }
}

// Whose settings stand in a link is for the operator to say; a password is not written elsewhere.
TEST_F(HostFiles, APasswordIsNotWrittenThroughALink) {
  Init();
  fs::rename(InBoard("brevant.ini"), outside_.Path("brevant.ini"));
  outside_.Remember();
  MakeLink("brevant.ini", outside_.Path("brevant.ini"));
  const test::ProgramResult set =
      RunHost({"config", Board(), "set", "POP3 Password", "-"}, "secret\n");
  EXPECT_NE(set.exitCode, 0);
  EXPECT_THAT(set.output, HasSubstr("Cannot write"));
  outside_.ExpectUntouched();
}

TEST_F(HostFiles, TheLockIsNotMadeThroughALink) {
  Init();
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    MakeLink("brevant.lock", target);
    const test::ProgramResult run = RunHost({"run", Board(), "html"});
    EXPECT_NE(run.exitCode, 0);
    EXPECT_THAT(run.output, HasSubstr("brevant.lock"));
    outside_.ExpectUntouched();
  }
}

TEST_F(HostFiles, InitMakesNothingThroughALink) {
  Init();
  MakeLink("Templates/index.htm", outside_.Nothing());
  const test::ProgramResult again =
      RunHost({"init", Board(), "--templates", directory_ / "templates"});
  EXPECT_NE(again.exitCode, 0);
  EXPECT_THAT(again.output, HasSubstr("index.htm"));
  outside_.ExpectUntouched();
}

TEST_F(HostFiles, InitMakesNoSettingsWhereALinkLeads) {
  fs::create_directory(Board());
  MakeLink("brevant.ini", outside_.Nothing());
  EXPECT_NE(RunHost({"init", Board()}).exitCode, 0);
  outside_.ExpectUntouched();
}

}  // namespace
