// OpenDocument, Element, and the life of storages.
#include "platform/posix/structured_storage_objects.h"
#include "platform/posix/times.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace brevant::posix {

std::uint64_t TimeNow() { return Ticks(StorageNow()); }

LPOLESTR TaskString(const std::u16string& text) {
  const std::size_t bytes = (text.size() + 1) * sizeof(OLECHAR);
  auto* copy = static_cast<LPOLESTR>(std::malloc(bytes));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.c_str(), bytes);
  return copy;
}

void FillStat(const compound::EntryInfo& info, bool withName, STATSTG* stat) {
  *stat = {};
  if (withName) stat->pwcsName = TaskString(info.name);
  stat->type = info.isStorage ? STGTY_STORAGE : STGTY_STREAM;
  stat->cbSize.QuadPart = info.size;
  if (!info.isStorage) return;
  stat->mtime = FromTicks(info.modified);
  stat->ctime = FromTicks(info.created);
  static_assert(sizeof(CLSID) == sizeof(compound::ClassId));
  stat->clsid.Data1 = compound::Load32(info.classId.data());
  stat->clsid.Data2 = compound::Load16(info.classId.data() + 4);
  stat->clsid.Data3 = compound::Load16(info.classId.data() + 6);
  std::memcpy(stat->clsid.Data4, info.classId.data() + 8, 8);
  stat->grfStateBits = info.stateBits;
}

OpenDocument::~OpenDocument() {
  if (deleteOnRelease_) {
    ::unlink(file_->Path().c_str());
  } else {
    static_cast<void>(Commit());
  }
  document_.reset();
  if (rootModified_) static_cast<void>(file_->SetTimes(nullptr, nullptr, &*rootModified_));
}

HRESULT OpenDocument::Commit() noexcept {
  if (readOnly_) return S_OK;
  if (FAILED(failure_)) return failure_;
  const HRESULT result = Guarded([this] {
    document_->Commit();
    return S_OK;
  });
  if (FAILED(result)) {
    failure_ = result;
    document_->GiveUp();
  }
  return result;
}

Element* OpenDocument::FindOpen(compound::EntryId id) const {
  const auto found = open_.find(id);
  return found == open_.end() ? nullptr : found->second;
}

HRESULT OpenDocument::SetRootTimes(const FILETIME* created, const FILETIME* accessed,
                                   const FILETIME* modified) {
  if (modified != nullptr && Ticks(*modified) != 0) rootModified_ = *modified;
  return file_->SetTimes(created, accessed, modified);
}

Element::Element(OpenDocument* document, compound::EntryId id, StorageObject* parent, DWORD mode)
    : document_(document), id_(id), parent_(parent), mode_(mode) {
  if (parent == nullptr) return;
  document->Enter(id, this);
  parent->AddChild(this);
}

void Element::Detach() noexcept {
  if (document_ == nullptr) return;
  if (parent_ != nullptr) {
    document_->Leave(id_);
    parent_->RemoveChild(this);
  }
  document_ = nullptr;
  parent_ = nullptr;
}

void Element::MarkParentChanged() {
  if (parent_ != nullptr) parent_->MarkChanged();
}

StorageObject* StorageObject::NewRoot(std::unique_ptr<OpenDocument> document, DWORD mode) {
  auto* root = new StorageObject(document.get(), compound::kRootEntry, nullptr, mode);
  root->owned_ = std::move(document);
  return root;
}

void StorageObject::AddChild(Element* child) {
  child->nextSibling_ = firstChild_;
  if (firstChild_ != nullptr) firstChild_->previousSibling_ = child;
  firstChild_ = child;
}

void StorageObject::RemoveChild(Element* child) {
  Element* next = child->nextSibling_;
  Element* previous = child->previousSibling_;
  if (next != nullptr) next->previousSibling_ = previous;
  (previous != nullptr ? previous->nextSibling_ : firstChild_) = next;
  child->nextSibling_ = child->previousSibling_ = nullptr;
}

void StorageObject::MarkChanged() {
  changed_ = true;
  if (Parent() == nullptr && !IsReverted()) Owner().RootChanged();
}

// Cuts off whatever is open below, the innermost first. Goes down and up without recursion: how
// deeply storages nest is the file's choice.
void StorageObject::CutChildren() noexcept {
  StorageObject* at = this;
  while (true) {
    if (at->firstChild_ == nullptr) {
      if (at == this) return;
      StorageObject* parent = at->Parent();
      at->Detach();
      at = parent;
    } else if (StorageObject* inner = at->firstChild_->AsStorage(); inner != nullptr) {
      at = inner;
    } else {
      at->firstChild_->Detach();
    }
  }
}

void StorageObject::Detach() noexcept {
  if (IsReverted()) return;
  CutChildren();
  if (self_) *self_ = nullptr;
  if (changed_ && Parent() != nullptr) {
    // A failure shows at the commit: the document is given up.
    static_cast<void>(Guarded([this] {
      Document().SetTimes(Id(), std::nullopt, TimeNow());
      return S_OK;
    }));
    MarkParentChanged();
  }
  Element::Detach();
}

ULONG StorageObject::AddRef() { return ++references_; }

ULONG StorageObject::Release() {
  const ULONG left = --references_;
  if (left == 0) {
    Detach();
    owned_.reset();
    delete this;
  }
  return left;
}

HRESULT StorageObject::QueryInterface(const IID& id, void** object) {
  if (object == nullptr) return STG_E_INVALIDPOINTER;
  *object = nullptr;
  if (std::memcmp(&id, &IID_IUnknown, sizeof id) != 0 &&
      std::memcmp(&id, &IID_IStorage, sizeof id) != 0) {
    return E_NOINTERFACE;
  }
  *object = static_cast<IStorage*>(this);
  AddRef();
  return S_OK;
}

void StorageObject::Destroy(compound::EntryId id) {
  Document().Remove(Id(), id, [this](compound::EntryId gone) {
    Element* open = Owner().FindOpen(gone);
    if (open == nullptr) return;
    if (StorageObject* storage = open->AsStorage()) storage->changed_ = false;
    open->Detach();
  });
  MarkChanged();
}

HRESULT StorageObject::Commit(DWORD flags) {
  if (IsReverted()) return STG_E_REVERTED;
  if (flags != STGC_DEFAULT) return STG_E_INVALIDFLAG;
  return Owner().Commit();
}

HRESULT StorageObject::Revert() { return IsReverted() ? STG_E_REVERTED : S_OK; }

}  // namespace brevant::posix
