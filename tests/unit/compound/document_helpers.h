// Short ways to make, fill and read documents in tests.
#pragma once

#include "compound/document.h"
#include "unit/compound/memory_file.h"

#include <string>

namespace test {

using DiskPtr = std::shared_ptr<MemoryDisk>;
using DocumentPtr = std::unique_ptr<compound::Document>;

inline DiskPtr NewDisk(std::string bytes = {}) {
  auto disk = std::make_shared<MemoryDisk>();
  disk->bytes = std::move(bytes);
  return disk;
}

inline DocumentPtr Create(const DiskPtr& disk, const compound::DocumentOptions& options = {}) {
  return compound::Document::Create(std::make_unique<MemoryFile>(disk), options);
}

inline DocumentPtr Open(const DiskPtr& disk, const compound::DocumentOptions& options = {}) {
  return compound::Document::Open(std::make_unique<MemoryFile>(disk), options);
}

inline std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

inline std::string Narrow(const std::u16string& text) {
  std::string narrow;
  for (const char16_t unit : text) narrow += static_cast<char>(unit);
  return narrow;
}

// Numbered lines of 64 bytes, cut at the size.
inline std::string Pattern(std::size_t size, unsigned seed = 0) {
  std::string out;
  for (unsigned n = seed; out.size() < size; ++n) {
    std::string line = "line " + std::to_string(n);
    line.resize(62, '.');
    out += line + "\r\n";
  }
  out.resize(size);
  return out;
}

inline compound::EntryId Put(compound::Document& document, compound::EntryId storage,
                             const std::string& name, const std::string& content) {
  compound::EntryId id = document.Find(storage, Wide(name));
  if (id == compound::kNoEntry) id = document.CreateStream(storage, Wide(name));
  const auto stream = document.OpenStream(id);
  document.Resize(*stream, 0);
  document.Write(*stream, 0, content.data(), content.size());
  return id;
}

inline std::string Content(compound::Document& document, compound::EntryId id) {
  const auto stream = document.OpenStream(id);
  std::string content(static_cast<std::size_t>(stream->Size()), '\0');
  content.resize(stream->Read(0, content.data(), content.size()));
  return content;
}

inline std::string Content(compound::Document& document, compound::EntryId storage,
                           const std::string& name) {
  return Content(document, document.Find(storage, Wide(name)));
}

inline void Destroy(compound::Document& document, compound::EntryId storage,
                    const std::string& name) {
  document.Remove(storage, document.Find(storage, Wide(name)), [](compound::EntryId) {});
}

// What work fails with; kOk when it does not.
template <typename Work>
compound::Status StatusOf(Work work) {
  try {
    work();
    return compound::Status::kOk;
  } catch (const compound::Error& error) {
    return error.GetStatus();
  }
}

}  // namespace test
