// What a hostile server was told of a mail.
#pragma once

#include "random_saboteur.h"

#include <set>
#include <string>
#include <vector>

namespace hostile {

// Every line of the mail with that number holds this.
inline std::string MailMark(unsigned number) { return "mark-" + std::to_string(number) + "-line"; }

// The numbers of the mails of which a line came, and what is wrong: a line of a mail that came
// before the server had said 354 as many times as it had got mails.
struct SeenMails {
  std::set<unsigned> numbers;
  std::vector<std::string> problems;
};
SeenMails LookForMails(const SessionLog& log);

}  // namespace hostile
