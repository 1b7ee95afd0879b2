// list, create, show, rename, remove and delete, for every kind of container.
#include "answers.h"
#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "containers.h"
#include "item_lines.h"
#include "items.h"
#include "session.h"
#include "subscribers.h"
#include "text.h"

namespace host {

namespace {

std::string Quoted(const std::string& text) { return "\"" + Printable(text) + "\""; }

std::string Count(LONG number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

void ApplyOptions(TForum& container, const ContainerOptions& options) {
  if (options.description) WriteProperty(container, "Description", *options.description);
  if (options.prefix) WriteProperty(container, "HTML Filename Prefix", *options.prefix);
  if (options.maximum) {
    WriteNumber(container, "Max Message Count", static_cast<LONG>(*options.maximum));
  }
}

void RenameOneItem(const ContainerKind& kind, const ContainerOptions& options,
                   const std::string& directory) {
  CheckSubject(options.newName);
  CheckRecord("SUBJECT", options.newName);
  ContainerPointer container = OpenContainer(kind, options.name, directory);
  ItemPointer item = OpenItem(kind, options.item, *container);
  if (!item) {
    throw UserError("Cannot find " + std::string(kind.item) + " " + std::to_string(options.item) +
                    " in " + Quoted(options.name));
  }
  if (kind.renameItem(item.get(), container.get(), options.newName.c_str()) != 1) {
    throw UserError("Cannot rename to " + Quoted(options.newName) + ": there is such " +
                    (kind.item[0] == 'a' ? "an " : "a ") + kind.item + " already");
  }
  item.reset();
  Commit(*container, options.name);
  PrintLine("Renamed " + std::string(kind.item) + " " + std::to_string(options.item) + " to " +
            Quoted(options.newName));
}

void RenameWhole(const ContainerKind& kind, const ContainerOptions& options,
                 const std::string& directory) {
  RequireContainer(kind, options.name, directory);
  const std::string oldName = FindContainerName(kind, options.name, directory);
  CheckNewName(kind, options.newName, directory);
  if (!EqualIgnoringCase(oldName, options.newName) &&
      !FindContainerName(kind, options.newName, directory).empty()) {
    throw UserError("Cannot rename to \"" + options.newName + "\": there is such a " + kind.word +
                    " already");
  }
  if (kind.rename(oldName.c_str(), options.newName.c_str(), directory.c_str()) == 0) {
    throw UserError("Cannot rename " + directory + oldName + kind.extension);
  }
  PrintLine("Renamed \"" + oldName + "\" to \"" + options.newName + "\"");
}

// The votes for an answer that goes no longer count.
void ForgetVotes(DWORD answer, TForum& question) {
  ItemPointer item = OpenItem(kQuestions, answer, question);
  const LONG votes = item ? item->Number("Vote Count") : 0;
  if (votes <= 0) return;
  const LONG total = question.Number("Total Vote Count") - votes;
  WriteNumber(question, "Total Vote Count", total > 0 ? total : 0);
}

}  // namespace

int ContainerListCommand(const ContainerKind& kind, const ContainerOptions& options) {
  BoardDirectory board(options.directory);
  Session session(board);
  const std::string directory = session.DataDirectory();
  const std::vector<std::string> names = kind.names(directory.c_str());
  if (names.empty()) {
    PrintLine("No " + std::string(kind.word) + "s yet; make one with: brevant-host " +
              kind.command + " create DIR NAME");
  }
  int result = kExitSuccess;
  for (const std::string& name : names) {
    ContainerPointer container(kind.open(name.c_str(), directory.c_str()), kind.close);
    if (!container) {
      PrintError("Cannot open " + directory + name + kind.extension +
                 ": it is in use or is not a " + kind.word + "'s data file");
      result = kExitFailure;
      continue;
    }
    std::string line =
        name + "  (" + std::to_string(container->Number("Message Count")) + " " + kind.item + "s";
    if (&kind == &kQuestions) line += ", " + Count(container->Number("Total Vote Count"), "vote");
    PrintLine(line + ")");
  }
  return result;
}

int ContainerCreateCommand(const ContainerKind& kind, const ContainerOptions& options) {
  for (const std::string& answer : options.answers) CheckAnswer(answer);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  session.CheckDirectories();
  const std::string directory = session.DataDirectory();
  CheckNewName(kind, options.name, directory);
  // Creating replaces a file of that name, so this must be known first.
  if (!FindContainerName(kind, options.name, directory).empty()) {
    throw UserError("Cannot make the " + std::string(kind.word) + " \"" + options.name +
                    "\": there is one already");
  }
  ContainerPointer container(kind.create(options.name.c_str(), directory.c_str()), kind.close);
  if (!container) throw UserError("Cannot make " + directory + options.name + kind.extension);
  try {
    ApplyOptions(*container, options);
    for (const std::string& answer : options.answers) AddAnswer(*container, answer, {});
    Commit(*container, options.name);
  } catch (const UserError&) {
    container.reset();
    kind.erase(options.name.c_str(), directory.c_str());
    throw;
  }
  PrintLine("Made the " + std::string(kind.word) + " \"" + options.name + "\"");
  return kExitSuccess;
}

int ContainerShowCommand(const ContainerKind& kind, const ContainerOptions& options) {
  BoardDirectory board(options.directory);
  Session session(board);
  ContainerPointer container = OpenContainer(kind, options.name, session.DataDirectory());
  PrintLine("Name         " + Printable(container->String("Name")));
  PrintLine("Description  " + Printable(container->String("Description")));
  PrintLine("Prefix       " + Printable(container->String("HTML Filename Prefix")));
  PrintLine("Keeps        " + std::to_string(container->Number("Max Message Count")) + " " +
            kind.item + "s");
  PrintLine("Holds        " + std::to_string(container->Number("Message Count")));
  if (&kind == &kQuestions) {
    PrintLine("Votes        " + std::to_string(container->Number("Total Vote Count")));
  }
  for (const std::string& line : ItemLines(kind, *container)) PrintLine("  " + line);
  if (&kind == &kForums) PrintSubscribers(*container);
  return kExitSuccess;
}

int ContainerRenameCommand(const ContainerKind& kind, const ContainerOptions& options) {
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  const std::string directory = session.DataDirectory();
  if (options.item != 0) {
    RenameOneItem(kind, options, directory);
  } else {
    RenameWhole(kind, options, directory);
  }
  return kExitSuccess;
}

int ContainerRemoveCommand(const ContainerKind& kind, const ContainerOptions& options) {
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  ContainerPointer container = OpenContainer(kind, options.name, session.DataDirectory());
  if (!OpenItem(kind, options.item, *container)) {
    throw UserError("Cannot find " + std::string(kind.item) + " " + std::to_string(options.item) +
                    " in " + Quoted(options.name));
  }
  if (&kind == &kQuestions) ForgetVotes(options.item, *container);
  if (kind.removeItem(options.item, container.get()) != 1) {
    throw UserError("Cannot remove " + std::string(kind.item) + " " + std::to_string(options.item));
  }
  Commit(*container, options.name);
  PrintLine("Removed " + std::string(kind.item) + " " + std::to_string(options.item) + " of " +
            Quoted(options.name));
  return kExitSuccess;
}

int ContainerDeleteCommand(const ContainerKind& kind, const ContainerOptions& options) {
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  const std::string directory = session.DataDirectory();
  RequireContainer(kind, options.name, directory);
  const std::string name = FindContainerName(kind, options.name, directory);
  if (kind.erase(name.c_str(), directory.c_str()) == 0) {
    throw UserError("Cannot delete " + directory + name + kind.extension);
  }
  // No file that is left became newer by it, and the pages must lose its name all the same.
  session.State().Number("Last Site Update Time", DWORD{0});
  PrintLine("Deleted the " + std::string(kind.word) + " \"" + name + "\" and its " + kind.item +
            "s");
  return kExitSuccess;
}

}  // namespace host
