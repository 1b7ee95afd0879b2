// A compound file, element by element.
#pragma once

#include "platform/win32.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace faults {

struct TreeElement {
  bool isStorage = false;
  std::string classId;
  DWORD stateBits = 0;
  // Of storages; those of the root are the file's own and left out.
  std::uint64_t created = 0;
  std::uint64_t modified = 0;
  std::string bytes;  // of streams

  bool operator==(const TreeElement&) const = default;
};

// By path, "" for the root.
using DocumentTree = std::map<std::string, TreeElement>;

// The whole file, opened exclusively for reading and writing as the board opens it. Nothing when
// it cannot be opened or any part of it cannot be read; *problem then says what.
std::optional<DocumentTree> ReadTree(const std::string& path, std::string* problem);

// The same without element times: what two runs of one workload have in common.
DocumentTree WithoutTimes(DocumentTree tree);

// The first differences in words; empty when the trees are equal.
std::string Difference(const DocumentTree& expected, const DocumentTree& found);

}  // namespace faults
