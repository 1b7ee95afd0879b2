// Where a mail belongs, decided from its headers alone.
#pragma once

#include "shared/board_cache.h"

#include <brevant/net.h>

#include <string>
#include <unordered_map>
#include <utility>

namespace brevant {

// The headers that decide, as they came; an empty text where the mail has none.
struct TMailHeaders {
  std::string from;
  std::string to;
  std::string replyTo;
  std::string cc;
  std::string subject;
  std::string messageId;
  std::string bbs;

  static TMailHeaders Of(const TPOP3& client);
};

struct TMailRoute {
  enum class TKind {
    kStray,  // nothing of the board: stays in the mailbox
    kOwn,    // a copy of what the board itself sent
    kForum,
    kLinkList,  // or a resource list
    kSurvey,
  };
  TKind kind = TKind::kStray;
  // Which board file, for a forum or a list.
  TBoardKind board = TBoardKind::kForum;
  std::string name;
  // The header text that matched.
  std::string header;
};

// Names and mailing lists are read at most once, at the first mail that needs them; what a mail
// changes later in the run does not count any more.
class TMailRoutes {
 public:
  // The first rule that matches: own mail, forum by tag ("To", then "Cc"), forum by mailing list
  // ("To", then "Reply-to"), list by tag ("To", then "Cc"), survey by the tag in "To". With
  // decodeText tags are looked for in the decoded headers. Of a link list and a resource list with
  // one name the link list is meant.
  TMailRoute Find(const TMailHeaders& headers, const std::string& boardName, bool decodeText,
                  TBoardCache& cache);

 private:
  // Names of one group of board files, by their lower case.
  using TNames = std::unordered_map<std::string, std::pair<TBoardKind, std::string>>;

  TMailRoute ByTag(const TMailHeaders& headers, const std::string& boardName,
                   TMailRoute::TKind kind, TBoardCache& cache);
  const std::string* ForumByMailingList(const std::string& header, TBoardCache& cache);
  const TNames& Forums(TBoardCache& cache);
  const TNames& Lists(TBoardCache& cache);
  void LoadMailingLists(TBoardCache& cache);

  bool forumsLoaded_ = false;
  bool listsLoaded_ = false;
  bool mailingListsLoaded_ = false;
  TNames forums_;
  TNames lists_;
  // By the entry's address in lower case.
  std::unordered_map<std::string, std::string> mailingLists_;
};

}  // namespace brevant
