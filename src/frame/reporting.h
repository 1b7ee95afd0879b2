// How tasks tell the host what they do, and leave a trace of where they are.
#pragma once

#include <brevant/frame.h>

#include <cstdarg>

// Each formats into 512 bytes and cuts what is longer. DisplayHistory also appends to the error log
// a text of which a word begins with "Cannot"; DisplayError always does.
void DisplayStatus(const char* format, ...) BREVANT_PRINTF(1, 2);
void DisplayHistory(const char* format, ...) BREVANT_PRINTF(1, 2);
void DisplayError(const char* format, ...) BREVANT_PRINTF(1, 2);
void DisplayErrorV(const char* format, va_list arguments) BREVANT_PRINTF(1, 0);
void DisplayProgress(int done, int total);

namespace brevant {

// True when a blank-separated word of text begins with word, ignoring letter case.
bool ContainsWordStartingWith(const char* text, const char* word);

// Writes the position of a task into the persistent state (null: nothing), so that after a crash of
// the host its file names the last step: module such as "..\shared\mailtask.cpp", and __LINE__.
void Trace(TPersistentState* state, const char* module, int line);

}  // namespace brevant
