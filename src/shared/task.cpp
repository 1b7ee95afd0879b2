// The base of the tasks.
#include "platform/win32.h"

#include <brevant/frame.h>

TTask::TTask(TSetup* setup, TPersistentState* state) : setup_(setup), state_(state) {}

void TTask::Abort() { continue_ = 0; }

TTask::~TTask() = default;
