// Structured storage alone: items of two small streams (768 and 2000 bytes) made, read, and added
// one by one. The floor writes as many bytes to a plain file.
#include "platform/win32.h"
#include "unit/platform/storage_helpers.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

using namespace test;

void Require(HRESULT result) {
  if (FAILED(result)) throw std::runtime_error("a storage call failed");
}

void AddItem(const Storage& root, int number) {
  static const std::string header(768, 'h');
  static const std::string body(2000, 'b');
  Storage item;
  Require(CreateStorage(root, "M" + std::to_string(100000 + number), item, kMake));
  Require(Put(item, "Header", header));
  Require(Put(item, "Body", body));
}

void Fill(const std::string& path, int count) {
  Storage root;
  Require(CreateFileRoot(path, root));
  for (int i = 0; i < count; ++i) AddItem(root, i);
  Require(root->Commit(STGC_DEFAULT));
}

void CreateItems(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  TemporaryDirectory directory;
  for (auto _ : state) Fill(directory / "f.mwd", count);
  state.SetItemsProcessed(state.iterations() * count);
}

void ReadItems(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  TemporaryDirectory directory;
  Fill(directory / "f.mwd", count);
  char buffer[2001];
  for (auto _ : state) {
    Storage root;
    Require(OpenFileRoot(directory / "f.mwd", root, kRead));
    Ref<IEnumSTATSTG> elements;
    Require(root->EnumElements(0, nullptr, 0, elements.Out()));
    STATSTG stat{};
    while (elements->Next(1, &stat, nullptr) == S_OK) {
      Storage item;
      Require(root->OpenStorage(stat.pwcsName, nullptr, kRead, nullptr, 0, item.Out()));
      CoTaskMemFree(stat.pwcsName);
      for (const char* name : {"Header", "Body"}) {
        Stream stream;
        Require(OpenStream(item, name, stream, kRead));
        Require(stream->Read(buffer, sizeof buffer, nullptr));
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * count);
}

// Each addition is durable before the next: opened, committed, closed.
void OpenAddClose(benchmark::State& state) {
  TemporaryDirectory directory;
  int number = static_cast<int>(state.range(0));
  Fill(directory / "f.mwd", number);
  for (auto _ : state) {
    Storage root;
    Require(OpenFileRoot(directory / "f.mwd", root));
    AddItem(root, number++);
    Require(root->Commit(STGC_DEFAULT));
  }
  state.SetItemsProcessed(state.iterations());
}

void AddToOpenFile(benchmark::State& state) {
  TemporaryDirectory directory;
  int number = static_cast<int>(state.range(0));
  Fill(directory / "f.mwd", number);
  Storage root;
  Require(OpenFileRoot(directory / "f.mwd", root));
  for (auto _ : state) {
    AddItem(root, number++);
    Require(root->Commit(STGC_DEFAULT));
  }
  state.SetItemsProcessed(state.iterations());
}

void FloorWriteBytes(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const std::string item(2768, 'x');
  TemporaryDirectory directory;
  for (auto _ : state) {
    std::ofstream file(directory / "f", std::ios::binary);
    for (int i = 0; i < count; ++i) file.write(item.data(), 2768);
  }
  state.SetItemsProcessed(state.iterations() * count);
}

BENCHMARK(CreateItems)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ReadItems)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(OpenAddClose)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(AddToOpenFile)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(FloorWriteBytes)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
