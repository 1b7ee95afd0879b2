#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "session.h"
#include "settings_list.h"
#include "text.h"

#include <algorithm>
#include <fstream>
#include <iostream>

namespace host {

namespace {

// The library reads a setting through a buffer of 256 bytes.
constexpr std::size_t kMaximumValue = 255;

const SettingInfo& RequireSetting(const std::string& key) {
  const SettingInfo* setting = FindSetting(key);
  if (setting == nullptr) {
    throw UserError("Cannot find a setting \"" + Printable(key) +
                    "\"; \"brevant-host config DIR list\" prints them all");
  }
  return *setting;
}

std::string ShownValue(TSetup& setup, const std::string& key) {
  std::string value = setup.String(key.c_str());
  if (IsPasswordKey(key)) return value.empty() ? "" : "(set, not shown)";
  return Printable(value);
}

}  // namespace

int ConfigGetCommand(const ConfigOptions& options) {
  BoardDirectory board(options.directory);
  Session session(board);
  if (!options.key.empty()) {
    RequireSetting(options.key);
    PrintLine(ShownValue(session.Setup(), options.key));
    return kExitSuccess;
  }
  for (const SettingInfo& setting : SettingsList()) {
    PrintLine(std::string(setting.key) + " = " + ShownValue(session.Setup(), setting.key));
  }
  return kExitSuccess;
}

int ConfigSetCommand(const ConfigOptions& options) {
  RequireSetting(options.key);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  const bool isPassword = IsPasswordKey(options.key);
  std::string value = options.value;
  if (isPassword && value == "-") {
    // Arguments are visible to every user of the machine while the program runs.
    std::getline(std::cin, value);
    if (!value.empty() && value.back() == '\r') value.pop_back();
  }
  if (HasControlCharacter(value) || value.size() > kMaximumValue) {
    throw UserError("Cannot store \"" + options.key +
                    "\": up to 255 bytes without control characters");
  }
  Session session(board);
  if (session.Setup().String(options.key.c_str(), value.c_str()) == 0) {
    throw UserError("Cannot write " + board.Path() + kSettingsFile);
  }
  // What the file format cannot carry (blanks at an end, quotes around the whole) must not be lost
  // in silence; a store of its own reads the file and not the first one's cache.
  TSetup* reread = OpenSetup(kSettingsFile);
  if (reread == nullptr) throw UserError("Cannot read " + board.Path() + kSettingsFile);
  std::string stored = reread->String(options.key.c_str());
  CloseSetup(reread);
  if (!value.empty() && stored != value && stored != value + "/" && stored != value + "\\") {
    throw UserError("Cannot store \"" + options.key +
                    "\" exactly: a settings file keeps no blanks or quotes around a value" +
                    (isPassword ? "" : "; it now reads \"" + Printable(stored) + "\""));
  }
  PrintLine(options.key + (isPassword ? std::string(" is set") : " = " + Printable(value)));
  return kExitSuccess;
}

int ConfigListCommand() {
  std::size_t width = 0;
  for (const SettingInfo& setting : SettingsList()) {
    width = std::max(width, std::string(setting.key).size());
  }
  for (const SettingInfo& setting : SettingsList()) {
    std::string key = setting.key;
    PrintLine(key + std::string(width + 2 - key.size(), ' ') + setting.meaning);
  }
  PrintLine("HTML File - PAGE" + std::string(width > 14 ? width - 14 : 2, ' ') +
            "template of the linked page PAGE");
  return kExitSuccess;
}

}  // namespace host
