// What "show" prints of a container's items.
#pragma once

#include "containers.h"

#include <string>
#include <vector>

namespace host {

// A line for each item, in the container's order.
std::vector<std::string> ItemLines(const ContainerKind& kind, TForum& container);

}  // namespace host
