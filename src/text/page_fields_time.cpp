// Page fields that write dates and times.
#include "store/ascii.h"
#include "text/charset.h"
#include "text/field_words.h"
#include "text/filters.h"
#include "text/page_field_functions.h"

#include <string>

namespace brevant {
namespace {

constexpr int kTimeTextBytes = 64;
constexpr int kNewForDays = 3;

// Times are written as they are stored, never converted.
int WriteTime(const TFieldCall& call, const TTime& time) {
  const unsigned format =
      call.HasArgument(0) ? TimeFormatOf(call.Argument(0), call.row.flags) : call.row.flags;
  char text[kTimeTextBytes];
  FormatTime(time, text, kTimeTextBytes, format);
  if (!call.site.DecodesText()) {
    call.page.Feed(text);
    return 1;
  }
  // The system gives the name of its zone in a character set of its own.
  std::string decoded = DecodeText(text, TCharset::kUnknown);
  ReferUtf8(decoded);
  call.page.Feed(decoded);
  return 1;
}

}  // namespace

int ExpandCurrentTime(const TFieldCall& call) {
  call.site.NotePageShowsTime();
  return WriteTime(call, TTime::Now());
}

int ExpandItemCreated(const TFieldCall& call) {
  TFieldError error;
  const TMail* item = call.Item(&error);
  return item == nullptr ? call.Fail(error) : WriteTime(call, item->Storage().CreationTime());
}

int ExpandItemModified(const TFieldCall& call) {
  TFieldError error;
  const TMail* item = call.Item(&error);
  return item == nullptr ? call.Fail(error) : WriteTime(call, item->Storage().ModificationTime());
}

int ExpandIsNew(const TFieldCall& call) {
  call.site.NotePageShowsTime();
  TFieldError error;
  const TMail* item = call.Item(&error);
  if (item == nullptr) return call.Fail(error);
  const std::int64_t days =
      call.Argument(0).empty() ? kNewForDays : LeadingNumber(call.Argument(0));
  const TTime created = item->Storage().CreationTime();
  const TTime today = TTime::Now();
  // The days never reach back into the month before; readers know the mark to go at its end.
  if (created.Year() == today.Year() && created.Month() == today.Month() &&
      created.Day() >= today.Day() - days) {
    call.page.Feed(call.HasArgument(1) ? call.Argument(1) : "new");
  }
  return 1;
}

}  // namespace brevant
