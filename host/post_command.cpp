#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "items.h"
#include "session.h"
#include "text.h"

namespace host {

int PostCommand(const PostOptions& options) {
  CheckSubject(options.subject);
  CheckSender(options.from);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  const std::string content = ReadContent(options.file);
  ContainerPointer forum = OpenContainer(kForums, options.forum, session.DataDirectory());
  if (options.replyTo != 0 && !OpenItem(kForums, options.replyTo, *forum)) {
    throw UserError("Cannot answer message " + std::to_string(options.replyTo) +
                    ": the forum has none of that number");
  }
  ItemPointer message = NewItem(kForums, options.subject);
  WriteSender(*message, options.from);
  WriteContent(*message, content, options.html);
  if (options.replyTo != 0) {
    WriteItemNumber(*message, "LINK ID", static_cast<LONG>(options.replyTo));
  }
  const DWORD index = FileItem(kForums, *message, *forum, options.forum);
  PrintLine("Posted message " + std::to_string(index) + " to \"" + Printable(options.forum) + "\"");
  return kExitSuccess;
}

}  // namespace host
