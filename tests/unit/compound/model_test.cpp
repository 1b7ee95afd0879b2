// Random operations on the engine and on a plain map, compared all the way.
#include "unit/compound/document_helpers.h"
#include "unit/compound/file_checker.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace compound;
using namespace test;

class Model {
 public:
  explicit Model(unsigned seed) : random_(seed), disk_(NewDisk()) {
    options_.limits.dirtyBytes = 128U << 10;  // so that all paths are walked
    options_.limits.cleanBytes = 32U << 10;
    document_ = Create(disk_, options_);
  }

  void Run(int steps) {
    for (int i = 0; i < steps && !testing::Test::HasFailure(); ++i) Step();
    Commit();
  }

 private:
  unsigned Pick(unsigned below) { return static_cast<unsigned>(random_() % below); }

  std::string RandomPath(bool storage) {
    std::vector<std::string> all;
    if (storage) all.push_back("");
    for (const auto& [path, content] : model_) {
      if ((path.back() == '/') == storage) all.push_back(path);
    }
    return all.empty() ? "" : all[Pick(static_cast<unsigned>(all.size()))];
  }

  EntryId Locate(const std::string& path) {
    EntryId id = kRootEntry;
    for (std::size_t at = 0; at < path.size();) {
      const std::size_t end = std::min(path.find('/', at), path.size());
      id = document_->Find(id, Wide(path.substr(at, end - at)));
      at = end + 1;
    }
    return id;
  }

  static std::string ParentOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/', path.size() - 2);
    return slash == std::string::npos ? "" : path.substr(0, slash + 1);
  }

  std::size_t RandomSize() {
    switch (Pick(4)) {
      case 0:
        return Pick(200);
      case 1:
        return 4000 + Pick(200);
      case 2:
        return Pick(20000);
      default:
        return Pick(3000);
    }
  }

  void Add(bool storage) {
    const std::string parent = RandomPath(true);
    const std::string name = (storage ? "d" : "s") + std::to_string(Pick(300));
    const std::string path = parent + name + (storage ? "/" : "");
    if (model_.contains(path)) return;
    if (storage) {
      document_->CreateStorage(Locate(parent), Wide(name), 1);
    } else {
      document_->CreateStream(Locate(parent), Wide(name));
    }
    model_[path];
  }

  void Write() {
    const std::string path = RandomPath(false);
    if (path.empty()) return;
    std::string& content = model_[path];
    const std::size_t at = Pick(static_cast<unsigned>(content.size() + 500));
    const std::string piece = Pattern(RandomSize(), Pick(1000));
    const auto stream = document_->OpenStream(Locate(path));
    document_->Write(*stream, at, piece.data(), piece.size());
    if (piece.empty()) return;
    if (content.size() < at + piece.size()) content.resize(at + piece.size());
    content.replace(at, piece.size(), piece);
  }

  void Resize() {
    const std::string path = RandomPath(false);
    if (path.empty()) return;
    const std::size_t size = RandomSize();
    document_->Resize(*document_->OpenStream(Locate(path)), size);
    model_[path].resize(size);
  }

  void Remove() {
    const std::string path = RandomPath(Pick(8) == 0);
    if (path.empty()) return;
    document_->Remove(Locate(ParentOf(path)), Locate(path), [](EntryId) {});
    if (path.back() == '/') {
      std::erase_if(model_, [&](const auto& item) { return item.first.starts_with(path); });
    } else {
      model_.erase(path);
    }
  }

  void Rename() {
    const std::string path = RandomPath(false);
    if (path.empty()) return;
    const std::string name = "r" + std::to_string(Pick(100));
    const std::string to = ParentOf(path) + name;
    if (model_.contains(to)) return;
    document_->Rename(Locate(ParentOf(path)), Locate(path), Wide(name));
    model_[to] = model_[path];
    model_.erase(path);
  }

  void Commit() {
    document_->Commit();
    committed_ = model_;
    const CheckedFile checked = CheckFile(disk_->bytes);
    EXPECT_EQ(Problems(checked), "");
    EXPECT_TRUE(checked.elements == model_);
  }

  void Reopen(bool commit) {
    if (commit) Commit();
    document_.reset();
    model_ = committed_;
    document_ = Open(disk_, options_);
  }

  void Step() {
    const unsigned kind = Pick(100);
    if (kind < 22) return Add(false);
    if (kind < 30) return Add(true);
    if (kind < 60) return Write();
    if (kind < 70) return Resize();
    if (kind < 88) return Remove();
    if (kind < 93) return Rename();
    if (kind < 97) return Commit();
    Reopen(kind < 99);
  }

  std::mt19937 random_;
  DiskPtr disk_;
  DocumentOptions options_;
  DocumentPtr document_;
  std::map<std::string, std::string> model_;
  std::map<std::string, std::string> committed_;
};

// BREVANT_SEED repeats a run; each of the fixed ones is a different history.
TEST(Model, RandomOperationsMatchAMap) {
  // 346: a stream that fills the whole table of small sectors is cut within its last one.
  std::vector<unsigned> seeds = {1, 2, 3, 4, 5, 6, 7, 346, std::random_device()()};
  if (const char* given = std::getenv("BREVANT_SEED")) {
    seeds = {static_cast<unsigned>(std::strtoul(given, nullptr, 10))};
  }
  for (const unsigned seed : seeds) {
    SCOPED_TRACE("BREVANT_SEED=" + std::to_string(seed));
    Model(seed).Run(600);
    if (HasFailure()) break;
  }
  RecordProperty("LastSeed", static_cast<int>(seeds.back() & 0x7FFFFFFF));
  std::printf("seed of the random run: %u\n", seeds.back());
}

}  // namespace
