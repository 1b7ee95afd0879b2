// Any bytes as the journal beside a sound document, and journals that are sealed as they should be
// whatever they say: the document stays as it is or gets exactly what a fitting journal holds.
#include "compound/checksum.h"
#include "fuzzed_input.h"
#include "unit/compound/crash_disk.h"
#include "unit/compound/document_helpers.h"

#include <algorithm>
#include <string>

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

std::string PieceOf(const std::string& file, std::uint64_t number) {
  const std::uint64_t at = number * kPiece;
  std::string piece =
      at < file.size() ? file.substr(static_cast<std::size_t>(at), kPiece) : std::string();
  piece.resize(kPiece, '\0');  // beyond a file's end pieces read as zeros
  return piece;
}

// A journal with every checksum right, and what the file becomes of it.
class Made {
 public:
  explicit Made(test::FuzzedInput& input) {
    const unsigned options = input.Byte();
    fileBytes_ =
        SoundFile().size() + ((options & 1) != 0 ? input.Byte() * kPiece : 0) - (options & 2);
    while (!input.Empty() && count_ < 40) Add(input);
  }

  std::string Journal() const {
    std::string header = "BrvJnl\x1A\n" + Number(1, 4) + Number(kPiece, 4) + Number(count_, 8) +
                         Number(fileBytes_, 8) + Number(SumOf(records_), 8);
    header += Number(SumOf(header), 8);
    header.resize(kPiece, '\0');
    return header + records_;
  }
  const std::string& File() const {
    return fits_ && SoundFile().size() >= fileBytes_ ? file_ : SoundFile();
  }

 private:
  void Add(test::FuzzedInput& input) {
    const unsigned kind = input.Byte();
    const std::uint64_t number = (kind & 1) != 0 ? input.Byte() : least_;
    std::string before = (kind & 2) != 0 ? input.Part() : PieceOf(SoundFile(), number);
    before.resize(kPiece, '\0');
    std::string after = input.Part();
    after.resize(kPiece, static_cast<char>(kind));
    records_ += Number(number, 8) + Number(SumOf(before), 8) + Number(SumOf(after), 8) + after;
    const std::string now = PieceOf(SoundFile(), number);
    fits_ = fits_ && number >= least_ && number * kPiece < fileBytes_ &&
            (now == before || now == after);
    least_ = number + 1;
    ++count_;
    if (!fits_) return;
    const auto at = static_cast<std::size_t>(number) * kPiece;
    file_.resize(std::max(file_.size(), at + kPiece), '\0');
    file_.replace(at, kPiece, after);
  }

  std::string records_;
  std::string file_ = SoundFile();
  std::uint64_t fileBytes_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t least_ = 0;  // the next piece's number
  bool fits_ = true;
};

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
    const Made made(input);
    Require(Opened(made.Journal()) == made.File(), "a sealed journal is applied when it fits");
  } else {
    Opened(input.Rest());
  }
  return 0;
}
