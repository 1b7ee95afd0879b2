// Any bytes as a compound file: opened, read, changed, committed, read again. A file that was sound
// holds after a change what it should, and is sound still.
#include "fuzzed_input.h"
#include "unit/compound/document_helpers.h"
#include "unit/compound/exercise.h"
#include "unit/compound/file_checker.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>

namespace {

using namespace compound;

// Thrown for a name that the checker could not tell from others.
struct WideName {};

constexpr std::size_t kMostBytes = 1U << 18;

// What the checker should find: all elements under their paths.
using Elements = std::map<std::string, std::string>;

// The checker narrows names; of others it could not tell which is which.
bool IsNarrow(std::u16string_view name) {
  return std::all_of(name.begin(), name.end(),
                     [](char16_t unit) { return unit > 0 && unit < 128 && unit != '/'; });
}

void Collect(Document& document, EntryId storage, const std::string& path, Elements& elements) {
  for (const EntryId id : document.List(storage)) {
    const EntryInfo info = document.Info(id);
    if (!IsNarrow(info.name)) throw WideName();
    const std::string name = path + test::Narrow(info.name);
    if (info.isStorage) {
      elements[name + '/'];
      Collect(document, id, name + '/', elements);
    } else {
      elements[name] = test::Content(document, id);
    }
  }
}

Elements ElementsOf(Document& document) {
  Elements elements;
  Collect(document, kRootEntry, "", elements);
  return elements;
}

// Some changes of elements that are there, and some new elements.
void Change(Document& document, test::FuzzedInput& choices) {
  for (int changes = 0; changes < 6; ++changes) {
    const std::vector<EntryId> list = document.List(kRootEntry);
    const std::size_t size = choices.Byte() * 64;
    const EntryId id = list.empty() ? kNoEntry : list[choices.Byte() % list.size()];
    const std::string name = "new " + std::to_string(changes);
    const bool isStream = id != kNoEntry && document.IsStream(id);
    switch (choices.Byte() % 5) {
      case 0:
        if (id != kNoEntry) document.Remove(kRootEntry, id, [](EntryId) {});
        break;
      case 1:
        if (isStream) document.Resize(*document.OpenStream(id), size);
        break;
      case 2:
        if (isStream) document.Write(*document.OpenStream(id), size, "abc", 3);
        break;
      case 3:
        test::Put(document, document.CreateStorage(kRootEntry, test::Wide(name), 1), "inside",
                  test::Pattern(size));
        break;
      default:
        test::Put(document, kRootEntry, name, test::Pattern(size));
    }
  }
}

void CheckSound(const std::string& bytes) {
  const test::CheckedFile before = test::CheckFile(bytes, true);
  if (!before.problems.empty()) return;
  const test::DiskPtr disk = test::NewDisk(bytes);
  Elements wanted;
  const Status status = test::StatusOf([&] {
    const test::DocumentPtr document = test::Open(disk);
    test::Require(ElementsOf(*document) == before.elements, "a sound file is read");
    // The end of the file decides what is changed: no part of it is left to be ignored.
    const std::string tail = bytes.substr(bytes.size() - std::min<std::size_t>(bytes.size(), 20));
    test::FuzzedInput choices(reinterpret_cast<const std::uint8_t*>(tail.data()), tail.size());
    Change(*document, choices);
    wanted = ElementsOf(*document);
    document->Commit();
  });
  test::Require(status == Status::kOk, "a sound file can be changed");
  const test::CheckedFile after = test::CheckFile(disk->bytes, true);
  if (!after.problems.empty()) std::fputs(test::Problems(after).c_str(), stderr);
  test::Require(after.problems.empty(), "a changed file is sound");
  test::Require(after.elements == wanted, "it holds what was changed");
  test::Require(ElementsOf(*test::Open(disk)) == wanted, "it reads as it was left");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  test::ExerciseBytes(bytes);
  try {
    if (size <= kMostBytes) CheckSound(bytes);
  } catch (const WideName&) {
    return 0;
  }
  return 0;
}
