// The FTP client, against a server on the loopback interface: whole sessions, of which each call
// may fail.
#include "calls/row.h"
#include "support/ftp_server.h"
#include "support/temporary_directory.h"

#include <brevant/ftp.h>

#include <filesystem>

namespace faults {

namespace {

constexpr DWORD kTimeout = 1000;
constexpr char kContent[] = "what the file holds";

template <typename Session>
void OnServer(Trial& run, DWORD status, Session session) {
  const test::TemporaryDirectory root;
  std::filesystem::create_directory(root / "www");
  test::WriteFileBytes(root / "www/there.htm", kContent);
  {
    test::FtpServer server(root.Path());
    {
      TFTP client;
      client.Status() |= status;
      client.SetTimeout(kTimeout);
      const TSecurityInfos security("me", "secret");
      run.Succeeds(run.Call([&] {
        return client.Connect("127.0.0.1", security, server.Port()) != 0 && session(client);
      }));
      client.Disconnect();
    }
    server.Server().WaitUntilFinished(server.Server().Accepted(), kTimeout);
  }
  run.Holds(test::ReadFileBytes(root / "www/there.htm") == kContent, "other files stay");
  const std::string stored = test::ReadFileBytes(root / "www/new.htm");
  run.Holds(std::string(kContent).starts_with(stored), "nothing else is stored");
  if (run.Success()) run.Sees(stored);
}

bool Store(TFTP& client) {
  return client.SetType("I") != 0 && client.ChangeDirectory("www") != 0 &&
         client.OpenResource("new.htm", kOpenForWriting) != 0 &&
         client.Write(kContent, sizeof kContent - 1) == sizeof kContent - 1 && client.Close() != 0;
}

bool Fetch(TFTP& client) {
  char bytes[100];
  return client.OpenResource("www/there.htm", kOpenForReading) != 0 &&
         client.Read(bytes, sizeof bytes) > 0 && client.Close() != 0;
}

bool List(TFTP& client) {
  if (client.ChangeDirectory("www") == 0 || client.GetDirectoryList() == 0) return false;
  TFindData found;
  const HANDLE search = client.FindFirstFileA("*.htm", &found);
  client.FindClose(search);
  return search != nullptr && found.name == "there.htm";
}

bool Manage(TFTP& client) {
  return client.MakeDirectory("more") != 0 && client.RenameResource("more", "renamed") != 0 &&
         client.DeleteDirectory("renamed", 0) != 0 && client.DeleteResource("none.htm") != 0;
}

}  // namespace

Rows FtpRows() {
  constexpr auto kOverNetwork = Row::Kind::kOverNetwork;
  constexpr DWORD kMode = kStatusPassive | kStatusStandardMode;
  return {
      {"TFTP::TFTP TFTP::~TFTP TFTP::Connect TFTP::Login TFTP::SetType TFTP::ChangeDirectory "
       "TFTP::OpenResource TFTP::GetDataStreamAddress TFTP::InitiateDataStream TFTP::Write "
       "TFTP::Close TFTP::Disconnect TFTP::DisconnectDataStream TFTP::SendCommand TFTP::GetStatus",
       [](Trial& run) { OnServer(run, kMode, Store); }, kOverNetwork},
      {"TFTP::SetPort(and storing through a port of its own)",
       [](Trial& run) { OnServer(run, kStatusStandardMode, Store); }, kOverNetwork},
      {"TFTP::Read TFTP::GetFileInfo TFTP::ProcessFileInfo",
       [](Trial& run) { OnServer(run, kMode, Fetch); }, kOverNetwork},
      {"TFTP::GetDirectoryList TFTP::FindFirstFileA TFTP::FindClose",
       [](Trial& run) { OnServer(run, kMode, List); }, kOverNetwork},
      {"TFTP::MakeDirectory TFTP::RenameResource TFTP::DeleteDirectory TFTP::DeleteResource",
       [](Trial& run) { OnServer(run, kMode, Manage); }, kOverNetwork},
  };
}

}  // namespace faults
