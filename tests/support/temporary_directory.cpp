#include "support/temporary_directory.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <system_error>

namespace test {

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory() {
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    fs::path path = fs::temp_directory_path() / ("brevant-test-" + std::to_string(random()));
    if (fs::create_directory(path)) {
      path_ = path.generic_string() + "/";
      return;
    }
  }
  throw std::runtime_error("no temporary directory could be made");
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string ReadFileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void WriteFileBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out << bytes;
  if (!out.flush()) throw std::runtime_error("cannot write " + path);
}

bool FileExists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

}  // namespace test
