#include "ftp_options.h"

#include "sessions.h"

#include <memory>

namespace hostile {
namespace {

constexpr long kLongFlood = 24L << 20;

// The same for a transfer whenever it is asked.
test::DataFault FaultOf(unsigned seed, int transfer, unsigned rate) {
  Random random(seed * 40503U + static_cast<unsigned>(transfer));
  test::DataFault fault;
  fault.stallTime = kTimeout * 2;
  if (random.Below(1000) >= rate) return fault;
  switch (random.Below(7)) {
    case 0:
      fault.refused = true;
      break;
    case 1:
    case 2:
      fault.cutAfter = static_cast<long>(random.Below(400));
      fault.reset = random.OneIn(2);
      break;
    case 3:
      fault.stallAfter = static_cast<long>(random.Below(200));
      break;
    case 4:
      fault.stranger = true;
      break;
    default:
      fault.flood = random.OneIn(16) ? kLongFlood : 1L << random.Below(18);
  }
  return fault;
}

void Alter(Random& random, std::string* bytes) {
  constexpr const char* kLines[] = {"../../evil\r\n",
                                    "/etc/passwd\r\n",
                                    "a\\b\r\n",
                                    ".\r\n..\r\n",
                                    "total 99999999999999999999\r\n",
                                    "-rw-r--r-- 1 f f 99999999999999999999 Feb 31 99:99 a.htm\r\n",
                                    "drwxr-xr-x 1 f f 1 Jan 1 1900 dir\r\n",
                                    "13-45-98  25:61XM  <DIR>  b.htm\r\n",
                                    "d [RWCEAFMS] f 1 Jan 01 00:00 b.htm\r\n",
                                    "lrwxrwxrwx 1 f f 1 Jan 1 1999 a -> ../../b -> c\r\n",
                                    "a\rDELE x\r\n",
                                    "\r\n",
                                    "a\n",
                                    "%s%n\r\n"};
  for (unsigned edits = 1 + random.Below(6); edits > 0; --edits) {
    const std::size_t at = random.Below(static_cast<unsigned>(bytes->size()) + 1);
    switch (random.Below(3)) {
      case 0:
        bytes->insert(at, random.Of(kLines));
        break;
      case 1:
        bytes->insert(at, 1 + random.Below(random.OneIn(8) ? 70000 : 3),
                      static_cast<char>(random.Below(256)));
        break;
      default:
        bytes->erase(at, random.Below(40));
    }
  }
}

}  // namespace

test::FtpOptions FtpServerOptions(unsigned seed, Random& random, unsigned rate) {
  test::FtpOptions options;
  options.connectionWait = kTimeout * 2;
  options.dataFault = [seed, rate](int transfer) { return FaultOf(seed, transfer, rate); };
  constexpr test::ListingStyle kStyles[] = {test::ListingStyle::kUnix, test::ListingStyle::kDos,
                                            test::ListingStyle::kNetWare};
  options.listing = random.Of(kStyles);
  const auto own = std::make_shared<Random>(seed + 77);
  options.alterData = [own, rate](std::string* bytes) {
    if (own->Below(1000) < rate * 2) Alter(*own, bytes);
  };
  return options;
}

}  // namespace hostile
