// What the platform's structured storage can keep.
#pragma once

namespace test {

// True when storages keep the creation and modification times that are set on them. Windows and
// this library's own engine do; Wine does not. Found out once, by trying.
bool PlatformKeepsElementTimes();

}  // namespace test

// Leaves a test out, by name and with its reason, where its rule cannot be seen.
#define SKIP_WITHOUT_ELEMENT_TIMES()                                                  \
  if (!test::PlatformKeepsElementTimes()) {                                           \
    GTEST_SKIP() << "the structured storage of this platform keeps no element times"; \
  }                                                                                   \
  static_assert(true)
