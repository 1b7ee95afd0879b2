// The POP3 client against servers that answer as they like.
#include "net/waiting.h"
#include "protocols.h"
#include "sessions.h"
#include "support/pop3_server.h"

#include <brevant/net.h>

#include <array>
#include <gtest/gtest.h>
#include <regex>
#include <tuple>

namespace hostile {
namespace {

// A server that never ends a mail makes the caller decide how much is enough.
constexpr std::size_t kMostRead = 4U << 20;
constexpr int kMostMessages = 8;

class Pop3Session {
 public:
  explicit Pop3Session(unsigned seed) : random_(seed), log_(seed, Pop3Habits(random_)) {}

  std::vector<std::string> Run() {
    std::vector<std::string> mails;
    for (unsigned i = random_.Below(4); i < 4; ++i) {
      mails.push_back(MailFor(random_, "[My_Board:Talk]", "mail" + std::to_string(i)));
    }
    test::Pop3Options options;
    options.emptyLineBeforeDot = random_.OneIn(2);
    options.lastRead = static_cast<int>(random_.Below(4)) - 1;
    {
      test::Pop3Server server(mails, options);
      server.Server().SabotageBy(log_.Saboteurs());
      client_.SetTimeout(kTimeout);
      if (random_.OneIn(2)) client_.Status() |= kStatusStandardMode;
      const TSecurityInfos security("board", "secret");
      if (client_.Connect("127.0.0.1", security, server.Port()) != 0) Walk();
      client_.Disconnect();
    }
    CheckLines();
    return problems_;
  }

 private:
  void Problem(const std::string& text) { problems_.push_back(text); }

  void Walk() {
    int found = random_.OneIn(4) ? client_.GetFirstNew() : client_.GetFirst();
    for (int i = 0; i < kMostMessages && found != 0 && Usable(); ++i) {
      LookAtTexts();
      if (random_.OneIn(8)) client_.VerifyMessageIndex(client_.CurrentMessage(), "<mail0@x>");
      if (!random_.OneIn(4) && client_.OpenCurrent(kOpenForReading) != 0) ReadMessage();
      if (!Usable()) return;
      if (random_.OneIn(3)) client_.DeleteCurrent();
      if (random_.OneIn(16)) client_.ResetMarks();
      found = client_.GetNext();
    }
  }
  bool Usable() {
    brevant::ResetDeadline();  // after a time-out the next wait would last a second
    return (client_.Status() & kStatusConnected) != 0 && read_ < kMostRead;
  }

  void LookAtTexts() {
    for (const char* text :
         {client_.From(), client_.To(), client_.ReplyTo(), client_.Cc(), client_.Subject(),
          client_.ContentType(), client_.MessageId(), client_.Bbs(), client_.GetDescription()}) {
      if (text == nullptr) continue;
      const std::string copy = text;
      if (copy.find('\n') != std::string::npos) Problem("a header text of two lines");
    }
  }

  void ReadMessage() {
    if (random_.OneIn(3)) {
      ReadLines();
    } else {
      for (int parts = 0; parts < 40 && Usable() && client_.OpenPart() != 0; ++parts) {
        for (const char* type : {"image", "text/html", "text/plain"}) client_.IsContent(type);
        ReadLines();
      }
    }
    if (Usable() && !client_.AtMessageEnd()) Finish();
  }
  void ReadLines() {
    // Without standard mode a line of base64 is decoded whatever the size.
    constexpr int kSizes[] = {80, 256, 1024, 2, 3, 17};
    std::array<char, 1024> line;
    const bool standard = (client_.Status() & kStatusStandardMode) != 0;
    const int size = kSizes[random_.Below(standard ? 6 : 3)];
    for (int count = 1; count > 0 && Usable(); read_ += static_cast<std::size_t>(count)) {
      count = client_.Read(line.data(), size);
      if (count < 0 || count >= size) {
        if (count != 0)
          Problem("a line of " + std::to_string(count) + " in " + std::to_string(size));
        return;
      }
      if (standard && count > 0 && line[static_cast<std::size_t>(count)] != '\0')
        Problem("an open end");
    }
  }
  // What the server sends without end nobody drops to its end.
  void Finish() {
    std::array<char, 4096> dropped;
    while (Usable() && !client_.AtMessageEnd()) {
      const int count = client_.TPOP3::Read(dropped.data(), static_cast<int>(dropped.size()));
      if (count < 1) break;
      read_ += static_cast<std::size_t>(count);
    }
    if (client_.FinishMessage() == 0 && Usable()) Problem("a message that is not finished");
  }

