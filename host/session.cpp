#include "session.h"

#include "console.h"

#include <filesystem>

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr const char* kDirectoryKeys[] = {"Data Directory", "HTML Template Directory",
                                          "Local Directory"};

// A board's own directories are written relative to it, so that it can be moved. The library takes
// paths as they are; the full ones live in its cache only and never reach the file.
void ResolveDirectories(const BoardDirectory& board, TSetup& setup) {
  for (const char* key : kDirectoryKeys) {
    std::string value = setup.String(key);
    if (value.empty()) continue;
    bool absolute = value[0] == '/' || value[0] == '\\' || fs::path(value).is_absolute();
    if (!absolute) setup.SetString(key, (board.Path() + value).c_str());
  }
}

}  // namespace

Session::Session(const BoardDirectory& board) {
  if (SetProgramDirectory(board.Path().c_str()) == 0) {
    throw UserError("Cannot use the directory " + board.Path());
  }
  setup_ = OpenSetup(kSettingsFile);
  state_ = OpenPersistentState(kStateFile);
  if (setup_ == nullptr || state_ == nullptr || InitializeBrevant(setup_, state_) == 0) {
    if (setup_ != nullptr) CloseSetup(setup_);
    ClosePersistentState(state_);
    throw UserError("Cannot start the library");
  }
  ResolveDirectories(board, *setup_);
  SetVisualFunctions("STATUS", reinterpret_cast<void*>(&Console::ShowStatus));
  SetVisualFunctions("HISTORY", reinterpret_cast<void*>(&Console::ShowHistory));
  SetVisualFunctions("PROGRESS", reinterpret_cast<void*>(&Console::ShowProgress));
}

Session::~Session() {
  for (const char* which : {"STATUS", "HISTORY", "PROGRESS"}) SetVisualFunctions(which, nullptr);
  UninitializeBrevant();
  ClosePersistentState(state_);
  CloseSetup(setup_);
}

void Session::CheckDirectories() const {
  for (const char* key : kDirectoryKeys) {
    std::string value = setup_->String(key);
    std::error_code error;
    if (value.empty())
      throw UserError("Cannot run: the setting \"" + std::string(key) + "\" is empty");
    if (!fs::is_directory(value, error)) {
      // A file with a final separator would not be found at all.
      value.erase(value.find_last_not_of("/\\") + 1);
      throw UserError("Cannot use " + value + " (setting \"" + key + "\"): " +
                      (fs::exists(value, error) ? "it is no directory" : "it does not exist"));
    }
  }
}

}  // namespace host
