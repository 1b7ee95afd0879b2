#include "calls/board_state.h"

#include "calls/board.h"
#include "support/temporary_directory.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace faults {

namespace fs = std::filesystem;

namespace {

// Every file has a time of its own, so that one that took another's name shows.
fs::file_time_type OldTime(std::size_t file) {
  return fs::file_time_type{} - std::chrono::hours(24 * 3650) + std::chrono::seconds(file);
}

bool IsCompound(const std::string& path) {
  const std::string end = path.size() < 4 ? "" : path.substr(path.size() - 4);
  return end == ".mwd" || end == ".mwe" || end == ".mwf" || end == ".mwg";
}

}  // namespace

std::string Difference(const BoardState& expected, const BoardState& found) {
  std::string text;
  for (const auto& [path, bytes] : expected) {
    const auto other = found.find(path);
    if (other == found.end()) {
      text += " [" + path + " is missing]";
    } else if (other->second != bytes) {
      text += " [" + path + " differs]";
    }
  }
  for (const auto& [path, bytes] : found) {
    if (!expected.contains(path)) text += " [" + path + " is too much]";
  }
  return text.size() > 600 ? text.substr(0, 600) + " ..." : text;
}

bool IsMixtureOf(const BoardState& one, const BoardState& other, const BoardState& state,
                 const std::string* part, std::string* odd) {
  const auto has = [](const BoardState& where, const std::string& path, const std::string& bytes) {
    const auto found = where.find(path);
    return found != where.end() && found->second == bytes;
  };
  for (const auto& [path, bytes] : state) {
    if (has(one, path, bytes) || has(other, path, bytes)) continue;
    // What is left of a draft is dropped by whoever makes the file next.
    if (path.ends_with(".new~")) continue;
    if (part != nullptr && path.starts_with(*part)) continue;
    *odd = path + (one.contains(path) || other.contains(path) ? " is neither old nor new"
                                                              : " is left behind");
    return false;
  }
  for (const auto& [path, bytes] : one) {
    if (!other.contains(path) || state.contains(path)) continue;
    if (part != nullptr && path.starts_with(*part)) continue;
    *odd = path + " is gone";
    return false;
  }
  return true;
}

BoardKeeper::BoardKeeper(std::string directory) : directory_(std::move(directory)) {
  MakeSmallBoard(directory_);
  image_ = test::ReadImage(directory_);
  for (const auto& [path, bytes] : image_) {
    if (path.back() == '/') continue;
    times_[path] = OldTime(times_.size());
    states_[path] = LookAt(path);
    before_.insert(states_[path].begin(), states_[path].end());
    Write(path);
  }
}

void BoardKeeper::Write(const std::string& path) const {
  fs::remove(directory_ + path);
  test::WriteFileBytes(directory_ + path, *image_.at(path));
  fs::last_write_time(directory_ + path, times_.at(path));
}

bool BoardKeeper::IsUntouched(const std::string& path) const {
  std::error_code none;
  const auto known = times_.find(path);
  return known != times_.end() && !test::FileExists(directory_ + path + ".jnl") &&
         fs::last_write_time(directory_ + path, none) == known->second;
}

void BoardKeeper::Restore() {
  std::vector<fs::path> superfluous;
  for (const auto& entry : fs::recursive_directory_iterator(directory_)) {
    const std::string path = entry.path().lexically_relative(directory_).generic_string();
    if (!entry.is_directory() && !image_.contains(path)) superfluous.push_back(entry.path());
  }
  for (const fs::path& path : superfluous) fs::remove(path);
  for (const auto& [path, bytes] : image_) {
    if (path.back() == '/') {
      fs::create_directories(directory_ + path);
    } else if (!IsUntouched(path)) {
      Write(path);
    }
  }
}

BoardState BoardKeeper::LookAt(const std::string& path) const {
  BoardState state;
  if (!IsCompound(path)) {
    state[path] = test::ReadFileBytes(directory_ + path);
    return state;
  }
  std::string problem;
  const auto tree = ReadTree(directory_ + path, &problem);
  if (!tree) {
    state[path] = "cannot be read: " + problem;
    return state;
  }
  for (const auto& [element, content] : *tree) {
    state[path + ":" + element] = content.isStorage ? "a storage" : content.bytes;
  }
  return state;
}

BoardState BoardKeeper::Look() const {
  BoardState state;
  std::vector<std::string> paths;
  for (const auto& entry : fs::recursive_directory_iterator(directory_)) {
    if (entry.is_directory()) continue;
    paths.push_back(entry.path().lexically_relative(directory_).generic_string());
  }
  // Compound files first: looking at them finishes their journals.
  for (const bool compound : {true, false}) {
    for (const std::string& path : paths) {
      if (IsCompound(path) != compound || !test::FileExists(directory_ + path)) continue;
      const BoardState part = IsUntouched(path) ? states_.at(path) : LookAt(path);
      state.insert(part.begin(), part.end());
    }
  }
  return state;
}

}  // namespace faults
