// What is fixed about the makes, wherever their servers run.
#include "ftp_servers.h"

namespace test {

const char* NameOf(FtpMake make) {
  switch (make) {
    case FtpMake::kVsftpd:
      return "vsftpd";
    case FtpMake::kPureFtpd:
      return "PureFtpd";
    case FtpMake::kProftpd:
      return "ProFTPD";
  }
  return "";
}

const char* FtpServerOf::Account() const {
  return make_ == FtpMake::kVsftpd ? "anonymous" : "board";
}

}  // namespace test
