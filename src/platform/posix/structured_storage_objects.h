// The objects behind IStorage, IStream and IEnumSTATSTG. Below the seam only.
//
// The root storage owns the open document; every other object knows its parent and is cut off
// ("reverted") when the parent is released or the element destroyed: it then answers
// STG_E_REVERTED. An element is open through one object at a time.
#pragma once

#include "compound/document.h"
#include "platform/posix/structured_storage.h"
#include "platform/posix/structured_storage_file.h"

#include <atomic>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace brevant::posix {

class StorageObject;
class Element;

// Runs work and turns what it throws into a storage error code.
template <typename Work>
HRESULT Guarded(Work work) noexcept {
  try {
    return work();
  } catch (const compound::Error& error) {
    return ResultFromStatus(error.GetStatus());
  } catch (const std::bad_alloc&) {
    return STG_E_INSUFFICIENTMEMORY;
  } catch (const std::exception&) {
    return E_FAIL;
  }
}

std::uint64_t TimeNow();
// Fills in an element's statistics; the name, if wanted, is the caller's to free.
void FillStat(const compound::EntryInfo& info, bool withName, STATSTG* stat);
// A copy for the caller to free with CoTaskMemFree; throws std::bad_alloc.
LPOLESTR TaskString(const std::u16string& text);

// One open compound file.
class OpenDocument {
 public:
  OpenDocument(std::unique_ptr<StorageFile> file, std::unique_ptr<compound::Document> document,
               bool readOnly, bool deleteOnRelease)
      : file_(std::move(file)),
        document_(std::move(document)),
        readOnly_(readOnly),
        deleteOnRelease_(deleteOnRelease) {}
  OpenDocument(const OpenDocument&) = delete;
  OpenDocument& operator=(const OpenDocument&) = delete;
  // Commits, unless the file goes anyway or was given up.
  ~OpenDocument();

  compound::Document& Document() { return *document_; }
  StorageFile& File() { return *file_; }
  // Once it failed the file is given up: it fails ever after, and the release drops the changes.
  HRESULT Commit() noexcept;
  Element* FindOpen(compound::EntryId id) const;
  void Enter(compound::EntryId id, Element* element) { open_[id] = element; }
  void Leave(compound::EntryId id) { open_.erase(id); }
  // The root's times, set while it is open, hold over the writing at its release.
  HRESULT SetRootTimes(const FILETIME* created, const FILETIME* accessed, const FILETIME* modified);
  void RootChanged() { rootModified_.reset(); }

 private:
  std::unique_ptr<StorageFile> file_;
  std::unique_ptr<compound::Document> document_;
  std::unordered_map<compound::EntryId, Element*> open_;
  std::optional<FILETIME> rootModified_;
  HRESULT failure_ = S_OK;
  bool readOnly_;
  bool deleteOnRelease_;
};

// What open storages and open streams have in common: a place in the tree of open elements.
class Element {
 public:
  Element(OpenDocument* document, compound::EntryId id, StorageObject* parent, DWORD mode);
  Element(const Element&) = delete;
  Element& operator=(const Element&) = delete;

  bool IsReverted() const { return document_ == nullptr; }
  OpenDocument& Owner() const { return *document_; }
  compound::Document& Document() const { return document_->Document(); }
  compound::EntryId Id() const { return id_; }
  DWORD Mode() const { return mode_; }
  bool CanRead() const { return (mode_ & 3) != STGM_WRITE; }
  bool CanWrite() const { return (mode_ & 3) != STGM_READ; }
  StorageObject* Parent() const { return parent_; }
  virtual StorageObject* AsStorage() { return nullptr; }
  // Leaves the tree; a storage stamps its modification time first if something in it changed.
  virtual void Detach() noexcept;

 protected:
  virtual ~Element() = default;
  void MarkParentChanged();

 private:
  friend class StorageObject;

  OpenDocument* document_;
  compound::EntryId id_;
  StorageObject* parent_;
  DWORD mode_;
  Element* nextSibling_ = nullptr;
  Element* previousSibling_ = nullptr;
};

class StorageObject final : public IStorage, public Element {
 public:
  // The root of a document, which it takes over; or a storage inside another.
  static StorageObject* NewRoot(std::unique_ptr<OpenDocument> document, DWORD mode);
  StorageObject(OpenDocument* document, compound::EntryId id, StorageObject* parent, DWORD mode)
      : Element(document, id, parent, mode) {}

