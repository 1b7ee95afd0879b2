// Interrupt and a cleared continue flag from other threads, at any moment of a client's life: while
// it connects, logs in, waits, transfers and disconnects. The sanitizer is the judge; what is
// asserted is that every session ends, and that the client is of use afterwards.
#include "disturbance.h"
#include "ftp_fixture.h"
#include "support/pop3_server.h"
#include "support/smtp_server.h"

#include <brevant/ftp.h>
#include <brevant/net.h>
#include <brevant/smtp.h>

namespace test {
namespace {

constexpr int kRounds = 60;
constexpr int kWithin = 30'000;  // microseconds

// Runs sessions while two threads interrupt the client and one clears its flag; then one session
// without them.
template <typename TClient>
void Disturb(TClient& client, const std::function<int()>& session) {
  std::minstd_rand random(1);
  std::atomic<int> goOn{1};
  client.SetContinueFlag(&goOn);
  const auto interrupt = [&] { client.Interrupt(); };
  const auto stop = [&] { goOn = 0; };
  for (int round = 0; round < kRounds; ++round) {
    goOn = 1;
    Disturbance others(random, kWithin, {interrupt, interrupt, stop});
    session();
  }
  goOn = 1;
  brevant::ResetDeadline();
  EXPECT_EQ(session(), 1);
  client.SetContinueFlag(nullptr);
}

TEST(ClientThreads, Pop3) {
  Pop3Options options;
  options.deviations = {ParseDeviation("STAT * delay 5"), ParseDeviation("RETR * dribble 1")};
  Pop3Server server({"Subject: a\n\ntext\n", "Subject: b\n\ntext\n"}, options);
  TMIMEEnabledPOP3 client;
  client.SetTimeout(3000);
  client.Status() |= kStatusStandardMode;
  Disturb(client, [&] {
    const TSecurityInfos security("", "");
    int done = client.Connect("127.0.0.1", security, server.Port());
    for (int more = client.GetFirst(); more != 0; more = client.GetNext()) {
      if (client.OpenCurrent(kOpenForReading) == 0) continue;
      char line[512];
      while (client.Read(line, sizeof line) > 0) {
      }
      client.Close();
    }
    client.Disconnect();
    return done;
  });
}

TEST(ClientThreads, Smtp) {
  SmtpOptions options;
  options.deviations = {ParseDeviation("GREETING * delay 3"), ParseDeviation("DATA * delay 5"),
                        ParseDeviation("END * delay 5")};
  SmtpServer server(options);
  TSMTP client;
  client.SetTimeout(3000);
  client.Status() |= kStatusStandardMode;
  Disturb(client, [&] {
    int done = client.Connect("127.0.0.1", static_cast<short>(server.Port()));
    client.From("a@example.org");
    if (done != 0) done = client.OpenResource("b@example.org", kOpenForWriting);
    if (done != 0) done = client.StartData();
    if (done != 0) client.Write("Subject: x\r\n\r\ntext\r\n", 20);
    if (done != 0) done = client.Close();
    client.Disconnect();
    return done;
  });
}

TEST(ClientThreads, FtpInBothModes) {
  for (const bool passive : {true, false}) {
    const TemporaryDirectory root;
    FtpOptions options;
    options.deviations = {ParseDeviation("STOR-END * delay 3"), ParseDeviation("TYPE * delay 2")};
    FtpServer server(root.Path(), options);
    TFTP client;
    client.SetTimeout(3000);
    const std::string bytes(200'000, 'x');
    Disturb(client, [&] {
      const TSecurityInfos security("me", "secret");
      int done = client.Connect("127.0.0.1", security, server.Port());
      if (passive) client.Status() |= kStatusPassive;
      if (done != 0) done = client.SetType("I");
      if (done != 0) done = client.OpenResource("f", kOpenForWriting);
      if (done != 0) done = client.Write(bytes.data(), static_cast<int>(bytes.size())) > 0;
      done = client.Close() != 0 && done != 0;
      client.Disconnect();
      return done;
    });
  }
}

// The look-up's own thread may outlive the wait for it.
TEST(ClientThreads, NameLookUps) {
  std::minstd_rand random(2);
  for (int round = 0; round < kRounds; ++round) {
    TPOP3 client;
    client.SetTimeout(3000);
    Disturbance others(random, 3000, {[&] { client.Interrupt(); }});
    client.Connect("localhost", TSecurityInfos(nullptr, nullptr), 1);
    others.Join();
  }
}

}  // namespace
}  // namespace test
