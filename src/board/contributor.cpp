// Insertion into the containers whose items are told apart by their subjects.
#include "board/list_index.h"
#include "platform/win32.h"
#include "store/elements.h"
#include "store/guard.h"

#include <brevant/contributor.h>

using brevant::Guarded;
using brevant::kNoMessage;
using brevant::MessageKey;

namespace {

// Making an element anew empties it: not under somebody who has it open, be it as the item at hand,
// and not for an item that has nothing to copy.
bool MayReplace(TContributor& list, DWORD index, const TMail& item) {
  return item.IsOpen() &&
         !brevant::IsOpenElsewhere(list.Storage().Interface(), MessageKey(index).Terminated());
}

}  // namespace

TContributor::TContributor() = default;

TContributor::~TContributor() = default;

const char* TContributor::Extension() const { return ".mwe"; }

DWORD TContributor::FindMessage(const char* subject) {
  if (subject == nullptr) return kNoMessage;
  const brevant::TListIndex& list = MessageIndex();
  const auto position = list.FindSubject(subject);
  return position ? list.At(*position).index : kNoMessage;
}

DWORD TContributor::InsertMessage(TMail& item) {
  return Guarded(DWORD{0}, [&]() -> DWORD {
    // A list that cannot be searched now must not get its items twice.
    if (LoadedIndex() == nullptr || !KnowsProperties() || !item.CanTell("SUBJECT")) return 0;
    const DWORD fresh = static_cast<DWORD>(Number("Last Message Index")) + 1;
    const DWORD found = FindMessage(item.String("SUBJECT"));
    const DWORD index = found == kNoMessage ? fresh : found;
    if (found != kNoMessage && !MayReplace(*this, index, item)) return 0;
    if (!PlaceMessage(index, item)) return 0;
    const DWORD next = GetNextMessageIndex(index);
    const DWORD previous = GetPrevMessageIndex(index);
    if (next != kNoMessage) TouchMessage(next);
    if (previous != kNoMessage) TouchMessage(previous);
    if (index != fresh) return index;
    const DWORD count = static_cast<DWORD>(Number("Message Count")) + 1;
    const bool stored = Number("Last Message Index", static_cast<LONG>(index)) == 1 &&
                        Number("Message Count", static_cast<LONG>(count)) == 1;
    return stored ? index : 0;
  });
}
