#include "integration/desk/client.h"

#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>

namespace test::desk {

namespace {

constexpr const char* kPortVariable = "BREVANT_SERVER_DESK";

// Null when nobody named a desk. One that is named and does not answer is no reason to leave a test
// out.
std::unique_ptr<Line> Connect() {
  const char* port = std::getenv(kPortVariable);
  if (port == nullptr) return nullptr;
  WSADATA data;
  if (WSAStartup(0x0202, &data) != 0) throw std::runtime_error("there are no sockets");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<WORD>(std::strtoul(port, nullptr, 10)));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const SOCKET made = socket(AF_INET, SOCK_STREAM, 0);
  if (connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    closesocket(made);
    throw std::runtime_error("the desk of the servers cannot be reached");
  }
  return std::make_unique<Line>(made);
}

// One for the whole test program; what it opened goes with it.
Line* TheLine() {
  static const std::unique_ptr<Line> line = Connect();
  return line.get();
}

std::map<const void*, std::string>& Numbers() {
  static std::map<const void*, std::string> numbers;
  return numbers;
}

Message Exchange(const Message& question) {
  Message answer;
  Line* line = TheLine();
  if (line == nullptr || !line->Send(question) || !line->Receive(&answer) || answer.empty())
    throw std::runtime_error("the desk of the servers does not answer");
  if (answer[0] != "ok") throw std::runtime_error(answer[0]);
  answer.erase(answer.begin());
  return answer;
}

}  // namespace

std::string Hindrance(const std::string& kind) {
  if (TheLine() == nullptr)
    return "servers of the system below are reached through a desk that ./run windows starts";
  return Exchange({"hindrance", kind}).at(0);
}

WORD Open(const void* object, const std::string& kind, Message arguments) {
  arguments.insert(arguments.begin(), {"open", kind});
  const Message answer = Exchange(arguments);
  Numbers()[object] = answer.at(0);
  return static_cast<WORD>(std::stoul(answer.at(1)));
}

Message Ask(const void* object, const std::string& what, Message arguments) {
  arguments.insert(arguments.begin(), {"ask", Numbers().at(object), what});
  return Exchange(arguments);
}

void Close(const void* object) {
  const auto found = Numbers().find(object);
  if (found == Numbers().end()) return;
  Exchange({"close", found->second});
  Numbers().erase(found);
}

}  // namespace test::desk
