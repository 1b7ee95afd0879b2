// Forums that grow: one more message, durable before the next, in forums of every size. What each
// costs should not depend on the size. The floors make as many bytes durable in a plain file.
#include "board/list_index.h"
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <brevant/board.h>

#include <benchmark/benchmark.h>
#include <stdexcept>
#include <string>

namespace {

constexpr int kContentSize = 2000;  // about the size of a mail's text
constexpr int kRecordSize = 128;

void Check(bool fine, const char* what) {
  if (!fine) throw std::runtime_error(what);
}

void Insert(TForum& forum) {
  static const std::string content(kContentSize, 'x');
  TMail message;
  Check(message.OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)) == 1, "temporary message");
  message.String("SUBJECT", "a subject of the usual length");
  message.String("FROM", "\"Ann Example\" <ann@example.org>");
  message.String("Document Type", "text/plain");
  message.Content().Write(content.data(), kContentSize);
  Check(forum.InsertMessage(message) != 0, "insert");
}

// A forum file with so many messages.
class ForumFile {
 public:
  explicit ForumFile(long messages, LONG most = 1000000) {
    TForum forum;
    Check(forum.Open("f", directory_.Path().c_str(), 2, 4096, 16) == 1, "create");
    forum.Number("Max Message Count", most);
    for (long i = 0; i < messages; ++i) Insert(forum);
    Check(forum.Storage().Commit() == 1, "commit");
  }
  void Open(TForum& forum) const {
    Check(forum.Open("f", directory_.Path().c_str(), 2, 0, 16) == 1, "open");
  }

 private:
  test::TemporaryDirectory directory_;
};

void InsertAndCommit(benchmark::State& state) {
  const ForumFile file(state.range(0));
  TForum forum;
  file.Open(forum);
  for (auto _ : state) {
    Insert(forum);
    Check(forum.Storage().Commit() == 1, "commit");
  }
  state.SetItemsProcessed(state.iterations());
}

// Each message pushes the oldest out, and the message list moves up.
void InsertIntoFullForum(benchmark::State& state) {
  const ForumFile file(state.range(0), static_cast<LONG>(state.range(0)));
  TForum forum;
  file.Open(forum);
  for (auto _ : state) {
    Insert(forum);
    Check(forum.Storage().Commit() == 1, "commit");
  }
  state.SetItemsProcessed(state.iterations());
}

// The list in memory, as pages and neighbours need it.
void LoadMessageList(benchmark::State& state) {
  const ForumFile file(state.range(0));
  for (auto _ : state) {
    TForum forum;
    file.Open(forum);
    benchmark::DoNotOptimize(forum.MessageIndex().Size());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0) * kRecordSize);
}

void WalkMessageList(benchmark::State& state) {
  const ForumFile file(state.range(0));
  TForum forum;
  file.Open(forum);
  for (auto _ : state) {
    DWORD index = 0;
    DWORD link = 0;
    char subject[kRecordSize];
    forum.StartMessageSearch();
    while (forum.ReadNextMessageInfo(&index, &link, subject, kRecordSize) != 0) {
      benchmark::DoNotOptimize(subject);
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(state.iterations() * state.range(0) * kRecordSize);
}

void FloorWriteAndSync(benchmark::State& state) {
  const test::TemporaryDirectory directory;
  const HANDLE file = CreateFileA((directory / "f").c_str(), GENERIC_WRITE, 0, nullptr,
                                  CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  const std::string content(kContentSize, 'x');
  for (auto _ : state) {
    DWORD written = 0;
    Check(WriteFile(file, content.data(), kContentSize, &written, nullptr) != 0 &&
              FlushFileBuffers(file) != 0,
          "write");
  }
  CloseHandle(file);
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(InsertAndCommit)->Arg(10)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(InsertIntoFullForum)->Arg(16)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(FloorWriteAndSync)->Unit(benchmark::kMicrosecond);
BENCHMARK(LoadMessageList)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(WalkMessageList)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);

}  // namespace
