#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "platform.h"
#include "session.h"
#include "settings_list.h"
#include "text.h"

#include <filesystem>
#include <fstream>
#include <sstream>

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

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  // An empty file would count as a failure to read.
  if (in && in.peek() != std::ifstream::traits_type::eof()) content << in.rdbuf();
  if (!in.is_open() || in.bad()) throw UserError("Cannot read " + path.generic_string());
  return content.str();
}

void WriteFile(const fs::path& path, const std::string& content, bool ownerOnly = false) {
  if (!CreateNewFile(path.string(), content, ownerOnly)) {
    throw UserError("Cannot write " + path.generic_string());
  }
}

// The default pages are those of a board of this name.
constexpr const char* kNameInTemplates = "My Board";

std::string WithBoardName(std::string page, const std::string& name) {
  const std::string shown = HtmlText(name);
  const std::size_t length = std::string(kNameInTemplates).size();
  for (std::size_t at = page.find(kNameInTemplates); at != std::string::npos;
       at = page.find(kNameInTemplates, at + shown.size())) {
    page.replace(at, length, shown);
  }
  return page;
}

// Only what is not there yet: a second init completes a board and overwrites nothing. The pieces
// that survey pages are put together from belong into the board's own directory.
void CopyTemplates(const std::string& from, const std::string& board, const std::string& name) {
  std::error_code error;
  if (!fs::is_directory(from, error)) throw UserError("Cannot open the templates in " + from);
  const fs::path source = from;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source)) {
    const std::string extension = LowerCase(entry.path().extension().string());
    const fs::path target = extension == ".htf" ? fs::path(board) / entry.path().filename()
                                                : fs::path(board) / "Templates" /
                                                      entry.path().lexically_relative(source);
    if (entry.is_directory()) {
      fs::create_directories(target, error);
    } else if (entry.is_regular_file() && !fs::exists(target, error)) {
      const std::string content = ReadFile(entry.path());
      WriteFile(target, extension == ".htm" ? WithBoardName(content, name) : content);
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

std::string BoardName(const InitOptions& options, const std::string& path, bool isBoard) {
  std::string name = options.name;
  if (isBoard) {
    BoardDirectory board(path);
    return Session(board).Setup().String("BBS Name");
  }
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

bool IsTemplateSetting(const SettingInfo& setting) {
  return std::string(setting.key).rfind("HTML File - ", 0) == 0;
}

void WriteSettings(const std::string& board, const std::string& name) {
  std::string text = "[Tavernix]\r\nBBS Name=" + name + "\r\n";
  for (const SettingInfo& setting : SettingsList()) {
    if (setting.initial == nullptr) continue;
    // Templates of the owner's own may lack a kind of page.
    std::error_code error;
    if (IsTemplateSetting(setting) &&
        !fs::exists(board + "Templates/" + setting.initial + ".htm", error)) {
      continue;
    }
    text += std::string(setting.key) + "=" + setting.initial + "\r\n";
  }
  // Passwords will stand in it.
  WriteFile(board + kSettingsFile, text, true);
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
  PrintLine("With an \"FTP Server\" set, a run also uploads the site; \"config " + quoted +
            " list\" names all settings.");
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
  const std::string name = BoardName(options, path, isBoard);
  const std::string templates = options.templates.empty() ? DefaultTemplates() : options.templates;

  for (const char* part : {"", "Site", "Templates"}) MakeDirectory(path + part);
  // The addresses of those who write and of those who read stand in there.
  if (!MakeOwnersDirectory(path + "Data")) {
    throw UserError("Cannot make the directory " + path + "Data");
  }
  CopyTemplates(templates, path, name);
  if (isBoard) {
    PrintLine(options.directory + " is a board already; its settings were left as they are.");
    return kExitSuccess;
  }
  // Last, since this file makes the directory a board.
  WriteSettings(path, name);
  PrintLine("Made the board \"" + name + "\" in " + path);
  PrintLine("  settings   " + path + kSettingsFile);
  PrintLine("  data       " + path + "Data/");
  PrintLine("  templates  " + path + "Templates/");
  PrintLine("  site       " + path + "Site/");
  PrintNextSteps(options.directory);
  return kExitSuccess;
}

}  // namespace host
