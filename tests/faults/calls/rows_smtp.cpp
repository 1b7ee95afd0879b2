// The SMTP client, against a server on the loopback interface.
#include "calls/row.h"
#include "support/smtp_server.h"

#include <brevant/smtp.h>

namespace faults {

namespace {

constexpr DWORD kTimeout = 1000;
constexpr auto kOverNetwork = Row::Kind::kOverNetwork;

// How far a message has come when the call is made.
enum Stage { kConnected, kAddressed, kBegun, kWritten };

template <typename Function>
void AtStage(Trial& run, Stage stage, DWORD status, Function function) {
  test::SmtpServer server;
  {
    TSMTP client;
    client.Status() |= status;
    client.SetTimeout(kTimeout);
    client.Connect("127.0.0.1", static_cast<short>(server.Port()));
    if (stage >= kAddressed) {
      client.From("ann@example.org");
      client.Subject("A subject of more than a few characters");
      client.OpenResource("bob@example.org", kOpenForWriting);
    }
    if (stage >= kBegun) client.StartData();
    if (stage >= kWritten) client.Write("The whole text", 14);
    const int result = run.Call([&] { return function(client); });
    run.Succeeds(result > 0);
    run.Sees(result);
    // What was begun and did not come to its end is no mail.
    client.TProtocol::Disconnect();
  }
  server.Server().WaitUntilFinished(server.Server().Accepted(), kTimeout);
  for (const test::SmtpMail& mail : server.Mails()) {
    run.Sees(mail.content);
    run.Holds(mail.content.find("The whole text") != std::string::npos, "no mail is half");
  }
}

template <int (TSMTP::*Setter)(const char*)>
void SetText(Trial& run) {
  AtStage(run, kConnected, 0,
          [](TSMTP& client) { return (client.*Setter)("A text of more than a few characters"); });
}

constexpr char kRecipient[] = "somebody.with.a.long.name@example.org";

void WholeMessage(Trial& run, DWORD status) {
  AtStage(run, kConnected, status, [](TSMTP& client) {
    const bool begun = client.From("ann@example.org") != 0 &&
                       client.Subject("A subject of more than a few characters") != 0 &&
                       client.AddHeader("X-Header", "a value of more than a few characters") != 0 &&
                       client.OpenResource(kRecipient, kOpenForWriting) != 0 &&
                       client.StartData() != 0;
    if (!begun || client.Write("The whole text", 14) < 0) return 0;
    return client.Close();
  });
}

Rows EnvelopeRows() {
  return {
      {"TSMTP::TSMTP TSMTP::~TSMTP TSMTP::ProtocolName TSMTP::DefaultPort",
       [](Trial& run) {
         run.Succeeds(run.Call([] {
           TSMTP client;
           return client.ProtocolName() != nullptr && client.DefaultPort() == 25;
         }));
       }},
      {"TSMTP::Connect",
       [](Trial& run) {
         test::SmtpServer server;
         {
           TSMTP client;
           client.SetTimeout(kTimeout);
           const int result = run.Call(
               [&] { return client.Connect("127.0.0.1", static_cast<short>(server.Port())); });
           run.Succeeds(result != 0);
           client.TProtocol::Disconnect();
         }
         server.Server().WaitUntilFinished(server.Server().Accepted(), kTimeout);
       },
       kOverNetwork},
      {"TSMTP::Login",
       [](Trial& run) {
         AtStage(run, kConnected, 0, [](TSMTP& client) { return client.Login(); });
       },
       kOverNetwork},
      {"TSMTP::Login(standard mode)",
       [](Trial& run) {
         AtStage(run, kConnected, kStatusStandardMode,
                 [](TSMTP& client) { return client.Login(); });
       },
       kOverNetwork},
      {"TSMTP::From", SetText<&TSMTP::From>, kOverNetwork},
      {"TSMTP::Subject", SetText<&TSMTP::Subject>, kOverNetwork},
      {"TSMTP::ReplyTo", SetText<&TSMTP::ReplyTo>, kOverNetwork},
      {"TSMTP::BBS", SetText<&TSMTP::BBS>, kOverNetwork},
      {"TSMTP::AddHeader",
       [](Trial& run) {
         AtStage(run, kConnected, 0, [](TSMTP& client) {
           return client.AddHeader("X-Header", "a value of more than a few characters");
         });
       },
       kOverNetwork},
      {"TSMTP::OpenResource",
       [](Trial& run) {
         AtStage(run, kConnected, 0,
                 [](TSMTP& client) { return client.OpenResource(kRecipient, kOpenForWriting); });
       },
       kOverNetwork},
      {"TSMTP::OpenResource(standard mode)",
       [](Trial& run) {
         AtStage(run, kConnected, kStatusStandardMode,
                 [](TSMTP& client) { return client.OpenResource(kRecipient, kOpenForWriting); });
       },
       kOverNetwork},
  };
}

Rows DataRows() {
  return {
      {"TSMTP::StartData",
       [](Trial& run) {
         AtStage(run, kAddressed, 0, [](TSMTP& client) { return client.StartData(); });
       },
       kOverNetwork},
      {"TSMTP::SendHeader",
       [](Trial& run) {
         AtStage(run, kAddressed, 0, [](TSMTP& client) { return client.SendHeader(); });
       },
       kOverNetwork},
      {"TSMTP::Write",
       [](Trial& run) {
         AtStage(run, kBegun, 0, [](TSMTP& client) { return client.Write("The whole text", 14); });
       },
       kOverNetwork},
      {"TSMTP::Write(standard mode)",
       [](Trial& run) {
         AtStage(run, kBegun, kStatusStandardMode,
                 [](TSMTP& client) { return client.Write("The whole text", 14); });
       },
       kOverNetwork},
      {"TSMTP::WriteLine",
       [](Trial& run) {
         AtStage(run, kBegun, 0, [](TSMTP& client) { return client.WriteLine("The whole text"); });
       },
       kOverNetwork},
      {"TSMTP::Close",
       [](Trial& run) { AtStage(run, kWritten, 0, [](TSMTP& client) { return client.Close(); }); },
       kOverNetwork},
      {"TSMTP::Close(standard mode)",
       [](Trial& run) {
         AtStage(run, kWritten, kStatusStandardMode, [](TSMTP& client) { return client.Close(); });
       },
       kOverNetwork},
      {"TSMTP::Close(of a whole message)", [](Trial& run) { WholeMessage(run, 0); }, kOverNetwork},
      {"TSMTP::Close(of a whole message, standard mode)",
       [](Trial& run) { WholeMessage(run, kStatusStandardMode); }, kOverNetwork},
      {"TSMTP::Abort",
       [](Trial& run) {
         AtStage(run, kAddressed, 0, [](TSMTP& client) { return client.Abort(); });
       },
       kOverNetwork},
      {"TSMTP::Disconnect",
       [](Trial& run) {
         AtStage(run, kAddressed, 0, [](TSMTP& client) { return client.Disconnect() + 1; });
       },
       kOverNetwork},
      {"TSMTP::SendCommand",
       [](Trial& run) {
         AtStage(run, kConnected, 0,
                 [](TSMTP& client) { return client.SendCommand("NOOP", nullptr); });
       },
       kOverNetwork},
      {"TSMTP::GetResponse",
       [](Trial& run) {
         test::SmtpServer server;
         {
           TSMTP client;
           client.SetTimeout(kTimeout);
           client.Connect("127.0.0.1", static_cast<short>(server.Port()));
           client.SendCommand("NOOP", nullptr);
           char text[100];
           const int code = run.Call([&] { return client.GetResponse(text, sizeof text); });
           run.Sees(code);
           run.Succeeds(code == 250);
           client.TProtocol::Disconnect();
         }
         server.Server().WaitUntilFinished(server.Server().Accepted(), kTimeout);
       },
       kOverNetwork},
  };
}

}  // namespace

Rows SmtpRows() {
  Rows all;
  for (const auto& part : {EnvelopeRows(), DataRows()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

}  // namespace faults
