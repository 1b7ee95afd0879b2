// Loading the service, dialling, hanging up.
#include "dial_up/fixture.h"

#include <algorithm>
#include <atomic>

namespace {

using dial_up_test::DialUp;
using dial_up_test::Shown;
using dial_up_test::Texts;
using ras_double::kConnected;
using ras_double::kDisconnected;

const std::vector<ras_double::Step> kGoodDial = {{0}, {1}, {2}, {3}, {4}, {5}, {14}, {kConnected}};
const Texts kGoodTexts = {"Opening communication port", "Dialing...", "Connected",
                          "Verifying user name and password", "Connected"};

void ShowElsewhere(const char*) { ADD_FAILURE() << "the wrong status function"; }

TEST_F(DialUp, NothingWorksBeforeTheServiceIsLoaded) {
  EXPECT_EQ(HasRasConnection(), 0);
  EXPECT_EQ(DialUpRas(&ShowElsewhere, "Home", "", ""), 0);
  EXPECT_EQ(HangUpRas(), 0);
  EXPECT_EQ(StartRasSearch(), nullptr);
  EXPECT_EQ(UnloadRasDLL(), 0);
}

TEST_F(DialUp, TheServiceIsFoundByItsName) {
  EXPECT_EQ(LoadRasDLL(), 1);
  EXPECT_EQ(HasRasConnection(), 0);
  const HMODULE module = LoadLibraryA("RASAPI32.DLL");
  ASSERT_NE(module, nullptr);
  ras_double::Desk* desk = DeskOf(module);
  ASSERT_NE(desk, nullptr) << "it was another library";
  desk->SetActive({{"Home", true}});
  EXPECT_EQ(HasRasConnection(), 1);
  desk->Reset();
  FreeLibrary(module);
}

TEST_F(DialUp, LoadingAgainGives1AndCountsOnce) {
  Load();
  EXPECT_EQ(LoadRasDLL(), 1);
  desk_->SetActive({{"Home", true}});
  EXPECT_EQ(UnloadRasDLL(), 0);
  // The test's own reference is now the last one: the double that comes back is a new one.
  desk_->SetEntries({"kept"});
  FreeLibrary(module_);
  module_ = nullptr;
  Prepare();
  ASSERT_EQ(LoadRasDLL(), 1);
  EXPECT_EQ(HasRasConnection(), 0);
}

TEST_F(DialUp, UnloadingGives0AndEndsEverything) {
  Load();
  desk_->SetActive({{"Home", true}});
  desk_->SetEntries({"Home"});
  EXPECT_EQ(HasRasConnection(), 1);
  EXPECT_EQ(UnloadRasDLL(), 0);
  EXPECT_EQ(HasRasConnection(), 0);
  EXPECT_EQ(StartRasSearch(), nullptr);
  EXPECT_EQ(HangUpRas(), 0);
  EXPECT_EQ(Dial(kGoodDial), 0);
  EXPECT_EQ(UnloadRasDLL(), 0);
}

TEST_F(DialUp, ADialWithoutTheServiceLeavesTheStatusFunctionAlone) {
  Load();
  ASSERT_EQ(Dial(kGoodDial), 1);
  UnloadRasDLL();
  EXPECT_EQ(DialUpRas(&ShowElsewhere, "Home", "", ""), 0);
  ASSERT_EQ(LoadRasDLL(), 1);
  Shown::Take();
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(Shown::Take(), Texts{"Hanging up..."});
}

TEST_F(DialUp, ReachesTheConnectedStateStepByStep) {
  Load();
  EXPECT_EQ(Dial(kGoodDial), 1);
  EXPECT_EQ(Shown::Take(), kGoodTexts);
}

TEST_F(DialUp, EveryStateHasItsTextOrNone) {
  Load();
  ASSERT_EQ(Dial({{kConnected}}), 1);
  const std::pair<std::uint32_t, const char*> rows[] = {
      {0, "Opening communication port"},
      {2, "Dialing..."},
      {3, "Connected"},
      {5, "Verifying user name and password"},
      {16, "Resetting modem"},
      {17, "Waiting for incoming call..."},
      {21, "Logging onto network"},
      {8192, "Connected"},
      {8193, "Disconnected"},
  };
  Shown::Take();
  std::vector<std::uint32_t> states = {4096, 4097, 4098, 4099, 8191, 8192, 8193, 8194, 0xFFFFFFFF};
  for (std::uint32_t state = 0; state < 32; ++state) states.push_back(state);
  for (const std::uint32_t state : states) {
    Texts expected;
    for (const auto& [known, text] : rows) {
      if (known == state) expected.emplace_back(text);
    }
    desk_->Report(state);
    EXPECT_EQ(Shown::Take(), expected) << "state " << state;
  }
}

TEST_F(DialUp, HandsTheServiceTheEntryAndThePasswordOnly) {
  Load();
  desk_->SetSteps({{kConnected}});
  ASSERT_EQ(DialUpRas(&Shown::Add, "Home", "somebody", "secret"), 1);
  ASSERT_EQ(desk_->Dials().size(), 1u);
  const ras_double::Dialled dialled = desk_->Dials()[0];
  EXPECT_EQ(dialled.size, 1052u);
  EXPECT_EQ(dialled.entryName, "Home");
  EXPECT_EQ(dialled.phoneNumber, "");
  EXPECT_EQ(dialled.callbackNumber, "");
  EXPECT_EQ(dialled.userName, "Home");  // not "somebody"
  EXPECT_EQ(dialled.password, "secret");
  EXPECT_EQ(dialled.domain, "");
  EXPECT_FALSE(dialled.hasExtensions);
  EXPECT_FALSE(dialled.hasPhoneBook);
  EXPECT_TRUE(dialled.handleWasNull);
  EXPECT_EQ(dialled.notifierType, 0u);
}

TEST_F(DialUp, NullTextsAreEmptyOnes) {
  Load();
  desk_->SetSteps({{kConnected}});
  ASSERT_EQ(DialUpRas(nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(desk_->Dials()[0].entryName, "");
  EXPECT_EQ(desk_->Dials()[0].userName, "");
  EXPECT_EQ(desk_->Dials()[0].password, "");
}

TEST_F(DialUp, LongTextsAreCutAtTheirRoom) {
  Load();
  desk_->SetSteps({{kConnected}});
  const std::string text(1000, 'n');
  ASSERT_EQ(DialUpRas(nullptr, text.c_str(), nullptr, text.c_str()), 1);
  EXPECT_EQ(desk_->Dials()[0].entryName, std::string(256, 'n'));
  EXPECT_EQ(desk_->Dials()[0].userName, std::string(256, 'n'));
  EXPECT_EQ(desk_->Dials()[0].password, std::string(256, 'n'));
}

TEST_F(DialUp, WithoutAStatusFunctionNothingIsShown) {
  Load();
  EXPECT_EQ(Dial(kGoodDial, nullptr), 1);
  EXPECT_EQ(HangUpRas(), 1);
}

TEST_F(DialUp, TheTextComesInABufferOf256Characters) {
  Load();
  // Whoever writes into the text harms nobody.
  const auto scribble = [](const char* text) {
    Shown::Add(text);
    char* buffer = const_cast<char*>(text);
    std::fill_n(buffer, 256, 'x');
  };
  EXPECT_EQ(Dial(kGoodDial, scribble), 1);
  EXPECT_EQ(Dial(kGoodDial, scribble), 1);
  Texts twice = kGoodTexts;
  twice.insert(twice.end(), kGoodTexts.begin(), kGoodTexts.end());
  EXPECT_EQ(Shown::Take(), twice);
}

TEST_F(DialUp, ARefusedDialForgetsTheHandle) {
  Load();
  desk_->SetDialResult(ras_double::kPortIsOpen);
  EXPECT_EQ(Dial(kGoodDial), 0);
  EXPECT_EQ(desk_->Calls(), Texts{"RasDialA"});  // its state is not asked for
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(desk_->Calls(), Texts{"RasDialA"});
  EXPECT_EQ(Shown::Take(), Texts{});
}

TEST_F(DialUp, ARefusedDialAlsoForgetsTheConnectionBefore) {
  Load();
  ASSERT_EQ(Dial({{kConnected}}), 1);
  desk_->SetDialResult(ras_double::kPortIsOpen);
  EXPECT_EQ(Dial(kGoodDial), 0);
  Shown::Take();
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(Shown::Take(), Texts{});
}

TEST_F(DialUp, ABusyLineEndsDisconnected) {
  Load();
  EXPECT_EQ(Dial({{0}, {2}, {kDisconnected, ras_double::kLineBusy}}), 0);
  EXPECT_EQ(Shown::Take(), (Texts{"Opening communication port", "Dialing...", "Disconnected"}));
}

TEST_F(DialUp, AWrongPasswordEndsDisconnected) {
  Load();
  EXPECT_EQ(Dial({{0},
                  {2},
                  {3},
                  {5},
                  {7, ras_double::kWrongPassword},
                  {kDisconnected, ras_double::kWrongPassword}}),
            0);
  EXPECT_EQ(Shown::Take(), (Texts{"Opening communication port", "Dialing...", "Connected",
                                  "Verifying user name and password", "Disconnected"}));
}

TEST_F(DialUp, AFailedDialIsStillHungUp) {
  Load();
  ASSERT_EQ(Dial({{kDisconnected, ras_double::kLineBusy}}), 0);
  Shown::Take();
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(Shown::Take(), Texts{"Hanging up..."});
  EXPECT_EQ(desk_->Calls(),
            (Texts{"RasDialA", "RasGetConnectStatusA", "RasHangUpA", "RasGetConnectStatusA"}));
}

TEST_F(DialUp, AHandleThatIsGoneEndsTheDial) {
  Load();
  desk_->SetBeforeReport([this](const ras_double::Step& step) {
    if (step.state == 2) desk_->DropConnections();
  });
  EXPECT_EQ(Dial({{0}, {2}, {kConnected}}), 0);
}

TEST_F(DialUp, AnotherErrorOfTheQueryIsAskedAgain) {
  Load();
  desk_->SetQueryResults({ras_double::kInvalidParameter, ras_double::kPortIsOpen, 1, 2, 3, 4, 5});
  EXPECT_EQ(Dial(kGoodDial), 1);
}

TEST_F(DialUp, TheErrorInTheStatusIsNotLookedAt) {
  Load();
  EXPECT_EQ(Dial({{0, 1}, {2, ras_double::kLineBusy}, {kConnected, 5}}), 1);
}

TEST_F(DialUp, HangingUpWaitsUntilTheConnectionIsGone) {
  Load();
  ASSERT_EQ(Dial(kGoodDial), 1);
  desk_->SetQueriesUntilGone(25);
  EXPECT_EQ(HasRasConnection(), 1);
  Shown::Take();
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(Shown::Take(), Texts{"Hanging up..."});
  EXPECT_EQ(HasRasConnection(), 0);
}

TEST_F(DialUp, HangingUpForgetsTheHandle) {
  Load();
  ASSERT_EQ(Dial(kGoodDial), 1);
  EXPECT_EQ(HangUpRas(), 1);
  const Texts calls = desk_->Calls();
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(desk_->Calls(), calls);
}

TEST_F(DialUp, HangingUpWithoutAConnectionClearsTheStatusFunction) {
  Load();
  ASSERT_EQ(Dial({{kConnected}}), 1);
  // The connection is forgotten, the status function is not.
  desk_->SetDialResult(ras_double::kPortIsOpen);
  ASSERT_EQ(Dial({}), 0);
  desk_->Report(2);
  EXPECT_EQ(Shown::Take(), (Texts{"Connected", "Dialing..."}));
  EXPECT_EQ(HangUpRas(), 1);
  desk_->Report(2);
  EXPECT_EQ(Shown::Take(), Texts{});
}

TEST_F(DialUp, AfterHangingUpNothingIsShown) {
  Load();
  ASSERT_EQ(Dial(kGoodDial), 1);
  EXPECT_EQ(HangUpRas(), 1);
  Shown::Take();
  desk_->Report(kDisconnected);
  EXPECT_EQ(Shown::Take(), Texts{});
}

TEST_F(DialUp, HangingUpAConnectionThatIsGoneAlready) {
  Load();
  ASSERT_EQ(Dial(kGoodDial), 1);
  desk_->DropConnections();
  EXPECT_EQ(HangUpRas(), 1);
}

TEST_F(DialUp, AConnectionOutlivesTheServicesLibrary) {
  Load();
  ASSERT_EQ(Dial(kGoodDial), 1);
  EXPECT_EQ(UnloadRasDLL(), 0);
  EXPECT_EQ(HangUpRas(), 0);
  ASSERT_EQ(LoadRasDLL(), 1);
  EXPECT_EQ(HasRasConnection(), 1);
  EXPECT_EQ(HangUpRas(), 1);
  EXPECT_EQ(HasRasConnection(), 0);
}

TEST_F(DialUp, TheStatusFunctionMayHangUpFromTheServicesThread) {
  Load();
  // The first text may come before the service has given its handle out; the second cannot.
  const auto hangUpWhenDialling = [](const char* text) {
    Shown::Add(text);
    if (std::string(text) == "Dialing...") HangUpRas();
  };
  desk_->SetQueriesUntilGone(3);
  EXPECT_EQ(Dial({{0}, {2}, {3}, {kConnected}}, hangUpWhenDialling), 0);
  EXPECT_EQ(Shown::Take(), (Texts{"Opening communication port", "Dialing...", "Hanging up..."}));
  EXPECT_EQ(HasRasConnection(), 0);
}

// For the thread sanitizer: reports of an old connection meet a new dial, hanging up and queries.
TEST_F(DialUp, ManyDialsWithReportsOnOtherThreads) {
  Load();
  desk_->SetQueriesUntilGone(2);
  std::atomic<int> reports{0};
  desk_->SetBeforeReport([&](const ras_double::Step&) { ++reports; });
  for (int round = 0; round < 100; ++round) {
    desk_->SetSteps(kGoodDial);
    ASSERT_EQ(DialUpRas(round % 3 == 0 ? nullptr : &Shown::Add, "Home", "", ""), 1);
    EXPECT_EQ(HasRasConnection(), 1);
    if (round % 2 == 0) {
      EXPECT_EQ(HangUpRas(), 1);
    }
  }
  desk_->WaitForThreads();
  EXPECT_EQ(reports, 100 * static_cast<int>(kGoodDial.size()));
}

// The same with nothing that would order the threads' steps.
TEST_F(DialUp, ReportsMeetDialsAndHangingUp) {
  Load();
  ASSERT_EQ(Dial({{kConnected}}), 1);
  static std::atomic<int> shown{0};
  shown = 0;
  const auto count = [](const char*) { shown.fetch_add(1, std::memory_order_relaxed); };
  desk_->SetDialResult(ras_double::kPortIsOpen);
  desk_->StartReporting(2);
  for (int round = 0; round < 1000 || (shown == 0 && round < 1000000); ++round) {
    EXPECT_EQ(DialUpRas(count, "Home", "", ""), 0);
    EXPECT_EQ(HangUpRas(), 1);
  }
  desk_->StopReporting();
  EXPECT_GT(shown, 0);
}

}  // namespace
