// Makes, changes and lists compound files through the platform's structured storage. The same
// program runs here and, over the real ole32, on Windows: what one writes the other must list
// equally.
//   storage_tool make|extend|trim|walk FILE
#include "platform/win32.h"
#include "unit/platform/storage_helpers.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using namespace test;

void Require(HRESULT result, const std::string& what) {
  if (SUCCEEDED(result)) return;
  std::fprintf(stderr, "%s: %08lX\n", what.c_str(),
               static_cast<unsigned long>(static_cast<DWORD>(result)));
  std::exit(1);
}

std::uint32_t Crc32(const std::string& bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320 & (0 - (crc & 1)));
  }
  return ~crc;
}

void AddItem(const Storage& root, int i) {
  Storage item;
  Require(CreateStorage(root, "item " + std::to_string(i), item, kMake), "CreateStorage");
  Require(Put(item, "INFO", PatternText(128U * static_cast<unsigned>(i % 9))), "INFO");
  Require(Put(item, "CONTENT", PatternText(static_cast<unsigned>(i * 733 % 9000))), "CONTENT");
  if (i % 50 != 0) return;
  Storage inner;
  Require(CreateStorage(item, "inner", inner, kMake), "inner");
  Require(Put(inner, "caf\xC3\xA9", PatternText(70)), "stream");
}

void Make(const std::string& file) {
  Storage root;
  Require(CreateFileRoot(file, root), file);
  for (const unsigned size : {0U, 1U, 63U, 64U, 65U, 4095U, 4096U, 4097U}) {
    Require(Put(root, std::to_string(size), PatternText(size)), "Put");
  }
  Require(Put(root, "large", PatternText(9U << 20)), "large");
  for (int i = 0; i < 300; ++i) AddItem(root, i);
  Require(root->Commit(STGC_DEFAULT), "Commit");
}

void Extend(const std::string& file) {
  Storage root;
  Require(OpenFileRoot(file, root), file);
  for (int i = 300; i < 400; ++i) AddItem(root, i);
  Stream stream;
  Require(OpenStream(root, "65", stream), "OpenStream");
  Require(SetSize(stream, 5000), "SetSize");
  stream.Reset();
  Require(OpenStream(root, "4097", stream), "OpenStream");
  Require(SetSize(stream, 10), "SetSize");
  stream.Reset();
  Require(root->Commit(STGC_DEFAULT), "Commit");
}

void Trim(const std::string& file) {
  Storage root;
  Require(OpenFileRoot(file, root), file);
  for (int i = 0; i < 250; ++i) {
    Require(DestroyElement(root, "item " + std::to_string(i)), "DestroyElement");
  }
  Require(DestroyElement(root, "large"), "DestroyElement");
  Require(RenameElement(root, "item 299", "item new"), "RenameElement");  // of equal length
  for (int i = 400; i < 450; ++i) AddItem(root, i);
  Require(root->Commit(STGC_DEFAULT), "Commit");
}

void Walk(const Storage& storage, const std::string& path) {
  Ref<IEnumSTATSTG> elements;
  Require(storage->EnumElements(0, nullptr, 0, elements.Out()), "EnumElements");
  STATSTG stat{};
  while (elements->Next(1, &stat, nullptr) == S_OK) {
    const std::string name = Narrow(stat.pwcsName);
    const bool isStorage = stat.type == STGTY_STORAGE;
    CoTaskMemFree(stat.pwcsName);
    stat = {};
    if (isStorage) {
      std::printf("%s%s/\n", path.c_str(), name.c_str());
      Storage inner;
      Require(OpenStorage(storage, name, inner, kRead), "OpenStorage");
      Walk(inner, path + name + "/");
      continue;
    }
    Stream stream;
    Require(OpenStream(storage, name, stream, kRead), "OpenStream");
    const std::string content = ReadAll(stream);
    std::printf("%s%s %lu %08lx\n", path.c_str(), name.c_str(),
                static_cast<unsigned long>(content.size()),
                static_cast<unsigned long>(Crc32(content)));
  }
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const std::string command = arguments[1];
  const std::string file = arguments[2];
  OleInitialize(nullptr);
  if (command == "make") Make(file);
  if (command == "extend") Extend(file);
  if (command == "trim") Trim(file);
  if (command == "walk") {
    Storage root;
    Require(OpenFileRoot(file, root, kRead), file);
    Walk(root, "");
  }
  OleUninitialize();
  return 0;
}
