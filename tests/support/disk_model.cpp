#include "support/disk_model.h"

#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>

namespace test {

namespace fs = std::filesystem;

namespace {

using Bytes = std::shared_ptr<const std::string>;

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::size_t Choose(std::mt19937& random, std::size_t count) { return random() % count; }

// Something that was done to a file since its last sync.
struct Step {
  bool isResize = false;
  std::uint64_t offset = 0;  // of a write; the new size of a resize
  std::string data;
};

void TakeStep(std::string& bytes, const Step& step) {
  if (step.isResize) {
    bytes.resize(step.offset);
    return;
  }
  bytes.resize(std::max<std::size_t>(bytes.size(), step.offset + step.data.size()));
  bytes.replace(step.offset, step.data.size(), step.data);
}

// The parts of a write that survive or not, one a sector.
std::vector<Step> Sectors(const Step& write) {
  std::vector<Step> parts;
  for (std::size_t done = 0; done < write.data.size();) {
    const std::size_t room = Disk::kSector - (write.offset + done) % Disk::kSector;
    const std::size_t count = std::min(room, write.data.size() - done);
    parts.push_back({false, write.offset + done, write.data.substr(done, count)});
    done += count;
  }
  return parts;
}

// Which of `count` things survive.
std::vector<bool> ChooseSurvivors(std::mt19937& random, std::size_t count) {
  std::vector<bool> survives(count);
  if (count == 0) return survives;
  switch (Choose(random, 6)) {
    case 0:  // all but one
      survives.assign(count, true);
      survives[Choose(random, count)] = false;
      break;
    case 1:  // one
      survives[Choose(random, count)] = true;
      break;
    case 2:  // in order, up to some point
      std::fill_n(survives.begin(), Choose(random, count + 1), true);
      break;
    case 3:  // the latest ones
      std::fill_n(survives.rbegin(), Choose(random, count + 1), true);
      break;
    default:
      for (std::size_t i = 0; i < count; ++i) survives[i] = Choose(random, 2) != 0;
      break;
  }
  return survives;
}

}  // namespace

struct Disk::File {
  Bytes bytes = std::make_shared<std::string>();
  Bytes safe = bytes;
  std::vector<Step> pending;

  void Do(Step step) {
    std::string changed = *bytes;
    TakeStep(changed, step);
    bytes = std::make_shared<std::string>(std::move(changed));
    pending.push_back(std::move(step));
  }
  void Sync() {
    safe = bytes;
    pending.clear();
  }
  Bytes Survivor(std::mt19937& random) const;
};

// The size is one that the file had on the way; what was not written up to it reads as zeros.
Bytes Disk::File::Survivor(std::mt19937& random) const {
  if (pending.empty()) return safe;
  const std::size_t sized =
      Choose(random, 2) == 0 ? pending.size() : Choose(random, pending.size());
  std::string survivor = *safe;
  std::uint64_t size = safe->size();
  std::vector<Step> parts;
  for (std::size_t i = 0; i < pending.size(); ++i) {
    const Step& step = pending[i];
    if (i < sized) {
      size = step.isResize ? step.offset : std::max(size, step.offset + step.data.size());
    }
    if (!step.isResize) {
      for (Step& part : Sectors(step)) parts.push_back(std::move(part));
    } else if (i < sized) {
      parts.push_back(step);
    }
  }
  const std::vector<bool> survives = ChooseSurvivors(random, parts.size());
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (survives[i] || parts[i].isResize) TakeStep(survivor, parts[i]);
  }
  survivor.resize(size);
  return std::make_shared<std::string>(std::move(survivor));
}

// A change of one or two names, which happens as a whole or not.
struct Disk::NameChange {
  std::string removed;                // empty: none
  std::optional<std::string> placed;  //
  std::shared_ptr<File> file;         // what is placed
};

Disk::Disk(const DiskImage& initial) {
  for (const auto& [path, bytes] : initial) {
    if (path.back() == '/') {
      names_[path.substr(0, path.size() - 1)] = nullptr;
      continue;
    }
    auto file = std::make_shared<File>();
    file->bytes = file->safe = bytes;
    names_[path] = file;
  }
  safeNames_ = names_;
}

Disk::Disk(const Disk& other) : pending_(other.pending_) {
  std::map<std::shared_ptr<File>, std::shared_ptr<File>> copies;
  const auto copy = [&copies](const std::shared_ptr<File>& file) {
    if (file == nullptr) return file;
    std::shared_ptr<File>& made = copies[file];
    if (made == nullptr) made = std::make_shared<File>(*file);
    return made;
  };
  for (const auto& [path, file] : other.names_) names_[path] = copy(file);
  for (const auto& [path, file] : other.safeNames_) safeNames_[path] = copy(file);
  for (const auto& [number, file] : other.byNumber_) byNumber_[number] = copy(file);
  for (NameChange& change : pending_) change.file = copy(change.file);
}

