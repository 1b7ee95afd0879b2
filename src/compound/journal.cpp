#include "compound/journal.h"

#include "compound/checksum.h"
#include "compound/format.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace compound {
namespace {

constexpr std::array<std::uint8_t, 8> kMagic = {'B', 'r', 'v', 'J', 'n', 'l', 0x1A, 0x0A};
constexpr std::uint32_t kFormat = 1;
constexpr std::size_t kPieceBytes = 512;

// The header is one piece, so that the seal is there or not.
constexpr std::size_t kFormatAt = 8;
constexpr std::size_t kPieceBytesAt = 12;
constexpr std::size_t kCountAt = 16;
constexpr std::size_t kFileBytesAt = 24;
constexpr std::size_t kRecordSumAt = 32;
constexpr std::size_t kHeaderSumAt = 40;
constexpr std::size_t kJournalHeaderBytes = 512;

// A record: the piece's number, the checksums of its old and new content, the new content.
constexpr std::size_t kOldSumAt = 8;
constexpr std::size_t kNewSumAt = 16;
constexpr std::size_t kContentAt = 24;
constexpr std::size_t kRecordBytes = kContentAt + kPieceBytes;

constexpr std::size_t kRecordsAtOnce = 480;     // a quarter of a megabyte
constexpr std::uint64_t kKeptBytes = 1U << 20;  // a journal longer than this is not used again

// Reads exactly count bytes; what is behind the end of the file reads as zeros.
void ReadPadded(ByteFile& file, std::uint64_t offset, std::uint8_t* target, std::size_t count) {
  std::size_t got = 0;
  Check(file.ReadAt(offset, target, count, &got));
  std::memset(target + got, 0, count - got);
}

std::uint64_t SumOfPiece(const std::uint8_t* piece) { return Checksum(piece, kPieceBytes); }

// Gathers neighbouring pieces into one write.
class RunWriter {
 public:
  explicit RunWriter(ByteFile& file) : file_(file) {}

  void Add(std::uint64_t offset, const std::uint8_t* piece) {
    if (offset != start_ + run_.size() || run_.size() >= kRecordsAtOnce * kPieceBytes) Flush();
    if (run_.empty()) start_ = offset;
    run_.insert(run_.end(), piece, piece + kPieceBytes);
  }
  void Flush() {
    if (!run_.empty()) Check(file_.WriteAt(start_, run_.data(), run_.size()));
    run_.clear();
  }

 private:
  ByteFile& file_;
  std::uint64_t start_ = 0;
  std::vector<std::uint8_t> run_;
};

}  // namespace

struct JournalReader::Record {
  std::uint32_t piece = 0;
  std::uint64_t oldSum = 0;
  std::uint64_t newSum = 0;
  const std::uint8_t* content = nullptr;
  const std::uint8_t* bytes = nullptr;  // all of it

  std::uint64_t Offset() const { return std::uint64_t{piece} * kPieceBytes; }
};

std::uint64_t JournalReader::ContentAt(std::size_t index) {
  return kJournalHeaderBytes + std::uint64_t{index} * kRecordBytes + kContentAt;
}

// Calls work for each record until it returns false; true when it never did.
template <typename Work>
bool JournalReader::ForEach(Work work) {
  std::vector<std::uint8_t> buffer(std::min<std::size_t>(count_, kRecordsAtOnce) * kRecordBytes);
  for (std::uint32_t done = 0; done < count_;) {
    const std::size_t records = std::min<std::size_t>(count_ - done, kRecordsAtOnce);
    ReadPadded(journal_, kJournalHeaderBytes + std::uint64_t{done} * kRecordBytes, buffer.data(),
               records * kRecordBytes);
    for (std::size_t i = 0; i < records; ++i) {
      const std::uint8_t* bytes = buffer.data() + i * kRecordBytes;
      const Record record{Load32(bytes), Load64(bytes + kOldSumAt), Load64(bytes + kNewSumAt),
                          bytes + kContentAt, bytes};
      if (!work(record)) return false;
    }
    done += static_cast<std::uint32_t>(records);
  }
  return true;
}

