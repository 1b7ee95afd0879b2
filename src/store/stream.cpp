#include "platform/win32.h"
#include "store/guard.h"
#include "store/wide_name.h"
#include "store/write_counter.h"

#include <brevant/store.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace {

constexpr DWORD kOpen = 1;
constexpr DWORD kAtEnd = 2;

}  // namespace

TStream::TStream() = default;

TStream::TStream(IStorage* parent, const char* name, int access, int create, int share) {
  Open(parent, name, access, create, share);
}

TStream::~TStream() {
  if (IsOpen()) Close();
}

int TStream::Open(IStorage* parent, const char* name, int access, int create, int share) {
  if (IsOpen()) Close();
  if (parent == nullptr || name == nullptr) return 0;
  const int opened = brevant::Guarded(0, [&] {
    const auto wide = brevant::WideName(name);
    const DWORD mode =
        static_cast<DWORD>(access) | static_cast<DWORD>(create) | static_cast<DWORD>(share);
    auto counter = brevant::FindWriteCounter(parent);
    if (counter != nullptr) counter = std::make_shared<brevant::WriteCounter>(std::move(counter));
    IStream* stream = nullptr;
    const HRESULT result = (static_cast<DWORD>(create) & STGM_CREATE) != 0
                               ? parent->CreateStream(wide.c_str(), mode, 0, 0, &stream)
                               : parent->OpenStream(wide.c_str(), nullptr, mode, 0, &stream);
    if (FAILED(result)) return 0;
    stream_ = stream;
    counter_ = std::move(counter);
    return 1;
  });
  if (opened == 0) return 0;
  parent_ = parent;
  parent_->AddRef();
  flags_ = kOpen;
  position_ = 0;
  size_ = 0;
  GetInfo();
  return 1;
}

int TStream::Close() {
  if (!IsOpen()) return 0;
  stream_->Release();
  stream_ = nullptr;
  parent_->Release();
  parent_ = nullptr;
  counter_.reset();
  flags_ = 0;
  size_ = 0;
  position_ = 0;
  return 1;
}

// Puts the platform's own position back where this object has it, after a failed transfer.
void TStream::RestorePosition() {
  LARGE_INTEGER move;
  move.QuadPart = position_;
  stream_->Seek(move, STREAM_SEEK_SET, nullptr);
}

int TStream::Read(char* buffer, int count) {
  if (!IsOpen() || count < 0) return -1;
  ULONG done = 0;
  if (stream_->Read(buffer, static_cast<ULONG>(count), &done) != S_OK) {
    RestorePosition();
    return -1;
  }
  position_ += static_cast<DWORD>(done);
  if (position_ >= size_) flags_ |= kAtEnd;
  return static_cast<int>(done);
}

int TStream::ReadLine(char* buffer, int bufferSize) {
  if (!IsOpen()) return -1;
  constexpr int kStep = 64;
  std::array<char, kStep> chunk;
  DWORD resume = position_;
  int room = buffer == nullptr ? 0 : std::max(bufferSize - 1, 0);
  int copied = 0;
  bool newline = false;
  int usable = kStep;
  while (usable == kStep) {
    const int got = Read(chunk.data(), kStep);
    if (got < 0) break;
    const void* found = std::memchr(chunk.data(), '\n', static_cast<std::size_t>(got));
    usable = got;
    if (found != nullptr) {
      usable = static_cast<int>(static_cast<const char*>(found) - chunk.data());
      newline = true;
    }
    resume += static_cast<DWORD>(usable) + (newline ? 1U : 0U);
    const int part = std::min(room, usable);
    if (part > 0) std::memcpy(buffer + copied, chunk.data(), static_cast<std::size_t>(part));
    copied += part;
    room -= part;
  }
  Seek(static_cast<LONG>(resume), STREAM_SEEK_SET);
  if (copied > 0 && buffer[copied - 1] == '\r') --copied;
  if (buffer != nullptr && bufferSize > 0) buffer[copied] = '\0';
  if (copied > 0) return copied;
  return newline ? 0 : -1;
}

int TStream::Write(const char* buffer, int count) {
  if (!IsOpen() || count < 0) return -1;
  ULONG done = 0;
  if (stream_->Write(buffer, static_cast<ULONG>(count), &done) != S_OK) {
    RestorePosition();
    return -1;
  }
  if (counter_ != nullptr) counter_->AddWrite(position_, static_cast<DWORD>(done));
  position_ += static_cast<DWORD>(done);
  size_ = std::max(size_, position_);
  return static_cast<int>(done);
}

LONG TStream::Seek(LONG offset, int origin) {
  if (!IsOpen()) return -1;
  LARGE_INTEGER move;
  // The upper half stays zero: a negative offset is a far one, not a backward one.
  move.QuadPart = static_cast<DWORD>(offset);
  ULARGE_INTEGER position;
  position.QuadPart = position_;
  if (SUCCEEDED(stream_->Seek(move, static_cast<DWORD>(origin), &position))) {
    position_ = static_cast<DWORD>(position.QuadPart);
    flags_ = position_ >= size_ ? flags_ | kAtEnd : flags_ & ~kAtEnd;
  }
  return static_cast<LONG>(position_);
}

int TStream::SetSize(DWORD size) {
  if (!IsOpen()) return 0;
  // A new size is a change like any other, although no byte goes with it: who asks whether there is
  // something to commit must learn of it.
  if (size != size_ && counter_ != nullptr) counter_->AddWrite(size, 1);
  size_ = size;
  ULARGE_INTEGER wanted;
  wanted.QuadPart = size;
  return SUCCEEDED(stream_->SetSize(wanted)) ? 1 : 0;
}

void TStream::GetInfo() {
  STATSTG stat{};
  if (!IsOpen() || FAILED(stream_->Stat(&stat, STATFLAG_NONAME))) return;
  size_ = static_cast<DWORD>(stat.cbSize.QuadPart);
}
