// Page fields that write addresses to post and to reply to.
#include "text/board_text.h"
#include "text/page_field_functions.h"
#include "text/posting_address.h"
#include "text/safe_value.h"

#include <string>

namespace brevant {
namespace {

constexpr std::string_view kReplyMark = "Re:";

int WritePostingAddress(const TFieldCall& call, std::string_view container) {
  const std::string tag = SubjectTag(SettingText(call.site, "BBS Short Name"), container);
  return call.Write(PostingAddress(tag, SettingText(call.site, "E-Mail Address")));
}

// "?Subject=" with mark in front of a subject that is not a reply's yet.
std::string SubjectQuery(const TFieldCall& call, const TMail& item, std::string_view mark) {
  std::string subject = ItemText(call.site, item, "Subject");
  std::string query = "?Subject=";
  if (subject.compare(0, kReplyMark.size(), kReplyMark) != 0) query.append(mark);
  // Nobody's subject adds recipients to the answer.
  if (call.site.ShowsSafeHtml()) KeepInQuery(subject);
  return query.append(subject);
}

}  // namespace

int ExpandContainerPost(const TFieldCall& call) {
  TFieldError error;
  const TForum* container = call.Container(&error);
  if (container == nullptr) return call.Fail(error);
  return WritePostingAddress(call, ContainerText(call.site, *container, "Name"));
}

int ExpandBoardPost(const TFieldCall& call) { return WritePostingAddress(call, call.row.key); }

int ExpandReplyToBoard(const TFieldCall& call) {
  TFieldError error;
  const TForum* container = call.Container(&error);
  const TMail* item = container == nullptr ? nullptr : call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  const std::string shortName = SettingText(call.site, "BBS Short Name");
  const std::string forum = ContainerText(call.site, *container, "Name");
  const std::string tag = SubjectTag(shortName, forum, item->String("Name"));
  std::string link = PostingAddress(tag, SettingText(call.site, "E-Mail Address"));
  // No blank behind the mark here, one in the author's address: both are what readers' mail
  // programs have always been given.
  link += SubjectQuery(call, *item, "Re:");
  return call.WriteVisitors(std::move(link));
}

int ExpandReplyToAuthor(const TFieldCall& call) {
  TFieldError error;
  const TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  std::string author = ItemText(call.site, *item, "FROM");
  // Nor does anybody's address.
  if (call.site.ShowsSafeHtml()) std::erase(author, '?');
  std::string link = "mailto:" + author;
  link += SubjectQuery(call, *item, "Re: ");
  return call.WriteVisitors(std::move(link));
}

}  // namespace brevant
