// The option words of a page field's arguments.
#pragma once

#include <string_view>

namespace brevant {

// Whether argument holds word, bounded by a blank, a "+" or the argument's ends. Only the first
// occurrence of word is looked at: when that one is part of something longer the answer is no,
// whatever follows. Templates rely on it.
bool HasOptionWord(std::string_view argument, std::string_view word);

// The option bits of FormatTime: defaults, and the bits of the words that argument holds.
unsigned TimeFormatOf(std::string_view argument, unsigned defaults);

}  // namespace brevant
