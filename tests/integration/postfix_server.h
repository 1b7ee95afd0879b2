// A private Postfix that takes mail on the loopback interface into one maildir, and its smtp-sink.
#pragma once

#include "platform/win32.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <memory>
#include <string>
#include <vector>

namespace test {

struct PostfixOptions {
  // Refuses addresses without angle brackets or domains, greetings with bare addresses, lone line
  // feeds in mails, commands ahead of their turn, and 8-bit text that does not say so.
  bool strict = true;
};

// A mail as it was delivered.
struct PostfixMail {
  std::string sender;     // of the envelope, without angle brackets
  std::string recipient;  // of the envelope
  std::string text;       // the whole file, LF line ends, trace fields first
};

// Takes mail for every address at example.org. Mail to other places is refused, nothing leaves the
// machine.
class PostfixServer {
 public:
  // Throws std::runtime_error when the server does not come up.
  explicit PostfixServer(PostfixOptions options = {});
  ~PostfixServer();

  // Why no server can run here; empty when one can.
  static std::string Hindrance();

  WORD Port() const { return port_; }
  // Waits until nothing is queued any more and gives all that was delivered, a mail for each of its
  // recipients, in the order of the files' names.
  std::vector<PostfixMail> Delivered() const;

 private:
  void MakeQueue() const;
  void WriteConfiguration(const PostfixOptions& options) const;
  bool Answers() const;
  bool QueueIsEmpty() const;

  TemporaryDirectory directory_;
  WORD port_;
  std::unique_ptr<Program> program_;
};

// Postfix's smtp-sink: accepts everything and writes each mail into a file.
class SmtpSink {
 public:
  SmtpSink();
  ~SmtpSink();

  static std::string Hindrance();

  WORD Port() const { return port_; }
  // The mails so far, each with what smtp-sink says about its envelope in fields before it.
  std::vector<std::string> Mails() const;

 private:
  TemporaryDirectory directory_;
  WORD port_;
  std::unique_ptr<Program> program_;
};

}  // namespace test
