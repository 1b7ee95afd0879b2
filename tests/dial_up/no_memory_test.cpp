// Searches when memory runs out at any allocation.
#include "dial_up/fixture.h"
#include "frame/dial_up.h"
#include "support/failing_memory.h"

namespace {

using dial_up_test::DialUp;

TEST_F(DialUp, WithoutMemoryThereIsNoSearch) {
  Load();
  TRasSearch* search = nullptr;
  test::ForEveryShortage([&] { search = StartRasSearch(); },
                         [&] {
                           EXPECT_EQ(search, nullptr);
                           EndRasSearch(search);
                         });
  EXPECT_EQ(search, nullptr);  // there are no entries
}

TEST_F(DialUp, WithoutMemoryTheLookUpFindsNothing) {
  Load();
  desk_->SetActive({{"Home", true}});
  auto handle = brevant::FindRasConnection("Home");
  ASSERT_NE(handle, decltype(handle){});
  test::ForEveryShortage([&] { handle = brevant::FindRasConnection("Home"); },
                         [&] { EXPECT_EQ(handle, decltype(handle){}); });
}

}  // namespace
