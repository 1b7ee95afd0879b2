#include "sent_mail.h"

#include "host_commands.h"
#include "text/encoded_words.h"

#include <sstream>

namespace demo {
namespace {

// "Name" <address>: the name, or the address when there is none.
std::string AuthorOf(const std::string& from) {
  const std::string name = from.substr(0, from.find(" <"));
  if (name.size() >= 2 && name.front() == '"' && name.back() == '"') {
    return name.substr(1, name.size() - 2);
  }
  return name;
}

}  // namespace

std::string HeaderOf(const std::string& mail, const std::string& name) {
  std::istringstream lines(mail);
  std::string value;
  bool found = false;
  for (std::string line; std::getline(lines, line) && line.find_first_not_of("\r") != line.npos;) {
    if (line.back() == '\r') line.pop_back();
    if (found) {
      if (line[0] != ' ' && line[0] != '\t') break;
      value += line;
    } else if (line.starts_with(name + ": ")) {
      found = true;
      value = line.substr(name.size() + 2);
    }
  }
  return brevant::DecodeHeader(value);
}

void ListMails(const std::vector<test::SmtpMail>& mails, std::size_t first) {
  for (std::size_t i = first; i < mails.size(); ++i) {
    std::string recipients;
    for (const std::string& address : mails[i].recipients) {
      recipients += (recipients.empty() ? "" : ", ") + address;
    }
    Print("  \"" + HeaderOf(mails[i].content, "Subject") + "\", by " +
          AuthorOf(HeaderOf(mails[i].content, "From")) + "\n      to " + recipients);
  }
}

void ShowMail(const test::SmtpMail& mail) {
  std::istringstream lines(mail.content);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    Print("  | " + line);
  }
}

}  // namespace demo
