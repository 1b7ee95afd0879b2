// Start and stop of the library, and the objects that the host hands over.
#include "frame/library.h"

#include "frame/reporting.h"
#include "platform/win32.h"

#include <brevant/net.h>

namespace {

TSetup* processSetup = nullptr;
TPersistentState* processState = nullptr;
// Negative while OLE is not started, so that shut-down undoes only what was done.
HRESULT oleResult = E_FAIL;

constexpr WORD kSocketsVersion = 0x0101;  // 1.1

}  // namespace

TSetup* brevant::ProcessSetup() { return processSetup; }

TPersistentState* brevant::ProcessState() { return processState; }

int InitializeBrevant(TSetup* setup, TPersistentState* state) {
  processSetup = setup;
  processState = state;
  oleResult = OleInitialize(nullptr);
  TProtocol::myHistoryFunction = &DisplayErrorV;
  if (FAILED(oleResult)) return 0;
  WSADATA data{};
  return WSAStartup(kSocketsVersion, &data) == 0 ? 1 : 0;
}

int UninitializeBrevant() {
  processSetup = nullptr;
  processState = nullptr;
  WSACleanup();
  TProtocol::myHistoryFunction = nullptr;
  if (SUCCEEDED(oleResult)) OleUninitialize();
  oleResult = E_FAIL;
  return 1;
}
