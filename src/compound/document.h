// A compound file as a tree of storages and streams, with changes that are committed together.
//
// Everything throws Error (or std::bad_alloc). A change that fails half-way leaves a document that
// still can be read but commits nothing more: the file keeps its last committed state.
#pragma once

#include "compound/directory_tree.h"
#include "compound/journal.h"
#include "compound/stream.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace compound {

// Times are in units of 100 ns since 1601-01-01 Greenwich; 0 is none.
struct EntryInfo {
  std::u16string name;
  bool isStorage = false;
  std::uint64_t size = 0;  // bytes; 0 for storages
  ClassId classId{};
  std::uint32_t stateBits = 0;
  std::uint64_t created = 0;
  std::uint64_t modified = 0;
};

struct DocumentOptions {
  bool readOnly = false;
  std::uint16_t version = 3;  // of a new document: 3, or 4
  PagerLimits limits;
};

class Document {
 public:
  // Makes an empty document of the file, whatever it held, and commits it. Without a place for a
  // journal neither this nor what follows is safe from kills.
  static std::unique_ptr<Document> Create(std::unique_ptr<ByteFile> file,
                                          const DocumentOptions& options,
                                          std::unique_ptr<JournalPlace> place = nullptr);
  // Deals with the journal, if there is one, and reads the header, no more.
  static std::unique_ptr<Document> Open(std::unique_ptr<ByteFile> file,
                                        const DocumentOptions& options,
                                        std::unique_ptr<JournalPlace> place = nullptr);
  // Drops what was not committed.
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  // The element of a storage, or kNoEntry. Names differ by more than letter case.
  EntryId Find(EntryId storage, std::u16string_view name);
  // The elements in directory order.
  std::vector<EntryId> List(EntryId storage);
  // Those after a name, there or not: all of them, or the first (kNoEntry when there is none).
  std::vector<EntryId> ListAfter(EntryId storage, std::u16string_view name);
  EntryId FindAfter(EntryId storage, std::u16string_view name);
  // Throws kCorrupt where there is no such entry.
  EntryInfo Info(EntryId entry);
  bool IsStorage(EntryId entry) { return core_->directory.IsStorage(entry); }
  // Whether the entry may be an element: in a damaged file anything may hang in a tree.
  bool IsElement(EntryId entry) {
    return entry != kRootEntry && (IsStream(entry) || IsStorage(entry));
  }
  bool IsStream(EntryId entry) { return core_->directory.Type(entry) == EntryType::kStream; }

  // New elements; the name must be new and valid. A storage gets `time` as both its times.
  EntryId CreateStorage(EntryId parent, std::u16string_view name, std::uint64_t time);
  EntryId CreateStream(EntryId parent, std::u16string_view name);
  // Removes an element with all that is in it. Calls `gone` for each entry that goes.
  template <typename Gone>
  void Remove(EntryId parent, EntryId entry, Gone gone) {
    for (const EntryId id : RemoveAll(parent, entry)) gone(id);
  }
  void Rename(EntryId parent, EntryId entry, std::u16string_view name);
  // Hangs an element under another storage, with a new name.
  void Move(EntryId parent, EntryId entry, EntryId target, std::u16string_view name);
  void SetTimes(EntryId storage, std::optional<std::uint64_t> created,
                std::optional<std::uint64_t> modified);
  void SetClass(EntryId storage, const ClassId& id);
  void SetStateBits(EntryId storage, std::uint32_t bits, std::uint32_t mask);

  // A stream's content. All users of one stream share it; after its removal it must not be used.
  std::shared_ptr<Stream> OpenStream(EntryId stream);
  void Write(Stream& stream, std::uint64_t position, const void* buffer, std::size_t count);
  void Resize(Stream& stream, std::uint64_t size);

  // Grows with every change to a directory: what was listed before may be outdated.
  std::uint64_t Generation() const { return generation_; }
  std::uint32_t EntryBound() const { return core_->directory.Bound(); }
  // All streams of a sound document together hold no more bytes.
  std::uint64_t ContentBound() const {
    return static_cast<std::uint64_t>(core_->pager.SectorCount()) << core_->header.sectorShift;
  }
  bool HasChanges() const { return core_->header.dirty || core_->pager.HasChanges(); }
  bool IsGivenUp() const { return givenUp_; }
  // Nothing is committed any more.
  void GiveUp() { givenUp_ = true; }
  // Brings all changes into the file, together or not at all: what was free or beyond the end
  // first, then what goes over old content into the journal; from then on the commit has happened,
  // and it is no error when that content cannot be brought into the file at once.
  void Commit();

 private:
  class Change;

  Document(std::unique_ptr<ByteFile> file, Header header, std::uint64_t fileBytes,
           std::uint32_t sectors, const DocumentOptions& options);
  EntryId CreateEntry(EntryId parent, std::u16string_view name, EntryType type);
  std::vector<EntryId> RemoveAll(EntryId parent, EntryId entry);
  void RequireStorage(EntryId entry);
  void VisitOld(const Pager::RunVisitor& visitor);
  void WriteJournal();
  void WriteOld();

  std::unique_ptr<ByteFile> file_;
  std::unique_ptr<Journal> journal_;  // null without a place for one
  std::unique_ptr<Core> core_;
  DirectoryTree tree_;
  // A closed one keeps its memory while it is known here, and hundreds of documents may be open.
  static constexpr std::size_t kStreamsKept = 32;
  std::unordered_map<EntryId, std::weak_ptr<Stream>> streams_;
  std::size_t sweepAt_ = kStreamsKept;  // streams_ is rid of closed ones at this size
  std::uint64_t generation_ = 0;
  bool readOnly_;
  bool givenUp_ = false;
};

}  // namespace compound
