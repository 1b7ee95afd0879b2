#include "unit/compound/file_checker.h"

#include <cctype>
#include <optional>
#include <set>

namespace test {
namespace {

constexpr std::uint32_t kEnd = 0xFFFFFFFE;
constexpr std::uint32_t kFree = 0xFFFFFFFF;
constexpr std::uint32_t kFat = 0xFFFFFFFD;
constexpr std::uint32_t kDifat = 0xFFFFFFFC;

struct Entry {
  std::string raw;
  std::string name;
  std::string key;  // upper-cased
  int type = 0;
  bool red = false;
  std::uint32_t left = kFree, right = kFree, child = kFree, start = 0;
  std::uint64_t size = 0;
};

class Checker {
 public:
  Checker(const std::string& bytes, bool foreign) : bytes_(bytes), foreign_(foreign) {}

  CheckedFile Run() {
    const std::uint32_t shift = U16(30);
    if (bytes_.size() < 512 || U32(0) != 0xE011CFD0U || (U16(26) != 3 && U16(26) != 4) ||
        shift != (U16(26) == 3 ? 9U : 12U) || bytes_.size() >> shift == 0) {
      Fail("no header");
      return result_;
    }
    sector_ = std::size_t{1} << shift;
    if (bytes_.size() % sector_ != 0) Fail("size is no multiple of the sectors");
    count_ = static_cast<std::uint32_t>(bytes_.size() / sector_ - 1);
    owner_.assign(count_, "");
    ReadFat();
    directory_ = Chain(U32(48), "directory");
    ReadEntries();
    ReadMini();
    if (entries_.empty() || entries_[0].type != 5) {
      Fail("no root");
      return result_;
    }
    usedEntries_.insert(0);
    Storage(0, "");
    FindLeaks();
    return result_;
  }

 private:
  void Fail(const std::string& text) {
    if (result_.problems.size() < 20) result_.problems.push_back(text);
  }
  std::uint32_t Byte(std::size_t at) const {
    return at < bytes_.size() ? static_cast<unsigned char>(bytes_[at]) : 0;
  }
  std::uint32_t U16(std::size_t at) const { return Byte(at) | Byte(at + 1) << 8; }
  std::uint32_t U32(std::size_t at) const { return U16(at) | U16(at + 2) << 16; }
  std::size_t At(std::uint32_t sector) const { return (std::size_t{sector} + 1) * sector_; }
  std::string Sector(std::uint32_t sector) const { return bytes_.substr(At(sector), sector_); }

  void Own(std::uint32_t sector, const std::string& who) {
    if (sector >= count_) return Fail(who + ": sector beyond the file");
    if (!owner_[sector].empty()) {
      Fail("sector " + std::to_string(sector) + " of " + owner_[sector] + " and " + who);
    }
    owner_[sector] = who;
  }

  void ReadFat() {
    std::vector<std::uint32_t> places;
    const std::uint32_t fatSectors = U32(44);
    for (std::size_t i = 0; i < 109 && places.size() < fatSectors; ++i) {
      places.push_back(U32(76 + 4 * i));
    }
    std::uint32_t difat = U32(68);
    std::uint32_t difatSectors = 0;
    for (; difat < count_ && difatSectors <= count_; ++difatSectors) {
      Own(difat, "DIFAT");
      const std::size_t per = sector_ / 4 - 1;
      for (std::size_t i = 0; i < per; ++i) {
        const std::uint32_t place = U32(At(difat) + 4 * i);
        if (places.size() < fatSectors) {
          places.push_back(place);
        } else if (place != kFree) {
          Fail("DIFAT names more sectors than the header");
        }
      }
      difat = U32(At(difat) + 4 * per);
    }
    if (difatSectors != U32(72)) Fail("DIFAT length differs from the header");
    if (difat != kEnd && !(foreign_ && difat == kFree)) Fail("DIFAT does not end properly");
    for (const std::uint32_t place : places) {
      Own(place, "FAT");
      for (std::size_t i = 0; i < sector_ / 4; ++i) fat_.push_back(U32(At(place) + 4 * i));
    }
    for (std::uint32_t s = 0; s < count_; ++s) {
      const bool fat = owner_[s] == "FAT";
      const bool difatSector = owner_[s] == "DIFAT";
      if (s >= fat_.size() || fat != (fat_[s] == kFat) || difatSector != (fat_[s] == kDifat)) {
        Fail("sector " + std::to_string(s) + " is marked wrongly in the FAT");
      }
    }
    for (std::size_t s = count_; s < fat_.size(); ++s) {
      if (fat_[s] != kFree) Fail("the FAT uses a sector beyond the file");
    }
  }

