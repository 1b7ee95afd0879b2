// Symbolic links in the places of board files, journals, drafts, attachments, settings and the log.
#include "board_reading.h"
#include "retrieval_fixture.h"
#include "shared/attachment_store.h"
#include "support/posix/outside.h"

#include <cstdlib>

namespace test {
namespace {

namespace fs = std::filesystem;

class LinksInTheBoard : public RetrievalFixture {
 protected:
  void SetUp() override {
    RetrievalFixture::SetUp();
    setup_->Number("Standard POP3 Mode", DWORD{1});
  }
  // A forum in a directory of its own, its whole content remembered.
  void MakeForumOutside() {
    TForum* forum = CreateForum("General", outside_.Path("").c_str());
    ASSERT_NE(forum, nullptr);
    CloseForum(forum);
    outside_.Remember();
  }
  bool MakeForum(const char* name = "General") const {
    TForum* forum = CreateForum(name, data_.c_str());
    if (forum == nullptr) return false;
    CloseForum(forum);
    return true;
  }

  Outside outside_;
};

TEST_F(LinksInTheBoard, ABoardFileOutsideIsNotOpened) {
  MakeForumOutside();
  MakeLink(data_ + "General.mwd", outside_.Path("General.mwd"));
  TForum* forum = OpenForum("General", data_.c_str());
  EXPECT_EQ(forum, nullptr);
  forum = CreateForum("General", data_.c_str());
  EXPECT_EQ(forum, nullptr);
  outside_.ExpectUntouched();
}

TEST_F(LinksInTheBoard, MailForABoardFileOutsideStaysInTheMailbox) {
  MakeForumOutside();
  MakeLink(data_ + "General.mwd", outside_.Path("General.mwd"));
  setup_->Number("Keep Unsaved Mail", DWORD{1});
  Serve({Post("General", "hello")});
  Run();
  EXPECT_TRUE(HistoryHas("Cannot save message to [General]")) << History();
  EXPECT_EQ(Left(), 1U);
  outside_.ExpectUntouched();
}

TEST_F(LinksInTheBoard, NoBoardFileIsMadeWhereALinkLeads) {
  MakeLink(data_ + "General.mwd", outside_.Path("new.mwd"));
  EXPECT_FALSE(MakeForum());
  outside_.ExpectUntouched();
}

TEST_F(LinksInTheBoard, ABoardFileBesideItsLinkIsFollowed) {
  ASSERT_TRUE(MakeForum("Real"));
  MakeLink(data_ + "General.mwd", "Real.mwd");
  Serve({Post("General", "hello")});
  EXPECT_EQ(Run(), 1);
  EXPECT_TRUE(IsLink(data_ + "General.mwd"));
  TForum real;
  ASSERT_EQ(real.Open("Real", data_.c_str(), 2, 0, 16), 1);
  EXPECT_EQ(ItemsOf(real).size(), 1U);
}

TEST_F(LinksInTheBoard, DeletingAndRenamingTakeTheLinkItself) {
  MakeForumOutside();
  MakeLink(data_ + "General.mwd", outside_.Path("General.mwd"));
  EXPECT_EQ(RenameForum("General", "Other", data_.c_str()), 1);
  EXPECT_TRUE(IsLink(data_ + "Other.mwd"));
  EXPECT_EQ(DeleteForum("Other", data_.c_str()), 1);
  EXPECT_FALSE(IsLink(data_ + "Other.mwd"));
  outside_.ExpectUntouched();
}

TEST_F(LinksInTheBoard, JournalsAreNotWrittenThroughALink) {
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    fs::remove_all(data_ + "General.mwd");
    ASSERT_TRUE(MakeForum());
    MakeLink(data_ + "General.mwd.jnl", target);
    Serve({Post("General", "hello")});
    EXPECT_EQ(Run(), 1) << History();
    TForum forum;
    ASSERT_EQ(forum.Open("General", data_.c_str(), 2, 0, 16), 1);
    EXPECT_EQ(ItemsOf(forum).size(), 1U);
    outside_.ExpectUntouched();
  }
}

TEST_F(LinksInTheBoard, ADraftIsAlwaysANewFile) {
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    MakeLink(data_ + "General.mwd.new~", target);
    EXPECT_TRUE(MakeForum());
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(data_ + "General.mwd")));
    EXPECT_FALSE(IsLink(data_ + "General.mwd.new~"));
    fs::remove(data_ + "General.mwd");
    outside_.ExpectUntouched();
  }
  // Somebody else's file under that name, one with another name elsewhere, is not written either.
  fs::create_hard_link(outside_.Victim(), data_ + "General.mwd.new~");
  const std::string before = ReadFileBytes(outside_.Victim());
  EXPECT_TRUE(MakeForum());
  EXPECT_EQ(ReadFileBytes(outside_.Victim()), before);
}

