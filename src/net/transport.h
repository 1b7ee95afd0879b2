// The way bytes of a connection travel: a plain socket today.
#pragma once

#include "platform/network.h"

#include <memory>

namespace brevant {

// Results of a transfer below 0. The two waits tell what the socket must become before the transfer
// is tried again; an encrypted transport may have to write in order to read.
inline constexpr int kTransferFailed = -1;
inline constexpr int kWaitToRead = -2;
inline constexpr int kWaitToWrite = -3;

class Transport {
 public:
  virtual ~Transport() = default;
  // The count of bytes (0: the peer has closed), or one of the three results above. Never blocks.
  virtual int Receive(char* buffer, int size) = 0;
  virtual int Send(const char* buffer, int size) = 0;
};

// The bytes as they are. The socket stays the caller's.
std::unique_ptr<Transport> MakePlainTransport(SOCKET socket);

}  // namespace brevant
