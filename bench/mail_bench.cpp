// Reading mail over loopback: headers, parts and their encodings, without filing anything. Rates
// count the bytes that the server sends; FloorReceive of run_bench moves as many with nothing done
// to them.
#include "net/connection.h"
#include "net/waiting.h"
#include "support/pop3_server.h"

#include <brevant/net.h>

#include <benchmark/benchmark.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kMails = 50;
constexpr DWORD kStandardMode = 256;

std::string Encoded(const std::string& encoding, const std::string& line) {
  std::string text =
      "From: \"Ann Example\" <ann@example.org>\r\nTo: \"[Bench:Talk]\" <board@example.org>\r\n"
      "Subject: message\r\nDate: Mon, 2 Nov 2026 09:12:40 +0000\r\nMIME-Version: 1.0\r\n"
      "Content-Type: multipart/mixed; boundary=\"part\"\r\n\r\n--part\r\n"
      "Content-Type: text/plain; charset=utf-8\r\n\r\nA line of text.\r\n--part\r\n"
      "Content-Type: application/octet-stream; name=\"data.bin\"\r\nContent-Transfer-Encoding: " +
      encoding + "\r\n\r\n";
  for (int i = 0; i < 1500; ++i) text += line;
  return text + "--part--\r\n";
}

// Walks the mailbox as the retrieval task does and reads every part of every mail.
std::size_t ReadMailbox(const test::Pop3Server& server) {
  TMIMEEnabledPOP3 client;
  client.Status() |= kStandardMode;
  const TSecurityInfos security("board", "secret");
  if (client.Connect("127.0.0.1", security, server.Port()) == 0) {
    throw std::runtime_error("no connection");
  }
  std::vector<char> buffer(65536);
  std::size_t read = 0;
  for (int found = client.GetFirst(); found != 0; found = client.GetNext()) {
    if (client.OpenCurrent(1) == 0) break;
    while (client.OpenPart() != 0) {
      for (int got = 0; (got = client.Read(buffer.data(), static_cast<int>(buffer.size()))) > 0;) {
        read += static_cast<std::size_t>(got);
      }
    }
    client.FinishMessage();
    if (client.CurrentMessage() == client.MessageCount()) break;
  }
  client.Disconnect();
  return read;
}

void ReadMails(benchmark::State& state, const std::string& mail) {
  brevant::StartNetwork();
  const test::Pop3Server server(std::vector<std::string>(kMails, mail));
  for (auto _ : state) {
    if (ReadMailbox(server) < kMails * mail.size() / 2) throw std::runtime_error("text is missing");
  }
  state.SetItemsProcessed(state.iterations() * kMails);
  state.SetBytesProcessed(state.iterations() * kMails * static_cast<long>(mail.size()));
  brevant::StopNetwork();
}

void ReadPlainMails(benchmark::State& state) {
  ReadMails(state,
            Encoded("8bit", "A line of the length that mail programs wrap to, as it is.\r\n"));
}
void ReadBase64Mails(benchmark::State& state) {
  ReadMails(state, Encoded("base64",
                           "QSBsaW5lIG9mIHRoZSBsZW5ndGggdGhhdCBtYWlsIHByb2dyYW1zIHdyYXAg"
                           "dGhlaXIgdGV4dCB0bw==\r\n"));
}
void ReadQuotedPrintableMails(benchmark::State& state) {
  ReadMails(state, Encoded("quoted-printable",
                           "Une ligne encod=C3=A9e, avec des lettres accentu=C3=A9es =3D\r\n"));
}

BENCHMARK(ReadPlainMails)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ReadBase64Mails)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ReadQuotedPrintableMails)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
