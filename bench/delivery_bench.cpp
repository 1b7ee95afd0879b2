// What delivery costs before it says a word to a server: checksums, the scan of a site, the remote
// file table. Beside the first two stands what the machine needs to read the bytes at all.
#include "platform/win32.h"
#include "shared/file_checksum.h"
#include "shared/local_folder.h"
#include "support/temporary_directory.h"
#include "text/unique_file.h"

#include <brevant/remote_fat.h>

#include <atomic>
#include <benchmark/benchmark.h>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

const std::atomic<int> kGoOn{1};

void Check(bool fine, const char* what) {
  if (!fine) throw std::runtime_error(what);
}

std::string Bytes(std::size_t count) {
  std::string bytes(count, '\0');
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<char>(i * 2654435761U >> 13);
  return bytes;
}

void SetBytes(benchmark::State& state, std::int64_t each) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * each);
}

void Checksum(benchmark::State& state) {
  const std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    benchmark::DoNotOptimize(brevant::FileChecksum(bytes.data(), bytes.size()));
  }
  SetBytes(state, state.range(0));
}
BENCHMARK(Checksum)->Arg(64)->Arg(4096)->Arg(1 << 20);

void FloorCopy(benchmark::State& state) {
  const std::string bytes = Bytes(static_cast<std::size_t>(state.range(0)));
  std::string copy(bytes.size(), '\0');
  for (auto _ : state) {
    std::memcpy(copy.data(), bytes.data(), bytes.size());
    benchmark::ClobberMemory();
  }
  SetBytes(state, state.range(0));
}
BENCHMARK(FloorCopy)->Arg(4096)->Arg(1 << 20);

// A directory of files of one size.
class Site {
 public:
  Site(int count, std::size_t size) {
    const std::string bytes = Bytes(size);
    for (int i = 0; i < count; ++i) {
      test::WriteFileBytes(directory_ / ("page" + std::to_string(i) + ".html"), bytes);
    }
  }
  const std::string& Path() const { return directory_.Path(); }

 private:
  test::TemporaryDirectory directory_;
};

void ScanSite(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(1));
  const Site site(static_cast<int>(state.range(0)), size);
  for (auto _ : state) {
    brevant::TLocalFolder folder;
    Check(brevant::TLocalScan(kGoOn, false).Scan(site.Path(), &folder), "scan");
    Check(folder.files.size() == static_cast<std::size_t>(state.range(0)), "files");
  }
  SetBytes(state, state.range(0) * state.range(1));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(ScanSite)
    ->Args({2000, 4096})
    ->Args({200, 1 << 20})
    ->Args({2, 100 << 20})
    ->Unit(benchmark::kMillisecond);

// The same files opened and read by name, without a sum.
void FloorRead(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(1));
  const Site site(static_cast<int>(state.range(0)), size);
  std::vector<char> block(128 * 1024);
  for (auto _ : state) {
    for (const auto& entry : std::filesystem::directory_iterator(site.Path())) {
      std::FILE* file = std::fopen(entry.path().c_str(), "rb");
      std::setvbuf(file, nullptr, _IONBF, 0);
      while (std::fread(block.data(), 1, block.size(), file) == block.size()) {
      }
      std::fclose(file);
    }
  }
  SetBytes(state, state.range(0) * state.range(1));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(FloorRead)->Args({2000, 4096})->Args({200, 1 << 20})->Unit(benchmark::kMillisecond);

// So many files in so many directories.
void Fill(TRemoteFAT& table, std::int64_t files, std::int64_t directories, DWORD checksum) {
  for (std::int64_t i = 0; i < files; ++i) {
    const std::string directory = "~me/www/" + std::to_string(i % directories) + "/";
    const std::string name = "message--f--general_talk--" + std::to_string(i) + ".htm";
    table.RemoteDirectoryRecord(directory.c_str())->Put({name, checksum, 4096});
  }
}

void LoadTable(benchmark::State& state) {
  const test::TemporaryDirectory directory;
  const std::string path = directory / "server.fat";
  {
    TRemoteFAT table(path.c_str());
    Fill(table, state.range(0), state.range(1), 1);
  }
  for (auto _ : state) {
    const TRemoteFAT table(path.c_str());
    Check(table.Loaded() != 0, "load");
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(LoadTable)
    ->Args({10000, 1})
    ->Args({100000, 1})
    ->Args({100000, 100})
    ->Unit(benchmark::kMillisecond);

// Every file has changed.
void SaveTable(benchmark::State& state) {
  const test::TemporaryDirectory directory;
  const std::string path = directory / "server.fat";
  DWORD checksum = 0;
  TRemoteFAT table(path.c_str());
  for (auto _ : state) {
    state.PauseTiming();
    Fill(table, state.range(0), state.range(1), ++checksum);
    state.ResumeTiming();
    Check(table.Save() != 0, "save");
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(SaveTable)
    ->Args({10000, 1})
    ->Args({100000, 1})
    ->Args({100000, 100})
    ->Unit(benchmark::kMillisecond);

}  // namespace
