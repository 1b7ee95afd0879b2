// A server on this machine and a client that is logged on to it.
#pragma once

#include "net_fixture.h"
#include "support/ftp_server.h"
#include "support/temporary_directory.h"

#include <brevant/ftp.h>

#include <string>
#include <vector>

namespace test {

// Options whose deviations and data faults are these.
FtpOptions Deviating(const std::vector<std::string>& deviations,
                     const std::vector<std::string>& dataFaults = {});

struct FtpSite {
  explicit FtpSite(FtpOptions options = {}, DWORD status = kStatusPassive,
                   DWORD timeout = kPatience);
  explicit FtpSite(const std::vector<std::string>& deviations, DWORD status = kStatusPassive)
      : FtpSite(Deviating(deviations), status) {}

  explicit FtpSite(DWORD status) : FtpSite(FtpOptions(), status) {}

  // Stores bytes under a path; what the open, or else the close gave.
  int Store(const std::string& path, const std::string& bytes);
  // The file on the server.
  std::string Stored(const std::string& name) { return ReadFileBytes(root / name); }
  // From here on waits are expected to end at their time-out.
  void ExpectSilence(DWORD milliseconds = kShortTimeout);
  // The commands behind the log-on, without those that name a port.
  std::vector<std::string> Commands();
  // Disconnects and waits until the server has noticed.
  void Finish();

  TemporaryDirectory root;
  FtpServer server;
  TFTP client;
  int connected = 0;
};

class FtpTest : public NetTest {
 protected:
  const History history_;
};

// Both ways to open a data connection.
class FtpBothWays : public FtpTest, public ::testing::WithParamInterface<DWORD> {};

using Lines = std::vector<std::string>;

}  // namespace test