  // Whatever the server says, the client says what its caller wants.
  void CheckLines() {
    static const std::regex kKnown(
        "(USER board|PASS secret|STAT|LAST|RSET|QUIT|TOP -?[0-9]+ 0|(RETR|DELE) -?[0-9]+)\r\n");
    for (const auto& conversation : log_.Conversations()) {
      for (const Event& event : conversation->events) {
        if (event.kind == Event::Kind::kLine && !std::regex_match(event.text, kKnown))
          Problem("the client said " + test::Quote(event.text));
      }
    }
  }

  Random random_;
  SessionLog log_;
  TMIMEEnabledPOP3 client_;
  std::size_t read_ = 0;
  std::vector<std::string> problems_;
};

TEST(HostilePop3, TheClientSurvivesEveryServer) {
  RunSessions([](unsigned seed) { return Pop3Session(seed).Run(); });
}

class EndlessHeader : public ::testing::TestWithParam<std::tuple<const char*, DWORD>> {};

// A header that never ends, or that ends and is followed by what was not asked for.
TEST_P(EndlessHeader, IsGivenUp) {
  const auto [text, mode] = GetParam();
  test::Pop3Options options;
  test::Deviation deviation;
  deviation.command = "TOP";
  deviation.flood = 1L << 40;
  deviation.reply = text;
  options.deviations.push_back(deviation);
  test::Pop3Server server({"Subject: x\n\nbody\n"}, options);
  TMIMEEnabledPOP3 client;
  client.Status() |= mode;
  ASSERT_EQ(client.Connect("127.0.0.1", TSecurityInfos("board", "secret"), server.Port()), 1);
  client.GetFirst();
  EXPECT_EQ(client.Status() & kStatusConnected, 0U);
}

class EndlessMessage : public ::testing::TestWithParam<DWORD> {};

TEST_P(EndlessMessage, IsGivenUp) {
  test::Pop3Options options;
  test::Deviation deviation;
  deviation.command = "RETR";
  deviation.flood = 1L << 40;
  deviation.reply = "+OK\r\n" + std::string(4000, 'x') + "\r\n\r\nx" + std::string(4000, 'y');
  options.deviations.push_back(deviation);
  test::Pop3Server server({"Subject: x\n\nbody\n"}, options);
  TMIMEEnabledPOP3 client;
  client.Status() |= GetParam();
  ASSERT_EQ(client.Connect("127.0.0.1", TSecurityInfos("board", "secret"), server.Port()), 1);
  ASSERT_EQ(client.OpenResource("1", kOpenForReading), 1);
  EXPECT_EQ(client.FinishMessage(), 0);
  EXPECT_EQ(client.Status() & kStatusConnected, 0U);
  EXPECT_GT(client.GetTransferred(), DWORD{1} << 30);
}

INSTANTIATE_TEST_SUITE_P(HostilePop3, EndlessMessage,
                         ::testing::Values(DWORD{0}, DWORD{kStatusStandardMode}));

INSTANTIATE_TEST_SUITE_P(
    HostilePop3, EndlessHeader,
    ::testing::Combine(::testing::Values("+OK\r\n\r\na line that was not asked for\r\n", "+OK\r\n",
                                         "+OK x\r\ny: z\r\n",
                                         "+OK\r\n\r\n    a line of blanks at first\r\n",
                                         "+OK\r\n\ta: b\r\n"),
                       ::testing::Values(DWORD{0}, DWORD{kStatusStandardMode})));

}  // namespace
}  // namespace hostile
