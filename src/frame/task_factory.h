// The tasks that CreateTask knows. The frame lies below the tasks, so the table is supplied from
// above.
#pragma once

#include <brevant/frame.h>

#include <span>

namespace brevant {

struct TTaskEntry {
  const char* name;
  TTask* (*make)(TSetup* setup, TPersistentState* state);
};

// In the order in which names are compared. Defined where the tasks are.
std::span<const TTaskEntry> TaskTable();

}  // namespace brevant
