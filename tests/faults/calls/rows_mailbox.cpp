// Both mailbox clients, against a server on the loopback interface.
#include "calls/board.h"
#include "calls/row.h"
#include "support/pop3_server.h"

#include <brevant/net.h>

#include <cstring>
#include <memory>

namespace faults {

namespace {

constexpr DWORD kTimeout = 1000;
constexpr auto kOverNetwork = Row::Kind::kOverNetwork;

std::vector<std::string> Mails() {
  return {
      "From: Ann <ann@example.org>\r\nTo: board@example.org\r\nSubject: The first mail of two\r\n"
      "Date: Fri, 1 May 1998 12:00:00 +0000\r\nMessage-Id: <one@example.org>\r\n"
      "Content-Type: multipart/mixed; boundary=\"a boundary of some length\"\r\n\r\n"
      "--a boundary of some length\r\nContent-Type: text/plain\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n\r\nThe text =41 of it.\r\n"
      "--a boundary of some length\r\nContent-Type: image/gif\r\n"
      "Content-Disposition: attachment; filename=\"a picture of some name.gif\"\r\n"
      "Content-Transfer-Encoding: base64\r\n\r\nR0lGODlhAQABAAAAACw=\r\n"
      "--a boundary of some length--\r\n",
      "From: Bob <bob@example.org>\r\nSubject: The second mail\r\n\r\nA text.\r\n",
  };
}

test::Pop3Options LastRead(int number) {
  test::Pop3Options options;
  options.lastRead = number;
  return options;
}

// A mailbox and a client logged in; what fails is `call` alone.
template <class Client>
struct Mailbox {
  explicit Mailbox(DWORD status = 0) : server(Mails(), LastRead(0)) {
    client.Status() |= status;
    client.SetTimeout(kTimeout);
    const TSecurityInfos security("somebody", "secret");
    client.Connect("127.0.0.1", security, server.Port());
  }
  ~Mailbox() {
    client.Disconnect();
    server.Server().WaitUntilFinished(server.Server().Accepted(), kTimeout);
  }
  Mailbox(const Mailbox&) = delete;
  Mailbox& operator=(const Mailbox&) = delete;

