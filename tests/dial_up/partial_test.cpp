// Services that lack functions.
#include "dial_up/fixture.h"
#include "frame/dial_up.h"

#include <cstring>

namespace {

using dial_up_test::DialUp;
using dial_up_test::Shown;
using dial_up_test::Texts;
using ras_double::kConnected;

void ShowElsewhere(const char*) { ADD_FAILURE() << "there is nothing to show"; }

TEST_F(DialUp, AServiceWithoutItsFunctionsGivesNothing) {
  Load("bare");
  EXPECT_EQ(LoadRasDLL(), 1);
  EXPECT_EQ(HasRasConnection(), 0);
  EXPECT_EQ(DialUpRas(&ShowElsewhere, "Home", "", ""), 0);
  EXPECT_EQ(StartRasSearch(), nullptr);
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(UnloadRasDLL(), 0);
}

TEST_F(DialUp, WithoutTheQueryOfTheStateNothingIsDialled) {
  Load("no_status");
  EXPECT_EQ(Dial({{0}, {kConnected}}), 0);
  EXPECT_EQ(desk_->Calls(), Texts{});
  EXPECT_EQ(HangUpRas(), 1);
}

TEST_F(DialUp, WithoutHangUpTheConnectionIsOnlyWaitedFor) {
  Load("no_hang_up");
  ASSERT_EQ(Dial({{kConnected}}), 1);
  desk_->DropConnections();
  Shown::Take();
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(Shown::Take(), Texts{"Hanging up..."});
}

TEST_F(DialUp, LookUpWithoutTheProjectionsFunctionTakesTheFirst) {
  Load("no_status");
  desk_->SetActive({{"Home", true}, {"Office", true}});
  const auto handle = brevant::FindRasConnection("Office");
  std::uintptr_t number = 0;
  std::memcpy(&number, &handle, sizeof handle);
  EXPECT_EQ(number, desk_->ActiveHandle(0));
}

}  // namespace
