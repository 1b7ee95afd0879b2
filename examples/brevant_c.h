/* The part of the library that a host in plain C needs to run tasks, without any C++ header. The
 * flat functions are looked up by name, each with a leading underscore ("_CreateTask"). Settings,
 * state and tasks are objects whose first word points to a table of operations; their order is
 * fixed. */
#ifndef EXAMPLE_BREVANT_C_H
#define EXAMPLE_BREVANT_C_H

#include "library.h"

#include <stdint.h>

typedef struct Setup Setup; /* settings, and the persistent state too */
typedef struct Task Task;

typedef struct SetupTable {
  const char*(EXAMPLE_MEMBER_CALL* string)(const Setup*, const char* key);
  int32_t(EXAMPLE_MEMBER_CALL* integer)(const Setup*, const char* key);
  uint32_t(EXAMPLE_MEMBER_CALL* number)(const Setup*, const char* key);
  int(EXAMPLE_MEMBER_CALL* writeString)(Setup*, const char* key, const char* value);
  int(EXAMPLE_MEMBER_CALL* writeInteger)(Setup*, const char* key, int32_t value);
  int(EXAMPLE_MEMBER_CALL* writeNumber)(Setup*, const char* key, uint32_t value);
  double(EXAMPLE_MEMBER_CALL* date)(const Setup*, const char* key);
  int(EXAMPLE_MEMBER_CALL* writeDate)(Setup*, const char* key, double value);
  ExampleFunction time; /* these two take an object of a class: not for C */
  ExampleFunction writeTime;
  int(EXAMPLE_MEMBER_CALL* setString)(Setup*, const char* key, const char* value);
  int(EXAMPLE_MEMBER_CALL* setNumber)(Setup*, const char* key, int32_t value);
  const char*(EXAMPLE_MEMBER_CALL* defaultString)(const Setup*, const char* key);
  uint32_t(EXAMPLE_MEMBER_CALL* defaultNumber)(const Setup*, const char* key);
} SetupTable;

struct Setup {
  const SetupTable* table;
};

typedef struct TaskTable {
  int(EXAMPLE_MEMBER_CALL* execute)(Task*);
  void(EXAMPLE_MEMBER_CALL* abort)(Task*);
} TaskTable;

struct Task {
  const TaskTable* table;
};

typedef int (*SetProgramDirectoryFunction)(const char* path);
typedef Setup* (*OpenSetupFunction)(const char* fileName);
typedef void (*CloseSetupFunction)(Setup* setup);
typedef int (*InitializeBrevantFunction)(Setup* setup, Setup* state);
typedef int (*UninitializeBrevantFunction)(void);
typedef void (*SetVisualFunctionsFunction)(const char* which, void* function);
typedef Task* (*CreateTaskFunction)(const char* name);
typedef void (*DestroyTaskFunction)(Task* task);

#endif