  test::Pop3Server server;
  Client client;
};

template <class Client, typename Prepare, typename Function>
void OnMailbox(Trial& run, Prepare prepare, Function function, DWORD status = 0) {
  Mailbox<Client> mailbox(status);
  prepare(mailbox.client);
  const int result = run.Call([&] { return function(mailbox.client); });
  run.Succeeds(result > 0);
  run.Sees(result);
  run.Holds(mailbox.server.Messages().size() == 2, "no mail goes before \"QUIT\"");
}
template <typename Function>
void OnPop3(Trial& run, Function function) {
  OnMailbox<TPOP3>(
      run, [](TPOP3&) {}, function);
}
template <typename Function>
void OnOpenMail(Trial& run, Function function, DWORD status = 0) {
  OnMailbox<TMIMEEnabledPOP3>(
      run, [](TMIMEEnabledPOP3& client) { client.GetFirst(), client.OpenCurrent(1); }, function,
      status);
}
template <typename Function>
void OnOpenPart(Trial& run, Function function, DWORD status = 0) {
  OnMailbox<TMIMEEnabledPOP3>(
      run,
      [](TMIMEEnabledPOP3& client) {
        client.GetFirst();
        client.OpenCurrent(1);
        client.OpenPart();
      },
      function, status);
}

void Connect(Trial& run) {
  test::Pop3Server server(Mails());
  {
    TPOP3 client;
    client.SetTimeout(kTimeout);
    const TSecurityInfos security("somebody", "secret");
    const int result =
        run.Call([&] { return client.Connect("127.0.0.1", security, server.Port()); });
    run.Succeeds(result != 0);
    client.Disconnect();
  }
  server.Server().WaitUntilFinished(server.Server().Accepted(), kTimeout);
}
void Disconnect(Trial& run) {
  Mailbox<TPOP3> mailbox;
  mailbox.client.DeleteByNumber(1);
  run.Sees(run.Call([&] { return mailbox.client.Disconnect(); }));
  run.SaysNothing();
  mailbox.server.Server().WaitUntilFinished(1, kTimeout);
  const std::size_t left = mailbox.server.Messages().size();
  run.Sees(static_cast<long long>(left));
  run.Holds(left >= 1, "only what was marked goes");
}
template <class Client>
void Make(Trial& run) {
  run.Call([] { const Client client; });
  run.Succeeds(true);
}
void WholePart(Trial& run, DWORD status) {
  OnOpenPart(
      run,
      [](TMIMEEnabledPOP3& client) {
        char text[256];
        int sum = 0;
        for (int got; (got = client.Read(text, sizeof text)) > 0;) sum += got;
        return client.Status() & kStatusConnected ? sum : 0;
      },
      status);
}
template <int (TMIMEEnabledPOP3::*Reader)(char*, int)>
void ReadRaw(Trial& run) {
  OnOpenPart(run, [](TMIMEEnabledPOP3& client) {
    char text[256];
    return (client.*Reader)(text, sizeof text);
  });
}
struct Opened : TPOP3 {
  using TPOP3::Retrieve;
};

Rows SessionRows() {
  return {
      {"TPOP3::TPOP3 TPOP3::~TPOP3", Make<TPOP3>},
      {"TMIMEEnabledPOP3::TMIMEEnabledPOP3 TMIMEEnabledPOP3::~TMIMEEnabledPOP3",
       Make<TMIMEEnabledPOP3>},
      {"TPOP3::Connect", Connect, kOverNetwork},
      {"TPOP3::Disconnect", Disconnect, kOverNetwork},
      {"TPOP3::Login",
       [](Trial& run) {
         OnPop3(run,
                [](TPOP3& client) { return client.Login(TSecurityInfos("somebody", "secret")); });
       },
       kOverNetwork},
      {"TPOP3::OpenResource",
       [](Trial& run) { OnPop3(run, [](TPOP3& client) { return client.OpenResource("1", 1); }); },
       kOverNetwork},
      {"TPOP3::Retrieve",
       [](Trial& run) {
         OnMailbox<Opened>(
             run, [](Opened&) {}, [](Opened& client) { return client.Retrieve("1"); });
       },
       kOverNetwork},
      {"TPOP3::OpenCurrent",
       [](Trial& run) {
         OnMailbox<TPOP3>(
             run, [](TPOP3& client) { client.GetFirst(); },
             [](TPOP3& client) { return client.OpenCurrent(1); });
       },
       kOverNetwork},
      {"TPOP3::Read",
       [](Trial& run) {
         OnMailbox<TPOP3>(
             run, [](TPOP3& client) { client.OpenResource("2", 1); },
             [](TPOP3& client) {
               char line[100];
               return client.Read(line, sizeof line);
             });
       },
       kOverNetwork},
      {"TPOP3::GetFirst",
       [](Trial& run) { OnPop3(run, [](TPOP3& client) { return client.GetFirst(); }); },
       kOverNetwork},
      {"TPOP3::GetNext",
       [](Trial& run) {
         OnMailbox<TPOP3>(
             run, [](TPOP3& client) { client.GetFirst(); },
             [](TPOP3& client) { return client.GetNext(); });
       },
       kOverNetwork},
      {"TPOP3::GetFirstNew",
       [](Trial& run) { OnPop3(run, [](TPOP3& client) { return client.GetFirstNew(); }); },
       kOverNetwork},
  };
}

Rows MessageRows() {
  return {
      {"TPOP3::GetInfo",
       [](Trial& run) { OnPop3(run, [](TPOP3& client) { return client.GetInfo(1); }); },
       kOverNetwork},
      {"TPOP3::VerifyMessageIndex",
       [](Trial& run) {
         OnPop3(run,
                [](TPOP3& client) { return client.VerifyMessageIndex(1, "<one@example.org>"); });
       },
       kOverNetwork},
      {"TPOP3::DeleteCurrent",
       [](Trial& run) {
         OnMailbox<TPOP3>(
             run, [](TPOP3& client) { client.GetFirst(); },
             [](TPOP3& client) { return client.DeleteCurrent(); });
       },
       kOverNetwork},
      {"TPOP3::DeleteByNumber",
       [](Trial& run) { OnPop3(run, [](TPOP3& client) { return client.DeleteByNumber(2); }); },
       kOverNetwork},
      {"TPOP3::ResetMarks",
       [](Trial& run) { OnPop3(run, [](TPOP3& client) { return client.ResetMarks(); }); },
       kOverNetwork},
      {"TPOP3::FinishMessage",
       [](Trial& run) {
         OnMailbox<TPOP3>(
             run, [](TPOP3& client) { client.OpenResource("1", 1); },
             [](TPOP3& client) { return client.FinishMessage(); });
       },
       kOverNetwork},
      {"TPOP3::SendCommand",
       [](Trial& run) {
         OnPop3(run, [](TPOP3& client) { return client.SendCommand("LIST", "1"); });
       },
       kOverNetwork},
      {"TPOP3::GetResponse",
       [](Trial& run) {
         OnMailbox<TPOP3>(
             run, [](TPOP3& client) { client.SendCommand("STAT", nullptr); },
             [](TPOP3& client) {
               char text[100];
               return client.GetResponse(text, sizeof text, 1);
             });
       },
       kOverNetwork},
      {"TPOP3::GetObjectInfo",
       [](Trial& run) {
         OnMailbox<TPOP3>(
             run,
             [](TPOP3& client) {
               client.SendCommand("TOP", "1 0");
               client.GetResponse(nullptr, 0, 0);
             },
             [](TPOP3& client) {
               char name[TPOP3::kNameSize];
               char value[200];
               return client.GetObjectInfo(name, value, sizeof value);
             });
       },
       kOverNetwork},
      {"TPOP3::ProcessObjectInfo TPOP3::ClearInfo TPOP3::GetDescription TPOP3::ProtocolName "
       "TPOP3::DefaultPort TPOP3::Close",
       [](Trial& run) {
         TPOP3 client;
         char name[] = "Subject";
         char value[] = "A subject of more than a few characters";
         const int known = run.Call([&] {
           const int result = client.ProcessObjectInfo(name, value);
           const bool rest = client.GetDescription() != nullptr &&
                             std::strcmp(client.ProtocolName(), "") != 0 &&
                             client.DefaultPort() == 110 && client.Close() == 1;
           return rest ? result : 0;
         });
         run.Sees(client.Subject());
         run.Call([&] { client.ClearInfo(); });
         run.Succeeds(known != 0);
       }},
  };
}

Rows PartRows() {
  return {
      {"TMIMEEnabledPOP3::OpenResource",
       [](Trial& run) {
         OnMailbox<TMIMEEnabledPOP3>(
             run, [](TMIMEEnabledPOP3&) {},
             [](TMIMEEnabledPOP3& client) { return client.OpenResource("1", 1); });
       },
       kOverNetwork},
      {"TMIMEEnabledPOP3::OpenCurrent",
       [](Trial& run) {
         OnMailbox<TMIMEEnabledPOP3>(
             run, [](TMIMEEnabledPOP3& client) { client.GetFirst(); },
             [](TMIMEEnabledPOP3& client) { return client.OpenCurrent(1); });
       },
       kOverNetwork},
      {"TMIMEEnabledPOP3::OpenPart",
       [](Trial& run) {
         OnOpenMail(run, [](TMIMEEnabledPOP3& client) { return client.OpenPart(); });
       },
       kOverNetwork},
      {"TMIMEEnabledPOP3::OpenPart(standard mode)",
       [](Trial& run) {
         OnOpenMail(
             run, [](TMIMEEnabledPOP3& client) { return client.OpenPart(); }, kStatusStandardMode);
       },
       kOverNetwork},
      {"TMIMEEnabledPOP3::Read", [](Trial& run) { WholePart(run, 0); }, kOverNetwork},
      {"TMIMEEnabledPOP3::Read(standard mode)",
       [](Trial& run) { WholePart(run, kStatusStandardMode); }, kOverNetwork},
      {"TMIMEEnabledPOP3::ReadQuotedPrintable", ReadRaw<&TMIMEEnabledPOP3::ReadQuotedPrintable>,
       kOverNetwork},
      {"TMIMEEnabledPOP3::ReadBase64", ReadRaw<&TMIMEEnabledPOP3::ReadBase64>, kOverNetwork},
      {"TMIMEEnabledPOP3::Read8Bit", ReadRaw<&TMIMEEnabledPOP3::Read8Bit>, kOverNetwork},
      {"TMIMEEnabledPOP3::PeekAtBoundary",
       [](Trial& run) {
         OnOpenPart(run, [](TMIMEEnabledPOP3& client) {
           // Where it fails it says so by the status.
           client.PeekAtBoundary();
           return (client.Status() & kStatusConnected) != 0 ? 1 : 0;
         });
       },
       kOverNetwork},
      {"TMIMEEnabledPOP3::SkipCurrentPart",
       [](Trial& run) {
         OnOpenPart(run, [](TMIMEEnabledPOP3& client) { return client.SkipCurrentPart(); });
       },
       kOverNetwork},
      {"TMIMEEnabledPOP3::IsContent TMIMEEnabledPOP3::IsStartBoundary "
       "TMIMEEnabledPOP3::IsEndBoundary TMIMEEnabledPOP3::ClearPartInfo "
       "TMIMEEnabledPOP3::ClearInfo",
       [](Trial& run) {
         OnOpenPart(run, [](TMIMEEnabledPOP3& client) {
           const bool found = client.IsContent("text/plain") != 0 &&
                              client.IsStartBoundary("--a boundary of some length") != 0 &&
                              client.IsEndBoundary("--a boundary of some length--") != 0;
           client.ClearPartInfo();
           client.ClearInfo();
           return found ? 1 : 0;
         });
       },
       kOverNetwork},
      {"TMIMEEnabledPOP3::ProcessObjectInfo",
       [](Trial& run) {
         TMIMEEnabledPOP3 client;
         char name[] = "Content-Type";
         char value[] = "multipart/mixed; boundary=\"a boundary of some length\"";
         run.Succeeds(run.Call([&] { return client.ProcessObjectInfo(name, value); }) != 0);
       }},
  };
}

}  // namespace

Rows MailboxRows() {
  Rows all;
  for (const auto& part : {SessionRows(), MessageRows(), PartRows()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

}  // namespace faults
