// A host in C++: loads the library at run time, finds its functions by name, and runs one task. The
// classes come from the library's headers; their operations are virtual, so nothing is linked.
//
//   host LIBRARY BOARD [TASK]     BOARD: a directory made by brevant-host init, full path;
//                                 TASK: "HTML" unless named
//
// Windows: g++ -std=c++20 -I../include -Iwindows host.cpp -o host.exe -static
// POSIX:   g++ -std=c++20 -I../include -Iposix host.cpp -o host -ldl
#include "library.h"

#include <brevant/brevant.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

class Library {
 public:
  explicit Library(const char* path) : library_(OpenExampleLibrary(path)) {
    if (library_ == nullptr) throw std::runtime_error(std::string("cannot load ") + path);
  }
  ~Library() { CloseExampleLibrary(library_); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // The type is that of the declaration in the headers; the exported name has an underscore.
  template <typename Function>
  Function* Find(const std::string& name) const {
    const ExampleFunction found = FindExampleFunction(library_, ("_" + name).c_str());
    if (found == nullptr) throw std::runtime_error("the library has no _" + name);
    return reinterpret_cast<Function*>(found);
  }

 private:
  ExampleLibrary library_;
};

#define EXAMPLE_FUNCTION(name) decltype(::name)* const name = library.Find<decltype(::name)>(#name)

void ShowStatus(const char* text) { std::printf("%s ...\n", text); }
void ShowHistory(const char* text) { std::printf("%s\n", text); }
void ShowProgress(int done, int total) {
  if (total > 0) std::printf("  %d of %d\n", done, total);
}

// A board names its directories relative to itself; the library wants them whole.
void UseBoard(TSetup& setup, const std::string& board) {
  for (const char* key : {"Data Directory", "HTML Template Directory", "Local Directory"}) {
    setup.SetString(key, (board + "/" + setup.String(key)).c_str());
  }
}

int RunTask(const Library& library, const std::string& board, const char* name) {
  EXAMPLE_FUNCTION(SetProgramDirectory);
  EXAMPLE_FUNCTION(OpenSetup);
  EXAMPLE_FUNCTION(CloseSetup);
  EXAMPLE_FUNCTION(OpenPersistentState);
  EXAMPLE_FUNCTION(ClosePersistentState);
  EXAMPLE_FUNCTION(InitializeBrevant);
  EXAMPLE_FUNCTION(UninitializeBrevant);
  EXAMPLE_FUNCTION(SetVisualFunctions);
  EXAMPLE_FUNCTION(CreateTask);
  EXAMPLE_FUNCTION(DestroyTask);

  SetProgramDirectory(board.c_str());
  const std::unique_ptr<TSetup, decltype(CloseSetup)> setup(OpenSetup("brevant.ini"), CloseSetup);
  const std::unique_ptr<TPersistentState, decltype(ClosePersistentState)> state(
      OpenPersistentState("state.ini"), ClosePersistentState);
  if (!setup || !state || InitializeBrevant(setup.get(), state.get()) == 0) return 0;
  UseBoard(*setup, board);
  SetVisualFunctions("STATUS", reinterpret_cast<void*>(&ShowStatus));
  SetVisualFunctions("HISTORY", reinterpret_cast<void*>(&ShowHistory));
  SetVisualFunctions("PROGRESS", reinterpret_cast<void*>(&ShowProgress));
  TTask* task = CreateTask(name);
  const int done = task != nullptr ? task->Execute() : 0;
  DestroyTask(task);
  UninitializeBrevant();
  return done;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3) {
    std::fputs("usage: host LIBRARY BOARD [TASK]\n", stderr);
    return 2;
  }
  const char* name = count > 3 ? arguments[3] : "HTML";
  try {
    const Library library(arguments[1]);
    const int done = RunTask(library, arguments[2], name);
    std::printf("%s: %s\n", name, done != 0 ? "done" : "failed");
    return done != 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
