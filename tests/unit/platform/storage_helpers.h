// Structured storage in tests: owning pointers and short calls, the same on every platform.
#pragma once

#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <string>
#include <utility>

namespace test {

template <class T>
class Ref {
 public:
  Ref() = default;
  Ref(const Ref&) = delete;
  Ref(Ref&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  Ref& operator=(Ref&& other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }
  Ref& operator=(const Ref&) = delete;
  ~Ref() { Reset(); }
  T** Out() {
    Reset();
    return &pointer_;
  }
  T* operator->() const { return pointer_; }
  T* Get() const { return pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }
  // Gives the references left.
  ULONG Reset() { return pointer_ ? std::exchange(pointer_, nullptr)->Release() : 0; }

 private:
  T* pointer_ = nullptr;
};
using Storage = Ref<IStorage>;
using Stream = Ref<IStream>;

inline constexpr DWORD kOpen = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
inline constexpr DWORD kRead = STGM_READ | STGM_SHARE_EXCLUSIVE;
inline constexpr DWORD kMake = kOpen | STGM_CREATE;

using WideText = std::basic_string<OLECHAR>;

inline WideText Wide(const std::string& text) {
  WideText wide;
  for (const char c : text) wide += static_cast<OLECHAR>(static_cast<signed char>(c));
  return wide;
}

inline std::string Narrow(const OLECHAR* text) {
  std::string narrow;
  for (; text != nullptr && *text != 0; ++text) narrow += static_cast<char>(*text);
  return narrow;
}

inline HRESULT CreateFileRoot(const std::string& path, Storage& root, DWORD mode = kMake) {
  return StgCreateDocfile(Wide(path).c_str(), mode, 0, root.Out());
}
inline HRESULT OpenFileRoot(const std::string& path, Storage& root, DWORD mode = kOpen) {
  return StgOpenStorage(Wide(path).c_str(), nullptr, mode, nullptr, 0, root.Out());
}
inline HRESULT CreateStream(const Storage& s, const std::string& name, Stream& out,
                            DWORD mode = kOpen) {
  return s->CreateStream(Wide(name).c_str(), mode, 0, 0, out.Out());
}
inline HRESULT CreateStorage(const Storage& s, const std::string& name, Storage& out,
                             DWORD mode = kOpen) {
  return s->CreateStorage(Wide(name).c_str(), mode, 0, 0, out.Out());
}
inline HRESULT OpenStream(const Storage& s, const std::string& name, Stream& out,
                          DWORD mode = kOpen) {
  return s->OpenStream(Wide(name).c_str(), nullptr, mode, 0, out.Out());
}
inline HRESULT OpenStorage(const Storage& s, const std::string& name, Storage& out,
                           DWORD mode = kOpen) {
  return s->OpenStorage(Wide(name).c_str(), nullptr, mode, nullptr, 0, out.Out());
}
inline HRESULT DestroyElement(const Storage& s, const std::string& name) {
  return s->DestroyElement(Wide(name).c_str());
}
inline HRESULT RenameElement(const Storage& s, const std::string& from, const std::string& to) {
  return s->RenameElement(Wide(from).c_str(), Wide(to).c_str());
}

inline HRESULT Put(const Storage& s, const std::string& name, const std::string& content) {
  Stream stream;
  const HRESULT result = CreateStream(s, name, stream, kMake);
  if (FAILED(result) || content.empty()) return result;
  return stream->Write(content.data(), static_cast<ULONG>(content.size()), nullptr);
}

inline std::string ReadAll(const Stream& stream) {
  std::string content;
  char block[8192];
  ULONG got = 0;
  while (SUCCEEDED(stream->Read(block, sizeof block, &got)) && got != 0) content.append(block, got);
  return content;
}

inline std::string ContentOf(const Storage& s, const std::string& name) {
  Stream stream;
  if (FAILED(OpenStream(s, name, stream, kRead))) return "<cannot open>";
  return ReadAll(stream);
}

inline std::uint64_t SeekTo(const Stream& s, std::int64_t to, DWORD origin = STREAM_SEEK_SET) {
  LARGE_INTEGER move;
  ULARGE_INTEGER at;
  move.QuadPart = to;
  at.QuadPart = 0;
  s->Seek(move, origin, &at);
  return at.QuadPart;
}

inline std::uint64_t SizeOf(const Stream& s) {
  STATSTG stat{};
  s->Stat(&stat, STATFLAG_NONAME);
  return stat.cbSize.QuadPart;
}

inline HRESULT SetSize(const Stream& s, std::uint64_t size) {
  ULARGE_INTEGER value;
  value.QuadPart = size;
  return s->SetSize(value);
}

inline std::string NamesIn(const Storage& s) {
  Ref<IEnumSTATSTG> elements;
  std::string names;
  if (FAILED(s->EnumElements(0, nullptr, 0, elements.Out()))) return "<cannot enumerate>";
  STATSTG stat{};
  while (elements->Next(1, &stat, nullptr) == S_OK) {
    names += (names.empty() ? "" : ",") + Narrow(stat.pwcsName);
    CoTaskMemFree(stat.pwcsName);
    stat = {};
  }
  return "[" + names + "]";
}

// Numbered lines of 64 bytes, cut at the size.
inline std::string PatternText(std::size_t size) {
  std::string out;
  for (unsigned n = 0; out.size() < size; ++n) {
    std::string line = "line " + std::to_string(n);
    line.resize(62, '.');
    out += line + "\r\n";
  }
  out.resize(size);
  return out;
}

inline std::uint64_t TicksOf(const FILETIME& time) {
  return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

}  // namespace test
