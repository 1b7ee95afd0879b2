// IPv4 addresses as dotted text.
#pragma once

#include "platform/win32.h"

namespace brevant {

// Whether text holds nothing but digits and points, and at least three points.
bool IsDottedAddress(const char* text);
// The four bytes of a dotted text, in network order; no range is checked, and a part keeps its low
// eight bits. Ends at a fifth part.
DWORD ParseDottedAddress(const char* text);
// Writes address (network byte order) as "10.0.0.1" into buffer. A buffer below 13 characters gets
// the empty text, although shorter addresses would fit; size counts the terminator. An address that
// is longer than the buffer is cut.
void FormatDottedAddress(DWORD address, char* buffer, int size);

}  // namespace brevant
