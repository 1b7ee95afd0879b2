#include "shared/delivery_plan.h"

#include "shared/site_paths.h"
#include "store/ascii.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string_view>
#include <unordered_set>

namespace brevant {

bool TDeliveryPlan::Any() const {
  return !fresh.empty() || !changed.empty() || !removed.empty() || !respelled.empty() ||
         freshFolder || !goneFolders.empty();
}

TDeliveryPlan PlanDelivery(const TLocalFolder& local, const TRemoteDirectoryRecord& record) {
  TDeliveryPlan plan;
  std::unordered_set<std::string_view> present(local.kept.begin(), local.kept.end());
  std::unordered_set<std::string> freshInLowerCase;
  for (const TLocalFile& file : local.files) {
    if (!present.insert(file.record.name).second) continue;
    const TRemoteFileRecord* known = record.Find(file.record.name);
    if (known == nullptr) {
      plan.fresh.push_back(&file);
      freshInLowerCase.insert(LowerCased(file.record.name));
    } else if (known->size != file.record.size || known->checksum != file.record.checksum) {
      plan.changed.push_back(&file);
    }
  }
  for (const TRemoteFileRecord& known : record.Files()) {
    if (present.contains(known.name)) continue;
    const bool respelled = freshInLowerCase.contains(LowerCased(known.name));
    (respelled ? plan.respelled : plan.removed).push_back(known.name);
  }
  return plan;
}

void PlanFolders(const TLocalFolder& local, const TRemoteFAT& table, const std::string& key,
                 TDeliveryPlan* plan) {
  const std::set<std::string> known = table.NamesBelow(key, SeparatorOf(key));
  std::unordered_set<std::string_view> present(local.kept.begin(), local.kept.end());
  for (const std::string& name : local.folders) {
    present.insert(name);
    if (!known.contains(name) && CanBeSent(name)) plan->freshFolder = true;
  }
  std::copy_if(known.begin(), known.end(), std::back_inserter(plan->goneFolders),
               [&](const std::string& name) { return !present.contains(name); });
}

std::string TopKey(const std::string& account, const std::string& directory) {
  if (!directory.empty() && IsSeparator(directory.front())) return directory;
  return "~" + account + SeparatorOf(directory) + directory;
}

char SeparatorOf(const std::string& key) { return key.find('/') != std::string::npos ? '/' : '\\'; }

bool CanBeSent(const std::string& name) {
  return name.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

}  // namespace brevant
