// Answers of survey questions.
#pragma once

#include "containers.h"

#include <string>

namespace host {

// Throws UserError when a form could not bring the answer back as it stands.
void CheckAnswer(const std::string& answer);

// Adds an answer without votes to a question; its number. color is as #rrggbb, or empty for the
// next of a row of colours. Throws UserError; nothing is committed.
DWORD AddAnswer(TForum& question, const std::string& answer, const std::string& color);

}  // namespace host
