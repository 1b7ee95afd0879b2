#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "session.h"
#include "text.h"

#include <memory>
#include <vector>

namespace host {

namespace {

struct ForumCloser {
  void operator()(TForum* forum) const { CloseForum(forum); }
};
using ForumPointer = std::unique_ptr<TForum, ForumCloser>;

std::vector<std::string> ForumNames(const std::string& directory) {
  std::vector<std::string> names;
  TForumSearcher* searcher = StartForumSearch(directory.c_str());
  if (searcher == nullptr) return names;
  for (const char* name = FindFirstForum(searcher); name != nullptr;
       name = FindNextForum(searcher)) {
    names.emplace_back(name);
  }
  EndForumSearch(searcher);
  return names;
}

// The forum's name as its file spells it; empty when there is none.
std::string FindForumName(const std::string& name, const std::string& directory) {
  for (const std::string& candidate : ForumNames(directory)) {
    if (EqualIgnoringCase(candidate, name)) return candidate;
  }
  return {};
}

// A name is part of a file's name, of page names and of posting addresses; what has a meaning there
// cannot stand in it.
void CheckForumName(const std::string& name) {
  const bool badEnds = name.empty() || name.front() == ' ' || name.front() == '.' ||
                       name.back() == ' ' || name.back() == '.';
  if (badEnds || HasControlCharacter(name) || name.size() > 100 ||
      name.find_first_of("<>:\"/\\|?*[]_") != std::string::npos) {
    throw UserError("Cannot call a forum \"" + Printable(name) +
                    "\": up to 100 bytes, none of < > : \" / \\ | ? * [ ] _, no blank or dot at "
                    "its start or end");
  }
  std::string problem = BoardPathProblem(name);
  if (!problem.empty()) throw UserError("Cannot call a forum " + name + ": " + problem);
}

void RequireForum(const std::string& name, const std::string& directory) {
  if (FindForumName(name, directory).empty()) {
    throw UserError("Cannot find the forum \"" + Printable(name) + "\" in " + directory);
  }
}

ForumPointer OpenOrThrow(const std::string& name, const std::string& directory) {
  RequireForum(name, directory);
  ForumPointer forum(OpenForum(FindForumName(name, directory).c_str(), directory.c_str()));
  if (!forum) {
    throw UserError("Cannot open " + directory + name +
                    ".mwd: it is in use or is not a forum's data file; nothing was changed");
  }
  return forum;
}

void WriteProperty(TForum& forum, const char* key, const std::string& value) {
  // A record holds key and value in 126 bytes.
  const std::size_t room = 126 - std::string(key).size();
  if (value.size() > room || HasControlCharacter(value)) {
    throw UserError("Cannot store \"" + std::string(key) + "\": up to " + std::to_string(room) +
                    " bytes without control characters");
  }
  if (forum.String(key, value.c_str()) != 1) {
    throw UserError("Cannot save the forum's \"" + std::string(key) + "\"");
  }
}

void ApplyOptions(TForum& forum, const ForumOptions& options) {
  if (options.description) WriteProperty(forum, "Description", *options.description);
  if (options.prefix) WriteProperty(forum, "HTML Filename Prefix", *options.prefix);
  if (options.maximum) {
    if (forum.Number("Max Message Count", static_cast<LONG>(*options.maximum)) != 1) {
      throw UserError("Cannot save the forum's \"Max Message Count\"");
    }
  }
}

std::string TimeText(const TTime& time) {
  if (time.IsZero()) return "-";
  char text[64];
  FormatTime(time, text, sizeof text,
             kFormatDate | kFormatTime | kFormatYear | kFormatMonthName | kFormat24Hour);
  return text;
}

void PrintMessages(TForum& forum) {
  TMessageSearcher* searcher = StartMessageSearch(&forum);
  if (searcher == nullptr) throw UserError("Cannot read the message list");
  for (TMessageSearchResult found = FindFirstMessage(searcher); found.subject != nullptr;
       found = FindNextMessage(searcher)) {
    std::string line = "  " + std::to_string(found.index) + "  " + Printable(found.subject);
    if (found.linkId != 0) line += "  (answers " + std::to_string(found.linkId) + ")";
    if (TMail* message = OpenMessage(found.index, &forum); message != nullptr) {
      line += "  - " + Printable(message->String("FROM")) + ", " +
              TimeText(message->Storage().CreationTime());
      CloseMessage(message);
    }
    PrintLine(line);
  }
  EndMessageSearch(searcher);
}

}  // namespace

int ForumListCommand(const ForumOptions& options) {
  BoardDirectory board(options.directory);
  Session session(board);
  const std::string directory = session.DataDirectory();
  const std::vector<std::string> names = ForumNames(directory);
  if (names.empty()) PrintLine("No forums yet; make one with: brevant-host forum create DIR NAME");
  int result = kExitSuccess;
  for (const std::string& name : names) {
    ForumPointer forum(OpenForum(name.c_str(), directory.c_str()));
    if (!forum) {
      PrintError("Cannot open " + directory + name +
                 ".mwd: it is in use or is not a forum's data file");
      result = kExitFailure;
      continue;
    }
    PrintLine(name + "  (" + std::to_string(forum->Number("Message Count")) + " messages)");
  }
  return result;
}

int ForumCreateCommand(const ForumOptions& options) {
  CheckForumName(options.name);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  session.CheckDirectories();
  const std::string directory = session.DataDirectory();
  // Creating replaces a file of that name, so this must be known first.
  if (!FindForumName(options.name, directory).empty()) {
    throw UserError("Cannot make the forum \"" + options.name + "\": there is one already");
  }
  ForumPointer forum(CreateForum(options.name.c_str(), directory.c_str()));
  if (!forum) throw UserError("Cannot make " + directory + options.name + ".mwd");
  try {
    ApplyOptions(*forum, options);
    if (forum->Storage().Commit() == 0) throw UserError("Cannot save " + options.name);
  } catch (const UserError&) {
    forum.reset();
    DeleteForum(options.name.c_str(), directory.c_str());
    throw;
  }
  PrintLine("Made the forum \"" + options.name + "\"");
  return kExitSuccess;
}

int ForumShowCommand(const ForumOptions& options) {
  BoardDirectory board(options.directory);
  Session session(board);
  ForumPointer forum = OpenOrThrow(options.name, session.DataDirectory());
  PrintLine("Name         " + Printable(forum->String("Name")));
  PrintLine("Description  " + Printable(forum->String("Description")));
  PrintLine("Prefix       " + Printable(forum->String("HTML Filename Prefix")));
  PrintLine("Keeps        " + std::to_string(forum->Number("Max Message Count")) + " messages");
  PrintLine("Messages     " + std::to_string(forum->Number("Message Count")));
  PrintMessages(*forum);
  return kExitSuccess;
}

int ForumRenameCommand(const ForumOptions& options) {
  CheckForumName(options.newName);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  const std::string directory = session.DataDirectory();
  RequireForum(options.name, directory);
  const std::string oldName = FindForumName(options.name, directory);
  if (!EqualIgnoringCase(oldName, options.newName) &&
      !FindForumName(options.newName, directory).empty()) {
    throw UserError("Cannot rename to \"" + options.newName + "\": there is such a forum already");
  }
  if (RenameForum(oldName.c_str(), options.newName.c_str(), directory.c_str()) == 0) {
    throw UserError("Cannot rename " + directory + oldName + ".mwd");
  }
  PrintLine("Renamed \"" + oldName + "\" to \"" + options.newName + "\"");
  return kExitSuccess;
}

int ForumDeleteCommand(const ForumOptions& options) {
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  const std::string directory = session.DataDirectory();
  RequireForum(options.name, directory);
  const std::string name = FindForumName(options.name, directory);
  if (DeleteForum(name.c_str(), directory.c_str()) == 0) {
    throw UserError("Cannot delete " + directory + name + ".mwd");
  }
  PrintLine("Deleted the forum \"" + name + "\" and its messages");
  return kExitSuccess;
}

}  // namespace host
