#include "item_lines.h"

#include "text.h"

namespace host {

namespace {

std::string TimeText(const TTime& time) {
  if (time.IsZero()) return "-";
  char text[64];
  FormatTime(time, text, sizeof text,
             kFormatDate | kFormatTime | kFormatYear | kFormatMonthName | kFormat24Hour);
  return text;
}

std::string MessageDetails(const TMail& message) {
  return Printable(message.String("FROM")) + ", " + TimeText(message.Storage().CreationTime());
}

std::string LinkDetails(const TMail& link) {
  std::string details = Printable(link.String("Address"));
  if (const LONG size = link.Number("Size"); size > 0) {
    details += (details.empty() ? "" : ", ") + std::to_string(size) + " KB";
  }
  return details;
}

std::string AnswerDetails(const TMail& answer, TForum& question) {
  const LONG votes = answer.Number("Vote Count");
  const LONG total = question.Number("Total Vote Count");
  std::string details = std::to_string(votes) + (votes == 1 ? " vote" : " votes");
  if (total > 0) {
    const long long percent = (static_cast<long long>(votes) * 200 + total) / (2LL * total);
    details += ", " + std::to_string(percent) + "%";
  }
  return details;
}

std::string Details(const ContainerKind& kind, const TMail& item, TForum& container) {
  if (&kind == &kForums) return MessageDetails(item);
  if (&kind == &kQuestions) return AnswerDetails(item, container);
  return LinkDetails(item);
}

}  // namespace

std::vector<std::string> ItemLines(const ContainerKind& kind, TForum& container) {
  std::vector<std::string> lines;
  for (const ItemEntry& entry : ItemsOf(container)) {
    std::string line = std::to_string(entry.index) + "  " + Printable(entry.subject);
    if (entry.linkId != 0) line += "  (answers " + std::to_string(entry.linkId) + ")";
    if (ItemPointer item = OpenItem(kind, entry.index, container)) {
      const std::string details = Details(kind, *item, container);
      if (!details.empty()) line += "  - " + details;
    }
    lines.push_back(line);
  }
  return lines;
}

}  // namespace host
