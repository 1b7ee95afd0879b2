#include "board_checks.h"

#include "net/waiting.h"

#include <brevant/frame.h>

#include <cstdlib>
#include <filesystem>

namespace hostile {

namespace fs = std::filesystem;

void UseOwnTemporaries(const test::TemporaryDirectory& directory) {
  const std::string path = directory / "tmp";
  fs::create_directory(path);
  setenv("TMPDIR", path.c_str(), 1);
}

void UseSystemsTemporaries() { unsetenv("TMPDIR"); }

void WaitBriefly() {
  const auto forget = +[](const char*) { brevant::ResetDeadline(); };
  SetVisualFunctions("STATUS", reinterpret_cast<void*>(forget));
}

std::vector<std::string> Strangers(const test::TemporaryDirectory& directory,
                                   const std::set<std::string>& known) {
  static const std::set<std::string> kOwn = {"settings.ini", "state.ini", "error.log", "tmp"};
  std::vector<std::string> strangers;
  for (const auto& entry : fs::directory_iterator(directory.Path())) {
    const std::string name = entry.path().filename().string();
    if (!kOwn.contains(name) && !known.contains(name)) strangers.push_back(name);
  }
  for (const auto& entry : fs::directory_iterator(directory / "tmp")) {
    strangers.push_back("tmp/" + entry.path().filename().string());
  }
  return strangers;
}

std::vector<std::string> NotBoardFiles(const std::string& data) {
  static const std::set<std::string> kBoardFiles = {".mwd", ".mwe", ".mwf", ".mwg"};
  std::vector<std::string> others;
  for (const auto& entry : fs::directory_iterator(data)) {
    if (!kBoardFiles.contains(entry.path().extension().string()))
      others.push_back(entry.path().filename().string());
  }
  return others;
}

}  // namespace hostile
