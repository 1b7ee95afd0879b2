#include "mail_board.h"

#include "document_tree.h"
#include "support/fault_layer.h"
#include "support/process.h"
#include "support/temporary_directory.h"
#include "unit/shared/board_reading.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace faults {

namespace fs = std::filesystem;
using test::ExpectedMail;

namespace {

constexpr int kLargeText = 110000;
constexpr int kLargeFile = 3000;

ExpectedMail LargeMail(int number) {
  const std::string n = std::to_string(number);
  ExpectedMail mail;
  mail.subject = "Large mail " + n + ".";
  std::string text;
  while (text.size() < kLargeText)
    text += "Line " + std::to_string(text.size()) + " of " + n + "\r\n";
  std::string file;
  for (int i = 0; i < kLargeFile; ++i)
    file.push_back(static_cast<char>((i * number + i / 256) & 0xFF));
  mail.text =
      "From: visitor@example.org\nTo: \"[My_Board:General_Talk]\" <board@example.org>\nSubject: " +
      mail.subject +
      "\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"edge\"\n\n"
      "--edge\nContent-Type: text/plain\n\n";
  for (const char c : text) {
    if (c != '\r') mail.text += c;
  }
  mail.text +=
      "--edge\nContent-Type: application/octet-stream; name=\"large.bin\"\n"
      "Content-Transfer-Encoding: base64\nContent-Disposition: attachment; "
      "filename=\"large.bin\"\n\n" +
      test::EncodeBase64(file) + "\n--edge--\n";
  mail.content = text;
  // The line end before a boundary belongs to the boundary.
  mail.content.resize(mail.content.size() - 2);
  mail.files.emplace_back("large.bin", file);
  return mail;
}

void Run(const std::vector<std::string>& command) {
  const test::ProgramResult result = test::RunProgram(command);
  if (result.exitCode != 0) throw std::runtime_error(command[1] + ": " + result.output);
}

// What is wrong with an item that should be this mail; empty when nothing is.
std::string ProblemOf(const test::Item& item, const ExpectedMail& mail, const std::string& site) {
  if (mail.exactContent && item.content != mail.content) {
    return "its content has " + std::to_string(item.content.size()) + " bytes, not the " +
           std::to_string(mail.content.size()) + " of the mail";
  }
  if (item.linkAddress != mail.address || item.size != mail.size) return "its link is another";
  if (item.attachments.size() != mail.files.size()) return "its attachments are not all named";
  for (std::size_t i = 0; i < mail.files.size(); ++i) {
    const std::string& stored = item.attachments[i].first;
    if (test::ReadFileBytes(site + stored) != mail.files[i].second) {
      return "its attachment " + stored + " is not whole";
    }
  }
  return {};
}

bool IsBoardFile(const std::string& extension) {
  return extension == ".mwd" || extension == ".mwe" || extension == ".mwf" || extension == ".mwg";
}

// The items of a board file, whichever class its extension names.
std::vector<test::Item> ItemsOf(const fs::path& file, const std::string& data) {
  const std::string name = file.stem().string();
  if (file.extension() == ".mwd") return test::ItemsOf(name, data);
  if (file.extension() == ".mwf") return test::ItemsOf<TLinkList>(name, data);
  return test::ItemsOf<TContributor>(name, data);
}

void MakeListsAndQuestion(const std::string& data) {
  if (!test::MakeContainer<TLinkList>("Good Links", data) ||
      !test::MakeContainer<TContributor>("Articles", data)) {
    throw std::runtime_error("cannot make the lists");
  }
  for (const char* list : {"Good Links", "Articles"}) {
    TContributor container;
    TLinkList links;
    TForum& forum = list[0] == 'G' ? static_cast<TForum&>(links) : container;
    if (forum.Open(list, data.c_str(), 2, 0, 16) == 0) throw std::runtime_error(list);
    forum.Number("Max Message Count", 100000);
  }
  MailBoard::MakeQuestion("Best colour", {"Red", "Deep blue"}, data);
}

void AddVotes(const std::string& name, const std::string& data, Filed* filed) {
  for (const test::Item& answer : test::ItemsOf<TSurveyQuestion>(name, data)) {
    filed->votes[answer.subject] += answer.votes;
  }
}

// What an answer that has lost votes is told as.
void FindLostVotes(const std::vector<ExpectedMail>& mails, const Filed& filed,
                   const std::set<std::string>& left, std::vector<std::string>* lost) {
  std::map<std::string, LONG> gone;
  for (const ExpectedMail& mail : mails) {
    if (!mail.vote.empty() && !left.contains(mail.text)) ++gone[mail.vote];
  }
  for (const auto& [answer, count] : gone) {
    const auto votes = filed.votes.find(answer);
    if (votes == filed.votes.end() || votes->second < count) {
      lost->push_back("votes for " + answer + ", of which there were " + std::to_string(count));
    }
  }
}

}  // namespace

std::vector<ExpectedMail> KnownMail(int rounds, int large) {
  std::vector<ExpectedMail> mails;
  for (int i = 0; i < large; ++i) mails.push_back(LargeMail(i));
  for (ExpectedMail& mail : test::TodaysMail(rounds)) mails.push_back(std::move(mail));
  return mails;
}

