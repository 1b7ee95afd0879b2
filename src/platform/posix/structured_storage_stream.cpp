// Streams.
#include "platform/posix/structured_storage_objects.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace brevant::posix {
namespace {

constexpr ULONG kCopyBytes = 1U << 20;

}  // namespace

StreamElement::StreamElement(OpenDocument* document, compound::EntryId id, StorageObject* parent,
                             DWORD mode)
    : Element(document, id, parent, mode) {
  try {
    content_ = Document().OpenStream(id);
  } catch (...) {
    Element::Detach();
    throw;
  }
}

StreamElement::~StreamElement() { Detach(); }

void StreamElement::Detach() noexcept {
  content_.reset();  // must not outlive the document
  Element::Detach();
}

ULONG StreamObject::AddRef() { return ++references_; }

ULONG StreamObject::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT StreamObject::QueryInterface(const IID& id, void** object) {
  if (object == nullptr) return STG_E_INVALIDPOINTER;
  *object = nullptr;
  if (std::memcmp(&id, &IID_IUnknown, sizeof id) != 0 &&
      std::memcmp(&id, &IID_ISequentialStream, sizeof id) != 0 &&
      std::memcmp(&id, &IID_IStream, sizeof id) != 0) {
    return E_NOINTERFACE;
  }
  *object = static_cast<IStream*>(this);
  AddRef();
  return S_OK;
}

HRESULT StreamObject::Read(void* buffer, ULONG count, ULONG* read) {
  if (read != nullptr) *read = 0;
  if (buffer == nullptr) return STG_E_INVALIDPOINTER;
  if (element_->IsReverted()) return STG_E_REVERTED;
  if (!element_->CanRead()) return STG_E_ACCESSDENIED;
  return Guarded([&] {
    const std::size_t got = element_->Content().Read(position_, buffer, count);
    position_ += got;
    if (read != nullptr) *read = static_cast<ULONG>(got);
    return S_OK;
  });
}

HRESULT StreamObject::Write(const void* buffer, ULONG count, ULONG* written) {
  if (written != nullptr) *written = 0;
  if (buffer == nullptr) return STG_E_INVALIDPOINTER;
  if (element_->IsReverted()) return STG_E_REVERTED;
  if (!element_->CanWrite()) return STG_E_ACCESSDENIED;
  if (count == 0) return S_OK;
  return Guarded([&] {
    element_->Document().Write(element_->Content(), position_, buffer, count);
    element_->MarkChanged();
    position_ += count;
    if (written != nullptr) *written = count;
    return S_OK;
  });
}

HRESULT StreamObject::Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) {
  if (element_->IsReverted()) return STG_E_REVERTED;
  std::uint64_t base = 0;
  switch (origin) {
    case STREAM_SEEK_SET:
      break;
    case STREAM_SEEK_CUR:
      base = position_;
      break;
    case STREAM_SEEK_END:
      base = element_->Content().Size();
      break;
    default:
      return STG_E_INVALIDFUNCTION;
  }
  // To before the start, or beyond what a signed position holds.
  const auto limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  const std::uint64_t target = base + static_cast<std::uint64_t>(move.QuadPart);
  if (target > limit) return STG_E_INVALIDFUNCTION;
  position_ = target;
  if (position != nullptr) position->QuadPart = position_;
  return S_OK;
}

HRESULT StreamObject::SetSize(ULARGE_INTEGER size) {
  if (element_->IsReverted()) return STG_E_REVERTED;
  if (!element_->CanWrite()) return STG_E_ACCESSDENIED;
  if (size.u.HighPart != 0) return STG_E_INVALIDFUNCTION;
  return Guarded([&] {
    if (size.QuadPart == element_->Content().Size()) return S_OK;
    element_->Document().Resize(element_->Content(), size.QuadPart);
    element_->MarkChanged();
    return S_OK;
  });
}

HRESULT StreamObject::CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                             ULARGE_INTEGER* written) {
  if (target == nullptr) return STG_E_INVALIDPOINTER;
  ULARGE_INTEGER readBytes{};
  ULARGE_INTEGER writtenBytes{};
  const HRESULT result = Guarded([&] {
    std::vector<char> buffer(
        static_cast<std::size_t>(std::min<std::uint64_t>(count.QuadPart, kCopyBytes)));
    while (readBytes.QuadPart < count.QuadPart) {
      const auto part = static_cast<ULONG>(
          std::min<std::uint64_t>(buffer.size(), count.QuadPart - readBytes.QuadPart));
      ULONG got = 0;
      HRESULT step = Read(buffer.data(), part, &got);
      if (FAILED(step) || got == 0) return step;
      readBytes.QuadPart += got;
      ULONG put = 0;
      step = target->Write(buffer.data(), got, &put);
      writtenBytes.QuadPart += put;
      if (FAILED(step)) return step;
    }
    return S_OK;
  });
  if (read != nullptr) *read = readBytes;
  if (written != nullptr) *written = writtenBytes;
  return result;
}

// Streams of a document in direct mode change with the document.
HRESULT StreamObject::Commit(DWORD) { return element_->IsReverted() ? STG_E_REVERTED : S_OK; }

HRESULT StreamObject::Revert() { return element_->IsReverted() ? STG_E_REVERTED : S_OK; }

HRESULT StreamObject::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

HRESULT StreamObject::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
  return STG_E_INVALIDFUNCTION;
}

HRESULT StreamObject::Stat(STATSTG* stat, DWORD flag) {
  if (stat == nullptr) return STG_E_INVALIDPOINTER;
  if (flag != STATFLAG_DEFAULT && flag != STATFLAG_NONAME) return STG_E_INVALIDFLAG;
  if (element_->IsReverted()) return STG_E_REVERTED;
  return Guarded([&] {
    FillStat(element_->Document().Info(element_->Id()), flag == STATFLAG_DEFAULT, stat);
    stat->grfMode = element_->Mode();
    return S_OK;
  });
}

HRESULT StreamObject::Clone(IStream** copy) {
  if (copy == nullptr) return STG_E_INVALIDPOINTER;
  *copy = nullptr;
  if (element_->IsReverted()) return STG_E_REVERTED;
  return Guarded([&] {
    *copy = new StreamObject(element_, position_);
    return S_OK;
  });
}

}  // namespace brevant::posix
