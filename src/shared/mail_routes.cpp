#include "shared/mail_routes.h"

#include "shared/mailing_lists.h"
#include "shared/subject_tag.h"
#include "store/ascii.h"
#include "text/encoded_words.h"

namespace brevant {

namespace {

std::string Text(const char* text) { return text != nullptr ? text : ""; }

// The word that stands in for a list's name in the tag of vote forms.
bool IsSurveyTag(const std::string& header, const std::string& boardName) {
  const TSubjectTag tag = ParseSubjectTag(header);
  return tag.count >= 2 && TagNamesBoard(tag.parts[0], boardName) &&
         EqualsIgnoreCase(tag.parts[1], "Survey");
}

void AddNames(TBoardKind kind, TBoardCache& cache, auto& names) {
  for (const std::string& name : cache.Names(kind)) {
    names.emplace(LowerCased(name), std::pair(kind, name));
  }
}

}  // namespace

TMailHeaders TMailHeaders::Of(const TPOP3& client) {
  return {Text(client.From()), Text(client.To()),      Text(client.ReplyTo()),
          Text(client.Cc()),   Text(client.Subject()), Text(client.MessageId()),
          Text(client.Bbs())};
}

TMailRoute TMailRoutes::Find(const TMailHeaders& headers, const std::string& boardName,
                             bool decodeText, TBoardCache& cache) {
  // A relay may have encoded the board's name on the way; the board would mail itself in a circle.
  if (EqualsIgnoreCase(headers.bbs, boardName) ||
      EqualsIgnoreCase(DecodeEncodedWords(headers.bbs), boardName)) {
    return {TMailRoute::TKind::kOwn, {}, {}, headers.bbs};
  }
  TMailHeaders tags = headers;
  if (decodeText) {
    tags.to = DecodeHeader(headers.to);
    tags.cc = DecodeHeader(headers.cc);
  }
  TMailRoute route = ByTag(tags, boardName, TMailRoute::TKind::kForum, cache);
  if (route.kind != TMailRoute::TKind::kStray) return route;
  for (const std::string* header : {&headers.to, &headers.replyTo}) {
    if (const std::string* forum = ForumByMailingList(*header, cache)) {
      return {TMailRoute::TKind::kForum, TBoardKind::kForum, *forum, *header};
    }
  }
  route = ByTag(tags, boardName, TMailRoute::TKind::kLinkList, cache);
  if (route.kind != TMailRoute::TKind::kStray) return route;
  if (IsSurveyTag(tags.to, boardName)) {
    return {TMailRoute::TKind::kSurvey, TBoardKind::kQuestion, {}, tags.to};
  }
  return {};
}

// A forum or a list that "To" names, else "Cc"; a stray when neither does.
TMailRoute TMailRoutes::ByTag(const TMailHeaders& headers, const std::string& boardName,
                              TMailRoute::TKind kind, TBoardCache& cache) {
  for (const std::string* header : {&headers.to, &headers.cc}) {
    const TSubjectTag tag = ParseSubjectTag(*header);
    if (tag.count < 2 || !TagNamesBoard(tag.parts[0], boardName)) continue;
    const TNames& names = kind == TMailRoute::TKind::kForum ? Forums(cache) : Lists(cache);
    const auto found = names.find(LowerCased(TagPartText(tag.parts[1])));
    if (found != names.end()) return {kind, found->second.first, found->second.second, *header};
  }
  return {};
}

const std::string* TMailRoutes::ForumByMailingList(const std::string& header, TBoardCache& cache) {
  if (header.empty()) return nullptr;
  LoadMailingLists(cache);
  const auto forum = mailingLists_.find(LowerCased(header));
  return forum == mailingLists_.end() ? nullptr : &forum->second;
}

const TMailRoutes::TNames& TMailRoutes::Forums(TBoardCache& cache) {
  if (!std::exchange(forumsLoaded_, true)) AddNames(TBoardKind::kForum, cache, forums_);
  return forums_;
}

const TMailRoutes::TNames& TMailRoutes::Lists(TBoardCache& cache) {
  if (!std::exchange(listsLoaded_, true)) {
    // The first of two with one name stays.
    AddNames(TBoardKind::kLinkList, cache, lists_);
    AddNames(TBoardKind::kContributor, cache, lists_);
  }
  return lists_;
}

void TMailRoutes::LoadMailingLists(TBoardCache& cache) {
  if (mailingListsLoaded_) return;
  mailingListsLoaded_ = true;
  for (const std::string& name : cache.Names(TBoardKind::kForum)) {
    const TBoardCache::THandle forum = cache.Open(TBoardKind::kForum, name);
    if (!forum) continue;
    for (const TMailingListEntry& entry : MailingListEntries(*forum)) {
      mailingLists_.emplace(LowerCased(EntryAddress(entry)), name);
    }
  }
}

}  // namespace brevant
