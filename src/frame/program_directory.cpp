// Where the settings, the persistent state and the error log are.
#include "frame/library.h"
#include "platform/win32.h"

#include <exception>
#include <mutex>
#include <set>
#include <string>

namespace brevant {
namespace {

struct Directory {
  std::mutex mutex;
  std::set<std::string> paths;  // all that were ever set: their texts have been handed out
  const std::string* current = nullptr;

  void Set(std::string path) { current = &*paths.insert(std::move(path)).first; }
};

Directory& Instance() {
  static auto* directory = new Directory;  // never destroyed: other static objects may log at exit
  return *directory;
}

// The directory of the host executable, with its final separator.
std::string ExecutableDirectory() {
  std::string path(MAX_PATH, '\0');
  DWORD length = 0;
  while ((length = GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size()))) >=
         path.size()) {
    path.resize(path.size() * 2);
  }
  path.resize(length);
  const std::size_t separator = path.find_last_of("/\\");
  return path.substr(0, separator == std::string::npos ? 0 : separator + 1);
}

std::string FullPath(const char* path) {
  std::string full(MAX_PATH, '\0');
  DWORD length = 0;
  while ((length = GetFullPathNameA(path, static_cast<DWORD>(full.size()), full.data(), nullptr)) >=
         full.size()) {
    full.resize(length + 1);
  }
  full.resize(length);
  return full;
}

}  // namespace

const char* ProgramDirectory() {
  Directory& directory = Instance();
  const std::lock_guard<std::mutex> guard(directory.mutex);
  if (directory.current == nullptr) directory.Set(ExecutableDirectory());
  return directory.current->c_str();
}

std::string WithFinalSeparator(std::string path) {
  if (!path.empty() && path.back() != '/' && path.back() != '\\') {
    path += path.find('/') != std::string::npos ? '/' : '\\';
  }
  return path;
}

}  // namespace brevant

int SetProgramDirectory(const char* path) {
  try {
    std::string full = path == nullptr ? brevant::ExecutableDirectory()
                                       : brevant::WithFinalSeparator(brevant::FullPath(path));
    if (full.empty()) return 0;
    brevant::Directory& directory = brevant::Instance();
    const std::lock_guard<std::mutex> guard(directory.mutex);
    directory.Set(std::move(full));
    return 1;
  } catch (const std::exception&) {
    return 0;
  }
}
