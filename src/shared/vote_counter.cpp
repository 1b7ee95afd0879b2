#include "shared/vote_counter.h"

#include "board/access.h"
#include "board/list_index.h"
#include "platform/win32.h"
#include "store/ascii.h"
#include "store/records.h"
#include "text/charset.h"
#include "text/encoded_words.h"

#include <algorithm>

namespace brevant {

namespace {

constexpr const char* kVoterList = "Voter E-mail";
constexpr int kVoterRecord = 128;

// What a record holds of a subject; the board's pages show no more of it.
constexpr std::size_t kShownSubject = kInfoRecordSize - std::string_view("SUBJECT").size() - 2;

bool IsShortAscii(std::string_view text) {
  return text.size() < kShownSubject && std::all_of(text.begin(), text.end(), [](char c) {
           return static_cast<unsigned char>(c) < 128;
         });
}

// A character that "&#...;" at the start of text stands for, and the length of that; 0 for none.
char32_t NumericReference(std::string_view text, std::size_t& length) {
  constexpr std::size_t kMostDigits = 7;
  if (!text.starts_with("&#")) return 0;
  std::size_t at = 2;
  char32_t character = 0;
  while (at < text.size() && at < 2 + kMostDigits && IsDigitAscii(text[at])) {
    character = character * 10 + static_cast<char32_t>(text[at++] - '0');
  }
  if (at == 2 || at >= text.size() || text[at] != ';') return 0;
  length = at + 1;
  return character;
}

// Browsers send "&#...;" for characters that the page's own character set does not have.
std::string WithoutReferences(std::string_view text) {
  std::string plain;
  while (!text.empty()) {
    std::size_t length = 0;
    if (const char32_t character = NumericReference(text, length)) {
      AppendUtf8(plain, character);
    } else {
      length = std::min(text.find('&', 1), text.size());
      plain += text.substr(0, length);
    }
    text.remove_prefix(length);
  }
  return plain;
}

bool AddOne(auto& object, const char* key) {
  const DWORD count = static_cast<DWORD>(object.Number(key)) + 1;
  return object.Number(key, static_cast<LONG>(count)) == 1;
}

}  // namespace

TVoteResult TVoteCounter::Count(const std::vector<TFormField>& fields, const std::string& voter,
                                LONG number) {
  TVoteResult result;
  const std::vector<TBallot> ballots = Ballots(fields);
  for (const TBallot& ballot : ballots) {
    if (!cache_.GivenUp(TBoardKind::kQuestion, ballot.question)) continue;
    result.givenUp = ballot.question;
    return result;
  }
  for (const TBallot& ballot : ballots) {
    if (CountBallot(ballot, voter, number, result.counted)) continue;
    // Opening one question may close another, whose commit may fail.
    const bool lost = cache_.GivenUp(TBoardKind::kQuestion, ballot.question);
    (lost ? result.givenUp : result.failed) = ballot.question;
  }
  return result;
}

// The values for each question, in the order in which the form names the questions first.
std::vector<TVoteCounter::TBallot> TVoteCounter::Ballots(const std::vector<TFormField>& fields) {
  std::vector<TBallot> ballots;
  for (const TFormField& field : fields) {
    const std::string* question = FindQuestion(FieldText(field.name));
    if (question == nullptr) continue;
    auto ballot = std::find_if(ballots.begin(), ballots.end(), [question](const TBallot& entry) {
      return entry.question == *question;
    });
    if (ballot == ballots.end()) ballot = ballots.insert(ballot, {*question, {}});
    ballot->values.push_back(FieldText(field.value));
  }
  return ballots;
}

const std::string* TVoteCounter::FindQuestion(const std::string& name) {
  if (!questionsLoaded_) {
    questionsLoaded_ = true;
    for (const std::string& question : cache_.Names(TBoardKind::kQuestion)) {
      const std::string text = decodeText_ ? DecodeText(question, TCharset::kUnknown) : question;
      questions_.emplace(LowerCased(text), question);
    }
  }
  const auto found = questions_.find(LowerCased(name));
  return found == questions_.end() ? nullptr : &found->second;
}

// False when something could not be written.
bool TVoteCounter::CountBallot(const TBallot& ballot, const std::string& voter, LONG number,
                               int& counted) {
  const TBoardCache::THandle handle = cache_.Open(TBoardKind::kQuestion, ballot.question);
  if (!handle) return false;
  auto& question = static_cast<TContributor&>(*handle);
  std::set<DWORD> chosen;
  bool written = true;
  for (const std::string& value : ballot.values) {
    const DWORD index = FindAnswer(question, value);
    if (index == kNoMessage || !chosen.insert(index).second) continue;
    if (CountAnswer(question, index, voter)) {
      ++counted;
    } else {
      written = false;
    }
  }
  // Letting go of the question may commit it; the ledger must know of the vote by then.
  if (!chosen.empty()) ledger_.Filed(TBoardKind::kQuestion, handle.Name(), number, {});
  return written;
}

bool TVoteCounter::CountAnswer(TContributor& question, DWORD index,
                               const std::string& voter) const {
  TMail answer;
  if (question.OpenMessage(index, &answer) == 0) return false;
  const std::string text = answer.String("SUBJECT");
  const bool counted = AddOne(answer, "Vote Count");
  answer.Close();
  return counted && AddOne(question, "Total Vote Count") && RecordVoter(question, voter, text);
}

bool TVoteCounter::RecordVoter(TContributor& question, const std::string& voter,
                               const std::string& answer) const {
  if (!keepVoters_) return true;
  // A longer key would never be found again, and each vote of the same person add a record.
  constexpr std::size_t kRoom = kVoterRecord - 2;
  const std::string key(decodeText_ ? CutAtCharacter(DecodeAddressHeader(voter), kRoom)
                                    : std::string_view(voter).substr(0, kRoom));
  // A key that ends in "*" would take the place of other voters.
  if (key.empty() || key.ends_with('*')) return true;
  if (!OpenOrCreateList(question, kVoterList, kVoterRecord)) return false;
  const bool written = question.WriteListItem(key.c_str(), answer.c_str(), -1) == 1;
  question.CloseList();
  return written;
}

DWORD TVoteCounter::FindAnswer(TContributor& question, const std::string& value) const {
  const DWORD listed = question.FindMessage(value.c_str());
  if (listed != kNoMessage || IsShortAscii(value)) return listed;
  // Pages show an answer as the characters that its record holds: the list may have more of it, or
  // have it in another character set.
  const TListIndex& answers = question.MessageIndex();
  for (std::size_t position = 0; position < answers.Size(); ++position) {
    const DWORD index = answers.At(position).index;
    TMail answer;
    const bool opened = question.OpenMessage(index, &answer) != 0;
    if (opened && EqualsIgnoreCase(AnswerText(answer), value)) return index;
  }
  return kNoMessage;
}

std::string TVoteCounter::FieldText(const std::string& text) const {
  return decodeText_ ? WithoutReferences(text) : text;
}

std::string TVoteCounter::AnswerText(const TMail& answer) const {
  std::string text = answer.String("SUBJECT");
  if (!decodeText_) return text;
  const std::string charset = answer.String("Header Charset");
  return DecodeText(text, charset.empty() ? TCharset::kIso8859Part1 : FindCharset(charset));
}

}  // namespace brevant
