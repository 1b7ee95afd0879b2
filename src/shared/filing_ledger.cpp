#include "shared/filing_ledger.h"

#include "platform/win32.h"

#include <algorithm>
#include <iterator>

namespace brevant {

void TFilingLedger::Filed(TBoardKind kind, const std::string& name, LONG number,
                          std::vector<std::string> attachments) {
  uncommitted_[{kind, name}].push_back({number, std::move(attachments)});
}

void TFilingLedger::Committed(TBoardKind kind, const std::string& name) {
  uncommitted_.erase({kind, name});
}

void TFilingLedger::Lost(TBoardKind kind, const std::string& name) {
  anyLost_ = true;
  const auto filed = uncommitted_.extract({kind, name});
  if (filed.empty()) return;
  for (const TFiled& message : filed.mapped()) {
    staying_.insert(message.number);
    for (const std::string& path : message.attachments) DeleteFileA(path.c_str());
  }
}

std::vector<LONG> TFilingLedger::SafeDeletions() const {
  std::vector<LONG> safe;
  std::copy_if(deleted_.begin(), deleted_.end(), std::back_inserter(safe),
               [this](LONG number) { return !MustStay(number); });
  return safe;
}

}  // namespace brevant
