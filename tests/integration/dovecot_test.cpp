// A board's mail from a real server to its pages.
#include "dovecot_server.h"
#include "frame/task_factory.h"
#include "mail_corpus.h"
#include "site_check.h"
#include "support/file_attributes.h"
#include "unit/shared/board_reading.h"

#include <brevant/brevant.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>

namespace {

namespace fs = std::filesystem;
using test::ExpectedMail;
using TFate = ExpectedMail::TFate;

constexpr int kRounds = 9;
constexpr const char* kForum = "General Talk";
constexpr const char* kQuestion = "Best colour";

std::vector<std::string> history;

class Dovecot : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string hindrance = test::DovecotServer::Hindrance();
    if (!hindrance.empty()) GTEST_SKIP() << hindrance;
    // The factory's table comes from above it; naming it here makes the linker bring it in.
    ASSERT_FALSE(brevant::TaskTable().empty());
    for (const std::string& part : {data_, site_}) fs::create_directory(part);
    fs::copy(BREVANT_TEMPLATES, templates_, fs::copy_options::recursive);
    for (const char* piece : {"radio.htf", "combobox.htf", "graph.htf"}) {
      fs::copy(templates_ + piece, directory_ / piece);
    }
    SetProgramDirectory(directory_.Path().c_str());
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    ASSERT_EQ(InitializeBrevant(setup_, state_), 1);
    history.clear();
    SetVisualFunctions(
        "HISTORY", reinterpret_cast<void*>(+[](const char* text) { history.emplace_back(text); }));
    const std::pair<const char*, std::string> settings[] = {
        {"BBS Name", "My Board"},
        {"E-Mail Address", "board@example.org"},
        {"POP3 Server", "127.0.0.1"},
        {"POP3 Account", test::DovecotServer::kAccount},
        {"POP3 Password", "secret"},
        {"Data Directory", data_},
        {"Local Directory", site_},
        {"HTML Template Directory", templates_},
        {"Allow attachment - forum", "1"},
        {"HTML File - Forum list", "index"},
        {"HTML File - Message list", "messages"},
        {"HTML File - Resource list", "links"},
        {"HTML File - Question list", "questions"},
        {"HTML File - Answer list", "answers"},
        {"Save Voter Address", "1"}};
    for (const auto& [key, value] : settings) setup_->String(key, value.c_str());
  }

  void TearDown() override {
    SetVisualFunctions("HISTORY", nullptr);
    if (setup_ == nullptr) return;
    UninitializeBrevant();
    ClosePersistentState(state_);
    CloseSetup(setup_);
    SetProgramDirectory(nullptr);
  }

  void MakeBoard(const std::vector<ExpectedMail>& mails) {
    TForum* forum = CreateForum(kForum, data_.c_str());
    ASSERT_NE(forum, nullptr);
    forum->Number("Max Message Count", 100000);
    AddMailingList("outside@lists.example.org", "The outside list", forum);
    for (std::size_t n = 1; n <= mails.size(); ++n) {
      AddMailingList(("old" + std::to_string(n) + "@example.org").c_str(), "Old", forum);
    }
    CloseForum(forum);
    TLinkList links;
    ASSERT_NE(links.Open("Good Links", data_.c_str(), 2, 4096, 16), 0);
    links.Number("Max Message Count", 100000);
    TContributor articles;
    ASSERT_NE(articles.Open("Articles", data_.c_str(), 2, 4096, 16), 0);
    articles.Number("Max Message Count", 100000);
    TSurveyQuestion* question = CreateSurveyQuestion(kQuestion, data_.c_str());
    for (const char* text : {"Red", "Deep blue"}) {
      TMail* answer = OpenAnswer(0, nullptr);
      answer->String("SUBJECT", text);
      EXPECT_NE(InsertAnswer(answer, question), 0u);
      CloseAnswer(answer);
    }
    CloseSurveyQuestion(question);
  }

  static int RunTask(const char* name) {
    TTask* task = CreateTask(name);
    if (task == nullptr) return -1;
    const int result = task->Execute();
    DestroyTask(task);
    return result;
  }

  void Retrieve(const std::vector<ExpectedMail>& mails, bool standard) {
    MakeBoard(mails);
    std::vector<std::string> texts;
    for (const ExpectedMail& mail : mails) texts.push_back(mail.text);
    server_ = std::make_unique<test::DovecotServer>(texts);
    setup_->Number("POP3 Port", server_->Port());
    setup_->Number("Standard POP3 Mode", standard ? 1 : 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunTask("MAIL RETRIEVAL"), 1);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::cout << "[          ] " << mails.size() << " mails in " << took.count() << " s\n";
    for (const std::string& line : history) {
      EXPECT_EQ(line.find("Cannot"), std::string::npos) << line;
    }
  }

  void CheckFiled(const std::vector<ExpectedMail>& mails) {
    if (!keepsAttributes_)
      std::cout << "[          ] left out: the attribute of attachments, which is not kept here\n";
    const std::vector<test::Item> items = test::ItemsOf(kForum, data_);
    std::size_t next = 0;
    for (std::size_t n = 1; n <= mails.size(); ++n) {
      const ExpectedMail& mail = mails[n - 1];
      if (mail.fate != TFate::kFiled || !mail.list.empty()) continue;
      SCOPED_TRACE("mail " + std::to_string(n) + ":\n" + mail.text.substr(0, 700));
      ASSERT_LT(next, items.size());
      CheckItem(mail, items[next++]);
    }
    EXPECT_EQ(next, items.size());
  }

  void CheckItem(const ExpectedMail& mail, const test::Item& item) {
    EXPECT_EQ(item.subject, mail.subject);
    EXPECT_EQ(item.listedSubject, mail.subject);
    EXPECT_EQ(item.type, mail.type);
    EXPECT_EQ(item.charset, mail.charset);
    EXPECT_EQ(item.linkId, mail.linkId);
    if (mail.exactContent) {
      EXPECT_EQ(item.content, mail.content);
    }
    ASSERT_EQ(item.attachments.size(), mail.files.size());
    for (std::size_t i = 0; i < mail.files.size(); ++i) {
      const auto& [stored, shown] = item.attachments[i];
      EXPECT_EQ(test::ReadFileBytes(site_ + stored), mail.files[i].second);
      if (keepsAttributes_) {
        EXPECT_EQ(GetFileAttributesA((site_ + stored).c_str()), FILE_ATTRIBUTE_TEMPORARY);
      }
      if (shown.starts_with("cid:")) {
        EXPECT_NE(item.content.find("src=\"" + stored + "\""), std::string::npos);
        EXPECT_EQ(item.content.find("cid:"), std::string::npos);
      } else {
        EXPECT_EQ(shown, mail.files[i].first);
      }
    }
  }

  template <typename List>
  void CheckLinks(const std::vector<ExpectedMail>& mails, const std::string& tagName,
                  const std::string& name) {
    const std::vector<test::Item> links = test::ItemsOf<List>(name, data_);
    std::size_t next = 0;
    for (const ExpectedMail& mail : mails) {
      if (mail.list != tagName) continue;
      SCOPED_TRACE(mail.text);
      ASSERT_LT(next, links.size());
      const test::Item& link = links[next++];
      EXPECT_EQ(link.subject, mail.subject);
      EXPECT_EQ(link.linkAddress, mail.address);
      EXPECT_EQ(link.size, mail.size);
      EXPECT_NE(link.content.find(mail.marker), std::string::npos);
    }
    EXPECT_EQ(next, links.size());
    EXPECT_GT(next, 0u);
  }

  void CheckVotes(const std::vector<ExpectedMail>& mails) {
    TSurveyQuestion question;
    ASSERT_NE(question.Open(kQuestion, data_.c_str(), 2, 0, 16), 0);
    LONG total = 0;
    for (const test::Item& answer : test::ItemsOf(question)) {
      const LONG expected = static_cast<LONG>(std::count_if(
          mails.begin(), mails.end(),
          [&answer](const ExpectedMail& mail) { return mail.vote == answer.subject; }));
      EXPECT_EQ(answer.votes, expected) << answer.subject;
      EXPECT_GT(expected, 0);
      total += expected;
    }
    EXPECT_EQ(question.Number("Total Vote Count"), total);
    ASSERT_NE(question.OpenList("Voter E-mail", 128), 0);
    LONG voters = 0;
    char key[128];
    char value[128];
    while (question.ReadNextListItem(key, sizeof key, value, sizeof value) == 1) ++voters;
    question.CloseList();
    EXPECT_EQ(voters, total);
  }

  void CheckLists(const std::vector<ExpectedMail>& mails) {
    CheckLinks<TLinkList>(mails, "Good_Links", "Good Links");
    CheckLinks<TContributor>(mails, "Articles", "Articles");
    CheckVotes(mails);
  }

  void CheckMailingList(const std::vector<ExpectedMail>& mails) {
    TForum* forum = OpenForum(kForum, data_.c_str());
    ASSERT_NE(forum, nullptr);
    for (std::size_t n = 1; n <= mails.size(); ++n) {
      const std::string number = std::to_string(n);
      const std::string& text = mails[n - 1].text;
      const bool subscribed = text.find("Subject: subscribe\n") != std::string::npos;
      const bool unsubscribed = text.find("Subject: UNSUBSCRIBE\n") != std::string::npos;
      EXPECT_STREQ(GetMailingListName(("new" + number + "@example.org").c_str(), forum),
                   subscribed ? ("New " + number).c_str() : "");
      EXPECT_EQ(FindMailingList(("old" + number + "@example.org").c_str(), forum),
                unsubscribed ? 0 : 1);
    }
    CloseForum(forum);
  }

  void CheckLeft(const std::vector<ExpectedMail>& mails) {
    std::vector<std::string> expected;
    for (const ExpectedMail& mail : mails) {
      if (mail.fate == TFate::kStays) expected.push_back(mail.text);
    }
    std::vector<std::string> left = server_->Left();
    std::sort(expected.begin(), expected.end());
    std::sort(left.begin(), left.end());
    EXPECT_EQ(left, expected);
  }

  void CheckPages(const std::vector<ExpectedMail>& mails) {
    ASSERT_EQ(RunTask("HTML"), 1);
    const auto pages = test::PagesOf(site_);
    std::string all;
    for (const auto& [name, page] : pages) all += page;
    for (const ExpectedMail& mail : mails) {
      if (mail.marker.empty()) continue;
      SCOPED_TRACE(mail.text.substr(0, 400));
      EXPECT_EQ(all.find(mail.marker) != std::string::npos, mail.fate == TFate::kFiled);
      if (mail.fate == TFate::kFiled) {
        EXPECT_NE(all.find(mail.subject), std::string::npos);
      }
    }
    EXPECT_EQ(all.find("***ERROR"), std::string::npos);
    EXPECT_EQ(all.find("<script>"), std::string::npos);
    const std::vector<std::string> dead = test::DeadLinks(site_);
    EXPECT_TRUE(dead.empty()) << dead.size() << " dead links, the first: " << dead.front();
    std::cout << "[          ] " << pages.size() << " pages\n";
  }

  test::TemporaryDirectory directory_;
  std::string data_ = directory_ / "data/";
  std::string site_ = directory_ / "site/";
  std::string templates_ = directory_ / "templates/";
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
  const bool keepsAttributes_ = test::KeepsFileAttributes(directory_.Path());
  std::unique_ptr<test::DovecotServer> server_;
};

