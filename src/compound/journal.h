// The journal of a commit: what goes over old content, written down and durable before the first
// old byte changes. docs/reliability.md has the reasoning, docs/formats/journal.md the bytes.
//
// The unit is a piece of 512 bytes at a multiple of 512, whatever the document's sector size: no
// disk writes less, so after a failure of power each piece is the old or the new one.
#pragma once

#include "compound/byte_file.h"

#include <memory>
#include <vector>

namespace compound {

// Where a document's journal stands. Operations report kOk or what hindered them.
class JournalPlace {
 public:
  JournalPlace() = default;
  JournalPlace(const JournalPlace&) = delete;
  JournalPlace& operator=(const JournalPlace&) = delete;
  virtual ~JournalPlace() = default;

  // Opens the journal that is there for reading: kNotFound when there is none, kNotCompound when
  // what stands under its name is no plain file.
  virtual Status Open(std::unique_ptr<ByteFile>* journal) = 0;
  // Makes an empty one.
  virtual Status Create(std::unique_ptr<ByteFile>* journal) = 0;
  virtual Status Remove() = 0;
  // Gives what stands there another name, a new one that no journal has.
  virtual Status SetAside() = 0;
  // Returns when what was made, removed or renamed here stays so after a failure of power.
  virtual Status SyncNames() = 0;
};

// What stands in the place of a journal.
enum class JournalState {
  kNone,
  kUnsealed,  // begun and not completed, or used up: of no use to anybody
  kForeign,   // written by something else
  kSealed,
};

// Reads a journal, which may hold anything, in pieces of bounded size.
class JournalReader {
 public:
  explicit JournalReader(ByteFile& journal) : journal_(journal) {}

  // Must be called first. Throws when the journal cannot be read.
  JournalState Check();
  // Whether every piece of the file still reads as the journal's old or new one.
  bool Fits(ByteFile& file);
  // Writes all pieces to the file, those too that read as new: nobody knows whether these are on
  // the disk.
  void Apply(ByteFile& file);
  // The numbers of the pieces, ascending; the content of the i-th starts at ContentAt(i).
  std::vector<std::uint32_t> Pieces();
  static std::uint64_t ContentAt(std::size_t index);

 private:
  struct Record;

  template <typename Work>
  bool ForEach(Work work);

  ByteFile& journal_;
  std::uint32_t count_ = 0;
  std::uint64_t fileBytes_ = 0;
};

// Deals with what an earlier opening left: a sealed journal that fits is brought into the file, one
// that does not fit, or has no file (null), is set aside, an unsealed one is dropped.
void SettleJournal(JournalPlace& place, ByteFile* file);

// The journal of a document that is open for writing.
class Journal {
 public:
  explicit Journal(std::unique_ptr<JournalPlace> place) : place_(std::move(place)) {}
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;
  // Removes the journal, unless what it holds is not in the file yet.
  ~Journal();

  // A commit writes all that is to go over old content: runs of whole pieces in ascending order,
  // when the file has its new length. Unchanged pieces are left out.
  void Begin(std::uint64_t fileBytes);
  void Add(ByteFile& file, std::uint64_t offset, const std::uint8_t* data, std::size_t count);
  // When it returns the commit has happened, and its content is to be brought into the file.
  void Seal();
  // After a failure before that: makes sure that nobody takes the journal for a sealed one. False
  // when that failed, too; then the file must stay fit for it.
  bool Abandon() noexcept;

  // The sealed content is in the file and durable.
  void Spent() noexcept;
  // It is not: the journal stays until Finish has brought it there.
  void Postpone() { pending_ = true; }
  bool IsPending() const { return pending_; }
  void Finish(ByteFile& file);

 private:
  void Flush();
  void AddPiece(std::uint64_t number, const std::uint8_t* before, const std::uint8_t* after);

  std::unique_ptr<JournalPlace> place_;
  std::unique_ptr<ByteFile> file_;  // the journal, from the first commit on
  bool nameSynced_ = false;         // its directory entry is durable
  bool sealTried_ = false;          // the disk may hold a seal
  bool pending_ = false;
  std::vector<std::uint8_t> buffer_;  // what is to be written next
  std::uint64_t written_ = 0;         // the journal's bytes before the buffer's
  std::uint32_t count_ = 0;
  std::uint64_t fileBytes_ = 0;
  std::uint64_t checksum_ = 0;  // of the records so far
};

// For an opening that may not write: the file as it reads once its journal, if there is a sealed
// one that fits, is applied. Nothing on the disk changes.
std::unique_ptr<ByteFile> WithJournal(std::unique_ptr<ByteFile> file, JournalPlace& place);

}  // namespace compound
