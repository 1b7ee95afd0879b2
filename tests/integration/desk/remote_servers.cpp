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
std::map<std::string, std::string> FtpServerOf::Tree() const {
  const desk::Message texts = desk::Ask(this, "tree");
  std::map<std::string, std::string> tree;
  for (std::size_t i = 0; i + 1 < texts.size(); i += 2) tree[texts[i]] = texts[i + 1];
  return tree;
}
bool FtpServerOf::Exists(const std::string& path) const {
  return desk::Ask(this, "exists", {path}).at(0) == "1";
}
std::string FtpServerOf::Bytes(const std::string& path) const {
  return desk::Ask(this, "bytes", {path}).at(0);
}
int FtpServerOf::Permissions(const std::string& path) const {
  return std::stoi(desk::Ask(this, "permissions", {path}).at(0));
}
void FtpServerOf::Clear() const { desk::Ask(this, "clear"); }
void FtpServerOf::Fill(int count, const std::string& prefix, const std::string& bytes) const {
  desk::Ask(this, "fill", {std::to_string(count), prefix, bytes});
}
void FtpServerOf::Stop() { desk::Ask(this, "stop"); }
void FtpServerOf::Start() { desk::Ask(this, "start"); }
std::vector<std::string> FtpServerOf::Commands() const { return desk::Ask(this, "commands"); }

}  // namespace test
