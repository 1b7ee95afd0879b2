#include "compound/directory_tree.h"

#include <algorithm>
#include <bit>

namespace compound {
namespace {

// A valid tree of 2^32 entries is no deeper.
constexpr std::size_t kDeepestValid = 64;
// Trees up to this size are checked entry by entry before a change, larger ones along some paths.
constexpr std::size_t kCheckedEntries = 256;

}  // namespace

EntryId DirectoryTree::Link(EntryId storage, const Path& path, std::size_t at) {
  return at == 0 ? directory_.Child(storage)
                 : directory_.Sibling(path[at - 1].id, path[at - 1].right);
}

void DirectoryTree::SetLink(EntryId storage, const Path& path, std::size_t at, EntryId entry) {
  if (at == 0) {
    directory_.SetChild(storage, entry);
  } else {
    directory_.SetSibling(path[at - 1].id, path[at - 1].right, entry);
  }
}

DirectoryTree::Path DirectoryTree::Descend(EntryId storage, const NameKey& key, EntryId* found) {
  Path path;
  *found = kNoEntry;
  for (EntryId id = directory_.Child(storage); id != kNoEntry;) {
    if (path.size() > directory_.Bound()) throw Error(Status::kCorrupt);
    const std::uint8_t* entry = directory_.Read(id);
    const int order = key.Compare(entry);
    if (order == 0) {
      *found = id;
      break;
    }
    path.push_back({id, order > 0});
    id = Load32(entry + (order > 0 ? kEntryRightAt : kEntryLeftAt));
  }
  return path;
}

EntryId DirectoryTree::Find(EntryId storage, std::u16string_view name) {
  const NameKey key(name);
  if (listed_ == storage) return FindInList(storage, key);
  std::size_t steps = 0;
  for (EntryId id = directory_.Child(storage); id != kNoEntry;) {
    if (++steps > kDeepestValid) return FindInList(storage, key);
    const std::uint8_t* entry = directory_.Read(id);
    const int order = key.Compare(entry);
    if (order == 0) return id;
    id = Load32(entry + (order > 0 ? kEntryRightAt : kEntryLeftAt));
  }
  return kNoEntry;
}

const std::vector<EntryId>& DirectoryTree::Listed(EntryId storage) {
  if (listed_ != storage) {
    listed_ = kNoEntry;
    list_ = List(storage);
    listed_ = storage;
  }
  return list_;
}

EntryId DirectoryTree::FindInList(EntryId storage, const NameKey& key) {
  const std::vector<EntryId>& list = Listed(storage);
  const auto at = std::partition_point(
      list.begin(), list.end(), [&](EntryId id) { return key.Compare(directory_.Read(id)) > 0; });
  return at != list.end() && key.Compare(directory_.Read(*at)) == 0 ? *at : kNoEntry;
}

EntryId DirectoryTree::FindAfter(EntryId storage, std::u16string_view name) {
  const NameKey key(name);
  EntryId after = kNoEntry;
  std::size_t steps = 0;
  for (EntryId id = directory_.Child(storage); id != kNoEntry;) {
    if (++steps > kDeepestValid) {
      const std::vector<EntryId>& list = Listed(storage);
      const auto at = std::partition_point(list.begin(), list.end(), [&](EntryId other) {
        return key.Compare(directory_.Read(other)) >= 0;
      });
      return at == list.end() ? kNoEntry : *at;
    }
    const std::uint8_t* entry = directory_.Read(id);
    const bool right = key.Compare(entry) >= 0;
    if (!right) after = id;
    id = Load32(entry + (right ? kEntryRightAt : kEntryLeftAt));
  }
  return after;
}

std::vector<EntryId> DirectoryTree::List(EntryId storage) {
  std::vector<EntryId> list;
  std::vector<EntryId> above;
  EntryId id = directory_.Child(storage);
  while (id != kNoEntry || !above.empty()) {
    if (above.size() + list.size() > directory_.Bound()) throw Error(Status::kCorrupt);
    if (id != kNoEntry) {
      above.push_back(id);
      id = directory_.Sibling(id, false);
    } else {
      id = above.back();
      above.pop_back();
      list.push_back(id);
      id = directory_.Sibling(id, true);
    }
  }
  return list;
}

void DirectoryTree::Forget(EntryId storage) {
  valid_.erase(storage);
  if (listed_ == storage) listed_ = kNoEntry;
}

// Turns the entry that the path's step `at` hangs on to one side; its other child takes its place.
void DirectoryTree::Rotate(EntryId storage, const Path& path, std::size_t at, bool right) {
  const EntryId top = Link(storage, path, at);
  const EntryId child = directory_.Sibling(top, !right);
  directory_.SetSibling(top, !right, directory_.Sibling(child, right));
  directory_.SetSibling(child, right, top);
  SetLink(storage, path, at, child);
}

void DirectoryTree::Insert(EntryId storage, EntryId entry) {
  MakeValid(storage);
  EntryId found = kNoEntry;
  Path path = Descend(storage, NameKey(EntryName(directory_.Read(entry))), &found);
  if (found != kNoEntry) throw Error(Status::kExists);
  directory_.SetSibling(entry, false, kNoEntry);
  directory_.SetSibling(entry, true, kNoEntry);
  directory_.SetRed(entry, true);
  SetLink(storage, path, path.size(), entry);
  FixInsert(storage, path);
}

void DirectoryTree::FixInsert(EntryId storage, const Path& path) {
  for (std::size_t k = path.size(); k >= 2; k -= 2) {
    const EntryId parent = path[k - 1].id;
    if (!directory_.IsRed(parent)) return;
    const EntryId grand = path[k - 2].id;
    const bool side = path[k - 2].right;
    const EntryId uncle = directory_.Sibling(grand, !side);
    if (directory_.IsRed(uncle)) {
      directory_.SetRed(parent, false);
      directory_.SetRed(uncle, false);
      directory_.SetRed(grand, true);
      continue;
    }
    if (path[k - 1].right != side) Rotate(storage, path, k - 1, side);
    Rotate(storage, path, k - 2, !side);
    directory_.SetRed(Link(storage, path, k - 2), false);
    directory_.SetRed(grand, true);
    return;
  }
  const EntryId root = directory_.Child(storage);
  if (directory_.IsRed(root)) directory_.SetRed(root, false);
}

// Unlinks the entry, its successor taking its place where it has two children. The path then leads
// to the place that lost an entry; gives what hangs there now.
EntryId DirectoryTree::TakeOut(EntryId storage, Path& path, EntryId entry, bool* wasRed) {
  const EntryId left = directory_.Sibling(entry, false);
  const EntryId right = directory_.Sibling(entry, true);
  *wasRed = directory_.IsRed(entry);
  if (left == kNoEntry || right == kNoEntry) {
    const EntryId child = left == kNoEntry ? right : left;
    SetLink(storage, path, path.size(), child);
    return child;
  }
  const std::size_t at = path.size();
  path.push_back({entry, true});
  EntryId next = right;
  for (EntryId id = directory_.Sibling(next, false); id != kNoEntry;
       id = directory_.Sibling(id, false)) {
    if (path.size() > directory_.Bound()) throw Error(Status::kCorrupt);
    path.push_back({next, false});
    next = id;
  }
  const EntryId child = directory_.Sibling(next, true);
  const bool entryRed = *wasRed;
  *wasRed = directory_.IsRed(next);
  if (next != right) {
    directory_.SetSibling(path.back().id, false, child);
    directory_.SetSibling(next, true, right);
  }
  directory_.SetSibling(next, false, left);
  directory_.SetRed(next, entryRed);
  SetLink(storage, path, at, next);
  path[at].id = next;
  return child;
}

void DirectoryTree::Remove(EntryId storage, EntryId entry) {
  MakeValid(storage);
  EntryId found = kNoEntry;
  const NameKey key(EntryName(directory_.Read(entry)));
  Path path = Descend(storage, key, &found);
  if (found != entry) {
    Rebuild(storage);  // another program's idea of the order
    path = Descend(storage, key, &found);
  }
  if (found != entry) throw Error(Status::kCorrupt);
  bool wasRed = false;
  const EntryId child = TakeOut(storage, path, entry, &wasRed);
  if (!wasRed) FixRemove(storage, path, child);
  directory_.SetSibling(entry, false, kNoEntry);
  directory_.SetSibling(entry, true, kNoEntry);
}

// The place at the path's end is one black entry short.
void DirectoryTree::FixRemove(EntryId storage, Path& path, EntryId child) {
  while (!directory_.IsRed(child) && !path.empty()) {
    const std::size_t k = path.size();
    const auto [parent, side] = path[k - 1];
    EntryId brother = directory_.Sibling(parent, !side);
    // A flaw that the check did not see; among entries that lie over each other brothers may stay
    // red for ever.
    if (brother == kNoEntry || k > 2 * kDeepestValid) return Rebuild(storage);
    if (directory_.IsRed(brother)) {
      directory_.SetRed(brother, false);
      directory_.SetRed(parent, true);
      Rotate(storage, path, k - 1, side);
      path[k - 1] = {brother, side};
      path.push_back({parent, side});
      continue;
    }
    EntryId outer = directory_.Sibling(brother, !side);
    const EntryId inner = directory_.Sibling(brother, side);
    if (!directory_.IsRed(outer) && !directory_.IsRed(inner)) {
      directory_.SetRed(brother, true);
      child = parent;
      path.pop_back();
      continue;
    }
    if (!directory_.IsRed(outer)) {
      directory_.SetRed(inner, false);
      directory_.SetRed(brother, true);
      Path below(path.begin(), path.end());
      below[k - 1].right = !side;
      Rotate(storage, below, k, !side);
      outer = brother;
      brother = inner;
    }
    directory_.SetRed(brother, directory_.IsRed(parent));
    directory_.SetRed(parent, false);
    directory_.SetRed(outer, false);
    Rotate(storage, path, k - 1, side);
    return;
  }
  if (directory_.IsRed(child)) directory_.SetRed(child, false);
}

void DirectoryTree::MakeValid(EntryId storage) {
  // A search that had to list the elements met a part that is too deep for a valid tree.
  const bool tooDeep = listed_ == storage;
  if (tooDeep) listed_ = kNoEntry;
  if (!tooDeep && valid_.contains(storage)) return;
  if (tooDeep || !IsValid(storage)) Rebuild(storage);
  valid_.insert(storage);
}

// Whether every path down from the root is ordered red-black with equally many black entries. Of a
// large tree the check sees as many entries as it may, the outermost paths among them.
bool DirectoryTree::IsValid(EntryId storage) {
  struct Visit {
    EntryId id;
    std::size_t depth;
    std::size_t blacks;
    bool parentRed;
  };
  const EntryId root = directory_.Child(storage);
  if (root == kNoEntry) return true;
  if (directory_.IsRed(root)) return false;
  std::vector<Visit> open{{root, 1, 0, false}};
  std::size_t blackHeight = 0;
  std::size_t seen = 0;
  const auto ends = [&](std::size_t blacks) {
    if (blackHeight == 0) blackHeight = blacks;
    return blackHeight == blacks;
  };
  for (bool right = false; !open.empty() && seen < kCheckedEntries; right = !right, ++seen) {
    const Visit visit = open.back();
    open.pop_back();
    const bool red = directory_.IsRed(visit.id);
    if ((red && visit.parentRed) || visit.depth > kDeepestValid) return false;
    const std::size_t blacks = visit.blacks + (red ? 0 : 1);
    for (const bool side : {right, !right}) {
      const EntryId next = directory_.Sibling(visit.id, side);
      if (next == kNoEntry) {
        if (!ends(blacks + 1)) return false;
      } else {
        open.push_back({next, visit.depth + 1, blacks, red});
      }
    }
  }
  return true;
}

void DirectoryTree::Rebuild(EntryId storage) {
  std::vector<EntryId> list = List(storage);
  // An id that hangs in the tree twice would make it a net.
  std::vector<EntryId> sorted(list);
  std::sort(sorted.begin(), sorted.end());
  if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end()) {
    throw Error(Status::kCorrupt);
  }
  std::sort(list.begin(), list.end(), [this](EntryId a, EntryId b) {
    return NameKey(EntryName(directory_.Read(a))).Compare(directory_.Read(b)) < 0;
  });
  const std::size_t height = std::bit_width(list.size());
  const bool full = list.size() + 1 == std::size_t{1} << height;
  // The middle one is on top; only the lowest level is red, and only where it has gaps.
  struct Part {
    std::size_t from, to, depth;
    EntryId above;
    bool right;
  };
  std::vector<Part> parts{{0, list.size(), 1, kNoEntry, false}};
  while (!parts.empty()) {
    const Part part = parts.back();
    parts.pop_back();
    const std::size_t middle = part.from + (part.to - part.from) / 2;
    const EntryId id = part.from == part.to ? kNoEntry : list[middle];
    if (part.above == kNoEntry) {
      directory_.SetChild(storage, id);
    } else {
      directory_.SetSibling(part.above, part.right, id);
    }
    if (id == kNoEntry) continue;
    directory_.SetRed(id, part.depth == height && !full);
    parts.push_back({part.from, middle, part.depth + 1, id, false});
    parts.push_back({middle + 1, part.to, part.depth + 1, id, true});
  }
}

}  // namespace compound
