// Copying storages, at the level of the documents: what is open takes no part in it.
#include "platform/posix/structured_storage_objects.h"

#include <algorithm>

namespace brevant::posix {
namespace {

using compound::Document;
using compound::EntryId;
using compound::kNoEntry;

constexpr std::size_t kCopyBytes = 256U << 10;

struct Pair {
  EntryId source;
  EntryId target;
};

void CopyStream(Document& source, EntryId from, Document& target, EntryId to) {
  const std::shared_ptr<compound::Stream> input = source.OpenStream(from);
  const std::shared_ptr<compound::Stream> output = target.OpenStream(to);
  std::vector<char> buffer(
      static_cast<std::size_t>(std::min<std::uint64_t>(input->Size(), kCopyBytes)));
  for (std::uint64_t at = 0; at < input->Size();) {
    const std::size_t got = input->Read(at, buffer.data(), buffer.size());
    if (got == 0) throw compound::Error(compound::Status::kCorrupt);
    target.Write(*output, at, buffer.data(), got);
    at += got;
  }
}

void CopyMarks(const compound::EntryInfo& from, Document& target, EntryId to) {
  target.SetClass(to, from.classId);
  target.SetStateBits(to, from.stateBits, 0xFFFFFFFF);
}

// The storage of that name in the target, made if need be.
HRESULT MergeStorage(const compound::EntryInfo& info, Document& target, EntryId parent,
                     EntryId* merged) {
  *merged = target.Find(parent, info.name);
  if (*merged == kNoEntry) {
    *merged = target.CreateStorage(parent, info.name, info.created);
  } else if (!target.IsStorage(*merged)) {
    return STG_E_FILENOTFOUND;
  }
  CopyMarks(info, target, *merged);
  target.SetTimes(*merged, info.created, info.modified);
  return S_OK;
}

// Works through storages in pairs, never more elements or bytes than the source can hold if it is
// sound: storages may be hung into themselves, streams may lie over each other.
class Copier {
 public:
  Copier(Document& source, StorageObject& root)
      : source_(source),
        target_(root.Document()),
        root_(root),
        left_(source.EntryBound()),
        contentLeft_(source.ContentBound()) {}

  HRESULT CopyElement(EntryId element, EntryId parent, const std::u16string& name) {
    compound::EntryInfo info = source_.Info(element);
    info.name = name;
    return Copy(element, info, parent);
  }

  HRESULT CopyChildren(EntryId from, EntryId to) {
    pending_.push_back({from, to});
    return Finish();
  }

  HRESULT Finish() {
    while (!pending_.empty()) {
      const Pair pair = pending_.back();
      pending_.pop_back();
      for (const EntryId element : source_.List(pair.source)) {
        if (!source_.IsElement(element)) continue;
        const HRESULT result = Copy(element, source_.Info(element), pair.target);
        if (FAILED(result)) return result;
      }
    }
    return S_OK;
  }

 private:
  HRESULT Copy(EntryId element, const compound::EntryInfo& info, EntryId parent) {
    if (left_-- == 0) return STG_E_DOCFILECORRUPT;
    if (info.isStorage) {
      EntryId merged = kNoEntry;
      const HRESULT result = MergeStorage(info, target_, parent, &merged);
      if (SUCCEEDED(result)) pending_.push_back({element, merged});
      return result;
    }
    if (info.size > contentLeft_) return STG_E_DOCFILECORRUPT;
    contentLeft_ -= info.size;
    if (const EntryId old = target_.Find(parent, info.name); old != kNoEntry) Replace(parent, old);
    CopyStream(source_, element, target_, target_.CreateStream(parent, info.name));
    return S_OK;
  }

  void Replace(EntryId parent, EntryId old) {
    target_.Remove(parent, old, [this](EntryId gone) {
      if (Element* open = root_.Owner().FindOpen(gone)) open->Detach();
    });
  }

  Document& source_;
  Document& target_;
  StorageObject& root_;
  std::uint32_t left_;
  std::uint64_t contentLeft_;
  std::vector<Pair> pending_;
};

}  // namespace

HRESULT CopyContent(StorageObject& source, StorageObject& target) {
  target.MarkChanged();
  CopyMarks(source.Document().Info(source.Id()), target.Document(), target.Id());
  return Copier(source.Document(), target).CopyChildren(source.Id(), target.Id());
}

HRESULT CopyElement(Document& source, EntryId element, StorageObject& target,
                    const std::u16string& name) {
  target.MarkChanged();
  Copier copier(source, target);
  const HRESULT result = copier.CopyElement(element, target.Id(), name);
  return FAILED(result) ? result : copier.Finish();
}

}  // namespace brevant::posix
