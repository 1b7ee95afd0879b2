// Dates of mail headers.
#pragma once

#include "platform/win32.h"

#include <brevant/store.h>

#include <string_view>

namespace brevant {

// The time that a "Date" value names, read word by word. Days 1 and 31 are not taken, the zone is
// not applied, and what is missing comes from the current local time; readers rely on all three. A
// year such as 98 gives a zero time.
TTime ParseHeaderDate(std::string_view value);

// The same with every day, two-digit years of both centuries, and the zone: the instant as local
// time, shifted by today's bias as all stored times are. A value without a date in it gives the
// current local time.
TTime ParseHeaderDateStandard(std::string_view value);

}  // namespace brevant
