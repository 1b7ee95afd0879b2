// The HTML task: makes the site's pages from the templates when anything that they show changed.
#pragma once

#include <brevant/frame.h>

#include <string>

class THtmlTask : public TTask {
 public:
  THtmlTask(TSetup* setup, TPersistentState* state);

  // One run: 1 when there was nothing to do or all was done; 0 when it was aborted, a page could
  // not be saved or a data file could not be opened. Only a run that gives 1 stores its time, so
  // that the next one tries again.
  int Execute() override;

 private:
  int ExecuteRun();
  bool IsDue() const;
  // Leaves the line of the call in the persistent state.
  void TraceHere(int line = __builtin_LINE());
};
