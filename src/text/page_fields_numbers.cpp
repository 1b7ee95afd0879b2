// Page fields that write numbers.
#include "text/field_numbers.h"
#include "text/field_words.h"
#include "text/page_field_functions.h"

#include <string>

namespace brevant {
namespace {

constexpr LONG kSecondsPerMinute = 60;

}  // namespace

int ExpandContainerNumber(const TFieldCall& call) {
  TFieldError error;
  const TForum* container = call.Container(&error);
  if (container == nullptr) return call.Fail(error);
  call.page.Feed(NumberText(container->Number(call.row.key), call.Argument(0)));
  return 1;
}

int ExpandItemNumber(const TFieldCall& call) {
  TFieldError error;
  const TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  call.page.Feed(NumberText(item->Number(call.row.key), call.Argument(0)));
  return 1;
}

int ExpandDownloadEstimate(const TFieldCall& call) {
  TFieldError error;
  const TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  const LONG seconds = DownloadSeconds(item->Number(call.row.key), call.Argument(0));
  if (HasOptionWord(call.Argument(1), "Second")) {
    call.page.Feed(std::to_string(seconds));
  } else if (seconds >= kSecondsPerMinute) {
    call.page.Feed(std::to_string(seconds / kSecondsPerMinute));
  } else {
    call.page.Feed("&lt;1");
  }
  return 1;
}

int ExpandPercentage(const TFieldCall& call) {
  TFieldError error;
  const TForum* question = call.Container(&error);
  const TMail* answer = question == nullptr ? nullptr : call.Item(&error);
  if (!error.empty()) return call.Fail(error);
  const double share = answer == nullptr ? 0
                                         : Percentage(answer->Number("Vote Count"),
                                                      question->Number("Total Vote Count"));
  call.page.Feed(PercentageText(call.row.flags != 0 ? 100 - share : share, call.Argument(0)));
  return 1;
}

int ExpandColor(const TFieldCall& call) {
  TFieldError error;
  const TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  call.page.Feed(ColorText(item->Number(call.row.key)));
  return 1;
}

}  // namespace brevant
