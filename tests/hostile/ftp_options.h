// An FTP server whose data connections fail at random, too.
#pragma once

#include "random_saboteur.h"
#include "support/ftp_server.h"

namespace hostile {

// Faults of data connections and changed listings; rate as in Habits.
test::FtpOptions FtpServerOptions(unsigned seed, Random& random, unsigned rate);

}  // namespace hostile
