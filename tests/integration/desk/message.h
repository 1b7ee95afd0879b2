// Tests that run under Wine use the real servers of the system that Wine runs on. A desk there
// starts the servers, holds them and answers for them; this is what goes over the wire between the
// two: lists of texts.
#pragma once

#include "platform/win32.h"

#include <string>
#include <vector>

namespace test::desk {

using Message = std::vector<std::string>;

// A connection to or from a desk. Everything waits as long as it takes.
class Line {
 public:
  explicit Line(SOCKET socket);
  ~Line() { closesocket(socket_); }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  // False when the other side is gone.
  bool Send(const Message& message);
  bool Receive(Message* message);

 private:
  bool SendBytes(const std::string& bytes);
  bool ReceiveBytes(char* bytes, std::size_t size);
  bool ReceiveNumber(std::size_t* number);

  SOCKET socket_;
};

}  // namespace test::desk
