#include "frame/task_factory.h"

#include "frame/library.h"
#include "platform/win32.h"
#include "store/ascii.h"

#include <algorithm>
#include <exception>

namespace {

TTask* MakeTask(const char* name) {
  try {
    const std::span<const brevant::TTaskEntry> table = brevant::TaskTable();
    const auto entry = std::find_if(table.begin(), table.end(), [&](const auto& candidate) {
      return brevant::EqualsIgnoreCase(candidate.name, name);
    });
    if (entry == table.end()) return nullptr;
    return entry->make(brevant::ProcessSetup(), brevant::ProcessState());
  } catch (const std::exception&) {
    return nullptr;
  }
}

}  // namespace

TTask* CreateTask(const char* name) {
  if (name == nullptr) return nullptr;
  TTask* task = MakeTask(name);
  if (TPersistentState* state = brevant::ProcessState(); state != nullptr) {
    state->String("Last task created", name);
  }
  return task;
}

void DestroyTask(TTask* task) { delete task; }
