/* A host in plain C: loads the library at run time, finds its functions by name, and runs one task.
 *
 *   host LIBRARY BOARD [TASK]     BOARD: a directory made by brevant-host init, full path;
 *                                 TASK: "HTML" unless named
 *
 * Windows: gcc -Iwindows host.c -o host.exe      POSIX: cc -Iposix host.c -o host -ldl */
#include "brevant_c.h"

#include <stdio.h>
#include <stdlib.h>

static void ShowStatus(const char* text) { printf("%s ...\n", text); }

static void ShowHistory(const char* text) { printf("%s\n", text); }

static void ShowProgress(int done, int total) {
  if (total > 0) printf("  %d of %d\n", done, total);
}

static ExampleFunction Find(ExampleLibrary library, const char* name) {
  ExampleFunction function = FindExampleFunction(library, name);
  if (function == NULL) {
    fprintf(stderr, "the library has no %s\n", name);
    exit(1);
  }
  return function;
}

static void* AsPointer(ExampleFunction function) {
  union {
    ExampleFunction function;
    void* pointer;
  } value;
  value.function = function;
  return value.pointer;
}

/* A board names its directories relative to itself; the library wants them whole. */
static void UseBoard(Setup* setup, const char* board) {
  static const char* const kKeys[] = {"Data Directory", "HTML Template Directory",
                                      "Local Directory"};
  char path[1024];
  for (size_t i = 0; i < sizeof kKeys / sizeof kKeys[0]; ++i) {
    snprintf(path, sizeof path, "%s/%s", board, setup->table->string(setup, kKeys[i]));
    setup->table->setString(setup, kKeys[i], path);
  }
}

int main(int count, char** arguments) {
  if (count < 3) {
    fprintf(stderr, "usage: host LIBRARY BOARD [TASK]\n");
    return 2;
  }
  const char* board = arguments[2];
  const char* name = count > 3 ? arguments[3] : "HTML";
  ExampleLibrary library = OpenExampleLibrary(arguments[1]);
  if (library == NULL) {
    fprintf(stderr, "cannot load %s\n", arguments[1]);
    return 1;
  }
  SetProgramDirectoryFunction setProgramDirectory =
      (SetProgramDirectoryFunction)Find(library, "_SetProgramDirectory");
  OpenSetupFunction openSetup = (OpenSetupFunction)Find(library, "_OpenSetup");
  OpenSetupFunction openState = (OpenSetupFunction)Find(library, "_OpenPersistentState");
  CloseSetupFunction closeSetup = (CloseSetupFunction)Find(library, "_CloseSetup");
  CloseSetupFunction closeState = (CloseSetupFunction)Find(library, "_ClosePersistentState");
  InitializeBrevantFunction initialize =
      (InitializeBrevantFunction)Find(library, "_InitializeBrevant");
  UninitializeBrevantFunction uninitialize =
      (UninitializeBrevantFunction)Find(library, "_UninitializeBrevant");
  SetVisualFunctionsFunction setVisualFunctions =
      (SetVisualFunctionsFunction)Find(library, "_SetVisualFunctions");
  CreateTaskFunction createTask = (CreateTaskFunction)Find(library, "_CreateTask");
  DestroyTaskFunction destroyTask = (DestroyTaskFunction)Find(library, "_DestroyTask");

  setProgramDirectory(board);
  Setup* setup = openSetup("brevant.ini");
  Setup* state = openState("state.ini");
  int done = 0;
  if (setup != NULL && state != NULL && initialize(setup, state)) {
    UseBoard(setup, board);
    setVisualFunctions("STATUS", AsPointer((ExampleFunction)&ShowStatus));
    setVisualFunctions("HISTORY", AsPointer((ExampleFunction)&ShowHistory));
    setVisualFunctions("PROGRESS", AsPointer((ExampleFunction)&ShowProgress));
    Task* task = createTask(name);
    if (task != NULL) done = task->table->execute(task);
    destroyTask(task);
    uninitialize();
  }
  closeState(state);
  closeSetup(setup);
  CloseExampleLibrary(library);
  printf("%s: %s\n", name, done ? "done" : "failed");
  return done ? 0 : 1;
}
