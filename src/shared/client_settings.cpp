#include "shared/client_settings.h"

namespace brevant {

WORD PortSetting(const TSetup& setup, const char* key) {
  const DWORD port = setup.Number(key);
  return port > 0 && port < kDefaultProtocolPort ? static_cast<WORD>(port) : kDefaultProtocolPort;
}

void ApplyStandardMode(TProtocol& client, const TSetup& setup, const char* key) {
  if (setup.Integer(key) != 0) {
    client.Status() |= kStatusStandardMode;
  } else {
    client.Status() &= ~static_cast<DWORD>(kStatusStandardMode);
  }
}

}  // namespace brevant
