// Private FTP servers of three makes, each serving one directory on the loopback interface.
#pragma once

#include "platform/win32.h"
#include "support/process.h"
#include "support/temporary_directory.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test {

enum class FtpMake { kVsftpd, kPureFtpd, kProftpd };

inline constexpr FtpMake kFtpMakes[] = {FtpMake::kVsftpd, FtpMake::kPureFtpd, FtpMake::kProftpd};

// "vsftpd", "PureFtpd", "ProFTPD": also names for parameterised tests.
const char* NameOf(FtpMake make);

// What the client sees as "/" holds the directory "site", in which it may do everything. Passive
// and active data connections work, transfers are binary as the client asks.
class FtpServerOf {
 public:
  // Throws std::runtime_error when the server does not come up.
  explicit FtpServerOf(FtpMake make);
  ~FtpServerOf();
  FtpServerOf(const FtpServerOf&) = delete;
  FtpServerOf& operator=(const FtpServerOf&) = delete;

  // Why this server cannot run here; empty when it can.
  static std::string Hindrance(FtpMake make);

  WORD Port() const { return port_; }
  const char* Account() const;
  const char* Password() const { return "secret"; }
  // The directory as the client names it.
  const char* RemoteDirectory() const { return "/site"; }

  // What lies in it: bytes by path, with "/" in place of a directory's.
  std::map<std::string, std::string> Tree() const;
  bool Exists(const std::string& path) const;
  // Empty when there is none.
  std::string Bytes(const std::string& path) const;
  // As the server's system has them, for example 0600.
  int Permissions(const std::string& path) const;
  void Clear() const;
  // Puts files there that are called PREFIX0, PREFIX1 and so on.
  void Fill(int count, const std::string& prefix, const std::string& bytes) const;

  // Ends the server with all its sessions; starts it again on the same port.
  void Stop();
  void Start();
  // The lines that clients sent, where the server logs them (vsftpd, ProFTPD); else none.
  std::vector<std::string> Commands() const;

 private:
  // Where the directory lies, with a final "/".
  std::string LocalDirectory() const;
  // Hands what lies there over to the user that the server works as.
  void TakeOver() const;
  std::vector<std::string> Configure();
  std::vector<std::string> ConfigureVsftpd();
  std::vector<std::string> ConfigurePureFtpd();
  std::vector<std::string> ConfigureProftpd();
  bool Answers() const;

  FtpMake make_;
  TemporaryDirectory directory_;
  WORD port_;
  std::vector<std::string> command_;
  std::unique_ptr<Program> program_;
};

}  // namespace test
