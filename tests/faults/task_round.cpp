#include "task_round.h"

#include "frame/task_factory.h"
#include "shared/dispatchtask.h"
#include "shared/filetask.h"
#include "shared/mailtask.h"
#include "support/process.h"
#include "unit/shared/board_reading.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace faults {

namespace fs = std::filesystem;
using brevant::TBoardKind;

namespace {

constexpr DWORD kTimeout = 1000;
constexpr int kEnough = 1000;           // messages: none has to go
constexpr std::size_t kUniquePart = 4;  // characters before the name of an attachment

// With times and extended attributes.
void Copy(const std::string& from, const std::string& to) {
  const test::ProgramResult result = test::RunProgram({"/bin/cp", "-a", from + ".", to});
  ASSERT_EQ(result.exitCode, 0) << result.output;
}

}  // namespace

void TaskRound::SetUp() {
  // The linker takes the tasks along for this.
  ASSERT_EQ(brevant::TaskTable().size(), kTaskCount);
  FullCircle::SetUp();
  for (const char* forum : test::kForums) {
    OpenContainer(TBoardKind::kForum, forum)->Number("Max Message Count", kEnough);
  }
  Subscribe();
  random_.seed(2);
  NewMail();
  NewMail();
  RunTasks();
  ExpectWhole();
  LetTimePass();
  MakeChanges();
  for (std::size_t task = 0; task < kTaskCount; ++task) {
    Save(task);
    Restore(task);
    ForgetSent();
    RunFrom(task);
    ends_[task] = Look();
    Restore(task);
    brevant::ResetDeadline();
    ASSERT_EQ(NewTask(task)->Execute(), 1);
  }
}

// What the tasks of the round find to do.
void TaskRound::MakeChanges() {
  Template("style.css", "body{margin:1px}");
  Template("part.css", "p{}");
  OwnersFile("photos/2026/new.jpg", "jpeg");
  fs::remove(SitePath("photos/2026/b.jpg"));
  // A page that nothing leads to any more.
  const auto forum = OpenContainer(TBoardKind::kForum, test::kForums[0]);
  RemoveMessage(static_cast<DWORD>(forum->Number("First Message Index")), forum.get());
  for (int kind = 0; kind < 4; ++kind) {
    for (const char* name : test::kForums) NewPost(name);
  }
  mailbox_->Add(Head("Good Sites", "A site at https://example.org/ is 3K") + "\nAbout it.\n");
  mailbox_->Add(Head("Survey", "Vote") + "Content-Type: text/plain\n\nTea or coffee=Tea\n");
  mails_ = mailbox_->Messages();
}

void TaskRound::Save(std::size_t task) {
  const std::string place = saved_ / (std::to_string(task) + "/");
  fs::create_directory(place);
  Copy(root_.Path(), place);
}

void TaskRound::Restore(std::size_t task) {
  // The stores keep what they have read.
  UninitializeBrevant();
  CloseSetup(setup_);
  ClosePersistentState(state_);
  for (const auto& entry : fs::directory_iterator(root_.Path())) fs::remove_all(entry.path());
  Copy(saved_ / (std::to_string(task) + "/"), root_.Path());
  setup_ = OpenSetup("board.ini");
  state_ = OpenPersistentState("state.ini");
  InitializeBrevant(setup_, state_);
  const std::vector<std::string> there = mailbox_->Messages();
  if (task != 0 || there == mails_) return;
  ASSERT_TRUE(there.empty()) << "a round before has left mail";
  for (const std::string& mail : mails_) mailbox_->Add(mail);
}

std::unique_ptr<TTask, decltype(&DestroyTask)> TaskRound::NewTask(std::size_t task) {
  std::unique_ptr<TTask, decltype(&DestroyTask)> made(CreateTask(test::kTasks[task]), &DestroyTask);
  if (auto* retrieval = dynamic_cast<TMailRetrievalTask*>(made.get())) {
    retrieval->Client().SetTimeout(kTimeout);
  } else if (auto* dispatch = dynamic_cast<TMailDispatchTask*>(made.get())) {
    dispatch->Client().SetTimeout(kTimeout);
  } else if (auto* delivery = dynamic_cast<TFileDeliveryTask*>(made.get())) {
    delivery->Client().SetTimeout(kTimeout);
  }
  return made;
}

void TaskRound::RunFrom(std::size_t task) {
  history.clear();
  for (; task < kTaskCount; ++task) {
    brevant::ResetDeadline();
    EXPECT_EQ(NewTask(task)->Execute(), 1) << test::kTasks[task];
  }
  for (const std::string& line : history) {
    EXPECT_EQ(line.find("Cannot"), std::string::npos) << line;
  }
}

void TaskRound::AddItems(TBoardKind kind, const std::string& name,
                         std::multiset<std::string>* filed) {
  const auto container = OpenContainer(kind, name);
  for (const test::Item& item : test::ItemsOf(*container)) {
    std::string text = name + "|" + item.listedSubject + "|" + item.subject + "|" + item.from +
                       "|" + item.type + "|" + item.linkAddress + "|" + std::to_string(item.votes) +
                       "|" + item.content;
    for (const auto& [stored, value] : item.attachments) {
      // Its name comes up in the text, too.
      for (std::size_t at; (at = text.find(stored)) != std::string::npos;) {
        text.replace(at, kUniquePart, "####");
      }
      text += "|" + stored.substr(kUniquePart) + "=" + Site(stored);
    }
    filed->insert(text);
  }
}

std::multiset<std::string> TaskRound::Filed() {
  std::multiset<std::string> filed;
  for (const char* forum : test::kForums) AddItems(TBoardKind::kForum, forum, &filed);
  AddItems(TBoardKind::kLinkList, "Good Sites", &filed);
  AddItems(TBoardKind::kQuestion, "Tea or coffee", &filed);
  return filed;
}

TaskRound::End TaskRound::Look() {
  ExpectWhole();
  End end{Filed(), {}, test::TreeOf(SitePath(""))};
  const std::vector<test::SmtpMail> mails = smtp_->Mails();
  for (std::size_t i = sentBefore_; i < mails.size(); ++i) {
    const std::size_t at = mails[i].content.find("ubject: ");
    end.sent.insert(mails[i].content.substr(at, mails[i].content.find('\r', at) - at));
  }
  return end;
}

std::size_t TaskRound::OpenFiles() const {
  std::size_t count = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code none;
    const std::string target = fs::read_symlink(entry.path(), none).string();
    const bool kept =
        target.find(".ini") != std::string::npos || target.find(".fat") != std::string::npos;
    count += !kept && target.starts_with(root_.Path()) ? 1 : 0;
  }
  return count;
}

}  // namespace faults
