// The library, started for one board and stopped again.
#pragma once

#include "board_directory.h"

#include <brevant/brevant.h>

#include <string>

namespace host {

class Session {
 public:
  // Throws UserError when the library cannot be started.
  explicit Session(const BoardDirectory& board);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  TSetup& Setup() { return *setup_; }
  TPersistentState& State() { return *state_; }
  // The data directory, absolute and with a final separator.
  std::string DataDirectory() const { return setup_->String("Data Directory"); }
  // Throws UserError when one of the board's three directories is missing or no directory.
  void CheckDirectories() const;

 private:
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
};

}  // namespace host
