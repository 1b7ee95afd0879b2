// One maker for each task, so that the table of tasks needs no task's own header.
#pragma once

#include <brevant/frame.h>

namespace brevant {

// Each gives null when memory runs out. setup and state are borrowed; state may be null.
TTask* MakeMailRetrievalTask(TSetup* setup, TPersistentState* state);
TTask* MakeMailDispatchTask(TSetup* setup, TPersistentState* state);
TTask* MakeHtmlTask(TSetup* setup, TPersistentState* state);
TTask* MakeFileManagementTask(TSetup* setup, TPersistentState* state);
TTask* MakeFileDeliveryTask(TSetup* setup, TPersistentState* state);

}  // namespace brevant
