// Mail made to hurt: nothing crashes, hangs or grows without bound, and every walk ends.
#include "net_fixture.h"

#include <array>
#include <random>

namespace {

using test::Mailbox;
using test::Pop3Options;
using test::Stopwatch;

using Mime = TMIMEEnabledPOP3;

class HostileTest : public test::NetTest, public ::testing::WithParamInterface<DWORD> {
 protected:
  struct Result {
    int parts = 0;
    std::size_t bytes = 0;
  };

  static Result Walk(const std::string& message, DWORD mode) {
    Pop3Options options;
    options.emptyLineBeforeDot = true;
    Mailbox<Mime> mailbox({message}, mode, options);
    mailbox.client.GetFirst();
    Result result;
    // Without standard mode some of these end by silence only.
    mailbox.ExpectSilence(1000);
    if (mailbox.client.OpenCurrent(1) == 0) return result;
    const Stopwatch watch;
    while (mailbox.client.OpenPart() != 0) {
      ++result.parts;
      for (const char* type : {"image", "text/html", "text/plain"}) mailbox.client.IsContent(type);
      result.bytes += test::ReadAll(mailbox.client, 256).size();
      if (result.parts > 100000) {
        ADD_FAILURE() << "the walk does not end";
        break;
      }
    }
    EXPECT_LT(watch.Milliseconds(), 60000);
    return result;
  }
};

TEST_P(HostileTest, OverlongLines) {
  const std::string line(300000, 'a');
  Walk("Subject: " + line + "\n" + line + ": x\nContent-Type: multipart/mixed; boundary=\"" + line +
           "\"\n\n--" + line + "\n" + line + "\n",
       GetParam());
}

TEST_P(HostileTest, NullBytesEverywhere) {
  const std::string nulls(10, '\0');
  Walk("Subject: a" + nulls + "b\n" + nulls + ": x\nContent-Type: multipart/mixed; boundary=\"b" +
           nulls + "\"\n\n--b" + nulls + "\nContent-Type: a/b\n\n" + nulls + "\n--b\n--b--\n",
       GetParam());
}

TEST_P(HostileTest, AThousandBoundariesInOneHeader) {
  std::string header;
  for (int i = 0; i < 3000; ++i)
    header += "Content-Type: multipart/mixed; boundary=\"b" + std::to_string(i) + "\"\n";
  Walk(header + "\n--b1\n\nx\n--b1023--\n--b5--\n", GetParam());
}

TEST_P(HostileTest, DeeplyNestedMultiparts) {
  std::string message = "Content-Type: multipart/mixed; boundary=\"b0\"\n\n";
  for (int i = 0; i < 2000; ++i) {
    message += "--b" + std::to_string(i) + "\nContent-Type: multipart/mixed; boundary=\"b" +
               std::to_string(i + 1) + "\"\n\n";
  }
  const Result result = Walk(message, GetParam());
  EXPECT_GE(result.parts, 1000);
}

TEST_P(HostileTest, DeeplyNestedMultipartsThatAllEnd) {
  std::string message = "Content-Type: multipart/mixed; boundary=\"b0\"\n\n";
  for (int i = 0; i < 500; ++i) {
    message += "--b" + std::to_string(i) + "\nContent-Type: multipart/mixed; boundary=\"b" +
               std::to_string(i + 1) + "\"\n\n";
  }
  for (int i = 500; i >= 0; --i) message += "--b" + std::to_string(i) + "--\n";
  EXPECT_EQ(Walk(message, GetParam()).parts, 500);
}

TEST_P(HostileTest, ManyParts) {
  std::string message = "Content-Type: multipart/mixed; boundary=\"b\"\n\n";
  for (int i = 0; i < 1000; ++i) message += "--b\nContent-Type: a/b\n\nx\n";
  EXPECT_EQ(Walk(message + "--b--\n", GetParam()).parts, 1000);
}

TEST_P(HostileTest, HugeHeader) {
  std::string header;
  for (int i = 0; i < 20000; ++i) header += "X-Field: some text that goes on for a while\n";
  EXPECT_EQ(Walk(header + "Subject: s\n\nbody\n", GetParam()).parts, 1);
}

TEST_P(HostileTest, BinaryOfEveryKind) {
  std::mt19937 random(4711);
  for (int round = 0; round < 20; ++round) {
    std::string noise;
    for (int i = 0; i < 3000; ++i) noise += static_cast<char>(random());
    for (const char* encoding : {"base64", "quoted-printable", "binary", "x"}) {
      // A dot at the start of a line would end the message early without standard mode.
      Walk("Content-Type: a/b; name=\"" + noise.substr(0, 100) +
               "\"\nContent-Transfer-Encoding: " + encoding + "\n\n" + noise + "\n",
           kStatusStandardMode);
    }
  }
}

TEST_P(HostileTest, EqualsSignsOnly) {
  for (const char* encoding : {"base64", "quoted-printable"}) {
    Walk(std::string("Content-Type: a/b\nContent-Transfer-Encoding: ") + encoding + "\n\n" +
             std::string(70000, '=') + "\n=\n==\n===\n=\n",
         GetParam());
  }
}

TEST_P(HostileTest, EmptyBoundary) {
  Walk("Content-Type: multipart/mixed; boundary=\"\"\n\n--\nContent-Type: a/b\n\nx\n----\n",
       GetParam());
}

TEST_P(HostileTest, AnEmptyMessage) {
  Walk("", GetParam());
  Walk("\n", GetParam());
  Walk("\n\n\n", GetParam());
}

INSTANTIATE_TEST_SUITE_P(BothModes, HostileTest,
                         ::testing::Values(DWORD{0}, DWORD{kStatusStandardMode}));

TEST(HostileServer, FloodsInsteadOfReplies) {
  brevant::StartNetwork();
  brevant::ResetDeadline();
  for (const char* command : {"GREETING", "USER", "STAT", "TOP"}) {
    Pop3Options options;
    options.deviations.push_back(
        test::ParseDeviation(std::string(command) + " 1 flood 3000000 \"x\""));
    const Stopwatch watch;
    Mailbox<TPOP3> mailbox({"Subject: s\n\n"}, kStatusStandardMode, options);
    if (mailbox.connected == 1) mailbox.client.GetFirst();
    mailbox.client.Disconnect();
    EXPECT_LT(watch.Milliseconds(), 60000);
  }
  brevant::StopNetwork();
}

}  // namespace
