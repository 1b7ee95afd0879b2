// A board with the servers that it needs for its whole round: mail in, mail out, pages, tidy-up,
// upload. They really hold what they are given.
#pragma once

#include "html_board.h"
#include "integration/site_check.h"
#include "net/waiting.h"
#include "shared/site_listing.h"
#include "support/ftp_server.h"
#include "support/pop3_server.h"
#include "support/smtp_server.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <set>

namespace test {

inline constexpr const char* kTasks[] = {"MAIL RETRIEVAL", "MAIL DISPATCH", "HTML",
                                         "FILE MANAGEMENT", "FILE DELIVERY"};
inline constexpr const char* kForums[] = {"General Talk", "Seed Swap", "A and B"};
inline constexpr const char* kReader = "reader@list.example";
inline constexpr int kKept = 6;  // messages of a forum

using Tree = std::map<std::string, std::string>;

inline Tree TreeOf(const std::filesystem::path& directory) {
  Tree tree;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    if (!entry.is_regular_file()) continue;
    tree[entry.path().lexically_relative(directory).generic_string()] =
        ReadFileBytes(entry.path().string());
  }
  return tree;
}

inline std::vector<std::string> NamesOf(const Tree& tree) {
  std::vector<std::string> names;
  for (const auto& [name, bytes] : tree) names.push_back(name);
  return names;
}

