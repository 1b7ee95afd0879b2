// A forum's message list: the stream, and the index that stands beside it.
#include "board/list_index.h"
#include "platform/win32.h"
#include "store/guard.h"
#include "store/records.h"

#include <brevant/board.h>

#include <array>
#include <span>
#include <string>

using brevant::Guarded;
using brevant::kMessageRecordSize;
using brevant::MessageKey;

namespace {

using RecordBytes = std::array<char, kMessageRecordSize>;

std::string_view TextOrEmpty(const char* text) { return text == nullptr ? "" : text; }

// Matches every record of a message, whatever its link number.
std::string AnyLinkPattern(DWORD index) { return std::string(MessageKey(index).Text()) + ":*"; }

}  // namespace

const brevant::TListIndex& TForum::MessageIndex() {
  static const brevant::TListIndex empty;
  const brevant::TListIndex* index =
      Guarded<const brevant::TListIndex*>(nullptr, [&] { return LoadedIndex(); });
  return index == nullptr ? empty : *index;
}

brevant::TListIndex* TForum::LoadedIndex() {
  if (index_ == nullptr && messageList_.IsOpen()) {
    // Walks with the list's own position go on where they were.
    const DWORD position = messageList_.Position();
    auto index = std::make_unique<brevant::TListIndex>();
    const bool loaded = index->Load(messageList_);
    messageList_.Seek(static_cast<LONG>(position), STREAM_SEEK_SET);
    if (loaded) index_ = std::move(index);
  }
  return index_.get();
}

// The stream has changed already: an index that cannot follow (memory has run out) goes.
template <typename Change>
void TForum::FollowWrite(Change&& change) {
  const bool followed = Guarded(false, [&] {
    change(*index_);
    return true;
  });
  if (!followed) index_.reset();
}

int TForum::StartMessageSearch() { return messageList_.Seek(0, STREAM_SEEK_SET) == 0 ? 1 : 0; }

int TForum::ReadNextMessageInfo(DWORD* index, DWORD* linkId, char* subject, int subjectSize) {
  std::array<char, 65> key;
  const int found = ReadNextListItem(messageList_, key.data(), static_cast<int>(key.size()),
                                     subject, subjectSize, kMessageRecordSize);
  if (found == 0) {
    if (index != nullptr) *index = 0;
    return 0;
  }
  const brevant::MessageEntry numbers = brevant::ParseMessageKey(key.data());
  if (index != nullptr) *index = numbers.index;
  if (linkId != nullptr) *linkId = numbers.linkId;
  return 1;
}

int TForum::EndMessageSearch() { return 1; }

// Whether the list is known to hold no record of this message although only its last one was read:
// it has as many as the forum has messages, and ends with the newest of them. So an insertion into
// a forum that was just opened costs the same however long its list is.
bool TForum::IsBehindList(DWORD index) {
  const DWORD size = messageList_.Size();
  const DWORD records = size / kMessageRecordSize;
  if (!messageList_.IsOpen() || size % kMessageRecordSize != 0 ||
      records != static_cast<DWORD>(Number("Message Count"))) {
    return false;
  }
  if (records == 0) return true;
  RecordBytes bytes;
  messageList_.Seek(static_cast<LONG>(size - kMessageRecordSize), STREAM_SEEK_SET);
  if (messageList_.Read(bytes.data(), kMessageRecordSize) != kMessageRecordSize) return false;
  const std::string_view key = brevant::DecodeRecord({bytes.data(), bytes.size()}).key;
  const brevant::MessageEntry newest = brevant::ParseMessageKey(key);
  return key == MessageKey(newest.index, newest.linkId).Text() && newest.index < index &&
         newest.index == static_cast<DWORD>(Number("Last Message Index"));
}

int TForum::WriteMessageInfo(DWORD index, DWORD linkId, const char* subject) {
  return Guarded(0, [&] {
    if (index_ == nullptr && IsBehindList(index)) {
      return PutMessageRecord(std::nullopt, index, linkId, subject);
    }
    const brevant::TListIndex* list = LoadedIndex();
    if (list != nullptr && list->Regular()) {
      return PutMessageRecord(list->Find(index, linkId), index, linkId, subject);
    }
    const MessageKey key(index, linkId);
    return WriteListItem(messageList_, key.Terminated(), subject, -1, kMessageRecordSize);
  });
}

int TForum::ChangeMessageInfo(DWORD index, DWORD linkId, const char* subject) {
  return Guarded(0, [&] {
    const brevant::TListIndex* list = LoadedIndex();
    if (list != nullptr && list->Regular()) {
      return PutMessageRecord(list->Find(index), index, linkId, subject);
    }
    const MessageKey key(index, linkId);
    return ChangeListItem(messageList_, AnyLinkPattern(index).c_str(), key.Terminated(), subject,
                          -1, kMessageRecordSize);
  });
}

int TForum::PutMessageRecord(std::optional<std::size_t> position, DWORD index, DWORD linkId,
                             const char* subject) {
  RecordBytes bytes;
  brevant::EncodeRecord(bytes, MessageKey(index, linkId).Text(), TextOrEmpty(subject));
  // Without an index only an appended record gets here, and the list holds whole records only.
  const std::size_t slot =
      position.value_or(index_ ? index_->Size() : messageList_.Size() / kMessageRecordSize);
  messageList_.Seek(static_cast<LONG>(slot * kMessageRecordSize), STREAM_SEEK_SET);
  if (messageList_.Write(bytes.data(), kMessageRecordSize) != kMessageRecordSize) {
    index_.reset();
    return 0;
  }
  if (index_ == nullptr) return 1;
  const brevant::Record record = brevant::DecodeRecord({bytes.data(), bytes.size()});
  const brevant::MessageEntry numbers{index, linkId};
  FollowWrite([&](brevant::TListIndex& list) {
    if (position) {
      list.Replace(*position, numbers, record.value);
    } else {
      list.Append(numbers, record.value);
    }
  });
  return 1;
}

int TForum::RemoveMessageInfo(DWORD index) {
  return Guarded(0, [&] {
    brevant::TListIndex* list = LoadedIndex();
    if (list == nullptr || !list->Regular()) {
      return RemoveListItem(messageList_, AnyLinkPattern(index).c_str(), kMessageRecordSize);
    }
    const auto position = list->Find(index);
    if (!position) return 0;
    const auto slot = static_cast<DWORD>(*position);
    if (brevant::RemoveRecordAt(messageList_, slot, kMessageRecordSize) == 0) {
      index_.reset();
      return 0;
    }
    FollowWrite([&](brevant::TListIndex& written) { written.Remove(*position); });
    return 1;
  });
}
