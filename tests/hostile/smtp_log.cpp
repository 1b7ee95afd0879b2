#include "smtp_log.h"

#include <charconv>

namespace hostile {
namespace {

constexpr std::string_view kBegin = "mark-";

std::size_t Count(std::string_view text, std::string_view what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string_view::npos;
       at = text.find(what, at + 1)) {
    ++count;
  }
  return count;
}

}  // namespace

SeenMails LookForMails(const SessionLog& log) {
  SeenMails seen;
  for (const auto& conversation : log.Conversations()) {
    std::size_t offers = 0;
    std::set<unsigned> here;
    std::string sent;  // a reply may have come in two pieces
    for (const Event& event : conversation->events) {
      if (event.kind == Event::Kind::kSent) {
        sent += event.text;
        offers = Count(sent, "354");
        continue;
      }
      const std::size_t at = event.text.find(kBegin);
      if (at == std::string::npos) continue;
      unsigned number = 0;
      std::from_chars(event.text.data() + at + kBegin.size(), event.text.data() + event.text.size(),
                      number);
      here.insert(number);
      if (here.size() > offers)
        seen.problems.push_back("a line of a mail without a 354: " + test::Quote(event.text));
    }
    seen.numbers.insert(here.begin(), here.end());
  }
  return seen;
}

}  // namespace hostile
