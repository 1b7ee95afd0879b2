// The children of a storage: a red-black tree over directory entries.
//
// Trees of other programs are read whatever their colours and shape, as long as they are ordered.
// Before the first change such a tree is made anew, balanced, so that what is written is valid.
#pragma once

#include "compound/directory.h"

#include <unordered_set>
#include <utility>

namespace compound {

class DirectoryTree {
 public:
  explicit DirectoryTree(Directory& directory) : directory_(directory) {}

  // The child of that name, or kNoEntry.
  EntryId Find(EntryId storage, std::u16string_view name);
  // Adds an entry that is in no tree; its name must be new here.
  void Insert(EntryId storage, EntryId entry);
  // Takes an entry out of the tree, without freeing it.
  void Remove(EntryId storage, EntryId entry);
  // All children in order.
  std::vector<EntryId> List(EntryId storage);
  // The first child after a name, there or not, or kNoEntry.
  EntryId FindAfter(EntryId storage, std::u16string_view name);
  // A storage is gone: what was remembered of it goes too.
  void Forget(EntryId storage);

 private:
  // One step from an entry down to its left or right child.
  struct Step {
    EntryId id;
    bool right;
  };
  using Path = std::vector<Step>;

  EntryId Link(EntryId storage, const Path& path, std::size_t at);
  void SetLink(EntryId storage, const Path& path, std::size_t at, EntryId entry);
  Path Descend(EntryId storage, const NameKey& key, EntryId* found);
  EntryId FindInList(EntryId storage, const NameKey& key);
  const std::vector<EntryId>& Listed(EntryId storage);
  void Rotate(EntryId storage, const Path& path, std::size_t at, bool right);
  void FixInsert(EntryId storage, const Path& path);
  void FixRemove(EntryId storage, Path& path, EntryId child);
  EntryId TakeOut(EntryId storage, Path& path, EntryId entry, bool* wasRed);
  void MakeValid(EntryId storage);
  bool IsValid(EntryId storage);
  void Rebuild(EntryId storage);

  Directory& directory_;
  std::unordered_set<EntryId> valid_;  // storages whose tree is known to be as it must
  // The children of one storage whose tree is too deep to descend, in order.
  EntryId listed_ = kNoEntry;
  std::vector<EntryId> list_;
};

}  // namespace compound
