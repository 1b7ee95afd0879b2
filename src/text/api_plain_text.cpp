// The exported plain-text view of a message.
#include "frame/library.h"
#include "store/guard.h"
#include "text/plain_text.h"

#include <brevant/text.h>

#include <cstdlib>
#include <cstring>

char* GetPlainTextContent(TMail* message) {
  if (message == nullptr) return nullptr;
  return brevant::Guarded<char*>(nullptr, [&]() -> char* {
    const std::string text = brevant::PlainTextContent(*message, brevant::ProcessSetup());
    auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy != nullptr) std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
  });
}

void FreePlainTextContent(char* text) { std::free(text); }
