// A board that fetches mail through the host program, and what became of every mail.
#pragma once

#include "integration/mail_corpus.h"
#include "platform/win32.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace faults {

// A forum's mails with attachments of known content: `large` long ones, 38 of which fill what a run
// commits at once, then `rounds` of every kind of today's mail.
std::vector<test::ExpectedMail> KnownMail(int rounds, int large);
std::vector<std::string> TextsOf(const std::vector<test::ExpectedMail>& mails);

class MailBoard {
 public:
  static constexpr const char* kForum = "General Talk";

  // path: an existing directory's, with a final "/", to be made a board.
  explicit MailBoard(std::string path);

  // An empty board that fetches from this port of the loopback interface.
  void Make(WORD port);
  void Set(const std::string& key, const std::string& value) const;
  void UsePort(WORD port) const;
  static void MakeForum(const std::string& name, const std::string& data);
  static void MakeQuestion(const std::string& name, const std::vector<std::string>& answers,
                           const std::string& data);
  // The command that runs a task.
  std::vector<std::string> RunCommand(const std::string& task) const;
  // The same without waiting for the disk, and otherwise undisturbed.
  std::vector<std::string> QuickCommand(const std::string& task) const;

  const std::string& Path() const { return path_; }
  std::string Data() const { return path_ + "Data/"; }
  std::string Site() const { return path_ + "Site/"; }

 private:
  std::string path_;
};

// What a board holds of the mails.
struct Filed {
  std::vector<int> times;             // how often each mail is there
  std::vector<std::string> problems;  // what is there, but not whole
  std::set<std::string> attachments;  // the files that are named
  std::map<std::string, LONG> votes;  // of each answer
};

// data and site end with "/". Opens every board file, and so finishes what a kill left undone.
Filed FindFiled(const std::vector<test::ExpectedMail>& mails, const std::string& data,
                const std::string& site);

// The mails that are neither filed nor among those left, though they should be one of them, those
// that should have stayed and are gone, and answers with fewer votes than there were; a line each.
std::vector<std::string> FindLost(const std::vector<test::ExpectedMail>& mails, const Filed& filed,
                                  const std::vector<std::string>& left);

// The names below a board's data that only a run under way may have.
std::vector<std::string> Leftovers(const std::string& data);

}  // namespace faults
