// Where a mail belongs, decided from its headers alone.
#pragma once

#include "shared/board_cache.h"

#include <brevant/net.h>

#include <string>
#include <unordered_map>

namespace brevant {

// The headers that decide; an empty text where the mail has none.
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
  };
  TKind kind = TKind::kStray;
  std::string forum;
  // The header text that matched.
  std::string header;
};

// Names and mailing lists are read at most once, at the first mail that needs them; what a mail
// changes later in the run does not count any more.
class TMailRoutes {
 public:
  // The first rule that matches: own mail, forum by tag ("To", then "Cc"), forum by mailing list
  // ("To", then "Reply-to").
  TMailRoute Find(const TMailHeaders& headers, const std::string& boardName, TBoardCache& cache);

 private:
  const std::string* ForumByTag(const std::string& header, const std::string& boardName,
                                TBoardCache& cache);
  const std::string* ForumByMailingList(const std::string& header, TBoardCache& cache);
  void LoadForums(TBoardCache& cache);
  void LoadMailingLists(TBoardCache& cache);

  bool forumsLoaded_ = false;
  bool mailingListsLoaded_ = false;
  // By the name, or the entry's address, in lower case.
  std::unordered_map<std::string, std::string> forums_;
  std::unordered_map<std::string, std::string> mailingLists_;
};

}  // namespace brevant
