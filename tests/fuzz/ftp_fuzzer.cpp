// A session with a server that says these bytes: replies, addresses of data connections, listings.
#include "fuzzed_input.h"
#include "memory_network.h"

#include <brevant/ftp.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

using test::Require;

namespace {

constexpr unsigned kStandard = 1;
constexpr unsigned kPassive = 2;
constexpr unsigned kSilent = 4;
constexpr unsigned kPieces = 8;

void CheckCommands(std::string_view sent) {
  constexpr std::string_view kKnown[] = {"USER", "PASS", "TYPE", "PORT", "PASV", "NLST",
                                         "LIST", "RETR", "STOR", "DELE", "RNFR", "RNTO",
                                         "MKD",  "CWD",  "RMD",  "QUIT", "ABOR"};
  while (!sent.empty()) {
    const std::size_t end = sent.find("\r\n");
    Require(end != std::string_view::npos, "a command is a whole line");
    const std::string_view line = sent.substr(0, end);
    Require(line.find_first_of("\r\n") == std::string_view::npos, "a command is one line");
    const std::string_view word = line.substr(0, line.find(' '));
    Require(std::find(std::begin(kKnown), std::end(kKnown), word) != std::end(kKnown),
            "no text becomes a command");
    sent.remove_prefix(end + 2);
  }
}

void Walk(TFTP& client) {
  std::size_t entries = 0;
  TFTPSearcher search(&client, "*");
  for (int found = search.GetFirst(); found != 0; found = search.GetNext()) {
    ++entries;
    Require(!search.name.empty() && search.name.find_first_of("/\\\r\n") == std::string::npos &&
                search.name != "." && search.name != "..",
            "entries have names of one directory");
  }
  Require(entries <= client.DirectoryList().size(), "a walk ends");
}

void Transfer(TFTP& client, const char* name) {
  std::vector<char> buffer(100);
  const int size = static_cast<int>(buffer.size());
  client.GetFileInfo(name);
  if (client.OpenResource(name, kOpenForReading) != 0) {
    int count = 0;
    while ((count = client.Read(buffer.data(), size)) > 0) Require(count <= size, "fits");
    client.Close();
  }
  if (client.OpenResourceIfOlder(name, kOpenForWriting, TTime::Now()) != 0) {
    client.Write("content", 7);
    client.Close();
  }
}

std::string Session(const std::string& name, unsigned options, test::MemoryNetwork& network) {
  test::UseNetwork(&network);
  {
    TFTP client;
    if ((options & kStandard) != 0) client.Status() |= kStatusStandardMode;
    if ((options & kPassive) != 0) client.Status() |= kStatusPassive;
    if (network.silent) client.SetTimeout(0);
    const TSecurityInfos security("user", "secret");
    if (client.Connect(test::kMemoryHost, security, 21) != 0) {
      client.ChangeDirectory(name.c_str());
      Walk(client);
      Transfer(client, name.c_str());
      client.DeleteResource(name.c_str());
      client.RenameResource("a", name.c_str());
      client.MakeDirectory(name.c_str());
      client.DeleteDirectory(name.c_str(), 1);
    }
    client.Disconnect();
  }
  test::UseNetwork(nullptr);
  CheckCommands(network.sent);
  if ((options & kStandard) != 0)
    Require(std::all_of(network.targets.begin(), network.targets.end(),
                        [&](DWORD target) { return target == network.targets.front(); }),
            "no server sends us elsewhere");
  return network.sent;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const unsigned options = input.Byte();
  const std::string name = input.Part();
  test::MemoryNetwork network;
  network.silent = (options & kSilent) != 0;
  network.data = input.Part();
  network.control = input.Rest();
  test::MemoryNetwork inPieces = network;
  inPieces.packet = 1 + options / 16;
  const std::string sent = Session(name, options, network);
  // In active mode the client looks whether the server has said something while it waits.
  if ((options & kPieces) != 0 && (options & kPassive) != 0 && !network.silent)
    test::RequireEqual(Session(name, options, inPieces), sent, "pieces give the same session");
  return 0;
}
