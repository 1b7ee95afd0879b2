// Page fields that write addresses to post and to reply to.
#include "text/page_field_functions.h"
#include "text/posting_address.h"

#include <string>

namespace brevant {
namespace {

constexpr std::string_view kReplyMark = "Re:";

int WritePostingAddress(const TFieldCall& call, std::string_view container) {
  const std::string tag = SubjectTag(call.site.Setup().String("BBS Short Name"), container);
  WriteFiltered(call.page, PostingAddress(tag, call.site.Setup().String("E-Mail Address")));
  return 1;
}

// "?Subject=" with mark in front of a subject that is not a reply's yet.
std::string SubjectQuery(const std::string& subject, std::string_view mark) {
  std::string query = "?Subject=";
  if (subject.compare(0, kReplyMark.size(), kReplyMark) != 0) query.append(mark);
  return query.append(subject);
}

}  // namespace

int ExpandContainerPost(const TFieldCall& call) {
  TFieldError error;
  const TForum* container = call.site.Container(&error);
  if (container == nullptr) return call.Fail(error);
  const std::string name = container->String("Name");
  return WritePostingAddress(call, name);
}

int ExpandBoardPost(const TFieldCall& call) { return WritePostingAddress(call, call.row.key); }

int ExpandReplyToBoard(const TFieldCall& call) {
  TFieldError error;
  const TForum* container = call.site.Container(&error);
  const TMail* item = container == nullptr ? nullptr : call.site.Item(&error);
  if (item == nullptr) return call.Fail(error);
  const std::string shortName = call.site.Setup().String("BBS Short Name");
  const std::string forum = container->String("Name");
  const std::string tag = SubjectTag(shortName, forum, item->String("Name"));
  std::string link = PostingAddress(tag, call.site.Setup().String("E-Mail Address"));
  // No blank behind the mark here, one in the author's address: both are what readers' mail
  // programs have always been given.
  link += SubjectQuery(item->String("Subject"), "Re:");
  WriteFiltered(call.page, std::move(link));
  return 1;
}

int ExpandReplyToAuthor(const TFieldCall& call) {
  TFieldError error;
  const TMail* item = call.site.Item(&error);
  if (item == nullptr) return call.Fail(error);
  std::string link = "mailto:";
  link += item->String("FROM");
  link += SubjectQuery(item->String("Subject"), "Re: ");
  WriteFiltered(call.page, std::move(link));
  return 1;
}

}  // namespace brevant
