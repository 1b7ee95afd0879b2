// Active connections, the entries of the phone book, and the look-up by entry name.
#include "dial_up/fixture.h"
#include "frame/dial_up.h"

#include <cstring>

namespace {

using dial_up_test::DialUp;
using dial_up_test::Texts;

class DialUpListing : public DialUp {
 protected:
  static Texts Names(TRasSearch* search) {
    Texts names;
    for (const char* name = FindFirstRasEntry(search); name != nullptr;
         name = FindNextRasEntry(search)) {
      names.emplace_back(name);
    }
    return names;
  }
  static Texts Numbered(int count) {
    Texts names;
    for (int i = 0; i < count; ++i) names.push_back("Entry " + std::to_string(i));
    return names;
  }
  std::uintptr_t Found(const char* name) const {
    const auto handle = brevant::FindRasConnection(name);
    std::uintptr_t number = 0;
    std::memcpy(&number, &handle, sizeof handle);
    return number;
  }
};

TEST_F(DialUpListing, NoConnection) {
  Load();
  EXPECT_EQ(HasRasConnection(), 0);
  EXPECT_EQ(desk_->Calls(), Texts{"RasEnumConnectionsA"});
}

TEST_F(DialUpListing, OneConnection) {
  Load();
  desk_->SetActive({{"Home", true}});
  EXPECT_EQ(HasRasConnection(), 1);
}

TEST_F(DialUpListing, SeveralConnectionsDoNotFitAndAreThereAllTheSame) {
  Load();
  desk_->SetActive({{"Home", true}, {"Office", true}, {"Away", false}});
  EXPECT_EQ(HasRasConnection(), 1);
}

TEST_F(DialUpListing, AServiceThatFailsHasNoConnection) {
  Load();
  desk_->SetActive({{"Home", true}});
  desk_->SetListResult(ras_double::kInvalidParameter);
  EXPECT_EQ(HasRasConnection(), 0);
}

TEST_F(DialUpListing, NoEntriesGiveNoSearch) {
  Load();
  EXPECT_EQ(StartRasSearch(), nullptr);
  EXPECT_EQ(desk_->EntryRooms(), std::vector<std::uint32_t>{4224});
}

TEST_F(DialUpListing, OneEntry) {
  Load();
  desk_->SetEntries({"Home"});
  TRasSearch* search = StartRasSearch();
  ASSERT_NE(search, nullptr);
  EXPECT_STREQ(FindFirstRasEntry(search), "Home");
  EXPECT_EQ(FindNextRasEntry(search), nullptr);
  EndRasSearch(search);
}

TEST_F(DialUpListing, AfterTheLastEntryThereIsNoneAgainAndAgain) {
  Load();
  desk_->SetEntries({"Home", "Office"});
  TRasSearch* search = StartRasSearch();
  EXPECT_STREQ(FindFirstRasEntry(search), "Home");
  EXPECT_STREQ(FindNextRasEntry(search), "Office");
  for (int i = 0; i < 5; ++i) EXPECT_EQ(FindNextRasEntry(search), nullptr);
  // From the start again.
  EXPECT_STREQ(FindFirstRasEntry(search), "Home");
  EXPECT_STREQ(FindNextRasEntry(search), "Office");
  EndRasSearch(search);
}

TEST_F(DialUpListing, ASearchStandsAtItsFirstEntry) {
  Load();
  desk_->SetEntries({"Home", "Office"});
  TRasSearch* search = StartRasSearch();
  EXPECT_STREQ(FindNextRasEntry(search), "Office");
  EndRasSearch(search);
}

TEST_F(DialUpListing, SixteenEntriesFitAtOnce) {
  Load();
  desk_->SetEntries(Numbered(16));
  TRasSearch* search = StartRasSearch();
  EXPECT_EQ(Names(search), Numbered(16));
  EXPECT_EQ(desk_->EntryRooms(), std::vector<std::uint32_t>{4224});
  EndRasSearch(search);
}

TEST_F(DialUpListing, TheRoomGrowsBySixteenUntilAllFit) {
  Load();
  desk_->SetEntries(Numbered(49));
  TRasSearch* search = StartRasSearch();
  EXPECT_EQ(Names(search), Numbered(49));
  EXPECT_EQ(desk_->EntryRooms(), (std::vector<std::uint32_t>{4224, 8448, 12672, 16896}));
  EndRasSearch(search);
}

TEST_F(DialUpListing, AServiceThatFailsGivesNoSearch) {
  Load();
  desk_->SetEntries({"Home"});
  desk_->SetListResult(ras_double::kInvalidParameter);
  EXPECT_EQ(StartRasSearch(), nullptr);
}

TEST_F(DialUpListing, AServiceThatIsNeverContentGivesNoSearch) {
  Load();
  desk_->SetEntries({"Home"});
  desk_->SetListResult(ras_double::kBufferTooSmall);
  EXPECT_EQ(StartRasSearch(), nullptr);
  EXPECT_EQ(desk_->EntryRooms().back(), 4096u * 264u);
}

TEST_F(DialUpListing, ANameThatFillsItsRoomEnds) {
  Load();
  desk_->SetEntries({std::string(257, 'n'), "Home"});
  TRasSearch* search = StartRasSearch();
  EXPECT_EQ(Names(search), (Texts{std::string(256, 'n'), "Home"}));
  EndRasSearch(search);
}

TEST_F(DialUpListing, ASearchKeepsWhatWasThere) {
  Load();
  desk_->SetEntries({"Home", "Office"});
  TRasSearch* search = StartRasSearch();
  desk_->SetEntries({});
  UnloadRasDLL();
  EXPECT_EQ(Names(search), (Texts{"Home", "Office"}));
  EndRasSearch(search);
}

TEST_F(DialUpListing, NullSearches) {
  EXPECT_EQ(FindFirstRasEntry(nullptr), nullptr);
  EXPECT_EQ(FindNextRasEntry(nullptr), nullptr);
  EndRasSearch(nullptr);
}

TEST_F(DialUpListing, LookUpWithoutTheService) { EXPECT_EQ(Found("Home"), 0u); }

TEST_F(DialUpListing, LookUpWithoutConnections) {
  Load();
  EXPECT_EQ(Found("Home"), 0u);
}

TEST_F(DialUpListing, LookUpFindsTheNameWhateverItsLetterCase) {
  Load();
  desk_->SetActive({{"Home", true}, {"Office", true}, {"office", true}});
  EXPECT_EQ(Found("OFFICE"), desk_->ActiveHandle(1));
  EXPECT_EQ(Found("home"), desk_->ActiveHandle(0));
  EXPECT_EQ(Found("Offic"), 0u);
  EXPECT_EQ(Found(nullptr), 0u);
}

TEST_F(DialUpListing, LookUpTakesAConnectionWhoseProjectionCannotBeRead) {
  Load();
  desk_->SetActive({{"Home", true}, {"Odd", false}, {"Office", true}});
  EXPECT_EQ(Found("Office"), desk_->ActiveHandle(1));
  // The name decides first.
  EXPECT_EQ(Found("Home"), desk_->ActiveHandle(0));
}

TEST_F(DialUpListing, LookUpAmongMoreConnectionsThanFitAtOnce) {
  Load();
  std::vector<ras_double::ActiveConnection> active;
  for (const std::string& name : Numbered(40)) active.push_back({name, true});
  desk_->SetActive(active);
  EXPECT_EQ(Found("Entry 39"), desk_->ActiveHandle(39));
}

}  // namespace
