#include "ftp_fixture.h"

#include <algorithm>

namespace test {

FtpOptions Deviating(const std::vector<std::string>& deviations,
                     const std::vector<std::string>& dataFaults) {
  FtpOptions options;
  for (const std::string& text : deviations) options.deviations.push_back(ParseDeviation(text));
  for (const std::string& text : dataFaults) options.dataFaults.push_back(ParseDataFault(text));
  return options;
}

FtpSite::FtpSite(FtpOptions options, DWORD status, DWORD timeout)
    : server(root.Path(), std::move(options)) {
  client.Status() |= status;
  client.SetTimeout(timeout);
  connected = client.Connect("127.0.0.1", TSecurityInfos("board", "secret"), server.Port());
}

int FtpSite::Store(const std::string& path, const std::string& bytes) {
  if (client.OpenResource(path.c_str(), kOpenForWriting) == 0) return 0;
  const int size = static_cast<int>(bytes.size());
  if (size > 0) {
    EXPECT_EQ(client.Write(bytes.data(), size), size);
  }
  return client.Close();
}

void FtpSite::ExpectSilence(DWORD milliseconds) {
  client.SetTimeout(milliseconds);
  brevant::ResetDeadline();
}

std::vector<std::string> FtpSite::Commands() {
  std::vector<std::string> commands = server.Commands();
  std::erase_if(commands, [](const std::string& line) {
    return line.starts_with("USER") || line.starts_with("PASS ") || line.starts_with("PORT") ||
           line == "PASV";
  });
  return commands;
}

void FtpSite::Finish() {
  client.Disconnect();
  EXPECT_TRUE(server.Server().WaitUntilFinished(server.Server().Accepted()));
}

}  // namespace test
