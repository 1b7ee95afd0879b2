// The table of failing calls: a row for each exported function.
#pragma once

#include "calls/trial.h"

#include <string>
#include <vector>

namespace faults {

struct Row {
  // The function; "(...)" behind it tells several rows of one function apart. Several functions,
  // parted by blanks, in a row that calls them all.
  std::string names;
  void (*body)(Trial& run);
  enum class Kind {
    kFails,  // says whether it succeeded
    kQuiet,  // neither allocates nor calls the system, which is what is tested
    // Waits for a server: n is not the same from run to run.
    kOverNetwork,
  } kind = Kind::kFails;
};
using Rows = std::vector<Row>;

// In files of their own.
Rows StoreRows();
Rows FrameRows();
Rows ListRows();
Rows FlatRows();
Rows MailboxRows();
Rows SmtpRows();
Rows FtpRows();
Rows RemoteTableRows();

Rows AllRows();

// Functions of which a failure may go unnoticed: an answer that is a default, or an effect that did
// not come, without a failure result.
struct Harmless {
  const char* name;
  const char* reason;
};
const std::vector<Harmless>& HarmlessOnes();
// Exported functions without a row, in each name several parted by blanks.
const std::vector<Harmless>& ExemptOnes();

}  // namespace faults