  std::vector<std::uint32_t> Chain(std::uint32_t first, const std::string& who) {
    std::vector<std::uint32_t> chain;
    for (std::uint32_t s = first; s != kEnd; s = fat_[s]) {
      if (s >= count_ || s >= fat_.size() || chain.size() > count_) {
        Fail(who + ": broken chain");
        break;
      }
      Own(s, who);
      chain.push_back(s);
    }
    return chain;
  }

  static std::string Join(const Checker& checker, const std::vector<std::uint32_t>& chain) {
    std::string all;
    for (const std::uint32_t s : chain) all += checker.Sector(s);
    return all;
  }

  void ReadEntries() {
    for (const std::uint32_t s : directory_) {
      for (std::size_t at = At(s); at < At(s) + sector_; at += 128) {
        Entry entry;
        entry.raw = bytes_.substr(at, 128);
        const std::uint32_t length = U16(at + 64);
        for (std::uint32_t i = 0; i + 2 < length && i < 62; i += 2) {
          entry.name += static_cast<char>(bytes_[at + i]);
          entry.key += static_cast<char>(std::toupper(static_cast<unsigned char>(bytes_[at + i])));
        }
        entry.type = static_cast<int>(Byte(at + 66));
        entry.red = Byte(at + 67) == 0;
        entry.left = U32(at + 68);
        entry.right = U32(at + 72);
        entry.child = U32(at + 76);
        entry.start = U32(at + 116);
        entry.size = U32(at + 120);
        if (entry.type != 0 && (length < 2 || length > 64 || length % 2 != 0)) {
          Fail("entry with a name length of " + std::to_string(length));
        }
        entries_.push_back(entry);
      }
    }
  }

  void ReadMini() {
    if (entries_.empty()) return;
    const std::vector<std::uint32_t> table = Chain(U32(60), "mini FAT");
    if (table.size() != U32(64)) Fail("mini FAT length differs from the header");
    for (const std::uint32_t s : table) {
      for (std::size_t i = 0; i < sector_ / 4; ++i) miniFat_.push_back(U32(At(s) + 4 * i));
    }
    const std::vector<std::uint32_t> stream = Chain(entries_[0].start, "mini stream");
    if (entries_[0].size > stream.size() * sector_) Fail("mini stream shorter than its size");
    mini_ = Join(*this, stream).substr(0, static_cast<std::size_t>(entries_[0].size));
    miniOwned_.assign(mini_.size() / 64, false);
  }

  std::string Content(const Entry& entry, const std::string& path) {
    const auto size = static_cast<std::size_t>(entry.size);
    if (size >= 4096) {
      const std::vector<std::uint32_t> chain = Chain(entry.start, path);
      if (chain.size() != (size + sector_ - 1) / sector_) Fail(path + ": chain of wrong length");
      return Join(*this, chain).substr(0, size);
    }
    std::string content;
    std::uint32_t s = size == 0 ? kEnd : entry.start;
    if (size == 0 && entry.start != kEnd) Fail(path + ": empty stream with a chain");
    for (; s != kEnd; s = miniFat_[s]) {
      if (s >= miniFat_.size() || s >= miniOwned_.size() || miniOwned_[s]) {
        Fail(path + ": broken mini chain");
        break;
      }
      miniOwned_[s] = true;
      content += mini_.substr(std::size_t{s} * 64, 64);
    }
    if (content.size() != (size + 63) / 64 * 64) Fail(path + ": mini chain of wrong length");
    return content.substr(0, size);
  }

