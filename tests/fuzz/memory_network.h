// A network in memory in place of the platform's: thousands of sessions a second, each the same
// every time. A program that links memory_network.cpp takes none of platform/posix/sockets.cpp.
#pragma once

#include "platform/win32.h"

#include <cstddef>
#include <string>
#include <vector>

namespace test {

struct MemoryNetwork {
  // What the servers say, whatever they are told: on the first connection and on all others.
  std::string control;
  std::string data;
  std::size_t packet = 1 << 20;  // the most bytes that one receive gives
  bool silent = false;           // at its end a server says nothing more, instead of closing

  // What was sent, and the addresses of all connections, in network order.
  std::string sent;
  std::string sentData;
  std::vector<DWORD> targets;
};

// The network of all connections from now on; null for none, on which every operation fails.
void UseNetwork(MemoryNetwork* network);

inline constexpr char kMemoryHost[] = "127.0.0.1";

}  // namespace test
