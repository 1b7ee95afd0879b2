/* Loading a library at run time, as POSIX systems do it. C and C++. */
#ifndef EXAMPLE_LIBRARY_H
#define EXAMPLE_LIBRARY_H

#include <dlfcn.h>

typedef void* ExampleLibrary;
typedef void (*ExampleFunction)(void);

/* How the library's classes call their operations: like any function. */
#define EXAMPLE_MEMBER_CALL

static inline ExampleLibrary OpenExampleLibrary(const char* path) {
  return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

static inline ExampleFunction FindExampleFunction(ExampleLibrary library, const char* name) {
  union {
    void* address;
    ExampleFunction function;
  } found;
  found.address = dlsym(library, name);
  return found.function;
}

static inline void CloseExampleLibrary(ExampleLibrary library) { dlclose(library); }

#endif
