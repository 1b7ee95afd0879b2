// The compound-file job of bench_cfb.py: PHASE is create, read or add, on FILE, with N items
// (M00000 and so on, each of two streams) and HAVE of them there before. The layout and every byte
// are those of cfb_gsf.c, which reads the file back afterwards. Prints the seconds that the job
// alone took.
#include "platform/win32.h"
#include "unit/platform/storage_helpers.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

using namespace test;

constexpr int kHeaderSize = 768;
constexpr int kBodySize = 2000;

void Require(HRESULT result) {
  if (FAILED(result)) throw std::runtime_error("a storage call failed");
}

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string("missing variable ") + name);
  return value;
}

std::string Content(int size, int seed) {
  std::string bytes(static_cast<std::size_t>(size), '\0');
  for (int i = 0; i < size; ++i)
    bytes[static_cast<std::size_t>(i)] = static_cast<char>(seed * 31 + i);
  return bytes;
}

void Add(const Storage& root, int number) {
  std::array<char, 16> name;
  std::snprintf(name.data(), name.size(), "M%05d", number);
  Storage item;
  Require(CreateStorage(root, name.data(), item, kMake));
  Require(Put(item, "Header", Content(kHeaderSize, number)));
  Require(Put(item, "Body", Content(kBodySize, number + 1)));
}

void CheckStream(const Storage& item, const char* name, int size, int seed) {
  Stream stream;
  Require(OpenStream(item, name, stream, kRead));
  // One more than there should be, so that a longer stream does not pass.
  std::array<char, kBodySize + 1> bytes;
  ULONG got = 0;
  Require(stream->Read(bytes.data(), static_cast<ULONG>(size) + 1, &got));
  if (std::string_view(bytes.data(), got) != Content(size, seed)) {
    throw std::runtime_error("a stream holds something else");
  }
}

void Create(const std::string& file, int count) {
  Storage root;
  Require(CreateFileRoot(file, root));
  for (int i = 0; i < count; ++i) Add(root, i);
  Require(root->Commit(STGC_DEFAULT));
}

void Read(const std::string& file, int count) {
  Storage root;
  Require(OpenFileRoot(file, root, kRead));
  Ref<IEnumSTATSTG> elements;
  Require(root->EnumElements(0, nullptr, 0, elements.Out()));
  STATSTG stat{};
  int seen = 0;
  for (; elements->Next(1, &stat, nullptr) == S_OK; ++seen) {
    const std::string name = Narrow(stat.pwcsName);
    CoTaskMemFree(stat.pwcsName);
    Storage item;
    Require(OpenStorage(root, name, item, kRead));
    const int number = std::stoi(name.substr(1));
    CheckStream(item, "Header", kHeaderSize, number);
    CheckStream(item, "Body", kBodySize, number + 1);
  }
  if (seen < count) throw std::runtime_error("items are missing");
}

// Each item is on the disk before the next.
void AddOneByOne(const std::string& file, int have, int count) {
  for (int i = 0; i < count; ++i) {
    Storage root;
    Require(OpenFileRoot(file, root));
    Add(root, have + i);
    Require(root->Commit(STGC_DEFAULT));
  }
}

}  // namespace

int main() {
  try {
    const std::string phase = Environment("PHASE");
    const std::string file = Environment("FILE");
    const int count = std::stoi(Environment("N"));
    const int have = std::stoi(Environment("HAVE"));
    const auto start = std::chrono::steady_clock::now();
    if (phase == "create") {
      Create(file, count);
    } else if (phase == "read") {
      Read(file, count);
    } else {
      AddOneByOne(file, have, count);
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    std::printf("seconds=%.6f\n", taken.count());
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
  }
  return 1;
}
