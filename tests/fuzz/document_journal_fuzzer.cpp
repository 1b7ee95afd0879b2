// Any bytes as the journal beside a sound document, and journals that are sealed as they should be
// whatever they say: the document stays as it is or gets exactly what a fitting journal holds.
#include "compound/checksum.h"
#include "fuzzed_input.h"
#include "unit/compound/crash_disk.h"
#include "unit/compound/document_helpers.h"

#include <map>
#include <string>
#include <vector>

using test::Require;

namespace {

constexpr std::size_t kPiece = 512;

std::uint64_t SumOf(const std::string& bytes) {
  return compound::Checksum(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

std::string Number(std::uint64_t value, std::size_t bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

const std::string& SoundFile() {
  static const std::string file = [] {
    const test::CrashDiskPtr disk = test::NewCrashDisk();
    const auto document = test::OpenOn(disk);
    test::Put(*document, compound::kRootEntry, "kept", test::Pattern(6000));
    document->Commit();
    return disk->Bytes("file");
  }();
  return file;
}

// A journal with every checksum right, and what the file becomes when it fits.
struct Made {
  std::string journal;
  std::string file = SoundFile();
  bool fits = true;
};

Made Make(test::FuzzedInput& input) {
  Made made;
  std::string records;
  std::uint64_t count = 0;
  std::uint64_t least = 0;
  bool sound = true;
  const unsigned options = input.Byte();
  // Bytes that the file should have had; beyond its end pieces read as zeros.
  const std::uint64_t fileBytes =
      SoundFile().size() + ((options & 1) != 0 ? input.Byte() * kPiece : 0) - (options & 2);
  while (!input.Empty() && count < 40) {
    const unsigned kind = input.Byte();
    const std::uint64_t number = (kind & 1) != 0 ? input.Byte() : least;
    std::string before = (kind & 2) != 0 ? input.Part() : std::string();
    before.resize(kPiece, '\0');
    if ((kind & 2) == 0 && number * kPiece < SoundFile().size())
      before = SoundFile().substr(static_cast<std::size_t>(number) * kPiece, kPiece);
    before.resize(kPiece, '\0');
    std::string after = input.Part();
    after.resize(kPiece, static_cast<char>(kind));
    records += Number(number, 8) + Number(SumOf(before), 8) + Number(SumOf(after), 8) + after;
    sound = sound && number >= least && number * kPiece < fileBytes;
    least = number + 1;
    ++count;
    if (!sound) continue;
    const std::size_t at = static_cast<std::size_t>(number) * kPiece;
    std::string now = at < SoundFile().size() ? SoundFile().substr(at, kPiece) : std::string();
    now.resize(kPiece, '\0');
    made.fits = made.fits && (now == before || now == after);
    if (made.file.size() < at + kPiece) made.file.resize(at + kPiece, '\0');
    made.file.replace(at, kPiece, after);
  }
  std::string header = "BrvJnl\x1A\n" + Number(1, 4) + Number(kPiece, 4) + Number(count, 8) +
                       Number(fileBytes, 8) + Number(SumOf(records), 8);
  header += Number(SumOf(header), 8);
  header.resize(kPiece, '\0');
  made.journal = header + records;
  made.fits = made.fits && sound && SoundFile().size() >= fileBytes;
  if (!made.fits) made.file = SoundFile();
  return made;
}

// Opens the document beside the journal, for reading first; what the file's bytes are then.
std::string Opened(const std::string& journal) {
  const auto disk = std::make_shared<test::CrashDisk>();
  disk->Put("file", SoundFile());
  disk->Put("journal", journal);
  test::StatusOf([&] {
    const auto document = test::OpenOn(disk, true);
    test::Content(*document, compound::kRootEntry, "kept");
  });
  Require(disk->Bytes("file") == SoundFile() && disk->Bytes("journal") == journal,
          "who only reads changes nothing");
  test::StatusOf([&] {
    const auto document = test::OpenOn(disk);
    test::Content(*document, compound::kRootEntry, "kept");
  });
  Require(!disk->Has("journal"), "the journal is dealt with");
  return disk->Bytes("file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  if (input.Byte() % 2 == 0) {
    const Made made = Make(input);
    Require(Opened(made.journal) == made.file, "a sealed journal is applied when it fits");
  } else {
    Opened(input.Rest());
  }
  return 0;
}
