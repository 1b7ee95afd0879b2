#include "board_directory.h"

#include "text.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace host {

namespace fs = std::filesystem;

namespace {

// The settings file may be edited by hand, so anything may stand in it; without its section nothing
// of it would be read, and writing a setting would bury what it really is.
void CheckSettingsFile(const std::string& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) throw UserError("Cannot use " + path + ": it is no file");
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  if (!file || content.str().empty()) throw UserError("Cannot read the settings file " + path);
  std::string text = content.str();
  bool hasNul = text.find('\0') != std::string::npos;
  bool hasSection = false;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos) continue;
    hasSection = hasSection || EqualIgnoringCase(line.substr(start, 10), "[tavernix]");
  }
  if (hasNul || !hasSection) {
    throw UserError(
        "Cannot use the settings file " + path +
        (hasNul ? ": it holds bytes that are no text" : ": it has no section [Tavernix]") +
        "; nothing was changed");
  }
}

}  // namespace

std::string BoardDirectory::AbsolutePath(const std::string& path) {
  std::string problem = BoardPathProblem(path);
  if (!problem.empty()) throw UserError("Cannot use " + path + ": " + problem);
  std::error_code error;
  fs::path absolute = fs::absolute(path.empty() ? "." : path, error).lexically_normal();
  if (error) throw UserError("Cannot use " + path + ": " + error.message());
  std::string text = absolute.generic_string();
  if (text.empty() || text.back() != '/') text += '/';
  problem = BoardPathProblem(text);
  if (!problem.empty()) throw UserError("Cannot use " + text + ": " + problem);
  return text;
}

BoardDirectory::BoardDirectory(const std::string& path) : path_(AbsolutePath(path)) {
  std::error_code error;
  if (!fs::is_directory(path_, error)) {
    throw UserError("Cannot find the board " + path + ": there is no such directory");
  }
  if (!fs::exists(path_ + kSettingsFile, error)) {
    throw UserError(path + " is not a board: it has no file " + kSettingsFile +
                    ". Make one with: brevant-host init DIR");
  }
  CheckSettingsFile(path_ + kSettingsFile);
}

std::unique_ptr<FileLock> BoardDirectory::Lock() const {
  FileLock::Failure failure = FileLock::Failure::kNone;
  auto lock = FileLock::Acquire(path_ + kLockFile, &failure);
  if (lock) return lock;
  if (failure == FileLock::Failure::kHeld) {
    throw UserError("Cannot use the board " + path_ + ": another brevant-host is working on it");
  }
  throw UserError("Cannot write " + path_ + kLockFile);
}

}  // namespace host
