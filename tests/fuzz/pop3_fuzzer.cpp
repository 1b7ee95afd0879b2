// A whole session with a server that says these bytes: greeting, replies, headers, messages.
#include "fuzzed_input.h"
#include "mail_reading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const unsigned options = input.Byte();
  const unsigned sizes = input.Byte();
  test::MemoryNetwork network;
  network.control = input.Rest();
  network.silent = (options & 2) != 0;
  const test::MailReading reading{(options & 1) != 0, test::BufferSize(sizes)};
  const std::string whole = test::ReadMailbox(reading, network);
  // What a server that falls silent has said so far may come in pieces, too, but then the pause
  // counts as an answer.
  if (network.silent) return 0;
  network.packet = 1 + options / 4 % 16;
  test::RequireEqual(test::ReadMailbox(reading, network), whole, "pieces give the same session");
  return 0;
}
