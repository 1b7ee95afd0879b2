// A new directory as the host's program directory, with the library started on it.
#pragma once

#include "support/temporary_directory.h"

#include <brevant/brevant.h>

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace api_test {

class Board : public ::testing::Test {
 protected:
  Board() {
    std::filesystem::create_directory(directory_ / "Data");
    std::filesystem::create_directory(directory_ / "Site");
    std::filesystem::create_directory(directory_ / "Templates");
    EXPECT_NE(SetProgramDirectory(directory_.Path().c_str()), 0);
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    setup_->String("Data Directory", Data().c_str());
    setup_->String("Local Directory", (directory_ / "Site/").c_str());
    setup_->String("HTML Template Directory", (directory_ / "Templates/").c_str());
    EXPECT_EQ(InitializeBrevant(setup_, state_), 1);
    History().clear();
    SetVisualFunctions("HISTORY", reinterpret_cast<void*>(&Remember));
  }
  ~Board() override {
    SetVisualFunctions("HISTORY", nullptr);
    EXPECT_EQ(UninitializeBrevant(), 1);
    ClosePersistentState(state_);
    CloseSetup(setup_);
    SetProgramDirectory(nullptr);
  }

  std::string Data() const { return directory_ / "Data/"; }
  // The history lines shown to the host since the test began.
  static std::vector<std::string>& History() {
    static std::vector<std::string> lines;
    return lines;
  }

  test::TemporaryDirectory directory_;
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;

 private:
  static void Remember(const char* text) { History().emplace_back(text); }
};

}  // namespace api_test
