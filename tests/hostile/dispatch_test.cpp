// Mail dispatch to servers that answer as they like: no line of a mail where none was asked for,
// and no mark on what was not sent.
#include "board_checks.h"
#include "faults/document_tree.h"
#include "protocols.h"
#include "sessions.h"
#include "smtp_log.h"
#include "unit/shared/dispatch_fixture.h"

namespace hostile {
namespace {

namespace fs = std::filesystem;

constexpr const char* kForum = "General Talk";
constexpr unsigned kMessages = 4;

class HostileDispatch : public test::DispatchFixture {
 protected:
  void SetUp() override {
    DispatchFixture::SetUp();
    UseOwnTemporaries(directory_);
    WaitBriefly();
    AddForum(kForum, {"one@example.org", "two@example.org"});
    for (unsigned i = 0; i < kMessages; ++i) {
      const std::string mark = MailMark(i);
      std::string text;
      for (int line = 0; line < 8; ++line) text += mark + " and more\r\n";
      // One is longer than what the client keeps together.
      for (int line = 0; i == 1 && line < 900; ++line) text += mark + " and more\r\n";
      const bool html = i == 2;
      DispatchFixture::Post(kForum, mark, html ? "<p>" + mark + " in HTML</p>" : text,
                            {{"Document Type", html ? "text/html" : "text/plain"}});
    }
    fs::copy(data_, directory_ / "fresh", fs::copy_options::recursive);
  }
  void TearDown() override {
    DispatchFixture::TearDown();
    UseSystemsTemporaries();
  }

  std::vector<std::string> Session(unsigned seed) {
    Random random(seed);
    SessionLog log(seed, SmtpHabits(random));
    problems_.clear();
    fs::remove_all(data_);
    fs::copy(directory_ / "fresh", data_, fs::copy_options::recursive);
    fs::remove(directory_ / "error.log");
    test::Shown::Clear();
    setup_->Number("Standard SMTP Mode", DWORD{random.Below(2)});
    test::SmtpOptions options;
    options.extended = random.OneIn(2);
    Serve(options);
    server_->Server().SabotageBy(log.Saboteurs());
    MakeDue();
    TMailDispatchTask task(setup_, state_);
    task.Client().SetTimeout(kTimeout);
    task.Execute();
    server_.reset();
    Check(log);
    return problems_;
  }

  void Check(const SessionLog& log) {
    const SeenMails seen = LookForMails(log);
    problems_.insert(problems_.end(), seen.problems.begin(), seen.problems.end());
    const std::string marks = Marks(kForum);
    if (marks.size() != kMessages) {
      Problem("the forum's marks are " + marks);
      return;
    }
    for (unsigned i = 0; i < kMessages; ++i) {
      if (marks[i] != '0' && !seen.numbers.contains(i))
        Problem("message " + std::to_string(i) + " is marked and was not sent");
    }
    for (const auto& entry : fs::directory_iterator(data_)) {
      std::string problem;
      if (!faults::ReadTree(entry.path().generic_string(), &problem))
        Problem(entry.path().filename().string() + " is not sound: " + problem);
    }
    for (const std::string& name : Strangers(directory_, {"data", "fresh"}))
      Problem("a new file: " + name);
    for (const std::string& name : NotBoardFiles(data_)) Problem("a new file in data: " + name);
  }

  void Problem(const std::string& text) { problems_.push_back(text); }

  std::vector<std::string> problems_;
};

TEST_F(HostileDispatch, NothingIsSaidUnaskedAndNothingIsMarkedUnsent) {
  RunSessions([this](unsigned seed) { return Session(seed); }, 60);
}

}  // namespace
}  // namespace hostile
