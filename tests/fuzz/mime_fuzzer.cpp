// A message: its header, the walk through its parts, and every decoder.
#include "fuzzed_input.h"
#include "mail_reading.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const unsigned options = input.Byte();
  const int bufferSize = test::BufferSize(options / 2);
  const std::string message = input.Rest();
  const bool standard = (options & 1) != 0;
  const std::string whole = test::ReadMessage({standard, bufferSize}, message);
  const std::size_t packet = 1 + options / 16;
  test::RequireEqual(test::ReadMessage({standard, bufferSize}, message, packet), whole,
                     "packets give the same message");
  // Without standard mode a line longer than the buffer loses characters.
  if (standard)
    test::RequireEqual(test::ReadMessage({true, 4096}, message), whole,
                       "any buffer gives the same message");
  return 0;
}
