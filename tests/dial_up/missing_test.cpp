// A machine without the service: its library is not there, or is none.
#include "platform/win32.h"

#include <brevant/dial_up.h>

#include <gtest/gtest.h>

namespace {

TEST(DialUpMissing, EverythingGivesNothing) {
  EXPECT_EQ(LoadRasDLL(), 0);
  EXPECT_EQ(LoadRasDLL(), 0);
  EXPECT_EQ(HasRasConnection(), 0);
  const StatusFunction show = [](const char* text) { ADD_FAILURE() << text; };
  EXPECT_EQ(DialUpRas(show, "Home", "", ""), 0);
  EXPECT_EQ(HangUpRas(), 0);
  EXPECT_EQ(StartRasSearch(), nullptr);
  EXPECT_EQ(UnloadRasDLL(), 0);
}

}  // namespace
