// The side of a test that cannot start servers itself: what it asks of the desk.
#pragma once

#include "integration/desk/message.h"

#include <string>

namespace test::desk {

// Why there is no desk or no server of that kind; empty when there is.
std::string Hindrance(const std::string& kind);
// Starts a server; its port. It is known by the object that stands for it.
WORD Open(const void* object, const std::string& kind, Message arguments = {});
// Asks about it. Throws std::runtime_error when the desk cannot do it.
Message Ask(const void* object, const std::string& what, Message arguments = {});
void Close(const void* object);

}  // namespace test::desk
