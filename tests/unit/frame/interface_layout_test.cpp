// Hosts that were built against these interfaces call their virtual operations by slot.
#include "platform/win32.h"

#include <brevant/frame.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

namespace {

// A pointer to a virtual member holds the offset of its slot in the table, plus 1.
template <typename Member>
std::size_t Slot(Member member) {
  static_assert(sizeof member == 2 * sizeof(std::uintptr_t));
  std::uintptr_t words[2];
  std::memcpy(words, &member, sizeof member);
  EXPECT_EQ(words[0] % 2, 1U) << "not virtual";
  return (words[0] - 1) / sizeof(void*);
}

TEST(InterfaceLayout, SlotsOfTheSettings) {
  using S = TSetup;
  EXPECT_EQ(Slot<const char* (S::*)(const char*) const>(&S::String), 0U);
  EXPECT_EQ(Slot<LONG (S::*)(const char*) const>(&S::Integer), 1U);
  EXPECT_EQ(Slot<DWORD (S::*)(const char*) const>(&S::Number), 2U);
  EXPECT_EQ((Slot<int (S::*)(const char*, const char*)>(&S::String)), 3U);
  EXPECT_EQ((Slot<int (S::*)(const char*, LONG)>(&S::Integer)), 4U);
  EXPECT_EQ((Slot<int (S::*)(const char*, DWORD)>(&S::Number)), 5U);
  EXPECT_EQ(Slot<double (S::*)(const char*) const>(&S::Date), 6U);
  EXPECT_EQ((Slot<int (S::*)(const char*, double)>(&S::Date)), 7U);
  EXPECT_EQ(Slot<TTime (S::*)(const char*) const>(&S::Time), 8U);
  EXPECT_EQ((Slot<int (S::*)(const char*, const TTime&)>(&S::Time)), 9U);
  EXPECT_EQ(Slot(&S::SetString), 10U);
  EXPECT_EQ(Slot(&S::SetNumber), 11U);
  EXPECT_EQ(Slot(&S::DefaultString), 12U);
  EXPECT_EQ(Slot(&S::DefaultNumber), 13U);
}

TEST(InterfaceLayout, StateAddsNoDataToTheSettings) {
  EXPECT_EQ(sizeof(TPersistentState), sizeof(TSetup));
}

TEST(InterfaceLayout, SlotsOfATask) {
  EXPECT_EQ(Slot(&TTask::Execute), 0U);
  EXPECT_EQ(Slot(&TTask::Abort), 1U);
}

class Probe : public TTask {
 public:
  using TTask::TTask;
  int Execute() override { return 1; }
  std::size_t OffsetOf(const void* member) const {
    return static_cast<std::size_t>(static_cast<const char*>(member) -
                                    reinterpret_cast<const char*>(this));
  }
  std::size_t OffsetOfFlag() const { return OffsetOf(&continue_); }
  std::size_t OffsetOfSetup() const { return OffsetOf(&setup_); }
  std::size_t OffsetOfState() const { return OffsetOf(&state_); }
};

TEST(InterfaceLayout, MembersOfATaskFollowItsTable) {
  const Probe task(nullptr, nullptr);
  EXPECT_EQ(task.OffsetOfFlag(), sizeof(void*));
  EXPECT_EQ(task.OffsetOfSetup(), 2 * sizeof(void*));
  EXPECT_EQ(task.OffsetOfState(), 3 * sizeof(void*));
}

}  // namespace