  HRESULT QueryInterface(const IID& id, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT CreateStream(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2,
                       IStream** stream) override;
  HRESULT OpenStream(LPCOLESTR name, void* reserved1, DWORD mode, DWORD reserved2,
                     IStream** stream) override;
  HRESULT CreateStorage(LPCOLESTR name, DWORD mode, DWORD reserved1, DWORD reserved2,
                        IStorage** storage) override;
  HRESULT OpenStorage(LPCOLESTR name, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved,
                      IStorage** storage) override;
  HRESULT CopyTo(DWORD excludedIdCount, const IID* excludedIds, SNB exclude,
                 IStorage* target) override;
  HRESULT MoveElementTo(LPCOLESTR name, IStorage* target, LPCOLESTR newName, DWORD flags) override;
  HRESULT Commit(DWORD flags) override;
  HRESULT Revert() override;
  HRESULT EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                       IEnumSTATSTG** elements) override;
  HRESULT DestroyElement(LPCOLESTR name) override;
  HRESULT RenameElement(LPCOLESTR oldName, LPCOLESTR newName) override;
  HRESULT SetElementTimes(LPCOLESTR name, const FILETIME* created, const FILETIME* accessed,
                          const FILETIME* modified) override;
  HRESULT SetClass(const CLSID& id) override;
  HRESULT SetStateBits(DWORD bits, DWORD mask) override;
  HRESULT Stat(STATSTG* stat, DWORD flag) override;

  StorageObject* AsStorage() override { return this; }
  void Detach() noexcept override;
  void MarkChanged();
  void AddChild(Element* child);
  void RemoveChild(Element* child);
  // Takes an element away with all that is open in it.
  void Destroy(compound::EntryId id);

 private:
  friend class EnumObject;

  ~StorageObject() override = default;
  HRESULT CheckNew(LPCOLESTR name, DWORD mode, bool reserved, const void* out) const;
  HRESULT CheckOpen(LPCOLESTR name, DWORD mode, bool reserved, const void* out) const;
  HRESULT CheckChange() const;
  HRESULT PrepareNew(LPCOLESTR name, DWORD mode);
  HRESULT FindToOpen(LPCOLESTR name, bool storage, compound::EntryId* id);
  HRESULT FindToChange(LPCOLESTR name, compound::EntryId* id);
  void CutChildren() noexcept;

  std::atomic<ULONG> references_{1};
  std::unique_ptr<OpenDocument> owned_;  // of the root only
  Element* firstChild_ = nullptr;
  bool changed_ = false;
  // What enumerators hold, so that they notice when the storage has gone.
  std::shared_ptr<StorageObject*> self_;
};

// The stream that one or more IStream objects (clones) work on.
class StreamElement final : public Element {
 public:
  StreamElement(OpenDocument* document, compound::EntryId id, StorageObject* parent, DWORD mode);
  ~StreamElement() override;

  compound::Stream& Content() { return *content_; }
  void MarkChanged() { MarkParentChanged(); }
  void Detach() noexcept override;

 private:
  std::shared_ptr<compound::Stream> content_;
};

class StreamObject final : public IStream {
 public:
  StreamObject(std::shared_ptr<StreamElement> element, std::uint64_t position)
      : element_(std::move(element)), position_(position) {}

  HRESULT QueryInterface(const IID& id, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT Read(void* buffer, ULONG count, ULONG* read) override;
  HRESULT Write(const void* buffer, ULONG count, ULONG* written) override;
  HRESULT Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override;
  HRESULT SetSize(ULARGE_INTEGER size) override;
  HRESULT CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                 ULARGE_INTEGER* written) override;
  HRESULT Commit(DWORD flags) override;
  HRESULT Revert() override;
  HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) override;
  HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER count, DWORD type) override;
  HRESULT Stat(STATSTG* stat, DWORD flag) override;
  HRESULT Clone(IStream** copy) override;

 private:
  ~StreamObject() = default;

  std::atomic<ULONG> references_{1};
  std::shared_ptr<StreamElement> element_;
  std::uint64_t position_;
};

// Walks the elements of a storage in directory order. Elements that come or go meanwhile are seen
// or not seen by their place in that order.
class EnumObject final : public IEnumSTATSTG {
 public:
  explicit EnumObject(std::shared_ptr<StorageObject*> storage) : storage_(std::move(storage)) {}

  HRESULT QueryInterface(const IID& id, void** object) override;
  ULONG AddRef() override;
  ULONG Release() override;
  HRESULT Next(ULONG count, STATSTG* elements, ULONG* fetched) override;
  HRESULT Skip(ULONG count) override;
  HRESULT Reset() override;
  HRESULT Clone(IEnumSTATSTG** copy) override;

 private:
  EnumObject(const EnumObject& other);
  ~EnumObject() = default;
  StorageObject* Storage() const { return *storage_; }
  bool Step(compound::EntryInfo* info);
  compound::EntryId NextId(compound::Document& document, compound::EntryId storage);

  std::atomic<ULONG> references_{1};
  std::shared_ptr<StorageObject*> storage_;
  std::u16string last_;  // the name given last; empty before the first
  std::vector<compound::EntryId> listed_;
  std::size_t at_ = 0;
  std::optional<std::uint64_t> listedAt_;  // the document's generation when listed_ was made
  std::optional<std::uint64_t> seenAt_;    // and at the last step
};

// Copies the content of one storage into another, merging storages and replacing streams.
HRESULT CopyContent(StorageObject& source, StorageObject& target);
// Copies one element under a new name; the name must be free.
HRESULT CopyElement(compound::Document& source, compound::EntryId element, StorageObject& target,
                    const std::u16string& name);

}  // namespace brevant::posix
