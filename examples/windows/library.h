/* Loading a library at run time, as Windows does it. C and C++. */
#ifndef EXAMPLE_LIBRARY_H
#define EXAMPLE_LIBRARY_H

#define WIN32_LEAN_AND_MEAN /* without the old sockets, which the C++ headers replace */
#include <windows.h>

typedef HMODULE ExampleLibrary;
typedef void (*ExampleFunction)(void);

/* How the library's classes call their operations: on 32 bits the object goes into a register. */
#if defined(__i386__)
#define EXAMPLE_MEMBER_CALL __thiscall
#else
#define EXAMPLE_MEMBER_CALL
#endif

static inline ExampleLibrary OpenExampleLibrary(const char* path) { return LoadLibraryA(path); }

static inline ExampleFunction FindExampleFunction(ExampleLibrary library, const char* name) {
  return (ExampleFunction)GetProcAddress(library, name);
}

static inline void CloseExampleLibrary(ExampleLibrary library) { FreeLibrary(library); }

#endif
