#include "forum_filler.h"

#include "platform/win32.h"

#include <brevant/board.h>

#include <stdexcept>

namespace bench {
namespace {

constexpr int kContentSize = 1500;

void Check(bool fine, const char* what) {
  if (!fine) throw std::runtime_error(what);
}

std::string Content() {
  std::string text;
  while (text.size() < kContentSize) text += "A line as long as those that mail programs wrap.\r\n";
  return text;
}

void Insert(TForum& forum, long number) {
  static const std::string content = Content();
  TMail message;
  Check(message.OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)) == 1, "temporary message");
  message.String("Subject", ("Message " + std::to_string(number) + " about something").c_str());
  message.String("FROM", "\"Ann Example\" <ann@example.org>");
  message.String("From Name", "Ann Example");
  message.String("Document Type", "text/plain");
  message.Content().Write(content.data(), static_cast<int>(content.size()));
  Check(forum.InsertMessage(message) != 0, "insert");
}

}  // namespace

void FillForums(const std::string& directory, long forums, long messages) {
  for (long number = 1; number <= forums; ++number) {
    TForum* forum = CreateForum(("Forum " + std::to_string(number)).c_str(), directory.c_str());
    Check(forum != nullptr, "forum");
    forum->Number("Max Message Count", 1000000);
    for (long i = 1; i <= messages; ++i) Insert(*forum, i);
    Check(forum->Storage().Commit() == 1, "commit");
    CloseForum(forum);
  }
}

}  // namespace bench
