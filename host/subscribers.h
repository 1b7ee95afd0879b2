// A forum's mailing list.
#pragma once

#include "containers.h"

namespace host {

// Prints the forum's subscribers, if it has any.
void PrintSubscribers(TForum& forum);

}  // namespace host
