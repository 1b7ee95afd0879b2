// The mails that the board sent, for people to read.
#pragma once

#include "support/smtp_server.h"

#include <string>
#include <vector>

namespace demo {

// A header of a mail, folded lines joined and encoded words decoded; empty when there is none.
std::string HeaderOf(const std::string& mail, const std::string& name);

// A line for each mail from number first on: what was sent to whom.
void ListMails(const std::vector<test::SmtpMail>& mails, std::size_t first);
// One mail with its headers, as it arrived.
void ShowMail(const test::SmtpMail& mail);

}  // namespace demo
