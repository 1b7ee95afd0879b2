// Hostile names of attached files, from the mailbox to the page.
#include "board_reading.h"
#include "hostile_names.h"
#include "retrieval_fixture.h"
#include "shared/attachment_name.h"
#include "shared/task_makers.h"

#include <filesystem>
#include <map>
#include <set>

namespace {

namespace fs = std::filesystem;

class MailAttachments : public test::RetrievalFixture {
 protected:
  void SetUp() override {
    RetrievalFixture::SetUp();
    ASSERT_TRUE(test::MakeForum("General", data_));
    setup_->Number("Allow attachment - forum", 1);
    setup_->Number("Standard POP3 Mode", 1);
    Set("HTML Template Directory", directory_ / "templates/");
    Set("HTML File - Forum list", "list");
    fs::create_directory(directory_ / "templates");
    test::WriteFileBytes(directory_ / "templates/list.htm",
                         "<ul><li><a href=\"$FORUM_FILENAME(forum)$\">$FORUM_NAME$</a></li></ul>");
    test::WriteFileBytes(directory_ / "templates/forum.htm",
                         "<ul><li><a href=\"$MESSAGE_FILENAME(item)$\">x</a></li></ul>");
    test::WriteFileBytes(directory_ / "templates/item.htm",
                         "<div>$MESSAGE_CONTENT(Attachment)$</div>");
    // What a hostile name might reach.
    for (const char* name :
         {"index.htm", "passwd", "file", "x", "a.txt", "image.gif", ".htaccess"}) {
      test::WriteFileBytes(site_ + name, "the owner's");
    }
  }

  // Every byte percent-encoded, as a header parameter can carry any name.
  static std::string Encoded(const std::string& name) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : name) {
      const auto byte = static_cast<unsigned char>(c);
      encoded += {'%', kDigits[byte / 16], kDigits[byte % 16]};
    }
    return encoded;
  }

  // A mail with a file under every hostile name, each with a content of its own.
  static std::string MailWithAll(const std::string& textType, const std::string& fileType) {
    std::string mail =
        "From: a@b\nTo: \"[My_Board:General]\" <x@y>\nSubject: files\nContent-Type: "
        "multipart/mixed; boundary=edge\n\n--edge\nContent-Type: " +
        textType + "\n\nThe text.\n";
    int number = 0;
    for (const std::string& name : test::kHostileNames) {
      mail += "--edge\nContent-Type: " + fileType +
              "\nContent-Disposition: attachment; filename*=utf-8''" +
              Encoded(name.substr(0, 300)) + "\n\ncontent " + std::to_string(number++) + "\n";
    }
    return mail + "--edge--\n";
  }

  // Everything below the test's directory, except what the site holds directly.
  std::vector<std::string> Elsewhere() const {
    std::vector<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(directory_.Path())) {
      const std::string parent = entry.path().parent_path().generic_string();
      const bool inSite = parent + "/" == fs::path(site_).generic_string();
      const std::string extension = entry.path().extension().string();
      if (!inSite && extension != ".ini" && extension != ".log") {
        paths.push_back(entry.path().string());
      }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
  }

  void CheckKept(const test::Item& item, std::size_t fewest) {
    EXPECT_GE(item.attachments.size(), fewest);
    std::map<std::string, int> contents;
    for (const auto& [stored, shown] : item.attachments) {
      SCOPED_TRACE(stored);
      EXPECT_EQ(stored.find_first_of("/\\:"), std::string::npos);
      EXPECT_FALSE(brevant::IsForbiddenAttachment(stored));
      EXPECT_LE(stored.size(), 64u);
      const std::string bytes = test::ReadFileBytes(site_ + stored);
      EXPECT_TRUE(bytes.starts_with("content ")) << bytes;
      EXPECT_EQ(++contents[bytes], 1) << "no file took another one's place";
    }
    for (const char* name :
         {"index.htm", "passwd", "file", "x", "a.txt", "image.gif", ".htaccess"}) {
      EXPECT_EQ(test::ReadFileBytes(site_ + name), "the owner's") << name;
    }
    for (const std::string& name : SiteFiles()) {
      EXPECT_FALSE(brevant::IsForbiddenAttachment(name)) << name;
    }
    EXPECT_EQ(SiteFiles().size(), item.attachments.size() + 7);
  }

  // The values of an attribute on all pages of the site.
  std::vector<std::string> Values(const std::string& attribute) const {
    std::vector<std::string> values;
    for (const std::string& name : SiteFiles()) {
      if (!name.ends_with(".htm") || !name.starts_with("item--")) continue;
      const std::string page = test::ReadFileBytes(site_ + name);
      const std::string start = attribute + "=\"";
      for (std::size_t at = page.find(start); at != std::string::npos; at = page.find(start, at)) {
        at += start.size();
        values.push_back(page.substr(at, page.find('"', at) - at));
      }
    }
    return values;
  }

  static int MakePages(TSetup* setup, TPersistentState* state) {
    const std::unique_ptr<TTask> task(brevant::MakeHtmlTask(setup, state));
    return task->Execute();
  }
};

TEST_F(MailAttachments, HostileNamesStayInTheDirectoryAndOverwriteNothing) {
  const auto before = Elsewhere();
  Serve({MailWithAll("text/plain", "application/octet-stream")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Elsewhere(), before);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  CheckKept(items[0], 60);
}

TEST_F(MailAttachments, HostileNamesStaySafeWhereTextsAreDecoded) {
  setup_->Number("Decode Mail Text", 1);
  const auto before = Elsewhere();
  Serve({MailWithAll("text/html", "image/gif")});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Elsewhere(), before);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  CheckKept(items[0], 60);
}

TEST_F(MailAttachments, WithSafeHtmlNoKeptFileIsOneThatIsRun) {
  setup_->Number("Safe HTML", 1);
  Serve(
      {"From: a@b\nTo: \"[My_Board:General]\" <x@y>\nSubject: files\nContent-Type: "
       "multipart/mixed; boundary=edge\n\n--edge\nContent-Type: application/octet-stream; "
       "name=evil.html\n\n<script>alert(1)</script>\n--edge\nContent-Type: "
       "application/octet-stream; name=shell.php.png\n\n<?php\n--edge--\n"});
  EXPECT_EQ(Run(), 1);
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(site_)) {
    const std::string name = entry.path().filename().string();
    if (name.size() > 4) names.insert(name.substr(4));
  }
  EXPECT_EQ(names.count("evil_html.bin"), 1U);
  EXPECT_EQ(names.count("shell_php.png"), 1U);
}

TEST_F(MailAttachments, EveryKeptFileIsReachedThroughTheLinkOnItsPage) {
  Serve({MailWithAll("text/plain", "application/octet-stream")});
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  ASSERT_EQ(MakePages(setup_, state_), 1) << History();
  std::vector<std::string> stored;
  for (const auto& [name, shown] : items[0].attachments) stored.push_back(name);
  EXPECT_EQ(Values("href"), stored);
}

TEST_F(MailAttachments, EveryKeptImageIsShownOnItsPage) {
  Serve({MailWithAll("text/html", "image/png")});
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  ASSERT_EQ(MakePages(setup_, state_), 1) << History();
  std::vector<std::string> images;
  std::vector<std::string> stored;
  for (const auto& [name, shown] : items[0].attachments) {
    stored.push_back(name);
    if (brevant::IsImageName(name)) images.push_back(name);
  }
  EXPECT_GE(images.size(), 10u);
  EXPECT_EQ(Values("src"), images);
  EXPECT_EQ(Values("href"), stored);
}

}  // namespace