// Whether the standard library spells the names of files by the same bytes as the platform does.
inline bool SpellsBytes() {
  const TemporaryDirectory probe;
  const std::string name = "\xC3\xA4";
  const HANDLE file = CreateFileA((probe / name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  for (const auto& entry : std::filesystem::directory_iterator(probe.Path())) {
    return entry.path().filename().string() == name;
  }
  return false;
}

inline std::string Underlined(std::string name) {
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

// What the servers of one board are, and whether they and the tasks go by today's rules.
class FullCircle : public HtmlBoard {
 protected:
  void SetUp() override {
    brevant::ResetDeadline();
    for (const char* part : {"Server", "Server/home"})
      std::filesystem::create_directory(root_ / part);
    UseDefaultTemplates();
    for (const char* forum : kForums) MakeForum(forum, "About things", "B" + letter_ + " cher ");
    MakeContainer(brevant::TBoardKind::kLinkList, "Good Sites");
    MakeContainer(brevant::TBoardKind::kContributor, "Library");
    MakeContainer(brevant::TBoardKind::kQuestion, "Tea or coffee");
    for (const char* answer : {"Tea", "Coffee"}) {
      AddTo(brevant::TBoardKind::kQuestion, "Tea or coffee", {.subject = answer});
    }
    for (const char* forum : kForums) {
      const auto opened = OpenContainer(brevant::TBoardKind::kForum, forum);
      opened->Number("Max Message Count", kKept);
    }
    OwnersFile("robots.txt", "User-agent: *");
    OwnersFile("photos/My Photo.JPG", "jpeg");
    OwnersFile("photos/2026/b.jpg", "jpeg");
    Start(true);
  }
  void TearDown() override { StopServers(); }

  void UseDefaultTemplates() {
    for (const auto& entry : std::filesystem::directory_iterator(BREVANT_TEMPLATES)) {
      const bool part = entry.path().extension() == ".htf";
      std::filesystem::copy_file(
          entry.path(), root_ / ((part ? "" : "Templates/") + entry.path().filename().string()));
    }
    // Pictures whose names links cannot hold as they are.
    for (const char* name : {"my logo.gif", "100%.gif"}) Template(name, "GIF");
    Template("B" + letter_ + "r #1.gif", "GIF");
    std::string index = ReadFileBytes(root_ / "Templates/index.htm");
    index.insert(index.find("<header"),
                 "<img alt='' src='my logo.gif'><img alt='' src=\"B" + letter_ +
                     "r #1.gif\"><img alt='' src='100%.gif'><a href='photos/My%20Photo.JPG'>"
                     "me</a>");
    Template("index.htm", index);
    for (const auto& [key, value] :
         std::map<std::string, std::string>{{"Forum list", "index"},
                                            {"Message list", "messages"},
                                            {"Resource list", "links"},
                                            {"Question list", "questions"},
                                            {"Answer list", "answers"}}) {
      Set("HTML File - " + key, value);
    }
    Set("Allow attachment - forum", "1");
  }
  void OwnersFile(const std::string& name, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(SitePath(name)).parent_path());
    WriteFileBytes(SitePath(name), bytes);
  }

  // Starts the servers. today: as the settings of a new board and as servers of today have it.
  void Start(bool today) {
    for (const char* extra :
         {"Standard POP3 Mode", "Standard SMTP Mode", "Standard FTP Mode", "Decode Mail Text",
          "Safe HTML", "Keep Unsaved Mail", "Deliver Every Folder", "Keep File Name Case",
          "Passive FTP Data Mode"}) {
      Set(extra, today ? "1" : "0");
    }
    Pop3Options mailbox;
    mailbox.emptyLineBeforeDot = !today;
    mailbox_ = std::make_unique<Pop3Server>(std::vector<std::string>(), mailbox);
    SmtpOptions relay;
    relay.strictPaths = today;
    smtp_ = std::make_unique<SmtpServer>(relay);
    FtpOptions web;
    web.home = "home";
    ftp_ = std::make_unique<FtpServer>(root_ / "Server", web);
    for (const auto& [name, port] : std::map<std::string, WORD>{
             {"POP3", mailbox_->Port()}, {"SMTP", smtp_->Port()}, {"FTP", ftp_->Port()}}) {
      Set(name + " Server", "127.0.0.1");
      setup_->Number((name + " Port").c_str(), port);
      Set(name + " Account", "board");
      Set(name + " Password", "secret");
    }
    Set("Remote Directory", "public html");
  }
  void StopServers() {
    mailbox_.reset();
    smtp_.reset();
    ftp_.reset();
  }

  // --- Mail --------------------------------------------------------------------------------------
  std::string Head(const std::string& to, const std::string& subject) {
    return "From: \"Ann Lee\" <ann@example.org>\nTo: \"[My_Board:" + Underlined(to) +
           "]\" <board@example.org>\nSubject: " + subject +
           "\nDate: Mon, 2 Nov 2026 09:12:40 +0000\nMIME-Version: 1.0\n";
  }
  // A post of one of several forms; its subject, which is like no other.
  std::string NewPost(const std::string& forum) {
    const std::string subject = "post " + std::to_string(++posts_);
    std::string tag = forum;
    if (Below(3) == 0) tag += ":" + std::to_string(1 + Below(12));
    std::string mail = Head(tag, subject);
    switch (Below(4)) {
      case 0:
        mail +=
            "Content-Type: text/plain; charset=\"utf-8\"\n\nGr\xC3\xBC\xC3\x9F"
            "e & <b>\n";
        break;
      case 1:
        mail += "Content-Type: text/html\n\n<p>see <a href=\"http://example.org/\">here</a></p>\n";
        break;
      case 2:
        mail +=
            "Content-Type: multipart/mixed; boundary=\"xx\"\n\n--xx\nContent-Type: "
            "text/plain\n\nwith a file\n\n--xx\nContent-Type: application/octet-stream; "
            "name=\"Meine Datei " +
            std::to_string(posts_) +
            ".pdf\"\nContent-Transfer-Encoding: base64\n\nUERG\n\n--xx--\n";
        break;
      default:
        mail +=
            "Content-Type: multipart/related; boundary=\"yy\"\n\n--yy\nContent-Type: "
            "text/html\n\n<p><img src=\"cid:pic\" alt=\"x\"></p>\n\n--yy\nContent-Type: "
            "image/gif; name=\"Pic.gif\"\nContent-ID: <pic>\nContent-Transfer-Encoding: "
            "base64\n\nR0lGODlh\n\n--yy--\n";
    }
    mailbox_->Add(mail);
    return subject;
  }
  void NewMail() {
    NewPost(kForums[2]);  // without a change no task would look at what the owner did
    for (const char* forum : kForums) {
      for (unsigned i = Below(4); i > 0; --i) {
        const std::string subject = NewPost(forum);
        if (forum != kForums[2]) subscribed_.insert(subject);
      }
    }
    if (Below(2) == 0) {
      mailbox_->Add(Head("Good Sites",
                         "Site " + std::to_string(Below(4)) + " at https://example.org/ is 3K") +
                    "\nAbout it.\n");
    }
    if (Below(2) == 0) {
      mailbox_->Add(Head("Survey", "Vote") + "Content-Type: text/plain\n\nTea or coffee=Tea\n");
    }
  }

  // --- Rounds ------------------------------------------------------------------------------------
  // Everything that a run compares times with becomes older than the run.
  void LetTimePass() {
    AgeSources();
    for (const char* time : {"Last Local Directory Scan Time", "Last Site Transfer Time"}) {
      // What was remembered stays remembered, an hour ago.
      if (state_->Number(time) != 0) state_->Number(time, state_->Number(time) - 3600);
    }
    for (const char* time : {"Last Site Update Time", "Last Mailing List Scan Time"}) {
      if (state_->Number(time) != 0) state_->Number(time, state_->Number(time) - 3600 - 60);
    }
  }
  void RunTasks() {
    history.clear();
    for (const char* name : kTasks) {
      TTask* task = CreateTask(name);
      ASSERT_NE(task, nullptr) << name;
      EXPECT_EQ(task->Execute(), 1) << name;
      DestroyTask(task);
    }
    for (const std::string& line : history) {
      EXPECT_EQ(line.find("Cannot"), std::string::npos) << line;
    }
  }

  // --- What must hold ----------------------------------------------------------------------------
  std::filesystem::path RemoteSite() const { return root_ / "Server/home/public html"; }

  // The files that a visitor gets to from the main pages.
  std::set<std::string> Reachable() const {
    std::set<std::string> reached;
    std::vector<std::string> waiting = {"index.htm", "messages.htm", "links.htm", "questions.htm",
                                        "answers.htm"};
    while (!waiting.empty()) {
      const std::string name = waiting.back();
      waiting.pop_back();
      if (!reached.insert(name).second || std::filesystem::path(name).extension() != ".htm")
        continue;
      for (const std::string& link : LocalLinks(Site(name))) waiting.push_back(link);
    }
    return reached;
  }
  void ExpectWhole() {
    EXPECT_TRUE(mailbox_->Messages().empty());
    EXPECT_EQ(DeadLinks(SitePath("")), std::vector<std::string>());
    EXPECT_EQ(DeadLinks(RemoteSite().generic_string() + "/"), std::vector<std::string>());
    const Tree local = TreeOf(SitePath(""));
    const Tree remote = TreeOf(RemoteSite());
    EXPECT_EQ(NamesOf(remote), NamesOf(local));
    EXPECT_TRUE(remote == local);
    const std::set<std::string> reachable = Reachable();
    for (const std::string& name : NamesOf(local)) {
      const DWORD attributes = GetFileAttributesA(SitePath(name).c_str());
      EXPECT_TRUE(reachable.contains(name) || !brevant::IsPlainFile(attributes)) << name;
    }
    for (const auto& [name, page] : PagesOf(SitePath(""))) {
      EXPECT_EQ(page.find("***ERROR"), std::string::npos) << name;
    }
  }
  // Every post of the forums with a reader was sent to him, once.
  void ExpectEachPostSentOnce() const {
    std::multiset<std::string> sent;
    for (const SmtpMail& mail : smtp_->Mails()) {
      EXPECT_EQ(mail.recipients, std::vector<std::string>{kReader});
      const std::size_t at = mail.content.find("ubject: ");
      ASSERT_NE(at, std::string::npos);
      sent.insert(mail.content.substr(at + 8, mail.content.find('\r', at) - at - 8));
    }
    EXPECT_EQ(sent, std::multiset<std::string>(subscribed_.begin(), subscribed_.end()));
  }
  // Bytes and times of everything that a run could write.
  std::map<std::string, std::pair<std::string, std::filesystem::file_time_type>> Everything()
      const {
    std::map<std::string, std::pair<std::string, std::filesystem::file_time_type>> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root_.Path())) {
      const std::string name = entry.path().generic_string();
      if (!entry.is_regular_file() || entry.path().filename() == "state.ini") continue;
      files[name] = {ReadFileBytes(name), entry.last_write_time()};
    }
    return files;
  }
  // A run after which nothing has changed and nobody was asked for anything but mail.
  void ExpectNothingToDo() {
    LetTimePass();
    // As after a run that ended when it did: later than all that it went by.
    for (const char* time : {"Last Site Update Time", "Last Mailing List Scan Time",
                             "Last Local Directory Scan Time", "Last Site Transfer Time"}) {
      state_->Time(time, TTime::Now());
    }
    const auto before = Everything();
    const int connections = smtp_->Server().Accepted() + ftp_->Server().Accepted();
    RunTasks();
    EXPECT_EQ(smtp_->Server().Accepted() + ftp_->Server().Accepted(), connections);
    EXPECT_TRUE(Everything() == before);
  }
  void Subscribe() {
    for (const char* forum : {kForums[0], kForums[1]}) {
      std::string mail = Head(forum, "Subscribe") + "\n";
      mail.replace(mail.find("ann@example.org"), 15, kReader);
      mailbox_->Add(mail);
    }
  }

  unsigned Below(unsigned limit) {
    return std::uniform_int_distribution<unsigned>(0, limit - 1)(random_);
  }

  // Part of the names of files, where that can be looked at.
  const std::string letter_ = SpellsBytes() ? "\xC3\xA4" : "ae";
  std::mt19937 random_{1};
  int posts_ = 0;
  std::set<std::string> subscribed_;  // subjects of posts that go to the reader
  std::unique_ptr<Pop3Server> mailbox_;
  std::unique_ptr<SmtpServer> smtp_;
  std::unique_ptr<FtpServer> ftp_;
};

}  // namespace test
