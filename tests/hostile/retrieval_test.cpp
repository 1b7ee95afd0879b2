// Mail retrieval from servers that answer as they like: what leaves the mailbox is on the board.
#include "board_checks.h"
#include "faults/document_tree.h"
#include "protocols.h"
#include "sessions.h"
#include "unit/shared/board_reading.h"
#include "unit/shared/retrieval_fixture.h"

#include <filesystem>
#include <set>

namespace hostile {
namespace {

namespace fs = std::filesystem;

constexpr const char* kForum = "General Talk";
constexpr const char* kLinks = "Good Links";
constexpr const char* kQuestion = "Best colour";
constexpr const char* kReader = "reader@list.example";

class HostileRetrieval : public test::RetrievalFixture {
 protected:
  void SetUp() override {
    RetrievalFixture::SetUp();
    UseOwnTemporaries(directory_);
    WaitBriefly();
    Set("Keep Unsaved Mail", "1");
    Set("Allow attachment - forum", "1");
    MakeBoard();
    fs::copy(data_, directory_ / "fresh", fs::copy_options::recursive);
  }
  void TearDown() override {
    RetrievalFixture::TearDown();
    UseSystemsTemporaries();
  }

  void MakeBoard() {
    ASSERT_TRUE(test::MakeForum(kForum, data_));
    ASSERT_TRUE(test::MakeContainer<TLinkList>(kLinks, data_));
    TSurveyQuestion* question = CreateSurveyQuestion(kQuestion, data_.c_str());
    TMail* answer = OpenAnswer(0, nullptr);
    answer->String("SUBJECT", "Red");
    ASSERT_NE(InsertAnswer(answer, question), 0U);
    CloseAnswer(answer);
    CloseSurveyQuestion(question);
  }

  // Mails of every kind that the board takes.
  std::vector<std::string> Mails(Random& random) {
    std::vector<std::string> mails;
    for (unsigned i = random.Below(5); i < 5; ++i) {
      const std::string name = "mail" + std::to_string(i);
      switch (random.Below(10)) {
        case 0:
          mails.push_back(MailFor(random, "[My_Board:Good_Links]", name + " at http://x.y/"));
          break;
        case 1:
          mails.push_back(MailFor(random, "somebody", name));
          break;
        case 2:
          hasVotes_ = true;
          mails.push_back(
              "From: a@example.org\nTo: \"[My_Board:Survey]\" <b@example.org>\n"
              "Subject: Vote\nContent-Type: text/plain\n\nBest colour=Red\n");
          break;
        case 3:
          mails.push_back(Post("General_Talk", "Subscribe", "\n"));
          mails.back().replace(mails.back().find("ann@example.org"), 15,
                               std::to_string(i) + kReader);
          break;
        default:
          mails.push_back(MailFor(random, "[My_Board:General_Talk]", name));
      }
    }
    return mails;
  }

  std::vector<std::string> Session(unsigned seed) {
    Random random(seed);
    Habits habits = Pop3Habits(random);
    // The task reads whatever a mail holds; more of it would only test the disk.
    habits.mostFlood = 1 << 20;
    SessionLog log(seed, habits);
    hasVotes_ = false;
    problems_.clear();
    Renew();
    const bool standard = random.OneIn(2);
    Set("Standard POP3 Mode", standard ? "1" : "0");
    Set("Decode Mail Text", random.OneIn(2) ? "1" : "0");
    Set("Safe HTML", random.OneIn(2) ? "1" : "0");
    Serve(Mails(random));
    server_->Server().SabotageBy(log.Saboteurs());
    TMailRetrievalTask task(setup_, state_);
    task.Client().SetTimeout(kTimeout);
    task.Execute();
    server_.reset();
    Check(log);
    return problems_;
  }

  // The board as it was made.
  void Renew() {
    for (const std::string& part : {data_, site_}) fs::remove_all(part);
    fs::copy(directory_ / "fresh", data_, fs::copy_options::recursive);
    fs::create_directory(site_);
    fs::remove(directory_ / "error.log");
    test::Shown::Clear();
  }

  void Check(const SessionLog& log) {
    for (const auto& entry : fs::directory_iterator(data_)) {
      std::string problem;
      if (!faults::ReadTree(entry.path().generic_string(), &problem))
        Problem(entry.path().filename().string() + " is not sound: " + problem);
    }
    const std::vector<test::Item> posts = test::ItemsOf(kForum, data_);
    const std::vector<test::Item> links = test::ItemsOf<TLinkList>(kLinks, data_);
    const std::size_t kept = posts.size() + links.size() + Subscribers() + RefusedAddresses();
    CheckSite(posts);
    // A server that mixes its mails up may show the client a vote where it asked for something
    // else, and a vote for nothing is done with.
    if (!hasVotes_ && Deleted(log) > kept)
      Problem(std::to_string(Deleted(log)) + " mails were deleted, " + std::to_string(kept) +
              " are on the board: " + History());
    for (const std::string& name : Strangers(directory_, {"data", "site", "fresh"}))
      Problem("a new file: " + name);
    for (const std::string& name : NotBoardFiles(data_)) Problem("a new file in data: " + name);
  }

  // A request that no other try would help is done with.
  static std::size_t RefusedAddresses() {
    const auto& lines = test::Shown::History();
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
          return line.starts_with("Cannot subscribe") || line.starts_with("Cannot unsubscribe");
        }));
  }
  std::size_t Subscribers() const {
    TForum forum;
    if (forum.Open(kForum, data_.c_str(), 2, 0, 16) == 0) return 0;
    std::size_t count = 0;
    TListItemSearcher* search = StartMailingListSearch(&forum);
    for (TMailingListSearchResult found = FindFirstMailingList(search); found.key != nullptr;
         found = FindNextMailingList(search)) {
      ++count;
    }
    EndMailingListSearch(search);
    return count;
  }

  // The site holds the files that posts name, and no others.
  void CheckSite(const std::vector<test::Item>& posts) {
    std::set<std::string> named;
    for (const test::Item& item : posts) {
      for (const auto& [stored, shown] : item.attachments) named.insert(stored);
    }
    for (const auto& entry : fs::recursive_directory_iterator(site_)) {
      const std::string name = entry.path().lexically_relative(site_).generic_string();
      if (!entry.is_regular_file() || !named.contains(name)) Problem("in the site: " + name);
    }
    for (const std::string& name : named) {
      if (!fs::exists(site_ + name)) Problem("not in the site: " + name);
    }
  }

  // The mails that the server has deleted: those marked when "QUIT" came.
  static std::size_t Deleted(const SessionLog& log) {
    std::size_t deleted = 0;
    for (const auto& conversation : log.Conversations()) {
      std::set<std::string> marked;
      for (const Event& event : conversation->events) {
        if (event.kind != Event::Kind::kLine) continue;
        if (event.text.starts_with("DELE ")) marked.insert(event.text);
        if (event.text.starts_with("RSET")) marked.clear();
        if (event.text.starts_with("QUIT")) deleted += marked.size();
      }
    }
    return deleted;
  }

  void Problem(const std::string& text) { problems_.push_back(text); }

  bool hasVotes_ = false;
  std::vector<std::string> problems_;
};

TEST_F(HostileRetrieval, WhatLeavesTheMailboxIsOnTheBoard) {
  RunSessions([this](unsigned seed) { return Session(seed); }, 150);
}

}  // namespace
}  // namespace hostile