TEST_F(LinksInTheBoard, AnAttachmentIsAlwaysANewFile) {
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    MakeLink(site_ + "x.txt", target);
    brevant::TNewFile file;
    EXPECT_FALSE(file.Create(site_ + "x.txt"));
    EXPECT_FALSE(brevant::MarkAttachment(site_ + "x.txt"));
    outside_.ExpectUntouched();
  }
}

TEST_F(LinksInTheBoard, PicturesPassThroughADirectoryThatNobodyCanForesee) {
  const TemporaryDirectory temporary;
  MakeLink(temporary / "temp.gif", outside_.Victim());
  ASSERT_EQ(::setenv("TMPDIR", temporary.Path().c_str(), 1), 0);
  std::string first;
  {
    brevant::TScratchFile one;
    brevant::TScratchFile two;
    ASSERT_TRUE(one.Create("temp.gif"));
    ASSERT_TRUE(two.Create("temp.gif"));
    EXPECT_NE(one.Directory(), two.Directory());
    EXPECT_EQ(fs::status(one.Directory()).permissions(), fs::perms::owner_all);
    EXPECT_TRUE(one.Write("x"));
  }
  ASSERT_TRUE(MakeForum());
  setup_->Number("Allow attachment - forum", DWORD{1});
  Serve(
      {"From: a@b\nTo: \"[My_Board:General]\" <x@y>\nSubject: picture\nContent-Type: "
       "multipart/mixed; boundary=edge\n\n--edge\nContent-Type: image/png; name=\"a.png\"\n"
       "Content-Disposition: attachment; filename=\"a.png\"\n\npixels\n--edge--\n"});
  EXPECT_EQ(Run(), 1) << History();
  ::unsetenv("TMPDIR");
  ASSERT_EQ(SiteFiles().size(), 1U);
  outside_.ExpectUntouched();
}

TEST_F(LinksInTheBoard, TheErrorLogIsNotWrittenThroughALink) {
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    MakeLink(directory_ / "error.log", target);
    EXPECT_EQ(LogError("Cannot do this"), 1);
    outside_.ExpectUntouched();
  }
  // Where it stays in its directory it is followed.
  fs::create_directory(directory_ / "log");
  WriteFileBytes(directory_ / "log/real", "");
  MakeLink(directory_ / "error.log", directory_ / "log/real");
  LogError("Cannot do that");
  EXPECT_NE(ReadFileBytes(directory_ / "log/real").find("Cannot do that"), std::string::npos);
}

TEST_F(LinksInTheBoard, SettingsAndStateAreNotWrittenThroughALink) {
  WriteFileBytes(outside_.Path("linked.ini"), "[Tavernix]\r\nBBS Name=Linked\r\n");
  outside_.Remember();
  for (const char* name : {"linked.ini", "nothing.ini"}) {
    MakeLink(directory_ / "other.ini", outside_.Path(name));
    TSetup* setup = OpenSetup("other.ini");
    // Reading is the operator's affair.
    EXPECT_STREQ(setup->String("BBS Name"),
                 name == std::string("linked.ini") ? "Linked" : "Tavernix");
    EXPECT_EQ(setup->String("POP3 Password", "secret"), 0);
    EXPECT_EQ(setup->String("BBS Name", "Nobody"), 0);
    CloseSetup(setup);
    TPersistentState* state = OpenPersistentState("other.ini");
    EXPECT_EQ(state->Number("Last Site Update Time", DWORD{7}), 0);
    ClosePersistentState(state);
    outside_.ExpectUntouched();
  }
}

TEST_F(LinksInTheBoard, ANewSettingsFileIsNotWrittenThroughALink) {
  for (const std::string& target : {outside_.Victim(), outside_.Nothing()}) {
    MakeLink(directory_ / "settings.ini.new~", target);
    EXPECT_NE(setup_->String("BBS Name", (target + " of another length").c_str()), 0);
    EXPECT_FALSE(IsLink(directory_ / "settings.ini"));
    outside_.ExpectUntouched();
  }
}

}  // namespace
}  // namespace test
