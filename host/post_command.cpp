#include "board_directory.h"
#include "commands.h"
#include "console.h"
#include "session.h"
#include "text.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

namespace host {

namespace {

struct ForumCloser {
  void operator()(TForum* forum) const { CloseForum(forum); }
};
struct MessageCloser {
  void operator()(TMail* message) const { CloseMessage(message); }
};
using ForumPointer = std::unique_ptr<TForum, ForumCloser>;
using MessagePointer = std::unique_ptr<TMail, MessageCloser>;

constexpr std::size_t kMaximumContent = 64u << 20;

std::string ReadAll(std::istream& in) {
  std::string content(std::istreambuf_iterator<char>(in), {});
  if (content.size() > kMaximumContent) throw UserError("Cannot post more than 64 MB");
  return content;
}

std::string ReadContent(const std::string& file) {
  if (file == "-") {
    SetBinaryStandardStreams();
    return ReadAll(std::cin);
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) throw UserError("Cannot open " + file);
  std::string content = ReadAll(in);
  if (in.bad()) throw UserError("Cannot read " + file);
  return content;
}

// The address in "Name <address>", or the whole text.
std::string Address(const std::string& from) {
  std::size_t start = from.find('<');
  std::size_t end = from.find('>', start == std::string::npos ? 0 : start);
  if (start == std::string::npos || end == std::string::npos) return from;
  return from.substr(start + 1, end - start - 1);
}

void Write(TMail& message, const char* key, const std::string& value) {
  const std::size_t room = 126 - std::string(key).size();
  if (message.String(key, CutUtf8(value, room).c_str()) != 1) {
    throw UserError("Cannot save the post");
  }
}

void CheckOptions(const PostOptions& options) {
  if (options.subject.empty()) throw UserError("Cannot post without a subject");
  if (HasControlCharacter(options.subject) || HasControlCharacter(options.from)) {
    throw UserError("Cannot post: control characters in --subject or --from");
  }
  if (Address(options.from).find('@') == std::string::npos) {
    throw UserError("Cannot post from \"" + options.from +
                    "\": give an address, as in --from \"Ann Example <ann@example.org>\"");
  }
}

// The same values that mail retrieval files, so that pages and lists treat both alike.
MessagePointer BuildMessage(const PostOptions& options, const std::string& content) {
  MessagePointer message(OpenMessage(0, nullptr));
  if (!message) throw UserError("Cannot make a temporary message");
  Write(*message, "SUBJECT", options.subject);
  Write(*message, "FROM", options.from);
  Write(*message, "E-Mail Address", Address(options.from));
  Write(*message, "Document Type", options.html ? "text/html" : "text/plain");
  Write(*message, "CHARSET", "utf-8");
  Write(*message, "Header Charset", "utf-8");
  if (options.replyTo != 0 && message->Number("LINK ID", static_cast<LONG>(options.replyTo)) != 1) {
    throw UserError("Cannot save the post");
  }
  const int size = static_cast<int>(content.size());
  if (size > 0 && message->Content().Write(content.data(), size) != size) {
    throw UserError("Cannot save the post");
  }
  return message;
}

}  // namespace

int PostCommand(const PostOptions& options) {
  CheckOptions(options);
  BoardDirectory board(options.directory);
  auto lock = board.Lock();
  Session session(board);
  const std::string content = ReadContent(options.file);
  const std::string directory = session.DataDirectory();
  ForumPointer forum(OpenForum(options.forum.c_str(), directory.c_str()));
  if (!forum) {
    throw UserError("Cannot open the forum \"" + Printable(options.forum) + "\" in " + directory);
  }
  if (options.replyTo != 0 && !MessagePointer(OpenMessage(options.replyTo, forum.get()))) {
    throw UserError("Cannot answer message " + std::to_string(options.replyTo) +
                    ": the forum has none of that number");
  }
  MessagePointer message = BuildMessage(options, content);
  const DWORD index = InsertMessage(message.get(), forum.get());
  if (index == 0 || forum->Storage().Commit() == 0) {
    throw UserError("Cannot save message to [" + Printable(options.forum) + "]");
  }
  PrintLine("Posted message " + std::to_string(index) + " to \"" + Printable(options.forum) + "\"");
  return kExitSuccess;
}

}  // namespace host
