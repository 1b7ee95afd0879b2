#include "document_tree.h"

#include "store/elements.h"

#include <stdexcept>

namespace faults {

namespace {

using brevant::OwnedInterface;

constexpr DWORD kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

void Require(HRESULT result, const std::string& what) {
  if (FAILED(result)) {
    throw std::runtime_error(what + " failed: " + std::to_string(static_cast<DWORD>(result)));
  }
}

std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

std::uint64_t TicksOf(const FILETIME& time) {
  return (static_cast<std::uint64_t>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

std::string ReadStream(IStorage& parent, const std::u16string& name, const std::string& path) {
  IStream* opened = nullptr;
  Require(parent.OpenStream(name.c_str(), nullptr, kMode, 0, &opened), "opening " + path);
  const OwnedInterface<IStream> stream(opened);
  STATSTG facts{};
  Require(stream->Stat(&facts, STATFLAG_NONAME), "looking at " + path);
  std::string bytes(static_cast<std::size_t>(facts.cbSize.QuadPart), '\0');
  ULONG got = 0;
  Require(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got), "reading " + path);
  if (got != bytes.size()) throw std::runtime_error(path + " ends early");
  return bytes;
}

void ReadStorage(IStorage& storage, const std::string& path, DocumentTree& tree) {
  STATSTG own{};
  Require(storage.Stat(&own, STATFLAG_NONAME), "looking at storage " + path);
  TreeElement element;
  element.isStorage = true;
  element.classId.assign(reinterpret_cast<const char*>(&own.clsid), sizeof own.clsid);
  element.stateBits = own.grfStateBits;
  tree[path] = element;
  IEnumSTATSTG* opened = nullptr;
  Require(storage.EnumElements(0, nullptr, 0, &opened), "listing " + path);
  const OwnedInterface<IEnumSTATSTG> elements(opened);
  STATSTG facts{};
  ULONG got = 0;
  HRESULT next = S_OK;
  while ((next = elements->Next(1, &facts, &got)) == S_OK) {
    const std::u16string name(facts.pwcsName);
    CoTaskMemFree(facts.pwcsName);
    std::string below = path + "/";
    for (const char16_t c : name) below.push_back(static_cast<char>(c));
    if (facts.type == STGTY_STREAM) {
      tree[below].bytes = ReadStream(storage, name, below);
      continue;
    }
    IStorage* inner = nullptr;
    Require(storage.OpenStorage(name.c_str(), nullptr, kMode, nullptr, 0, &inner),
            "opening " + below);
    const OwnedInterface<IStorage> owned(inner);
    ReadStorage(*owned, below, tree);
    tree[below].created = TicksOf(facts.ctime);
    tree[below].modified = TicksOf(facts.mtime);
  }
  Require(next, "listing " + path);
}

std::string Show(const TreeElement& element) {
  return element.isStorage ? "storage, state " + std::to_string(element.stateBits) + ", created " +
                                 std::to_string(element.created) + ", modified " +
                                 std::to_string(element.modified)
                           : "stream of " + std::to_string(element.bytes.size()) + " bytes";
}

}  // namespace

std::optional<DocumentTree> ReadTree(const std::string& path, std::string* problem) {
  try {
    IStorage* opened = nullptr;
    Require(StgOpenStorage(Wide(path).c_str(), nullptr, kMode, nullptr, 0, &opened),
            "opening the file");
    const OwnedInterface<IStorage> root(opened);
    DocumentTree tree;
    ReadStorage(*root, "", tree);
    return tree;
  } catch (const std::runtime_error& failure) {
    *problem = failure.what();
    return std::nullopt;
  }
}

DocumentTree WithoutTimes(DocumentTree tree) {
  for (auto& [path, element] : tree) element.created = element.modified = 0;
  return tree;
}

std::string Difference(const DocumentTree& expected, const DocumentTree& found) {
  std::string text;
  for (const auto& [path, element] : expected) {
    const auto other = found.find(path);
    if (other == found.end()) {
      text += " [" + path + " is missing]";
    } else if (!(other->second == element)) {
      text += " [" + path + ": " + Show(other->second) + " instead of " + Show(element) + "]";
    }
    if (text.size() > 600) return text + " ...";
  }
  for (const auto& [path, element] : found) {
    if (!expected.contains(path)) text += " [" + path + " is too much]";
    if (text.size() > 600) return text + " ...";
  }
  return text;
}

}  // namespace faults