JournalState JournalReader::Check() {
  std::array<std::uint8_t, kJournalHeaderBytes> header{};
  std::size_t got = 0;
  std::uint64_t size = 0;
  compound::Check(journal_.Size(&size));
  compound::Check(journal_.ReadAt(0, header.data(), header.size(), &got));
  const bool empty = std::all_of(header.begin(), header.end(), [](auto byte) { return byte == 0; });
  if (empty) return JournalState::kUnsealed;
  if (!std::equal(kMagic.begin(), kMagic.end(), header.begin())) return JournalState::kForeign;
  if (Load64(header.data() + kHeaderSumAt) != Checksum(header.data(), kHeaderSumAt)) {
    return JournalState::kUnsealed;
  }
  // A later version's, perhaps.
  if (Load32(header.data() + kFormatAt) != kFormat ||
      Load32(header.data() + kPieceBytesAt) != kPieceBytes) {
    return JournalState::kForeign;
  }
  const std::uint32_t count = Load32(header.data() + kCountAt);
  if (size < kJournalHeaderBytes || (size - kJournalHeaderBytes) / kRecordBytes < count) {
    return JournalState::kUnsealed;
  }
  count_ = count;
  fileBytes_ = Load64(header.data() + kFileBytesAt);
  std::uint64_t sum = 0;
  std::uint64_t least = 0;  // what the next piece's number may be
  const bool sound = ForEach([&](const Record& record) {
    sum = Checksum(record.bytes, kRecordBytes, sum);
    const bool inOrder = record.piece >= least && record.Offset() < fileBytes_;
    least = std::uint64_t{record.piece} + 1;
    return inOrder && SumOfPiece(record.content) == record.newSum;
  });
  if (sound && sum == Load64(header.data() + kRecordSumAt)) return JournalState::kSealed;
  count_ = 0;
  return JournalState::kUnsealed;
}

bool JournalReader::Fits(ByteFile& file) {
  std::uint64_t size = 0;
  compound::Check(file.Size(&size));
  if (size < fileBytes_) return false;
  std::array<std::uint8_t, kPieceBytes> piece;
  return ForEach([&](const Record& record) {
    ReadPadded(file, record.Offset(), piece.data(), piece.size());
    const std::uint64_t sum = SumOfPiece(piece.data());
    return sum == record.oldSum || sum == record.newSum;
  });
}

void JournalReader::Apply(ByteFile& file) {
  RunWriter writer(file);
  ForEach([&](const Record& record) {
    writer.Add(record.Offset(), record.content);
    return true;
  });
  writer.Flush();
}

std::vector<std::uint32_t> JournalReader::Pieces() {
  std::vector<std::uint32_t> pieces;
  pieces.reserve(count_);
  ForEach([&](const Record& record) {
    pieces.push_back(record.piece);
    return true;
  });
  return pieces;
}

void SettleJournal(JournalPlace& place, ByteFile* file) {
  std::unique_ptr<ByteFile> left;
  const Status opened = place.Open(&left);
  if (opened == Status::kNotFound) return;
  bool keep = true;
  if (opened != Status::kNotCompound) {
    Check(opened);
    JournalReader reader(*left);
    const JournalState state = reader.Check();
    keep = state == JournalState::kForeign || state == JournalState::kSealed;
    if (state == JournalState::kSealed && file != nullptr && reader.Fits(*file)) {
      reader.Apply(*file);
      Check(file->Sync());
      keep = false;
    }
  }
  left.reset();
  Check(keep ? place.SetAside() : place.Remove());
  Check(place.SyncNames());
}

Journal::~Journal() {
  if (file_ != nullptr && !pending_) static_cast<void>(place_->Remove());
}

void Journal::Begin(std::uint64_t fileBytes) {
  if (file_ == nullptr) {
    nameSynced_ = false;
    Status made = place_->Create(&file_);
    // Somebody put something there since the opening.
    if (made == Status::kExists) made = place_->SetAside();
    if (made == Status::kOk && file_ == nullptr) made = place_->Create(&file_);
    if (made != Status::kOk) file_.reset();
    Check(made == Status::kExists ? Status::kWriteFault : made);
  }
  sealTried_ = false;
  fileBytes_ = fileBytes;
  buffer_.assign(kJournalHeaderBytes, 0);
  written_ = 0;
  count_ = 0;
  checksum_ = 0;
}

void Journal::Flush() {
  // The header's place in the first buffer is written with the seal; until then it reads as zeros.
  Check(file_->WriteAt(written_, buffer_.data(), buffer_.size()));
  written_ += buffer_.size();
  buffer_.clear();
}

void Journal::AddPiece(std::uint64_t number, const std::uint8_t* before,
                       const std::uint8_t* after) {
  std::uint8_t head[kContentAt] = {};
  Store32(head, static_cast<std::uint32_t>(number));
  Store64(head + kOldSumAt, SumOfPiece(before));
  Store64(head + kNewSumAt, SumOfPiece(after));
  const std::size_t at = buffer_.size();
  buffer_.insert(buffer_.end(), head, head + sizeof head);
  buffer_.insert(buffer_.end(), after, after + kPieceBytes);
  checksum_ = Checksum(buffer_.data() + at, kRecordBytes, checksum_);
  ++count_;
  if (buffer_.size() >= kRecordsAtOnce * kRecordBytes) Flush();
}

void Journal::Add(ByteFile& file, std::uint64_t offset, const std::uint8_t* data,
                  std::size_t count) {
  std::vector<std::uint8_t> before(count);
  ReadPadded(file, offset, before.data(), count);
  for (std::size_t at = 0; at < count; at += kPieceBytes) {
    if (std::memcmp(before.data() + at, data + at, kPieceBytes) == 0) continue;
    AddPiece((offset + at) / kPieceBytes, before.data() + at, data + at);
  }
}

