// What sessions of the tasks have in common.
#pragma once

#include "support/temporary_directory.h"

#include <set>
#include <string>
#include <vector>

namespace hostile {

// From here on temporary files are made in the directory's "tmp", and back again.
void UseOwnTemporaries(const test::TemporaryDirectory& directory);
void UseSystemsTemporaries();

// Has every wait of a task end at the client's time-out: after one the next would last a second.
// Takes the place of the host's status callback.
void WaitBriefly();

// What lies in the directory that neither the library's settings, state and log are nor one of
// these; and what is left of temporary files.
std::vector<std::string> Strangers(const test::TemporaryDirectory& directory,
                                   const std::set<std::string>& known);
// The files of a data directory that are no board files.
std::vector<std::string> NotBoardFiles(const std::string& data);

}  // namespace hostile
