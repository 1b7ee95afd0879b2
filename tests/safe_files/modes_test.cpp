// With what modes files and directories are made. What is published follows the umask; what holds
// passwords, addresses or where the board has its servers is its owner's alone under every umask.
#include "delivery_fixture.h"
#include "shared/fat_journal.h"
#include "shared/htmltask.h"
#include "shared/page_store.h"
#include "site_scan.h"
#include "support/posix/outside.h"
#include "support/posix/umask.h"

namespace test {
namespace {

namespace fs = std::filesystem;

class PageModes : public HtmlBoard {};

TEST_F(PageModes, PagesAndCopiesFollowTheUmask) {
  Template("index.htm", "<img src=\"pic.gif\">");
  Template("pic.gif", "a picture");
  Set("HTML File - Forum list", "index");
  for (const unsigned mask : kUmasks) {
    fs::remove(SitePath("index.htm"));
    fs::remove(SitePath("pic.gif"));
    state_->Number("Last Site Update Time", DWORD{0});
    const Umask umask(mask);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(ModeOf(SitePath("index.htm")), PublishedMode(mask));
    EXPECT_EQ(ModeOf(SitePath("pic.gif")), PublishedMode(mask));
  }
}

TEST_F(PageModes, UnfinishedPagesAreInADirectoryForTheOwnerAlone) {
  Template("pic.gif", "a picture");
  for (const unsigned mask : kUmasks) {
    const Umask umask(mask);
    brevant::TPageStore store(SitePath(""));
    EXPECT_EQ(store.Copy(root_ / "Templates/pic.gif", "pic.gif"),
              brevant::TPageStore::TCopied::kDone);
    EXPECT_EQ(ModeOf(SitePath("~brevant.tmp")), "700");
  }
}

class BoardModes : public RetrievalFixture {};

TEST_F(BoardModes, BoardFilesAndTheirJournalsAreTheOwnersAlone) {
  for (const unsigned mask : kUmasks) {
    const Umask umask(mask);
    const std::string name = "Forum " + std::to_string(mask);
    TForum forum;
    ASSERT_NE(forum.Open(name.c_str(), data_.c_str(), 2, 4096, 16), 0);
    forum.String("Description", "x");
    EXPECT_EQ(forum.Storage().Commit(), 1);
    EXPECT_EQ(ModeOf(data_ + name + ".mwd"), "600");
    EXPECT_EQ(ModeOf(data_ + name + ".mwd.jnl"), "600");
  }
}

TEST_F(BoardModes, ABoardFileKeepsTheModeThatItsOwnerGaveIt) {
  for (const bool anew : {false, true}) {
    const std::string path = data_ + "Shared.mwd";
    CloseForum(anew ? CreateForum("Shared", data_.c_str()) : CreateForum("Shared", data_.c_str()));
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read |
                              fs::perms::group_write);
    TForum* forum = OpenForum("Shared", data_.c_str());
    forum->String("Description", "x");
    CloseForum(forum);
    EXPECT_EQ(ModeOf(path), "660");
  }
}

TEST_F(BoardModes, SettingsStateAndLogAreTheOwnersAlone) {
  for (const unsigned mask : kUmasks) {
    const Umask umask(mask);
    const std::string number = std::to_string(mask);
    TSetup* setup = OpenSetup((number + ".ini").c_str());
    setup->String("POP3 Password", "secret");
    EXPECT_EQ(ModeOf(directory_ / (number + ".ini")), "600");
    // A value of another length makes a new file.
    setup->String("POP3 Password", "another secret");
    EXPECT_EQ(ModeOf(directory_ / (number + ".ini")), "600");
    CloseSetup(setup);
    TPersistentState* state = OpenPersistentState((number + ".sta").c_str());
    state->Number("Last Site Update Time", DWORD{1});
    EXPECT_EQ(ModeOf(directory_ / (number + ".sta")), "600");
    ClosePersistentState(state);
    fs::remove(directory_ / "error.log");
    LogError("Cannot do this");
    EXPECT_EQ(ModeOf(directory_ / "error.log"), "600");
  }
}

TEST_F(BoardModes, SettingsKeepTheModeThatTheirOwnerGaveThem) {
  const std::string path = directory_ / "shared.ini";
  TSetup* setup = OpenSetup("shared.ini");
  setup->String("BBS Name", "x");
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
  setup->String("BBS Name", "a longer name");
  EXPECT_EQ(ModeOf(path), "640");
  CloseSetup(setup);
}

TEST_F(BoardModes, AttachmentsFollowTheUmask) {
  TForum* forum = CreateForum("General", data_.c_str());
  ASSERT_NE(forum, nullptr);
  CloseForum(forum);
  setup_->Number("Allow attachment - forum", DWORD{1});
  setup_->Number("Standard POP3 Mode", DWORD{1});
  for (const unsigned mask : kUmasks) {
    fs::remove_all(site_);
    fs::create_directory(site_);
    // One that passes through "temp.gif", and one that does not.
    Serve(
        {"From: a@b\nTo: \"[My_Board:General]\" <x@y>\nSubject: files\nContent-Type: "
         "multipart/mixed; boundary=edge\n\n--edge\nContent-Type: image/png; name=\"a.png\"\n"
         "Content-Disposition: attachment; filename=\"a.png\"\n\npixels\n--edge\nContent-Type: "
         "text/csv; name=\"a.csv\"\nContent-Disposition: attachment; filename=\"a.csv\"\n\nx\n"
         "--edge--\n"});
    const Umask umask(mask);
    EXPECT_EQ(Run(), 1) << History();
    EXPECT_EQ(SiteFiles().size(), 2U);
    for (const std::string& name : SiteFiles()) {
      EXPECT_EQ(ModeOf(site_ + name), PublishedMode(mask)) << name;
    }
    server_.reset();
  }
}

class DeliveryModes : public Delivery {};

TEST_F(DeliveryModes, TheTableAndItsJournalAreTheOwnersAlone) {
  for (const unsigned mask : kUmasks) {
    const Umask umask(mask);
    fs::remove(TablePath());
    Serve();
    Local("index.htm", "x");
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(ModeOf(TablePath()), "600");
    server_.reset();
    fs::remove(TablePath() + ".jnl");
    brevant::TFatJournal journal(TablePath());
    EXPECT_TRUE(journal.Clear());
    EXPECT_EQ(ModeOf(TablePath() + ".jnl"), "600");
    EXPECT_TRUE(journal.Delete());
  }
}

}  // namespace
}  // namespace test
