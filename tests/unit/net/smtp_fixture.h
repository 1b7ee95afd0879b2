// An SMTP server and a client that is connected to it.
#pragma once

#include "net_fixture.h"
#include "support/smtp_server.h"

#include <brevant/smtp.h>

#include <string>
#include <vector>

namespace test {

// A server with these deviations, in their text form.
inline SmtpOptions SmtpDeviating(const std::vector<std::string>& texts) {
  SmtpOptions options;
  for (const std::string& text : texts) options.deviations.push_back(ParseDeviation(text));
  return options;
}

struct Mailer {
  explicit Mailer(DWORD status = 0, SmtpOptions options = {}, DWORD timeout = kPatience)
      : server(std::move(options)) {
    client.Status() |= status;
    client.SetTimeout(timeout);
    connected = Connect();
  }

  int Connect() { return client.Connect("127.0.0.1", static_cast<short>(server.Port())); }

  // One message; the result of Close, or -1 when it did not come so far.
  int Send(const std::string& recipient, const std::string& body) {
    if (client.OpenResource(recipient.c_str(), kOpenForWriting) == 0) return -1;
    if (client.StartData() == 0) return -1;
    if (client.Write(body.data(), static_cast<int>(body.size())) < 0) return -1;
    return client.Close();
  }

  // From here on waits are expected to end at their time-out.
  void ExpectSilence(DWORD timeout = kShortTimeout) {
    client.SetTimeout(timeout);
    brevant::ResetDeadline();
  }

  // All that was sent, after the end of the conversation and without the greeting's command.
  std::string Sent() {
    client.Disconnect();
    EXPECT_TRUE(server.Server().WaitUntilFinished(server.Server().Accepted()));
    const std::string all = server.Transcript();
    const std::size_t end = all.find("\r\n");
    return end == std::string::npos ? all : all.substr(end + 2);
  }

  SmtpServer server;
  TSMTP client;
  int connected = 0;
};

}  // namespace test
