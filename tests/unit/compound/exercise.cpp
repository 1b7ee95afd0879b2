#include "unit/compound/exercise.h"

#include "unit/compound/document_helpers.h"

#include <cstdlib>

namespace test {
namespace {

using namespace compound;

// What a sound answer may not exceed: ends the program, so that a fuzzer notices too.
void Demand(bool fact) {
  if (!fact) std::abort();
}

// Every element, no deeper than the file can hold, each stream's first and last bytes.
void ReadAll(Document& document) {
  std::vector<EntryId> pending{kRootEntry};
  std::size_t left = 2000;
  while (!pending.empty()) {
    const EntryId storage = pending.back();
    pending.pop_back();
    std::vector<EntryId> list;
    StatusOf([&] { list = document.List(storage); });
    Demand(list.size() <= document.EntryBound());
    for (const EntryId id : list) {
      if (left-- == 0) return;
      StatusOf([&] {
        const EntryInfo info = document.Info(id);
        StatusOf([&] { document.Find(storage, info.name); });
        StatusOf([&] { document.FindAfter(storage, info.name); });
        if (!document.IsElement(id)) return;
        if (info.isStorage) return pending.push_back(id);
        const auto stream = document.OpenStream(id);
        char buffer[6000];
        Demand(stream->Read(0, buffer, sizeof buffer) <= sizeof buffer);
        if (stream->Size() > 100) stream->Read(stream->Size() - 100, buffer, 200);
      });
    }
  }
}

void ChangeSome(Document& document) {
  std::vector<EntryId> list;
  StatusOf([&] { list = document.List(kRootEntry); });
  list.resize(std::min<std::size_t>(list.size(), 8));
  std::size_t i = 0;
  for (const EntryId id : list) {
    StatusOf([&] {
      switch (i++ % 4) {
        case 0:
          document.Remove(kRootEntry, id, [](EntryId) {});
          break;
        case 1:
          document.Resize(*document.OpenStream(id), 100);
          break;
        case 2:
          document.Write(*document.OpenStream(id), 5000, "abc", 3);
          break;
        default:
          document.Rename(kRootEntry, id, u"another name");
      }
    });
  }
  StatusOf([&] { Put(document, kRootEntry, "added", Pattern(100)); });
  StatusOf([&] { Put(document, kRootEntry, "added too", Pattern(5000)); });
  StatusOf([&] { Put(document, document.CreateStorage(kRootEntry, u"made", 1), "x", "x"); });
}

}  // namespace

void ExerciseBytes(const std::string& bytes) {
  const DiskPtr disk = NewDisk(bytes);
  StatusOf([&] {
    const DocumentPtr document = Open(disk);
    ReadAll(*document);
    ChangeSome(*document);
    StatusOf([&] { document->Commit(); });
    ReadAll(*document);
  });
  // Six streams of a few sectors, and the tables for them.
  Demand(disk->bytes.size() <= bytes.size() + (256U << 10));
  StatusOf([&] { ReadAll(*Open(disk)); });
}

}  // namespace test
