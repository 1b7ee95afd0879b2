// Mail out: posts to a server on this machine, every mark on the disk before the next one goes.
#include "support/server.h"
#include "support/smtp_server.h"
#include "support/temporary_directory.h"

#include <brevant/brevant.h>

#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

namespace fs = std::filesystem;

void Check(bool fine, const char* what) {
  if (!fine) throw std::runtime_error(what);
}

// A board of its own with one forum; the library runs on it.
class Board {
 public:
  Board(int messages, int recipients, bool sent = false) {
    fs::create_directory(directory_ / "Data");
    SetProgramDirectory(directory_.Path().c_str());
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    setup_->String("BBS Name", "Bench");
    setup_->String("E-Mail Address", "board@example.org");
    setup_->String("Data Directory", (directory_ / "Data/").c_str());
    setup_->String("Standard SMTP Mode", "1");
    setup_->String("SMTP Server", "127.0.0.1");
    Check(InitializeBrevant(setup_, state_) == 1, "start");
    TForum* forum = CreateForum("Talk", (directory_ / "Data/").c_str());
    Check(forum != nullptr, "forum");
    forum->Number("Max Message Count", 1000000);
    for (int i = 0; i < recipients; ++i) {
      AddMailingList(("list" + std::to_string(i) + "@example.org").c_str(), "", forum);
    }
    std::string text;
    for (int i = 0; i < 26; ++i) {
      text += "A line of the length that mail programs wrap their text to, as they do.\r\n";
    }
    for (int i = 0; i < messages; ++i) {
      TMail* mail = OpenMessage(0, nullptr);
      mail->String("SUBJECT", ("message " + std::to_string(i)).c_str());
      mail->String("FROM", "Ann <ann@example.org>");
      if (sent) mail->Number("Sent to mailing list", 1);
      mail->Content().Write(text.data(), static_cast<int>(text.size()));
      Check(InsertMessage(mail, forum) != 0, "message");
      CloseMessage(mail);
    }
    CloseForum(forum);
  }
  ~Board() {
    UninitializeBrevant();
    ClosePersistentState(state_);
    CloseSetup(setup_);
  }
  Board(const Board&) = delete;
  Board& operator=(const Board&) = delete;

  void Dispatch(WORD port) {
    setup_->Number("SMTP Port", port);
    state_->Number("Last Mailing List Scan Time", 0);
    TTask* task = CreateTask("MAIL DISPATCH");
    Check(task != nullptr && task->Execute() == 1, "dispatch");
    DestroyTask(task);
  }

 private:
  test::TemporaryDirectory directory_;
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
};

void DispatchMails(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    auto server = std::make_unique<test::SmtpServer>();
    auto board = std::make_unique<Board>(count, static_cast<int>(state.range(1)));
    state.ResumeTiming();
    board->Dispatch(server->Port());
    state.PauseTiming();
    Check(server->Mails().size() == static_cast<std::size_t>(count), "mail is missing");
    board.reset();
    server.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

// A scan of a forum of which everything was sent.
void ScanForumOf(benchmark::State& state) {
  Board board(static_cast<int>(state.range(0)), 1, true);
  for (auto _ : state) board.Dispatch(test::UnusedPort());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// What a commit waits for: three synced writes of a sector a message.
void FloorSyncs(benchmark::State& state) {
  const test::TemporaryDirectory directory;
  const std::string sector(512, 'x');
  const HANDLE file = CreateFileA((directory / "file").c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                  nullptr, CREATE_ALWAYS, 0, nullptr);
  for (auto _ : state) {
    for (int i = 0; i < 3 * state.range(0); ++i) {
      DWORD written = 0;
      SetFilePointer(file, 0, nullptr, FILE_BEGIN);
      WriteFile(file, sector.data(), 512, &written, nullptr);
      FlushFileBuffers(file);
    }
  }
  CloseHandle(file);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(DispatchMails)
    ->ArgNames({"mails", "recipients"})
    ->Args({500, 1})
    ->Args({500, 20})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(FloorSyncs)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ScanForumOf)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
