// Page fields that write one value of a container or an item, and the thread indentation.
#include "store/ascii.h"
#include "text/board_text.h"
#include "text/field_words.h"
#include "text/page_field_functions.h"
#include "text/safe_link.h"

#include <string>

namespace brevant {
namespace {

int WriteItemValue(const TFieldCall& call, const char* key) {
  TFieldError error;
  const TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  std::string value = ItemText(call.site, *item, key);
  const bool isHidden =
      call.site.ShowsSafeHtml() && EqualsIgnoreCase(key, "Address") && !IsSafeAddress(value);
  return isHidden ? 1 : call.WriteVisitors(std::move(value), call.row.flags != 0);
}

}  // namespace

int ExpandContainerValue(const TFieldCall& call) {
  TFieldError error;
  const TForum* container = call.Container(&error);
  if (container == nullptr) return call.Fail(error);
  return call.Write(ContainerText(call.site, *container, call.row.key), call.row.flags != 0);
}

int ExpandItemValue(const TFieldCall& call) { return WriteItemValue(call, call.row.key); }

int ExpandOtherItemValue(const TFieldCall& call) {
  if (!call.HasArgument(0)) return 1;
  return WriteItemValue(call, std::string(call.Argument(0)).c_str());
}

int ExpandContainerCount(const TFieldCall& call) {
  TFieldError error;
  const TForum* container = call.Container(&error);
  if (container == nullptr) return call.Fail(error);
  call.page.Feed(std::to_string(container->Number("Message Count")));
  return 1;
}

int ExpandIndentation(const TFieldCall& call) {
  const TItemList& items = call.site.Items(call.row.kind);
  const int position = call.site.CurrentItem(call.row.kind);
  const int depth = position < 0 || position >= items.Count()         ? 0
                    : HasOptionWord(call.Argument(0), "indent_reply") ? items.ReplyDepth(position)
                                                                      : items.ThreadLevel(position);
  const std::string_view level =
      call.HasArgument(2) ? call.Argument(2) : std::string_view(call.row.key);
  call.page.Feed(call.Argument(1));
  for (int i = 0; i < depth; ++i) call.page.Feed(level);
  call.page.Feed(call.Argument(3));
  return 1;
}

}  // namespace brevant
