#include "compound/document.h"

#include <algorithm>
#include <cstring>

namespace compound {

// Marks the span in which the document is not consistent: left by an exception, it is given up.
class Document::Change {
 public:
  explicit Change(Document& document) : document_(document) {
    if (document.readOnly_) throw Error(Status::kReadOnly);
    if (document.givenUp_) throw Error(Status::kGivenUp);
    document.core_->pager.Trim();
    document.givenUp_ = true;
  }
  Change(const Change&) = delete;
  Change& operator=(const Change&) = delete;
  void Done() { document_.givenUp_ = false; }

 private:
  Document& document_;
};

Document::Document(std::unique_ptr<ByteFile> file, Header header, std::uint64_t fileBytes,
                   std::uint32_t sectors, const DocumentOptions& options)
    : file_(std::move(file)),
      core_(std::make_unique<Core>(*file_, header, fileBytes, sectors, options.limits)),
      tree_(core_->directory),
      readOnly_(options.readOnly) {}

Document::~Document() {
  if (!readOnly_) core_->pager.DropChanges();
}

std::unique_ptr<Document> Document::Create(std::unique_ptr<ByteFile> file,
                                           const DocumentOptions& options,
                                           std::unique_ptr<JournalPlace> place) {
  std::uint64_t oldBytes = 0;
  Check(file->Size(&oldBytes));
  const bool replaces = place != nullptr && oldBytes != 0;
  if (!replaces) Check(file->SetSize(0));
  std::unique_ptr<Document> document(new Document(std::move(file), NewHeader(options.version),
                                                  replaces ? oldBytes : 0, 0, options));
  Core& core = *document->core_;
  if (replaces) {
    // The old content stays whole up to the commit: nothing goes over it but through the journal.
    document->journal_ = std::make_unique<Journal>(std::move(place));
    core.pager.TakeAllForOld();
  }
  core.directory.Add(EntryType::kRoot, u"Root Entry");
  core.directory.SetRed(kRootEntry, false);
  core.mini.Attach(kEndOfChain, 0);
  document->Commit();
  if (replaces && !document->journal_->IsPending()) core.pager.CutOff();
  if (!replaces && place != nullptr) {
    document->journal_ = std::make_unique<Journal>(std::move(place));
  }
  return document;
}

std::unique_ptr<Document> Document::Open(std::unique_ptr<ByteFile> file,
                                         const DocumentOptions& options,
                                         std::unique_ptr<JournalPlace> place) {
  std::unique_ptr<Journal> journal;
  if (place != nullptr && options.readOnly) {
    file = WithJournal(std::move(file), *place);
  } else if (place != nullptr) {
    SettleJournal(*place, file.get());
    journal = std::make_unique<Journal>(std::move(place));
  }
  const Header header = ReadHeader(*file);
  std::uint64_t bytes = 0;
  Check(file->Size(&bytes));
  // Sectors that the FAT does not describe belong to nothing: a growth that was never committed.
  const std::uint64_t behindHeader =
      bytes > header.SectorBytes() ? bytes - header.SectorBytes() : 0;
  const std::uint64_t whole = (behindHeader + header.SectorBytes() - 1) >> header.sectorShift;
  const std::uint64_t described =
      static_cast<std::uint64_t>(header.fatSectors) * (header.SectorBytes() / 4);
  if (header.fatSectors > whole || header.difatSectors > whole) throw Error(Status::kCorrupt);
  const auto sectors = static_cast<std::uint32_t>(
      std::min({whole, described, static_cast<std::uint64_t>(kMaxSector)}));
  std::unique_ptr<Document> document(
      new Document(std::move(file), header, bytes, sectors, options));
  document->journal_ = std::move(journal);
  Core& core = *document->core_;
  if (core.directory.Type(kRootEntry) != EntryType::kRoot) throw Error(Status::kCorrupt);
  core.mini.Attach(core.directory.Start(kRootEntry), core.directory.Size(kRootEntry));
  return document;
}

void Document::RequireStorage(EntryId entry) {
  if (!IsStorage(entry)) throw Error(Status::kInvalidChange);
}

EntryId Document::Find(EntryId storage, std::u16string_view name) {
  core_->pager.Trim();
  if (name.empty() || name.size() > kMaxNameUnits) return kNoEntry;
  return tree_.Find(storage, name);
}

std::vector<EntryId> Document::List(EntryId storage) {
  core_->pager.Trim();
  return tree_.List(storage);
}

std::vector<EntryId> Document::ListAfter(EntryId storage, std::u16string_view name) {
  std::vector<EntryId> list = List(storage);
  const NameKey key(name);
  const auto rest = std::partition_point(list.begin(), list.end(), [&](EntryId id) {
    return key.Compare(core_->directory.Read(id)) >= 0;
  });
  list.erase(list.begin(), rest);
  return list;
}

EntryId Document::FindAfter(EntryId storage, std::u16string_view name) {
  core_->pager.Trim();
  return tree_.FindAfter(storage, name);
}

EntryInfo Document::Info(EntryId entry) {
  core_->pager.Trim();
  const std::uint8_t* bytes = core_->directory.Read(entry);
  EntryInfo info;
  info.name = EntryName(bytes);
  info.isStorage = IsStorage(entry);
  if (!info.isStorage) {
    info.size = core_->directory.Size(entry);
    return info;
  }
  std::copy_n(bytes + kEntryClassAt, info.classId.size(), info.classId.begin());
  info.stateBits = Load32(bytes + kEntryStateAt);
  info.created = Load64(bytes + kEntryCreatedAt);
  info.modified = Load64(bytes + kEntryModifiedAt);
  return info;
}

EntryId Document::CreateEntry(EntryId parent, std::u16string_view name, EntryType type) {
  RequireStorage(parent);
  const EntryId id = core_->directory.Add(type, name);
  tree_.Insert(parent, id);
  ++generation_;
  return id;
}

EntryId Document::CreateStorage(EntryId parent, std::u16string_view name, std::uint64_t time) {
  if (Find(parent, name) != kNoEntry) throw Error(Status::kExists);
  if (!IsValidName(name)) throw Error(Status::kInvalidName);
  Change change(*this);
  const EntryId id = CreateEntry(parent, name, EntryType::kStorage);
  std::uint8_t* entry = core_->directory.Write(id);
  Store64(entry + kEntryCreatedAt, time);
  Store64(entry + kEntryModifiedAt, time);
  change.Done();
  return id;
}

EntryId Document::CreateStream(EntryId parent, std::u16string_view name) {
  if (Find(parent, name) != kNoEntry) throw Error(Status::kExists);
  if (!IsValidName(name)) throw Error(Status::kInvalidName);
  Change change(*this);
  const EntryId id = CreateEntry(parent, name, EntryType::kStream);
  change.Done();
  return id;
}

// Collects first what goes, then takes it apart: a damaged tree is found out before any change.
std::vector<EntryId> Document::RemoveAll(EntryId parent, EntryId entry) {
  std::vector<EntryId> all{entry};
  for (std::size_t i = 0; i < all.size(); ++i) {
    core_->pager.Trim();
    if (!IsStorage(all[i])) continue;
    const std::vector<EntryId> inside = tree_.List(all[i]);
    all.insert(all.end(), inside.begin(), inside.end());
    if (all.size() > EntryBound()) throw Error(Status::kCorrupt);
  }
  std::vector<EntryId> sorted(all);
  std::sort(sorted.begin(), sorted.end());
  if (sorted.front() == kRootEntry ||
      std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end()) {
    throw Error(Status::kCorrupt);
  }
  Change change(*this);
  tree_.Remove(parent, entry);
  for (const EntryId id : all) {
    core_->pager.Trim();
    if (IsStream(id)) {
      const std::uint64_t size = core_->directory.Size(id);
      const std::uint32_t start = core_->directory.Start(id);
      if (size >= kMiniCutoff) {
        core_->fat.FreeChain(start);
      } else if (size > 0) {
        core_->mini.FreeChain(start);
      }
    }
    core_->directory.Remove(id);
    tree_.Forget(id);
    streams_.erase(id);
  }
  ++generation_;
  change.Done();
  return all;
}

void Document::Rename(EntryId parent, EntryId entry, std::u16string_view name) {
  Move(parent, entry, parent, name);
}

void Document::Move(EntryId parent, EntryId entry, EntryId target, std::u16string_view name) {
  if (Find(target, name) != kNoEntry) throw Error(Status::kExists);
  if (!IsValidName(name)) throw Error(Status::kInvalidName);
  RequireStorage(target);
  Change change(*this);
  tree_.Remove(parent, entry);
  core_->directory.SetName(entry, name);
  tree_.Insert(target, entry);
  ++generation_;
  change.Done();
}

void Document::SetTimes(EntryId storage, std::optional<std::uint64_t> created,
                        std::optional<std::uint64_t> modified) {
  Change change(*this);
  std::uint8_t* entry = core_->directory.Write(storage);
  if (created) Store64(entry + kEntryCreatedAt, *created);
  if (modified) Store64(entry + kEntryModifiedAt, *modified);
  change.Done();
}

void Document::SetClass(EntryId storage, const ClassId& id) {
  Change change(*this);
  std::copy(id.begin(), id.end(), core_->directory.Write(storage) + kEntryClassAt);
  change.Done();
}

void Document::SetStateBits(EntryId storage, std::uint32_t bits, std::uint32_t mask) {
  Change change(*this);
  std::uint8_t* at = core_->directory.Write(storage) + kEntryStateAt;
  Store32(at, (Load32(at) & ~mask) | (bits & mask));
  change.Done();
}

std::shared_ptr<Stream> Document::OpenStream(EntryId stream) {
  core_->pager.Trim();
  if (!IsStream(stream)) throw Error(Status::kNotFound);
  if (streams_.size() >= sweepAt_) {
    std::erase_if(streams_, [](const auto& item) { return item.second.expired(); });
    sweepAt_ = std::max(kStreamsKept, 2 * streams_.size());
  }
  std::weak_ptr<Stream>& known = streams_[stream];
  std::shared_ptr<Stream> shared = known.lock();
  if (!shared) {
    shared = std::make_shared<Stream>(*core_, stream);
    known = shared;
  }
  return shared;
}

void Document::Write(Stream& stream, std::uint64_t position, const void* buffer,
                     std::size_t count) {
  if (position + count > kRangeLockOffset) throw Error(Status::kTooLarge);
  Change change(*this);
  stream.Write(position, buffer, count);
  change.Done();
}

void Document::Resize(Stream& stream, std::uint64_t size) {
  if (size > kRangeLockOffset) throw Error(Status::kTooLarge);
  Change change(*this);
  stream.Resize(size);
  change.Done();
}

void Document::VisitOld(const Pager::RunVisitor& visitor) {
  StoreHeader(core_->header);
  visitor(0, core_->header.bytes.data(), kHeaderBytes);
  core_->pager.VisitOld(visitor);
}

void Document::WriteJournal() {
  try {
    journal_->Begin(core_->pager.DocumentBytes());
    VisitOld([this](std::uint64_t offset, const std::uint8_t* data, std::size_t count) {
      journal_->Add(*file_, offset, data, count);
    });
    journal_->Seal();
  } catch (...) {
    if (!journal_->Abandon()) core_->pager.KeepGrowth();
    throw;
  }
}

void Document::WriteOld() {
  VisitOld([this](std::uint64_t offset, const std::uint8_t* data, std::size_t count) {
    Check(file_->WriteAt(offset, data, count));
  });
  Check(file_->Sync());
}

void Document::Commit() {
  if (givenUp_) throw Error(Status::kGivenUp);
  if (readOnly_) return;
  Core& core = *core_;
  if (core.mini.HasMoved()) {
    core.directory.SetStream(kRootEntry, core.mini.First(), core.mini.Size());
    core.mini.SetSaved();
  }
  if (journal_ != nullptr && journal_->IsPending()) journal_->Finish(*file_);
  if (!HasChanges()) return;
  ++core.header.sequence;
  core.header.dirty = true;
  core.pager.WriteFresh();
  // A new file has no old state that must outlive this.
  const bool isNew = journal_ == nullptr && core.pager.IsNew();
  if (!isNew) Check(file_->Sync());
  if (journal_ != nullptr) {
    WriteJournal();
  } else {
    core.pager.KeepGrowth();
  }
  bool written = false;
  try {
    WriteOld();
    written = true;
  } catch (const std::exception&) {
    // With the journal sealed the commit has happened: what fails here is made good later.
    if (journal_ == nullptr) throw;
  }
  core.header.dirty = false;
  core.fat.Committed(written);
  core.mini.Committed();
  core.directory.Committed();
  if (journal_ == nullptr) return;
  if (written) {
    journal_->Spent();
  } else {
    journal_->Postpone();
  }
}

}  // namespace compound
