// What servers of each protocol say, and mails to serve.
#pragma once

#include "random_saboteur.h"

#include <string>
#include <vector>

namespace hostile {

// Habits of a session: how often, and how much, the server deviates is drawn, too.
Habits Pop3Habits(Random& random);
Habits SmtpHabits(Random& random);
Habits FtpHabits(Random& random);

// A mail of one of many forms for the address, with that subject. Line ends are LF.
std::string MailFor(Random& random, const std::string& to, const std::string& subject);

}  // namespace hostile
