// Adding answers to survey questions.
#include "answers.h"
#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "items.h"
#include "session.h"
#include "text.h"

#include <charconv>
#include <iterator>

namespace host {

namespace {

// Each stands out from its neighbours and from a light and a dark page.
constexpr const char* kColors[] = {"#2f7fc1", "#c2571a", "#2e8b57", "#9a5fb4",
                                   "#a8780a", "#c0436b", "#3f8a94", "#7a7f87"};

// "#rrggbb" as the board keeps it: red in the lowest byte.
LONG ColorNumber(const std::string& color) {
  unsigned number = 0;
  const char* end = color.data() + color.size();
  const bool isHash = color.size() == 7 && color[0] == '#';
  const auto parsed = std::from_chars(color.data() + (isHash ? 1 : 0), end, number, 16);
  if (!isHash || parsed.ec != std::errc() || parsed.ptr != end) {
    throw UserError("Cannot use the colour \"" + Printable(color) + "\": write it as #2f7fc1");
  }
  return static_cast<LONG>((number >> 16) | (number & 0xff00) | ((number & 0xff) << 16));
}

}  // namespace

void CheckAnswer(const std::string& answer) {
  CheckSubject(answer);
  CheckRecord("SUBJECT", answer);
  if (answer.front() == ' ' || answer.back() == ' ') {
    throw UserError("Cannot store the answer \"" + answer + "\": a blank at its start or end");
  }
}

DWORD AddAnswer(TForum& question, const std::string& answer, const std::string& color) {
  CheckAnswer(answer);
  if (FindItem(answer, question) != 0) {
    // Replacing it would lose its votes.
    throw UserError("Cannot add the answer \"" + answer + "\": there is one already");
  }
  const LONG count = question.Number("Message Count");
  // What the owner offers to choose from does not give way to newer answers.
  if (count >= question.Number("Max Message Count")) {
    WriteNumber(question, "Max Message Count", count + 1);
  }
  const std::string row =
      kColors[static_cast<std::size_t>(question.Number("Last Message Index")) % std::size(kColors)];
  ItemPointer item = NewItem(kQuestions, answer);
  WriteItemNumber(*item, "Color", ColorNumber(color.empty() ? row : color));
  const DWORD index = kQuestions.insertItem(item.get(), &question);
  if (index == 0) throw UserError("Cannot save the answer \"" + answer + "\"");
  return index;
}

int AnswerAddCommand(const AnswerOptions& options) {
  CheckAnswer(options.answer);
  if (!options.color.empty()) ColorNumber(options.color);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  ContainerPointer question = OpenContainer(kQuestions, options.question, session.DataDirectory());
  const DWORD index = AddAnswer(*question, options.answer, options.color);
  Commit(*question, options.question);
  PrintLine("Added answer " + std::to_string(index) + " to \"" + Printable(options.question) +
            "\"");
  return kExitSuccess;
}

}  // namespace host
