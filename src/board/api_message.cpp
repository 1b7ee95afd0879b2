// The exported functions over a forum's messages.
#include "board/board_files.h"
#include "board/message_searcher.h"
#include "platform/win32.h"
#include "store/guard.h"

#include <brevant/board.h>

namespace {

TMessageSearchResult Result(const TMessageSearcher* searcher) {
  if (searcher == nullptr || !searcher->Found()) return {nullptr, 0, 0};
  return {searcher->Subject(), searcher->Index(), searcher->LinkId()};
}

}  // namespace

TMail* OpenMessage(DWORD index, TForum* forum) { return brevant::OpenItem(index, forum); }

DWORD InsertMessage(TMail* message, TForum* forum) {
  if (message == nullptr || forum == nullptr) return 0;
  return forum->InsertMessage(*message);
}

int RenameMessage(TMail* message, TForum* forum, const char* subject) {
  if (message == nullptr || forum == nullptr || subject == nullptr) return 0;
  const DWORD index = brevant::ItemIndex(*message);
  if (index == 0) return 0;
  const auto linkId = static_cast<DWORD>(message->Number("LINK ID"));
  if (!forum->WriteMessageInfo(index, linkId, subject)) return 0;
  return message->String("SUBJECT", subject) == 1 ? 1 : 0;
}

int RelinkMessage(TMail* message, TForum* forum, DWORD linkId) {
  if (message == nullptr || forum == nullptr) return 0;
  const DWORD index = brevant::ItemIndex(*message);
  if (index == 0 || !message->CanTell("SUBJECT")) return 0;
  if (!forum->ChangeMessageInfo(index, linkId, message->String("SUBJECT"))) return 0;
  return message->Number("LINK ID", static_cast<LONG>(linkId)) == 1 ? 1 : 0;
}

void CloseMessage(TMail* message) { brevant::Destroy(message); }

int RemoveMessage(DWORD index, TForum* forum) {
  return forum == nullptr ? 0 : forum->RemoveMessage(index);
}

TMail* OpenAnnouncement(TForum* forum) {
  if (forum == nullptr) return nullptr;
  return brevant::Guarded<TMail*>(nullptr, [&]() -> TMail* {
    auto message = std::make_unique<TMail>();
    return forum->OpenAnnouncement(message.get()) ? message.release() : nullptr;
  });
}

TMessageSearcher* StartMessageSearch(TForum* forum) {
  if (forum == nullptr) return nullptr;
  return brevant::Guarded<TMessageSearcher*>(
      nullptr, [&] { return std::make_unique<TMessageSearcher>(*forum).release(); });
}

TMessageSearchResult FindFirstMessage(TMessageSearcher* searcher) {
  if (searcher != nullptr) searcher->First();
  return Result(searcher);
}

TMessageSearchResult FindNextMessage(TMessageSearcher* searcher) {
  if (searcher != nullptr) searcher->Next();
  return Result(searcher);
}

void EndMessageSearch(TMessageSearcher* searcher) { brevant::Destroy(searcher); }
