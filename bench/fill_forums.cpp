// fill_forums DIRECTORY FORUMS MESSAGES: see forum_filler.h. For memory.sh.
#include "forum_filler.h"

#include <cstdio>
#include <exception>

int main(int count, char** arguments) {
  if (count != 4) {
    std::fputs("usage: fill_forums DIRECTORY FORUMS MESSAGES\n", stderr);
    return 2;
  }
  try {
    bench::FillForums(arguments[1], std::stol(arguments[2]), std::stol(arguments[3]));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "fill_forums: cannot %s\n", error.what());
    return 1;
  }
  return 0;
}
