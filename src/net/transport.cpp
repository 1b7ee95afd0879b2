#include "net/transport.h"

namespace brevant {
namespace {

class PlainTransport : public Transport {
 public:
  explicit PlainTransport(SOCKET socket) : socket_(socket) {}

  int Receive(char* buffer, int size) override {
    const int result = platform::ReceiveNow(socket_, buffer, size);
    return result == platform::kWouldBlock ? kWaitToRead : result;
  }

  int Send(const char* buffer, int size) override {
    const int result = platform::SendNow(socket_, buffer, size);
    return result == platform::kWouldBlock ? kWaitToWrite : result;
  }

 private:
  SOCKET socket_;
};

}  // namespace

std::unique_ptr<Transport> MakePlainTransport(SOCKET socket) {
  return std::make_unique<PlainTransport>(socket);
}

}  // namespace brevant