void Journal::Seal() {
  std::uint8_t header[kJournalHeaderBytes] = {};
  std::copy(kMagic.begin(), kMagic.end(), header);
  Store32(header + kFormatAt, kFormat);
  Store32(header + kPieceBytesAt, kPieceBytes);
  Store32(header + kCountAt, count_);
  Store64(header + kFileBytesAt, fileBytes_);
  Store64(header + kRecordSumAt, checksum_);
  Store64(header + kHeaderSumAt, Checksum(header, kHeaderSumAt));
  if (written_ == 0) {
    std::copy(header, header + sizeof header, buffer_.begin());
    sealTried_ = true;
    Flush();
  } else {
    if (!buffer_.empty()) Flush();
    sealTried_ = true;
    Check(file_->WriteAt(0, header, sizeof header));
  }
  Check(file_->Sync());
  if (!nameSynced_) Check(place_->SyncNames());
  nameSynced_ = true;
}

bool Journal::Abandon() noexcept {
  if (file_ == nullptr) return true;
  const std::array<std::uint8_t, kJournalHeaderBytes> nothing{};
  // A seal that reached the disk must be gone from there before the file may change in any way.
  if (sealTried_ && (file_->WriteAt(0, nothing.data(), nothing.size()) != Status::kOk ||
                     file_->Sync() != Status::kOk)) {
    pending_ = true;
    return false;
  }
  file_.reset();
  static_cast<void>(place_->Remove());
  return true;
}

void Journal::Spent() noexcept {
  pending_ = false;
  sealTried_ = false;
  const std::array<std::uint8_t, kJournalHeaderBytes> nothing{};
  // Not synced: should the seal survive, all its pieces read as new.
  const bool marked = file_->WriteAt(0, nothing.data(), nothing.size()) == Status::kOk;
  std::uint64_t size = 0;
  const bool small = file_->Size(&size) == Status::kOk && size <= kKeptBytes;
  if (marked && small) return;
  file_.reset();
  static_cast<void>(place_->Remove());
}

void Journal::Finish(ByteFile& file) {
  JournalReader reader(*file_);
  if (reader.Check() != JournalState::kSealed) throw Error(Status::kReadFault);
  reader.Apply(file);
  Check(file.Sync());
  Spent();
}

namespace {

// A file under the pieces of a journal.
class OverlaidFile final : public ByteFile {
 public:
  OverlaidFile(std::unique_ptr<ByteFile> file, std::unique_ptr<ByteFile> journal,
               std::vector<std::uint32_t> pieces)
      : file_(std::move(file)), journal_(std::move(journal)), pieces_(std::move(pieces)) {}

  Status ReadAt(std::uint64_t offset, void* buffer, std::size_t count, std::size_t* got) override {
    const Status status = file_->ReadAt(offset, buffer, count, got);
    if (status != Status::kOk) return status;
    const std::uint64_t end = offset + *got;
    auto piece = std::lower_bound(pieces_.begin(), pieces_.end(), offset / kPieceBytes);
    for (; piece != pieces_.end() && *piece * std::uint64_t{kPieceBytes} < end; ++piece) {
      const std::uint64_t first = *piece * std::uint64_t{kPieceBytes};
      const std::uint64_t from = std::max(first, offset);
      const std::uint64_t to = std::min(first + kPieceBytes, end);
      const auto index = static_cast<std::size_t>(piece - pieces_.begin());
      std::size_t there = 0;
      const Status read = journal_->ReadAt(JournalReader::ContentAt(index) + (from - first),
                                           static_cast<std::uint8_t*>(buffer) + (from - offset),
                                           static_cast<std::size_t>(to - from), &there);
      if (read != Status::kOk || there < to - from) return Status::kReadFault;
    }
    return Status::kOk;
  }
  Status WriteAt(std::uint64_t, const void*, std::size_t) override { return Status::kReadOnly; }
  Status Size(std::uint64_t* size) override { return file_->Size(size); }
  Status SetSize(std::uint64_t) override { return Status::kReadOnly; }
  Status Sync() override { return Status::kOk; }

 private:
  std::unique_ptr<ByteFile> file_;
  std::unique_ptr<ByteFile> journal_;
  std::vector<std::uint32_t> pieces_;
};

}  // namespace

std::unique_ptr<ByteFile> WithJournal(std::unique_ptr<ByteFile> file, JournalPlace& place) {
  std::unique_ptr<ByteFile> journal;
  const Status opened = place.Open(&journal);
  if (opened == Status::kNotFound || opened == Status::kNotCompound) return file;
  Check(opened);
  JournalReader reader(*journal);
  if (reader.Check() != JournalState::kSealed || !reader.Fits(*file)) return file;
  std::vector<std::uint32_t> pieces = reader.Pieces();
  return std::make_unique<OverlaidFile>(std::move(file), std::move(journal), std::move(pieces));
}

}  // namespace compound
