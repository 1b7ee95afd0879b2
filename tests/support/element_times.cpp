#include "support/element_times.h"

#include <brevant/store.h>

namespace test {

namespace {

constexpr int kReadWrite = 2;
constexpr int kCreate = 0x1000;
constexpr int kExclusive = 0x10;
constexpr int kDeleteOnRelease = 0x04000000;

bool Probe() {
  TStorage root;
  if (!root.OpenTemporary(kDeleteOnRelease)) return false;
  TStorage(root.Interface(), "probe", kReadWrite, kCreate, kExclusive);
  const TTime wanted(2001, 2, 3, 4, 5, 6);
  if (!root.SetElementTimes("probe", &wanted, nullptr, &wanted)) return false;
  TTime created;
  TTime modified;
  return root.GetElementTimes("probe", &created, nullptr, &modified) && created == wanted &&
         modified == wanted;
}

}  // namespace

bool PlatformKeepsElementTimes() {
  static const bool keeps = Probe();
  return keeps;
}

}  // namespace test
