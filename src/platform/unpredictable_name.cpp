#include "platform/unpredictable_name.h"

#include <random>

namespace brevant::platform {

std::string UnpredictableName() {
  constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuvwxyz";
  constexpr int kLength = 24;
  std::random_device random;
  std::uniform_int_distribution<int> digit(0, 35);
  std::string name;
  for (int i = 0; i < kLength; ++i) name += kDigits[digit(random)];
  return name;
}

}  // namespace brevant::platform
