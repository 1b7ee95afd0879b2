// Mail as it comes: the kinds of mail that visitors' programs and forms write, and what the board
// has to make of each.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace test {

struct ExpectedMail {
  enum class TFate { kFiled, kDeleted, kStays };

  std::string text;
  TFate fate = TFate::kFiled;
  // Of what is filed:
  std::string forum;
  std::string subject;
  std::string type;
  std::string charset;
  std::string content;
  unsigned linkId = 0;
  // Of a link; forum is empty then, list names the list that it goes to.
  std::string list;
  std::string address;
  int size = 0;
  // The answer of the question "Best colour" that it votes for.
  std::string vote;
  // File name as the mail gives it, and its bytes.
  std::vector<std::pair<std::string, std::string>> files;
  // The content holds references whose names are chosen when it is filed.
  bool exactContent = true;
  // A text without anything to escape that stands on the item's page.
  std::string marker;
};

// rounds mails of every kind of today's mail (read in standard mode).
std::vector<ExpectedMail> TodaysMail(int rounds);
// rounds mails of every kind that the plain rules of reading fit: every mail ends with an empty
// line, fields have a blank behind the colon and are folded with tabs, parameters are quoted.
std::vector<ExpectedMail> PlainMail(int rounds);

std::string EncodeBase64(const std::string& bytes);

}  // namespace test