Disk::~Disk() = default;

void Disk::Apply(const FileOperation& operation) {
  const auto file = [&]() -> File& {
    std::shared_ptr<File>& known = byNumber_[operation.file];
    // One of those that were there at the start, met for the first time under its name.
    if (known == nullptr) known = names_.at(operation.path);
    return *known;
  };
  switch (operation.kind) {
    case OperationKind::kCreate: {
      // Numbers are used again, so the file that had this one is gone.
      std::shared_ptr<File>& made = byNumber_[operation.file];
      made = std::make_shared<File>();
      Change({{}, operation.path, made});
      break;
    }
    case OperationKind::kWrite:
      file().Do({false, operation.offset, operation.data});
      break;
    case OperationKind::kResize:
      file().Do({true, operation.offset, {}});
      break;
    case OperationKind::kSync:
      file().Sync();
      break;
    case OperationKind::kSyncDirectory:
      SyncDirectory(operation.path);
      break;
    case OperationKind::kRename:
      Change({operation.path, operation.target, names_.at(operation.path)});
      break;
    case OperationKind::kUnlink:
    case OperationKind::kRemoveDirectory:
      Change({operation.path, std::nullopt, nullptr});
      break;
    case OperationKind::kMakeDirectory:
      Change({{}, operation.path, nullptr});
      break;
  }
}

void Disk::Take(Names& names, const NameChange& change) {
  if (!change.removed.empty()) names.erase(change.removed);
  if (change.placed) names[*change.placed] = change.file;
}

void Disk::Change(NameChange change) {
  Take(names_, change);
  pending_.push_back(std::move(change));
}

void Disk::SyncDirectory(const std::string& path) {
  std::erase_if(pending_, [&](const NameChange& change) {
    const bool here = (!change.removed.empty() && DirectoryOf(change.removed) == path) ||
                      (change.placed && DirectoryOf(*change.placed) == path);
    if (here) Take(safeNames_, change);
    return here;
  });
}

Disk::Names Disk::NamesThatSurvive(std::mt19937& random) const {
  Names names = safeNames_;
  const std::vector<bool> survives = ChooseSurvivors(random, pending_.size());
  for (std::size_t i = 0; i < pending_.size(); ++i) {
    if (survives[i]) Take(names, pending_[i]);
  }
  return names;
}

DiskImage Disk::Current() const {
  DiskImage image;
  for (const auto& [path, file] : names_) {
    image[file ? path : path + "/"] = file ? file->bytes : nullptr;
  }
  return image;
}

DiskImage Disk::Safe() const {
  DiskImage image;
  for (const auto& [path, file] : safeNames_) {
    image[file ? path : path + "/"] = file ? file->safe : nullptr;
  }
  return image;
}

DiskImage Disk::Survivors(std::mt19937& random) const {
  DiskImage image;
  for (const auto& [path, file] : NamesThatSurvive(random)) {
    image[file ? path : path + "/"] = file ? file->Survivor(random) : nullptr;
  }
  return image;
}

DiskImage ReadImage(const std::string& directory) {
  DiskImage image;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    const std::string path = entry.path().generic_string().substr(directory.size());
    if (entry.is_directory()) {
      image[path + "/"] = nullptr;
    } else {
      image[path] = std::make_shared<std::string>(ReadFileBytes(entry.path().generic_string()));
    }
  }
  return image;
}

void WriteImage(const DiskImage& image, const std::string& directory) {
  for (const auto& entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
  for (const auto& [path, bytes] : image) {
    const std::string whole = directory + path;
    if (path.find('/') != std::string::npos) fs::create_directories(fs::path(whole).parent_path());
    if (bytes != nullptr) WriteFileBytes(whole, *bytes);
  }
}

std::uint64_t Fingerprint(const DiskImage& image) {
  std::uint64_t print = image.size();
  const auto mix = [&print](std::size_t hash) {
    print = (print ^ hash) * 0x9E3779B97F4A7C15ULL;
    print ^= print >> 29;
  };
  for (const auto& [path, bytes] : image) {
    mix(std::hash<std::string>()(path));
    mix(bytes == nullptr ? 0 : std::hash<std::string>()(*bytes));
  }
  return print;
}

}  // namespace test
