// Adding to resource lists and link lists.
#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "items.h"
#include "session.h"
#include "text.h"

namespace host {

int LinkAddCommand(const ContainerKind& kind, const LinkOptions& options) {
  CheckSubject(options.subject);
  // A subject is the item's name: cut, it would be another's.
  CheckRecord("SUBJECT", options.subject);
  CheckRecord("Address", options.address);
  if (!options.from.empty()) CheckSender(options.from);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  const std::string content = options.file.empty() ? "" : ReadContent(options.file);
  ContainerPointer list = OpenContainer(kind, options.list, session.DataDirectory());
  ItemPointer item = NewItem(kind, options.subject);
  if (!options.address.empty()) WriteText(*item, "Address", options.address);
  if (options.size) WriteItemNumber(*item, "Size", static_cast<LONG>(*options.size));
  if (!options.from.empty()) WriteSender(*item, options.from);
  WriteContent(*item, content, options.html);
  const bool replaced = FindItem(options.subject, *list) != 0;
  const DWORD index = FileItem(kind, *item, *list, options.list);
  PrintLine(std::string(replaced ? "Replaced " : "Added ") + kind.item + " " +
            std::to_string(index) + (replaced ? " of \"" : " to \"") + Printable(options.list) +
            "\"");
  return kExitSuccess;
}

}  // namespace host