TEST_F(Dovecot, TodaysMailInStandardMode) {
  const std::vector<ExpectedMail> mails = test::TodaysMail(kRounds);
  ASSERT_GE(mails.size(), 200u);
  Retrieve(mails, true);
  CheckFiled(mails);
  CheckLists(mails);
  CheckMailingList(mails);
  CheckLeft(mails);
  CheckPages(mails);
}

TEST_F(Dovecot, MailThatFitsThePlainRules) {
  const std::vector<ExpectedMail> mails = test::PlainMail(kRounds);
  Retrieve(mails, false);
  CheckFiled(mails);
  CheckLists(mails);
  CheckMailingList(mails);
  CheckLeft(mails);
  CheckPages(mails);
}

// One text in every character set, as header and as body, is one text on the pages.
TEST_F(Dovecot, TextsOfEveryCharacterSetReachThePagesWhereTheyAreDecoded) {
  struct TRow {
    const char* charset;
    const char* encodedSubject;
    const char* body;
  };
  const TRow rows[] = {
      {"utf-8", "=?utf-8?Q?Gr=C3=BC=C3?= =?utf-8?Q?=9Fe?=", "Gr=C3=BC=C3=9Fe"},
      {"windows-1252", "=?windows-1252?Q?Gr=FC=DFe?=", "Gr=FC=DFe"},
      {"iso-8859-1", "=?iso-8859-1?B?R3L832U=?=", "Gr=FC=DFe"},
      {"ISO-8859-2", "=?ISO-8859-2?Q?Gr=FC=DFe?=", "Gr=FC=DFe"},
      {"iso-8859-15", "=?iso-8859-15?Q?Gr=FC=DFe?=", "Gr=FC=DFe"},
      {"x-nobody-knows", "=?x-nobody-knows?Q?Gr=FC=C3=9Fe?=", "Gr=FC=C3=9Fe"},
  };
  std::vector<ExpectedMail> mails;
  int number = 0;
  for (const TRow& row : rows) {
    ExpectedMail mail;
    mail.subject =
        "Gr\xC3\xBC\xC3\x9F"
        "e";
    const std::string name = "X" + std::to_string(++number) + "X";
    mail.text =
        "From: =?utf-8?Q?J=C3=B6rg?= <j@example.org>\nTo: "
        "=?utf-8?B?W015X0JvYXJkOkdlbmVyYWxfVGFsa10=?= <b@example.org>\nSubject: " +
        std::string(row.encodedSubject) + "\nContent-Type: text/plain; charset=" + row.charset +
        "\nContent-Transfer-Encoding: quoted-printable\n\n" + name + row.body + name + "\n";
    mails.push_back(mail);
  }
  setup_->Number("Decode Mail Text", 1);
  Retrieve(mails, true);
  const auto items = test::ItemsOf(kForum, data_);
  ASSERT_EQ(items.size(), std::size(rows));
  for (std::size_t i = 0; i < items.size(); ++i) {
    EXPECT_EQ(items[i].subject, mails[i].subject);
    EXPECT_EQ(items[i].from, "J\xC3\xB6rg <j@example.org>");
    EXPECT_EQ(items[i].charset, rows[i].charset);
  }
  ASSERT_EQ(RunTask("HTML"), 1);
  std::string all;
  for (const auto& [name, page] : test::PagesOf(site_)) all += page;
  for (number = 1; number <= static_cast<int>(std::size(rows)); ++number) {
    const std::string name = "X" + std::to_string(number) + "X";
    EXPECT_NE(all.find(name + "Gr&uuml;&szlig;e" + name), std::string::npos)
        << rows[number - 1].charset;
  }
  EXPECT_EQ(all.find("=?"), std::string::npos);
}

TEST_F(Dovecot, ASecondRunFindsOnlyWhatStayed) {
  const std::vector<ExpectedMail> mails = test::TodaysMail(1);
  Retrieve(mails, true);
  const std::size_t filed = test::ItemsOf(kForum, data_).size();
  history.clear();
  EXPECT_EQ(RunTask("MAIL RETRIEVAL"), 1);
  EXPECT_EQ(history.back(), "Found no new message");
  EXPECT_EQ(test::ItemsOf(kForum, data_).size(), filed);
  CheckLeft(mails);
}

}  // namespace
