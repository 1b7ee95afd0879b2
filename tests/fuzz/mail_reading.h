// What a host does with a mailbox, over a network in memory.
#pragma once

#include "memory_network.h"

#include <brevant/net.h>

#include <string>

namespace test {

struct MailReading {
  bool standard = false;
  int bufferSize = 1024;
};

// Sizes worth trying: the smallest that a reader may pass, and those that cut lines.
int BufferSize(unsigned choice);

// All messages of the mailbox, at most some; what the client said of them and sent, in one text.
std::string ReadMailbox(const MailReading& reading, MemoryNetwork& network);

// The parts of one message, of which the client has the text already: what is told of each, and
// its content decoded.
std::string ReadMessage(const MailReading& reading, const std::string& message,
                        std::size_t packet = 1 << 20);

}  // namespace test
