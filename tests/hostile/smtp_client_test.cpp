// The SMTP client against servers that answer as they like.
#include "net/waiting.h"
#include "protocols.h"
#include "sessions.h"
#include "smtp_log.h"
#include "support/smtp_server.h"

#include <brevant/smtp.h>

#include <gtest/gtest.h>
#include <regex>

namespace hostile {
namespace {

class SmtpSession {
 public:
  explicit SmtpSession(unsigned seed) : random_(seed), log_(seed, SmtpHabits(random_)) {}

  std::vector<std::string> Run() {
    test::SmtpOptions options;
    options.extended = random_.OneIn(2);
    options.lineEnds = random_.OneIn(2) ? test::SmtpLineEnds::kCrLf : test::SmtpLineEnds::kAny;
    {
      test::SmtpServer server(options);
      server.Server().SabotageBy(log_.Saboteurs());
      client_.SetTimeout(kTimeout);
      if (random_.OneIn(2)) client_.Status() |= kStatusStandardMode;
      for (unsigned mail = 0; mail < 4; ++mail) {
        brevant::ResetDeadline();  // after a time-out the next wait would last a second
        const bool connected = (client_.Status() & kStatusConnected) != 0;
        if (!connected && client_.Connect("127.0.0.1", static_cast<short>(server.Port())) == 0) {
          client_.Disconnect();
          break;
        }
        Send(mail);
      }
      client_.Disconnect();
    }
    SeenMails seen = LookForMails(log_);
    problems_.insert(problems_.end(), seen.problems.begin(), seen.problems.end());
    CheckLines();
    return problems_;
  }

 private:
  // As the header demands of callers: nothing is written unless the data has begun.
  void Send(unsigned number) {
    const std::string mark = MailMark(number);
    client_.From(random_.OneIn(5) ? nullptr : "ann@example.org");
    client_.Subject(mark.c_str());
    client_.BBS("My Board");
    if (random_.OneIn(2)) client_.AddHeader("X-Mark", mark.c_str());
    bool accepted = false;
    for (const char* recipient : {"one@example.org", "two@example.org", "bad\r\nDATA\r\n@x"}) {
      if (client_.OpenResource(recipient, kOpenForWriting) != 0) accepted = true;
    }
    if (!accepted || random_.OneIn(10)) {
      if (client_.Abort() == 0) client_.Disconnect();
      return;
    }
    if (client_.StartData() == 0) {
      if (client_.Abort() == 0) client_.TProtocol::Disconnect();
      return;
    }
    for (unsigned lines = random_.Below(4) * random_.Below(200); lines > 0; --lines) {
      const std::string line = mark + std::string(random_.Below(90), 'b') + "\r\n";
      if (client_.Write(line.data(), static_cast<int>(line.size())) < 1) break;
    }
    client_.Close();
  }

  // Outside of mails the client says what its caller wants.
  void CheckLines() {
    static const std::regex kKnown("(helo|ehlo) .*|mail from:.*|rcpt to:.*|data|rset|quit",
                                   std::regex::icase);
    for (const auto& conversation : log_.Conversations()) {
      for (const Event& event : conversation->events) {
        const std::string line = event.text.substr(0, event.text.find_first_of("\r\n"));
        const bool mail = line.empty() || line == "." || line == "BBS: My Board" ||
                          line.find("mark-") != std::string::npos;
        if (event.kind == Event::Kind::kLine && !mail && !std::regex_match(line, kKnown))
          problems_.push_back("the client said " + test::Quote(line));
      }
    }
  }

  Random random_;
  SessionLog log_;
  TSMTP client_;
  std::vector<std::string> problems_;
};

TEST(HostileSmtp, TheClientSurvivesEveryServer) {
  RunSessions([](unsigned seed) { return SmtpSession(seed).Run(); });
}

}  // namespace
}  // namespace hostile
