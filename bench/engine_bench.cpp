// Data files: making one, reading it, adding to it. The floors are plain file operations on as many
// bytes.
#include "support/temporary_directory.h"

#include <brevant/board.h>

#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kContentSize = 2000;  // about the size of a mail's text

void Check(bool fine, const char* what) {
  if (!fine) throw std::runtime_error(what);
}

std::string Content() { return std::string(kContentSize, 'x'); }

// As many messages in a new forum, with the properties that retrieval writes.
void Fill(TForum& forum, int count) {
  const std::string content = Content();
  forum.Number("Max Message Count", 1000000);
  for (int i = 0; i < count; ++i) {
    TMail message;
    Check(message.OpenTemporary(0x04000000) == 1, "temporary message");
    message.String("SUBJECT", "a subject of the usual length");
    message.String("FROM", "\"Ann Example\" <ann@example.org>");
    message.String("Document Type", "text/plain");
    message.Content().Write(content.data(), kContentSize);
    Check(forum.InsertMessage(message) != 0, "insert");
  }
}

void Report(benchmark::State& state, int messages) {
  state.SetItemsProcessed(state.iterations() * messages);
  state.SetBytesProcessed(state.iterations() * messages * static_cast<long>(kContentSize));
}

void CreateForumOfMessages(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  for (auto _ : state) {
    test::TemporaryDirectory directory;
    TForum forum;
    Check(forum.Open("f", directory.Path().c_str(), 2, 4096, 16) == 1, "create");
    Fill(forum, count);
    forum.Close();
  }
  Report(state, count);
}

void ReadForumOfMessages(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  test::TemporaryDirectory directory;
  {
    TForum forum;
    Check(forum.Open("f", directory.Path().c_str(), 2, 4096, 16) == 1, "create");
    Fill(forum, count);
  }
  std::vector<char> buffer(kContentSize);
  for (auto _ : state) {
    TForum forum;
    Check(forum.Open("f", directory.Path().c_str(), 2, 0, 16) == 1, "open");
    for (int i = 1; i <= count; ++i) {
      TMail message;
      Check(forum.OpenMessage(static_cast<DWORD>(i), &message) == 1, "message");
      benchmark::DoNotOptimize(message.String("SUBJECT"));
      Check(message.Content().Read(buffer.data(), kContentSize) == kContentSize, "content");
    }
  }
  Report(state, count);
}

// One message to a forum that holds range(0): open, insert, commit, close.
void AddOneMessage(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  test::TemporaryDirectory directory;
  {
    TForum forum;
    Check(forum.Open("f", directory.Path().c_str(), 2, 4096, 16) == 1, "create");
    Fill(forum, count);
  }
  for (auto _ : state) {
    TForum forum;
    Check(forum.Open("f", directory.Path().c_str(), 2, 0, 16) == 1, "open");
    Fill(forum, 1);
    Check(forum.Storage().Commit() == 1, "commit");
  }
  Report(state, 1);
}

void FloorWriteFile(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const std::string content = Content();
  for (auto _ : state) {
    test::TemporaryDirectory directory;
    std::ofstream file(directory / "f", std::ios::binary);
    for (int i = 0; i < count; ++i) file.write(content.data(), kContentSize);
    Check(static_cast<bool>(file.flush()), "write");
  }
  Report(state, count);
}

void FloorReadFile(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  test::TemporaryDirectory directory;
  std::string whole;
  for (int i = 0; i < count; ++i) whole += Content();
  test::WriteFileBytes(directory / "f", whole);
  std::vector<char> buffer(kContentSize);
  for (auto _ : state) {
    std::ifstream file(directory / "f", std::ios::binary);
    for (int i = 0; i < count; ++i) file.read(buffer.data(), kContentSize);
    Check(static_cast<bool>(file), "read");
  }
  Report(state, count);
}

BENCHMARK(CreateForumOfMessages)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(FloorWriteFile)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadForumOfMessages)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(FloorReadFile)->Arg(1000)->Unit(benchmark::kMillisecond);
BENCHMARK(AddOneMessage)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
