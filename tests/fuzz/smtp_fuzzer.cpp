// Mail handed to a server that says these bytes: whatever the replies and the texts are, nothing
// that was meant as text goes out as a command or ends the message.
#include "fuzzed_input.h"
#include "memory_network.h"

#include <brevant/smtp.h>

#include <algorithm>
#include <string>
#include <string_view>

using test::Require;

namespace {

constexpr std::string_view kEnd = "\r\n.\r\n";

struct Mail {
  std::string sender;
  std::string recipient;
  std::string subject;
  std::string header;
  std::string body;
};

// Every CR LF belongs together.
bool HasBareLineEnd(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') return true;
    if (text[i] != '\r') continue;
    if (i + 1 == text.size() || text[i + 1] != '\n') return true;
    ++i;
  }
  return false;
}

// The lines before the data: one command each.
void CheckCommands(std::string_view sent) {
  while (!sent.empty()) {
    const std::size_t end = sent.find("\r\n");
    Require(end != std::string_view::npos, "a command is a whole line");
    const std::string_view line = sent.substr(0, end);
    Require(line.find_first_of("\r\n") == std::string_view::npos, "a command is one line");
    constexpr std::string_view kKnown[] = {"EHLO [",    "HELO [",      "Helo ",     "MAIL FROM:<",
                                           "RCPT TO:<", "Mail From: ", "Rcpt To: ", "Data",
                                           "RSET",      "QUIT"};
    Require(std::any_of(std::begin(kKnown), std::end(kKnown),
                        [&](std::string_view known) { return line.starts_with(known); }),
            "no text becomes a command");
    sent.remove_prefix(end + 2);
  }
}

// What standard mode sent between "Data" and the end of the message.
void CheckData(std::string_view data) {
  Require(!HasBareLineEnd(data), "line ends are CR LF");
  const std::string framed = "\r\n" + std::string(data);
  const std::size_t end = framed.find(kEnd);
  Require(end == std::string::npos || end + kEnd.size() == framed.size(),
          "nothing but its end ends a message");
}

// Writes the body in two pieces, as a task does.
void SendBody(TSMTP& client, const Mail& mail) {
  const int half = static_cast<int>(mail.body.size() / 2);
  client.Write(mail.body.data(), half);
  client.Write(mail.body.data() + half, static_cast<int>(mail.body.size()) - half);
  client.WriteLine("a line");
}

void SendMail(TSMTP& client, const Mail& mail, test::MemoryNetwork& network, bool standard) {
  const std::size_t start = network.sent.size();
  client.From(mail.sender.c_str());
  client.Subject(mail.subject.c_str());
  client.ReplyTo(mail.sender.c_str());
  client.BBS(mail.header.c_str());
  client.AddHeader("X-Text", mail.header.c_str());
  client.AddHeader(mail.header.c_str(), mail.subject.c_str());
  const bool accepted = client.OpenResource(mail.recipient.c_str(), kOpenForWriting) != 0;
  CheckCommands(std::string_view(network.sent).substr(start));
  if (!accepted) return;
  const std::size_t before = network.sent.size();
  SendBody(client, mail);
  client.Close();
  if (!standard) return;
  std::string_view sent = std::string_view(network.sent).substr(before);
  constexpr std::string_view kCommand = "Data\r\n";
  if (!sent.starts_with(kCommand)) return CheckCommands(sent);
  sent.remove_prefix(kCommand.size());
  // Refused data: a reset is all that follows, or nothing.
  if (sent == "RSET\r\n") return;
  CheckData(sent);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const unsigned options = input.Byte();
  const bool standard = (options & 1) != 0;
  Mail mail;
  mail.sender = input.Part();
  mail.recipient = input.Part();
  mail.subject = input.Part();
  mail.header = input.Part();
  mail.body = input.Part();
  test::MemoryNetwork network;
  network.control = input.Rest();
  network.packet = 1 + options / 4;
  network.silent = (options & 2) != 0;
  test::UseNetwork(&network);
  {
    TSMTP client;
    if (standard) client.Status() |= kStatusStandardMode;
    if (network.silent) client.SetTimeout(0);
    if (client.Connect(test::kMemoryHost, 25) != 0) {
      for (int mails = 0; mails < 3; ++mails) SendMail(client, mail, network, standard);
      client.Abort();
    }
    client.Disconnect();
  }
  test::UseNetwork(nullptr);
  return 0;
}
