// The servers of the integration tests where they cannot be started: each stands for one that the
// desk holds.
#include "integration/desk/client.h"
#include "integration/dovecot_server.h"
#include "integration/ftp_servers.h"
#include "integration/postfix_server.h"

namespace test {

std::string DovecotServer::Hindrance() { return desk::Hindrance("dovecot"); }
DovecotServer::DovecotServer(const std::vector<std::string>& mails)
    : port_(desk::Open(this, "dovecot", mails)) {}
DovecotServer::~DovecotServer() { desk::Close(this); }
void DovecotServer::Refill(const std::vector<std::string>& mails) {
  desk::Ask(this, "refill", mails);
}
std::vector<std::string> DovecotServer::Left() const { return desk::Ask(this, "left"); }

std::string PostfixServer::Hindrance() { return desk::Hindrance("postfix"); }
PostfixServer::PostfixServer(PostfixOptions options)
    : port_(desk::Open(this, "postfix", {options.strict ? "strict" : "lenient"})) {}
PostfixServer::~PostfixServer() { desk::Close(this); }
std::vector<PostfixMail> PostfixServer::Delivered() const {
  const desk::Message texts = desk::Ask(this, "delivered");
  std::vector<PostfixMail> mails;
  for (std::size_t i = 0; i + 2 < texts.size(); i += 3) {
    mails.push_back({texts[i], texts[i + 1], texts[i + 2]});
  }
  return mails;
}

std::string SmtpSink::Hindrance() { return desk::Hindrance("sink"); }
SmtpSink::SmtpSink() : port_(desk::Open(this, "sink")) {}
SmtpSink::~SmtpSink() { desk::Close(this); }
std::vector<std::string> SmtpSink::Mails() const { return desk::Ask(this, "mails"); }

std::string FtpServerOf::Hindrance(FtpMake make) { return desk::Hindrance(NameOf(make)); }
FtpServerOf::FtpServerOf(FtpMake make) : make_(make), port_(desk::Open(this, NameOf(make))) {}
FtpServerOf::~FtpServerOf() { desk::Close(this); }
// Wine shows the system below as this drive.
std::string FtpServerOf::LocalDirectory() const {
  return "Z:" + desk::Ask(this, "directory").at(0);
}
void FtpServerOf::TakeOver() const { desk::Ask(this, "take over"); }
void FtpServerOf::Stop() { desk::Ask(this, "stop"); }
void FtpServerOf::Start() { desk::Ask(this, "start"); }
std::vector<std::string> FtpServerOf::Commands() const { return desk::Ask(this, "commands"); }

}  // namespace test
