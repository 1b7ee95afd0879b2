// Runs a number of sessions, each from a seed of its own, and watches what they cost.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace hostile {

// Milliseconds: the clients' time-out.
inline constexpr int kTimeout = 25;

// One session; what was wrong, a line each. It must begin from the same state whatever came before.
using Session = std::function<std::vector<std::string>(unsigned seed)>;

// BREVANT_HOSTILE_SESSIONS is the number of sessions (otherwise `usual`, for some seconds),
// BREVANT_HOSTILE_SEED the first seed (1). Fails for every session with problems, naming its seed,
// and when afterwards more descriptors or threads are there or memory grew by more than
// BREVANT_MEMORY_BOUND MiB (a compile definition). A session that takes a minute, and one that
// crashes, name their seed and end the program.
void RunSessions(const Session& session, unsigned usual = 300);

}  // namespace hostile
