// What every task's client takes from the settings before it connects.
#pragma once

#include "platform/win32.h"

#include <brevant/frame.h>
#include <brevant/net.h>

namespace brevant {

// The port that a setting such as "POP3 Port" names; kDefaultProtocolPort when it is missing, 0 or
// no port.
WORD PortSetting(const TSetup& setup, const char* key);

// Switches the client's standard mode as a setting such as "Standard POP3 Mode" wants it.
void ApplyStandardMode(TProtocol& client, const TSetup& setup, const char* key);

}  // namespace brevant
