#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "platform.h"
#include "settings_list.h"
#include "text.h"

#include <filesystem>
#include <fstream>

namespace host {

namespace fs = std::filesystem;

namespace {

// Installed beside the program, beside the program's directory, or in the source tree it was built
// from.
std::string DefaultTemplates() {
  std::string here = ExecutableDirectory();
  for (const std::string& candidate : {here + "/../share/brevant/templates", here + "/templates",
                                       std::string(BREVANT_SOURCE_TEMPLATES)}) {
    std::error_code error;
    if (fs::is_directory(candidate, error)) return candidate;
  }
  throw UserError("Cannot find the default templates; name their directory with --templates");
}

// By hand: the standard library's copying fails on some Windows systems where it takes two files
// for one.
void CopyFileBytes(const fs::path& from, const fs::path& to) {
  std::ifstream in(from, std::ios::binary);
  std::ofstream out(to, std::ios::binary);
  // An empty file would count as a failure to read.
  if (in && in.peek() != std::ifstream::traits_type::eof()) out << in.rdbuf();
  if (in.bad() || !out.flush()) throw UserError("Cannot write " + to.generic_string());
}

// Only what is not there yet: a second init completes a board and overwrites nothing.
void CopyTemplates(const std::string& from, const std::string& to) {
  std::error_code error;
  if (!fs::is_directory(from, error)) throw UserError("Cannot open the templates in " + from);
  const fs::path source = from;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source)) {
    const fs::path target = fs::path(to) / entry.path().lexically_relative(source);
    if (entry.is_directory()) {
      fs::create_directories(target, error);
    } else if (entry.is_regular_file() && !fs::exists(target, error)) {
      CopyFileBytes(entry.path(), target);
    }
  }
}

void MakeDirectory(const std::string& path) {
  std::error_code error;
  fs::create_directories(path, error);
  if (error || !fs::is_directory(path)) {
    throw UserError("Cannot make the directory " + path +
                    (error ? ": " + error.message() : std::string()));
  }
}

std::string BoardName(const InitOptions& options, const std::string& path) {
  std::string name = options.name;
  if (name.empty()) {
    name = fs::path(path).parent_path().filename().string();
    if (name.empty()) name = "My Board";
  }
  if (HasControlCharacter(name) || name.size() > 100 ||
      name.find_first_of("[]:_\"") != std::string::npos) {
    throw UserError("Cannot call a board \"" + Printable(name) +
                    "\": up to 100 bytes, without [ ] : _ and quotes (they are part of posting "
                    "addresses); choose another with --name");
  }
  return name;
}

void WriteSettings(const std::string& path, const std::string& name) {
  std::ofstream file(path, std::ios::binary);
  file << "[Tavernix]\r\nBBS Name=" << name << "\r\n";
  for (const SettingInfo& setting : SettingsList()) {
    if (setting.initial != nullptr) file << setting.key << "=" << setting.initial << "\r\n";
  }
  if (!file.flush()) throw UserError("Cannot write " + path);
}

void PrintNextSteps(const std::string& directory) {
  const std::string program = "  brevant-host ";
  const std::string quoted =
      directory.find(' ') == std::string::npos ? directory : "\"" + directory + "\"";
  PrintLine("Next:");
  PrintLine(program + "forum create " + quoted + " \"General Talk\"");
  PrintLine(program + "config " + quoted + " set \"POP3 Server\" mail.example.org");
  PrintLine(program + "config " + quoted + " set \"POP3 Account\" board");
  PrintLine(program + "config " + quoted + " set \"POP3 Password\" -");
  PrintLine(program + "run " + quoted);
}

}  // namespace

int InitCommand(const InitOptions& options) {
  std::string path = BoardDirectory::AbsolutePath(options.directory);
  std::error_code error;
  bool exists = fs::exists(path, error);
  if (exists && !fs::is_directory(path, error)) {
    throw UserError("Cannot make a board at " + options.directory + ": it is a file");
  }
  const bool isBoard = exists && fs::exists(path + kSettingsFile, error);
  if (exists && !isBoard && !fs::is_empty(path, error)) {
    throw UserError("Cannot make a board in " + options.directory +
                    ": the directory is not empty and is not a board; nothing was changed");
  }
  if (isBoard) BoardDirectory check(path);  // a settings file of garbage stays as it is
  const std::string name = isBoard ? std::string() : BoardName(options, path);
  const std::string templates = options.templates.empty() ? DefaultTemplates() : options.templates;

  for (const char* part : {"", "Data", "Site", "Templates"}) MakeDirectory(path + part);
  CopyTemplates(templates, path + "Templates");
  if (isBoard) {
    PrintLine(options.directory + " is a board already; its settings were left as they are.");
    return kExitSuccess;
  }
  // Last, since this file makes the directory a board.
  WriteSettings(path + kSettingsFile, name);
  PrintLine("Made the board \"" + name + "\" in " + path);
  PrintLine("  settings   " + path + kSettingsFile);
  PrintLine("  data       " + path + "Data/");
  PrintLine("  templates  " + path + "Templates/");
  PrintLine("  site       " + path + "Site/");
  PrintNextSteps(options.directory);
  return kExitSuccess;
}

}  // namespace host
