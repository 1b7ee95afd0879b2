// Threads that call an operation, each at a moment of its own.
#pragma once

#include <chrono>
#include <functional>
#include <random>
#include <thread>
#include <vector>

namespace test {

class Disturbance {
 public:
  // Each operation is called once, at a moment within so many microseconds from now.
  Disturbance(std::minstd_rand& random, int microseconds,
              const std::vector<std::function<void()>>& operations) {
    for (const std::function<void()>& operation : operations) {
      const auto pause =
          std::chrono::microseconds(std::uniform_int_distribution<int>(0, microseconds)(random));
      threads_.emplace_back([operation, pause] {
        std::this_thread::sleep_for(pause);
        operation();
      });
    }
  }
  ~Disturbance() { Join(); }
  Disturbance(const Disturbance&) = delete;
  Disturbance& operator=(const Disturbance&) = delete;

  void Join() {
    for (std::thread& thread : threads_) {
      if (thread.joinable()) thread.join();
    }
  }

 private:
  std::vector<std::thread> threads_;
};

}  // namespace test
