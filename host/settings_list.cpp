#include "settings_list.h"

#include "text.h"

namespace host {

namespace {

constexpr SettingInfo kSettings[] = {
    {"BBS Name", nullptr, "name of the board, on its pages and in its mail"},
    {"BBS Short Name", nullptr, "name in posting addresses; a leading piece of the full name"},
    {"E-Mail Address", nullptr, "address to post to; without it ACCOUNT@SERVER of the mailbox"},
    {"POP3 Server", nullptr, "server of the board's mailbox"},
    {"POP3 Port", nullptr, "its port, if it is not 110"},
    {"POP3 Account", nullptr, "account of the mailbox"},
    {"POP3 Password", nullptr, "password of the mailbox; stored scrambled"},
    {"SMTP Server", nullptr, "server for outgoing mail; without it the POP3 server"},
    {"SMTP Port", nullptr, "its port, if it is not 25"},
    {"FTP Server", nullptr, "server the site is delivered to; empty: the site stays here"},
    {"FTP Port", nullptr, "its port, if it is not 21"},
    {"FTP Account", nullptr, "account on the web server"},
    {"FTP Password", nullptr, "its password; stored scrambled"},
    {"Remote Directory", nullptr, "directory of the site there; empty: where the account starts"},
    {"Passive FTP Data Mode", "1",
     "1: this machine opens every connection (needed behind most routers)"},
    {"Indirect FTP transfer", nullptr, "1: upload as TEMP.FTP, then rename"},
    {"FTP Shell Command", nullptr, "SITE command to send to the web server after each directory"},
    {"Data Directory", "Data/", "forums and the other data files"},
    {"Local Directory", "Site/", "the generated site, attachments too"},
    {"HTML Template Directory", "Templates/", "page templates"},
    {"Allow attachment - forum", "1", "1: keep attachments of posts"},
    {"Save Voter Address", "0", "1: remember who voted"},
    {"HTML File - Forum list", "index", "template of the start page"},
    {"HTML File - Message list", "messages", "template of a forum's page"},
    {"HTML File - Resource list", "links", "template of a link list's or resource list's page"},
    {"HTML File - Question list", "questions", "template of the survey page"},
    {"HTML File - Answer list", "answers", "template of a question's page"},
    {"Standard POP3 Mode", "1", "1: read mail as today's servers and programs write it"},
    {"Standard SMTP Mode", "1", "1: send mail as today's servers expect it"},
    {"Standard FTP Mode", "1", "1: deliver as today's servers expect it"},
    {"Decode Mail Text", "1", "1: show encoded headers and foreign character sets as they read"},
    {"Safe HTML", "1", "1: reduce HTML from mail to what cannot do harm"},
    {"Keep Unsaved Mail", "1", "1: what could not be saved stays in the mailbox"},
    {"Deliver Every Folder", "1", "1: deliver looks into every directory of the site"},
    {"Keep File Name Case", "1", "1: files keep their letter case on the web server"},
};

constexpr SettingInfo kPageTemplate{"HTML File - ", nullptr, "template of the page of that name"};

}  // namespace

std::span<const SettingInfo> SettingsList() { return kSettings; }

const SettingInfo* FindSetting(std::string_view key) {
  for (const SettingInfo& setting : kSettings) {
    if (EqualIgnoringCase(setting.key, key)) return &setting;
  }
  std::string_view prefix = kPageTemplate.key;
  if (key.size() > prefix.size() && EqualIgnoringCase(key.substr(0, prefix.size()), prefix)) {
    return &kPageTemplate;
  }
  return nullptr;
}

bool IsPasswordKey(std::string_view key) {
  std::string lower = LowerCase(key);
  return lower.rfind("password", 0) == 0 || lower.find(" password") != std::string::npos;
}

}  // namespace host
