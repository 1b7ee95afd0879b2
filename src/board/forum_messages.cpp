// A forum's messages, its announcement and its sub-forums.
#include "board/access.h"
#include "board/list_index.h"
#include "platform/win32.h"
#include "store/elements.h"
#include "store/guard.h"

#include <brevant/board.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

using brevant::Guarded;
using brevant::kCreate;
using brevant::kExclusive;
using brevant::kNoMessage;
using brevant::kOpenExisting;
using brevant::kReadWrite;
using brevant::MessageKey;

namespace {

constexpr int kSubForumRecordSize = 32;
constexpr const char* kAnnouncement = "Announcement";
constexpr const char* kDraft = "~NEW";

// The numbers among names that are written without leading zeros, ascending, within first to last.
std::vector<DWORD> MessageNumbers(const std::vector<std::string>& names, DWORD first, DWORD last) {
  std::vector<DWORD> numbers;
  for (const std::string& name : names) {
    DWORD number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || MessageKey(number).Text() != name) continue;
    if (number >= first && number <= last) numbers.push_back(number);
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

}  // namespace

// Brings a forum of layout 1 or 2, which had no message list, to layout 3.
int TForum::Upgrade1To3() {
  index_.reset();
  if (!messageList_.Open(storage_.Interface(), "MESSAGE LIST", kReadWrite, kCreate, kExclusive)) {
    return 0;
  }
  const auto first = static_cast<DWORD>(Number("First Message Index"));
  const auto last = static_cast<DWORD>(Number("Last Message Index"));
  // Only elements that exist are walked: the stored range may be any two numbers.
  const auto names = brevant::SubStorageNames(storage_.Interface());
  bool written = true;
  for (const DWORD index : MessageNumbers(names, first, last)) {
    TMail message;
    if (!OpenMessage(index, &message)) continue;
    written = WriteMessageInfo(index, static_cast<DWORD>(message.Number("LINK ID")),
                               message.String("SUBJECT")) != 0;
    if (!written) break;
  }
  messageList_.Close();
  index_.reset();
  // The next opening tries again: messages that the list lacks would never come back.
  if (!written) return 0;
  Number("Version", 3);
  // Gaps count too: the oldest boards have always shown these counts.
  Number("Message Count", static_cast<LONG>(last - first + 1));
  return 1;
}

DWORD TForum::InsertMessage(TMail& message) {
  return Guarded(DWORD{0}, [&]() -> DWORD {
    // A number that only seems to be 0 would put the message in the place of another one.
    if (!KnowsProperties() || !message.CanTell("SUBJECT")) return 0;
    const auto last = static_cast<DWORD>(Number("Last Message Index"));
    const DWORD index = last + 1;
    if (!PlaceMessage(index, message)) return 0;
    // The former newest message now has a next one: pages that show its neighbours change.
    TouchMessage(last);
    const DWORD count = static_cast<DWORD>(Number("Message Count")) + 1;
    const bool stored = Number("Last Message Index", static_cast<LONG>(index)) == 1 &&
                        Number("Message Count", static_cast<LONG>(count)) == 1;
    return stored ? index : 0;
  });
}

bool TForum::PlaceMessage(DWORD index, TMail& message) {
  // What a damaged file counts up to: these numbers mean that there is no message.
  if (index == 0 || index == kNoMessage) return false;
  return PlaceElement(index, message) &&
         WriteMessageInfo(index, static_cast<DWORD>(message.Number("LINK ID")),
                          message.String("SUBJECT")) != 0;
}

// What is to be replaced stays until the new element is whole.
bool TForum::PlaceElement(DWORD index, TMail& message) {
  const MessageKey key(index);
  const bool replaces = brevant::HasStorage(storage_.Interface(), key.Terminated());
  const char* name = replaces ? kDraft : key.Terminated();
  {
    TMail element;
    if (!element.Open(storage_, name, kReadWrite, kCreate, kExclusive) ||
        !TrimForInsertion(index) || !element.Copy(message)) {
      element.Close();
      if (replaces) storage_.DeleteElement(name);
      return false;
    }
  }
  if (!replaces) return true;
  const int removed = storage_.DeleteElement(key.Terminated());
  if (storage_.RenameElement(name, key.Terminated()) != 0) return true;
  // Once the old one is gone the new one is not taken away, too.
  if (removed == 0) storage_.DeleteElement(name);
  return false;
}

bool TForum::TrimForInsertion(DWORD inserted) {
  const auto count = static_cast<DWORD>(Number("Message Count"));
  const auto most = static_cast<DWORD>(Number("Max Message Count"));
  if (count < most) return true;
  const auto oldest = static_cast<DWORD>(Number("First Message Index"));
  return RemoveMessage(oldest) == 0 || oldest != inserted;
}

void TForum::TouchMessage(DWORD index) {
  const TTime now = TTime::NowGreenwich();
  storage_.SetElementTimes(MessageKey(index).Terminated(), nullptr, nullptr, &now);
}

int TForum::OpenMessage(DWORD index, TMail* message) {
  if (message == nullptr) return 0;
  return message->Open(storage_, MessageKey(index).Terminated(), kReadWrite, kOpenExisting,
                       kExclusive);
}

int TForum::RemoveMessage(DWORD index) {
  // Without its list every message would look like the only one, and the forum would begin again at
  // number 1, in the place of messages that are there.
  if (Guarded(true, [&] { return LoadedIndex() == nullptr || !KnowsProperties(); })) return 0;
  const DWORD previous = GetPrevMessageIndex(index);
  const DWORD next = GetNextMessageIndex(index);
  if (previous == kNoMessage) {
    Number("First Message Index", next == kNoMessage ? 1 : static_cast<LONG>(next));
  } else {
    TouchMessage(previous);
  }
  if (next == kNoMessage) {
    Number("Last Message Index", previous == kNoMessage ? 0 : static_cast<LONG>(previous));
  } else {
    TouchMessage(next);
  }
  if (!storage_.DeleteElement(MessageKey(index).Terminated())) return 0;
  RemoveMessageInfo(index);
  const auto count = static_cast<DWORD>(Number("Message Count"));
  // A count of 0 would become the largest of all and let every insertion trim.
  if (count != 0) Number("Message Count", static_cast<LONG>(count - 1));
  return 1;
}

DWORD TForum::GetNextMessageIndex(DWORD index) { return MessageIndex().Next(index); }

DWORD TForum::GetPrevMessageIndex(DWORD index) { return MessageIndex().Previous(index); }

int TForum::GetMessageTimes(DWORD index, TTime* modified, TTime* created, TTime* accessed) {
  return storage_.GetElementTimes(MessageKey(index).Terminated(), created, accessed, modified);
}

int TForum::OpenAnnouncement(TMail* message) {
  if (message == nullptr || !IsOpen()) return 0;
  if (message->Open(storage_, kAnnouncement, kReadWrite, kOpenExisting, kExclusive)) return 1;
  message->Close();
  // One that somebody has open cannot be opened either, and must not be replaced.
  if (brevant::IsOpenElsewhere(storage_.Interface(), kAnnouncement)) return 0;
  return message->Open(storage_, kAnnouncement, kReadWrite, kCreate, kExclusive);
}

int TForum::OpenSubForum(const char* name, TForum* forum) {
  if (forum == nullptr) return 0;
  return forum->Open(storage_, name, kReadWrite, kOpenExisting, kExclusive);
}

int TForum::InsertSubForum(const char* name, TForum& source) {
  if (name == nullptr) return 0;
  ForgetCopies();
  {
    TForum inserted;
    if (!inserted.Open(storage_, name, kReadWrite, kCreate, kExclusive)) return 0;
    if (!inserted.Copy(source)) return 0;
  }
  if (brevant::OpenOrCreateList(*this, "SUBFORUM LIST", kSubForumRecordSize)) {
    WriteListItem(name, "", 0);
    CloseList();
  }
  return 1;
}

int TForum::RemoveSubForum(const char* name) {
  if (!storage_.DeleteElement(name)) return 0;
  ForgetCopies();
  if (OpenList("SUBFORUM LIST", kSubForumRecordSize)) {
    RemoveListItem(name);
    CloseList();
  }
  return 1;
}