std::vector<std::string> TextsOf(const std::vector<ExpectedMail>& mails) {
  std::vector<std::string> texts;
  for (const ExpectedMail& mail : mails) texts.push_back(mail.text);
  return texts;
}

MailBoard::MailBoard(std::string path) : path_(std::move(path)) {}

void MailBoard::Make(WORD port) {
  Run({HOST_PROGRAM, "init", path_, "--name", "My Board"});
  for (const auto& [key, value] :
       std::map<std::string, std::string>{{"POP3 Server", "127.0.0.1"},
                                          {"POP3 Port", std::to_string(port)},
                                          {"POP3 Account", "board"},
                                          {"POP3 Password", "secret"},
                                          {"Standard POP3 Mode", "1"},
                                          {"Keep Unsaved Mail", "1"},
                                          {"Allow attachment - forum", "1"}}) {
    Set(key, value);
  }
  MakeForum(kForum, Data());
  MakeListsAndQuestion(Data());
}

void MailBoard::Set(const std::string& key, const std::string& value) const {
  Run({HOST_PROGRAM, "config", path_, "set", key, value});
}

void MailBoard::MakeForum(const std::string& name, const std::string& data) {
  TForum* forum = CreateForum(name.c_str(), data.c_str());
  if (forum == nullptr) throw std::runtime_error("cannot make the forum " + name);
  forum->Number("Max Message Count", 100000);
  AddMailingList("outside@lists.example.org", "The outside list", forum);
  CloseForum(forum);
}

void MailBoard::MakeQuestion(const std::string& name, const std::vector<std::string>& answers,
                             const std::string& data) {
  TSurveyQuestion* question = CreateSurveyQuestion(name.c_str(), data.c_str());
  if (question == nullptr) throw std::runtime_error("cannot make the question " + name);
  for (const std::string& text : answers) {
    TMail* answer = OpenAnswer(0, nullptr);
    answer->String("SUBJECT", text.c_str());
    if (InsertAnswer(answer, question) == 0) throw std::runtime_error("cannot add an answer");
    CloseAnswer(answer);
  }
  CloseSurveyQuestion(question);
}

void MailBoard::UsePort(WORD port) const {
  const std::string number = std::to_string(port);
  const std::string file = path_ + "brevant.ini";
  if (WritePrivateProfileStringA("Tavernix", "POP3 Port", number.c_str(), file.c_str()) == 0) {
    throw std::runtime_error("cannot change " + file);
  }
}

std::vector<std::string> MailBoard::RunCommand(const std::string& task) const {
  return {HOST_PROGRAM, "run", path_, task};
}

std::vector<std::string> MailBoard::QuickCommand(const std::string& task) const {
  test::FaultPlan plan;
  plan.directory = path_;
  plan.skipSyncs = true;
  return test::WithFaults(plan, RunCommand(task));
}

Filed FindFiled(const std::vector<ExpectedMail>& mails, const std::string& data,
                const std::string& site) {
  Filed filed;
  filed.times.resize(mails.size());
  std::map<std::string, std::size_t> bySubject;
  for (std::size_t i = 0; i < mails.size(); ++i) {
    if (mails[i].fate == ExpectedMail::TFate::kFiled) bySubject[mails[i].subject] = i;
  }
  for (const auto& entry : fs::directory_iterator(data)) {
    const std::string extension = entry.path().extension().string();
    if (!IsBoardFile(extension)) continue;
    std::string problem;
    if (!ReadTree(entry.path().generic_string(), &problem)) {
      filed.problems.push_back(entry.path().filename().string() + ": " + problem);
    }
    if (extension == ".mwg") {
      AddVotes(entry.path().stem().string(), data, &filed);
      continue;
    }
    for (const test::Item& item : ItemsOf(entry.path(), data)) {
      const auto found = bySubject.find(item.subject);
      problem = found == bySubject.end() ? "it is none of the mails"
                                         : ProblemOf(item, mails[found->second], site);
      if (!problem.empty()) filed.problems.push_back(item.subject + ": " + problem);
      if (found != bySubject.end()) ++filed.times[found->second];
      for (const auto& [stored, shown] : item.attachments) filed.attachments.insert(stored);
    }
  }
  return filed;
}

std::vector<std::string> FindLost(const std::vector<ExpectedMail>& mails, const Filed& filed,
                                  const std::vector<std::string>& left) {
  const std::set<std::string> there(left.begin(), left.end());
  std::vector<std::string> lost;
  for (std::size_t i = 0; i < mails.size(); ++i) {
    if (there.contains(mails[i].text)) continue;
    if (mails[i].fate == ExpectedMail::TFate::kStays) {
      lost.push_back("mail " + std::to_string(i + 1) + " should have stayed");
    } else if (mails[i].fate == ExpectedMail::TFate::kFiled && filed.times[i] == 0) {
      lost.push_back("mail " + std::to_string(i + 1) + " is nowhere: " + mails[i].subject);
    }
  }
  FindLostVotes(mails, filed, there, &lost);
  return lost;
}

std::vector<std::string> Leftovers(const std::string& data) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(data)) {
    const std::string extension = entry.path().extension().string();
    if (!IsBoardFile(extension)) names.push_back(entry.path().filename().string());
  }
  return names;
}

}  // namespace faults
