// A run of the board: mail in from a server on this machine, pages out.
#include "support/pop3_server.h"
#include "support/temporary_directory.h"

#include <brevant/brevant.h>

#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

void Check(bool fine, const char* what) {
  if (!fine) throw std::runtime_error(what);
}

std::string Mail(int number) {
  std::string text =
      "From: \"Ann Example\" <ann@example.org>\r\n"
      "To: \"[Bench:Talk]\" <board@example.org>\r\n"
      "Subject: message " +
      std::to_string(number) +
      "\r\nDate: Mon, 2 Nov 2026 09:12:40 +0000\r\nMIME-Version: 1.0\r\n"
      "Content-Type: text/plain; charset=utf-8\r\n\r\n";
  for (int i = 0; i < 26; ++i) {
    text += "A line of the length that mail programs wrap their text to, as they do.\r\n";
  }
  return text;
}

// A board of its own with one forum; the library runs on it.
class Board {
 public:
  Board() {
    for (const char* part : {"Data", "Site"}) fs::create_directory(directory_ / part);
    fs::copy(BREVANT_SOURCE_TEMPLATES, directory_ / "Templates");
    SetProgramDirectory(directory_.Path().c_str());
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    setup_->String("BBS Name", "Bench");
    setup_->String("Data Directory", (directory_ / "Data/").c_str());
    setup_->String("Local Directory", (directory_ / "Site/").c_str());
    setup_->String("HTML Template Directory", (directory_ / "Templates/").c_str());
    setup_->String("HTML File - Forum list", "index");
    setup_->String("HTML File - Message list", "messages");
    setup_->String("Standard POP3 Mode", "1");
    setup_->String("POP3 Server", "127.0.0.1");
    Check(InitializeBrevant(setup_, state_) == 1, "start");
    TForum* forum = CreateForum("Talk", (directory_ / "Data/").c_str());
    Check(forum != nullptr, "forum");
    forum->Number("Max Message Count", 1000000);
    CloseForum(forum);
  }
  ~Board() {
    UninitializeBrevant();
    ClosePersistentState(state_);
    CloseSetup(setup_);
  }
  Board(const Board&) = delete;
  Board& operator=(const Board&) = delete;

  void Run(const char* name) {
    TTask* task = CreateTask(name);
    Check(task != nullptr && task->Execute() == 1, name);
    DestroyTask(task);
  }
  void Retrieve(const test::Pop3Server& server) {
    setup_->Number("POP3 Port", server.Port());
    Run("MAIL RETRIEVAL");
  }
  // Makes everything hours old, so that only what happens from now on counts as a change.
  void Age() const {
    const auto past = fs::file_time_type::clock::now() - std::chrono::hours(2);
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory_.Path())) {
      const bool page = entry.path().parent_path().filename() == "Site";
      if (entry.is_regular_file() && !page) fs::last_write_time(entry.path(), past);
    }
  }
  std::vector<std::string> Pages() const {
    std::vector<std::string> pages;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory_ / "Site")) {
      pages.push_back(test::ReadFileBytes(entry.path().string()));
    }
    return pages;
  }

 private:
  test::TemporaryDirectory directory_;
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
};

std::vector<std::string> Mails(int count) {
  std::vector<std::string> mails;
  for (int i = 1; i <= count; ++i) mails.push_back(Mail(i));
  return mails;
}

// Log-on, header and text of every message, filing, commit, deletion.
void RetrieveMails(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const std::vector<std::string> mails = Mails(count);
  for (auto _ : state) {
    state.PauseTiming();
    test::Pop3Server server(mails);
    auto board = std::make_unique<Board>();
    state.ResumeTiming();
    board->Retrieve(server);
    state.PauseTiming();
    Check(server.Messages().empty(), "mail was left");
    board.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count);
  state.SetBytesProcessed(state.iterations() * count * static_cast<long>(mails[0].size()));
}

// A thousand mails into a forum that holds so many: the rate should not fall.
void RetrieveIntoForumOf(benchmark::State& state) {
  constexpr int kCount = 1000;
  const std::vector<std::string> mails = Mails(kCount);
  for (auto _ : state) {
    state.PauseTiming();
    auto board = std::make_unique<Board>();
    for (long held = 0; held < state.range(0); held += kCount) {
      const test::Pop3Server server(mails);
      board->Retrieve(server);
    }
    auto server = std::make_unique<test::Pop3Server>(mails);
    state.ResumeTiming();
    board->Retrieve(*server);
    state.PauseTiming();
    Check(server->Messages().empty(), "mail was left");
    board.reset();
    server.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}

// As many bytes over loopback with nothing done to them.
void FloorReceive(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const std::size_t total = Mail(1).size() * static_cast<std::size_t>(count);
  test::LoopbackListener listener;
  const std::string chunk(16384, 'x');
  std::vector<char> buffer(65536);
  for (auto _ : state) {
    SOCKET client = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(listener.Port());
    Check(connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "connect");
    SOCKET server = accept(listener.Socket(), nullptr, nullptr);
    std::size_t received = 0;
    while (received < total) {
      send(server, chunk.data(), static_cast<int>(chunk.size()), 0);
      auto got = recv(client, buffer.data(), static_cast<int>(buffer.size()), 0);
      Check(got > 0, "recv");
      received += static_cast<std::size_t>(got);
    }
    closesocket(server);
    closesocket(client);
  }
  state.SetItemsProcessed(state.iterations() * count);
  state.SetBytesProcessed(state.iterations() * static_cast<long>(total));
}

// A whole site for the first time.
void GenerateSite(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const std::vector<std::string> mails = Mails(count);
  std::size_t pages = 0;
  for (auto _ : state) {
    state.PauseTiming();
    auto server = std::make_unique<test::Pop3Server>(mails);
    auto board = std::make_unique<Board>();
    board->Retrieve(*server);
    state.ResumeTiming();
    board->Run("HTML");
    state.PauseTiming();
    pages += board->Pages().size();
    server.reset();
    board.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<long>(pages));
}

// Another run over a finished site: nothing changed, or one message came.
void GenerateSiteAgain(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const bool changed = state.range(1) != 0;
  Board board;
  {
    const test::Pop3Server server(Mails(count));
    board.Retrieve(server);
  }
  board.Age();
  board.Run("HTML");
  for (auto _ : state) {
    if (changed) {
      state.PauseTiming();
      const test::Pop3Server server(Mails(1));
      board.Retrieve(server);
      state.ResumeTiming();
    }
    board.Run("HTML");
  }
  state.SetItemsProcessed(state.iterations() * count);
}

// The same pages written as they are, each through a temporary name.
void FloorWritePages(benchmark::State& state) {
  std::vector<std::string> pages;
  {
    const std::vector<std::string> mails = Mails(static_cast<int>(state.range(0)));
    test::Pop3Server server(mails);
    Board board;
    board.Retrieve(server);
    board.Run("HTML");
    pages = board.Pages();
  }
  for (auto _ : state) {
    test::TemporaryDirectory directory;
    int number = 0;
    for (const std::string& page : pages) {
      const std::string name = directory / std::to_string(++number);
      std::ofstream(name + ".tmp", std::ios::binary) << page;
      fs::rename(name + ".tmp", name);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<long>(pages.size()));
}

BENCHMARK(RetrieveMails)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(FloorReceive)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(RetrieveIntoForumOf)
    ->Arg(0)
    ->Arg(9000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly();
BENCHMARK(GenerateSite)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(FloorWritePages)->Arg(500)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(GenerateSiteAgain)
    ->ArgNames({"pages", "changed"})
    ->Args({500, 0})
    ->Args({500, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
