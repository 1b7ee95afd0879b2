// The board that the table's rows work on.
#pragma once

#include <brevant/brevant.h>

#include <memory>
#include <string>

namespace faults {

// Below the directory: "Data" with the forum "Talk" of three messages (all kinds of elements in
// it), the list "List", the links "Links" and the question "Survey" of two items each, "Old.mwd" of
// an older layout; settings, a state, and a remote file table.
void MakeSmallBoard(const std::string& directory);

constexpr int kReadWrite = 2;
constexpr int kCreate = 4096;
constexpr int kExclusive = 16;
constexpr int kGoes = 0x04000000;  // a temporary file that vanishes

// A text that is longer than what a string holds without an allocation.
inline constexpr char kLong[] = "a text of more than a few characters";

struct CloseMail {
  void operator()(TMail* mail) const { CloseMessage(mail); }
};
using OwnedMail = std::unique_ptr<TMail, CloseMail>;
// A temporary message.
OwnedMail NewMail(const std::string& subject, const std::string& content = "The text\r\n");

}  // namespace faults
