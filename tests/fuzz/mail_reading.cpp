#include "mail_reading.h"

#include "fuzzed_input.h"

#include <array>
#include <cstring>
#include <vector>

namespace test {
namespace {

constexpr int kMostMessages = 4;
constexpr int kMostReads = 100000;
constexpr int kRoomForBase64 = 63;  // what the plain decoder wants, whatever the size

void Add(std::string& log, const char* text) {
  log += text == nullptr ? "(none)" : text;
  log += '|';
}

// Reads into an area of exactly that size, so that a byte beyond it is seen.
void ReadPart(TMIMEEnabledPOP3& client, int size, std::string& log) {
  if (!(client.Status() & kStatusStandardMode) && size < kRoomForBase64) size = kRoomForBase64;
  std::vector<char> buffer(static_cast<std::size_t>(size));
  for (int reads = 0;; ++reads) {
    Require(reads < kMostReads, "a part ends");
    const int count = client.Read(buffer.data(), size);
    Require(count <= size, "no more than was asked for");
    if (count < 1) break;
    log.append(buffer.data(), static_cast<std::size_t>(count));
  }
  log += "|\n";
}

void ReadParts(TMIMEEnabledPOP3& client, int size, std::string& log) {
  for (int parts = 0; client.OpenPart() != 0; ++parts) {
    Require(parts < kMostReads, "the parts end");
    for (const char* text : {client.PartContentType(), client.PartCharset(), client.PartContentId(),
                             client.PartDescription(), client.PartFileName()}) {
      Add(log, text);
    }
    log += std::to_string(client.PartEncoding()) + '|';
    const bool isText = client.IsContent("text/plain") != 0 || client.IsContent("text/html") != 0;
    log += isText ? "text|" : "other|";
    if (parts % 4 == 3) {
      client.SkipCurrentPart();
    } else {
      ReadPart(client, size, log);
    }
  }
  log += std::to_string(client.PartCount()) + '\n';
}

void AddHeaders(const TMIMEEnabledPOP3& client, std::string& log) {
  for (const char* text :
       {client.From(), client.To(), client.ReplyTo(), client.Cc(), client.Subject(),
        client.ContentType(), client.MessageId(), client.Bbs()}) {
    Add(log, text);
    Require(text == nullptr || std::strlen(text) < 1024, "values are cut");
  }
}

void Prepare(TMIMEEnabledPOP3& client, const MailReading& reading, const MemoryNetwork& network) {
  if (reading.standard) client.Status() |= kStatusStandardMode;
  // A wait for a server that has fallen silent is over at once.
  if (network.silent) client.SetTimeout(0);
}

void ReadMessages(TMIMEEnabledPOP3& client, int size, std::string& log) {
  int messages = 0;
  for (int found = client.GetFirstNew(); found != 0 && messages < kMostMessages;
       found = client.GetNext(), ++messages) {
    AddHeaders(client, log);
    if (client.OpenCurrent(kOpenForReading) == 0) continue;
    AddHeaders(client, log);
    if (messages % 2 == 0) ReadParts(client, size, log);
    log += client.FinishMessage() != 0 ? "finished|" : "broken|";
    log += client.DeleteCurrent() != 0 ? "deleted\n" : "kept\n";
  }
  std::array<char, 16> text;
  client.SendCommand("NOOP", nullptr);
  if (client.GetResponse(text.data(), static_cast<int>(text.size()), 1) != 0) Add(log, text.data());
  client.VerifyMessageIndex(1, "<1@example.org>");
}

}  // namespace

int BufferSize(unsigned choice) {
  constexpr std::array<int, 8> kSizes = {2, 3, 5, 64, 80, 256, 1024, 4096};
  return kSizes[choice % kSizes.size()];
}

std::string ReadMailbox(const MailReading& reading, MemoryNetwork& network) {
  network.sent.clear();
  network.targets.clear();
  UseNetwork(&network);
  std::string log;
  {
    TMIMEEnabledPOP3 client;
    Prepare(client, reading, network);
    const TSecurityInfos security("user", "secret");
    if (client.Connect(kMemoryHost, security, 110) != 0) {
      log += std::to_string(client.MessageCount()) + '|' + std::to_string(client.LastRead()) + '\n';
      ReadMessages(client, reading.bufferSize, log);
    }
    client.Disconnect();
  }
  UseNetwork(nullptr);
  return log + network.sent;
}

std::string ReadMessage(const MailReading& reading, const std::string& message,
                        std::size_t packet) {
  MemoryNetwork network;
  network.packet = packet;
  // Greeting, USER, PASS, STAT, LAST, RETR.
  network.control = "+OK\r\n+OK\r\n+OK\r\n+OK 1 1\r\n+OK 0\r\n+OK\r\n" + message + "\r\n.\r\n";
  UseNetwork(&network);
  std::string log;
  {
    TMIMEEnabledPOP3 client;
    Prepare(client, reading, network);
    const TSecurityInfos security("user", "secret");
    Require(client.Connect(kMemoryHost, security, 110) != 0, "the session begins");
    if (client.OpenResource("1", kOpenForReading) != 0) {
      AddHeaders(client, log);
      ReadParts(client, reading.bufferSize, log);
      client.FinishMessage();
    }
  }
  UseNetwork(nullptr);
  return log;
}

}  // namespace test
