#include "shared/mail_routes.h"

#include "shared/mailing_lists.h"
#include "shared/subject_tag.h"
#include "store/ascii.h"
#include "text/encoded_words.h"

namespace brevant {

namespace {

std::string Text(const char* text) { return text != nullptr ? text : ""; }

std::string LowerCase(std::string text) {
  for (char& c : text) c = ToLowerAscii(c);
  return text;
}

}  // namespace

TMailHeaders TMailHeaders::Of(const TPOP3& client) {
  return {Text(client.From()), Text(client.To()),      Text(client.ReplyTo()),
          Text(client.Cc()),   Text(client.Subject()), Text(client.MessageId()),
          Text(client.Bbs())};
}

TMailRoute TMailRoutes::Find(const TMailHeaders& headers, const std::string& boardName,
                             TBoardCache& cache) {
  // A relay may have encoded the board's name on the way; the board would mail itself in a circle.
  if (EqualsIgnoreCase(headers.bbs, boardName) ||
      EqualsIgnoreCase(DecodeEncodedWords(headers.bbs), boardName)) {
    return {TMailRoute::TKind::kOwn, {}, headers.bbs};
  }
  for (const std::string* header : {&headers.to, &headers.cc}) {
    if (const std::string* forum = ForumByTag(*header, boardName, cache)) {
      return {TMailRoute::TKind::kForum, *forum, *header};
    }
  }
  for (const std::string* header : {&headers.to, &headers.replyTo}) {
    if (const std::string* forum = ForumByMailingList(*header, cache)) {
      return {TMailRoute::TKind::kForum, *forum, *header};
    }
  }
  return {};
}

const std::string* TMailRoutes::ForumByTag(const std::string& header, const std::string& boardName,
                                           TBoardCache& cache) {
  const TSubjectTag tag = ParseSubjectTag(header);
  if (tag.count < 2 || !TagNamesBoard(tag.parts[0], boardName)) return nullptr;
  LoadForums(cache);
  const auto forum = forums_.find(LowerCase(TagPartText(tag.parts[1])));
  return forum == forums_.end() ? nullptr : &forum->second;
}

const std::string* TMailRoutes::ForumByMailingList(const std::string& header, TBoardCache& cache) {
  if (header.empty()) return nullptr;
  LoadMailingLists(cache);
  const auto forum = mailingLists_.find(LowerCase(header));
  return forum == mailingLists_.end() ? nullptr : &forum->second;
}

void TMailRoutes::LoadForums(TBoardCache& cache) {
  if (forumsLoaded_) return;
  forumsLoaded_ = true;
  for (const std::string& name : cache.Names(TBoardKind::kForum)) {
    forums_.emplace(LowerCase(name), name);
  }
}

void TMailRoutes::LoadMailingLists(TBoardCache& cache) {
  if (mailingListsLoaded_) return;
  mailingListsLoaded_ = true;
  for (const std::string& name : cache.Names(TBoardKind::kForum)) {
    const TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, name);
    if (!forum) continue;
    for (const TMailingListEntry& entry : MailingListEntries(*forum)) {
      mailingLists_.emplace(LowerCase(EntryAddress(entry)), name);
    }
  }
}

}  // namespace brevant
