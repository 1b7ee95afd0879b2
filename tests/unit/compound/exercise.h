// Does with a file of any bytes whatever can be done with a document: reads all of it, changes it,
// commits, reads again. Errors are fine; a crash, an endless loop or a disproportionate answer is
// not.
#pragma once

#include <string>

namespace test {

void ExerciseBytes(const std::string& bytes);

}  // namespace test