  static bool Less(const Entry& a, const Entry& b) {
    if (a.name.size() != b.name.size()) return a.name.size() < b.name.size();
    return a.key < b.key;
  }

  struct Walk {
    std::size_t depth;
    bool parentRed;
    const Entry* low;
    const Entry* high;
  };

  // Black entries on each way down, or nothing where the tree is faulty.
  std::optional<std::size_t> Tree(std::uint32_t id, const Walk& walk,
                                  std::vector<std::uint32_t>& inOrder) {
    if (id == kFree) return 0;
    if (id >= entries_.size() || !usedEntries_.insert(id).second || walk.depth > 200) {
      Fail("tree leads to a wrong entry");
      return std::nullopt;
    }
    const Entry& entry = entries_[id];
    result_.deepest = std::max(result_.deepest, walk.depth);
    if (entry.type != 1 && entry.type != 2) Fail("entry of a wrong type in a tree");
    if (entry.red && walk.parentRed) Fail(entry.name + ": red below red");
    if ((walk.low != nullptr && !Less(*walk.low, entry)) ||
        (walk.high != nullptr && !Less(entry, *walk.high))) {
      Fail(entry.name + ": out of order");
    }
    const auto left = Tree(entry.left, {walk.depth + 1, entry.red, walk.low, &entry}, inOrder);
    inOrder.push_back(id);
    const auto right = Tree(entry.right, {walk.depth + 1, entry.red, &entry, walk.high}, inOrder);
    if (left != right) Fail(entry.name + ": unequal black heights");
    if (!left) return std::nullopt;
    return *left + (entry.red ? 0 : 1);
  }

  void Storage(std::uint32_t id, const std::string& path) {
    std::vector<std::uint32_t> children;
    const std::uint32_t top = entries_[id].child;
    if (top < entries_.size() && entries_[top].red) Fail(path + ": the top of the tree is red");
    Tree(top, {1, false, nullptr, nullptr}, children);
    for (const std::uint32_t child : children) {
      const std::string name = path + entries_[child].name;
      if (entries_[child].type == 1) {
        result_.elements[name + "/"];
        Storage(child, name + "/");
      } else {
        result_.elements[name] = Content(entries_[child], name);
      }
    }
  }

  void FindLeaks() {
    for (std::uint32_t s = 0; s < count_ && s < fat_.size(); ++s) {
      if (fat_[s] == kFree) ++result_.freeSectors;
      if ((fat_[s] == kFree) != owner_[s].empty()) {
        Fail("sector " + std::to_string(s) + " is lost or used while free");
      }
    }
    for (std::size_t s = 0; s < miniFat_.size(); ++s) {
      const bool owned = s < miniOwned_.size() && miniOwned_[s];
      if ((miniFat_[s] == kFree) == owned) Fail("mini sector lost or used while free");
    }
    for (std::uint32_t id = 0; id < entries_.size(); ++id) {
      const bool used = usedEntries_.contains(id);
      if (used == (entries_[id].type == 0)) Fail("directory entry lost or used while free");
      if (used || foreign_) continue;
      std::string empty(128, '\0');
      for (std::size_t i = 68; i < 80; ++i) empty[i] = '\xFF';
      if (entries_[id].raw != empty) Fail("unused directory entry that is not empty");
    }
  }

  const std::string& bytes_;
  bool foreign_;
  CheckedFile result_;
  std::size_t sector_ = 512;
  std::uint32_t count_ = 0;
  std::vector<std::string> owner_;
  std::vector<std::uint32_t> fat_;
  std::vector<std::uint32_t> miniFat_;
  std::vector<bool> miniOwned_;
  std::string mini_;
  std::vector<std::uint32_t> directory_;
  std::vector<Entry> entries_;
  std::set<std::uint32_t> usedEntries_;
};

}  // namespace

CheckedFile CheckFile(const std::string& bytes, bool foreign) {
  return Checker(bytes, foreign).Run();
}

std::string Problems(const CheckedFile& file) {
  std::string all;
  for (const std::string& problem : file.problems) all += problem + "\n";
  return all;
}

}  // namespace test
