// The numbers of page fields: how they are read from arguments and values, and how they are
// written.
#pragma once

#include "platform/win32.h"

#include <string>
#include <string_view>

namespace brevant {

// In decimal; in thousands (of 1024) when argument holds the word "Meg". That quotient is whole,
// and its two decimals are always zeros.
std::string NumberText(LONG value, std::string_view argument);

// The share of count in total in percent, or what it leaves of a hundred. A total of 0 makes it 0.
double Percentage(LONG count, LONG total);
// With as many decimals as argument says, 1 to 6; else none.
std::string PercentageText(double value, std::string_view argument);

// "#rrggbb" of a number with red in its lowest byte.
std::string ColorText(LONG value);

// The seconds that size takes at a rate, the number that argument begins with; 14.4 when it is no
// number above 0. Cut to a whole number, at most 2147483647 in size.
LONG DownloadSeconds(LONG size, std::string_view argument);

}  // namespace brevant
