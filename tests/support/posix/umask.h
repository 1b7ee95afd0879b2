// The modes of new files under a umask.
#pragma once

#include <string>
#include <sys/stat.h>

namespace test {

inline constexpr unsigned kUmasks[] = {0, 022, 027, 077};

// The process's umask while the object lives; programs that it starts have it, too.
class Umask {
 public:
  explicit Umask(unsigned mask) : before_(::umask(mask)) {}
  ~Umask() { ::umask(before_); }
  Umask(const Umask&) = delete;
  Umask& operator=(const Umask&) = delete;

 private:
  mode_t before_;
};

// The permissions in octal, as "600"; "none" when there is nothing.
inline std::string ModeOf(const std::string& path) {
  struct stat facts {};
  if (::lstat(path.c_str(), &facts) != 0) return "none";
  std::string digits;
  for (unsigned bits = facts.st_mode & 07777U, i = 0; i < 3; ++i, bits /= 8) {
    digits.insert(digits.begin(), static_cast<char>('0' + bits % 8));
  }
  return digits;
}

// What 0666 less the umask is.
inline std::string PublishedMode(unsigned mask) {
  std::string digits;
  for (const unsigned shift : {6U, 3U, 0U})
    digits += static_cast<char>('0' + (6U & ~(mask >> shift)));
  return digits;
}

}  // namespace test
