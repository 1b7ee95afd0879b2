// Settings and the persistent state. A value of equal length is written in place, any other makes a
// new file; settings are synced on the way, the state is not. The floors do the bare file
// operations.
#include "frame/reporting.h"
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <brevant/frame.h>

#include <benchmark/benchmark.h>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

constexpr const char* kModule = "..\\shared\\mailtask.cpp";

void Check(bool fine, const char* what) {
  if (!fine) throw std::runtime_error(what);
}

// A directory with a store of some twenty values.
class Stores {
 public:
  Stores() {
    SetProgramDirectory(directory_.Path().c_str());
    std::string text = "[Tavernix]\r\n";
    for (int i = 0; i < 20; ++i) text += "Key " + std::to_string(i) + "=a value of some length\r\n";
    test::WriteFileBytes(directory_ / "settings.ini", text);
    test::WriteFileBytes(directory_ / "state.ini", text);
    setup_ = std::make_unique<TSetup>("settings.ini");
    state_ = std::make_unique<TPersistentState>("state.ini");
  }
  ~Stores() { SetProgramDirectory(nullptr); }
  Stores(const Stores&) = delete;
  Stores& operator=(const Stores&) = delete;

  TSetup& Setup() { return *setup_; }
  TPersistentState& State() { return *state_; }
  std::string Path(const char* name) const { return directory_ / name; }

 private:
  test::TemporaryDirectory directory_;
  std::unique_ptr<TSetup> setup_;
  std::unique_ptr<TPersistentState> state_;
};

// Two values each: the module, and a line of as many digits as the one before.
void TracePointOfEqualLength(benchmark::State& state) {
  Stores stores;
  int line = 100;
  for (auto _ : state) {
    brevant::Trace(&stores.State(), kModule, line);
    line = line == 999 ? 100 : line + 1;
  }
  state.SetItemsProcessed(state.iterations());
}

void TracePointOfAnotherLength(benchmark::State& state) {
  Stores stores;
  bool longer = false;
  for (auto _ : state) {
    brevant::Trace(&stores.State(), longer ? kModule : "..\\shared\\htmltask.cpp",
                   longer ? 100 : 9);
    longer = !longer;
  }
  state.SetItemsProcessed(state.iterations());
}

void WriteStateInPlace(benchmark::State& state) {
  Stores stores;
  DWORD value = 100000;
  for (auto _ : state) Check(stores.State().Number("Key 7", value++) == 1, "write");
  state.SetItemsProcessed(state.iterations());
}

void WriteSettingSynced(benchmark::State& state) {
  Stores stores;
  bool longer = false;
  for (auto _ : state) {
    Check(stores.Setup().String("Key 7", longer ? "longer" : "long") == 1, "write");
    longer = !longer;
  }
  state.SetItemsProcessed(state.iterations());
}

void ReadSetting(benchmark::State& state) {
  const Stores stores;
  char value[256];
  const std::string path = stores.Path("settings.ini");
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        GetPrivateProfileStringA("Tavernix", "Key 15", "", value, sizeof value, path.c_str()));
  }
  state.SetItemsProcessed(state.iterations());
}

HANDLE CreateToWrite(const std::string& path) {
  return CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                     nullptr);
}

void FloorWriteInPlace(benchmark::State& state) {
  const test::TemporaryDirectory directory;
  const HANDLE file = CreateToWrite(directory / "f");
  const std::string value = "Last line executed=162\r\n";
  for (auto _ : state) {
    DWORD written = 0;
    SetFilePointer(file, 0, nullptr, FILE_BEGIN);
    Check(WriteFile(file, value.data(), static_cast<DWORD>(value.size()), &written, nullptr) != 0,
          "write");
  }
  CloseHandle(file);
  state.SetItemsProcessed(state.iterations());
}

void FloorNewFile(benchmark::State& state) {
  const bool synced = state.range(0) != 0;
  const test::TemporaryDirectory directory;
  const std::string path = directory / "f";
  const std::string content(600, 'x');
  for (auto _ : state) {
    const HANDLE file = CreateToWrite(path + ".new");
    DWORD written = 0;
    Check(
        WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != 0,
        "write");
    if (synced) FlushFileBuffers(file);
    CloseHandle(file);
    Check(MoveFileExA((path + ".new").c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING) != 0,
          "rename");
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(TracePointOfEqualLength)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(TracePointOfAnotherLength)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(WriteStateInPlace)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(FloorWriteInPlace)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(WriteSettingSynced)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(FloorNewFile)
    ->ArgName("synced")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK(ReadSetting)->Unit(benchmark::kMicrosecond);

}  // namespace
